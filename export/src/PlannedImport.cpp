// A whole import by a plan: plan, layer, target, ledger.
#include "PlannedImport.h"

#include "DiskCacheEstimate.h"
#include "ImportPhases.h"
#include "LayerCounter.h"
#include "PagePipe.h"
#include "RejectedRows.h"
#include "ledger/Balance.h"
#include "ledger/Questions.h"
#include "ledger/Replay.h"
#include "table/Table.h"

#include <Orvane/Import/Columns.h>
#include <Orvane/Import/DiskCache.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Targets.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

constexpr const char* kUndefinedCartesian = "undefined Cartesian";
constexpr const char* kUndefinedGeographic = "undefined geographic";

/// Whether the points of a format are degrees of WGS 84, whatever it is given.
bool HoldsDegrees(std::string_view format)
{
    constexpr std::string_view kFormats[] = {
        "GeoJSON", "GeoJSONSeq", "KML", "LIBKML", "GPX", "GeoRSS"};
    return std::find(std::begin(kFormats), std::end(kFormats), format) != std::end(kFormats);
}

/// The first cell that the plan shows of those that speak for a type; empty without one.
std::string FindSample(const PlanColumn& column, std::string_view what)
{
    for (const PlanEvidence& evidence : column.type.evidence) {
        if (evidence.what == what && !evidence.places.empty()) {
            return evidence.places.front().text;
        }
    }
    return {};
}

/// Whether a date with a time may end with `Z`, a word such as UTC, or `+02:00`.
bool MayHaveOffset(std::string_view text)
{
    const std::size_t time = text.find(':');
    return time == std::string_view::npos ||
           text.find_first_not_of("0123456789:., ", time) != std::string_view::npos;
}

/// The names of the columns as the file has them.
///
/// Rule: a line of names that is short lacks the last ones; surplus names follow those of columns.
std::vector<std::string> CopyNames(const Plan& plan)
{
    const std::vector<std::vector<std::string>>& lines = plan.shape.namesLines;
    std::size_t count = 0;
    for (const std::vector<std::string>& cells : lines) {
        count = std::max(count, cells.size());
    }
    std::vector<std::string> names;
    for (const PlanColumn& column : plan.columns) {
        names.push_back(column.name);
    }
    while (count > 0 && names.size() > count && names.back().empty()) {
        names.pop_back();
    }
    if (lines.size() == 1) {
        for (std::size_t index = names.size(); index < count; ++index) {
            names.push_back(lines.front()[index]);
        }
    }
    return names;
}

/// What the caller decides, in one request.
PlanRequest MakePlanRequest(const ImportRequest& request)
{
    PlanRequest plan = request.plan;
    const auto complete = [](std::string& text, const std::optional<std::string>& given) {
        if (text.empty() && given) {
            text = *given;
        }
    };
    complete(plan.x, request.columns.x);
    complete(plan.y, request.columns.y);
    complete(plan.z, request.columns.z);
    if (plan.crs.empty()) {
        plan.crs = request.crs;
    }
    return plan;
}

std::vector<BString> NamesOf(const Plan& plan)
{
    std::vector<BString> names;
    for (const PlanColumn& column : plan.columns) {
        names.push_back(column.name.empty() ? BString("C" + std::to_string(column.index + 1))
                                            : BString::FromUtf8(column.name));
    }
    return names;
}

