// A host of an outside project: makes a layer of its own and reads one through the plug-in.
#include <Orvane/BPluginModule.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BString.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <exception>
#include <iostream>

namespace {

void MakeLayer()
{
    Orvane::BVectorLayer layer;
    layer.SetName(u"own");
    const Orvane::BSharedPtr<Orvane::BFeature> feature = Orvane::MakeShared<Orvane::BFeature>();
    feature->SetName(Orvane::BString::FromInteger(1));
    feature->SetGeometry(Orvane::MakeShared<Orvane::BPointGeo>(1.5, 2.5));
    layer.GetFeatures().Add(feature);
    std::cout << layer.GetName().ToUtf8() << " layer: " << layer.GetFeatures().GetCount()
              << " feature\n";
}

void ReadLayer(const Orvane::BPluginModule& module, const Orvane::BString& path)
{
    Orvane::BParamList options;
    options.Add(Orvane::X_COLUMN, 2);
    options.Add(Orvane::Y_COLUMN, 1);
    options.Add(Orvane::FIRST_LINE_COLUMN_NAMES, true);
    const Orvane::BReaderHandle reader = module.CreateReader(path, options);
    reader->Open(path, options);
    reader->Read();
    const Orvane::BVectorLayer& layer = *reader->GetLayers().GetAt(0);
    std::cout << "read layer: " << layer.GetName().ToUtf8() << ", "
              << layer.GetFeatures().GetCount() << " features\n";
    reader->Close();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3) {
        std::cerr << "usage: outside_host MODULE FILE\n";
        return 2;
    }
    MakeLayer();
    try {
        ReadLayer(Orvane::BPluginModule(arguments[1]), arguments[2]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
