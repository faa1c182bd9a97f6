// Hands a layer's pages to the writer of GeoPackages.
#include "FieldNames.h"
#include "GeoPackageWriter.h"
#include "LayerWriter.h"
#include "Losses.h"
#include "SpatialReferences.h"
#include "WriteFailure.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace Orvane::Import {

namespace {

using GeoPackage::GeoPackageWriter;

GeoPackage::LayerDefinition MakeDefinition(const WriteRequest& request, FileFields& names)
{
    GeoPackage::LayerDefinition definition;
    definition.name = NameLayer(request, names.notes);
    definition.rowNumberName = FindFreeName(names.fields, "fid");
    definition.geometryName = FindFreeName(names.fields, "geom");
    for (const FileField& field : names.fields) {
        definition.fields.push_back({field.name, field.type});
    }
    // A table needs a column: a layer without attributes keeps that of its geometry.
    definition.hasGeometry = request.hasGeometry || names.fields.empty();
    definition.hasHeights = request.hasGeometry && request.counts.withHeight > 0;
    definition.spatialReference = request.hasGeometry
                                      ? GeoPackage::MakeSpatialReference(request.coordSys.get())
                                      : GeoPackage::UndefinedSpatialReference();
    return definition;
}

WriteReport MakeReport(const GeoPackage::LayerCounts& counts, const FileFields& names)
{
    WriteReport report;
    report.rows = counts.rows;
    report.points = counts.points;
    report.notes = names.notes;
    LossCounts losses;
    losses.notOfType.assign(counts.notOfTypeByField.begin(), counts.notOfTypeByField.end());
    losses.notFinite = counts.notNumbers;
    losses.withNul = counts.nulCharacters;
    losses.withoutPlace = counts.withoutPlace;
    ReportLosses(losses, names.fields, report);
    return report;
}

/// Passes progress on, and cancels by an exception.
class ProgressBridge
{
public:
    explicit ProgressBridge(ProgressMeter& meter)
        : m_meter(meter)
    {}

    void operator()(GeoPackageWriter::EPhase phase, std::uint64_t done, std::uint64_t total)
    {
        const bool isIndex = phase == GeoPackageWriter::EPhase::Index;
        const bool isNew = isIndex && !m_isIndexing;
        m_isIndexing = isIndex;
        if (!(isNew ? m_meter.BeginPhase(EPhase::Indexing, total) : m_meter.Report(done))) {
            ThrowCancelled();
        }
    }

private:
    ProgressMeter& m_meter;
    bool m_isIndexing = false;
};

} // namespace

WriteReport WriteGeoPackage(const WriteRequest& request)
{
    FileFields names = NameFields(request.layer, request.counts, request.format);
    RequireFewFields(request, names.fields.size());
    const GeoPackage::LayerDefinition definition = MakeDefinition(request, names);
    try {
        GeoPackageWriter::Options options;
        options.progress = ProgressBridge(request.progress);
        GeoPackageWriter writer(request.file, std::move(options));
        writer.BeginLayer(definition);
        const BFeatureCollection& features = request.layer.GetFeatures();
        for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
            const std::shared_ptr<const BFeaturePage> page = features.LoadPage(index);
            writer.WritePage(*page, &features, features.GetFirstRow(index));
        }
        const GeoPackage::LayerCounts counts = writer.EndLayer();
        writer.Finish();
        return MakeReport(counts, names);
    } catch (const GeoPackage::WriteFailure& failure) {
        ThrowNotWritten(request, "output-write", failure.what());
    }
}

} // namespace Orvane::Import
