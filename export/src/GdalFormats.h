// Formats that GDAL writes for this library: any vector driver that writes files.
#pragma once

#include "Formats.h"

#include <string>
#include <vector>

namespace Orvane::Import {

/// The format of a driver's name or of one of the extensions that are known to this library, ASCII
/// case ignored, "." before an extension or not. Registers all of GDAL's drivers at the first call.
/// @param byExtension only an extension is looked for, with its "."
/// @return null when there is none; it stays as long as the program
/// @throws ImportFailure `no-driver` when the GDAL at hand lacks it
[[nodiscard]] const ExportFormat* FindGdalFormat(const std::string& wanted, bool byExtension);

/// @param options each "KEY=VALUE"
/// @throws ImportFailure `creation-option` when the format has no such option, or not the value
void RequireCreationOptions(const ExportFormat& format, const std::vector<std::string>& options);

/// Which of two lists of a driver's creation options an option is in.
enum class EOptionList { File, Layer };

/// The options that are in the list. @param driver GDAL's name
[[nodiscard]] std::vector<std::string>
SelectOptions(const char* driver, EOptionList list, const std::vector<std::string>& options);

} // namespace Orvane::Import
