// The rows that cannot be rows of the table, as they stand.
#pragma once

#include "table/Table.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Ledger.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// What the name of a file of bad rows ends with, after the whole name of the output.
inline constexpr std::string_view kRejectedEnding = ".rejected.csv";

/// Its first line, by which a file of an earlier import is known.
inline constexpr std::string_view kRejectedNames = "line,byte,column,reason,row";

/// Whether a file of bad rows of an earlier import stands there: a file of that first line.
[[nodiscard]] bool IsRejectedFile(const std::filesystem::path& file);

/// Collects bad rows in a layer without points, which becomes a file, and a table of the output
/// where its format has tables.
///
/// Rule: once more rows are bad than the import allows, they are only counted, since nothing will
/// be written. One thread at a time.
class RejectedRows : public BadRowSink
{
public:
    /// @param rows the file has at most, for a limit that is a share of them
    /// @param cacheName of a disk-cached layer; none: in memory
    /// @param layerName of the layer of the rows that are not bad
    RejectedRows(const BadRowRequest& request,
                 std::uint64_t rows,
                 const std::optional<std::string>& cacheName,
                 const BString& layerName);
    ~RejectedRows() override;

    void Add(const TableRecord& record) override;

    [[nodiscard]] std::uint64_t GetCount() const noexcept { return m_count; }

    /// How many bad rows are allowed among `rows` rows, bad ones counted.
    [[nodiscard]] static std::uint64_t MostOf(const BadRowRequest& request, std::uint64_t rows);

    /// The first of them, at most Ledger::kMostBadRows.
    [[nodiscard]] const std::vector<LedgerBadRow>& GetFirst() const noexcept { return m_first; }

    /// The failure of an import with more of them than it allows, or without any other row.
    [[nodiscard]] ImportFailure
    MakeFailure(const Plan& plan, const Ledger& ledger, std::uint64_t most) const;

    /// Whether there are rows to write.
    [[nodiscard]] bool AreKept() const noexcept { return m_keeps && m_count > 0; }

    /// "rejected_rows", or "rejected_rows_2" beside a layer of that name: line, byte, column,
    /// reason and row, in the order of the file.
    [[nodiscard]] const BVectorLayer& GetLayer() const noexcept { return *m_layer; }

    /// Writes them as CSV, UTF-8, each line with its ending. @throws ImportFailure `output-write`
    void WriteFile(const std::filesystem::path& file, const std::string& shownName) const;

    /// Counts the records of such a file, by its line ends outside of quotes.
    /// @throws ImportFailure `output-write` when it cannot be read
    [[nodiscard]] static std::uint64_t CountFile(const std::filesystem::path& file,
                                                 const std::string& shownName);

private:
    void Append(const TableRecord& record);
    void WriteRows(const std::filesystem::path& file, const std::string& shownName) const;

    std::unique_ptr<BVectorLayer> m_layer; ///< never null
    std::unique_ptr<BFeatureAppender> m_appender;
    std::uint64_t m_count = 0;
    std::uint64_t m_most = 0; ///< beyond it nothing is written
    bool m_keeps = false;
    std::vector<LedgerBadRow> m_first;
};

} // namespace Orvane::Import
