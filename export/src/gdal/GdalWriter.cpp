// Walks a layer's pages into the features of a GDAL dataset.
#include "GdalWriter.h"

#include "CheckedFiles.h"
#include "CoordinateSystems.h"
#include "FeatureFiller.h"
#include "FieldNames.h"
#include "GdalFormats.h"
#include "GdalScope.h"
#include "LayerWriter.h"
#include "Losses.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import::Gdal {

namespace {

constexpr std::size_t kRowsPerTransaction = 65536;
constexpr std::size_t kRowsPerCheck = 4096;

/// Whether the driver has fields of that type, as GDAL names it; one that says nothing may.
bool HasFieldType(const ExportFormat& format, const char* type)
{
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(format.driver);
    const char* const types =
        driver == nullptr ? nullptr : driver->GetMetadataItem(GDAL_DMD_CREATIONFIELDDATATYPES);
    return types == nullptr || CPLStringList(CSLTokenizeString(types)).FindString(type) != -1;
}

/// @param mayHaveOffsets of a field of dates with times: some may state their offset from UTC
std::unique_ptr<OGRFieldDefn>
MakeFieldDefn(const FileField& field, const ExportFormat& format, bool mayHaveOffsets)
{
    auto defn = std::make_unique<OGRFieldDefn>(field.name.c_str(), OFTString);
    switch (field.type) {
    case EVariantType::Int32:
        defn->SetType(OFTInteger);
        break;
    case EVariantType::Int64:
        // Rule: where the format has no whole numbers of 64 bits their texts keep all digits.
        defn->SetType(HasFieldType(format, "Integer64") ? OFTInteger64 : OFTString);
        break;
    case EVariantType::Double:
        defn->SetType(OFTReal);
        break;
    case EVariantType::Float:
        defn->SetType(OFTReal);
        defn->SetSubType(OFSTFloat32);
        break;
    case EVariantType::Boolean:
        defn->SetType(OFTInteger);
        defn->SetSubType(OFSTBoolean);
        break;
    case EVariantType::Date:
        defn->SetType(format.holdsDates ? OFTDate : OFTString);
        break;
    case EVariantType::DateTime:
        // Rule: date-times with an offset are texts where the format would drop it.
        defn->SetType(format.holdsDateTimes && (format.holdsOffsets || !mayHaveOffsets)
                          ? OFTDateTime
                          : OFTString);
        break;
    default:
        break;
    }
    return defn;
}

/// One file, step by step.
class GdalWriter
{
public:
    explicit GdalWriter(const WriteRequest& request)
        : m_request(request)
        , m_fields(NameFields(request.layer, request.counts, request.format))
        , m_hasGeometry(request.target.hasGeometry || NeedsGeometry())
        , m_hasHeights(request.target.hasGeometry && HoldsHeights(request.format.driver) &&
                       request.counts.withHeight > 0)
        , m_files(CheckedFiles::EUse::Writing, [this] { return Step(); })
    {}

    ~GdalWriter() = default;
    GdalWriter(const GdalWriter&) = delete;
    GdalWriter& operator=(const GdalWriter&) = delete;

    WriteReport Run()
    {
        RequireFewFields(m_request, m_fields.fields.size());
        RegisterDrivers();
        try {
            Create();
            WriteRows();
            Close();
        } catch (const GdalFatalError& error) {
            CloseAfterFailure();
            RequireNotStopped();
            Fail("Writing", error.what());
        } catch (...) {
            CloseAfterFailure();
            RequireNotStopped();
            throw;
        }
        return MakeReport();
    }

private:
    [[nodiscard]] bool Is(std::string_view driver) const
    {
        return m_request.format.driver == driver;
    }

    /// Rule: a shapefile has shapes, empty ones where rows have no place; without geometry its
    /// driver would leave the .shp file itself out.
    [[nodiscard]] bool NeedsGeometry() const { return Is("ESRI Shapefile"); }

    /// Not one of the formats whose every detail is known to this library.
    [[nodiscard]] bool IsOfAnyDriver() const { return !Is("ESRI Shapefile"); }

    /// Whether the driver keeps all rows, and packs them when the file is flushed.
    [[nodiscard]] bool KeepsRows() const { return Is("XLSX") || Is("ODS"); }

    /// Comes with each operation of the driver's on a file.
    bool Step()
    {
        m_goesOn = m_goesOn && m_request.progress.Report(m_rows);
        if ((!m_goesOn || m_hasFailed) && KeepsRows() && m_layer != nullptr) {
            // Packing goes from row to row, and does not end where nothing can be written: it ends
            // where there are no more rows.
            static_cast<void>(m_layer->SetNextByIndex(static_cast<GIntBig>(m_rows)));
        }
        return m_goesOn;
    }

