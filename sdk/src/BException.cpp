// The exception classes and the checked access.
#include <Orvane/BException.h>

#include <stdexcept>
#include <type_traits>

namespace Orvane {

BException::BException(const BString& message, const BString& location, const BString& details)
    // Copied unit by unit: a text may lie in a module that is unloaded before the exception goes.
    : m_message(message.View())
    , m_location(location.View())
    , m_details(details.View())
    , m_what(std::make_shared<const std::string>(message.ToUtf8()))
{}

BException::BException(SubclassTag /*tag*/, const BString& location, const BString& details)
    : BException(details, location, details)
{}

BException::~BException() = default;

// Constructors and destructors stand here, not in the header, so that the library exports one copy
// of each class's type information and a catch clause in another module finds it.
#define ORVANE_DEFINE_EXCEPTION(Name)                                                              \
    Name::Name(const BString& location, const BString& details)                                    \
        : BException(SubclassTag(), location, details)                                             \
    {}                                                                                             \
    Name::~Name() = default;                                                                       \
    static_assert(std::is_nothrow_copy_constructible_v<Name>)

ORVANE_DEFINE_EXCEPTION(BFileNotFoundException);
ORVANE_DEFINE_EXCEPTION(BFileContentNotValidException);
ORVANE_DEFINE_EXCEPTION(BIndexOutOfBoundsException);
ORVANE_DEFINE_EXCEPTION(BDataManagerException);
ORVANE_DEFINE_EXCEPTION(BKelvaCoordinateFormatException);

#undef ORVANE_DEFINE_EXCEPTION

void CheckSubscript(std::size_t index, std::size_t count)
{
    if (index >= count) {
        throw std::out_of_range("invalid vector subscript");
    }
}

} // namespace Orvane
