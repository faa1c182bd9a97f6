// Files as targets, and the choice between them and databases.
#include "CoordinateSystem.h"
#include "CountWritten.h"
#include "ExistingLayers.h"
#include "Formats.h"
#include "GdalServices.h"
#include "LayerWriter.h"
#include "OutputFile.h"
#include "ProgressMeter.h"
#include "RejectedRows.h"
#include "StreamTarget.h"
#include "Wrap.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Targets.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

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

/// ASCII case ignored, as SQLite has it.
bool IsSameName(const std::string& a, const std::string& b)
{
    const auto fold = [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&fold](char one, char other) {
        return fold(one) == fold(other);
    });
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
        RequireCreationOptions(m_format, request.creationOptions);
        RequireLayers();
        if (m_formatName == "GPKG" && NamesLayer() && m_file.IsThere()) {
            FindTables();
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
                                           m_shape.furtherTable,
                                           nullptr,
                                           progress};
                m_shape.fieldCount =
                    layer.GetSchema().GetCount() + counts.fieldsBeyondSchema.size();
                if (m_tables) {
                    PrepareCopy(request);
                }
                WriteReport report = m_format.write(request);
                m_rowsWritten = report.rows;
                m_file.Flush([&] {
                    if (!progress.Report(report.rows)) {
                        ThrowCancelled();
                    }
                });
                return report;
            });
        } catch (...) {
            progress.RethrowIfThrown();
            throw;
        }
    }

    [[nodiscard]] SideFile AddSideFile(const std::string& wanted) override
    {
        return WrapFailures(m_request.out, [&] {
            m_file.Begin();
            const std::filesystem::path& file = m_file.GetFile();
            // Rule: rows that were put aside for another layer of the file stay.
            std::string ending = wanted;
            for (int number = 2; m_tables && std::filesystem::exists(file.native() + ending);
                 ++number) {
                ending = "." + std::to_string(number) + wanted;
            }
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
        const std::string wanted = table.GetName().ToUtf8();
        m_shape.furtherTable = wanted;
        for (int number = 2; HasTable(m_shape.furtherTable); ++number) {
            m_shape.furtherTable = wanted + "_" + std::to_string(number);
        }
        return m_shape.furtherTable;
    }

    void Commit() override
    {
        WrapFailures(m_request.out, [&] {
            const std::filesystem::path rejected =
                m_file.GetFile().native() + std::string(kRejectedEnding);
            if (!m_tables && IsRejectedFile(rejected)) {
                m_file.RemoveWithCommit(rejected);
            }
            m_file.Commit();
        });
    }

    [[nodiscard]] TargetCounts CountWritten(const Callbacks& callbacks) override
    {
        return WrapFailures(m_request.out, [&] {
            ProgressMeter progress(callbacks, EPhase::Written, m_rowsWritten);
            const auto follow = [&](std::uint64_t rows) {
                static_cast<void>(progress.Report(rows));
            };
            try {
                const TargetCounts now =
                    CountFile(m_file.GetFile(), m_format, m_shape, m_request.threads, follow);
                return TargetCounts{now.rows - m_before.rows, now.points - m_before.points};
            } catch (const std::runtime_error& error) {
                ThrowNotRead(m_request.out, error.what());
            }
        });
    }

private:
    [[nodiscard]] bool NamesLayer() const
    {
        return !m_request.layer.empty() || m_request.existing != EExistingLayer::Refuse;
    }

    /// Rule: a wish that the format cannot fulfil is refused, not passed over.
    void RequireLayers() const
    {
        const bool isRefused = m_formatName == "GPKG" ? false
                               : m_format.namesLayer  ? m_request.existing != EExistingLayer::Refuse
                                                      : NamesLayer();
        if (isRefused) {
            FailureFields fields;
            fields.kind = EFailureKind::Request;
            fields.code = "one-layer";
            fields.what = "A file of the format " + m_formatName + " holds one layer" +
                          (m_format.namesLayer ? ", which is always replaced."
                                               : ", which has no name and is always replaced.");
            fields.value = m_request.out;
            throw ImportFailure(std::move(fields));
        }
    }

    /// Looks into the file that is added to.
    void FindTables()
    {
        std::string reason = "It is no GeoPackage.";
        try {
            m_tables = ListTables(m_file.GetFile());
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        if (!m_tables) {
            FailureFields fields;
            fields.kind = EFailureKind::Output;
            fields.code = "output-write";
            fields.what = "A layer cannot be added to the output.";
            fields.file = m_request.out;
            fields.cause = reason;
            throw ImportFailure(std::move(fields));
        }
        // Rule: what is refused whatever the rows is refused before they are read.
        if (m_request.existing == EExistingLayer::Refuse && HasTable(m_request.layer)) {
            ThrowLayerExists(m_request, GeoPackage::LayerExists(m_request.layer).what());
        }
    }

    [[nodiscard]] bool HasTable(const std::string& name) const
    {
        return m_tables && std::any_of(m_tables->begin(), m_tables->end(), [&](const auto& table) {
                   return IsSameName(table, name);
               });
    }

    /// Rule: a file with several layers is added to in a copy, which replaces it when complete.
    void PrepareCopy(const WriteRequest& request)
    {
        std::vector<Note> notes; // those of the name come with writing
        m_shape.onlyTable = NameLayer(request, notes);
        m_file.CopyOld([&] {
            if (!request.progress.Report(0)) {
                ThrowCancelled();
            }
        });
        if (m_request.existing == EExistingLayer::Append) {
            m_before =
                CountFile(request.file, m_format, m_shape, m_request.threads, [&](std::uint64_t) {
                    if (!request.progress.Report(0)) {
                        ThrowCancelled();
                    }
                });
        }
    }

    TargetRequest m_request;
    const ExportFormat& m_format;
    std::string m_formatName;
    std::shared_ptr<const KnownSystem> m_coordSys;
    const BVectorLayer* m_table = nullptr; ///< not owned
    WrittenShape m_shape;
    std::uint64_t m_rowsWritten = 0;
    OutputFile m_file;
    /// Of the file that is added to; nothing when the output is made anew.
    std::optional<std::vector<std::string>> m_tables;
    TargetCounts m_before; ///< of the layer that is appended to
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
    try {
        auto* const show = LoadGdal().showDatabase;
        return show == nullptr ? "PG:" : show(out);
    } catch (const ImportFailure&) {
        // Rule: what cannot be read for passwords is not shown.
        return "PG:";
    }
}

std::unique_ptr<Target> OpenTarget(const TargetRequest& request)
{
    if (NamesDatabase(request.out)) {
        // What is wrong with the request itself is said before anybody is connected to.
        static_cast<void>(FindCoordinateSystem(request.crs));
        if (!request.format.empty() || !request.creationOptions.empty()) {
            FailureFields fields;
            fields.kind = EFailureKind::Request;
            fields.code = "creation-option";
            fields.what = request.creationOptions.empty()
                              ? "A database has no format: it gets a table."
                              : "A table of a database has no creation options.";
            fields.value =
                request.creationOptions.empty() ? request.format : request.creationOptions.front();
            throw ImportFailure(std::move(fields));
        }
        if (auto* const open = LoadGdal().openDatabase) {
            return open(request);
        }
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "no-database-driver";
        fields.what = "This build writes no PostgreSQL databases.";
        fields.cause = "It was made without libpq.";
        fields.advice = "Install libpq-dev and build again.";
        throw ImportFailure(std::move(fields));
    }
    return WrapFailures(request.out, [&]() -> std::unique_ptr<Target> {
        if (request.out == kStandardOutput) {
            return OpenStreamTarget(request);
        }
        if (std::error_code error; std::filesystem::is_directory(request.out, error)) {
            // Throws: a folder is told as such, whatever its name.
            const OutputFile folder(request.out, request.input);
        }
        return std::make_unique<FileTarget>(request);
    });
}

} // namespace Orvane::Import
