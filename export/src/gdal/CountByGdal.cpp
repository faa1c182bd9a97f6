// Reads the file by the driver that has written it.
#include "CountByGdal.h"

#include "CheckedFiles.h"
#include "GdalScope.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <array>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Gdal {

namespace {

/// Rows between two calls of `follow`, of drivers that need up to 40 microseconds per row.
constexpr std::uint64_t kRowsOfDriver = 1024;

/// A file of tables alone shows SQLite's own one, too; no other may have a name that begins so.
bool IsOfSqliteItself(const ExportFormat& format, OGRLayer& layer)
{
    return format.driver == std::string_view("SQLite") &&
           std::string_view(layer.GetName()).starts_with("sqlite_");
}

} // namespace

TargetCounts Count(const std::filesystem::path& file,
                   const ExportFormat& format,
                   const std::function<void(std::uint64_t rows)>& follow)
{
    RegisterDrivers();
    const GdalMessages messages;
    const std::array<const char*, 2> drivers = {format.driver, nullptr};
    TargetCounts counts;
    // Some drivers read all of a file when they open it.
    std::exception_ptr thrown;
    const CheckedFiles files(CheckedFiles::EUse::Reading, [&] {
        if (thrown == nullptr) {
            try {
                follow(counts.rows);
            } catch (...) {
                thrown = std::current_exception();
            }
        }
        return thrown == nullptr;
    });
    const std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open(files.NameFor(file.native()).c_str(),
                          GDAL_OF_VECTOR | GDAL_OF_READONLY,
                          drivers.data(),
                          nullptr,
                          nullptr));
    if (dataset) {
        for (OGRLayer* layer : dataset->GetLayers()) {
            if (IsOfSqliteItself(format, *layer)) {
                continue;
            }
            OGRFeatureDefn& definition = *layer->GetLayerDefn();
            std::vector<const char*> ignored;
            ignored.reserve(static_cast<std::size_t>(definition.GetFieldCount()) + 1);
            for (int index = 0; index < definition.GetFieldCount(); ++index) {
                ignored.push_back(definition.GetFieldDefn(index)->GetNameRef());
            }
            ignored.push_back(nullptr);
            static_cast<void>(layer->SetIgnoredFields(ignored.data()));
            for (const auto& feature : *layer) {
                if (++counts.rows % kRowsOfDriver == 0) {
                    follow(counts.rows);
                }
                const OGRGeometry* geometry = feature->GetGeometryRef();
                counts.points += geometry != nullptr && geometry->IsEmpty() == 0 ? 1U : 0U;
            }
        }
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
    if (const std::string reason = files.GetFailure(); !reason.empty()) {
        throw std::runtime_error(reason);
    }
    if (!dataset || messages.HasError()) {
        throw std::runtime_error(messages.GetError());
    }
    return counts;
}

} // namespace Orvane::Import::Gdal
