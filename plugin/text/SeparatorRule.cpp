// The order of options and extensions, and the counts of two lines.
#include "text/SeparatorRule.h"

#include "text/Separator.h"
#include "text/SplitPatterns.h"

#include <Orvane/BStringQt.h>

#include <cstddef>

namespace AsciiReader::SeparatorRule {

using Orvane::BParamList;
using Orvane::BString;

ESource ChooseByExtension(const BParamList& options, const BString& extension)
{
    const BString folded = extension.ToLower();
    if (folded == u".csv" || options.HasProperty(Orvane::USE_COMMA)) {
        return ESource::Comma;
    }
    if (folded == u".tsv" || options.HasProperty(Orvane::USE_TAB)) {
        return ESource::Tab;
    }
    if (folded == u".ssv" || options.HasProperty(Orvane::USE_SPACE)) {
        return ESource::Blank;
    }
    if (folded == u".txt") {
        return ESource::TwoLines;
    }
    return folded == u".asc" ? ESource::Comma : ESource::Unknown;
}

QRegularExpression MakePattern(ESource source, const BParamList& options)
{
    switch (source) {
    case ESource::Text:
        return SplitPatterns::MakeSeparatorPattern(
            Orvane::MakeQString(options.GetString(Orvane::ASCII_SEPARATOR)));
    case ESource::Tab:
        return SplitPatterns::TabSplit();
    case ESource::Blank:
        return SplitPatterns::SpaceSplit();
    default:
        return SplitPatterns::CommaSplit();
    }
}

const QRegularExpression& ChooseByTwoLines(const TextView& first,
                                           const TextView& second,
                                           const std::vector<std::int32_t>& widths)
{
    const auto score = [&](const QRegularExpression& pattern) -> std::size_t {
        const Separator candidate(pattern, widths);
        SplitRow row;
        candidate.Split(first, row);
        const std::size_t count = row.GetCount();
        candidate.Split(second, row);
        return count == row.GetCount() && count != 1 ? count : 0;
    };
    const bool isTab =
        score(SplitPatterns::TabSplit()) >= 2 && score(SplitPatterns::CommaSplit()) == 0;
    return isTab ? SplitPatterns::TabSplit() : SplitPatterns::CommaSplit();
}

} // namespace AsciiReader::SeparatorRule
