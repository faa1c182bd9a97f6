// The reference-counted pointer with which layers, features and geometries are handed out.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace Orvane {

/// A shared handle: a pointer, a use count shared by all copies, and a flag that says whether the
/// last copy deletes the object. The flag is true at construction, is copied with the handle, and
/// is false only for handles made by `Borrow`. Counting is safe across threads; one handle is used
/// by one thread at a time.
template <typename T>
class BSharedPtr
{
public:
    BSharedPtr() noexcept = default;

    BSharedPtr(std::nullptr_t) noexcept {} // NOLINT(google-explicit-constructor)

    /// Owns `object` from now on; the use count is 1.
    explicit BSharedPtr(T* object)
        : m_pointer(object)
    {}

    template <typename U, std::enable_if_t<std::is_convertible_v<U*, T*>, int> = 0>
    BSharedPtr(const BSharedPtr<U>& other) noexcept // NOLINT(google-explicit-constructor)
        : m_pointer(other.m_pointer)
        , m_isOwner(other.m_isOwner)
    {}

    template <typename U, std::enable_if_t<std::is_convertible_v<U*, T*>, int> = 0>
    BSharedPtr(BSharedPtr<U>&& other) noexcept // NOLINT(google-explicit-constructor)
        : m_pointer(std::move(other.m_pointer))
        , m_isOwner(other.m_isOwner)
    {}

    BSharedPtr(std::shared_ptr<T> pointer) noexcept // NOLINT(google-explicit-constructor)
        : m_pointer(std::move(pointer))
    {}

    /// A handle that never deletes; `object` must outlive every copy.
    static BSharedPtr Borrow(T* object)
    {
        BSharedPtr result{std::shared_ptr<T>(object, [](T*) {})};
        result.m_isOwner = false;
        return result;
    }

    [[nodiscard]] T* Get() const noexcept { return m_pointer.get(); }

    T& operator*() const noexcept { return *m_pointer; }

    T* operator->() const noexcept { return m_pointer.get(); }

    explicit operator bool() const noexcept { return m_pointer != nullptr; }

    [[nodiscard]] long GetUseCount() const noexcept { return m_pointer.use_count(); }

    [[nodiscard]] bool IsOwner() const noexcept { return m_isOwner; }

    /// Gives up the object; the handle is null afterwards.
    void Reset() noexcept
    {
        m_pointer.reset();
        m_isOwner = true;
    }

    [[nodiscard]] const std::shared_ptr<T>& Share() const noexcept { return m_pointer; }

    friend bool operator==(const BSharedPtr& a, const BSharedPtr& b) noexcept
    {
        return a.m_pointer == b.m_pointer;
    }

    friend bool operator==(const BSharedPtr& a, std::nullptr_t) noexcept
    {
        return a.m_pointer == nullptr;
    }

private:
    template <typename U>
    friend class BSharedPtr;

    std::shared_ptr<T> m_pointer;
    bool m_isOwner = true;
};

/// Makes an object and the handle that owns it, in one allocation.
template <typename T, typename... Arguments>
BSharedPtr<T> MakeShared(Arguments&&... arguments)
{
    return BSharedPtr<T>(std::make_shared<T>(std::forward<Arguments>(arguments)...));
}

} // namespace Orvane
