// The program `orvane_bench_geopackage`: writes a layer that is in memory as a GeoPackage, by the
// writer or by the bare inserts that it cannot do without. Each run is one sample.
#include "GeoPackageTables.h"
#include "GeoPackageWriter.h"
#include "Measure.h"
#include "SqliteDatabase.h"

#include <Orvane/BColumnData.h>
#include <Orvane/BException.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BVectorLayer.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

namespace {

namespace GeoPackage = Orvane::GeoPackage;
using OrvaneBench::Measure;
using OrvaneBench::Times;

void PrintTimes(const char* name, const Times& times)
{
    std::printf("%s_cpu_s %.6f\n%s_wall_s %.6f\n", name, times.cpu, name, times.wall);
}

/// A value as the type that it looks like: integer, true or false, else text.
Orvane::BVariant ParseValue(std::string_view text)
{
    std::int32_t integer = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), integer);
    if (!text.empty() && result.ec == std::errc() && result.ptr == text.data() + text.size()) {
        return Orvane::BVariant(integer);
    }
    if (text == "true" || text == "false") {
        return Orvane::BVariant(text == "true");
    }
    return Orvane::BVariant(Orvane::BString::FromUtf8(text));
}

/// The layer of a file; it keeps its module loaded.
Orvane::BSharedPtr<Orvane::BVectorLayer>
LoadLayer(const char* module, const char* file, const Orvane::BParamList& options)
{
    const Orvane::BPluginModule plugin(module);
    const Orvane::BString path = Orvane::BString::FromUtf8(file);
    const Orvane::BReaderHandle reader = plugin.CreateReader(path, options);
    reader->Open(path, options);
    reader->Read();
    reader->Close();
    return reader.GetLayer(0);
}

GeoPackage::LayerDefinition Define(const Orvane::BVectorLayer& layer)
{
    GeoPackage::LayerDefinition definition;
    definition.name = "points";
    for (std::size_t index = 0; index < layer.GetSchema().GetCount(); ++index) {
        const Orvane::BAttributeDef& def = layer.GetSchema().GetAt(index);
        definition.fields.push_back({def.GetName().ToUtf8(), def.GetType()});
    }
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        definition.hasHeights = definition.hasHeights || !features.GetPage(index).z.IsEmpty();
    }
    definition.spatialReference = GeoPackage::UndefinedSpatialReference();
    return definition;
}

void WriteByWriter(const Orvane::BVectorLayer& layer, const char* out, std::size_t threads)
{
    Times rows;
    Times index;
    double lastCall = OrvaneBench::CpuSeconds();
    double longestSilence = 0;
    GeoPackage::GeoPackageWriter::Options options;
    options.threads = threads;
    options.progress = [&](GeoPackage::GeoPackageWriter::EPhase, std::uint64_t, std::uint64_t) {
        const double now = OrvaneBench::CpuSeconds();
        longestSilence = std::max(longestSilence, now - lastCall);
        lastCall = now;
    };
    GeoPackage::GeoPackageWriter writer(out, options);
    Measure(rows, [&] {
        writer.BeginLayer(Define(layer));
        const Orvane::BFeatureCollection& features = layer.GetFeatures();
        for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
            writer.WritePage(*features.LoadPage(page), &features, features.GetFirstRow(page));
        }
    });
    GeoPackage::LayerCounts counts;
    Measure(index, [&] {
        counts = writer.EndLayer();
        writer.Finish();
    });
    std::printf("rows %llu\npoints %llu\nlongest_silence_cpu_s %.6f\n",
                static_cast<unsigned long long>(counts.rows),
                static_cast<unsigned long long>(counts.points),
                longestSilence);
    PrintTimes("rows", rows);
    PrintTimes("index", index);
}

/// The tables of a spatial index, in memory.
struct IndexTables
{
    struct Node
    {
        std::int64_t number;
        std::string bytes;
    };

    struct Pair
    {
        std::int64_t key;
        std::int64_t value;
    };

    std::vector<Node> nodes;
    std::vector<Pair> leaves;
    std::vector<Pair> parents;
};

struct StatementEnd
{
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};

using Statement = std::unique_ptr<sqlite3_stmt, StatementEnd>;

Statement Prepare(sqlite3* database, const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database));
    }
    return Statement(statement);
}

