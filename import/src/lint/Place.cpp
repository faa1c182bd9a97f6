// A record is cut once more, for the few cells that are reported.
#include "Place.h"

#include "plan/PlanDialect.h"

#include <algorithm>
#include <array>
#include <iconv.h>

namespace Orvane::Import {

namespace {

/// The plan of the text of its records, which is UTF-8 whatever the file is.
Plan PlanOfText(const Plan& plan)
{
    Plan text = plan;
    text.bytes.encoding.value = "UTF-8";
    return text;
}

/// How many bytes a text takes in an encoding; those of UTF-8 where it is not known.
std::size_t CountBytes(std::string_view utf8, const std::string& encoding)
{
    iconv_t handle = iconv_open(encoding.c_str(), "UTF-8");
    if (handle == reinterpret_cast<iconv_t>(-1)) { // NOLINT(performance-no-int-to-ptr)
        return utf8.size();
    }
    std::size_t size = 0;
    // iconv does not change its input.
    char* from = const_cast<char*>(utf8.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    std::size_t left = utf8.size();
    std::array<char, 4096> buffer{};
    while (left > 0) {
        char* to = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t status = iconv(handle, &from, &left, &to, &room);
        size += buffer.size() - room;
        if (status == static_cast<std::size_t>(-1) && room == buffer.size()) {
            // What was no character of the encoding has one byte of it.
            const std::size_t skipped = std::min<std::size_t>(left, 3);
            from += skipped;
            left -= skipped;
            ++size;
        }
    }
    iconv_close(handle);
    return size;
}

} // namespace

PlaceFinder::PlaceFinder(const Plan& plan)
    : m_cutter(CutterOf(PlanOfText(plan)))
    , m_columns(plan.columns.size())
{
    const std::string& encoding = plan.bytes.encoding.value;
    if (plan.bytes.positions == "file" && encoding != "UTF-8" && encoding != "US-ASCII") {
        m_encoding = encoding;
    }
}

Place PlaceFinder::At(const TableRecord& record, std::size_t offset) const
{
    const std::string_view before = record.raw.substr(0, offset);
    Place place{record.line, 1, record.byte};
    std::size_t lineBegin = 0;
    for (std::size_t at = 0; at < before.size(); ++at) {
        const bool isPair = before[at] == '\r' && record.raw.substr(at + 1, 1) == "\n";
        const bool isEnd = before[at] == '\n' || (before[at] == '\r' && !isPair);
        if (isEnd && place.line + 1 < record.line + record.lines) {
            ++place.line;
            lineBegin = at + 1;
        }
    }
    const std::string_view line = before.substr(lineBegin);
    place.character +=
        static_cast<std::uint64_t>(std::count_if(line.begin(), line.end(), [](char unit) {
            return (static_cast<unsigned char>(unit) & 0xC0U) != 0x80U;
        }));
    place.byte += m_encoding.empty() ? before.size() : CountBytes(before, m_encoding);
    return place;
}

void PlaceFinder::Cut(const TableRecord& record)
{
    m_cutter.StartPiece();
    m_record.fields.clear();
    m_cutter.Cut(record.raw, 0, true, m_columns, m_record);
}

Place PlaceFinder::OfField(const TableRecord& record, std::size_t fieldIndex)
{
    Cut(record);
    return At(record,
              fieldIndex < m_record.fields.size() ? m_record.fields[fieldIndex].begin
                                                  : record.raw.size());
}

Scan::ERepair PlaceFinder::RepairOf(const TableRecord& record)
{
    Cut(record);
    return m_record.repair;
}

Place PlaceFinder::OfStrayQuote(const TableRecord& record, char quote, std::size_t& fieldIndex)
{
    Cut(record);
    for (std::size_t index = 0; index < m_record.fields.size(); ++index) {
        const Scan::Field& field = m_record.fields[index];
        const std::string_view cell = field.In(record.raw);
        for (std::size_t at = cell.find(quote); at != std::string_view::npos;
             at = cell.find(quote, at + 1)) {
            const bool isPair = field.isQuoted && at + 1 < cell.size() && cell[at + 1] == quote;
            if (!isPair) {
                fieldIndex = index;
                return At(record, field.begin + at);
            }
            ++at;
        }
    }
    fieldIndex = 0;
    return At(record, 0);
}

} // namespace Orvane::Import
