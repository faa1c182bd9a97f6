// A table of magic numbers, and counts of control characters.
#include "BinaryKind.h"

#include "FirstLines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Orvane::Import::Scan {

namespace {

constexpr const char* kSaveAsText = "Save its table as CSV in the program that made it.";
constexpr const char* kExport = "Export its table as CSV.";
constexpr const char* kGiveText = "Give a file of text.";
constexpr const char* kUnpack = "Unpack it first; gzip alone is unpacked here.";

struct Magic
{
    std::size_t at;
    std::string_view bytes;
    const char* what;
    const char* cure;
};

constexpr Magic kMagics[] = {
    {4, {"1AY&SY", 6}, "bzip2", kUnpack},
    {0, {"\xFD\x37zXZ\0", 6}, "xz", kUnpack},
    {0, {"\x28\xB5\x2F\xFD", 4}, "zstd", kUnpack},
    {0, {"7z\xBC\xAF\x27\x1C", 6}, "7-Zip", kUnpack},
    {0, {"Rar!\x1A\x07", 6}, "RAR", kUnpack},
    {257, {"ustar\0", 6}, "tar", kUnpack},
    {257, {"ustar ", 6}, "tar", kUnpack},
    {0,
     {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8},
     "an Excel workbook or another Office document",
     kSaveAsText},
    {0, {"\0\0\x27\x0A\0\0\0\0", 8}, "a shapefile", kExport},
    {0, {"PAR1\x15", 5}, "a Parquet file", kExport},
    {0, {"ARROW1\0\0", 8}, "an Arrow file", kExport},
    {0, {"fgb\x03", 4}, "a FlatGeobuf file", kExport},
    {0, {"LASF\0\0", 6}, "a LAS point cloud", kExport},
    {0, {"\x89HDF\r\n\x1A\n", 8}, "an HDF5 file", kExport},
    {0, {"CDF\x01", 4}, "a NetCDF file", kExport},
    {0, {"CDF\x02", 4}, "a NetCDF file", kExport},
    {0, {"\x93NUMPY", 6}, "a NumPy array", kExport},
    {0, {"%PDF-", 5}, "a PDF document", kExport},
    {0, {"\x89PNG\r\n\x1A\n", 8}, "a PNG picture", kGiveText},
    {0, {"\xFF\xD8\xFF", 3}, "a JPEG picture", kGiveText},
    {0, {"GIF87a", 6}, "a GIF picture", kGiveText},
    {0, {"GIF89a", 6}, "a GIF picture", kGiveText},
    {0, {"II*\0", 4}, "a TIFF picture", kGiveText},
    {0, {"MM\0*", 4}, "a TIFF picture", kGiveText},
    {0,
     {"\x7F"
      "ELF",
      4},
     "a program",
     kGiveText},
};

bool IsPacking(const Magic& magic)
{
    return magic.cure == kUnpack;
}

std::size_t ReadNumber(std::string_view text, std::size_t at, std::size_t size) noexcept
{
    std::size_t number = 0;
    for (std::size_t i = 0; i < size && at + i < text.size(); ++i) {
        number |= std::size_t{static_cast<unsigned char>(text[at + i])} << (8 * i);
    }
    return number;
}

/// What a zip archive is, by the names of the files in it.
BinaryKind FindZipKind(std::string_view front)
{
    constexpr std::size_t kHeader = 30;
    constexpr std::string_view kSignature("PK\x03\x04", 4);
    constexpr std::string_view kSheetType =
        "mimetypeapplication/vnd.oasis.opendocument.spreadsheet";
    if (front.substr(std::min(kHeader, front.size()), kSheetType.size()) == kSheetType) {
        return {false, "an OpenDocument spreadsheet", kSaveAsText};
    }
    for (std::size_t at = 0; at != std::string_view::npos; at = front.find(kSignature, at + 1)) {
        const std::string_view name =
            front.substr(std::min(at + kHeader, front.size()), ReadNumber(front, at + 26, 2));
        if (name.starts_with("xl/")) {
            return {false, "an Excel workbook", kSaveAsText};
        }
        if (name.starts_with("word/") || name.starts_with("ppt/")) {
            return {false, "an Office document", kSaveAsText};
        }
        if (name.ends_with(".kml")) {
            return {false, "a KMZ file", kExport};
        }
    }
    return {true, "zip", kUnpack};
}

/// A table of dBase: its version, a date, and a header that ends where it says.
bool IsDBase(std::string_view front) noexcept
{
    constexpr std::size_t kBlock = 32;
    constexpr std::string_view kVersions = "\x03\x30\x31\x83\x8B\xF5";
    if (front.size() <= kBlock || kVersions.find(front[0]) == std::string_view::npos) {
        return false;
    }
    const std::size_t header = ReadNumber(front, 8, 2);
    const std::size_t month = ReadNumber(front, 2, 1);
    const std::size_t day = ReadNumber(front, 3, 1);
    return month >= 1 && month <= 12 && day >= 1 && day <= 31 && header > kBlock &&
           header <= front.size() &&
           front.substr(kBlock, header - kBlock).find('\r') != std::string_view::npos;
}

} // namespace

namespace {

constexpr const char* kConvert = "Convert it first: ogr2ogr -f CSV OUT.csv FILE -lco "
                                 "GEOMETRY=AS_XY.";

std::string_view TrimFront(std::string_view text) noexcept
{
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

bool StartsWithWord(std::string_view text, std::string_view word) noexcept
{
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(), [](char a, char b) {
               return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b);
           });
}