void Step(const Statement& statement)
{
    if (sqlite3_step(statement.get()) != SQLITE_DONE ||
        sqlite3_reset(statement.get()) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(sqlite3_db_handle(statement.get())));
    }
}

/// The index of a file that the writer has made of the same layer.
IndexTables ReadIndex(const char* file)
{
    sqlite3* handle = nullptr;
    sqlite3_open_v2(file, &handle, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(handle, &sqlite3_close);
    IndexTables tables;
    const auto readPairs = [&](const char* sql, std::vector<IndexTables::Pair>& pairs) {
        const Statement select = Prepare(handle, sql);
        while (sqlite3_step(select.get()) == SQLITE_ROW) {
            pairs.push_back(
                {sqlite3_column_int64(select.get(), 0), sqlite3_column_int64(select.get(), 1)});
        }
    };
    const Statement nodes = Prepare(handle, "SELECT nodeno, data FROM rtree_points_geom_node");
    while (sqlite3_step(nodes.get()) == SQLITE_ROW) {
        tables.nodes.push_back(
            {sqlite3_column_int64(nodes.get(), 0),
             std::string(static_cast<const char*>(sqlite3_column_blob(nodes.get(), 1)),
                         static_cast<std::size_t>(sqlite3_column_bytes(nodes.get(), 1)))});
    }
    readPairs("SELECT rowid, nodeno FROM rtree_points_geom_rowid", tables.leaves);
    readPairs("SELECT nodeno, parentnode FROM rtree_points_geom_parent", tables.parents);
    return tables;
}

void BindValue(const Statement& insert,
               int number,
               const Orvane::BColumnData& column,
               std::size_t row)
{
    Orvane::VisitStorage(column.storage, [&](auto kind) {
        const auto& values = kind.ArrayOf(column);
        using Value = typename decltype(kind)::Value;
        if constexpr (kind.kIsText) {
            const std::string_view text = values.GetBytes(row);
            sqlite3_bind_text(insert.get(),
                              number,
                              text.empty() ? "" : text.data(),
                              static_cast<int>(text.size()),
                              SQLITE_STATIC);
        } else if constexpr (std::is_floating_point_v<Value>) {
            sqlite3_bind_double(insert.get(), number, static_cast<double>(values[row]));
        } else {
            sqlite3_bind_int64(insert.get(), number, values[row]);
        }
    });
}

/// The rows as they are, a prepared statement per table, a run of it per row. Texts must be UTF-8.
void InsertRows(sqlite3* database, const Orvane::BVectorLayer& layer, bool hasHeights)
{
    const std::size_t fieldCount = layer.GetSchema().GetCount();
    std::string sql = "INSERT INTO points VALUES(NULL,?";
    for (std::size_t index = 0; index < fieldCount; ++index) {
        sql += ",?";
    }
    const Statement insert = Prepare(database, sql + ")");
    constexpr int kPointStart = 13;
    char geometry[37] = {'G', 'P', 0, 1, 0, 0, 0, 0, 1, 1};
    const int size = hasHeights ? 37 : 29;
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    for (std::size_t pageIndex = 0; pageIndex < features.GetPageCount(); ++pageIndex) {
        const Orvane::BFeaturePage& page = features.GetPage(pageIndex);
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            std::memcpy(geometry + kPointStart, &page.x[row], sizeof(double));
            std::memcpy(geometry + kPointStart + 8, &page.y[row], sizeof(double));
            if (hasHeights) {
                std::memcpy(geometry + kPointStart + 16, &page.z[row], sizeof(double));
            }
            sqlite3_bind_blob(insert.get(), 1, geometry, size, SQLITE_STATIC);
            for (std::size_t index = 0; index < fieldCount; ++index) {
                BindValue(insert, static_cast<int>(index) + 2, page.data[index], row);
            }
            Step(insert);
        }
    }
}