    /// Packs the rows while the layer is there for Step.
    void Pack()
    {
        if (KeepsRows() && m_dataset != nullptr) {
            GDALFlushCache(m_dataset.get());
        }
        m_layer = nullptr;
    }

    /// @param reason that of the files, or of what has failed
    [[noreturn]] void Fail(const char* step, std::string reason) const
    {
        if (m_messages.HasError()) {
            reason += (reason.empty() ? "" : "; ") + m_messages.GetError();
        }
        ThrowNotWritten(
            m_request, "output-write", std::string(step) + (reason.empty() ? "." : ": " + reason));
    }

    void Check(bool isGood, const char* step) const
    {
        std::string reason = m_files.GetFailure();
        if (!isGood || m_messages.HasError() || !reason.empty()) {
            Fail(step, std::move(reason));
        }
    }

    void AddOptions(EOptionList list, CPLStringList& options) const
    {
        for (const std::string& option :
             SelectOptions(m_request.format.driver, list, m_request.target.creationOptions)) {
            const std::size_t mark = option.find('=');
            options.SetNameValue(option.substr(0, mark).c_str(), option.substr(mark + 1).c_str());
        }
    }

    [[nodiscard]] CPLStringList GetLayerOptions() const
    {
        CPLStringList options;
        if (Is("ESRI Shapefile")) {
            options.SetNameValue("ENCODING", "UTF-8");
        }
        AddOptions(EOptionList::Layer, options);
        return options;
    }

    void Create()
    {
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(m_request.format.driver);
        Check(driver != nullptr, "The format's driver is missing");
        const std::string name = m_files.NameFor(m_request.file.native());
        // The file is thrown away when it is not finished.
        const CPLConfigOptionSetter noJournal("OGR_SQLITE_JOURNAL", "OFF", true);
        const CPLConfigOptionSetter noWaiting("OGR_SQLITE_SYNCHRONOUS", "OFF", true);
        CPLStringList fileOptions;
        if (Is("SQLite") && !m_hasGeometry) {
            // GDAL shows no table without geometry where a file has tables of geometries.
            fileOptions.SetNameValue("METADATA", "NO");
        }
        AddOptions(EOptionList::File, fileOptions);
        m_dataset.reset(driver->Create(name.c_str(), 0, 0, 0, GDT_Unknown, fileOptions.List()));
        Check(m_dataset != nullptr, "Making the file");
        const OGRwkbGeometryType geometryType = !m_hasGeometry ? wkbNone
                                                : m_hasHeights ? wkbPoint25D
                                                               : wkbPoint;
        CPLStringList options = GetLayerOptions();
        const bool hasSystem = m_hasGeometry && m_request.coordSys != nullptr;
        const std::shared_ptr<OGRSpatialReference> system =
            hasSystem ? FindReference(m_request.coordSys->text) : nullptr;
        // It was known before, or is known without a look: only the list itself can fail.
        Check(!hasSystem || system != nullptr, "Looking for the coordinate system");
        m_layer = m_dataset->CreateLayer(NameLayer(m_request, m_fields.notes).c_str(),
                                         system.get(),
                                         geometryType,
                                         options.List());
        Check(m_layer != nullptr, "Making the layer");
        RequireHeld();
        for (std::size_t index = 0; index < m_fields.fields.size(); ++index) {
            const auto defn = MakeFieldDefn(
                m_fields.fields[index], m_request.format, m_request.counts.MayHaveOffsets(index));
            Check(m_layer->CreateField(defn.get(), IsOfAnyDriver() ? TRUE : FALSE) == OGRERR_NONE,
                  "Making the fields");
        }
        FollowNames();
        m_hasTransactions = m_dataset->TestCapability(ODsCTransactions) != 0;
    }

    /// Rule: what a driver cannot hold is refused before any row is written.
    void RequireHeld() const
    {
        if (std::filesystem::is_directory(m_request.file)) {
            Fail("Making the file", "The format is a folder of files; an output is a file.");
        }
        if (m_hasGeometry && m_layer->GetLayerDefn()->GetGeomFieldCount() == 0) {
            Fail("Making the layer", "The format holds no points; write the table without points.");
        }
    }

