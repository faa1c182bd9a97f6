// Whole imports by the library: report, progress, cancel, threads, locale.
#include <Orvane/Constants.h>
#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Module.h>
#include <Orvane/Import/Session.h>
#include <Orvane/Import/Targets.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <support/TestFiles.h>
#include <thread>
#include <vector>

namespace {

using Orvane::Import::Callbacks;
using Orvane::Import::CancelFlag;
using Orvane::Import::EDecidedBy;
using Orvane::Import::EFailureKind;
using Orvane::Import::EPhase;
using Orvane::Import::ImportFailure;
using Orvane::Import::ImportFile;
using Orvane::Import::ImportReport;
using Orvane::Import::ImportRequest;
using Orvane::Import::Note;
using Orvane::Import::ProgressState;
using TestSupport::TemporaryFolder;

std::string Content(const Orvane::BString& path)
{
    std::ifstream stream(path.ToUtf8(), std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::size_t CountFiles(const TemporaryFolder& folder)
{
    return static_cast<std::size_t>(std::distance(
        std::filesystem::directory_iterator(folder.Path()), std::filesystem::directory_iterator()));
}

/// Rows "x,y,n" with names.
std::string MakeRows(int count)
{
    std::string text = "x,y,n\n";
    for (int index = 0; index < count; ++index) {
        const std::string number = std::to_string(index);
        text += number + ".25," + std::to_string(index % 90) + ".5," + number + "\n";
    }
    return text;
}

ImportRequest MakeRequest(const TemporaryFolder& folder, const std::string& text, const char* out)
{
    ImportRequest request;
    request.file = folder.File("a.csv", text).ToUtf8();
    request.out = folder.Name(out).ToUtf8();
    return request;
}

TEST(ImportFile, ReportsWhatItHasDone)
{
    const TemporaryFolder folder;
    const ImportReport report =
        ImportFile(MakeRequest(folder, "lat,lon,name\n1.5,2.5,a\n,3.5,b\n4.5,5.5,c\n", "out.csv"));
    EXPECT_EQ(report.format, "CSV");
    EXPECT_EQ(report.layerName, Orvane::BString("a"));
    EXPECT_EQ(report.columns.x, std::optional<std::size_t>(1));
    EXPECT_EQ(report.columns.y, std::optional<std::size_t>(0));
    EXPECT_EQ(report.columns.xBy, EDecidedBy::Plan);
    EXPECT_TRUE(report.columns.hasColumnNames);
    // Rule: the columns of X and Y stay attributes where a row lacks one of them.
    EXPECT_EQ(report.schema.GetCount(), 3U);
    EXPECT_EQ(report.read.rows, 3U);
    EXPECT_EQ(report.read.points, 2U);
    EXPECT_EQ(report.written.rows, 3U);
    EXPECT_EQ(report.written.points, 2U);
    EXPECT_EQ(report.recordsRead, 4U);
    EXPECT_FALSE(report.stoppedAtLimit);
    EXPECT_TRUE(report.notes.empty());
    EXPECT_EQ(Content(folder.Name("out.csv")),
              "lat,lon,name,X,Y\n1.5,2.5,a,2.5,1.5\n,3.5,b,,\n4.5,5.5,c,5.5,4.5\n");
    EXPECT_EQ(CountFiles(folder), 2U);
}

TEST(ImportFile, CountsThePointsOfTheFileWritten)
{
    const TemporaryFolder folder;
    std::vector<std::string> codes;
    Callbacks callbacks;
    callbacks.note = [&](const Note& note) { codes.push_back(note.code); };
    // A coordinate that gets infinite makes a point of the layer without a place.
    ImportRequest request =
        MakeRequest(folder, "x,y,n\n1.5,2.5,1\n100,2.5,2\n1.25,4.5,3\n", "out.fgb");
    request.options.Add(Orvane::X_MULTIPLIER, 1e308);
    request.options.Add(Orvane::Y_MULTIPLIER, 1.0);
    const ImportReport report = ImportFile(request, callbacks);
    EXPECT_EQ(report.read.points, 3U);
    EXPECT_EQ(report.written.points, 2U);
    EXPECT_EQ(report.written.rows, 3U);
    EXPECT_EQ(report.written.rowsLeftOut, 0U);
    EXPECT_EQ(codes, (std::vector<std::string>{"reader-rules", "no-place"}));
    ASSERT_EQ(report.written.losses.size(), 1U);
    EXPECT_EQ(report.written.losses[0].count, 1U);
    EXPECT_EQ(report.notes.size(), 2U);
}

TEST(ImportFile, RefusesAFileThatChangesWhileItIsRead)
{
    for (const unsigned threads : {1U, 2U}) {
        const TemporaryFolder folder;
        ImportRequest request =
            MakeRequest(folder, "lat,lon,name\n1.5,2.5,a\n3.5,4.5,b\n", "out.csv");
        request.threads = threads;
        static_cast<void>(folder.File("out.csv", "old"));
        Callbacks callbacks;
        callbacks.progress = [&](const ProgressState& state) {
            if (state.phase == EPhase::Reading) {
                std::ofstream(request.file, std::ios::app) << "5.5,6.5,c\n";
            }
            return true;
        };
        try {
            ImportFile(request, callbacks);
            ADD_FAILURE() << threads;
        } catch (const ImportFailure& failure) {
            EXPECT_EQ(failure.GetKind(), EFailureKind::Input);
            EXPECT_EQ(failure.GetFields().code, "file-changed");
            EXPECT_EQ(failure.GetFields().what, "The file has changed while it was read.");
        }
        EXPECT_EQ(Content(folder.Name("out.csv")), "old");
        EXPECT_EQ(CountFiles(folder), 2U);
    }
}

class PhasesOfThreads : public testing::TestWithParam<unsigned>
{};

INSTANTIATE_TEST_SUITE_P(, PhasesOfThreads, testing::Values(1U, 2U));

TEST_P(PhasesOfThreads, AreToldInOrderOnTheCallersThread)
{
    const TemporaryFolder folder;
    std::vector<EPhase> phases;
    bool isOwnThread = true;
    Callbacks callbacks;
    callbacks.interval = std::chrono::milliseconds(0);
    std::uint64_t mostRows = 0;
    const std::string content = MakeRows(20000);
    std::uint64_t mostPlanned = 0;
    double fraction = 0;
    bool isSteady = true;
    const std::thread::id thread = std::this_thread::get_id();
    callbacks.progress = [&](const ProgressState& state) {
        if (phases.empty() || phases.back() != state.phase) {
            phases.push_back(state.phase);
        }
        isOwnThread = isOwnThread && std::this_thread::get_id() == thread;
        mostRows = std::max(mostRows, state.rowsDone);
        isSteady = isSteady && state.fraction >= fraction && state.fraction <= 1;
        fraction = state.fraction;
        if (state.phase == EPhase::Preparing && state.bytesTotal == content.size()) {
            mostPlanned = std::max(mostPlanned, state.bytesDone);
        }
        return true;
    };
    ImportRequest request = MakeRequest(folder, content, "out.csv");
    request.threads = GetParam();
    ImportFile(request, callbacks);
    const std::vector<EPhase> oneByOne = {
        EPhase::Preparing, EPhase::Reading, EPhase::Counting, EPhase::Writing, EPhase::Written};
    const std::vector<EPhase> atOnce = {
        EPhase::Preparing, EPhase::Reading, EPhase::Writing, EPhase::Written};
    EXPECT_EQ(phases, GetParam() == 1 ? oneByOne : atOnce);
    EXPECT_TRUE(isOwnThread);
    EXPECT_TRUE(isSteady);
    EXPECT_GT(fraction, 0.9);
    EXPECT_EQ(mostPlanned, content.size());
    // Lines are read, rows are written.
    EXPECT_EQ(mostRows, GetParam() == 1 ? 20001U : 20000U);
}

/// A phase, and how many threads work.
class CancelsInPhase : public testing::TestWithParam<std::pair<EPhase, unsigned>>
{};

INSTANTIATE_TEST_SUITE_P(,
                         CancelsInPhase,
                         testing::Values(std::pair(EPhase::Preparing, 2U),
                                         std::pair(EPhase::Reading, 1U),
                                         std::pair(EPhase::Reading, 2U),
                                         std::pair(EPhase::Counting, 1U),
                                         std::pair(EPhase::Writing, 1U),
                                         std::pair(EPhase::Writing, 2U)));

TEST_P(CancelsInPhase, AndLeavesTheOldOutput)
{
    for (const char* out : {"out.csv", "out.gpkg", "out.fgb"}) {
        const TemporaryFolder folder;
        ImportRequest request = MakeRequest(folder, MakeRows(20000), out);
        request.threads = GetParam().second;
        static_cast<void>(folder.File(out, "old"));
        Callbacks callbacks;
        callbacks.interval = std::chrono::milliseconds(0);
        callbacks.progress = [](const ProgressState& state) {
            return state.phase != GetParam().first;
        };
        try {
            ImportFile(request, callbacks);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ImportFailure& failure) {
            EXPECT_TRUE(failure.Is("cancelled"));
        }
        EXPECT_TRUE(Content(folder.Name(out)) == "old");
        EXPECT_EQ(CountFiles(folder), 2U);
    }
}

/// Imports to a format whose rows are packed at the end.
/// @param cancelledCall the call of the progress, once the writer has all rows, that cancels
/// @return processor time at each of those calls, and at the end
std::vector<std::clock_t> Pack(const char* out, std::size_t cancelledCall)
{
    constexpr int kRows = 60000;
    const TemporaryFolder folder;
    ImportRequest request = MakeRequest(folder, MakeRows(kRows), out);
    request.plan.hasNoPoints = true;
    std::vector<std::clock_t> times;
    Callbacks callbacks;
    callbacks.interval = std::chrono::milliseconds(0);
    callbacks.progress = [&](const ProgressState& state) {
        if (state.phase != EPhase::Writing || state.rowsDone != kRows) {
            return true;
        }
        times.push_back(std::clock());
        return times.size() <= cancelledCall;
    };
    try {
        ImportFile(request, callbacks);
        EXPECT_LE(times.size(), cancelledCall);
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("cancelled"));
        EXPECT_GT(times.size(), cancelledCall);
        EXPECT_EQ(CountFiles(folder), 1U);
        times.resize(cancelledCall + 1);
        times.push_back(std::clock());
    }
    return times;
}

TEST(ImportFile, StopsAWriterThatPacksItsRowsAtTheEnd)
{
    for (const char* out : {"out.xlsx", "out.ods"}) {
        const std::vector<std::clock_t> whole = Pack(out, std::numeric_limits<std::size_t>::max());
        ASSERT_GT(whole.size(), 8U) << out;
        const std::size_t call = whole.size() / 4;
        const std::vector<std::clock_t> stopped = Pack(out, call);
        EXPECT_LT(stopped.back() - stopped[call], (whole.back() - whole[call]) / 2) << out;
    }
}

TEST(ImportFile, IsCancelledFromAnotherThread)
{
    const TemporaryFolder folder;
    const ImportRequest request = MakeRequest(folder, MakeRows(200000), "out.gpkg");
    CancelFlag flag;
    std::atomic<bool> isReading{false};
    Callbacks callbacks;
    callbacks.cancel = &flag;
    callbacks.progress = [&](const ProgressState& state) {
        isReading = isReading || state.phase == EPhase::Reading;
        return true;
    };
    std::thread other([&] {
        while (!isReading) {
            std::this_thread::yield();
        }
        flag.Request();
    });
    try {
        ImportFile(request, callbacks);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("cancelled"));
    }
    other.join();
    EXPECT_EQ(CountFiles(folder), 1U);
}

TEST(ImportFile, PassesOnWhatACallbackThrows)
{
    const std::pair<EPhase, unsigned> cases[] = {
        {EPhase::Reading, 1}, {EPhase::Writing, 1}, {EPhase::Writing, 2}};
    for (const auto& [wanted, threads] : cases) {
        const EPhase phase = wanted;
        const TemporaryFolder folder;
        ImportRequest request = MakeRequest(folder, MakeRows(20000), "out.csv");
        request.threads = threads;
        Callbacks callbacks;
        callbacks.interval = std::chrono::milliseconds(0);
        callbacks.progress = [phase](const ProgressState& state) -> bool {
            if (state.phase == phase && state.rowsDone > 0) {
                throw std::domain_error("of the caller");
            }
            return true;
        };
        EXPECT_THROW(ImportFile(request, callbacks), std::domain_error);
        EXPECT_EQ(CountFiles(folder), 1U);
    }
}

TEST(ImportFile, RunsTwiceAtOnce)
{
    const TemporaryFolder folder;
    const auto import = [&](const char* out) {
        ImportRequest request;
        request.file = folder.Name("a.csv").ToUtf8();
        request.out = folder.Name(out).ToUtf8();
        for (int time = 0; time < 5; ++time) {
            ImportFile(request);
        }
    };
    static_cast<void>(folder.File("a.csv", MakeRows(5000)));
    // The second one's writes fail; that is no failure of the first one's.
    std::thread first(import, "one.csv");
    std::thread second(import, "two.csv");
    std::thread third([&] {
        ImportRequest request;
        request.file = folder.Name("a.csv").ToUtf8();
        request.out = "/dev/full";
        for (int time = 0; time < 20; ++time) {
            EXPECT_THROW(ImportFile(request), ImportFailure);
        }
    });
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(Content(folder.Name("one.csv")), Content(folder.Name("two.csv")));
    EXPECT_EQ(CountFiles(folder), 3U);
}

TEST(ImportFile, DoesNotDependOnTheLocaleOfTheProcess)
{
    const TemporaryFolder locales;
    const std::string command =
        "localedef -i de_DE -f UTF-8 '" + (locales.Path() / "de_DE.UTF-8").string() + "'";
    // The exit status counts warnings too; what decides is whether the locale can be set.
    static_cast<void>(std::system(command.c_str()));
    setenv("LOCPATH", locales.Path().c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr)
        << "localedef could not make the locale";
    for (const char* out : {"out.csv", "out.geojson"}) {
        const TemporaryFolder folder;
        ImportRequest request = MakeRequest(folder, "x,y,v\n1.5,2.25,0.125\n1000.5,2,3.5\n", out);
        request.crs = "EPSG:25832";
        ImportFile(request);
        const std::string content = Content(folder.Name(out));
        EXPECT_NE(content.find("0.125"), std::string::npos) << content;
        EXPECT_NE(content.find("1000.5"), std::string::npos) << content;
    }
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

TEST(ImportSteps, GiveTheSameFileAsTheOneCall)
{
    using namespace Orvane::Import;
    const TemporaryFolder folder;
    ImportRequest request = MakeRequest(folder, MakeRows(3000), "one.csv");
    request.options.Add(Orvane::MAX_RECORDS, 3000);
    ImportFile(request);
    const Orvane::BPluginModule module = LoadModule();
    const ColumnChoice columns = ChooseColumns(module, request.file, {}, {});
    Session session(module, request.file, MakeReadOptions({}, columns));
    session.Open();
    session.Read({});
    session.Close();
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = session.GetLayer();
    const std::unique_ptr<Target> target =
        OpenTarget({folder.Name("two.csv").ToUtf8(), "", request.file});
    const WriteReport report = target->Write(*layer, CountLayer(*layer), {});
    EXPECT_EQ(CountFiles(folder), 3U) << "the hidden folder lies beside the output";
    target->Commit();
    EXPECT_EQ(report.rows, 3000U);
    EXPECT_EQ(Content(folder.Name("two.csv")), Content(folder.Name("one.csv")));
}

TEST(ImportTarget, TakesBackWhatWasNotCommitted)
{
    using namespace Orvane::Import;
    const TemporaryFolder folder;
    static_cast<void>(folder.File("out.csv", "old"));
    {
        Orvane::BVectorLayer layer;
        const std::unique_ptr<Target> target =
            OpenTarget({folder.Name("out.csv").ToUtf8(), "", ""});
        EXPECT_EQ(target->GetFormat(), "CSV");
        EXPECT_EQ(target->Write(layer, CountLayer(layer), {}).rows, 0U);
    }
    EXPECT_EQ(Content(folder.Name("out.csv")), "old");
    EXPECT_EQ(CountFiles(folder), 1U);
}

} // namespace
