// Puts the parts in order: one transaction from the first table to the last trigger.
#include "GeoPackageWriter.h"

#include "FeatureRows.h"
#include "GeoPackageTables.h"
#include "PackedTree.h"
#include "PointSorter.h"
#include "RowFeed.h"
#include "SqliteDatabase.h"
#include "WriteFailure.h"

#include <string>
#include <system_error>
#include <utility>

namespace Orvane::GeoPackage {

/// The file and its connection; removes what is not finished.
class GeoPackageWriter::OpenFile
{
public:
    explicit OpenFile(const std::filesystem::path& file)
        : m_file(file)
        , m_database(file)
    {}

    ~OpenFile()
    {
        if (!m_isFinished) {
            // An open file can lose its name; the connection ends with the members.
            std::error_code ignored;
            std::filesystem::remove(m_file, ignored);
        }
    }

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] SqliteDatabase& GetDatabase() noexcept { return m_database; }

    void Finish()
    {
        m_database.Execute("COMMIT");
        m_database.Close();
        m_isFinished = true;
    }

private:
    const std::filesystem::path& m_file;
    SqliteDatabase m_database;
    bool m_isFinished = false;
};

/// A layer between BeginLayer and EndLayer.
class GeoPackageWriter::OpenLayer
{
public:
    OpenLayer(SqliteDatabase& database,
              const LayerDefinition& definition,
              const std::filesystem::path& folder,
              const Options& options)
        : m_definition(definition)
        , m_database(database)
        , m_folder(folder)
        , m_options(options)
        , m_points(folder, options.indexMemory)
        , m_rows(
              m_definition, m_points, [this](std::uint64_t rows) { Report(EPhase::Rows, rows, 0); })
        , m_feed(database,
                 "orvane_features",
                 m_definition.fields.size() + (m_definition.hasGeometry ? 1 : 0),
                 MakeInsert(m_definition),
                 m_rows)
    {}

    void
    WritePage(const BFeaturePage& page, const BFeatureCollection* features, std::size_t firstRow)
    {
        m_rows.SetPage(page, features, firstRow);
        m_feed.Run();
    }

    LayerCounts End()
    {
        const LayerCounts& counts = m_rows.GetCounts();
        if (m_definition.hasGeometry) {
            MakeIndex(counts);
        }
        RegisterLayer(m_database, m_definition, counts);
        return counts;
    }

private:
    void MakeIndex(const LayerCounts& counts)
    {
        const auto report = [this](std::uint64_t done, std::uint64_t total) {
            Report(EPhase::Index, done, total);
        };
        report(0, counts.points);
        m_points.Sort([&] { report(0, counts.points); });
        PackedTree tree(m_database, GetIndexName(m_definition));
        tree.Fill(m_points, {m_folder, m_options.indexMemory}, report);
        report(counts.points, counts.points);
    }

    void Report(EPhase phase, std::uint64_t done, std::uint64_t total) const
    {
        if (m_options.progress) {
            m_options.progress(phase, done, total);
        }
    }

    const LayerDefinition m_definition;
    SqliteDatabase& m_database;
    const std::filesystem::path m_folder;
    const Options& m_options;
    PointSorter m_points;
    FeatureRows m_rows;
    RowFeed<FeatureRows> m_feed;
};

template <typename Work>
void GeoPackageWriter::Do(const char* step, const Work& work)
{
    try {
        work();
    } catch (const WriteFailure& failure) {
        throw WriteFailure(std::string(step) + ": " + failure.what());
    }
}

GeoPackageWriter::GeoPackageWriter(std::filesystem::path file, Options options)
    : m_file(std::move(file))
    , m_options(std::move(options))
{
    Do("Making the file", [this] {
        m_open = std::make_unique<OpenFile>(m_file);
        SqliteDatabase& database = m_open->GetDatabase();
        PrepareNewFile(database);
        database.Execute("BEGIN");
        CreateCoreTables(database);
    });
}

GeoPackageWriter::~GeoPackageWriter() = default;

void GeoPackageWriter::BeginLayer(const LayerDefinition& layer)
{
    Do("Making the layer", [&] {
        SqliteDatabase& database = m_open->GetDatabase();
        AddSpatialReference(database, layer.spatialReference);
        CreateLayerTable(database, layer);
        m_layer = std::make_unique<OpenLayer>(database, layer, m_file.parent_path(), m_options);
    });
}

void GeoPackageWriter::WritePage(const BFeaturePage& page,
                                 const BFeatureCollection* features,
                                 std::size_t firstRow)
{
    Do("Writing rows", [&] { m_layer->WritePage(page, features, firstRow); });
}

LayerCounts GeoPackageWriter::EndLayer()
{
    LayerCounts counts;
    Do("Making the spatial index", [&] {
        counts = m_layer->End();
        m_layer.reset();
    });
    return counts;
}

void GeoPackageWriter::Finish()
{
    Do("Ending the file", [this] { m_open->Finish(); });
}

} // namespace Orvane::GeoPackage
