// Schema set-up, layer creation and the row loop of the engine.
#include "file/AsciiFile.h"
#include "file/LayerFill.h"
#include "layer/RowPlan.h"
#include "text/Constants.h"

#include <Orvane/BCoordSys.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

namespace AsciiReader {

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

    const Separator separator(m_separator, m_columnWidths);
    const RowPlan plan(m_schema, m_params, m_xFormat, m_yFormat, m_zFormat);
    const LayerFill::Result result = LayerFill({m_lines,
                                                m_headerRule,
                                                m_params,
                                                separator,
                                                plan,
                                                m_layer->GetFeatures(),
                                                m_progress,
                                                m_ignoreBlankRows,
                                                limit,
                                                m_currentLine})
                                         .Run();
    if (result == LayerFill::Result::Cancelled) {
        m_layer.Reset();
    } else if (m_lines.AtEnd()) {
        m_lines.Release();
    }
    return result != LayerFill::Result::LimitReached;
}

} // namespace AsciiReader
