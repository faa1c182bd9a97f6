// Loads the library from beside this one.
#include "GdalLibrary.h"

#include "ModuleFolder.h"

#include <Orvane/Import/Failure.h>

#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr const char* kName = "liborvanegdal.so." ORVANE_GDAL_VERSION;

[[noreturn]] void FailToLoad(const std::filesystem::path& file)
{
    const char* const reason = dlerror();
    FailureFields fields;
    fields.kind = EFailureKind::Module;
    fields.code = "library-load";
    fields.what = "The library <" + file.native() + "> cannot be loaded.";
    fields.cause = reason != nullptr ? reason : "The system gives no reason.";
    std::error_code error;
    fields.advice = std::filesystem::exists(file, error)
                        ? "Install what it needs: GDAL, PROJ and libpq."
                        : "Install the program again: the library belongs to it.";
    throw ImportFailure(std::move(fields));
}

/// Never closed: GDAL registers what stays until the program ends.
void* Load()
{
    const std::filesystem::path file = FindLibraryFolder() / kName;
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        FailToLoad(file);
    }
    return library;
}

} // namespace

const void* FindInGdalLibrary(const char* name)
{
    static void* const library = Load();
    const void* const found = dlsym(library, name);
    if (found == nullptr) {
        FailToLoad(FindLibraryFolder() / kName);
    }
    return found;
}

} // namespace Orvane::Import
