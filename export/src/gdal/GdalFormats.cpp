// GDAL's drivers and their creation options.
#include "GdalFormats.h"

#include "GdalWriter.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <cpl_minixml.h>
#include <cpl_string.h>
#include <gdal_priv.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace Orvane::Import::Gdal {

namespace {

/// A format by its extension. Those that are not here are asked for by their names: many drivers
/// claim extensions that others have, too.
struct Known
{
    const char* extension;
    const char* driver;
    const char* needs; ///< what a GDAL must be to have the driver
};

constexpr Known kKnown[] = {
    {".parquet", "Parquet", "GDAL 3.5 or later that was built with the library of Apache Parquet"},
    {".arrow", "Arrow", "GDAL 3.5 or later that was built with the library of Apache Arrow"},
    {".feather", "Arrow", "GDAL 3.5 or later that was built with the library of Apache Arrow"},
    {".sqlite", "SQLite", "GDAL that was built with SQLite"},
    {".kml", "KML", "GDAL with its drivers of text formats"},
    {".tab", "MapInfo File", "GDAL with its drivers of vector formats"},
    {".mif", "MapInfo File", "GDAL with its drivers of vector formats"},
    {".gml", "GML", "GDAL with its drivers of text formats"},
    {".gmt", "OGR_GMT", "GDAL with its drivers of text formats"},
    {".jml", "JML", "GDAL that was built with Expat"},
    {".dxf", "DXF", "GDAL with its drivers of drawings"},
    {".gpx", "GPX", "GDAL with its drivers of text formats"},
    {".ods", "ODS", "GDAL that was built with Expat"},
    {".xlsx", "XLSX", "GDAL that was built with Expat"},
    {".pmtiles", "PMTiles", "GDAL 3.8 or later"},
};

bool IsSame(const std::string& a, const char* b)
{
    return EQUAL(a.c_str(), b);
}

bool Has(GDALDriver& driver, const char* capability)
{
    return CPLTestBool(
        driver.GetMetadataItem(capability) == nullptr ? "NO" : driver.GetMetadataItem(capability));
}

/// Rule: a format is a file of features that GDAL can read again. Services, grids and documents are
/// none; KML is written by the driver of that name alone.
bool IsOffered(GDALDriver& driver)
{
    return Has(driver, GDAL_DCAP_VECTOR) && !Has(driver, GDAL_DCAP_RASTER) &&
           Has(driver, GDAL_DCAP_CREATE) && Has(driver, GDAL_DCAP_OPEN) &&
           Has(driver, GDAL_DCAP_VIRTUALIO) && !IsSame("LIBKML", driver.GetDescription());
}

void RegisterAll()
{
    static std::once_flag once;
    std::call_once(once, [] { GDALAllRegister(); });
}

GDALDriver* FindDriver(const std::string& name)
{
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(name.c_str());
    return driver != nullptr && IsOffered(*driver) ? driver : nullptr;
}

bool HasType(GDALDriver& driver, const char* type)
{
    const CPLStringList types(
        CSLTokenizeString(driver.GetMetadataItem(GDAL_DMD_CREATIONFIELDDATATYPES)));
    return types.FindString(type) != -1;
}

bool IsOneOf(std::initializer_list<const char*> drivers, const char* name)
{
    return std::any_of(drivers.begin(), drivers.end(), [name](const char* driver) {
        return IsSame(driver, name);
    });
}

ExportFormat::ETexts TextsOf(const char* driver)
{
    if (IsSame("MapInfo File", driver)) {
        return ExportFormat::ETexts::MapInfo;
    }
    const bool isXml =
        IsOneOf({"KML", "GML", "JML", "GPX", "GeoRSS", "MapML", "XLSX", "ODS"}, driver);
    return isXml ? ExportFormat::ETexts::Xml : ExportFormat::ETexts::Any;
}

const ExportFormat& MakeFormat(GDALDriver& driver, const char* extension)
{
    static std::mutex mutex;
    static std::map<std::string, ExportFormat> formats;
    const std::lock_guard<std::mutex> lock(mutex);
    const char* const name = driver.GetDescription();
    const bool isExact = IsOneOf({"SQLite", "Parquet", "Arrow"}, name);
    const bool isSheet = IsOneOf({"XLSX", "ODS"}, name);
    // Days of such a sheet are counted from the end of 1899.
    constexpr int kFirstYearOfSheet = 1900;
    const ExportFormat format{
        .extension = extension,
        .driver = name,
        .write = &Write,
        .isByGdal = true,
        .names = ExportFormat::ENames::UniqueIgnoreCase,
        .texts = TextsOf(name),
        .namesLayer = true,
        .holdsDates = HasType(driver, "Date"),
        .holdsDateTimes = HasType(driver, "DateTime"),
        .holdsAllDigits = isExact,
        .holdsNullNumbers = !IsSame("MapInfo File", name),
        .holdsOffsets = !isSheet && !IsSame("MapInfo File", name),
        .firstYear = IsSame("XLSX", name) ? kFirstYearOfSheet : 0,
    };
    return formats.emplace(std::string(name) + extension, format).first->second;
}

[[noreturn]] void ThrowNoDriver(const Known& known)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "no-driver";
    fields.what = std::string("This GDAL (") + GDALVersionInfo("RELEASE_NAME") + ") has no " +
                  known.driver + " driver; it needs " + known.needs + ".";
    fields.value = known.driver;
    throw ImportFailure(std::move(fields));
}

