// Walks a layer's pages into the features of a GDAL dataset.
#include "Exporter.h"

#include "CheckedFiles.h"
#include "Failure.h"
#include "FieldPlan.h"
#include "LastResort.h"
#include "TerminalText.h"

#include <Orvane/BException.h>
#include <Orvane/BNumbers.h>
#include <Orvane/BPointGeo.h>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

namespace OrvaneHost {

namespace {

using Orvane::EColumnStorage;
using Orvane::EVariantType;

constexpr std::size_t kRowsPerTransaction = 65536;
/// SQLite's 2000 columns of a table, less those for the row's number and its geometry.
constexpr std::size_t kMostGeoPackageFields = 1998;
/// Memory for the pages of a GeoPackage: its spatial index takes points in any order.
constexpr const char* kSqliteMegabytes = "64";
constexpr std::size_t kRowsPerProgress = 4096;

constexpr ExportFormat kFormats[] = {
    {".gpkg",
     "GPKG",
     ExportFormat::ENames::UniqueIgnoreCase,
     false,
     true,
     false,
     kMostGeoPackageFields},
    {".fgb", "FlatGeobuf", ExportFormat::ENames::Unique, true, true, false},
    {".geojson", "GeoJSON", ExportFormat::ENames::Unique, false, false, false},
    {".json", "GeoJSON", ExportFormat::ENames::Unique, false, false, false},
    {".geojsonl", "GeoJSONSeq", ExportFormat::ENames::Unique, false, false, false},
    {".geojsons", "GeoJSONSeq", ExportFormat::ENames::Unique, false, false, false},
    {".shp", "ESRI Shapefile", ExportFormat::ENames::Dbase, false, false, false},
    {".csv", "CSV", ExportFormat::ENames::UniqueIgnoreCase, true, true, true},
};

/// Collects what GDAL says instead of letting it print.
class GdalMessages
{
public:
    GdalMessages() { CPLPushErrorHandlerEx(&GdalMessages::Take, this); }

    ~GdalMessages() { CPLPopErrorHandler(); }

    GdalMessages(const GdalMessages&) = delete;
    GdalMessages& operator=(const GdalMessages&) = delete;

    [[nodiscard]] bool HasError() const noexcept { return m_hasError; }

    [[nodiscard]] const std::string& GetError() const noexcept { return m_error; }

    [[nodiscard]] const std::vector<std::string>& GetWarnings() const noexcept
    {
        return m_warnings;
    }

private:
    static void CPL_STDCALL Take(CPLErr level, CPLErrorNum /*number*/, const char* text)
    {
        if (level == CE_Fatal) {
            // GDAL would print a line of its own and end the program by a signal.
            LastResort::End(text);
        }
        auto& self = *static_cast<GdalMessages*>(CPLGetErrorHandlerUserData());
        if (level >= CE_Failure && !self.m_hasError) {
            self.m_hasError = true;
            self.m_error = text;
        } else if (level == CE_Warning && self.m_warnings.size() < kMostWarnings &&
                   std::find(self.m_warnings.begin(), self.m_warnings.end(), text) ==
                       self.m_warnings.end()) {
            self.m_warnings.emplace_back(text);
        }
    }

    static constexpr std::size_t kMostWarnings = 10;
    bool m_hasError = false;
    std::string m_error;
    std::vector<std::string> m_warnings;
};

/// Sets a GDAL configuration option for a scope.
class ConfigScope
{
public:
    ConfigScope(const char* key, const char* value)
        : m_key(key)
    {
        CPLSetThreadLocalConfigOption(key, value);
    }

    ~ConfigScope() { CPLSetThreadLocalConfigOption(m_key, nullptr); }

    /// The user's own setting, as from the environment, or `otherwise`.
    static const char* GetOr(const char* key, const char* otherwise)
    {
        return CPLGetConfigOption(key, otherwise);
    }

