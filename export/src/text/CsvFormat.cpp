// The rarer parts of CSV: names, quoted cells, places.
#include "CsvFormat.h"

#include <utility>

namespace Orvane::Import {

CsvFormat::CsvFormat(OutputBuffer& out,
                     std::vector<bool> hasNulls,
                     bool hasGeometry,
                     bool hasHeights)
    : m_out(out)
    , m_hasNulls(std::move(hasNulls))
    , m_hasGeometry(hasGeometry)
    , m_hasHeights(hasHeights)
    , m_isSingle(!hasGeometry && m_hasNulls.size() <= 1)
{}

void CsvFormat::WriteNames(const std::vector<FileField>& fields)
{
    std::size_t column = 0;
    for (const FileField& field : fields) {
        Separate(column++);
        WriteCell(field.name);
    }
    for (const char* const coordinate : {"X", "Y", "Z"}) {
        if (m_hasGeometry && (*coordinate != 'Z' || m_hasHeights)) {
            Separate(column++);
            m_out.Append(FindFreeName(fields, coordinate));
        }
    }
    if (column == 0) {
        m_out.Append(R"("")");
    }
    m_out.Append('\n');
}

void CsvFormat::CopyNames(const std::vector<std::string>& names)
{
    std::size_t column = 0;
    for (const std::string& name : names) {
        Separate(column++);
        WriteCell(name);
    }
    if (names.size() < 2 && (names.empty() || names.front().empty())) {
        m_out.Append(R"("")");
    }
    m_out.Append('\n');
}

void CsvFormat::EndRow(const RowPoint& point)
{
    if (m_hasGeometry) {
        Separate(m_hasNulls.size());
        if (point.exists) {
            WriteReal(m_out, point.x);
            m_out.Append(',');
            WriteReal(m_out, point.y);
        } else {
            m_out.Append(',');
        }
        if (m_hasHeights) {
            m_out.Append(',');
            if (point.hasZ) {
                WriteReal(m_out, point.z);
            }
        }
    } else if (m_hasNulls.empty()) {
        m_out.Append(R"("")");
    }
    m_out.Append('\n');
}

void CsvFormat::WriteQuoted(std::string_view utf8)
{
    m_out.Append('"');
    for (std::size_t begin = 0; begin < utf8.size();) {
        const std::size_t quote = utf8.find('"', begin);
        if (quote == std::string_view::npos) {
            m_out.Append(utf8.substr(begin));
            break;
        }
        m_out.Append(utf8.substr(begin, quote + 1 - begin));
        m_out.Append('"');
        begin = quote + 1;
    }
    m_out.Append('"');
}

} // namespace Orvane::Import
