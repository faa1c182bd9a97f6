// `orvane read`: the bare reader protocol, its layer printed.
#include "Commands.h"
#include "DiskCache.h"
#include "Interrupt.h"
#include "LayerJson.h"
#include "LayerSummary.h"
#include "ReadProgress.h"
#include "ReaderSession.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/BPointGeo.h>

#include <algorithm>

namespace OrvaneHost {

namespace {

constexpr std::size_t kShownFeatures = 5;
constexpr std::size_t kWidestValue = 60;

std::string DescribeFeature(const Orvane::BFeature& feature)
{
    std::string line = "  " + TerminalText::EscapeAndCut(feature.GetName(), kWidestValue);
    if (const Orvane::BPointGeo* point = feature.GetPoint()) {
        line += "  (" + FormatNumber(point->GetX()) + ", " + FormatNumber(point->GetY());
        line += point->HasZ() ? ", " + FormatNumber(point->GetZ()) + ")" : ")";
    } else {
        line += "  no geometry";
    }
    const Orvane::BAttributes& attributes = feature.GetAttributes();
    for (std::size_t index = 0; index < attributes.GetCount(); ++index) {
        const Orvane::BVariant& value = attributes.GetValueAt(index);
        line += "  " + TerminalText::EscapeAndCut(attributes.GetNameAt(index), kWidestValue) + "=";
        line += value.GetType() == Orvane::EVariantType::String
                    ? TerminalText::EscapeAndCut(value.GetString(), kWidestValue)
                    : TerminalText::Cut(FormatValue(value), kWidestValue);
    }
    return line + "\n";
}

void PrintJson(TextOutput& output,
               const Orvane::BVectorLayer& layer,
               const ReaderSession& session,
               unsigned recordsRead)
{
    JsonWriter json(output);
    json.Raw("{\"ok\":true,\"layer\":");
    WriteLayerJson(json, layer);
    json.Raw(",\"records_read\":");
    json.Number(std::int64_t{recordsRead});
    json.Raw(",\"failure_flag\":");
    json.Number(std::int64_t{session.GetFailureFlag()});
    json.Raw(",\"status\":");
    json.Number(std::int64_t{session.GetStatus()});
    json.Raw("}\n");
}

void PrintText(TextOutput& output,
               Orvane::BVectorLayer& layer,
               const ReaderSession& session,
               unsigned recordsRead)
{
    const LayerCounts counts = CountLayer(layer);
    output.Write("Layer:     " + TerminalText::Escape(layer.GetName()) + "\n");
    output.Write("Records:   " + std::to_string(recordsRead) + " read");
    output.Write(session.GetFailureFlag() != 0 ? ", stopped at MAX_RECORDS\n" : "\n");
    output.Write("Features:  " + std::to_string(counts.rows) + ", " +
                 std::to_string(counts.points) + " with a point, " +
                 std::to_string(counts.GetWithoutGeometry()) + " without\n");
    output.Write("Extent:    " + DescribeExtent(layer.GetMBB()) + "\n");
    output.Write("Schema:    " + std::to_string(layer.GetSchema().GetCount()) + " columns\n");
    output.Write(DescribeSchema(layer.GetSchema()));
    Orvane::BFeatureCollection& features = layer.GetFeatures();
    const std::size_t shown = std::min(features.GetCount(), kShownFeatures);
    if (shown > 0) {
        output.Write("First features:\n");
    }
    for (std::size_t row = 0; row < shown; ++row) {
        output.Write(DescribeFeature(*features.GetAt(row)));
    }
}

} // namespace

void RunRead(Orvane::BDataManagerProxy& proxy, const ReadArguments& arguments)
{
    const DiskCacheChoice cache =
        DiskCache(arguments.diskCache).Choose(proxy, arguments.file, arguments.params);
    ReaderSession session(proxy, arguments.file, arguments.params);
    if (cache.isUsed) {
        session.UseDiskCache(cache.baseName);
    }
    session.Open();
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = session.GetLayer();
    ReadProgress progress(nullptr);
    {
        const Interrupt::PhaseScope phase(Interrupt::EPhase::Reading);
        session.Read(progress);
    }
    Interrupt::ThrowIfRequested();
    session.Close();
    TextOutput output;
    if (arguments.isJson) {
        PrintJson(output, *layer, session, progress.GetLastCount());
    } else {
        PrintText(output, *layer, session, progress.GetLastCount());
    }
    output.Flush();
}

} // namespace OrvaneHost