    ConfigScope(const ConfigScope&) = delete;
    ConfigScope& operator=(const ConfigScope&) = delete;

private:
    const char* m_key;
};

void RegisterDrivers()
{
    // Only what is needed: driver modules of the system are neither loaded nor run.
    static const bool isDone = [] {
        RegisterOGRGeoPackage();
        RegisterOGRFlatGeobuf();
        RegisterOGRGeoJSON();
        RegisterOGRGeoJSONSeq();
        RegisterOGRShape();
        RegisterOGRCSV();
        return true;
    }();
    static_cast<void>(isDone);
}

/// Values that did not go into the file as they are.
struct LossCounts
{
    std::vector<std::size_t> noIntegers; ///< by field: texts of 64-bit columns that are no integer
    std::size_t notFinite = 0;
    std::size_t withNul = 0;
    std::size_t withoutPlace = 0;
};

/// The whole text as a 64-bit integer: commas dropped, a sign, decimal digits; a number written
/// with an exponent counts when it is whole and exact.
std::optional<std::int64_t> ParseInt64(std::string_view text)
{
    std::string digits;
    digits.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), [](char byte) {
        return byte != ',';
    });
    const char* begin = digits.data();
    const char* end = begin + digits.size();
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        ++begin;
    }
    std::int64_t value = 0;
    const auto result = std::from_chars(begin, end, value);
    if (result.ec == std::errc() && result.ptr == end) {
        return value;
    }
    const bool hasExponent = digits.find_first_of("eE") != std::string::npos;
    const bool isDecimal = digits.find_first_not_of("+-0123456789.eE") == std::string::npos;
    std::size_t consumed = 0;
    const double number = Orvane::BNumbers::Strtod(digits, &consumed);
    constexpr double kLimit = 9223372036854775808.0;
    if (!hasExponent || !isDecimal || consumed != digits.size() || number != std::floor(number) ||
        number < -kLimit || number >= kLimit) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(number);
}

/// Fills one reused feature from rows.
class FeatureFiller
{
public:
    FeatureFiller(OGRFeature& feature,
                  const ExportFormat& format,
                  const std::vector<PlannedField>& fields,
                  bool hasGeometry,
                  bool hasHeights)
        : m_feature(feature)
        , m_format(format)
        , m_fields(fields)
        , m_hasGeometry(hasGeometry)
        , m_hasHeights(hasHeights)
    {
        m_losses.noIntegers.resize(fields.size());
    }

    [[nodiscard]] const LossCounts& GetLosses() const noexcept { return m_losses; }

    void FillPageRow(const Orvane::BFeaturePage& page, std::size_t row)
    {
        const Orvane::EPointKind kind = page.GetPointKind(row);
        if (kind == Orvane::EPointKind::None) {
            SetNoPoint();
        } else {
            const bool hasZ = kind == Orvane::EPointKind::XYZ;
            SetPoint(page.x[row], page.y[row], hasZ, hasZ ? page.z[row] : 0);
        }
        const std::size_t count = std::min(page.GetAttributeCount(row), m_fields.size());
        for (std::size_t index = 0; index < count; ++index) {
            SetColumnValue(index, page.data[index], row);
        }
        SetNulls(count);
    }

    void FillObject(const Orvane::BFeature& object)
    {
        if (const Orvane::BPointGeo* point = object.GetPoint()) {
            SetPoint(point->GetX(), point->GetY(), point->HasZ(), point->GetZ());
        } else {
            SetNoPoint();
        }
        const std::size_t count = std::min(object.GetAttributeCount(), m_fields.size());
        for (std::size_t index = 0; index < count; ++index) {
            SetVariant(index, object.GetAttributeValue(index));
        }
        SetNulls(count);
    }

private:
    static int FieldNumber(std::size_t index) { return static_cast<int>(index); }

    /// The fields behind the attributes hold the coordinates when the format has no geometry.
    void SetCoordinateTexts(double x, double y, bool hasZ, double z)
    {
        SetNumberText(m_fields.size(), x);
        SetNumberText(m_fields.size() + 1, y);
        if (m_hasHeights) {
            if (hasZ) {
                SetNumberText(m_fields.size() + 2, z);
            } else {
                m_feature.SetFieldNull(FieldNumber(m_fields.size() + 2));
            }
        }
    }

    void SetNoPoint()
    {
        if (m_hasGeometry) {
            m_feature.SetGeometryDirectly(nullptr);
            return;
        }
        const std::size_t count = m_hasHeights ? 3 : 2;
        for (std::size_t index = 0; index < count; ++index) {
            m_feature.SetFieldNull(FieldNumber(m_fields.size() + index));
        }
    }