/// The request with the columns of X, Y and Z as indices: those that are given by their names as a
/// person writes them, the others by the plan of the file, or by the names of a pair.
/// @param plan without columns that are given
/// @throws ImportFailure as FindColumn; `columns-unknown`, `columns-equal`
PlanRequest CompleteColumns(const Plan& plan, PlanRequest request)
{
    const std::vector<BString> names = NamesOf(plan);
    const auto find = [&](const std::string& given, const char* axis) {
        return given.empty() ? std::nullopt
                             : std::optional<std::size_t>(FindColumn(names, given, axis));
    };
    CoordinatePair pair{find(request.x, "X"), find(request.y, "Y")};
    const std::optional<std::size_t> z = find(request.z, "Z");
    const PlanCoordinates& found = plan.coordinates.value;
    if (pair.x.has_value() != pair.y.has_value()) {
        pair = GuessCoordinateColumns(names, pair);
    } else if (!pair.x) {
        pair = {found.x, found.y};
    }
    if (!pair.x || !pair.y) {
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "columns-unknown";
        fields.what = std::string("The column of ") +
                      (pair.x   ? "Y"
                       : pair.y ? "X"
                                : "X and Y") +
                      " is not known.";
        fields.file = plan.path;
        fields.columns = SampleColumns(plan);
        fields.hasColumnNames = plan.shape.hasNames.value;
        fields.isPlanned = true;
        for (const auto& [axis, column] : {std::pair("X", pair.x), std::pair("Y", pair.y)}) {
            if (column) {
                fields.matches.push_back(*column);
            } else {
                fields.missing.emplace_back(axis);
            }
        }
        throw ImportFailure(std::move(fields));
    }
    if (pair.x == pair.y || z == pair.x || z == pair.y) {
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "columns-equal";
        fields.what = "X, Y and Z must be different columns.";
        throw ImportFailure(std::move(fields));
    }
    request.x = std::to_string(*pair.x);
    request.y = std::to_string(*pair.y);
    request.z = z ? std::to_string(*z) : std::string();
    return request;
}

/// The plan with the column of heights that is given. @param request completed
Plan WithHeights(Plan plan, const PlanRequest& request)
{
    if (request.z.empty()) {
        return plan;
    }
    const std::size_t z = std::stoul(request.z);
    for (PlanColumn& column : plan.columns) {
        if (column.index == z) {
            column.role = EPlanRole::Z;
        } else if (column.role == EPlanRole::Z) {
            column.role = EPlanRole::Attribute;
        }
    }
    plan.coordinates.value.z = z;
    return plan;
}

/// The plan, with the columns that are given. Where these are only a part of what a plan needs, or
/// none of the plan's, the file is scanned without them first.
Plan PlanWithColumns(const std::string& file,
                     const PlanRequest& request,
                     const Callbacks& callbacks)
{
    const bool isGiven = !request.x.empty() || !request.y.empty() || !request.z.empty();
    const bool isWhole = !request.x.empty() && !request.y.empty();
    if (!isGiven || request.hasNoPoints || request.isAllText) {
        return MakePlan(file, request, callbacks);
    }
    if (isWhole) {
        try {
            Plan plan = MakePlan(file, request, callbacks);
            const PlanRequest completed = CompleteColumns(plan, request);
            return WithHeights(std::move(plan), completed);
        } catch (const ImportFailure& failure) {
            if (!failure.Is("no-such-column")) {
                throw;
            }
        }
    }
    PlanRequest others = request;
    others.x.clear();
    others.y.clear();
    others.z.clear();
    const PlanRequest completed = CompleteColumns(MakePlan(file, others, callbacks), request);
    return WithHeights(MakePlan(file, completed, callbacks), completed);
}

/// The name of the layer: that of the file without extension, and without that of its packing.
std::string NameOfLayer(const Plan& plan)
{
    std::filesystem::path path = std::filesystem::path(plan.path).filename();
    if (plan.bytes.compression.value != "none" && path.extension() == ".gz") {
        path = path.stem();
    }
    return path.stem().native();
}

/// Bytes of memory that the layer will need, about.
std::uint64_t EstimateLayer(const Plan& plan, const TableLayout& layout)
{
    constexpr std::uint64_t kTextEntry = 4;
    // Packed text is about so many times as long.
    constexpr std::uint64_t kUnpacked = 8;
    std::uint64_t width = 2 * sizeof(double) + (layout.hasZ ? sizeof(double) : 0);
    bool hasTexts = false;
    for (const BColumnInfo& column : layout.columns) {
        switch (StorageOf(column.type)) {
        case EColumnStorage::Text:
            width += kTextEntry;
            hasTexts = true;
            break;
        case EColumnStorage::Boolean:
            width += 1;
            break;
        case EColumnStorage::Int32:
        case EColumnStorage::Float:
            width += sizeof(std::int32_t);
            break;
        default:
            width += sizeof(double);
        }
    }
    // A bit per value says whether it is null.
    width += layout.columns.size() / 8 + 1;
    const std::uint64_t rows = plan.shape.rows + plan.shape.shortRows;
    const std::uint64_t texts =
        plan.bytes.size * (plan.bytes.compression.value == "none" ? 1 : kUnpacked);
    return rows * width + (hasTexts ? texts : 0);
}