    /// Drivers may change names and types to what their format has.
    void FollowNames()
    {
        OGRFeatureDefn& definition = *m_layer->GetLayerDefn();
        const int count = static_cast<int>(m_fields.fields.size());
        if (!IsOfAnyDriver()) {
            return;
        }
        // Some have fields of their own before those that are made.
        m_firstField = definition.GetFieldCount() - count;
        if (m_firstField < 0) {
            Fail("Making the fields", "The format holds no fields of these names.");
        }
        for (int index = 0; index < count; ++index) {
            const char* const name = definition.GetFieldDefn(m_firstField + index)->GetNameRef();
            std::string& wanted = m_fields.fields[static_cast<std::size_t>(index)].name;
            if (wanted != name) {
                m_fields.notes.push_back(
                    {"field-name",
                     "the column '" + wanted + "' is named '" + name + "' in the output"});
                wanted = name;
            }
        }
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

    void WriteRow(OGRFeature& feature, bool hasPoint)
    {
        feature.SetFID(OGRNullFID);
        if (m_layer->CreateFeature(&feature) != OGRERR_NONE) {
            Fail("Writing a feature", m_files.GetFailure());
        }
        ++m_rows;
        m_points += hasPoint ? 1U : 0U;
        if (m_rows % kRowsPerCheck == 0) {
            Check(true, "Writing features");
            Report(m_rows);
        }
        if (m_rows % kRowsPerTransaction == 0) {
            Commit();
            Begin();
        }
    }

    void WriteRows()
    {
        const std::unique_ptr<OGRFeature, void (*)(OGRFeature*)> feature(
            OGRFeature::CreateFeature(m_layer->GetLayerDefn()), &OGRFeature::DestroyFeature);
        FeatureFiller filler(*feature,
                             m_request.format,
                             m_fields.fields,
                             m_request.target.hasGeometry,
                             m_hasHeights,
                             m_firstField);
        Begin();
        VisitRows(
            m_request.pages,
            [&](const Orvane::BFeaturePage& page, std::size_t row) {
                filler.FillPageRow(page, row);
                WriteRow(*feature, filler.HasPoint());
            },
            [&](const Orvane::BFeature& object) {
                filler.FillObject(object);
                WriteRow(*feature, filler.HasPoint());
            });
        Commit();
        m_losses = filler.GetLosses();
    }

    void Report(std::uint64_t rowsDone) const
    {
        if (!m_request.progress.Report(rowsDone)) {
            ThrowCancelled();
        }
    }

    void Close()
    {
        Pack();
        m_dataset.reset();
        RequireNotStopped();
        Check(true, "Ending the file");
        if (!std::filesystem::is_regular_file(m_request.file)) {
            Fail("Ending the file", "The driver has made no file of the output's name.");
        }
        Report(m_rows);
    }

    /// What fails because the files have stopped is no failure: the caller has cancelled.
    void RequireNotStopped() const
    {
        if (m_files.IsStopped()) {
            ThrowCancelled();
        }
    }

    /// Closes what the failure has left open. What goes wrong with it now is of no interest.
    void CloseAfterFailure() noexcept
    {
        m_hasFailed = true;
        try {
            Pack();
            GDALClose(m_dataset.release());
        } catch (...) { // NOLINT(bugprone-empty-catch)
            // Rule: the first failure is the one that is told.
        }
    }

    [[nodiscard]] WriteReport MakeReport() const
    {
        WriteReport report;
        report.rows = m_rows;
        report.points = m_points;
        report.notes = m_fields.notes;
        if (m_request.file.extension() == ".tab") {
            report.notes.push_back({"format",
                                    "the points of the file are on a grid of a millionth of a "
                                    "degree or so; .mif keeps 15 digits"});
        }
        ReportLosses(m_losses, m_fields.fields, report);
        for (const std::string& warning : m_messages.GetWarnings()) {
            report.notes.push_back({"format", "GDAL: " + warning});
        }
        return report;
    }

    struct DatasetCloser
    {
        void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
    };

    const WriteRequest& m_request;
    FileFields m_fields;
    bool m_hasGeometry;
    bool m_hasHeights;
    bool m_hasTransactions = false;
    bool m_hasFailed = false;
    bool m_goesOn = true; ///< nobody has said to stop while a file was in use
    int m_firstField = 0; ///< of the feature: that of the first attribute
    std::uint64_t m_rows = 0;
    CheckedFiles m_files;
    GdalMessages m_messages; ///< before the dataset, so that closing it reports here too
    std::unique_ptr<GDALDataset, DatasetCloser> m_dataset;
    OGRLayer* m_layer = nullptr; ///< owned by the dataset
    LossCounts m_losses;
    std::uint64_t m_points = 0;
};

} // namespace

WriteReport Write(const WriteRequest& request)
{
    return GdalWriter(request).Run();
}

} // namespace Orvane::Import::Gdal