    void SetPoint(double x, double y, bool hasZ, double z)
    {
        // Rule: a point whose X or Y is no finite number has no place and goes without geometry.
        if (!std::isfinite(x) || !std::isfinite(y)) {
            ++m_losses.withoutPlace;
            SetNoPoint();
            return;
        }
        if (!m_hasGeometry) {
            SetCoordinateTexts(x, y, hasZ, z);
            return;
        }
        OGRGeometry* geometry = m_feature.GetGeometryRef();
        if (geometry == nullptr) {
            m_feature.SetGeometryDirectly(new OGRPoint());
            geometry = m_feature.GetGeometryRef();
        }
        OGRPoint& point = *geometry->toPoint();
        point.setX(x);
        point.setY(y);
        const double height = hasZ ? z : std::numeric_limits<double>::quiet_NaN();
        if (m_hasHeights && (m_format.holdsNaN || !std::isnan(height) || IsBinaryGeometry())) {
            point.setZ(height);
        } else {
            point.flattenTo2D();
        }
    }

    [[nodiscard]] bool IsBinaryGeometry() const
    {
        return m_format.driver == std::string_view("GPKG") ||
               m_format.driver == std::string_view("ESRI Shapefile");
    }

    void SetNulls(std::size_t from)
    {
        for (std::size_t index = from; index < m_fields.size(); ++index) {
            m_feature.SetFieldNull(FieldNumber(index));
        }
    }

    void SetNumberText(std::size_t index, double value)
    {
        char buffer[40];
        buffer[Orvane::BNumbers::FormatShortest(value, buffer)] = '\0';
        m_feature.SetField(FieldNumber(index), buffer);
    }

    void SetFloatText(std::size_t index, float value)
    {
        char buffer[40];
        buffer[Orvane::BNumbers::FormatShortest(value, buffer)] = '\0';
        m_feature.SetField(FieldNumber(index), buffer);
    }

    void SetReal(std::size_t index, double value)
    {
        const bool isHeld = std::isfinite(value) ||
                            (std::isnan(value) ? m_format.holdsNaN : m_format.holdsInfinity);
        if (!isHeld) {
            ++m_losses.notFinite;
            m_feature.SetFieldNull(FieldNumber(index));
        } else if (m_format.numbersAsText) {
            SetNumberText(index, value);
        } else {
            m_feature.SetField(FieldNumber(index), value);
        }
    }

    void SetFloat(std::size_t index, float value)
    {
        if (m_format.numbersAsText) {
            SetFloatText(index, value);
        } else {
            SetReal(index, static_cast<double>(value));
        }
    }

    void SetInt64(std::size_t index, std::int64_t value)
    {
        m_feature.SetField(FieldNumber(index), static_cast<GIntBig>(value));
    }

    /// @param text UTF-8
    void SetText(std::size_t index, std::string& text)
    {
        if (m_fields[index].type == EVariantType::Int64) {
            if (const std::optional<std::int64_t> value = ParseInt64(text)) {
                SetInt64(index, *value);
            } else {
                m_losses.noIntegers[index] += text.empty() ? 0U : 1U;
                m_feature.SetFieldNull(FieldNumber(index));
            }
            return;
        }
        // Texts of files end at a NUL; the character that stands for what can't be shown replaces
        // it.
        for (std::size_t nul = text.find('\0'); nul != std::string::npos; nul = text.find('\0')) {
            text.replace(nul, 1, "\uFFFD");
            ++m_losses.withNul;
        }
        m_feature.SetField(FieldNumber(index), text.c_str());
    }

