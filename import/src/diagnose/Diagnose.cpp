// Reads a file again and finds the line that a failure is about.
#include "diagnose/Diagnose.h"

#include "diagnose/FileWalk.h"
#include "diagnose/OpenQuote.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/Session.h>

#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <lines/HeaderRule.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <text/OptionRules.h>
#include <text/ReadOptions.h>
#include <text/Separator.h>
#include <text/SeparatorRule.h>
#include <text/ValueRules.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

using AsciiReader::HeaderRule;
using AsciiReader::Separator;
using AsciiReader::SplitRow;
using AsciiReader::TextView;

/// Most characters of a row that a failure shows.
constexpr std::size_t kMostRowCharacters = 1000;

void Set(FailureFields& fields, const char* code, const char* what, const char* advice)
{
    fields.code = code;
    fields.what = what;
    fields.advice = advice;
}

/// The file of a failure in opening: missing, a folder, empty and so on.
void DiagnosePlace(FailureFields& fields)
{
    struct stat status = {};
    if (stat(fields.file.c_str(), &status) != 0) {
        const int error = errno;
        if (error == ENOENT || error == ENOTDIR) {
            Set(fields, "no-such-file", "There is no such file.", "Check its name and its folder.");
        } else {
            fields.cause = std::generic_category().message(error) + ".";
        }
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        Set(fields, "is-folder", "This is a folder, not a file.", "Name a file in it.");
    } else if (!S_ISREG(status.st_mode)) {
        Set(fields,
            "not-a-file",
            "This is a pipe, a socket or a device, not a file.",
            "Write its data to a file first.");
    } else if (access(fields.file.c_str(), R_OK) != 0) {
        Set(fields, "no-permission", "The file cannot be read.", "Ask its owner for permission.");
        fields.cause = std::generic_category().message(errno) + ".";
    } else if (status.st_size == 0) {
        Set(fields, "empty-file", "The file is empty.", "");
    }
}

/// The first characters of a line, in UTF-8.
std::string Shorten(const TextView& text)
{
    return text.ToString().Left(kMostRowCharacters).ToUtf8();
}

/// How the reader cuts lines into fields: by an option, else by the extension.
Separator MakeSeparator(const FailedRead& read, const std::string& file)
{
    namespace Rule = AsciiReader::SeparatorRule;
    const BParamList& options = read.options;
    const Rule::ESource source = Rule::Choose(options, [&file] {
        return BString::FromUtf8(std::filesystem::path(file).extension().native());
    });
    if (source == Rule::ESource::Widths) {
        return {QRegularExpression(), options.GetIntegers(FIELD_LENGTH)};
    }
    if (source != Rule::ESource::TwoLines) {
        return {Rule::MakePattern(source, options), {}};
    }
    FileWalk walk(file, AsciiReader::ReadOptions(options), read.blockSize);
    FileWalk::Line line;
    walk.Next(line);
    // The text of a line goes with the next one.
    const BString first = line.text.ToString();
    walk.Next(line);
    return {Rule::ChooseByTwoLines(TextView(first.View()), line.text), {}};
}

/// The look at the content of a file.
class ContentDiagnosis
{
public:
    ContentDiagnosis(const FailedRead& read, FailureFields& fields)
        : m_read(read)
        , m_fields(fields)
        , m_options(AsciiReader::OptionRules::Normalise(read.options))
        , m_separator(MakeSeparator(read, fields.file))
        , m_walk(fields.file, m_options, read.blockSize)
    {
        if (m_options.HasCoordinates()) {
            m_lastCoordinate =
                std::max({m_options.x.fieldIndex, m_options.y.fieldIndex, m_options.z.fieldIndex});
            m_coordinates = m_options.CountCoordinateKeys();
        }
    }

    void FindQuote()
    {
        FileWalk::Line line;
        while (m_walk.Next(line)) {
            const std::size_t quotes = line.text.Visit(
                [](auto view) { return AsciiReader::ValueRules::CountQuotes(view); });
            if (line.mayBeOpen && quotes % 2 != 0) {
                Blame(line.text, false);
                return;
            }
        }
        if (m_walk.IsOpen()) {
            Blame(m_walk.GetOpenText(), m_walk.IsOpenAtSeam());
        }
    }

    /// The row of "Failed to parse feature # N.": N rows with fields stand before it.
    void FindRow()
    {
        const std::string message = m_fields.underneath.message.ToUtf8();
        constexpr std::string_view kBegin = "Failed to parse feature # ";
        std::uint64_t rowsBefore = 0;
        std::from_chars(
            message.data() + kBegin.size(), message.data() + message.size(), rowsBefore);
        HeaderRule headerRule(m_options);
        FileWalk::Line line;
        if (m_options.hasColumnNames) {
            m_walk.Next(line);
        }
        SplitRow row;
        while (m_walk.Next(line) && line.physicalLine != 0) {
            if (headerRule.IsActive() && headerRule.Test(line.text)) {
                row.SetWhole(line.text);
            } else {
                m_separator.Split(line.text, row);
            }
            if (row.GetCount() == 0 || rowsBefore-- > 0) {
                continue;
            }
            // The reader names the row itself: what differs was changed meanwhile.
            const BString shown = BString::Format(
                "The following line may be formatted wrong.\n\t<%ls>.", line.text.ToString());
            if (shown == m_fields.underneath.details) {
                DescribeRow(line, row.GetCount());
            }
            return;
        }
    }

