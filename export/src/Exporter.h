// Writes a layer by GDAL.
#pragma once

#include "LayerSummary.h"

#include <Orvane/BVectorLayer.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class OGRSpatialReference;

namespace OrvaneHost {

/// One of the formats that an import can write.
struct ExportFormat
{
    const char* extension; ///< lower case, "." included
    const char* driver;    ///< GDAL's name
    /// How fields must be named.
    enum class ENames {
        Unique,           ///< each name once
        UniqueIgnoreCase, ///< each name once, ASCII case ignored
        Dbase             ///< at most 10 bytes, each name once, ASCII case ignored
    } names;
    bool holdsNaN;
    bool holdsInfinity;
    bool numbersAsText;         ///< the driver would cut digits off numbers
    std::size_t mostFields = 0; ///< 0: the driver tells
};

/// The format of a file name's extension (case ignored, but for ".shp").
/// @throws UsageError that lists the extensions, or says that ".shp" is written in small letters.
[[nodiscard]] const ExportFormat& FindExportFormat(const std::string& path);

/// The coordinate system of "AUTHORITY:CODE", X before Y; null for the empty text.
/// @throws UsageError when it is not written so, or not known.
[[nodiscard]] std::shared_ptr<OGRSpatialReference> FindCoordinateSystem(const std::string& crs);

/// What to write and where.
struct ExportRequest
{
    const Orvane::BVectorLayer& layer;
    const LayerCounts& counts;
    const ExportFormat& format;
    /// Absolute. Its folder holds nothing else and may be used for more files.
    std::filesystem::path file;
    std::shared_ptr<OGRSpatialReference> coordSys;
    /// Called every few thousand rows with the rows written; throws to stop the export.
    std::function<void(std::size_t)> progress;
};

/// Writes the layer. Field by field as the schema has them; names are changed where the format
/// needs it. Rows without a geometry, and points whose X or Y is no finite number, have no geometry
/// in the file; FlatGeobuf leaves such rows out.
/// @return notes for the user, one line each: changed names and values that the format can not
/// hold.
/// @throws Orvane::BException("Could not write <...>.", "Exporter", <reason>) for every error that
///     GDAL or the disk reports, and for more fields than a GeoPackage holds; the file is not
///     usable then.
[[nodiscard]] std::vector<std::string> ExportLayer(const ExportRequest& request);

} // namespace OrvaneHost