/// A text in angle brackets: what its root says.
std::optional<BinaryKind> FindMarkup(std::string_view text)
{
    struct Root
    {
        std::string_view name;
        const char* what;
        const char* cure;
    };

    static constexpr Root kRoots[] = {
        {"html", "an HTML page", "Save the table in it as CSV, or load the file itself again."},
        {"kml", "KML", kConvert},
        {"gpx", "GPX", kConvert},
        {"gml:", "GML", kConvert},
        {"wfs:", "GML", kConvert},
        {"featurecollection", "GML", kConvert},
        {"osm", "OpenStreetMap XML", kConvert},
    };
    bool isMarkup = false;
    while (text.starts_with("<?") || text.starts_with("<!")) {
        isMarkup = isMarkup || StartsWithWord(text, "<?xml") || StartsWithWord(text, "<!doctype");
        const std::string_view close = text.starts_with("<!--") ? "-->" : ">";
        const std::size_t end = text.find(close);
        text = TrimFront(end == std::string_view::npos ? std::string_view()
                                                       : text.substr(end + close.size()));
    }
    for (const Root& root : kRoots) {
        if (text.starts_with('<') && StartsWithWord(text.substr(1), root.name) &&
            (isMarkup || text.find('>') != std::string_view::npos)) {
            return BinaryKind{false, root.what, root.cure};
        }
    }
    return isMarkup ? std::optional(BinaryKind{false, "XML", kExport}) : std::nullopt;
}

/// A text in braces or brackets: an object whose first key is a text before a colon.
std::optional<BinaryKind> FindJson(std::string_view text)
{
    std::string_view inside = text;
    if (inside.starts_with('[')) {
        inside = TrimFront(inside.substr(1));
    }
    if (!inside.starts_with('{')) {
        return std::nullopt;
    }
    inside = TrimFront(inside.substr(1));
    const std::size_t end = inside.starts_with('"') ? inside.find('"', 1) : std::string_view::npos;
    if (end == std::string_view::npos || !TrimFront(inside.substr(end + 1)).starts_with(':')) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    const std::string_view next = TrimFront(text.substr(std::min(line.size(), text.size())));
    const bool isLine = text.starts_with('{') && line.ends_with('}') && next.starts_with('{');
    const bool isGeo = text.find("\"FeatureCollection\"") != std::string_view::npos ||
                       text.find("\"Feature\"") != std::string_view::npos;
    if (isGeo) {
        return BinaryKind{false, "GeoJSON", kConvert};
    }
    return BinaryKind{false, isLine ? "JSON lines" : "JSON", kExport};
}

/// A raster of Esri's ASCII form: `ncols 4`, `nrows 6`, each in a line of its own.
std::optional<BinaryKind> FindGrid(std::string_view text)
{
    for (const std::string_view word : {"ncols", "nrows"}) {
        const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
        if (!StartsWithWord(line, word)) {
            return std::nullopt;
        }
        const std::string_view count = line.substr(word.size());
        if (!count.starts_with(' ') && !count.starts_with('\t')) {
            return std::nullopt;
        }
        const std::size_t digits = count.find_first_not_of(" \t");
        if (digits == std::string_view::npos ||
            count.find_first_not_of("0123456789 \t", digits) != std::string_view::npos) {
            return std::nullopt;
        }
        text = TrimFront(text.substr(line.size()));
    }
    return BinaryKind{
        false, "an ASCII grid", "Its cells are points after: gdal_translate -of XYZ FILE OUT.xyz"};
}

} // namespace

std::optional<BinaryKind> FindTextKind(std::string_view front)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    front = TrimFront(front.starts_with(kMark) ? front.substr(kMark.size()) : front);
    if (StartsWithWord(front, "ncols")) {
        return FindGrid(front);
    }
    return front.starts_with('<') ? FindMarkup(front) : FindJson(front);
}

std::optional<BinaryKind> FindBinaryKind(std::string_view front)
{
    if (front.substr(0, 4) == std::string_view("PK\x03\x04", 4)) {
        return FindZipKind(front);
    }
    for (const Magic& magic : kMagics) {
        if (front.size() >= magic.at && front.substr(magic.at, magic.bytes.size()) == magic.bytes) {
            return BinaryKind{IsPacking(magic), magic.what, magic.cure};
        }
    }
    if (front.substr(0, 16) == std::string_view("SQLite format 3\0", 16)) {
        constexpr std::size_t kApplication = 68;
        const bool isPackage = front.substr(std::min(kApplication, front.size()), 4) == "GPKG";
        return BinaryKind{false, isPackage ? "a GeoPackage" : "an SQLite database", kExport};
    }
    if (IsDBase(front)) {
        return BinaryKind{false, "a dBase table", kExport};
    }
    return std::nullopt;
}

bool HasBinaryBytes(std::string_view front) noexcept
{
    constexpr std::size_t kFewestKinds = 6;
    std::array<std::size_t, 32> counts{};
    std::size_t nuls = 0;
    for (const char byte : front) {
        const auto code = static_cast<unsigned char>(byte);
        nuls += code == 0 ? 1U : 0U;
        // Tab, line ends, form feed, Ctrl-Z, escape and the separators of ASCII occur in texts.
        const bool isControl = (code >= 1 && code <= 8) || (code >= 14 && code <= 25);
        if (isControl) {
            ++counts.at(code);
        }
    }
    std::size_t all = 0;
    std::size_t kinds = 0;
    for (const std::size_t count : counts) {
        all += count;
        kinds += count > 0 ? 1U : 0U;
    }
    return kinds >= kFewestKinds && all * 100 >= front.size() - nuls;
}

} // namespace Orvane::Import::Scan
