// Writes layers of points into a new GeoPackage.
#pragma once

#include "GeoPackageLayer.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <threads/TaskPool.h>

namespace Orvane::GeoPackage {

/// What becomes of a layer that is there already.
enum class EExisting {
    Refuse, ///< LayerExists
    Append, ///< rows are added, when they fit: else LayerMismatch
    Replace ///< the layer goes, with its rows
};

/// A new GeoPackage 1.3, or one that gets further layers and rows: written once, by SQLite,
/// straight from pages of columns.
///
/// Order of calls: construct (makes or opens the file), then for each layer BeginLayer, WritePage
/// for its pages in order, EndLayer (makes its spatial index); at last Finish. Without Finish, and
/// after any exception, the destructor removes the file.
/// After an exception nothing but the destructor may be called.
///
/// The file has the tables that GDAL and QGIS work with: the R-tree extension with its triggers,
/// and the number of rows with its triggers. The rows are numbered from 1. See FeatureRows for what
/// becomes of values.
///
/// Memory does not grow with the rows: points are sorted for the index within
/// Options::indexMemory, beyond it in nameless files beside the output.
///
/// Used by one thread at a time, which Options::threads may let have helpers. Failures of SQLite,
/// the disk and the system are WriteFailure; LayerExists, LayerMismatch and std::bad_alloc leave as
/// they are, and so does every exception of the progress function, which is how a caller cancels.
///
///     GeoPackageWriter writer("/data/.work/points.gpkg", {});
///     writer.BeginLayer(definition);
///     for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
///         writer.WritePage(*features.LoadPage(index), &features, features.GetFirstRow(index));
///     }
///     const LayerCounts counts = writer.EndLayer();
///     writer.Finish();
class GeoPackageWriter
{
public:
    enum class EPhase {
        Rows, ///< rows of the layer are written; how many there will be is not known here
        Index ///< the spatial index is made
    };

    /// Called at least every few thousand rows, and at least every 0.2 s on disks that do their
    /// work. @param done rows, or points in the index; @param total points, 0 in phase Rows
    using Progress = std::function<void(EPhase phase, std::uint64_t done, std::uint64_t total)>;

    struct Options
    {
        /// May be empty.
        Progress progress;
        /// Bytes; that many are used for sorting, and again while the index is filled.
        std::size_t indexMemory = std::size_t{64} << 20U;
        /// The file is there: a copy, which is added to, and which goes when that fails.
        bool isCopy = false;
        /// How many threads share the work on the index, the calling one included; the file is the
        /// same with any number. SQLite is called by the calling thread alone.
        std::size_t threads = 1;

        void Report(EPhase phase, std::uint64_t done, std::uint64_t total) const
        {
            if (progress) {
                progress(phase, done, total);
            }
        }
    };

    /// @param file absolute; must not exist unless Options::isCopy. Its folder is used for nameless
    ///     files.
    /// The calling thread must make all calls, when Options::threads is more than one.
    GeoPackageWriter(std::filesystem::path file, Options options);
    ~GeoPackageWriter();
    GeoPackageWriter(const GeoPackageWriter&) = delete;
    GeoPackageWriter& operator=(const GeoPackageWriter&) = delete;

    void BeginLayer(const LayerDefinition& layer, EExisting existing = EExisting::Refuse);

    /// @param features the collection of the page when rows of it may stand as objects beside it,
    ///     or null; @param firstRow the page's first row in that collection
    void
    WritePage(const BFeaturePage& page, const BFeatureCollection* features, std::size_t firstRow);

    LayerCounts EndLayer();

    /// Ends the file. It is complete, but not forced to the disk.
    void Finish();

private:
    class OpenLayer;
    class OpenFile;

    /// Runs a part of the work; names the step when it fails.
    template <typename Work>
    static void Do(const char* step, const Work& work);

    std::filesystem::path m_file;
    Options m_options;
    AsciiReader::TaskPool m_helpers;
    std::unique_ptr<OpenFile> m_open;
    std::unique_ptr<OpenLayer> m_layer; ///< ends before the database
};

} // namespace Orvane::GeoPackage
