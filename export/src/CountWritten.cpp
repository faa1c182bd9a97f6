// Counts from written files, each format its own way.
#include "CountWritten.h"

#include "GdalServices.h"
#include "flatgeobuf/CountFeatures.h"
#include "text/TextCounter.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <threads/SharedWork.h>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

[[noreturn]] void ThrowSystemError()
{
    throw std::runtime_error(std::generic_category().message(errno));
}

struct FileCloser
{
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

using Follow = std::function<void(std::uint64_t rows)>;

/// Rows between two calls of a Follow.
constexpr std::uint64_t kRowsPerCall = 65536;

TargetCounts
CountText(const std::filesystem::path& path, TextCounter& counter, const Follow& follow)
{
    constexpr std::size_t kBufferBytes = std::size_t{256} << 10;
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        ThrowSystemError();
    }
    std::vector<char> buffer(kBufferBytes);
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), file.get())) > 0) {
        counter.Consume({buffer.data(), count});
        follow(counter.CountRowsSoFar());
    }
    if (std::ferror(file.get()) != 0) {
        ThrowSystemError();
    }
    return counter.GetCounts();
}

/// The file as an address that SQLite opens without locks and without files beside it.
std::string MakeAddress(const std::filesystem::path& file)
{
    constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    std::string address = "file:";
    for (const char byte : file.native()) {
        const auto code = static_cast<unsigned char>(byte);
        const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                             (byte >= '0' && byte <= '9') || byte == '/' || byte == '.';
        if (isPlain) {
            address += byte;
        } else {
            address += '%';
            address += kHexDigits[code >> 4U];
            address += kHexDigits[code & 0xFU];
        }
    }
    return address + "?immutable=1";
}

/// A GeoPackage, opened for reading by SQLite alone.
class SqlCounter
{
public:
    explicit SqlCounter(const std::filesystem::path& file)
        : m_file(file)
    {
        sqlite3* database = nullptr;
        const int code =
            sqlite3_open_v2(MakeAddress(file).c_str(),
                            &database,
                            SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX,
                            nullptr);
        m_database.reset(database);
        Check(code);
    }

    [[nodiscard]] std::optional<std::vector<std::string>> ListTables() const
    {
        std::vector<std::string> names;
        try {
            const Statement list = Prepare("SELECT name FROM sqlite_master");
            while (Step(list)) {
                names.push_back(TextOf(list, 0));
            }
        } catch (const std::runtime_error&) {
            if (sqlite3_errcode(m_database.get()) != SQLITE_NOTADB) {
                throw;
            }
        }
        const auto has = [&](const char* name) {
            return std::find(names.begin(), names.end(), name) != names.end();
        };
        return has("gpkg_contents") && has("gpkg_spatial_ref_sys") ? std::optional(std::move(names))
                                                                   : std::nullopt;
    }

    TargetCounts Run(const WrittenShape& shape, std::size_t threads, const Follow& follow)
    {
        std::vector<std::pair<std::string, std::string>> tables;
        const Statement list = Prepare(
            "SELECT table_name, column_name FROM gpkg_contents LEFT JOIN gpkg_geometry_columns "
            "USING(table_name) WHERE data_type IN ('features', 'attributes') AND (?1 = '' OR "
            "lower(table_name) = lower(?1))");
        Check(sqlite3_bind_text(list.get(), 1, shape.onlyTable.c_str(), -1, SQLITE_TRANSIENT));
        while (Step(list)) {
            if (TextOf(list, 0) != shape.furtherTable) {
                tables.emplace_back(TextOf(list, 0), TextOf(list, 1));
            }
        }
        AsciiReader::TaskPool pool(threads > 1 ? threads - 1 : 0);
        SharedCounts counts;
        for (const auto& [table, geometry] : tables) {
            CountTable({table, geometry, FindKey(table)}, pool, follow, counts);
        }
        return {counts.rows, counts.points};
    }

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    struct Closer
    {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };

    using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

    struct Table
    {
        std::string name;
        std::string geometry; ///< empty without one
        std::string key;      ///< the column of the rows' numbers
    };

    struct SharedCounts
    {
        std::atomic<std::uint64_t> rows = 0;
        std::atomic<std::uint64_t> points = 0;
    };

    /// The largest part of a table that is counted in one go: so the caller hears of it.
    static constexpr std::uint64_t kNumbersPerRun = 65536;
    static constexpr std::uint64_t kSharesOfThread = 4;

