// A growable array of plain values.
#pragma once

#include <Orvane/Export.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace Orvane {

/// Prefaults memory in one call; faulting on first write costs several times as much. Changes no
/// byte; does nothing where the system cannot, or for less than 32 KiB.
ORVANE_SDK_EXPORT void PrefaultMemory(void* memory, std::size_t byteCount) noexcept;

/// A growable array of plain values that never initialises what it reserves.
///
/// Growth goes through the C allocator's realloc, which moves large arrays without copying them.
template <typename T>
class BPageArray
{
public:
    static_assert(std::is_trivially_copyable_v<T>);

    using Value = T;

    /// The least capacity of a growing array, in values.
    static constexpr std::size_t kFirstCapacity = 8;

    BPageArray() noexcept = default;
    BPageArray(const BPageArray&) = delete;
    BPageArray& operator=(const BPageArray&) = delete;

    BPageArray(BPageArray&& other) noexcept { Swap(other); }

    BPageArray& operator=(BPageArray&& other) noexcept
    {
        Swap(other);
        return *this;
    }

    ~BPageArray() { std::free(m_data); }

    [[nodiscard]] T* Data() noexcept { return m_data; }

    [[nodiscard]] const T* Data() const noexcept { return m_data; }

    [[nodiscard]] std::size_t GetSize() const noexcept { return m_size; }

    [[nodiscard]] std::size_t GetCapacity() const noexcept { return m_capacity; }

    [[nodiscard]] bool IsEmpty() const noexcept { return m_size == 0; }

    /// Bytes of memory that the array holds, what it has reserved included.
    [[nodiscard]] std::size_t GetByteSize() const noexcept { return m_capacity * sizeof(T); }

    T& operator[](std::size_t index) noexcept { return m_data[index]; }

    const T& operator[](std::size_t index) const noexcept { return m_data[index]; }

    [[nodiscard]] std::span<const T> View() const noexcept { return {m_data, m_size}; }

    /// Raises the capacity to at least `capacity` values.
    /// @throws std::bad_alloc; the array is unchanged then.
    void Reserve(std::size_t capacity)
    {
        if (capacity > m_capacity) {
            Reallocate(capacity);
        }
    }

    /// Raises the capacity so that `extra` more values fit; a growing array at least doubles it.
    /// @throws std::bad_alloc; the array is unchanged then.
    void ReserveMore(std::size_t extra)
    {
        if (m_capacity - m_size < extra) {
            Reallocate(std::max({m_size + extra, m_capacity * 2, kFirstCapacity}));
        }
    }

    /// Prefaults the reserved values from index `first` up to `last`, exclusive.
    void Prefault(std::size_t first, std::size_t last) noexcept
    {
        PrefaultMemory(m_data + first, (last - first) * sizeof(T));
    }

    /// Values between the old and the new size are not initialised.
    void Resize(std::size_t size)
    {
        Reserve(size);
        m_size = size;
    }

    /// Appends copies of `value` until the array has `size` values, or cuts it to that size.
    void Resize(std::size_t size, T value)
    {
        if (size > m_size) {
            ReserveMore(size - m_size);
            std::fill(m_data + m_size, m_data + size, value);
        }
        m_size = size;
    }

    /// Cuts the array to `size` values when it is longer; the capacity stays.
    void Truncate(std::size_t size) noexcept { m_size = std::min(m_size, size); }

    void Append(T value)
    {
        if (m_size == m_capacity) {
            ReserveMore(1);
        }
        m_data[m_size++] = value;
    }

    void Append(const T* values, std::size_t count)
    {
        ReserveMore(count);
        std::copy(values, values + count, m_data + m_size);
        m_size += count;
    }

    /// Appends without checking the capacity, which must suffice.
    void AppendReserved(T value) noexcept { m_data[m_size++] = value; }

    void AppendReserved(const T* values, std::size_t count) noexcept
    {
        std::memcpy(m_data + m_size, values, count * sizeof(T));
        m_size += count;
    }

    /// Gives unused capacity back, as far as the allocator can.
    void ShrinkToFit() noexcept
    {
        if (m_size == 0) {
            Clear();
        } else if (m_size < m_capacity) {
            void* data = std::realloc(m_data, m_size * sizeof(T));
            if (data != nullptr) {
                m_data = static_cast<T*>(data);
                m_capacity = m_size;
            }
        }
    }

    /// Frees everything.
    void Clear() noexcept
    {
        std::free(m_data);
        m_data = nullptr;
        m_size = m_capacity = 0;
    }

    void Swap(BPageArray& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

private:
    void Reallocate(std::size_t capacity)
    {
        if (capacity > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_alloc();
        }
        void* data = std::realloc(m_data, capacity * sizeof(T));
        if (data == nullptr) {
            throw std::bad_alloc();
        }
        m_data = static_cast<T*>(data);
        m_capacity = capacity;
    }

    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace Orvane