    void SetColumnValue(std::size_t index, const Orvane::BColumnData& column, std::size_t row)
    {
        const EVariantType type = m_fields[index].type;
        switch (column.storage) {
        case EColumnStorage::Int32:
            if (type == EVariantType::Int32 || type == EVariantType::Int64) {
                m_feature.SetField(FieldNumber(index), column.int32s[row]);
                return;
            }
            SetVariant(index, Orvane::BVariant(column.int32s[row]));
            return;
        case EColumnStorage::Int64:
            if (type == EVariantType::Int64) {
                SetInt64(index, column.int64s[row]);
                return;
            }
            SetVariant(index, Orvane::BVariant(column.int64s[row]));
            return;
        case EColumnStorage::Double:
            if (type == EVariantType::Double) {
                SetReal(index, column.doubles[row]);
                return;
            }
            SetVariant(index, Orvane::BVariant(column.doubles[row]));
            return;
        case EColumnStorage::Float:
            if (type == EVariantType::Float) {
                SetFloat(index, column.floats[row]);
                return;
            }
            SetVariant(index, Orvane::BVariant(column.floats[row]));
            return;
        case EColumnStorage::Boolean:
            if (type == EVariantType::Boolean) {
                m_feature.SetField(FieldNumber(index), static_cast<int>(column.booleans[row]));
                return;
            }
            SetVariant(index, Orvane::BVariant(column.booleans[row] != 0));
            return;
        case EColumnStorage::Text:
            break;
        }
        m_text.clear();
        Orvane::AppendTextAsUtf8(column.texts.GetBytes(row), column.texts.encoding, m_text);
        SetTextAs(index, type);
    }

    /// m_text as a value of the field's type.
    void SetTextAs(std::size_t index, EVariantType type)
    {
        switch (type) {
        case EVariantType::Int32:
        case EVariantType::Double:
        case EVariantType::Float:
        case EVariantType::Boolean:
            SetVariant(index, Orvane::BVariant(Orvane::BString::FromUtf8(m_text)));
            break;
        default:
            SetText(index, m_text);
        }
    }

    /// A value of any type as a value of the field's type, as the variant converts it.
    void SetVariant(std::size_t index, const Orvane::BVariant& value)
    {
        if (value.IsEmpty()) {
            m_feature.SetFieldNull(FieldNumber(index));
            return;
        }
        const bool isText = value.GetType() == EVariantType::String;
        switch (m_fields[index].type) {
        case EVariantType::Int32:
            m_feature.SetField(FieldNumber(index), static_cast<int>(value.GetInteger()));
            return;
        case EVariantType::Int64:
            if (!isText) {
                SetInt64(index, value.GetInt64());
                return;
            }
            break;
        case EVariantType::Double:
            SetReal(index, value.GetDouble());
            return;
        case EVariantType::Float:
            SetFloat(index, value.GetFloat());
            return;
        case EVariantType::Boolean:
            m_feature.SetField(FieldNumber(index), value.GetBoolean() ? 1 : 0);
            return;
        default:
            break;
        }
        m_text = value.GetString().ToUtf8();
        SetText(index, m_text);
    }

    OGRFeature& m_feature;
    const ExportFormat& m_format;
    const std::vector<PlannedField>& m_fields;
    bool m_hasGeometry;
    bool m_hasHeights;
    std::string m_text;
    LossCounts m_losses;
};

std::unique_ptr<OGRFieldDefn> MakeFieldDefn(const PlannedField& field, const ExportFormat& format)
{
    auto defn = std::make_unique<OGRFieldDefn>(field.name.c_str(), OFTString);
    switch (field.type) {
    case EVariantType::Int32:
        defn->SetType(OFTInteger);
        break;
    case EVariantType::Int64:
        defn->SetType(OFTInteger64);
        break;
    case EVariantType::Double:
        defn->SetType(format.numbersAsText ? OFTString : OFTReal);
        break;
    case EVariantType::Float:
        if (!format.numbersAsText) {
            defn->SetType(OFTReal);
            defn->SetSubType(OFSTFloat32);
        }
        break;
    case EVariantType::Boolean:
        defn->SetType(OFTInteger);
        defn->SetSubType(OFSTBoolean);
        break;
    default:
        break;
    }
    return defn;
}

/// One export, step by step.
class Export
{
public:
    explicit Export(const ExportRequest& request)
        : m_request(request)
        , m_plan(PlanFields(request.layer, request.counts, request.format))
        , m_hasGeometry(!request.format.numbersAsText)
        , m_hasHeights(request.counts.withHeight > 0)
        , m_synchronous("OGR_SQLITE_SYNCHRONOUS", "OFF")
        , m_journal("OGR_SQLITE_JOURNAL", "OFF")
        , m_cache("OGR_SQLITE_CACHE", ConfigScope::GetOr("OGR_SQLITE_CACHE", kSqliteMegabytes))
    {}

