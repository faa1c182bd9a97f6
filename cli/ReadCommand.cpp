// `orvane read`: the bare reader protocol, its layer printed.
#include "Commands.h"
#include "Interrupt.h"
#include "LayerJson.h"
#include "LayerWords.h"
#include "NoteLine.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Module.h>
#include <Orvane/Import/Session.h>

#include <algorithm>

namespace OrvaneHost {

namespace {

namespace Import = Orvane::Import;

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
               const Import::Session& session)
{
    JsonWriter json(output);
    json.Raw("{\"ok\":true,\"layer\":");
    WriteLayerJson(json, layer);
    json.Raw(",\"records_read\":");
    json.Number(static_cast<std::int64_t>(session.GetRecordsRead()));
    json.Raw(",\"failure_flag\":");
    json.Number(std::int64_t{session.GetFailureFlag()});
    json.Raw(",\"status\":");
    json.Number(std::int64_t{session.GetStatus()});
    json.Raw("}\n");
}

void PrintText(TextOutput& output, Orvane::BVectorLayer& layer, const Import::Session& session)
{
    const Import::LayerCounts counts = Import::CountLayer(layer);
    output.Write("Layer:     " + TerminalText::Escape(layer.GetName()) + "\n");
    output.Write("Records:   " + std::to_string(session.GetRecordsRead()) + " read");
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

void RunRead(const ReadArguments& arguments)
{
    const Import::DiskCache diskCache(arguments.diskCache);
    const Orvane::BPluginModule module =
        Import::LoadModuleFor(arguments.file, arguments.params, arguments.plugin, PrintNote);
    const Import::DiskCacheChoice cache =
        diskCache.Choose(module, arguments.file, arguments.params);
    Import::Session session(module, arguments.file, arguments.params);
    if (cache.isUsed) {
        session.UseDiskCache(cache.baseName);
    }
    session.UseThreads(arguments.threads);
    session.Open();
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = session.GetLayer();
    {
        const Interrupt::PhaseScope phase(Interrupt::EPhase::Reading);
        Import::Callbacks callbacks;
        callbacks.cancel = &Interrupt::GetFlag();
        session.Read(callbacks);
    }
    session.Close();
    TextOutput output;
    if (arguments.isJson) {
        PrintJson(output, *layer, session);
    } else {
        PrintText(output, *layer, session);
    }
    output.Flush();
}

} // namespace OrvaneHost