    /// The row that lacks a field for a coordinate.
    void FindShortRow()
    {
        HeaderRule headerRule(m_options);
        FileWalk::Line line;
        SplitRow row;
        while (m_lastCoordinate >= 0 && m_walk.Next(line) && line.physicalLine != 0) {
            // Header lines count only where all rows are looked at.
            if (!m_options.scansAllRows && headerRule.IsActive() && headerRule.Test(line.text)) {
                continue;
            }
            m_separator.Split(line.text, row);
            if (!HasCoordinates(row.GetCount())) {
                DescribeRow(line, row.GetCount());
                return;
            }
        }
    }

    /// The first two lines of a preview.
    void FindUnlikeRow()
    {
        std::optional<std::size_t> expected;
        FileWalk::Line line;
        SplitRow row;
        while (m_walk.Next(line) && line.physicalLine != 0) {
            if (line.text.ToString().Trim().IsEmpty()) {
                continue;
            }
            m_separator.Split(line.text, row);
            if (!expected) {
                expected = row.GetCount();
                continue;
            }
            if (row.GetCount() != *expected) {
                Place(line, row.GetCount());
                m_fields.fieldsExpected = *expected;
                m_fields.cause = "The row has " + Count(row.GetCount()) + ", the first one " +
                                 std::to_string(*expected) + ".";
                m_fields.advice = "Check the separator of the fields, and whether lines of a "
                                  "heading stand before the rows.";
            }
            return;
        }
    }

private:
    static std::string Count(std::uint64_t count)
    {
        return std::to_string(count) + (count == 1 ? " field" : " fields");
    }

    [[nodiscard]] bool HasCoordinates(std::size_t count) const
    {
        return count >= m_coordinates && static_cast<std::int64_t>(count) > m_lastCoordinate;
    }

    void Place(const FileWalk::Line& line, std::size_t fieldsFound)
    {
        m_fields.line = line.physicalLine;
        m_fields.fieldsFound = fieldsFound;
        m_fields.row = Shorten(line.text);
    }

    /// A row with too many fields, too few, or other trouble.
    void DescribeRow(const FileWalk::Line& line, std::size_t found)
    {
        Place(line, found);
        m_fields.kind = EFailureKind::Content;
        if (m_lastCoordinate >= 0 && !HasCoordinates(found)) {
            Set(m_fields,
                "too-few-fields",
                "A row has too few fields for its coordinates.",
                "Check the separator and the columns of the coordinates, or correct the row.");
            m_fields.fieldsExpected = static_cast<std::uint64_t>(m_lastCoordinate) + 1;
            m_fields.cause = "It has " + Count(found) + "; the coordinates need " +
                             std::to_string(m_fields.fieldsExpected) + ".";
            return;
        }
        const std::uint64_t expected =
            m_read.attributeColumns == 0 ? 0 : m_read.attributeColumns + m_coordinates;
        if (expected != 0 && found > expected) {
            Set(m_fields,
                "row-fields",
                "A row has more fields than the file has columns.",
                "Quote the field that holds a separator, or correct the row.");
            m_fields.fieldsExpected = expected;
            m_fields.column = expected + 1;
            m_fields.cause =
                "It has " + Count(found) + "; " + std::to_string(expected) + " are expected.";
        }
    }

    void Blame(const TextView& text, bool isAtSeam)
    {
        const QuotePlace place = FindOpenQuote(text, m_separator.GetSingleByte());
        text.Visit([&](auto view) {
            using Unit = typename decltype(view)::value_type;
            const auto part = [&](std::size_t from, std::size_t to) {
                const auto piece = view.substr(from, to - from);
                if constexpr (sizeof(Unit) == 1) {
                    return TextView(piece, text.GetUnit());
                } else {
                    return TextView(piece);
                }
            };
            std::size_t end = place.lineBegin;
            while (end < view.size() && view[end] != Unit('\n') && view[end] != Unit('\r')) {
                ++end;
            }
            m_fields.line = m_walk.LineOf(part(place.lineBegin, view.size()));
            m_fields.row = Shorten(part(place.lineBegin, end));
        });
        m_fields.column = place.fieldNumber;
        if (place.isInField) {
            m_fields.cause = "It stands inside of a field that does not begin with a quote.";
            m_fields.advice = "Remove it, or quote the field and double the quote.";
        } else if (isAtSeam) {
            m_fields.cause =
                "The quoted text goes on over the end of a block of 16 MiB; the reader "
                "needs all quotes of a block closed.";
            m_fields.advice = "Remove the line breaks inside of the quoted text.";
        }
    }

    const FailedRead& m_read;
    FailureFields& m_fields;
    AsciiReader::ReadOptions m_options;
    Separator m_separator;
    FileWalk m_walk;
    std::int32_t m_lastCoordinate = -1; ///< highest index of a coordinate's column; -1: none
    std::size_t m_coordinates = 0;      ///< columns of coordinates
};

} // namespace

void Diagnose(const FailedRead& read, FailureFields& fields)
{
    const std::string& code = fields.code;
    if (fields.file.empty()) {
        return;
    }
    if (code == "no-such-file" || code == "read-error") {
        DiagnosePlace(fields);
        return;
    }
    if (code == "unknown-codec") {
        fields.value = read.options.GetString(AsciiReader::OptionRules::CodecKey()).ToUtf8();
        fields.what = "There is no text encoding '" + fields.value + "'.";
        return;
    }
    if (code == "unmatched-quote") {
        ContentDiagnosis(read, fields).FindQuote();
    } else if (code == "row-values") {
        ContentDiagnosis(read, fields).FindRow();
    } else if (code == "too-few-fields") {
        ContentDiagnosis(read, fields).FindShortRow();
    } else if (code == "preview-fields") {
        ContentDiagnosis(read, fields).FindUnlikeRow();
    }
}

} // namespace Orvane::Import