void InsertIndex(sqlite3* database, const IndexTables& tables)
{
    const Statement node = Prepare(database, "INSERT INTO index_node VALUES(?,?)");
    for (const IndexTables::Node& row : tables.nodes) {
        sqlite3_bind_int64(node.get(), 1, row.number);
        sqlite3_bind_blob(
            node.get(), 2, row.bytes.data(), static_cast<int>(row.bytes.size()), SQLITE_STATIC);
        Step(node);
    }
    const auto insertPairs = [&](const char* sql, const std::vector<IndexTables::Pair>& pairs) {
        const Statement insert = Prepare(database, sql);
        for (const IndexTables::Pair& pair : pairs) {
            sqlite3_bind_int64(insert.get(), 1, pair.key);
            sqlite3_bind_int64(insert.get(), 2, pair.value);
            Step(insert);
        }
    };
    insertPairs("INSERT INTO index_rowid VALUES(?,?)", tables.leaves);
    insertPairs("INSERT INTO index_parent VALUES(?,?)", tables.parents);
}

void WriteFloor(const Orvane::BVectorLayer& layer, const char* out, const char* indexFile)
{
    const GeoPackage::LayerDefinition definition = Define(layer);
    const IndexTables tables = ReadIndex(indexFile);
    GeoPackage::SqliteDatabase database(out, GeoPackage::SqliteDatabase::EFile::New);
    Times rows;
    Times index;
    GeoPackage::PrepareNewFile(database);
    database.Execute("BEGIN");
    // Without AUTOINCREMENT, which costs a look at another table per row.
    std::string sql = "CREATE TABLE points(fid INTEGER PRIMARY KEY, geom";
    for (const GeoPackage::Field& field : definition.fields) {
        sql += "," + GeoPackage::QuoteName(field.name);
    }
    database.Execute(sql + ")");
    database.Execute("CREATE TABLE index_node(nodeno INTEGER PRIMARY KEY, data)");
    database.Execute("CREATE TABLE index_rowid(rowid INTEGER PRIMARY KEY, nodeno)");
    database.Execute("CREATE TABLE index_parent(nodeno INTEGER PRIMARY KEY, parentnode)");
    Measure(rows, [&] { InsertRows(database.GetHandle(), layer, definition.hasHeights); });
    Measure(index, [&] {
        InsertIndex(database.GetHandle(), tables);
        database.Execute("COMMIT");
        database.Close();
    });
    std::printf("rows %zu\n", layer.GetFeatures().GetCount());
    PrintTimes("rows", rows);
    PrintTimes("index", index);
}

void Run(int argumentCount, char** argumentTexts)
{
    Orvane::BParamList options;
    const char* indexFile = nullptr;
    std::size_t threads = 1;
    for (int number = 4; number < argumentCount; ++number) {
        const std::string_view word = argumentTexts[number];
        const std::size_t equals = word.find('=');
        if (word.starts_with("--floor=")) {
            indexFile = argumentTexts[number] + equals + 1;
        } else if (word.starts_with("--threads=")) {
            threads = std::stoul(std::string(word.substr(equals + 1)));
        } else {
            options.Add(Orvane::BString::FromUtf8(word.substr(0, equals)),
                        ParseValue(word.substr(equals + 1)));
        }
    }
    const auto layer = LoadLayer(argumentTexts[1], argumentTexts[2], options);
    const char* const out = argumentTexts[3];
    std::filesystem::remove(out);
    const std::int64_t before = OrvaneBench::MeasureMemory().resident;
    if (indexFile == nullptr) {
        WriteByWriter(*layer, out, threads);
    } else {
        WriteFloor(*layer, out, indexFile);
    }
    std::printf("peak_less_layer_bytes %lld\n",
                static_cast<long long>(OrvaneBench::PeakBytes() - before));
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    if (argumentCount < 4) {
        std::cerr << "usage: orvane_bench_geopackage MODULE FILE OUT [--floor=INDEXED] "
                     "[--threads=N] [KEY=VALUE]...\n"
                     "\n"
                     "Reads FILE with the options, then writes OUT and measures that alone.\n"
                     "\n"
                     "longest_silence_cpu_s is the most between two calls of the progress.\n"
                     "\n"
                     "  --floor  inserts the bare rows and the tables of the spatial index of\n"
                     "           INDEXED, which the writer made of the same FILE; all of it is in\n"
                     "           memory before\n";
        return 2;
    }
    try {
        Run(argumentCount, argumentTexts);
        return 0;
    } catch (const Orvane::BException& error) {
        std::cerr << error.GetMessage().ToUtf8() << " (" << error.GetLocation().ToUtf8() << ") "
                  << error.GetDetails().ToUtf8() << '\n';
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return 1;
}
