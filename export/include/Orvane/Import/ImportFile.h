// A whole import in one call.
#pragma once

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BGeometry.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/Columns.h>
#include <Orvane/Import/DiskCache.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Progress.h>
#include <Orvane/Import/Target.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Import {

/// What to import. All texts are UTF-8.
struct ImportRequest
{
    std::string file;      ///< the delimited text file
    std::string out;       ///< see TargetRequest; empty: `file` with the extension .gpkg
    BParamList options;    ///< reader options (Options.h)
    ColumnRequest columns; ///< what is not given is found by the names of the columns
    std::string crs;       ///< see TargetRequest
    DiskCacheRequest diskCache{DiskCacheRequest::EMode::Automatic, {}};
    std::string module; ///< the plug-in's file; empty: LoadModuleFor (Module.h) chooses it
};

/// What an import has done.
struct ImportReport
{
    std::string out;    ///< the file written
    std::string format; ///< GDAL's name of its format
    BString layerName;
    BAttributeDefs schema; ///< of the layer read
    BMBB extent;           ///< of the layer read
    ColumnChoice columns;
    LayerCounts read;              ///< the layer read
    WriteReport written;           ///< the file written
    std::uint64_t recordsRead = 0; ///< lines of the file
    bool stoppedAtLimit = false;   ///< reading has stopped at MAX_RECORDS
    double readSeconds = 0;        ///< wall time of opening and reading
    double writeSeconds = 0;       ///< wall time of counting, writing and replacing
    std::vector<Note> notes;       ///< all notes, in the order of their calls
};

/// Imports a file: looks at it, reads it and replaces the output by it, or fails and leaves the
/// output as it was. Nothing of this process is changed: signals, standard streams and the locale
/// are left alone, and several imports may run at once on threads of their own.
///
///     ImportRequest request;
///     request.file = "stations.csv";
///     request.out = "stations.gpkg";
///     request.crs = "EPSG:4326";
///     const ImportReport report = ImportFile(request);
///
/// @param callbacks called on this thread
/// @throws ImportFailure with any code of Failure.h but those of option texts; std::bad_alloc; what
///     a callback throws
ORVANE_IMPORT_EXPORT ImportReport ImportFile(const ImportRequest& request,
                                             const Callbacks& callbacks = {});

/// The same with a plug-in that is loaded already; `request.module` is not used.
ORVANE_IMPORT_EXPORT ImportReport ImportFile(const BPluginModule& module,
                                             const ImportRequest& request,
                                             const Callbacks& callbacks = {});

} // namespace Orvane::Import
