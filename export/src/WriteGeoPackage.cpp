// Hands a layer's pages to the writer of GeoPackages.
#include "ExistingLayers.h"
#include "FieldNames.h"
#include "GeoPackageWriter.h"
#include "LayerWriter.h"
#include "Losses.h"
#include "SpatialReferences.h"
#include "WriteFailure.h"

#include <Orvane/Import/Failure.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
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
    definition.hasGeometry = request.target.hasGeometry || names.fields.empty();
    definition.hasHeights = request.target.hasGeometry && request.counts.withHeight > 0;
    definition.spatialReference = !request.target.hasGeometry
                                      ? GeoPackage::UndefinedSpatialReference()
                                  : request.coordSys == nullptr && request.target.isCartesian
                                      ? GeoPackage::UndefinedCartesianReference()
                                      : GeoPackage::MakeSpatialReference(request.coordSys.get());
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

void WriteRows(PageSource& pages, GeoPackageWriter& writer)
{
    for (SourcePage page; pages.Next(page);) {
        writer.WritePage(*page.page, page.features, page.firstRow);
    }
}

/// A layer without points, whose names are none of a file's.
void WriteTable(const BVectorLayer& layer, const std::string& name, GeoPackageWriter& writer)
{
    GeoPackage::LayerDefinition definition;
    definition.name = name;
    definition.hasGeometry = false;
    definition.spatialReference = GeoPackage::UndefinedSpatialReference();
    const BAttributeDefs& schema = layer.GetSchema();
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const BAttributeDef& def = schema.GetAt(index);
        definition.fields.push_back({def.GetName().ToUtf8(), def.GetType()});
    }
    writer.BeginLayer(definition);
    LayerPages pages(layer.GetFeatures());
    WriteRows(pages, writer);
    writer.EndLayer();
}

GeoPackage::EExisting ToExisting(EExistingLayer existing)
{
    switch (existing) {
    case EExistingLayer::Append:
        return GeoPackage::EExisting::Append;
    case EExistingLayer::Replace:
        return GeoPackage::EExisting::Replace;
    default:
        return GeoPackage::EExisting::Refuse;
    }
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
    GeoPackage::LayerDefinition definition;
    try {
        definition = MakeDefinition(request, names);
        GeoPackageWriter::Options options;
        options.progress = ProgressBridge(request.progress);
        options.isCopy = std::filesystem::exists(request.file);
        options.threads = request.target.threads;
        GeoPackageWriter writer(request.file, std::move(options));
        writer.BeginLayer(definition, ToExisting(request.target.existing));
        WriteRows(request.pages, writer);
        const GeoPackage::LayerCounts counts = writer.EndLayer();
        if (request.table != nullptr) {
            WriteTable(*request.table, request.tableName, writer);
        }
        writer.Finish();
        return MakeReport(counts, names);
    } catch (const GeoPackage::LayerExists& failure) {
        ThrowLayerExists(request.target, failure.what());
    } catch (const GeoPackage::LayerMismatch& failure) {
        FailureFields fields;
        fields.kind = EFailureKind::Output;
        fields.code = "layer-schema";
        fields.what = "The rows do not fit the layer '" + definition.name + "'.";
        fields.file = request.target.out;
        fields.cause = failure.what();
        fields.advice = "Choose the same types as when it was made, or another layer.";
        throw ImportFailure(std::move(fields));
    } catch (const WriteFailure& failure) {
        ThrowNotWritten(request, "output-write", failure.what());
    }
}

} // namespace Orvane::Import
