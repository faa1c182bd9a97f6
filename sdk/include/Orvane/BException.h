// The exceptions that leave the SDK and its plug-ins.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>

namespace Orvane {

/// A failure with texts: what happened, where, and optional details.
///
/// The arguments stay readable in the order in which they were given: GetMessage() is the first,
/// GetLocation() the second, GetDetails() the third. what() is the message in UTF-8, nothing
/// added. The texts are copies of the arguments', so that the exception may outlive the module that
/// threw it. Copies of it share them; neither copying nor a getter throws.
class ORVANE_SDK_EXPORT BException : public std::exception
{
public:
    BException(const BString& message, const BString& location, const BString& details = BString());
    ~BException() override;
    BException(const BException&) = default;
    BException& operator=(const BException&) = default;

    [[nodiscard]] const char* what() const noexcept override { return m_what->c_str(); }

    /// The class's plain name, "BException" for this one.
    [[nodiscard]] virtual const char* GetClassName() const noexcept { return "BException"; }

    [[nodiscard]] const BString& GetMessage() const noexcept { return m_message; }

    [[nodiscard]] const BString& GetLocation() const noexcept { return m_location; }

    [[nodiscard]] const BString& GetDetails() const noexcept { return m_details; }

protected:
    struct SubclassTag
    {};

    /// For the subclasses: the details text is the message too.
    BException(SubclassTag tag, const BString& location, const BString& details);

private:
    BString m_message;
    BString m_location;
    BString m_details;
    std::shared_ptr<const std::string> m_what; ///< never null
};

/// Declares a subclass: constructed from (location, details); what() and GetMessage() give the
/// details text, and GetDetails() gives it as well.
#define ORVANE_DECLARE_EXCEPTION(Name)                                                             \
    class ORVANE_SDK_EXPORT Name : public BException                                               \
    {                                                                                              \
    public:                                                                                        \
        Name(const BString& location, const BString& details);                                     \
        ~Name() override;                                                                          \
        Name(const Name&) = default;                                                               \
        Name& operator=(const Name&) = default;                                                    \
        [[nodiscard]] const char* GetClassName() const noexcept override { return #Name; }         \
    }

/// A file that does not exist; the details are its path.
ORVANE_DECLARE_EXCEPTION(BFileNotFoundException);
/// A file whose content breaks its format.
ORVANE_DECLARE_EXCEPTION(BFileContentNotValidException);
/// A position outside of a list, a row or a layer.
ORVANE_DECLARE_EXCEPTION(BIndexOutOfBoundsException);
/// A data manager that is used against its rules, or cannot do what it is asked.
ORVANE_DECLARE_EXCEPTION(BDataManagerException);
/// A coordinate text that does not fit its format.
ORVANE_DECLARE_EXCEPTION(BKelvaCoordinateFormatException);

#undef ORVANE_DECLARE_EXCEPTION

/// The one checked access of SDK and plug-ins.
/// @throws std::out_of_range "invalid vector subscript" when `index` is not below `count`.
ORVANE_SDK_EXPORT void CheckSubscript(std::size_t index, std::size_t count);

/// The element at `index` of a list. @throws as CheckSubscript.
template <typename List>
decltype(auto) CheckedAt(List& list, std::size_t index)
{
    CheckSubscript(index, list.size());
    return list[index];
}

} // namespace Orvane