FailureFields MakeFailure(EFailureKind kind, const char* code, std::string what, std::string file)
{
    FailureFields fields;
    fields.kind = kind;
    fields.code = code;
    fields.what = std::move(what);
    fields.file = std::move(file);
    return fields;
}

/// What tells that a file is still the one that was planned.
struct FileState
{
    std::uintmax_t size = 0;
    std::filesystem::file_time_type time;

    static FileState Of(const std::string& path)
    {
        std::error_code error;
        FileState state;
        state.size = std::filesystem::file_size(path, error);
        state.time = std::filesystem::last_write_time(path, error);
        return state;
    }

    bool operator==(const FileState&) const = default;
};

/// One import, step by step.
class PlannedImporter
{
public:
    PlannedImporter(const ImportRequest& request, const Callbacks& callbacks)
        : m_request(request)
        , m_phases(callbacks, m_report)
    {}

    ImportReport Run()
    {
        m_phases.Begin(EPhase::Preparing);
        {
            // Wrong arguments are told before the file is looked at.
            const std::unique_ptr<Target> target = OpenTarget(MakeTargetRequest());
            m_report.out = target->GetName();
            m_report.format = target->GetFormat();
        }
        const DiskCache diskCache(m_request.diskCache);
        if (!DisplayText::IsUtf8(m_request.file)) {
            throw ImportFailure(MakeFailure(
                EFailureKind::Input,
                "name-encoding",
                "The file name <" + DisplayText::Escape(m_request.file) + "> is not valid UTF-8.",
                m_request.file));
        }
        const Stopwatch planning;
        m_fileState = FileState::Of(m_request.file);
        MakeThePlan();
        m_report.planSeconds = planning.GetSeconds();
        const std::unique_ptr<Target> target = OpenTarget(MakeTargetRequest());

        if (Streams()) {
            Stream(*target);
        } else {
            ReadThenWrite(diskCache, *target);
        }
        for (const Note& note : m_report.written.notes) {
            m_phases.Tell(note);
        }
        m_report.plan = std::move(m_plan);
        return std::move(m_report);
    }

private:
    /// Rule: two threads share the work unless the caller wants one, or has asked for a disk cache.
    [[nodiscard]] bool Streams() const
    {
        return m_request.threads != 1 &&
               m_request.diskCache.mode != DiskCacheRequest::EMode::Always;
    }

    /// The pages of a pipe, counted as they pass; `onEnd` is called once, after the last of them.
    class StreamedPages : public PageSource
    {
    public:
        StreamedPages(PagePipe& pipe, std::size_t fieldCount, std::function<void()> onEnd)
            : m_pipe(pipe)
            , m_counter(fieldCount)
            , m_onEnd(std::move(onEnd))
        {}

        ~StreamedPages() override = default;

        bool Next(SourcePage& page) override
        {
            if (m_pipe.Next(page)) {
                m_counter.Add(page);
                return true;
            }
            if (const auto onEnd = std::exchange(m_onEnd, nullptr)) {
                onEnd();
            }
            return false;
        }

        [[nodiscard]] LayerCounts GetCounts() { return m_counter.Finish(); }

    private:
        PagePipe& m_pipe;
        LayerCounter m_counter;
        std::function<void()> m_onEnd;
    };