struct TreeCloser
{
    void operator()(CPLXMLNode* tree) const { CPLDestroyXMLNode(tree); }
};

using Tree = std::unique_ptr<CPLXMLNode, TreeCloser>;

/// Calls `use` with each option of a list, until it gives true.
template <typename Use>
bool AnyOption(const char* driverName, EOptionList list, const Use& use)
{
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(driverName);
    const char* const text =
        driver == nullptr
            ? nullptr
            : driver->GetMetadataItem(list == EOptionList::File ? GDAL_DMD_CREATIONOPTIONLIST
                                                                : GDAL_DS_LAYER_CREATIONOPTIONLIST);
    const Tree tree(text == nullptr ? nullptr : CPLParseXMLString(text));
    for (const CPLXMLNode* node = tree == nullptr ? nullptr : tree->psChild; node != nullptr;
         node = node->psNext) {
        const bool isOption = node->eType == CXT_Element && EQUAL(node->pszValue, "Option");
        if (isOption && use(*node)) {
            return true;
        }
    }
    return false;
}

std::string NameOf(const CPLXMLNode& option)
{
    return CPLGetXMLValue(&option, "name", "");
}

std::pair<std::string, std::string> Split(const std::string& option)
{
    const std::size_t mark = option.find('=');
    return {option.substr(0, mark),
            mark == std::string::npos ? std::string() : option.substr(mark + 1)};
}

/// The words that an option allows; empty for any.
std::vector<std::string> ValuesOf(const CPLXMLNode& option)
{
    std::vector<std::string> values;
    for (const CPLXMLNode* node = option.psChild; node != nullptr; node = node->psNext) {
        if (node->eType == CXT_Element && EQUAL(node->pszValue, "Value")) {
            values.emplace_back(CPLGetXMLValue(node, nullptr, ""));
        }
    }
    if (values.empty() && EQUAL(CPLGetXMLValue(&option, "type", ""), "boolean")) {
        values = {"YES", "NO", "TRUE", "FALSE", "ON", "OFF", "1", "0"};
    }
    return values;
}

bool Allows(const CPLXMLNode& option, const std::string& value)
{
    const std::string type = CPLGetXMLValue(&option, "type", "");
    const bool isNumber = EQUAL(type.c_str(), "int") || EQUAL(type.c_str(), "integer") ||
                          EQUAL(type.c_str(), "float");
    if (isNumber) {
        return CPLGetValueType(value.c_str()) != CPL_VALUE_STRING;
    }
    const std::vector<std::string> values = ValuesOf(option);
    return values.empty() || std::any_of(values.begin(), values.end(), [&](const auto& allowed) {
               return EQUAL(allowed.c_str(), value.c_str());
           });
}

