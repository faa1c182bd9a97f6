// Puts the parts in order: one transaction from the first table to the last trigger.
#include "GeoPackageWriter.h"

#include "EarlyWrite.h"
#include "ExistingLayers.h"
#include "FeatureRows.h"
#include "GeoPackageTables.h"
#include "LayerPoints.h"
#include "PackedTree.h"
#include "PointSorter.h"
#include "RowFeed.h"
#include "SqliteDatabase.h"
#include "WriteFailure.h"

#include <optional>
#include <string>
#include <system_error>
#include <threads/SharedWork.h>
#include <utility>

namespace Orvane::GeoPackage {

/// The file and its connection; removes what is not finished.
class GeoPackageWriter::OpenFile
{
public:
    OpenFile(const std::filesystem::path& file, bool isCopy, AsciiReader::TaskPool& helpers)
        : m_file(file)
        , m_database(file, isCopy ? SqliteDatabase::EFile::Existing : SqliteDatabase::EFile::New)
        , m_earlyWrite(file, helpers)
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

    [[nodiscard]] EarlyWrite& GetEarlyWrite() noexcept { return m_earlyWrite; }

    void Finish()
    {
        m_database.Execute("COMMIT");
        m_database.Close();
        m_isFinished = true;
    }

private:
    const std::filesystem::path& m_file;
    SqliteDatabase m_database;
    EarlyWrite m_earlyWrite;
    bool m_isFinished = false;
};

/// A layer between BeginLayer and EndLayer.
class GeoPackageWriter::OpenLayer
{
public:
    /// @param existing the layer that rows are appended to; nothing for a new one
    OpenLayer(OpenFile& file,
              const LayerDefinition& definition,
              std::optional<ExistingLayer> existing,
              const std::filesystem::path& folder,
              const Options& options,
              AsciiReader::TaskPool& helpers)
        : m_definition(definition)
        , m_existing(std::move(existing))
        , m_triggers(m_existing ? std::optional(SuspendedTriggers(file.GetDatabase(), *m_existing))
                                : std::nullopt)
        , m_file(file)
        , m_database(file.GetDatabase())
        , m_folder(folder)
        , m_options(options)
        , m_helpers(helpers)
        , m_sorter(folder, options.indexMemory, helpers)
        , m_points(m_sorter, m_existing ? m_existing->lastRow : 0)
        , m_rows(m_definition, [this](std::uint64_t rows) { Report(EPhase::Rows, rows, 0); })
        , m_feed(m_database,
                 "orvane_features",
                 m_definition.fields.size() + (m_definition.hasGeometry ? 1 : 0),
                 MakeInsert(m_definition),
                 m_rows)
    {}

    void
    WritePage(const BFeaturePage& page, const BFeatureCollection* features, std::size_t firstRow)
    {
        const BFeatureCollection* const objects =
            features != nullptr && features->GetObjectRowCount() > 0 ? features : nullptr;
        AsciiReader::BackgroundWork adding(m_helpers,
                                           [&] { m_points.AddPage(page, objects, firstRow); });
        if (m_definition.hasGeometry) {
            adding.Start();
        }
        if (objects != nullptr) {
            // They belong to one thread at a time.
            adding.Finish();
        }
        m_rows.SetPage(page, objects, firstRow);
        m_feed.Run();
        adding.Finish();
    }

    LayerCounts End()
    {
        LayerCounts counts = m_rows.GetCounts();
        counts.points = m_points.GetCounts().points;
        counts.withoutPlace = m_points.GetCounts().withoutPlace;
        counts.extent = m_points.GetCounts().extent;
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

    [[nodiscard]] PackedTree::Limits GetTreeLimits() const
    {
        return {m_folder, m_options.indexMemory, m_helpers};
    }

    void EndAppending(const LayerCounts& counts)
    {
        const PackedTree::Progress report = MakeIndexProgress();
        report(0, counts.points);
        if (m_existing->hasIndex && counts.points > 0) {
            ExtendIndex(m_database, *m_existing, m_sorter, GetTreeLimits(), report);
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
        m_sorter.Sort([&] { report(0, counts.points); });
        PackedTree tree(m_database, GetIndexName(m_definition));
        tree.Fill(m_sorter, GetTreeLimits(), report);
        report(counts.points, counts.points);
    }

    void Report(EPhase phase, std::uint64_t done, std::uint64_t total) const
    {
        m_file.GetEarlyWrite().Continue();
        m_options.Report(phase, done, total);
    }

    const LayerDefinition m_definition;
    const std::optional<ExistingLayer> m_existing;
    std::optional<SuspendedTriggers> m_triggers;
    OpenFile& m_file;
    SqliteDatabase& m_database;
    const std::filesystem::path m_folder;
    const Options& m_options;
    AsciiReader::TaskPool& m_helpers;
    PointSorter m_sorter;
    LayerPoints m_points;
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
    , m_helpers(m_options.threads > 1 ? m_options.threads - 1 : 0)
{
    const bool isCopy = m_options.isCopy;
    Do(isCopy ? "Opening the file" : "Making the file", [&] {
        m_open = std::make_unique<OpenFile>(m_file, isCopy, m_helpers);
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
            *m_open, definition, std::move(old), m_file.parent_path(), m_options, m_helpers);
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