    std::vector<std::string> Run()
    {
        RequireFewFields();
        RegisterDrivers();
        CheckedFiles::Reset();
        Create();
        WriteRows();
        Close();
        return MakeNotes();
    }

private:
    [[nodiscard]] bool Is(std::string_view driver) const
    {
        return m_request.format.driver == driver;
    }

    void RequireFewFields() const
    {
        const std::size_t most = m_request.format.mostFields;
        if (most != 0 && m_plan.fields.size() > most) {
            throw Orvane::BException(
                Orvane::BString::Format("Could not write <%s>.", m_request.file.filename().c_str()),
                "Exporter",
                Orvane::BString::Format("The format holds at most %d columns, and there are %d; "
                                        ".fgb holds more.",
                                        most,
                                        m_plan.fields.size()));
        }
    }

    [[noreturn]] void Fail(const char* step, std::string reason = CheckedFiles::GetFailure()) const
    {
        if (m_messages.HasError()) {
            reason += (reason.empty() ? "" : "; ") + m_messages.GetError();
        }
        throw Orvane::BException(
            Orvane::BString::Format("Could not write <%s>.", m_request.file.filename().c_str()),
            "Exporter",
            std::string(step) + (reason.empty() ? "." : ": " + reason));
    }

    void Check(bool isGood, const char* step) const
    {
        if (!isGood || m_messages.HasError() || !CheckedFiles::GetFailure().empty()) {
            Fail(step);
        }
    }

    [[nodiscard]] std::string GetLayerName()
    {
        if (Is("ESRI Shapefile") || Is("CSV")) {
            return m_request.file.stem().native();
        }
        std::string name = m_request.layer.GetName().ToUtf8();
        name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
        const auto beginsWith = [&](const char* text) {
            return STARTS_WITH_CI(name.c_str(), text);
        };
        if (name.empty() || (Is("GPKG") && (beginsWith("gpkg") || beginsWith("sqlite_")))) {
            std::string free = name.empty() ? "layer" : "layer_" + name;
            m_plan.notes.push_back("the layer '" + TerminalText::Escape(name) + "' is named '" +
                                   TerminalText::Escape(free) + "' in the file");
            return free;
        }
        return name;
    }

    [[nodiscard]] CPLStringList GetLayerOptions() const
    {
        CPLStringList options;
        if (Is("GPKG")) {
            options.SetNameValue("FID", FindFreeName(m_plan.fields, "fid").c_str());
            options.SetNameValue("GEOMETRY_NAME", FindFreeName(m_plan.fields, "geom").c_str());
        } else if (Is("FlatGeobuf")) {
            options.SetNameValue(
                "TEMPORARY_DIR",
                CheckedFiles::NameFor(m_request.file.parent_path().native()).c_str());
        } else if (Is("GeoJSON") || Is("GeoJSONSeq")) {
            options.SetNameValue("COORDINATE_PRECISION", "17");
            options.SetNameValue("SIGNIFICANT_FIGURES", "17");
        } else if (Is("ESRI Shapefile")) {
            options.SetNameValue("ENCODING", "UTF-8");
        } else if (Is("CSV")) {
            options.SetNameValue("STRING_QUOTING", "IF_NEEDED");
        }
        return options;
    }

