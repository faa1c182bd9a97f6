// How the program ends when a library cannot go on.
#pragma once

#include <string_view>

namespace OrvaneHost::LastResort {

/// Makes std::terminate, as for an exception that leaves a destructor, end the program by End
/// instead of by a signal. Some of GDAL's writers close their files in destructors, and throw
/// there when there is no memory.
void Install() noexcept;

/// Ends the program at once with exit status 1 and a line on standard error: that there is not
/// enough memory when the exception being handled is std::bad_alloc, else the first 500 bytes of
/// `reason`, with a question mark for each that is no printable ASCII. Asks for no memory. Nothing
/// is unwound: the hidden folder of an import stays, and the next import removes it; the output is
/// the old one.
[[noreturn]] void End(std::string_view reason) noexcept;

} // namespace OrvaneHost::LastResort
