// Schema set-up, layer creation and the row loop of the engine.
#include "file/AsciiFile.h"
#include "file/LayerFill.h"
#include "layer/RowPlan.h"
#include "text/SplitPatterns.h"

#include <Orvane/BCoordSys.h>
#include <Orvane/BStringQt.h>

namespace AsciiReader {

void AsciiFile::BuildSchema()
{
    if (m_options.scansAllRows) {
        m_schema = AsciiSchema::ScanAllRows(m_lines, m_options, m_separator);
        m_lines.Rewind();
    } else {
        m_schema = AsciiSchema::Schema(m_sampleLines, m_options, m_separator);
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

bool AsciiFile::BuildLayer(std::int32_t limit)
{
    RequireReadMode("AsciiFile::BuildLayer");
    if (m_layer) {
        m_schema = m_layer->GetSchema();
    } else {
        CreateLayer();
    }
    // Rule: a resumed read consumes one more line as its column-name line.
    if (m_options.hasColumnNames) {
        GetSafeLine(m_firstLine);
    }
    if (m_columnWidths.empty() && !m_separator.isValid()) {
        m_separator = m_options.separator
                          ? QRegularExpression(Orvane::MakeQString(*m_options.separator))
                          : SplitPatterns::CommaSplit();
    }
    m_headerRule.Reset();

    const Separator separator(m_separator, m_columnWidths);
    const RowPlan plan(m_schema, m_options);
    const LayerFill::Result result = LayerFill({m_lines,
                                                m_headerRule,
                                                separator,
                                                plan,
                                                m_layer->GetFeatures(),
                                                m_progress,
                                                limit,
                                                m_currentLine,
                                                m_sharing})
                                         .Run();
    if (result == LayerFill::Result::Cancelled) {
        m_layer.Reset();
    } else if (m_lines.AtEnd()) {
        m_lines.Release();
    }
    return result != LayerFill::Result::LimitReached;
}

} // namespace AsciiReader