    void Create()
    {
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(m_request.format.driver);
        Check(driver != nullptr, "The format's driver is missing");
        // SQLite looks at each of its writes itself, through its own files.
        const std::string name =
            Is("GPKG") ? m_request.file.native() : CheckedFiles::NameFor(m_request.file.native());
        m_dataset.reset(driver->Create(name.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
        Check(m_dataset != nullptr, "Making the file");
        const OGRwkbGeometryType geometryType = !m_hasGeometry ? wkbNone
                                                : m_hasHeights ? wkbPoint25D
                                                               : wkbPoint;
        CPLStringList options = GetLayerOptions();
        m_layer = m_dataset->CreateLayer(GetLayerName().c_str(),
                                         m_hasGeometry ? m_request.coordSys.get() : nullptr,
                                         geometryType,
                                         options.List());
        Check(m_layer != nullptr, "Making the layer");
        for (const PlannedField& field : m_plan.fields) {
            const auto defn = MakeFieldDefn(field, m_request.format);
            Check(m_layer->CreateField(defn.get(), FALSE) == OGRERR_NONE, "Making the fields");
        }
        if (!m_hasGeometry) {
            for (const char* coordinate : {"X", "Y", "Z"}) {
                if (*coordinate != 'Z' || m_hasHeights) {
                    OGRFieldDefn defn(FindFreeName(m_plan.fields, coordinate).c_str(), OFTString);
                    Check(m_layer->CreateField(&defn, FALSE) == OGRERR_NONE, "Making the fields");
                }
            }
        }
        m_hasTransactions = m_dataset->TestCapability(ODsCTransactions) != 0;
    }

    void Begin()
    {
        if (m_hasTransactions) {
            Check(m_dataset->StartTransaction(FALSE) == OGRERR_NONE, "Beginning a transaction");
        }
    }

    void Commit()
    {
        if (m_hasTransactions) {
            Check(m_dataset->CommitTransaction() == OGRERR_NONE, "Ending a transaction");
        }
    }

    void WriteRows()
    {
        const std::unique_ptr<OGRFeature, void (*)(OGRFeature*)> feature(
            OGRFeature::CreateFeature(m_layer->GetLayerDefn()), &OGRFeature::DestroyFeature);
        FeatureFiller filler(
            *feature, m_request.format, m_plan.fields, m_hasGeometry, m_hasHeights);
        const Orvane::BFeatureCollection& features = m_request.layer.GetFeatures();
        // Rule: a FlatGeobuf file holds no feature without geometry; such rows are left out and
        // reported, since its driver would drop them without a word.
        const bool leavesOutRows = Is("FlatGeobuf");
        std::size_t written = 0;
        Begin();
        for (std::size_t pageIndex = 0; pageIndex < features.GetPageCount(); ++pageIndex) {
            const std::shared_ptr<const Orvane::BFeaturePage> held = features.LoadPage(pageIndex);
            const Orvane::BFeaturePage& page = *held;
            const std::size_t firstRow = features.GetFirstRow(pageIndex);
            for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
                if (const Orvane::BFeature* object = features.GetObjectRow(firstRow + row)) {
                    filler.FillObject(*object);
                } else {
                    filler.FillPageRow(page, row);
                }
                if (leavesOutRows && feature->GetGeometryRef() == nullptr) {
                    ++m_leftOut;
                    continue;
                }
                feature->SetFID(OGRNullFID);
                if (m_layer->CreateFeature(feature.get()) != OGRERR_NONE) {
                    Fail("Writing a feature");
                }
                ++written;
                if (written % kRowsPerProgress == 0) {
                    Check(true, "Writing features");
                    m_request.progress(written);
                }
                if (written % kRowsPerTransaction == 0) {
                    Commit();
                    Begin();
                }
            }
        }
        Commit();
        m_losses = filler.GetLosses();
    }

    void Close()
    {
        m_layer = nullptr;
        m_dataset.reset();
        Check(true, "Ending the file");
        if (Is("FlatGeobuf")) {
            RemoveSideFiles();
        }
        m_request.progress(m_request.layer.GetFeatures().GetCount());
    }

    /// The format is one file. What its driver puts aside while it sorts stays when it lies in a
    /// file system of this program: GDAL 3.6 does not pass its removal on.
    void RemoveSideFiles() const
    {
        namespace fs = std::filesystem;
        std::error_code error;
        fs::directory_iterator entry(m_request.file.parent_path(), error);
        while (!error && entry != fs::directory_iterator()) {
            if (entry->path() != m_request.file) {
                fs::remove(entry->path(), error);
            }
            if (!error) {
                entry.increment(error);
            }
        }
        if (error) {
            Fail("Ending the file", error.message());
        }
    }

    [[nodiscard]] std::vector<std::string> MakeNotes() const
    {
        std::vector<std::string> notes = m_plan.notes;
        for (std::size_t index = 0; index < m_losses.noIntegers.size(); ++index) {
            if (m_losses.noIntegers[index] > 0) {
                notes.push_back(std::to_string(m_losses.noIntegers[index]) +
                                " values of the 64-bit column '" +
                                TerminalText::Escape(m_plan.fields[index].name) +
                                "' are no 64-bit integers and are null in the file");
            }
        }
        const auto add = [&](std::size_t count, const char* text) {
            if (count > 0) {
                notes.push_back(std::to_string(count) + text);
            }
        };
        add(m_losses.notFinite, " numbers are not finite and are null in the file");
        add(m_leftOut, " rows without geometry are not in the file: its format can not hold them");
        add(m_losses.withNul, " NUL characters of texts are U+FFFD in the file");
        add(m_losses.withoutPlace,
            " points have an X or Y that is no number and no geometry in the file");
        for (const std::string& warning : m_messages.GetWarnings()) {
            notes.push_back("GDAL: " + TerminalText::Escape(warning));
        }
        return notes;
    }

    struct DatasetCloser
    {
        void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
    };

    const ExportRequest& m_request;
    FieldPlan m_plan;
    bool m_hasGeometry;
    bool m_hasHeights;
    bool m_hasTransactions = false;
    ConfigScope m_synchronous;
    ConfigScope m_journal;
    ConfigScope m_cache;
    GdalMessages m_messages; ///< before the dataset, so that closing it reports here too
    std::unique_ptr<GDALDataset, DatasetCloser> m_dataset;
    OGRLayer* m_layer = nullptr; ///< owned by the dataset
    LossCounts m_losses;
    std::size_t m_leftOut = 0;
};

std::string FoldedExtension(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return extension;
}

} // namespace

