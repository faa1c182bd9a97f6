// Separator detection and preview: what the engine tells from the first lines.
#include "file/AsciiFile.h"
#include "text/SeparatorRule.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

namespace AsciiReader {

using Orvane::BString;

void AsciiFile::AutodetectSeparator()
{
    RequireReadMode("AsciiFile::AutodetectSeparator");
    BString first;
    BString second;
    GetSafeLine(first);
    GetSafeLine(second);
    m_lines.PutBack(first, second);
    m_separator = SeparatorRule::ChooseByTwoLines(
        TextView(first.View()), TextView(second.View()), m_columnWidths);
}

/// One line of the preview, split. @param isBlank whether there is nothing but white space
Row AsciiFile::ReadPreviewLine(bool& isBlank)
{
    BString line;
    BString joined;
    do {
        GetSafeLine(line);
        joined = line.Trim();
    } while (joined.IsEmpty() && m_lines.HasPending());
    // Rule: the joined text only steers the reading; the last line handed out is what is split.
    std::uint64_t quotes = AsciiUtils::CountQuotes(joined);
    bool anyJoined = false;
    while (quotes % 2 != 0 && !m_lines.AtEnd()) {
        GetSafeLine(line);
        quotes += AsciiUtils::CountQuotes(line);
        anyJoined = true;
    }
    isBlank = joined.IsEmpty() && !anyJoined;
    return AsciiUtils::SplitLine(Orvane::MakeQString(line), m_separator, m_columnWidths);
}

Orvane::BParamList AsciiFile::ReadPreview()
{
    // Rule: the location is that of the sampling.
    RequireReadMode("AsciiFile::Read");
    m_sampleLines.clear();
    bool isBlank = false;
    const Row first = ReadPreviewLine(isBlank);
    Row second = ReadPreviewLine(isBlank);
    bool hasColumnNames = false;
    if (isBlank) {
        second.clear();
    } else {
        if (first.size() != second.size()) {
            throw Orvane::BFileContentNotValidException(
                "AsciiFile::ReadPreview",
                "The number of records on first and second line differs.");
        }
        for (std::size_t index = 0; index < first.size() && !hasColumnNames; ++index) {
            hasColumnNames =
                AsciiUtils::DetectType(first[index]) != AsciiUtils::DetectType(second[index]);
        }
    }
    second.resize(first.size());

    Orvane::BParamList result;
    for (std::size_t index = 0; index < first.size(); ++index) {
        result.Add(BString::FromInteger(static_cast<std::int64_t>(index)),
                   std::vector<BString>{first[index], second[index]});
    }
    result.Add(Orvane::FIRST_LINE_COLUMN_NAMES, hasColumnNames ? "1" : "0");
    result.Add(Orvane::NUM_COLUMNS, static_cast<std::int32_t>(first.size()));
    return result;
}

} // namespace AsciiReader
