// Puts the parts in order: one transaction from the first table to the last trigger.
#include "GeoPackageWriter.h"

#include "ExistingLayers.h"
#include "FeatureRows.h"
#include "GeoPackageTables.h"
#include "PackedTree.h"
#include "PointSorter.h"
#include "RowFeed.h"
#include "SqliteDatabase.h"
#include "WriteFailure.h"

#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace Orvane::GeoPackage {

/// The file and its connection; removes what is not finished.
class GeoPackageWriter::OpenFile
{
public:
    OpenFile(const std::filesystem::path& file, bool isCopy)
        : m_file(file)
        , m_database(file, isCopy ? SqliteDatabase::EFile::Existing : SqliteDatabase::EFile::New)
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
    /// @param existing the layer that rows are appended to; nothing for a new one
    OpenLayer(SqliteDatabase& database,
              const LayerDefinition& definition,
              std::optional<ExistingLayer> existing,
              const std::filesystem::path& folder,
              const Options& options)
        : m_definition(definition)
        , m_existing(std::move(existing))
        , m_triggers(m_existing ? std::optional(SuspendedTriggers(database, *m_existing))
                                : std::nullopt)
        , m_database(database)
        , m_folder(folder)
        , m_options(options)
        , m_points(folder, options.indexMemory)
        , m_rows(m_definition,
                 m_points,
                 m_existing ? m_existing->lastRow : 0,
                 [this](std::uint64_t rows) { Report(EPhase::Rows, rows, 0); })
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
        if (m_existing) {
            EndAppending(counts);
            return counts;
        }
        if (m_definition.hasGeometry) {
            MakeIndex(counts);
        }
        RegisterLayer(m_database, m_definition, counts);
        return counts;
    }

private:
    [[nodiscard]] PackedTree::Progress MakeIndexProgress()
    {
        return
            [this](std::uint64_t done, std::uint64_t total) { Report(EPhase::Index, done, total); };
    }

    void EndAppending(const LayerCounts& counts)
    {
        const PackedTree::Progress report = MakeIndexProgress();
        report(0, counts.points);
        if (m_existing->hasIndex && counts.points > 0) {
            ExtendIndex(
                m_database, *m_existing, m_points, {m_folder, m_options.indexMemory}, report);
        }
        const SqliteDatabase::Step step = [&] { report(counts.points, counts.points); };
        const StepScope scope(m_database, step);
        UpdateLayer(m_database, *m_existing, counts);
        m_triggers->Restore();
    }

    void MakeIndex(const LayerCounts& counts)
    {
        const PackedTree::Progress report = MakeIndexProgress();
        report(0, counts.points);
        m_points.Sort([&] { report(0, counts.points); });
        PackedTree tree(m_database, GetIndexName(m_definition));
        tree.Fill(m_points, {m_folder, m_options.indexMemory}, report);
        report(counts.points, counts.points);
    }

    void Report(EPhase phase, std::uint64_t done, std::uint64_t total) const
    {
        m_options.Report(phase, done, total);
    }

    const LayerDefinition m_definition;
    const std::optional<ExistingLayer> m_existing;
    std::optional<SuspendedTriggers> m_triggers;
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
    const bool isCopy = m_options.isCopy;
    Do(isCopy ? "Opening the file" : "Making the file", [&] {
        m_open = std::make_unique<OpenFile>(m_file, isCopy);
        SqliteDatabase& database = m_open->GetDatabase();
        if (isCopy) {
            PrepareExistingFile(database);
            return;
        }
        PrepareNewFile(database);
        database.Execute("BEGIN");
        CreateCoreTables(database);
    });
}

GeoPackageWriter::~GeoPackageWriter() = default;

void GeoPackageWriter::BeginLayer(const LayerDefinition& layer, EExisting existing)
{
    Do("Making the layer", [&] {
        SqliteDatabase& database = m_open->GetDatabase();
        LayerDefinition definition = layer;
        definition.spatialReference.id = AddSpatialReference(database, layer.spatialReference);
        std::optional<ExistingLayer> old = FindLayer(database, layer.name);
        if (old && existing == EExisting::Refuse) {
            throw LayerExists(layer.name);
        }
        if (old && existing == EExisting::Append) {
            definition = FitLayer(database, *old, definition);
        } else {
            if (old) {
                RemoveLayer(database, *old, [this] { m_options.Report(EPhase::Rows, 0, 0); });
                old.reset();
            }
            CreateLayerTable(database, definition);
        }
        m_layer = std::make_unique<OpenLayer>(
            database, definition, std::move(old), m_file.parent_path(), m_options);
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
