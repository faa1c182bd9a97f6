// How the separator of a read is chosen: by an option, by the extension, or by two lines.
#pragma once

#include "text/TextView.h"

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>
#include <Orvane/Constants.h>

#include <QRegularExpression>

#include <cstdint>
#include <vector>

namespace AsciiReader::SeparatorRule {

/// What separates fields.
enum class ESource : std::uint8_t {
    Text,   ///< the text of ASCII_SEPARATOR
    Widths, ///< the widths of FIELD_LENGTH
    Comma,
    Tab,
    Blank,
    TwoLines, ///< comma or tab: ChooseByTwoLines
    Unknown
};

/// The rule after the two options that name a separator. Only the presence of the USE_ keys counts,
/// and an extension outranks the keys that come later in the order of docs/options.md.
/// @param extension "." included, any case
[[nodiscard]] ESource ChooseByExtension(const Orvane::BParamList& options,
                                        const Orvane::BString& extension);

/// The whole rule. `getExtension` is called only when no option names a separator; it gives the
/// extension, "." included, and may throw.
template <typename GetExtension>
[[nodiscard]] ESource Choose(const Orvane::BParamList& options, const GetExtension& getExtension)
{
    if (options.HasProperty(Orvane::ASCII_SEPARATOR)) {
        return ESource::Text;
    }
    if (options.HasProperty(Orvane::FIELD_LENGTH)) {
        return ESource::Widths;
    }
    return ChooseByExtension(options, getExtension());
}

/// The pattern for a text of ASCII_SEPARATOR, Comma, Tab or Blank.
/// @param source one of these four
[[nodiscard]] QRegularExpression MakePattern(ESource source, const Orvane::BParamList& options);

/// The comma or the tab pattern, by the first two lines of a file. The comma wins every tie, and
/// the blank is never chosen.
/// @param widths of the engine; where there are some, both patterns cut by them
[[nodiscard]] const QRegularExpression& ChooseByTwoLines(
    const TextView& first, const TextView& second, const std::vector<std::int32_t>& widths = {});

} // namespace AsciiReader::SeparatorRule
