// Counts from written files, each format its own way.
#include "CountWritten.h"

#include "CheckedFiles.h"
#include "GdalScope.h"
#include "flatgeobuf/CountFeatures.h"
#include "text/TextCounter.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
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
/// The same, where rows are counted by their numbers.
constexpr std::int64_t kNumbersPerCall = 65536;
/// The same, of drivers that need up to 40 microseconds per row.
constexpr std::uint64_t kRowsOfDriver = 1024;

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

    TargetCounts Run(const WrittenShape& shape, const Follow& follow)
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
        TargetCounts counts;
        for (const auto& [table, geometry] : tables) {
            CountTable(table, geometry, follow, counts);
        }
        return counts;
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

    /// Adds the rows of a table, run by run of their numbers, so that the caller hears of a large
    /// one.
    void CountTable(const std::string& table,
                    const std::string& geometry,
                    const Follow& follow,
                    TargetCounts& counts) const
    {
        const std::string key = Quote(FindKey(table));
        const Statement next =
            Prepare("SELECT min(" + key + ") FROM " + Quote(table) + " WHERE " + key + " >= ?1");
        const Statement count =
            Prepare("SELECT count(*), count(" + (geometry.empty() ? "NULL" : Quote(geometry)) +
                    ") FROM " + Quote(table) + " WHERE " + key + " BETWEEN ?1 AND ?2");
        constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();
        for (std::int64_t first = std::numeric_limits<std::int64_t>::min();;) {
            Check(sqlite3_reset(next.get()));
            Check(sqlite3_bind_int64(next.get(), 1, first));
            if (!Step(next) || sqlite3_column_type(next.get(), 0) == SQLITE_NULL) {
                return;
            }
            first = sqlite3_column_int64(next.get(), 0);
            const std::int64_t last =
                first > kEnd - kNumbersPerCall ? kEnd : first + kNumbersPerCall - 1;
            Check(sqlite3_reset(count.get()));
            Check(sqlite3_bind_int64(count.get(), 1, first));
            Check(sqlite3_bind_int64(count.get(), 2, last));
            static_cast<void>(Step(count));
            counts.rows += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 0));
            counts.points += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 1));
            follow(counts.rows);
            if (last == kEnd) {
                return;
            }
            first = last + 1;
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

/// Other formats, by their GDAL driver: feature by feature, since a file's own count is the
/// writer's word.
TargetCounts
CountByGdal(const std::filesystem::path& file, const ExportFormat& format, const Follow& follow)
{
    RegisterDrivers();
    const GdalMessages messages;
    const std::array<const char*, 2> drivers = {format.driver, nullptr};
    TargetCounts counts;
    // Some drivers read all of a file when they open it.
    std::exception_ptr thrown;
    const CheckedFiles files([&] {
        try {
            follow(counts.rows);
        } catch (...) {
            thrown = std::current_exception();
        }
        return thrown == nullptr;
    });
    const std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open(files.NameFor(file.native()).c_str(),
                          GDAL_OF_VECTOR | GDAL_OF_READONLY,
                          drivers.data(),
                          nullptr,
                          nullptr));
    if (dataset) {
        for (OGRLayer* layer : dataset->GetLayers()) {
            OGRFeatureDefn& definition = *layer->GetLayerDefn();
            std::vector<const char*> ignored;
            ignored.reserve(static_cast<std::size_t>(definition.GetFieldCount()) + 1);
            for (int index = 0; index < definition.GetFieldCount(); ++index) {
                ignored.push_back(definition.GetFieldDefn(index)->GetNameRef());
            }
            ignored.push_back(nullptr);
            static_cast<void>(layer->SetIgnoredFields(ignored.data()));
            for (const auto& feature : *layer) {
                if (++counts.rows % kRowsOfDriver == 0) {
                    follow(counts.rows);
                }
                const OGRGeometry* geometry = feature->GetGeometryRef();
                counts.points += geometry != nullptr && geometry->IsEmpty() == 0 ? 1U : 0U;
            }
        }
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
    if (const std::string reason = files.GetFailure(); !reason.empty()) {
        throw std::runtime_error(reason);
    }
    if (!dataset || messages.HasError()) {
        throw std::runtime_error(messages.GetError());
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
                       const Follow& follow)
{
    if (format.driver == std::string_view("GPKG")) {
        return SqlCounter(file).Run(shape, follow);
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
    return CountByGdal(file, format, follow);
}

} // namespace Orvane::Import