    /// One thread reads pages while this one writes them: rows of any number pass through bounded
    /// memory.
    void Stream(Target& target)
    {
        const Stopwatch all;
        // Pages of few rows, which stay in the processor's caches; they never reach a file.
        BVectorLayer layer(BString(), kDiskCachePageSize);
        layer.SetName(BString::FromUtf8(NameOfLayer(m_plan)));
        RejectedRows rejected(m_request.badRows, m_plan.bytes.lines, std::nullopt, layer.GetName());
        EPhase phase = EPhase::Reading;
        std::exception_ptr thrown; // by the caller's function, while there was no page
        CancelFlag stop;
        Callbacks ofReader;
        ofReader.cancel = &stop;
        ofReader.progress = [this](const ProgressState& state) {
            m_phases.SetBytes(state.bytesDone, state.bytesTotal);
            return true;
        };
        TableCounts counts;
        PagePipe pipe(
            [&](const PagePipe::Push& push) {
                BFeatureCollection& features = layer.GetFeatures();
                features.SetPageConsumer(
                    [&](std::shared_ptr<BFeaturePage> page, std::size_t firstRow) {
                        if (!push(std::move(page), firstRow)) {
                            ThrowCancelled();
                        }
                    });
                counts = ReadTable(m_plan, m_tableRequest, layer, rejected, ofReader);
                features.FlushPages();
            },
            [&] { stop.Request(); },
            [&] {
                try {
                    m_phases.Begin(phase);
                } catch (...) {
                    thrown = std::current_exception();
                    throw;
                }
            });
        m_phases.Begin(phase);
        pipe.WaitForFirst();
        phase = EPhase::Writing;
        StreamedPages pages(pipe, layer.GetSchema().GetCount(), [&] {
            FinishReading(layer, counts, rejected);
            AddRejected(rejected, target);
        });
        try {
            m_report.written =
                target.WritePages(layer, ExpectCounts(), pages, m_phases.GetCallbacks());
        } catch (...) {
            if (thrown) {
                std::rethrow_exception(thrown);
            }
            throw;
        }
        m_report.read = pages.GetCounts();
        m_report.readSeconds = pipe.GetMakingSeconds();
        CommitAndCount(target);
        m_report.writeSeconds = std::max(0.0, all.GetSeconds() - m_report.readSeconds);
    }

    /// What the plan knows of the rows before they are read.
    [[nodiscard]] LayerCounts ExpectCounts() const
    {
        const TableLayout layout = LayOutTable(m_plan, m_tableRequest);
        LayerCounts counts;
        counts.rows = m_plan.shape.rows;
        counts.withHeight = layout.hasZ ? 1 : 0;
        for (const std::size_t source : layout.sources) {
            const bool isWhole = m_tableRequest.isAllText ||
                                 (source != TableLayout::kNoSource && HasNoNulls(source));
            counts.nulls.push_back(isWhole ? 0 : 1);
        }
        counts.withoutOffsets = ListWithoutOffsets(layout);
        return counts;
    }

    /// Rule: either all date-times of a column that was found state their offset, or none; the
    /// first one that the plan shows tells. Of a type that is given nothing is known.
    [[nodiscard]] std::vector<bool> ListWithoutOffsets(const TableLayout& layout) const
    {
        std::vector<bool> without;
        for (const std::size_t source : layout.sources) {
            const PlanColumn* const column =
                source == TableLayout::kNoSource ? nullptr : &m_plan.columns[source];
            const std::string sample = column != nullptr &&
                                               column->type.value == EPlanType::DateTime &&
                                               column->type.decider == EDecider::Found
                                           ? FindSample(*column, NameOf(EPlanType::DateTime))
                                           : std::string();
            without.push_back(!sample.empty() && !MayHaveOffset(sample));
        }
        return without;
    }

    [[nodiscard]] bool HasNoNulls(std::size_t columnIndex) const
    {
        const PlanColumn& column = m_plan.columns[columnIndex];
        return column.empties == 0 && column.nullWords == 0 && m_tableRequest.nullTexts.empty() &&
               m_plan.shape.shortRows == 0;
    }

    void ReadThenWrite(const DiskCache& diskCache, Target& target)
    {
        const Stopwatch reading;
        DiskCacheChoice cache =
            diskCache.Choose(EstimateLayer(m_plan, LayOutTable(m_plan, m_tableRequest)));
        if (cache.note) {
            m_phases.Tell(*cache.note);
        }
        const std::optional<std::string> cacheName =
            cache.isUsed ? std::optional<std::string>(cache.baseName) : std::nullopt;
        const auto layer = cacheName ? std::make_unique<BVectorLayer>(BString::FromUtf8(*cacheName),
                                                                      kDiskCachePageSize)
                                     : std::make_unique<BVectorLayer>();
        layer->SetName(BString::FromUtf8(NameOfLayer(m_plan)));
        RejectedRows rejected(m_request.badRows, m_plan.bytes.lines, cacheName, layer->GetName());
        FinishReading(*layer, ReadRows(*layer, rejected), rejected);
        m_report.readSeconds = reading.GetSeconds();

        const Stopwatch writing;
        m_phases.Begin(EPhase::Counting);
        m_report.read = CountLayer(*layer);
        m_report.read.withoutOffsets = ListWithoutOffsets(LayOutTable(m_plan, m_tableRequest));
        AddRejected(rejected, target);
        m_report.written = target.Write(*layer, m_report.read, m_phases.GetCallbacks());
        CommitAndCount(target);
        m_report.writeSeconds = writing.GetSeconds();
    }

