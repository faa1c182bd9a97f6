// Text to number conversions that never depend on the process's locale.
#pragma once

#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

/// The conversions of the C library in the C locale: the same prefix rules, white space, signs,
/// hexadecimal numbers, "inf", "nan" and rounding as `atoi`, `strtod`, `atof` and `wcstod` there,
/// with "." as the decimal point whatever locale the process runs in. The texts need no NUL at
/// their end; a NUL inside ends the number as it does in C. None of them throws or allocates for
/// texts of ordinary length.
namespace Orvane::BNumbers {

/// `atoi`; past 32 bits the low 32 bits of what `strtol` returns with 64 bits (clamped there).
ORVANE_SDK_EXPORT std::int32_t Atoi(std::string_view text);
ORVANE_SDK_EXPORT std::int32_t Atoi(std::u16string_view text);

/// `strtoll`, base 10: clamped to the 64-bit range.
ORVANE_SDK_EXPORT std::int64_t Strtoll(std::string_view text);

/// `strtod`. @param consumed units that make up the number, leading white space included; 0 when
/// there is no number. May be null.
ORVANE_SDK_EXPORT double Strtod(std::string_view text, std::size_t* consumed = nullptr);
/// The same on UTF-16, as `wcstod`: a unit above U+007F ends the number.
ORVANE_SDK_EXPORT double Wcstod(std::u16string_view text, std::size_t* consumed = nullptr);

/// `atof`.
ORVANE_SDK_EXPORT double Atof(std::string_view text);
ORVANE_SDK_EXPORT double Atof(std::u16string_view text);

/// The shortest decimal text that reads back as the same value, "." as the point; "inf", "-inf",
/// "nan". @param buffer at least 32 bytes. @return bytes written, no NUL.
ORVANE_SDK_EXPORT std::size_t FormatShortest(double value, char* buffer);
ORVANE_SDK_EXPORT std::size_t FormatShortest(float value, char* buffer);

} // namespace Orvane::BNumbers
