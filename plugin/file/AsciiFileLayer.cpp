// Schema set-up, layer creation and the row loop of the engine.
#include "file/AsciiFile.h"
#include "layer/RowPlan.h"
#include "layer/ValueRules.h"
#include "reader/Constants.h"

#include <Orvane/BCoordSys.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <optional>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

void AsciiFile::BuildSchema()
{
    if (m_params.HasProperty(Orvane::AUTO_SCHEMA_ALL_ROWS) &&
        m_params.GetBoolean(Orvane::AUTO_SCHEMA_ALL_ROWS, false)) {
        m_schema = AsciiSchema::ScanAllRows(*this, m_params, m_separator);
        m_lines.Rewind();
    } else {
        m_schema = AsciiSchema::Schema(m_sampleLines, m_params, m_separator);
    }
}

void AsciiFile::CreateLayer()
{
    m_layer = m_usesDiskCache ? Orvane::MakeShared<Orvane::BVectorLayer>(m_diskCacheBaseName,
                                                                         m_diskCachePageSize)
                              : Orvane::MakeShared<Orvane::BVectorLayer>();
    std::u16string_view name = m_fileName.View();
    const std::size_t slash = name.find_last_of(u"\\/");
    if (slash != std::u16string_view::npos) {
        name.remove_prefix(slash + 1);
    }
    m_layer->SetName(name.substr(0, name.rfind(u'.')));
    m_layer->SetSchema(m_schema);
    m_layer->SetCoordSys(Orvane::MakeShared<Orvane::BCoordSys>());
}

Separator AsciiFile::MakeSeparator() const
{
    return {m_separator, m_columnWidths};
}

void AsciiFile::JoinOpenQuotes(SourceLine& line, BString& joined, std::uint32_t& lineNumber)
{
    const auto countQuotes = [](const TextView& text) {
        return text.Visit([](auto view) { return ValueRules::CountQuotes(view); });
    };
    std::size_t quotes = countQuotes(line.text);
    if (quotes % 2 == 0) {
        return;
    }
    joined = line.text.ToString();
    while (quotes % 2 != 0) {
        if (m_lines.AtEnd()) {
            throw Orvane::BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                        "File contains an unmatched quote.");
        }
        SourceLine next;
        NextLine(next);
        quotes += countQuotes(next.text);
        joined += u"\n" + next.text.ToString();
        ++lineNumber;
    }
    line.text = TextView(joined.View());
}

bool AsciiFile::BuildLayer(std::int32_t limit)
{
    RequireReadMode("AsciiFile::BuildLayer");
    if (m_layer) {
        m_schema = m_layer->GetSchema();
    } else {
        CreateLayer();
    }
    // Rule: a resumed read takes one more line as its column-name line.
    if (m_params.HasProperty(Orvane::FIRST_LINE_COLUMN_NAMES) &&
        m_params.GetBoolean(Orvane::FIRST_LINE_COLUMN_NAMES, false)) {
        GetSafeLine(m_firstLine);
    }
    if (m_columnWidths.empty() && !m_separator.isValid()) {
        m_separator = m_params.HasProperty(Orvane::ASCII_SEPARATOR)
                          ? QRegularExpression(
                                Orvane::MakeQString(m_params.GetString(Orvane::ASCII_SEPARATOR)))
                          : Constants::CommaSplit();
    }
    m_headerRule.Reset();

    const Separator separator = MakeSeparator();
    const RowPlan plan(m_schema, m_params, m_xFormat, m_yFormat, m_zFormat);
    std::optional<Orvane::BFeatureAppender> layer;
    layer.emplace(m_layer->GetFeatures(), plan.MakeColumns());
    SplitRow row;
    SourceLine line;
    BString joined;
    std::uint32_t featuresAdded = 0;
    for (std::uint32_t lineNumber = 1;; ++lineNumber) {
        NextLine(line);
        if (line.text.IsEmpty() && !m_lines.HasPending()) {
            m_lines.Release();
            return true;
        }
        // Rule: the line read when the limit is reached is dropped; a resumed read starts after it.
        if (limit >= 1 && featuresAdded >= static_cast<std::uint32_t>(limit)) {
            return false;
        }
        if (line.mayBeOdd) {
            JoinOpenQuotes(line, joined, lineNumber);
        }
        // Rule: a header line is a row of one field, the line as it stands.
        if (m_headerRule.IsActive() && m_headerRule.Test(line.text)) {
            row.SetWhole(line.text);
        } else if (line.text.IsEmpty()) {
            row.SetEmpty();
        } else {
            separator.Split(line.text, row);
        }
        if (row.GetCount() != 0) {
            try {
                plan.AppendRow(row, lineNumber, *layer);
            } catch (...) {
                throw BException(
                    BString::Format("Failed to parse feature # %d.", featuresAdded),
                    "AsciiFile::BuildLayer",
                    BString::Format("The following line may be formatted wrong.\n\t<%ls>.",
                                    line.text.ToString()));
            }
            ++featuresAdded;
            if (m_progress != nullptr && m_progress->ShouldReport(lineNumber, 0) &&
                !m_progress->Report(lineNumber, 0)) {
                layer.reset();
                m_layer.Reset();
                return true;
            }
        }
        m_currentLine = lineNumber;
    }
}

} // namespace AsciiReader