    [[nodiscard]] bool HasPoints() const
    {
        return m_tableRequest.makesPoints && !m_tableRequest.isAllText;
    }

    [[nodiscard]] bool IsWithoutText() const
    {
        const PlanShape& shape = m_plan.shape;
        const bool hasRecords =
            shape.rows + shape.shortRows + shape.longRows + shape.misfits > 0 || shape.isCutShort;
        return m_plan.bytes.size == 0 ||
               (!hasRecords &&
                std::all_of(shape.lines.begin(), shape.lines.end(), [](const PlanLines& lines) {
                    return lines.kind == EPlanLines::Blank;
                }));
    }

    [[noreturn]] void ThrowWithoutText() const
    {
        for (const PlanFinding& finding : m_plan.findings) {
            if (finding.code == "line-too-long") {
                FailureFields fields = MakeFailure(EFailureKind::Input,
                                                   "line-too-long",
                                                   "The file has no line within 16 MiB.",
                                                   m_request.file);
                fields.advice = "Check that the file is delimited text.";
                fields.line = finding.places.empty() ? 1 : finding.places.front().line;
                throw ImportFailure(std::move(fields));
            }
        }
        const char* what =
            m_plan.bytes.size == 0 ? "The file is empty." : "The file has nothing but blank lines.";
        throw ImportFailure(MakeFailure(EFailureKind::Input, "empty-file", what, m_request.file));
    }

    void MakeThePlan()
    {
        const PlanRequest request = MakePlanRequest(m_request);
        if (m_request.replay) {
            m_plan = FollowPlan(*m_request.replay, m_request.file);
        } else {
            m_plan = PlanWithColumns(m_request.file, request, m_phases.GetCallbacks());
            m_plan.nullTexts = request.nullTexts;
            m_plan.isAllText = request.isAllText;
            m_plan.hasNoPoints = request.hasNoPoints;
        }
        // A copy of nothing is nothing.
        if (IsWithoutText() && !(m_plan.hasNoPoints && m_plan.isAllText)) {
            ThrowWithoutText();
        }
        m_tableRequest.makesPoints = !m_plan.hasNoPoints;
        m_tableRequest.isAllText = m_plan.isAllText;
        m_tableRequest.nullTexts = m_plan.nullTexts;
        DropAnswered();
        if (!m_plan.questions.empty()) {
            throw ImportFailure(MakeQuestion(m_plan, SampleColumns(m_plan), CountRowsInTheWay()));
        }
        LeaveHeights();
        DescribeColumns();
        ChooseSystem();
    }

    /// Rule: heights that the points of the format cannot have stay in their column.
    void LeaveHeights()
    {
        std::optional<std::size_t>& z = m_plan.coordinates.value.z;
        if (!HasPoints() || !z ||
            (HoldsHeights(m_report.format) &&
             (HoldsMissingHeights(m_report.format) || HasNoNulls(*z)))) {
            return;
        }
        m_phases.Tell({"height",
                       "points have no height in the output: the column '" +
                           NamesOf(m_plan)[*z].ToUtf8() + "' has it"});
        z.reset();
    }

    /// Rule: without points nobody asks for coordinates. With all cells as texts nothing is lost by
    /// a first line that may be names, so that it is, as usual, names.
    void DropAnswered()
    {
        const auto isAnswered = [&](const PlanQuestion& question) {
            const bool isOfPoints = question.code == "coordinates" || question.code == "axes";
            return (isOfPoints && !HasPoints()) || (question.code == "names" && m_plan.isAllText);
        };
        auto& questions = m_plan.questions;
        questions.erase(std::remove_if(questions.begin(), questions.end(), isAnswered),
                        questions.end());
    }

    /// Rows that will be bad, when they are more than are allowed.
    [[nodiscard]] std::uint64_t CountRowsInTheWay() const
    {
        const PlanShape& shape = m_plan.shape;
        const std::uint64_t bad = m_plan.isAllText ? 0 : shape.longRows + shape.misfits;
        const std::uint64_t all = shape.rows + shape.shortRows + bad;
        return bad > RejectedRows::MostOf(m_request.badRows, all) ? bad : 0;
    }

