// The targets of this library: files, and tables of PostgreSQL databases.
#pragma once

#include <Orvane/Import/Api.h>
#include <Orvane/Import/Target.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Import {

/// A format by the extension of its files.
struct TargetFormat
{
    const char* extension; ///< lower case, "." included
    const char* name;      ///< of the writer: "GPKG", "FlatGeobuf" and so on
};

/// All formats, in the order in which they are listed to people.
[[nodiscard]] ORVANE_IMPORT_EXPORT const std::vector<TargetFormat>& GetTargetFormats();

/// A format that GDAL writes for this library.
struct GdalFormat
{
    std::string name;      ///< of GDAL's driver
    std::string extension; ///< that stands for it, "." included; empty: it is asked for by its name
    std::string longName;  ///< for people
    std::string needs;     ///< what a GDAL must be to have it; empty: the one at hand has it
};

/// The formats that this library writes by GDAL's drivers, apart from those of GetTargetFormats:
/// those that have an extension, also when the GDAL at hand lacks them, then the others that it
/// has. Registers all of GDAL's drivers.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::vector<GdalFormat> ListGdalFormats();

/// What becomes of a layer that is there already, where a target holds several.
enum class EExistingLayer {
    Refuse,  ///< nothing is written: `layer-exists`
    Append,  ///< rows are added to it; its columns must fit: `layer-schema`
    Replace, ///< it goes, with its rows
};

/// A file or a database table to write.
///
/// `out` names a file by its path, its extension is the format (case ignored, but for .shp); or a
/// PostgreSQL database, as "PG:host=db dbname=survey" with libpq's keywords, or as an address
/// "postgresql://ada@db/survey". A table of a database is written in one transaction, which Commit
/// ends; passwords never come into messages, reports or names. "-" is standard output, for text
/// formats: bytes leave with Write and cannot be called back.
struct TargetRequest
{
    std::string out;   ///< UTF-8
    std::string crs;   ///< the coordinate system as "AUTHORITY:CODE", X before Y; empty for none
    std::string input; ///< the file that is read, which must be another one; empty for none
    /// Whether rows have a place. False: the attributes alone are written, as a table without
    /// geometry (GeoPackage: data type "attributes"; CSV: no X, Y, Z columns; GeoJSON: null), and
    /// points that rows have all the same are left out.
    bool hasGeometry = true;
    /// Whether a CSV file begins with a line of the columns' names; the others always have names.
    bool hasNames = true;
    /// CSV alone, for a copy of a table: the line of names is this, which may have names twice,
    /// empty ones, and more or fewer of them than there are columns; a row ends with its last cell
    /// that is not null. None: each column has a name of its own, and each row all cells.
    std::optional<std::vector<std::string>> copiedNames{};
    /// Without `crs`: the coordinates are metres or the like, and no degrees. A GeoPackage says so.
    bool isCartesian = false;
    /// The name of the layer, UTF-8; empty: its own. Of a GeoPackage that is there: the layer is
    /// added to the others, and without a name and with Refuse the whole file is replaced. Of a
    /// database: the table, "schema.table" or one of the connection's search path. Other files hold
    /// one layer; CSV, GeoJSONSeq and shapefiles keep no name of it.
    std::string layer{};
    EExistingLayer existing = EExistingLayer::Refuse; ///< GeoPackages and databases only
    /// The format instead of what the extension says: a name of GetTargetFormats or of
    /// ListGdalFormats, ASCII case
    /// ignored, or an extension; empty for that of `out`. Needed for standard output.
    std::string format{};
    /// Creation options of GDAL's driver, each "KEY=VALUE", for the file or for the layer; only of
    /// formats that GDAL writes.
    std::vector<std::string> creationOptions{};
    /// How many threads the writing may use, the calling one included; what is written is the same
    /// with any number. 0 stands for 1.
    unsigned threads = 1;
};

/// Whether `out` names a database.
[[nodiscard]] ORVANE_IMPORT_EXPORT bool NamesDatabase(const std::string& out);

/// `out` as it may be shown: a file's path as it is, a database without its password.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string ShowTarget(const std::string& out);

/// Makes the target of a file. Looks at the place and changes nothing; the file is replaced by
/// Commit, through a link when `out` is one.
///
/// What is written lies in a hidden folder beside the file meanwhile. A program that is killed
/// leaves that folder; the next Write beside it removes it.
///
///     const std::unique_ptr<Target> target = OpenTarget({"stations.gpkg", "EPSG:4326", ""});
///     const WriteReport report = target->Write(layer, CountLayer(layer), {});
///     target->Commit();
///
/// @throws ImportFailure `unknown-format`, `no-driver`, `creation-option`, `extension-case`,
///     `crs-form`, `unknown-crs`,
///     `output-is-input`, `output-folder`, `output-not-a-file`, `output-in-use`, `output-write`
///     without geometry in a format that needs it, or of a file that is no GeoPackage and is to get
///     a layer; `one-layer`, `layer-exists`; of databases `database`, and `no-database-driver` in a
///     build without libpq
[[nodiscard]] ORVANE_IMPORT_EXPORT std::unique_ptr<Target> OpenTarget(const TargetRequest& request);

} // namespace Orvane::Import
