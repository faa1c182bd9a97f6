// Writes text formats to standard output.
#include "StreamTarget.h"

#include "CoordinateSystem.h"
#include "CountWritten.h"
#include "Formats.h"
#include "LayerWriter.h"
#include "ProgressMeter.h"
#include "RejectedFile.h"
#include "Wrap.h"
#include "text/TextCounter.h"

#include <Orvane/Import/Failure.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace Orvane::Import {

namespace {

/// Rule: formats that are no text are refused, since their writers go back in the file.
const ExportFormat& FindTextFormat(const TargetRequest& request)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "unknown-format";
    fields.nearest = {"CSV", "GeoJSON", "GeoJSONSeq"};
    fields.value = request.format;
    fields.what = "Standard output needs the name of a text format: CSV, GeoJSON or GeoJSONSeq.";
    if (request.format.empty()) {
        throw ImportFailure(std::move(fields));
    }
    const ExportFormat& format = FindExportFormat(request.out, request.format);
    if (!MakeTextCounter(format, {})) {
        throw ImportFailure(std::move(fields));
    }
    return format;
}

class StreamTarget : public Target
{
public:
    explicit StreamTarget(const TargetRequest& request)
        : m_request(request)
        , m_format(FindTextFormat(request))
        , m_formatName(m_format.driver)
        , m_coordSys(FindCoordinateSystem(request.crs))
        , m_shape{0, request.hasGeometry, request.hasNames, {}}
    {}

    ~StreamTarget() override = default;

    [[nodiscard]] const std::string& GetName() const noexcept override { return m_request.out; }

    [[nodiscard]] const std::string& GetFormat() const noexcept override { return m_formatName; }

    [[nodiscard]] WriteReport WritePages(const BVectorLayer& layer,
                                         const LayerCounts& counts,
                                         PageSource& pages,
                                         const Callbacks& callbacks) override
    {
        ProgressMeter progress(callbacks, EPhase::Writing, counts.rows);
        try {
            return WrapFailures(m_request.out, [&] {
                m_shape.fieldCount =
                    layer.GetSchema().GetCount() + counts.fieldsBeyondSchema.size();
                m_counter = MakeTextCounter(m_format, m_shape);
                const OutputStream stream{
                    STDOUT_FILENO, [this](std::string_view bytes) { m_counter->Consume(bytes); }};
                const BVectorLayer* const noTable = nullptr;
                return m_format.write({layer,
                                       counts,
                                       pages,
                                       m_format,
                                       m_request.out,
                                       m_request,
                                       m_coordSys,
                                       noTable,
                                       m_shape.furtherTable,
                                       &stream,
                                       progress});
            });
        } catch (...) {
            progress.RethrowIfThrown();
            throw;
        }
    }

    /// Rule: beside standard output is the working folder, and the file's name is that of the
    /// input.
    [[nodiscard]] SideFile AddSideFile(const std::string& ending) override
    {
        const std::string name = std::filesystem::path(m_request.input).filename().native();
        return m_rejected.Add((name.empty() ? "rows" : name) + ending, m_request.input);
    }

    std::string AddTable(const BVectorLayer& /*table*/) override { return {}; }

    void Commit() override { m_rejected.Commit(); }

    [[nodiscard]] TargetCounts CountWritten(const Callbacks& /*callbacks*/) override
    {
        return m_counter ? m_counter->GetCounts() : TargetCounts();
    }

private:
    TargetRequest m_request;
    const ExportFormat& m_format;
    std::string m_formatName;
    std::shared_ptr<const KnownSystem> m_coordSys;
    WrittenShape m_shape;
    RejectedFile m_rejected;
    std::unique_ptr<TextCounter> m_counter;
};

} // namespace

std::unique_ptr<Target> OpenStreamTarget(const TargetRequest& request)
{
    return std::make_unique<StreamTarget>(request);
}

} // namespace Orvane::Import
