// Shows how a host reads a file: load the plug-in, open, read, look at the layer, close.
//
// Usage: list_layer MODULE FILE [KEY=VALUE]...
// Read first: docs/sdk.md.
#include "ExampleSupport.h"

#include <Orvane/BPluginModule.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorLayer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>

namespace {

void PrintLayer(Orvane::BVectorLayer& layer)
{
    std::cout << "layer " << layer.GetName().ToUtf8() << '\n';
    const Orvane::BAttributeDefs& schema = layer.GetSchema();
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        std::cout << "column " << schema.GetAt(index).GetName().ToUtf8() << " of type "
                  << static_cast<std::int32_t>(schema.GetAt(index).GetType()) << '\n';
    }

    Orvane::BFeatureCollection& features = layer.GetFeatures();
    std::cout << features.GetCount() << " features\n";
    constexpr std::size_t kMostShown = 3;
    for (std::size_t row = 0; row < std::min(features.GetCount(), kMostShown); ++row) {
        const Orvane::BSharedPtr<Orvane::BFeature> feature = features.GetAt(row);
        std::cout << "feature " << feature->GetName().ToUtf8();
        if (const Orvane::BPointGeo* point = feature->GetPoint()) {
            std::cout << " at " << point->GetX() << ' ' << point->GetY();
        }
        std::cout << ':';
        for (std::size_t index = 0; index < feature->GetAttributeCount(); ++index) {
            std::cout << ' ' << feature->GetAttributeValue(index).GetString().ToUtf8() << ';';
        }
        std::cout << '\n';
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 3) {
        std::cerr << "usage: list_layer MODULE FILE [KEY=VALUE]...\n";
        return 2;
    }
    return Examples::Run([&] {
        const Orvane::BParamList options = Examples::ParseOptions(argumentCount, arguments, 3);
        const Orvane::BPluginModule module(arguments[1]);
        const Orvane::BReaderHandle reader = module.CreateReader(arguments[2], options);
        reader->Open(arguments[2], options);
        reader->Read();
        PrintLayer(*reader->GetLayers().GetAt(0));
        reader->Close();
    });
}