    void DescribeColumns()
    {
        ColumnChoice& choice = m_report.columns;
        choice.hasColumnNames = m_plan.shape.hasNames.value;
        const auto decidedBy = [](EDecider decider) {
            return decider == EDecider::Given ? EDecidedBy::Request : EDecidedBy::Plan;
        };
        choice.namesBy = decidedBy(m_plan.shape.hasNames.decider);
        choice.names = NamesOf(m_plan);
        if (HasPoints()) {
            choice.x = m_plan.coordinates.value.x;
            choice.y = m_plan.coordinates.value.y;
            choice.z = m_plan.coordinates.value.z;
            choice.xBy = decidedBy(m_plan.coordinates.decider);
            choice.yBy = choice.xBy;
        }
    }

    /// Rule: the system that the caller gives holds; without one that of the plan, when nothing
    /// speaks against it.
    void ChooseSystem()
    {
        const PlanDecision<std::string>& system = m_plan.coordinateSystem;
        m_report.crs = HasPoints() ? m_request.crs : std::string();
        if (HasPoints() && m_report.crs.empty() && system.value.find(':') != std::string::npos &&
            system.confidence != EConfidence::Tie) {
            m_report.crs = system.value;
        }
        if (!HasPoints() || !m_report.crs.empty() || !HoldsDegrees(m_report.format)) {
            return;
        }
        if (system.value == kUndefinedGeographic) {
            m_phases.Tell({"crs-assumed",
                           m_report.format + " holds degrees of WGS 84, and the file does not say "
                                             "that its own are such; --crs says it"});
        }
        if (system.value == kUndefinedCartesian) {
            FailureFields fields =
                MakeFailure(EFailureKind::Request,
                            "crs-unknown",
                            "The coordinate system of the points is not known, and " +
                                m_report.format + " needs it.",
                            m_request.file);
            fields.isPlanned = true;
            throw ImportFailure(std::move(fields));
        }
    }

    [[nodiscard]] TargetRequest MakeTargetRequest() const
    {
        TargetRequest request;
        request.out = OutputOf(m_request);
        request.crs = m_report.crs.empty() ? m_request.crs : m_report.crs;
        request.input = m_request.file;
        request.layer = m_request.layer;
        request.existing = m_request.existing;
        request.format = m_request.format;
        request.creationOptions = m_request.creationOptions;
        request.threads =
            m_request.threads == 0 ? std::thread::hardware_concurrency() : m_request.threads;
        request.isCartesian =
            m_report.crs.empty() && m_plan.coordinateSystem.value == kUndefinedCartesian;
        request.hasGeometry = HasPoints();
        // Rule: a table without points has a line of names in CSV only when the file has one.
        request.hasNames = HasPoints() || m_plan.shape.hasNames.value;
        if (m_plan.isAllText && m_report.format == "CSV") {
            request.copiedNames = CopyNames(m_plan);
        }
        return request;
    }

    /// Rule: what the caller's function throws leaves unchanged, not as a failure of the file.
    TableCounts ReadRows(BVectorLayer& layer, RejectedRows& rejected)
    {
        std::exception_ptr thrown;
        Callbacks callbacks = m_phases.GetCallbacks();
        if (const auto ofCaller = callbacks.progress) {
            callbacks.progress = [&thrown, ofCaller](const ProgressState& state) {
                try {
                    return ofCaller(state);
                } catch (...) {
                    thrown = std::current_exception();
                    return false;
                }
            };
        }
        try {
            return ReadTable(m_plan, m_tableRequest, layer, rejected, callbacks);
        } catch (...) {
            if (thrown) {
                std::rethrow_exception(thrown);
            }
            throw;
        }
    }

