// A host without Qt: loads the module, reads a small file through the SDK and prints its points.
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <string>
#include <unistd.h>

#if defined(QT_VERSION) || defined(QT_CORE_LIB)
#error "this program is built without Qt"
#endif

namespace {

int Fail(const std::string& text)
{
    std::fprintf(stderr, "plain_host: %s\n", text.c_str());
    return EXIT_FAILURE;
}

int Read(Orvane::BDataManagerProxy& proxy, const std::string& path)
{
    if (!proxy.CanRead(Orvane::DS_CSV)) {
        return Fail("the module does not read DS_CSV");
    }
    Orvane::BParamList options;
    options.Add(Orvane::X_COLUMN, 0);
    options.Add(Orvane::Y_COLUMN, 1);
    options.Add(Orvane::FIRST_LINE_COLUMN_NAMES, true);
    Orvane::BDataReader* reader = proxy.CreateReader(path, options, nullptr, nullptr);
    reader->Open(path, options);
    reader->Read();
    Orvane::BVectorLayer& layer = *reader->GetLayers().GetAt(0);
    std::string text;
    for (std::size_t row = 0; row < layer.GetFeatures().GetCount(); ++row) {
        const auto feature = layer.GetFeatures().GetAt(row);
        const Orvane::BPointGeo* point = feature->GetPoint();
        if (point == nullptr) {
            return Fail("a row has no point");
        }
        char line[128];
        std::snprintf(line,
                      sizeof line,
                      "%s %g %g %s\n",
                      feature->GetName().ToUtf8().c_str(),
                      point->GetX(),
                      point->GetY(),
                      feature->GetAttributeValue(0).GetString().ToUtf8().c_str());
        text += line;
    }
    reader->Close();
    proxy.DestroyObject(reader);
    std::fputs(text.c_str(), stdout);
    if (text != "1 1.5 -2.25 Ann\n2 3 4 Bob\n") {
        return Fail("the points are not those of the file");
    }

    // The host catches an exception of the module by its class.
    Orvane::BDataReader* missing = proxy.CreateReader(path + "x.csv", {}, nullptr, nullptr);
    bool isCaught = false;
    try {
        missing->Open(path + "x.csv", {});
    } catch (const Orvane::BFileNotFoundException& error) {
        isCaught = error.GetLocation() == Orvane::BString("BAsciiFile::Open");
    }
    missing->Close();
    proxy.DestroyObject(missing);
    return isCaught ? EXIT_SUCCESS : Fail("a missing file is not BFileNotFoundException");
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        return Fail("usage: plain_host MODULE");
    }
    void* module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return Fail(dlerror());
    }
    const auto getProxy = reinterpret_cast<Orvane::GetDataMgrProxyFunction>(
        dlsym(module, Orvane::kGetDataMgrProxyName));
    if (getProxy == nullptr || getProxy() == nullptr || getProxy() != getProxy()) {
        return Fail("the module has no proxy");
    }

    char folder[] = "/tmp/orvaneXXXXXX";
    if (mkdtemp(folder) == nullptr) {
        return Fail("no temporary folder can be made");
    }
    const std::string path = std::string(folder) + "/points.csv";
    std::ofstream(path, std::ios::binary) << "x,y,name\n1.5,-2.25,Ann\n3,4,Bob\n";
    int status = EXIT_FAILURE;
    try {
        status = Read(*getProxy(), path);
    } catch (const Orvane::BException& error) {
        status = Fail(error.GetMessage().ToUtf8() + " (" + error.GetLocation().ToUtf8() + ")");
    }
    unlink(path.c_str());
    rmdir(folder);
    dlclose(module);
    return status;
}
