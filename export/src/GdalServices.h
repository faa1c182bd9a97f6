// What the library over GDAL, PROJ and libpq does for targets.
#pragma once

#include "Formats.h"
#include "KnownSystem.h"

#include <Orvane/Import/Target.h>
#include <Orvane/Import/Targets.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Exported as "kOrvaneGdalServices". All functions may be called on any thread.
struct GdalServices
{
    /// The system of "AUTHORITY:CODE"; null when there is none.
    std::shared_ptr<const KnownSystem> (*findSystem)(const std::string& text);

    /// The format of a driver's name or of one of the extensions that are known to this library,
    /// ASCII case ignored, "." before an extension or not. Registers all of GDAL's drivers at the
    /// first call. Null when there is none; it stays as long as the program.
    /// @param byExtension only an extension is looked for, with its "."
    /// @throws ImportFailure `no-driver` when the GDAL at hand lacks it
    const ExportFormat* (*findFormat)(const std::string& wanted, bool byExtension);

    /// @param options each "KEY=VALUE"
    /// @throws ImportFailure `creation-option` when the format has no such option, or not the value
    void (*requireCreationOptions)(const ExportFormat& format,
                                   const std::vector<std::string>& options);

    /// As ListGdalFormats. @param own formats that are not listed
    std::vector<GdalFormat> (*listFormats)(const std::vector<TargetFormat>& own);

    /// As WriteByGdal
    WriteReport (*write)(const WriteRequest& request);

    /// Counts a file of a format that GDAL writes; see CountFile.
    TargetCounts (*count)(const std::filesystem::path& file,
                          const ExportFormat& format,
                          const std::function<void(std::uint64_t rows)>& follow);

    /// As ShowTarget, for a database; null where it was built without libpq
    std::string (*showDatabase)(const std::string& out);

    /// As OpenTarget, for a database; null where it was built without libpq
    std::unique_ptr<Target> (*openDatabase)(const TargetRequest& request);
};

/// Loads the library at the first call. @throws ImportFailure `library-load`
[[nodiscard]] const GdalServices& LoadGdal();

} // namespace Orvane::Import
