// The formats of files, and what each can hold.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

struct WriteReport;
struct WriteRequest;

/// One of the formats that an import can write.
struct ExportFormat
{
    const char* extension; ///< lower case, "." included
    const char* driver;    ///< GDAL's name
    WriteReport (*write)(const WriteRequest&);
    std::size_t mostFields = 0; ///< 0: the driver tells
    bool isByGdal = false;      ///< its driver writes it, and may have creation options
    /// How fields must be named.
    enum class ENames {
        Unique,           ///< each name once
        UniqueIgnoreCase, ///< each name once, ASCII case ignored
        Dbase             ///< at most 10 bytes, each name once, ASCII case ignored
    } names = ENames::Unique;
    /// Which texts it holds as they are.
    enum class ETexts {
        Any,
        Xml,    ///< without control characters but the tabulator and LF
        Dbase,  ///< at most 254 bytes, without blanks at the end
        MapInfo ///< at most 254 bytes, without line ends
    } texts = ETexts::Any;
    bool namesLayer = false; ///< its file has the name of its layer
    bool holdsNaN = false;
    bool holdsInfinity = false;
    bool holdsDates = false;      ///< days; a format that does not hold them has their texts
    bool holdsDateTimes = false;  ///< days with times, to the millisecond; else their texts
    bool holdsAllDigits = true;   ///< of numbers and coordinates; else 15 of them
    bool holdsNullNumbers = true; ///< else a null of a number is 0
    bool holdsOffsets = true;     ///< of dates with times, from UTC; else they are left out
    int firstYear = 0;            ///< of dates; earlier ones become null
};

/// The format of a file name's extension (case ignored, but for ".shp"), or the one that is asked
/// for: a format's name or extension, ASCII case ignored; empty for none.
/// @throws ImportFailure `unknown-format`, `no-driver`, `extension-case`, `library-load`
[[nodiscard]] const ExportFormat& FindExportFormat(const std::string& path,
                                                   const std::string& wanted);

/// Whether points of a format can have heights. @param driver as GetFormat of a target names it
[[nodiscard]] bool HoldsHeights(std::string_view driver);

/// Whether points of such a format can be without a height among others that have one.
[[nodiscard]] bool HoldsMissingHeights(std::string_view driver);

/// @param options each "KEY=VALUE"
/// @throws ImportFailure `creation-option` when the format has no such option, or not the value
void RequireCreationOptions(const ExportFormat& format, const std::vector<std::string>& options);

} // namespace Orvane::Import