    /// Adds the rows of a table: threads share the span of their numbers.
    void CountTable(const Table& table,
                    AsciiReader::TaskPool& pool,
                    const Follow& follow,
                    SharedCounts& counts) const
    {
        const std::string key = Quote(table.key);
        const Statement ends =
            Prepare("SELECT (SELECT min(" + key + ") FROM " + Quote(table.name) +
                    "), (SELECT max(" + key + ") FROM " + Quote(table.name) + ")");
        if (!Step(ends) || sqlite3_column_type(ends.get(), 0) == SQLITE_NULL) {
            return;
        }
        const std::int64_t first = sqlite3_column_int64(ends.get(), 0);
        const std::int64_t last = sqlite3_column_int64(ends.get(), 1);
        // Differences of numbers of any sign need all of the 64 bits.
        const std::uint64_t span =
            static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first);
        const std::uint64_t share =
            std::max(span / (kSharesOfThread * (pool.GetHelperCount() + 1)), kNumbersPerRun) + 1;
        AsciiReader::ForEachShared(
            pool,
            static_cast<std::size_t>(span / share) + 1,
            [&](std::size_t number, const std::function<void()>& step) {
                const std::uint64_t begin = number * share;
                const std::uint64_t end = begin + std::min(share - 1, span - begin);
                const auto at = [first](std::uint64_t offset) {
                    return static_cast<std::int64_t>(static_cast<std::uint64_t>(first) + offset);
                };
                SqlCounter(m_file).CountRows(table, at(begin), at(end), step, counts);
            },
            [&] { follow(counts.rows); });
    }

    /// Adds the rows whose numbers are in a range, run by run.
    void CountRows(const Table& table,
                   std::int64_t first,
                   std::int64_t last,
                   const std::function<void()>& step,
                   SharedCounts& counts) const
    {
        const std::string key = Quote(table.key);
        const std::string point = table.geometry.empty() ? "NULL" : Quote(table.geometry);
        const std::string from = " FROM " + Quote(table.name) + " WHERE " + key;
        const Statement next = Prepare("SELECT min(" + key + ")" + from + " BETWEEN ?1 AND ?2");
        const Statement count =
            Prepare("SELECT count(*), count(" + point + ")" + from + " BETWEEN ?1 AND ?2");
        const auto ask = [this](const Statement& statement, std::int64_t begin, std::int64_t end) {
            Check(sqlite3_reset(statement.get()));
            Check(sqlite3_bind_int64(statement.get(), 1, begin));
            Check(sqlite3_bind_int64(statement.get(), 2, end));
            return Step(statement) && sqlite3_column_type(statement.get(), 0) != SQLITE_NULL;
        };
        // The numbers of foreign files may have large gaps: each run begins with a row.
        while (ask(next, first, last)) {
            const std::int64_t begin = sqlite3_column_int64(next.get(), 0);
            const auto left = static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(begin);
            const bool isLast = left < kNumbersPerRun;
            const std::int64_t end =
                isLast ? last : begin + static_cast<std::int64_t>(kNumbersPerRun) - 1;
            static_cast<void>(ask(count, begin, end));
            counts.rows += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 0));
            counts.points += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 1));
            step();
            if (isLast) {
                return;
            }
            first = end + 1;
        }
    }

    /// The column of the rows' numbers. A field may be called "rowid", so that its own name counts.
    [[nodiscard]] std::string FindKey(const std::string& table) const
    {
        const Statement find = Prepare("SELECT name FROM pragma_table_info(?1) WHERE pk = 1 AND "
                                       "upper(type) = 'INTEGER'");
        Check(sqlite3_bind_text(find.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT));
        return Step(find) ? TextOf(find, 0) : std::string("rowid");
    }

    void Check(int code) const
    {
        if (code == SQLITE_NOMEM) {
            throw std::bad_alloc();
        }
        if (code != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_database.get()));
        }
    }

    [[nodiscard]] Statement Prepare(const std::string& sql) const
    {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &statement, nullptr));
        return Statement(statement);
    }

    [[nodiscard]] bool Step(const Statement& statement) const
    {
        const int code = sqlite3_step(statement.get());
        if (code != SQLITE_ROW && code != SQLITE_DONE) {
            Check(code);
        }
        return code == SQLITE_ROW;
    }

    static std::string TextOf(const Statement& statement, int column)
    {
        const void* text = sqlite3_column_blob(statement.get(), column);
        const int size = sqlite3_column_bytes(statement.get(), column);
        return text == nullptr
                   ? std::string()
                   : std::string(static_cast<const char*>(text), static_cast<std::size_t>(size));
    }

    static std::string Quote(const std::string& name)
    {
        std::string quoted = "\"";
        for (const char byte : name) {
            quoted.append(byte == '"' ? 2 : 1, byte);
        }
        return quoted + '"';
    }

    std::filesystem::path m_file;
    std::unique_ptr<sqlite3, Closer> m_database;
};

/// The places of a KML file, with a point and without: GDAL shows those without to nobody.
TargetCounts CountKml(const std::filesystem::path& file, const Follow& follow)
{
    std::ifstream stream(file, std::ios::binary);
    TargetCounts counts;
    // A "<" in a text is an entity, so that these are the elements.
    for (std::string piece; std::getline(stream, piece, '<');) {
        const bool isPlace = piece.starts_with("Placemark");
        counts.rows += isPlace ? 1U : 0U;
        counts.points += piece.starts_with("Point>") ? 1U : 0U;
        if (isPlace && counts.rows % kRowsPerCall == 0) {
            follow(counts.rows);
        }
    }
    if (!stream.eof()) {
        ThrowSystemError();
    }
    return counts;
}

} // namespace

std::optional<std::vector<std::string>> ListTables(const std::filesystem::path& file)
{
    return SqlCounter(file).ListTables();
}

TargetCounts CountFile(const std::filesystem::path& file,
                       const ExportFormat& format,
                       const WrittenShape& shape,
                       std::size_t threads,
                       const Follow& follow)
{
    if (format.driver == std::string_view("GPKG")) {
        return SqlCounter(file).Run(shape, threads, follow);
    }
    if (const std::unique_ptr<TextCounter> counter = MakeTextCounter(format, shape)) {
        return CountText(file, *counter, follow);
    }
    if (format.driver == std::string_view("FlatGeobuf")) {
        const FlatGeobuf::FeatureCounts counts = FlatGeobuf::CountFeatures(file, follow);
        return {counts.features, counts.points};
    }
    if (format.driver == std::string_view("KML")) {
        return CountKml(file, follow);
    }
    return LoadGdal().count(file, format, follow);
}

} // namespace Orvane::Import
