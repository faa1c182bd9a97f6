// What writes a layer into a file.
#pragma once

#include "Formats.h"
#include "KnownSystem.h"
#include "ProgressMeter.h"

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/PageSource.h>
#include <Orvane/Import/Target.h>
#include <Orvane/Import/Targets.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// An open file to write to instead of a new one; only of text formats.
struct OutputStream
{
    int descriptor;
    std::function<void(std::string_view)> onBytes; ///< called with the bytes that were written
};

/// What to write and where.
struct WriteRequest
{
    const BVectorLayer& layer; ///< for its name and schema
    const LayerCounts& counts; ///< as Target::WritePages has them
    PageSource& pages;
    const ExportFormat& format;
    /// Absolute. Its folder holds nothing else and may be used for more files; all of it is moved
    /// to the final place, or removed after a failure.
    std::filesystem::path file;
    const TargetRequest& target;
    std::shared_ptr<const KnownSystem> coordSys; ///< null for none
    /// Without points, for formats with several tables; or null. To be looked at after the last
    /// page: it may come with that.
    const BVectorLayer* const& table;
    const std::string& tableName; ///< of that table in the file; to be looked at with it
    const OutputStream* stream;   ///< null: `file` is made
    ProgressMeter& progress;      ///< asked every few thousand rows
};

/// The layer's name in the file, with a note when it is another one.
[[nodiscard]] std::string NameLayer(const WriteRequest& request, std::vector<Note>& notes);

/// @throws ImportFailure of that code; its `underneath` is a BException("Could not write <...>.",
///     "Exporter", reason)
[[noreturn]] void
ThrowNotWritten(const WriteRequest& request, const char* code, const std::string& reason);

/// @throws ImportFailure `layer-exists`: `reason` says which one
[[noreturn]] void ThrowLayerExists(const TargetRequest& target, const std::string& reason);

/// @throws ImportFailure `too-many-columns`
void RequireFewFields(const WriteRequest& request, std::size_t fieldCount);

/// Writes the layer as a GeoPackage: by SQLite, straight from its pages.
/// @throws as WriteByGdal
[[nodiscard]] WriteReport WriteGeoPackage(const WriteRequest& request);

/// Writes the layer as FlatGeobuf, straight from its pages. Rows without geometry come last.
/// @throws as WriteByGdal
[[nodiscard]] WriteReport WriteFlatGeobuf(const WriteRequest& request);

/// Writes the layer as CSV, or as GeoJSON or a sequence of its features: straight from its pages.
/// @throws as WriteByGdal
[[nodiscard]] WriteReport WriteCsv(const WriteRequest& request);
[[nodiscard]] WriteReport WriteGeoJson(const WriteRequest& request);

/// Writes the layer by GDAL, which is loaded. Field by field as the schema has them; names are
/// changed where the format needs it.
/// @throws ImportFailure `output-write` for every error that GDAL or the disk reports,
///     `too-many-columns`, `cancelled`; the file is not usable then
[[nodiscard]] WriteReport WriteByGdal(const WriteRequest& request);

} // namespace Orvane::Import
