// A host of an outside project: makes a layer of its own, and reads one through the plug-in.
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BString.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <cstring>
#include <dlfcn.h>
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

void ReadLayer(Orvane::BDataManagerProxy& proxy, const Orvane::BString& path)
{
    Orvane::BParamList options;
    options.Add(Orvane::X_COLUMN, 2);
    options.Add(Orvane::Y_COLUMN, 1);
    options.Add(Orvane::FIRST_LINE_COLUMN_NAMES, true);
    Orvane::BDataReader* reader = proxy.CreateReader(path, options, nullptr, nullptr);
    reader->Open(path, options);
    reader->Read();
    const Orvane::BVectorLayer& layer = *reader->GetLayers().GetAt(0);
    std::cout << "read layer: " << layer.GetName().ToUtf8() << ", "
              << layer.GetFeatures().GetCount() << " features\n";
    reader->Close();
    proxy.DestroyObject(reader);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3) {
        std::cerr << "usage: outside_host MODULE FILE\n";
        return 2;
    }
    MakeLayer();
    void* module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    void* symbol = module == nullptr ? nullptr : dlsym(module, Orvane::kGetDataMgrProxyName);
    if (symbol == nullptr) {
        std::cerr << dlerror() << '\n';
        return 1;
    }
    Orvane::GetDataMgrProxyFunction getProxy = nullptr;
    std::memcpy(&getProxy, &symbol, sizeof getProxy);
    try {
        ReadLayer(*getProxy(), arguments[2]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    dlclose(module);
    return 0;
}
