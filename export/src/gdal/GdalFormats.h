// Formats that GDAL writes: any vector driver that writes files.
#pragma once

#include "Formats.h"

#include <Orvane/Import/Targets.h>

#include <string>
#include <vector>

namespace Orvane::Import::Gdal {

/// The functions of GdalServices.
[[nodiscard]] const ExportFormat* FindFormat(const std::string& wanted, bool byExtension);
void RequireCreationOptions(const ExportFormat& format, const std::vector<std::string>& options);
[[nodiscard]] std::vector<GdalFormat> ListFormats(const std::vector<TargetFormat>& own);

/// Which of two lists of a driver's creation options an option is in.
enum class EOptionList { File, Layer };

/// The options that are in the list. @param driver GDAL's name
[[nodiscard]] std::vector<std::string>
SelectOptions(const char* driver, EOptionList list, const std::vector<std::string>& options);

} // namespace Orvane::Import::Gdal
