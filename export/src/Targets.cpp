// Files as targets, and the choice between them and databases.
#include "CoordinateSystem.h"
#include "CountWritten.h"
#include "Formats.h"
#include "LayerWriter.h"
#include "OutputFile.h"
#include "ProgressMeter.h"
#include "RejectedRows.h"
#include "StreamTarget.h"
#include "Wrap.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Targets.h>

#ifdef ORVANE_HAS_POSTGIS
#include "postgis/ConnectionText.h"
#include "postgis/PostgisTarget.h"
#endif

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

[[noreturn]] void ThrowNotHeld(const std::string& shownPath)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = "output-write";
    fields.what = "The output cannot be written.";
    fields.file = shownPath;
    fields.cause = "FlatGeobuf files hold no rows without geometry; .gpkg and .csv files do.";
    throw ImportFailure(std::move(fields));
}

[[noreturn]] void ThrowNotRead(const std::string& shownPath, const std::string& reason)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = "output-write";
    fields.what = "The output that was written cannot be read back.";
    fields.file = shownPath;
    fields.cause = reason;
    throw ImportFailure(std::move(fields));
}

/// A file that replaces the old one when it is complete.
class FileTarget : public Target
{
public:
    explicit FileTarget(const TargetRequest& request)
        : m_request(request)
        , m_format(FindExportFormat(request.out, request.format))
        , m_formatName(m_format.driver)
        , m_coordSys(FindCoordinateSystem(request.crs))
        , m_shape{0, request.hasGeometry, request.hasNames, {}}
        , m_file(request.out, request.input)
    {
        // Rule: what the format cannot hold at all is refused before anything is read.
        if (!request.hasGeometry && m_formatName == "FlatGeobuf") {
            ThrowNotHeld(request.out);
        }
    }

    ~FileTarget() override = default;

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
                m_file.Begin();
                const WriteRequest request{layer,
                                           counts,
                                           pages,
                                           m_format,
                                           m_file.GetWorkFile(),
                                           m_request,
                                           m_coordSys,
                                           m_table,
                                           nullptr,
                                           progress};
                m_shape.fieldCount =
                    layer.GetSchema().GetCount() + counts.fieldsBeyondSchema.size();
                return m_format.write(request);
            });
        } catch (...) {
            progress.RethrowIfThrown();
            throw;
        }
    }

    [[nodiscard]] SideFile AddSideFile(const std::string& ending) override
    {
        return WrapFailures(m_request.out, [&] {
            m_file.Begin();
            const std::filesystem::path& file = m_file.GetFile();
            const bool isLink = std::filesystem::path(m_request.out).filename() != file.filename();
            return SideFile{m_file.GetWorkFile().native() + ending,
                            file.native() + ending,
                            (isLink ? file.native() : m_request.out) + ending};
        });
    }

    std::string AddTable(const BVectorLayer& table) override
    {
        if (m_formatName != "GPKG") {
            return {};
        }
        m_table = &table;
        m_shape.furtherTable = table.GetName().ToUtf8();
        return m_shape.furtherTable;
    }

    void Commit() override
    {
        WrapFailures(m_request.out, [&] {
            const std::filesystem::path rejected =
                m_file.GetFile().native() + std::string(kRejectedEnding);
            if (IsRejectedFile(rejected)) {
                m_file.RemoveWithCommit(rejected);
            }
            m_file.Commit();
        });
    }

    [[nodiscard]] TargetCounts CountWritten() override
    {
        return WrapFailures(m_request.out, [&] {
            try {
                return CountFile(m_file.GetFile(), m_format, m_shape);
            } catch (const std::runtime_error& error) {
                ThrowNotRead(m_request.out, error.what());
            }
        });
    }

private:
    TargetRequest m_request;
    const ExportFormat& m_format;
    std::string m_formatName;
    std::shared_ptr<OGRSpatialReference> m_coordSys;
    const BVectorLayer* m_table = nullptr; ///< not owned
    WrittenShape m_shape;
    OutputFile m_file;
};

} // namespace

bool NamesDatabase(const std::string& out)
{
    constexpr std::string_view kBegins[] = {"pg:", "postgresql://", "postgres://"};
    return std::any_of(std::begin(kBegins), std::end(kBegins), [&out](std::string_view begin) {
        return out.size() >= begin.size() &&
               std::equal(begin.begin(), begin.end(), out.begin(), [](char wanted, char byte) {
                   return wanted == (byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
               });
    });
}

std::string ShowTarget(const std::string& out)
{
    if (!NamesDatabase(out)) {
        return out;
    }
#ifdef ORVANE_HAS_POSTGIS
    return Postgres::ShowConnection(out);
#else
    return "PG:";
#endif
}

std::unique_ptr<Target> OpenTarget(const TargetRequest& request)
{
    if (NamesDatabase(request.out)) {
#ifdef ORVANE_HAS_POSTGIS
        return OpenPostgisTarget(request);
#else
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "no-database-driver";
        fields.what = "This build writes no PostgreSQL databases.";
        fields.cause = "It was made without libpq.";
        fields.advice = "Install libpq-dev and build again.";
        throw ImportFailure(std::move(fields));
#endif
    }
    return WrapFailures(request.out, [&]() -> std::unique_ptr<Target> {
        if (request.out == kStandardOutput) {
            return OpenStreamTarget(request);
        }
        return std::make_unique<FileTarget>(request);
    });
}

} // namespace Orvane::Import
