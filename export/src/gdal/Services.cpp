// What the library exports: the functions that the import library asks for by name.
#include "CoordinateSystems.h"
#include "CountByGdal.h"
#include "GdalFormats.h"
#include "GdalServices.h"
#include "GdalWriter.h"

#ifdef ORVANE_HAS_POSTGIS
#include "postgis/ConnectionText.h"
#include "postgis/PostgisTarget.h"
#endif

#include <cstddef>

namespace {

#ifdef ORVANE_HAS_POSTGIS
std::string ShowDatabase(const std::string& out)
{
    return Orvane::Postgres::ShowConnection(out);
}

constexpr auto* kShowDatabase = &ShowDatabase;
constexpr auto* kOpenDatabase = &Orvane::Import::OpenPostgisTarget;
#else
constexpr std::nullptr_t kShowDatabase = nullptr;
constexpr std::nullptr_t kOpenDatabase = nullptr;
#endif

} // namespace

extern "C" {

__attribute__((
    visibility("default"))) extern const Orvane::Import::SystemServices kOrvaneSystemServices;
__attribute__((
    visibility("default"))) extern const Orvane::Import::GdalServices kOrvaneGdalServices;

const Orvane::Import::SystemServices kOrvaneSystemServices = {
    .identify = &Orvane::Import::Gdal::IdentifySystem,
    .rank = &Orvane::Import::Gdal::RankSystems,
};

const Orvane::Import::GdalServices kOrvaneGdalServices = {
    .findSystem = &Orvane::Import::Gdal::FindSystem,
    .findFormat = &Orvane::Import::Gdal::FindFormat,
    .requireCreationOptions = &Orvane::Import::Gdal::RequireCreationOptions,
    .listFormats = &Orvane::Import::Gdal::ListFormats,
    .write = &Orvane::Import::Gdal::Write,
    .count = &Orvane::Import::Gdal::Count,
    .showDatabase = kShowDatabase,
    .openDatabase = kOpenDatabase,
};

} // extern "C"
