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
#include <Orvane/Import/Ledger.h>
#include <Orvane/Import/Plan.h>
#include <Orvane/Import/Progress.h>
#include <Orvane/Import/Target.h>
#include <Orvane/Import/Targets.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Import {

/// What becomes of rows that cannot be rows of the table: too many fields, a cell that is no value
/// of its column's type, and so on. They never change the plan.
struct BadRowRequest
{
    enum class EAction : std::uint8_t {
        Quarantine, ///< they are written beside the output, as they stand
        Skip,       ///< they are counted, and the first of them are in the ledger
        Stop        ///< one of them is a failure
    };

    EAction action = EAction::Quarantine;
    /// More bad rows are a failure. Without both: a share of 0.01, and one row in any file.
    std::optional<std::uint64_t> most;
    std::optional<double> mostShare; ///< of all rows, bad ones counted; 0 to 1
};

/// What to import. All texts are UTF-8.
///
/// With reader options, or a plug-in other than AsciiReader, the file is read by the rules of the
/// reader alone, which may change cells (docs/input-rules.md); `plan`, `replay` and `badRows` are
/// not used then. Otherwise a plan of the whole file decides how it is read, and every cell stands
/// in the output with its value, or is listed in the ledger.
struct ImportRequest
{
    std::string file;      ///< the delimited text file
    std::string out;       ///< see TargetRequest; empty: `file` with the extension .gpkg
    BParamList options;    ///< reader options (Options.h)
    ColumnRequest columns; ///< what is not given is found
    std::string crs;       ///< see TargetRequest; empty: the plan's, when it is beyond doubt
    DiskCacheRequest diskCache{DiskCacheRequest::EMode::Automatic, {}};
    std::string module{}; ///< the plug-in's file; empty: LoadModuleFor (Module.h) chooses it
    PlanRequest plan{};   ///< what the caller decides; `columns` and `crs` count, too
    std::optional<Plan> replay{}; ///< a plan to follow; `plan` is not used then
    BadRowRequest badRows{};
    /// How many threads share the import; 0: as many as the machine has processors. 1: the whole
    /// layer is read, then written, on the calling thread. Otherwise, whatever the machine has, a
    /// thread of the import reads while the calling one writes, and memory does not grow with the
    /// file; the others share the spatial index of a GeoPackage and the count of its rows. What is
    /// written is the same with any number. Without a plan, and with a disk cache in every case,
    /// the layer is read first, and without a plan the threads share the reading.
    unsigned threads = 0;
    std::string layer{};                              ///< see TargetRequest
    EExistingLayer existing = EExistingLayer::Refuse; ///< see TargetRequest
    std::string format{};                             ///< see TargetRequest
    std::vector<std::string> creationOptions{};       ///< see TargetRequest
};

/// What an import has done.
struct ImportReport
{
    std::string out;    ///< the file written
    std::string format; ///< GDAL's name of its format
    BString layerName;
    BAttributeDefs schema; ///< of the layer read
    BMBB extent;           ///< of the layer read
    /// The columns of X, Y and Z; without `x` where there are no points.
    ColumnChoice columns;
    LayerCounts read;              ///< the layer read
    WriteReport written;           ///< the file written
    std::uint64_t recordsRead = 0; ///< lines of the file
    bool stoppedAtLimit = false;   ///< reading has stopped at MAX_RECORDS
    double planSeconds = 0;        ///< wall time of the plan's scan; 0 without one
    double readSeconds = 0;        ///< wall time of opening and reading
    /// Wall time of counting, writing and replacing; with two threads what reading has not taken of
    /// the time of both.
    double writeSeconds = 0;
    std::vector<Note> notes;      ///< all notes, in the order of their calls
    std::string crs;              ///< the coordinate system of the output; empty for none
    std::optional<Plan> plan;     ///< that was followed; none when the reader's rules were
    std::optional<Ledger> ledger; ///< there with the plan
};

/// The report as one JSON object, with ledger and plan. "ok" is false when the ledger has
/// imbalances.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string ToJson(const ImportReport& report);

/// The plan in a file that holds what ToJson(Plan) gave.
/// @param path as the system knows it
/// @throws ImportFailure `not-a-plan` when the file cannot be read, is larger than 256 MiB, or as
///     PlanFromJson
[[nodiscard]] ORVANE_IMPORT_EXPORT Plan LoadPlan(const std::string& path);

/// Imports a file: plans it, reads it and replaces the output by it, or fails and leaves the output
/// as it was. What the file does not tell is a failure that asks: `columns-unknown`,
/// `names-unknown`, `encoding-unknown`, `crs-unknown`. The ledger says what became of every line;
/// whoever calls looks at its `imbalances`. Nothing of this process is changed: signals, standard
/// streams and the locale are left alone, and several imports may run at once on threads of their
/// own.
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
