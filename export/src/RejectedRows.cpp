// Collects bad rows, and writes them.
#include "RejectedRows.h"

#include "DiskCacheEstimate.h"
#include "Wrap.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr double kUsualShare = 0.01;
constexpr double kRounding = 1e-9; ///< 0.07 of 100 is 7
constexpr std::size_t kMostText = 200;

enum EColumn : std::size_t { Line, Byte, Field, Reason, Row, ColumnCount };

std::vector<BColumnInfo> MakeColumns()
{
    return {{"line", EVariantType::Int64},
            {"byte", EVariantType::Int64},
            {"column", EVariantType::Int32},
            {"reason", EVariantType::String},
            {"row", EVariantType::String}};
}

constexpr const char* kLayerName = "rejected_rows";

std::unique_ptr<BVectorLayer> MakeLayer(const std::optional<std::string>& cacheName,
                                        const BString& otherName)
{
    auto layer = cacheName ? std::make_unique<BVectorLayer>(BString::FromUtf8(*cacheName),
                                                            kDiskCachePageSize)
                           : std::make_unique<BVectorLayer>();
    BAttributeDefs schema;
    for (const BColumnInfo& column : MakeColumns()) {
        BAttributeDef def;
        def.SetName(column.name);
        def.SetType(column.type);
        schema.Add(def);
    }
    layer->SetSchema(schema);
    // Names of tables differ in more than their case.
    layer->SetName(otherName.ToLower() == kLayerName ? std::string(kLayerName) + "_2" : kLayerName);
    return layer;
}

/// The text cut to whole characters.
std::string CutText(std::string_view text)
{
    std::size_t size = std::min(text.size(), kMostText);
    while (size > 0 && size < text.size() &&
           (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
        --size;
    }
    return std::string(text.substr(0, size));
}

struct CloseFile
{
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void FailFile(const std::string& shownName, int error)
{
    const std::string reason = std::generic_category().message(error);
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = "output-write";
    fields.what = "The output cannot be written.";
    fields.file = shownName;
    fields.cause = reason;
    fields.underneath = {"BException",
                         "RejectedRows",
                         BString::Format("Could not write <%s>.", shownName.c_str()),
                         BString::FromUtf8(reason)};
    throw ImportFailure(std::move(fields));
}

/// Appends a cell, quoted where a reader of CSV needs it.
void AppendCell(std::string_view cell, std::string& line)
{
    if (cell.find_first_of(",\"\r\n") == std::string_view::npos) {
        line += cell;
        return;
    }
    line += '"';
    for (const char byte : cell) {
        line.append(byte == '"' ? 2 : 1, byte);
    }
    line += '"';
}

} // namespace

bool IsRejectedFile(const std::filesystem::path& file)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(file, error))) {
        return false;
    }
    const File input(std::fopen(file.c_str(), "rbe"));
    std::array<char, kRejectedNames.size() + 1> line{};
    return input != nullptr &&
           std::fread(line.data(), 1, line.size(), input.get()) == line.size() &&
           std::string_view(line.data(), kRejectedNames.size()) == kRejectedNames &&
           line.back() == '\n';
}

RejectedRows::RejectedRows(const BadRowRequest& request,
                           std::uint64_t rows,
                           const std::optional<std::string>& cacheName,
                           const BString& layerName)
    : m_layer(MakeLayer(cacheName, layerName))
    , m_most(MostOf(request, rows))
    , m_keeps(request.action == BadRowRequest::EAction::Quarantine)
{}

RejectedRows::~RejectedRows() = default;

std::uint64_t RejectedRows::MostOf(const BadRowRequest& request, std::uint64_t rows)
{
    if (request.action == BadRowRequest::EAction::Stop) {
        return 0;
    }
    if (request.most) {
        return *request.most;
    }
    const double share = std::clamp(request.mostShare.value_or(kUsualShare), 0.0, 1.0);
    const auto most =
        static_cast<std::uint64_t>(std::floor(share * static_cast<double>(rows) + kRounding));
    // Rule: without a limit that is given one bad row is allowed in a file of any size.
    return request.mostShare ? most : std::max<std::uint64_t>(most, 1);
}

void RejectedRows::Add(const TableRecord& record)
{
    ++m_count;
    if (m_first.size() < Ledger::kMostBadRows) {
        m_first.push_back({record.line,
                           record.byte,
                           record.column,
                           std::string(NameOf(record.why)),
                           CutText(record.raw)});
    }
    if (!m_keeps || m_count > m_most) {
        return;
    }
    WrapFailures({}, [&] { Append(record); });
}

void RejectedRows::Append(const TableRecord& record)
{
    if (!m_appender) {
        m_appender = std::make_unique<BFeatureAppender>(m_layer->GetFeatures(), MakeColumns());
    }
    m_appender->AddInt64(static_cast<std::int64_t>(record.line));
    m_appender->AddInt64(static_cast<std::int64_t>(record.byte));
    m_appender->AddInt32(static_cast<std::int32_t>(record.column));
    m_appender->AddText(NameOf(record.why), ETextEncoding::Ascii);
    m_appender->AddText(record.raw, ETextEncoding::Utf8);
    m_appender->EndRow(EPointKind::None, 0, 0, 0, static_cast<std::uint32_t>(m_count));
}