const ExportFormat& FindExportFormat(const std::string& path)
{
    const std::string extension = FoldedExtension(path);
    std::string known;
    for (const ExportFormat& format : kFormats) {
        if (extension == format.extension) {
            // GDAL writes the parts of a shapefile with small endings whatever the name's.
            if (extension == ".shp" && !path.ends_with(extension)) {
                throw UsageError("The extension of the output '" + TerminalText::Escape(path) +
                                 "' must be written in small letters: .shp.");
            }
            return format;
        }
        known += (known.empty() ? "" : ", ") + std::string(format.extension);
    }
    throw UsageError("No format is known for the output '" + TerminalText::Escape(path) +
                     "'; its extension must be one of " + known + ".");
}

std::shared_ptr<OGRSpatialReference> FindCoordinateSystem(const std::string& crs)
{
    if (crs.empty()) {
        return nullptr;
    }
    const std::string shown = "'" + TerminalText::Cut(TerminalText::Escape(crs), 60) + "'";
    const std::size_t colon = crs.find(':');
    const auto isNameCharacter = [](char byte) {
        return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
               (byte >= '0' && byte <= '9') || byte == '_' || byte == '.' || byte == '-';
    };
    const bool isWritten =
        colon != std::string::npos && colon > 0 && colon + 1 < crs.size() &&
        std::all_of(
            crs.begin(), crs.begin() + static_cast<std::ptrdiff_t>(colon), isNameCharacter) &&
        std::all_of(
            crs.begin() + static_cast<std::ptrdiff_t>(colon) + 1, crs.end(), isNameCharacter);
    if (!isWritten) {
        throw UsageError("The coordinate system " + shown +
                         " is not written as AUTHORITY:CODE, for example EPSG:4326.");
    }
    const GdalMessages messages;
    // The reference is counted by GDAL itself: layers that use it hold on to it.
    std::shared_ptr<OGRSpatialReference> coordSys(
        new OGRSpatialReference(), [](OGRSpatialReference* reference) { reference->Release(); });
    if (coordSys->SetFromUserInput(crs.c_str(),
                                   OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get()) !=
        OGRERR_NONE) {
        throw UsageError("The coordinate system " + shown + " is not known.");
    }
    coordSys->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return coordSys;
}

std::vector<std::string> ExportLayer(const ExportRequest& request)
{
    return Export(request).Run();
}

} // namespace OrvaneHost