[[noreturn]] void
ThrowOption(std::string what, const std::string& value, std::vector<std::string> nearest)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "creation-option";
    fields.what = std::move(what);
    fields.value = value;
    fields.nearest = std::move(nearest);
    throw ImportFailure(std::move(fields));
}

std::string Join(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

void RequireOption(const ExportFormat& format, const std::string& option)
{
    const auto [key, value] = Split(option);
    std::vector<std::string> known;
    std::vector<std::string> allowed;
    bool isKnown = false;
    bool isAllowed = false;
    for (const EOptionList list : {EOptionList::File, EOptionList::Layer}) {
        // Structured bindings cannot be captured here.
        const std::string& wanted = key;
        const std::string& given = value;
        static_cast<void>(AnyOption(format.driver, list, [&](const CPLXMLNode& candidate) {
            known.push_back(NameOf(candidate));
            if (IsSame(known.back(), wanted.c_str())) {
                isKnown = true;
                isAllowed = isAllowed || Allows(candidate, given);
                allowed = ValuesOf(candidate);
            }
            return false;
        }));
    }
    const std::string shown = "'" + DisplayText::Escape(isKnown ? option : key) + "'";
    if (!isKnown) {
        ThrowOption("The format " + std::string(format.driver) + " has no creation option " +
                        shown +
                        (known.empty() ? "; it has none." : "; it has " + Join(known) + "."),
                    key,
                    known);
    }
    if (!isAllowed) {
        ThrowOption(
            "The creation option " + shown + " of the format " + format.driver +
                (allowed.empty() ? " is no number." : " must be one of " + Join(allowed) + "."),
            value,
            allowed);
    }
}

} // namespace

const ExportFormat* FindFormat(const std::string& wanted, bool byExtension)
{
    for (const Known& known : kKnown) {
        const bool isIt = IsSame(wanted, known.extension) ||
                          (!byExtension &&
                           (IsSame("." + wanted, known.extension) || IsSame(wanted, known.driver)));
        if (isIt) {
            RegisterAll();
            GDALDriver* const driver = FindDriver(known.driver);
            if (driver == nullptr) {
                ThrowNoDriver(known);
            }
            return &MakeFormat(*driver, known.extension);
        }
    }
    if (byExtension) {
        return nullptr;
    }
    RegisterAll();
    GDALDriver* const driver = FindDriver(wanted);
    return driver == nullptr ? nullptr : &MakeFormat(*driver, "");
}

void RequireCreationOptions(const ExportFormat& format, const std::vector<std::string>& options)
{
    for (const std::string& option : options) {
        RequireOption(format, option);
    }
}

std::vector<std::string>
SelectOptions(const char* driver, EOptionList list, const std::vector<std::string>& options)
{
    std::vector<std::string> selected;
    for (const std::string& option : options) {
        const std::string key = Split(option).first;
        if (AnyOption(driver, list, [&](const CPLXMLNode& candidate) {
                return IsSame(NameOf(candidate), key.c_str());
            })) {
            selected.push_back(option);
        }
    }
    return selected;
}

std::vector<GdalFormat> ListFormats(const std::vector<TargetFormat>& own)
{
    RegisterAll();
    std::vector<GdalFormat> formats;
    std::vector<std::string> listed;
    listed.reserve(own.size());
    for (const TargetFormat& format : own) {
        listed.emplace_back(format.name);
    }
    for (const Known& known : kKnown) {
        GDALDriver* const driver = FindDriver(known.driver);
        listed.emplace_back(known.driver);
        formats.push_back(
            {known.driver,
             known.extension,
             driver == nullptr ? known.driver : driver->GetMetadataItem(GDAL_DMD_LONGNAME),
             driver == nullptr ? known.needs : ""});
    }
    for (int index = 0; index < GetGDALDriverManager()->GetDriverCount(); ++index) {
        GDALDriver& driver = *GetGDALDriverManager()->GetDriver(index);
        const std::string name = driver.GetDescription();
        if (IsOffered(driver) && std::find(listed.begin(), listed.end(), name) == listed.end()) {
            formats.push_back({name, {}, driver.GetMetadataItem(GDAL_DMD_LONGNAME), {}});
        }
    }
    return formats;
}

} // namespace Orvane::Import::Gdal
