// Files as targets.
#include "CoordinateSystem.h"
#include "Formats.h"
#include "LayerWriter.h"
#include "OutputFile.h"
#include "ProgressMeter.h"
#include "Wrap.h"

#include <Orvane/Import/Targets.h>

#include <utility>

namespace Orvane::Import {

namespace {

/// A file that replaces the old one when it is complete.
class FileTarget : public Target
{
public:
    explicit FileTarget(const TargetRequest& request)
        : m_name(request.out)
        , m_format(FindExportFormat(request.out))
        , m_formatName(m_format.driver)
        , m_coordSys(FindCoordinateSystem(request.crs))
        , m_file(request.out, request.input)
    {}

    ~FileTarget() override = default;

    [[nodiscard]] const std::string& GetName() const noexcept override { return m_name; }

    [[nodiscard]] const std::string& GetFormat() const noexcept override { return m_formatName; }

    [[nodiscard]] WriteReport
    Write(const BVectorLayer& layer, const LayerCounts& counts, const Callbacks& callbacks) override
    {
        ProgressMeter progress(callbacks, EPhase::Writing, counts.rows);
        try {
            return WrapFailures(m_name, [&] {
                m_file.Begin();
                const WriteRequest request{
                    layer, counts, m_format, m_file.GetWorkFile(), m_name, m_coordSys, progress};
                return m_formatName == "GPKG" ? WriteGeoPackage(request) : WriteByGdal(request);
            });
        } catch (...) {
            progress.RethrowIfThrown();
            throw;
        }
    }

    void Commit() override
    {
        WrapFailures(m_name, [&] { m_file.Commit(); });
    }

private:
    std::string m_name;
    const ExportFormat& m_format;
    std::string m_formatName;
    std::shared_ptr<OGRSpatialReference> m_coordSys;
    OutputFile m_file;
};

} // namespace

std::unique_ptr<Target> OpenTarget(const TargetRequest& request)
{
    return WrapFailures(request.out, [&]() -> std::unique_ptr<Target> {
        return std::make_unique<FileTarget>(request);
    });
}

} // namespace Orvane::Import