ImportFailure
RejectedRows::MakeFailure(const Plan& plan, const Ledger& ledger, std::uint64_t most) const
{
    const std::uint64_t all = ledger.rows + ledger.badRows;
    FailureFields fields;
    fields.kind = EFailureKind::Content;
    fields.code = ledger.rows == 0 ? "no-row-fits" : "bad-rows";
    fields.what = std::to_string(m_count) + " of " + std::to_string(all) +
                  (all == 1 ? " row" : " rows") + (m_count == 1 ? " does" : " do") +
                  " not fit the table: ";
    if (ledger.rows == 0) {
        fields.what = (all == 1 ? "The only row does not fit the table: "
                                : "None of the " + std::to_string(all) + " rows fits the table: ");
    }
    const char* separator = "";
    for (const auto& [reason, count] : ledger.badRowsByReason) {
        fields.what += separator + std::to_string(count) + " " + reason;
        separator = ", ";
    }
    fields.what += ".";
    fields.file = plan.path;
    const auto encoding = ledger.badRowsByReason.find(std::string(NameOf(EBadRow::Encoding)));
    if (encoding != ledger.badRowsByReason.end() && encoding->second * 2 > m_count) {
        fields.value = plan.bytes.encoding.value;
    }
    if (!m_first.empty()) {
        const LedgerBadRow& first = m_first.front();
        fields.line = first.line;
        fields.column = first.column;
        fields.row = first.text;
        fields.subject = first.reason;
        fields.cause = m_count == 1 ? "It begins in line " : "They begin in the lines ";
        for (std::size_t index = 0; index < m_first.size(); ++index) {
            fields.cause += (index == 0 ? "" : ", ") + std::to_string(m_first[index].line);
        }
        fields.cause += m_count > m_first.size() ? " and so on." : ".";
        if (first.reason == NameOf(EBadRow::Value) && first.column <= plan.columns.size()) {
            const PlanColumn& column = plan.columns.at(first.column - 1);
            fields.cause += " The first one has no " + std::string(NameOf(column.type.value)) +
                            " in the column " +
                            (column.name.empty() ? std::to_string(column.index)
                                                 : "'" + CutText(column.name) + "'") +
                            ".";
        }
    }
    fields.fieldsFound = m_count;
    fields.fieldsExpected = most;
    return ImportFailure(std::move(fields));
}

void RejectedRows::WriteFile(const std::filesystem::path& file, const std::string& shownName) const
{
    WrapFailures(shownName, [&] { WriteRows(file, shownName); });
}

void RejectedRows::WriteRows(const std::filesystem::path& file, const std::string& shownName) const
{
    const File output(std::fopen(file.c_str(), "wbe"));
    if (output == nullptr) {
        FailFile(shownName, errno);
    }
    const auto write = [&](std::string_view text) {
        if (std::fwrite(text.data(), 1, text.size(), output.get()) != text.size()) {
            FailFile(shownName, errno);
        }
    };
    std::string line(kRejectedNames);
    write(line += '\n');
    std::string row;
    const BFeatureCollection& features = m_layer->GetFeatures();
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        const std::shared_ptr<const BFeaturePage> page = features.LoadPage(index);
        for (std::size_t at = 0; at < page->GetRowCount(); ++at) {
            line.clear();
            for (const EColumn column : {Line, Byte}) {
                line += std::to_string(page->data[column].int64s[at]) + ',';
            }
            const std::int32_t field = page->data[Field].int32s[at];
            line += (field == 0 ? std::string() : std::to_string(field)) + ',';
            line += page->data[Reason].texts.GetBytes(at);
            line += ',';
            const BTextArray& texts = page->data[Row].texts;
            row.clear();
            AppendTextAsUtf8(texts.GetBytes(at), texts.encoding, row);
            AppendCell(row, line);
            write(line += '\n');
        }
    }
    if (std::fflush(output.get()) != 0) {
        FailFile(shownName, errno);
    }
}

std::uint64_t RejectedRows::CountFile(const std::filesystem::path& file,
                                      const std::string& shownName)
{
    const File input(std::fopen(file.c_str(), "rbe"));
    if (input == nullptr) {
        FailFile(shownName, errno);
    }
    std::uint64_t records = 0;
    bool isQuoted = false;
    std::array<char, 16384> buffer{};
    for (;;) {
        const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), input.get());
        for (std::size_t at = 0; at < size; ++at) {
            // A doubled quote closes and opens again.
            isQuoted = isQuoted != (buffer[at] == '"');
            records += buffer[at] == '\n' && !isQuoted ? 1U : 0U;
        }
        if (size < buffer.size()) {
            break;
        }
    }
    if (std::ferror(input.get()) != 0) {
        FailFile(shownName, errno);
    }
    return records == 0 ? 0 : records - 1;
}

} // namespace Orvane::Import
