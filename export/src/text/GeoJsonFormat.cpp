// The frame of GeoJSON texts, escapes and places.
#include "GeoJsonFormat.h"

namespace Orvane::Import {

namespace {

constexpr std::string_view kFeature = R"({"type":"Feature","properties":{)";
constexpr std::string_view kNextFeature = ",\n"
                                          R"({"type":"Feature","properties":{)";
constexpr std::string_view kMarkedFeature = "\x1E"
                                            R"({"type":"Feature","properties":{)";

} // namespace

GeoJsonFormat::GeoJsonFormat(OutputBuffer& out, EKind kind, const std::vector<FileField>& fields)
    : m_out(out)
    , m_kind(kind)
    , m_firstBegin(kind == EKind::MarkedSequence ? kMarkedFeature : kFeature)
    , m_nextBegin(kind == EKind::Collection ? kNextFeature : m_firstBegin)
{
    for (const FileField& field : fields) {
        std::string key = m_keys.empty() ? "\"" : ",\"";
        AppendJsonText(field.name, key);
        m_keys.push_back(key + "\":");
    }
}

void GeoJsonFormat::Begin(const std::string& name, const std::string& crs)
{
    if (m_kind != EKind::Collection) {
        return;
    }
    m_out.Append("{\n\"type\":\"FeatureCollection\",\n\"name\":");
    WriteText(name);
    m_out.Append(",\n");
    if (!crs.empty()) {
        m_out.Append(R"("crs":{"type":"name","properties":{"name":)");
        WriteText(crs);
        m_out.Append("}},\n");
    }
    m_out.Append("\"features\":[\n");
}

void GeoJsonFormat::End()
{
    if (m_kind != EKind::Collection) {
        return;
    }
    m_out.Append(m_isFirst ? "]" : "\n]");
    WriteBox();
    m_out.Append("\n}\n");
}

void GeoJsonFormat::WriteBox()
{
    if (m_x.least > m_x.greatest) {
        return;
    }
    m_out.Append(",\n\"bbox\":[");
    WriteReal(m_out, m_x.least);
    m_out.Append(',');
    WriteReal(m_out, m_y.least);
    if (m_haveAllZ) {
        m_out.Append(',');
        WriteReal(m_out, m_z.least);
    }
    m_out.Append(',');
    WriteReal(m_out, m_x.greatest);
    m_out.Append(',');
    WriteReal(m_out, m_y.greatest);
    if (m_haveAllZ) {
        m_out.Append(',');
        WriteReal(m_out, m_z.greatest);
    }
    m_out.Append(']');
}

void GeoJsonFormat::EndRow(const RowPoint& point)
{
    if (point.exists) {
        m_out.Append(R"(},"geometry":{"type":"Point","coordinates":[)");
        WriteReal(m_out, point.x);
        m_out.Append(',');
        WriteReal(m_out, point.y);
        m_x.Include(point.x);
        m_y.Include(point.y);
        if (point.hasZ && std::isfinite(point.z)) {
            m_out.Append(',');
            WriteReal(m_out, point.z);
            m_z.Include(point.z);
        } else {
            m_haveAllZ = false;
        }
        m_out.Append("]}}");
    } else {
        m_out.Append(R"(},"geometry":null})");
    }
    if (m_kind != EKind::Collection) {
        m_out.Append('\n');
    }
    m_isFirst = false;
}

void GeoJsonFormat::WriteEscaped(std::string_view utf8)
{
    m_escaped.clear();
    AppendJsonText(utf8, m_escaped);
    m_out.Append(m_escaped);
}

} // namespace Orvane::Import