    /// What the reading has found, in the report; whatever forbids to write it is a failure.
    void FinishReading(const BVectorLayer& layer,
                       const TableCounts& counts,
                       const RejectedRows& rejected)
    {
        // Rule: a file that is written to while it is read is not imported: what was planned and
        // what was read are not the same.
        if (m_fileState != FileState::Of(m_request.file)) {
            FailureFields fields = MakeFailure(EFailureKind::Input,
                                               "file-changed",
                                               "The file has changed while it was read.",
                                               m_request.file);
            fields.advice = "Import it, or a copy of it, when nothing writes to it.";
            throw ImportFailure(std::move(fields));
        }
        m_report.ledger = MakeLedger(m_plan, counts);
        m_report.ledger->firstBadRows = rejected.GetFirst();
        m_report.recordsRead = m_report.ledger->lines.Sum();
        m_report.layerName = layer.GetName();
        m_report.schema = layer.GetSchema();
        m_report.extent = counts.extent;
        const std::uint64_t most =
            RejectedRows::MostOf(m_request.badRows, counts.rows + counts.badRows);
        // Rule: an import in which no row fits is a failure, whatever is allowed.
        if (counts.badRows > most || (counts.rows == 0 && counts.badRows > 0)) {
            throw ImportFailure(rejected.MakeFailure(m_plan, *m_report.ledger, most));
        }
        if (HasPoints() && counts.rows == 0) {
            throw ImportFailure(MakeFailure(
                EFailureKind::Content, "no-data", "The file has no row of data.", m_request.file));
        }
        if (HasPoints() && counts.points == 0) {
            FailToFindPoints();
        }
    }

    /// Rule: an import of points without a single point is a failure.
    [[noreturn]] void FailToFindPoints() const
    {
        FailureFields fields =
            MakeFailure(EFailureKind::Content, "no-point", "No row has a point.", m_request.file);
        const auto name = [&](const std::optional<std::size_t>& index) {
            if (!index || *index >= m_plan.columns.size()) {
                return std::string("none");
            }
            const std::string& text = m_plan.columns[*index].name;
            return "column " + std::to_string(*index) + (text.empty() ? "" : " '" + text + "'");
        };
        fields.cause = "X is " + name(m_plan.coordinates.value.x) + ", Y is " +
                       name(m_plan.coordinates.value.y) + ".";
        fields.columns = SampleColumns(m_plan);
        fields.hasColumnNames = m_plan.shape.hasNames.value;
        fields.isPlanned = true;
        const auto& findings = m_plan.findings;
        if (std::any_of(findings.begin(), findings.end(), [](const PlanFinding& finding) {
                return finding.code == "axes-swapped";
            })) {
            fields.answers.push_back(
                {m_plan.coordinates.value.y, m_plan.coordinates.value.x, {}, {}});
        }
        throw ImportFailure(std::move(fields));
    }

    void AddRejected(const RejectedRows& rejected, Target& target)
    {
        if (!rejected.AreKept()) {
            return;
        }
        Ledger& ledger = *m_report.ledger;
        m_phases.Begin(EPhase::Writing);
        m_side = target.AddSideFile(std::string(kRejectedEnding));
        // Rule: what no import has made is not overwritten.
        if (std::error_code error;
            std::filesystem::exists(std::filesystem::symlink_status(m_side->file, error)) &&
            !IsRejectedFile(m_side->file)) {
            FailureFields fields = MakeFailure(EFailureKind::Output,
                                               "rejected-exists",
                                               "The bad rows cannot be written.",
                                               m_side->name);
            fields.cause = "Something of that name is there that no import has made.";
            fields.advice = "Move it away, or leave the bad rows out by --on-bad skip.";
            throw ImportFailure(std::move(fields));
        }
        rejected.WriteFile(m_side->workFile, m_side->name);
        ledger.rejectedFile = m_side->name;
        ledger.rejectedTable = target.AddTable(rejected.GetLayer());
    }

    void CommitAndCount(Target& target)
    {
        Ledger& ledger = *m_report.ledger;
        target.Commit();
        m_phases.Begin(EPhase::Written);
        const TargetCounts counts = target.CountWritten(m_phases.GetCallbacks());
        CloseLedger({m_report.read.rows,
                     m_report.read.points,
                     counts.rows,
                     counts.points,
                     m_side ? RejectedRows::CountFile(m_side->file, m_side->name) : ledger.badRows},
                    m_report.written,
                    ledger);
    }

    const ImportRequest& m_request;
    ImportReport m_report;
    ImportPhases m_phases;
    FileState m_fileState;
    Plan m_plan;
    TableRequest m_tableRequest;
    std::optional<SideFile> m_side; ///< the file of bad rows
};

} // namespace

ImportReport ImportByPlan(const ImportRequest& request, const Callbacks& callbacks)
{
    return PlannedImporter(request, callbacks).Run();
}

} // namespace Orvane::Import
