// Files that fail, give few bytes at a time, or change during a read.
#include "FaultyFiles.h"
#include "file/AsciiFile.h"
#include "reader/BAsciiReader.h"
#include "support/TestFiles.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace Orvane;
using namespace TestSupport;
using FaultyFiles::Answer;
using FaultyFiles::ECall;
using Lines = std::vector<std::string>;

std::string MakeRow(std::size_t row)
{
    char text[64];
    std::snprintf(text, sizeof text, "%08zu,%02zu.5,\"a \"\"b\"\"\",x\n", row, row % 90);
    return text;
}

std::string MakeRows(std::size_t count, std::size_t first = 0)
{
    std::string rows = "lon,lat,text,anything else\n";
    for (std::size_t row = first; row < first + count; ++row) {
        rows += MakeRow(row);
    }
    return rows;
}

const std::size_t kHeaderBytes = MakeRows(0).size();
const std::size_t kRowBytes = MakeRow(0).size();

BParamList MakeParams()
{
    BParamList params;
    params.Add(X_COLUMN, std::int32_t{0});
    params.Add(Y_COLUMN, std::int32_t{1});
    params.Add(FIRST_LINE_COLUMN_NAMES, true);
    params.Add("SCHEMA_SAMPLE_SIZE", std::int32_t{3});
    return params;
}

BVectorLayer& LastLayer(BVectorDataReader& reader)
{
    return *reader.GetLayers().GetAt(reader.GetLayers().GetCount() - 1);
}

/// Expects the failure of reading a file.
void ExpectReadFailure(const Failure& failure, const BString& path, const BString& reason)
{
    EXPECT_EQ(failure.className, "BException");
    EXPECT_EQ(failure.message, BString::Format("Could not read from the file <%ls>.", path));
    EXPECT_EQ(failure.location, BString("AsciiFile::GetSafeLine"));
    EXPECT_EQ(failure.details, reason);
}

/// Does something to the file after a number of rows.
class ActingProgress : public BProgress
{
public:
    ActingProgress(unsigned row, std::function<void()> action)
        : m_row(row)
        , m_action(std::move(action))
    {}

    bool ShouldReport(unsigned done, unsigned /*total*/) override
    {
        if (m_action && done >= m_row) {
            std::exchange(m_action, nullptr)();
        }
        return false;
    }

    bool Report(unsigned /*done*/, unsigned /*total*/) override { return true; }

    [[nodiscard]] bool HasActed() const noexcept { return !m_action; }

private:
    unsigned m_row;
    std::function<void()> m_action;
};

// Small blocks show the effects of block boundaries without large files. Neither these nor blocks
// of the rule's size end inside quotes.
constexpr std::size_t kBlockSize = 248;
constexpr std::size_t kRows = 60;

class FileFaults : public testing::Test
{
protected:
    FileFaults()
        : m_path(m_folder.File("a.csv", MakeRows(kRows)))
        , m_params(MakeParams())
    {}

    /// Runs an engine from its creation to its last row.
    void ReadWithEngine(const std::function<void(AsciiReader::AsciiFile&)>& beforeRows = {})
    {
        AsciiReader::AsciiFile file(m_path, AsciiReader::AsciiFile::kRead, m_params, kBlockSize);
        try {
            file.Open();
            file.Read();
            file.BuildSchema();
            file.CreateLayer();
            if (beforeRows) {
                beforeRows(file);
            }
            file.BuildLayer(0);
        } catch (...) {
            Take(file);
            throw;
        }
        Take(file);
    }

    void Take(const AsciiReader::AsciiFile& file)
    {
        m_rows = file.GetLayer() ? Describe(*file.GetLayer()) : Lines();
    }

    TemporaryFolder m_folder;
    BString m_path;
    BParamList m_params;
    Lines m_rows; ///< of the last reading
};

TEST_F(FileFaults, EveryFailedReadIsReportedAndTheRowsBeforeItStay)
{
    ReadWithEngine();
    const Lines all = m_rows;
    ASSERT_EQ(all.size(), kRows);
    std::size_t failures = 0;
    std::size_t mostRows = 0;
    for (std::uint64_t call = 1;; ++call) {
        bool wasReached = false;
        const Failure failure = CatchFailure([&] {
            const FaultyFiles::Scope scope(m_path, [&](ECall kind, std::uint64_t number) {
                const bool fails = kind == ECall::Read && number >= call;
                wasReached = wasReached || number >= call;
                return Answer{fails ? EIO : 0};
            });
            ReadWithEngine();
        });
        if (!wasReached) {
            break;
        }
        SCOPED_TRACE(call);
        ASSERT_LT(call, 1000U);
        if (failure.className.empty()) {
            EXPECT_EQ(m_rows, all);
            continue;
        }
        ++failures;
        ExpectReadFailure(failure, m_path, "Input/output error");
        ASSERT_LE(m_rows.size(), all.size());
        EXPECT_TRUE(std::equal(m_rows.begin(), m_rows.end(), all.begin()));
        mostRows = std::max(mostRows, m_rows.size());
    }
    EXPECT_GE(failures, MakeRows(kRows).size() / kBlockSize);
    EXPECT_GT(mostRows, kRows / 2);
}

TEST_F(FileFaults, EveryFailedPositioningIsReported)
{
    // The sample is longer than a block, so the reader returns to the file's start.
    m_params.Add("SCHEMA_SAMPLE_SIZE", std::int32_t{30});
    ReadWithEngine();
    const Lines all = m_rows;
    std::size_t failures = 0;
    for (std::uint64_t call = 1;; ++call) {
        bool wasReached = false;
        const Failure failure = CatchFailure([&] {
            const FaultyFiles::Scope scope(m_path, [&](ECall kind, std::uint64_t number) {
                wasReached = wasReached || number >= call;
                return Answer{kind == ECall::Seek && number >= call ? EIO : 0};
            });
            ReadWithEngine();
        });
        if (!wasReached) {
            break;
        }
        SCOPED_TRACE(call);
        ASSERT_LT(call, 1000U);
        if (failure.className.empty()) {
            EXPECT_EQ(m_rows, all);
        } else {
            ++failures;
            // The reason is the system's latest error, which may be another call's.
            EXPECT_FALSE(failure.details.IsEmpty());
            ExpectReadFailure(failure, m_path, failure.details);
        }
    }
    EXPECT_GT(failures, 0U);
}

TEST_F(FileFaults, TheReaderIsUsedAgainAfterAReadThatFailed)
{
    AsciiReader::BAsciiReader reader(m_path, m_params);
    reader.Open(m_path, m_params);
    const Lines none;
    // The reader holds the file's first block; another modification time makes it read again.
    std::filesystem::last_write_time(
        m_path.ToUtf8(), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    {
        const FaultyFiles::Scope scope(m_path, [](ECall kind, std::uint64_t) {
            return Answer{kind == ECall::Read ? EIO : 0};
        });
        ExpectReadFailure(CatchFailure([&] { reader.Read(); }), m_path, "Input/output error");
    }
    EXPECT_EQ(Describe(LastLayer(reader)), none);
    reader.Close();
    reader.Open(m_path, m_params);
    reader.Read();
    EXPECT_EQ(LastLayer(reader).GetFeatures().GetCount(), kRows);
}

TEST_F(FileFaults, ReadsThatGiveLittleChangeNothing)
{
    ReadWithEngine();
    const Lines all = m_rows;
    for (const std::size_t most : {std::size_t{1}, std::size_t{7}, std::size_t{255}}) {
        const FaultyFiles::Scope scope(m_path, [most](ECall, std::uint64_t) {
            return Answer{0, most};
        });
        ReadWithEngine();
        EXPECT_EQ(m_rows, all) << most << " bytes a read";
        EXPECT_GT(scope.GetCallCount(), MakeRows(kRows).size() / most);
    }
}

TEST_F(FileFaults, ReadsThatASignalInterruptsAreRepeated)
{
    ReadWithEngine();
    const Lines all = m_rows;
    const FaultyFiles::Scope scope(m_path, [](ECall kind, std::uint64_t number) {
        return Answer{kind == ECall::Read && number % 2 == 1 ? EINTR : 0, 100};
    });
    ReadWithEngine();
    EXPECT_EQ(m_rows, all);
}

struct Change
{
    const char* name;
    std::function<void(const std::string& path)> action;
    std::size_t leastRows;
    std::size_t mostRows;
    bool cutsARow = false; ///< the last row has only what was read of it
};

void PrintTo(const Change& change, std::ostream* stream)
{
    *stream << change.name;
}

class ChangingFile : public testing::TestWithParam<Change>
{};

/// Enough rows for more than two blocks of the rule's size.
constexpr std::size_t kLargeRows = 1400000;

TEST_P(ChangingFile, IsReadToWhereItGoes)
{
    // Between the blocks of an engine with small blocks, and of a reader with the rule's.
    const TemporaryFolder folder;
    for (const bool isLarge : {false, true}) {
        const std::size_t rows = isLarge ? kLargeRows : kRows;
        const BString path = folder.File("a.csv", MakeRows(rows));
        const BParamList params = MakeParams();
        ActingProgress progress(static_cast<unsigned>(rows / 10),
                                [&] { GetParam().action(path.ToUtf8()); });
        BSharedPtr<BVectorLayer> layer;
        if (isLarge) {
            AsciiReader::BAsciiReader reader(path, params);
            reader.Open(path, params);
            reader.SetProgress(&progress);
            reader.Read();
            layer = reader.GetLayers().GetAt(0);
        } else {
            AsciiReader::AsciiFile file(path, AsciiReader::AsciiFile::kRead, params, kBlockSize);
            file.Open();
            file.Read();
            file.BuildSchema();
            file.CreateLayer();
            file.SetProgress(&progress);
            file.BuildLayer(0);
            layer = file.GetLayer();
        }
        EXPECT_TRUE(progress.HasActed());
        const std::size_t count = layer->GetFeatures().GetCount();
        EXPECT_GE(count, rows * GetParam().leastRows / 100);
        EXPECT_LE(count, rows * GetParam().mostRows / 100);
        const std::size_t whole = GetParam().cutsARow ? count - 1 : count;
        for (std::size_t row = 0; row < whole; row += isLarge ? 1001 : 1) {
            ASSERT_EQ(layer->GetFeatures().GetAt(row)->GetPoint()->GetX(),
                      static_cast<double>(row));
        }
    }
}

std::size_t SizeOf(const std::string& path)
{
    return static_cast<std::size_t>(std::filesystem::file_size(path));
}

const Change kChanges[] = {
    // The rows read before the cut are there.
    {"CutToNothing",
     [](const std::string& path) { std::filesystem::resize_file(path, 0); },
     10,
     80,
     true},
    {"CutInTheMiddle",
     [](const std::string& path) {
         const std::size_t rows = SizeOf(path) / kRowBytes;
         std::filesystem::resize_file(path, kHeaderBytes + rows * 8 / 10 * kRowBytes);
     },
     80,
     80},
    // Its new end is read as well.
    {"Grown",
     [](const std::string& path) {
         const std::size_t rows = (SizeOf(path) - kHeaderBytes) / kRowBytes;
         std::ofstream(path, std::ios::binary | std::ios::app)
             << MakeRows(rows / 2, rows).substr(kHeaderBytes);
     },
     150,
     150},
    // The file that was opened is read to its end.
    {"Deleted", [](const std::string& path) { std::filesystem::remove(path); }, 100, 100},
    {"Replaced",
     [](const std::string& path) {
         std::ofstream(path + ".new") << "something else\n";
         std::filesystem::rename(path + ".new", path);
     },
     100,
     100},
};

INSTANTIATE_TEST_SUITE_P(, ChangingFile, testing::ValuesIn(kChanges), CaseName());

TEST_F(FileFaults, AFileThatIsCutInsideQuotesFailsAndKeepsTheRowsBefore)
{
    const std::size_t cut = kHeaderBytes + 40 * kRowBytes + 16;
    const Failure failure = CatchFailure([&] {
        ReadWithEngine(
            [&](AsciiReader::AsciiFile&) { std::filesystem::resize_file(m_path.ToUtf8(), cut); });
    });
    EXPECT_EQ(failure.className, "BFileContentNotValidException");
    EXPECT_EQ(failure.message, BString("File contains an unmatched quote."));
    EXPECT_EQ(failure.location, BString("AsciiFile::GetSafeLine"));
    EXPECT_EQ(m_rows.size(), 40U);
}

TEST_F(FileFaults, AFileThatIsEmptiedOrReplacedBetweenOpeningAndReadingIsReadAsItIsThen)
{
    AsciiReader::BAsciiReader reader(m_path, m_params);
    reader.Open(m_path, m_params);
    std::filesystem::resize_file(m_path.ToUtf8(), 0);
    reader.Read();
    EXPECT_EQ(LastLayer(reader).GetFeatures().GetCount(), 0U);
    reader.Close();

    static_cast<void>(m_folder.File("a.csv", MakeRows(kRows)));
    reader.Open(m_path, m_params);
    // The same place, with other rows and other types.
    static_cast<void>(m_folder.File("a.csv", "a,b\n1,2,\"three\"\n\"4\",five\n6,7,8,9\n"));
    reader.Read();
    EXPECT_EQ(Describe(LastLayer(reader)),
              (Lines{"1 (1 2) text=11:three", "2 (-)", "3 (6 7) text=11:8 anything else=11:9"}));
}

TEST_F(FileFaults, APipeIsNotWaitedFor)
{
    const BString path = m_folder.Name("pipe.csv");
    ASSERT_EQ(mkfifo(path.ToUtf8().c_str(), 0600), 0);
    AsciiReader::AsciiFile file(path, AsciiReader::AsciiFile::kRead, m_params);
    alarm(60);
    ExpectBException([&] { file.Open(); },
                     BString::Format("Could not open a stream for <%ls> for reading.", path),
                     "AsciiFile::Open");
    alarm(0);
}

/// The file of a disk-cached layer.
class PageFileFaults : public FileFaults
{
protected:
    PageFileFaults() { std::filesystem::create_directory(m_folder.Name("cache").ToUtf8()); }

    /// Reads with pages of a few rows, then visits the layer.
    std::size_t ReadAndVisit(Lines& rows)
    {
        AsciiReader::BAsciiReader reader(m_path, m_params);
        reader.SetDiskCache(true, m_folder.Name("cache/layer"), 4);
        reader.Open(m_path, m_params);
        const auto take = [&] {
            rows = Describe(*reader.GetLayers().GetAt(0));
            return rows.size();
        };
        try {
            reader.Read();
        } catch (...) {
            // The rows read so far can be visited as far as their pages can be read.
            static_cast<void>(CatchFailure(take));
            throw;
        }
        return take();
    }
};

TEST_F(PageFileFaults, EveryFailedCallIsReportedOrHasNoEffect)
{
    Lines all;
    ASSERT_EQ(ReadAndVisit(all), kRows);
    for (const ECall kind : {ECall::Read, ECall::Write, ECall::Seek}) {
        std::size_t failures = 0;
        for (std::uint64_t call = 1;; ++call) {
            bool wasReached = false;
            Lines rows;
            const Failure failure = CatchFailure([&] {
                const FaultyFiles::Scope scope(
                    m_folder.Name("cache/"), [&](ECall made, std::uint64_t number) {
                        wasReached = wasReached || number >= call;
                        const int error = kind == ECall::Write ? ENOSPC : EIO;
                        return Answer{made == kind && number == call ? error : 0};
                    });
                ReadAndVisit(rows);
            });
            if (!wasReached) {
                break;
            }
            SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " " + std::to_string(call));
            ASSERT_LE(rows.size(), all.size());
            EXPECT_TRUE(std::equal(rows.begin(), rows.end(), all.begin()));
            if (failure.className.empty()) {
                EXPECT_EQ(rows, all);
                continue;
            }
            ++failures;
            EXPECT_EQ(failure.className, "BException");
            const std::string message = failure.message.ToUtf8();
            const bool isWriting = message == "Could not write the disk cache file.";
            EXPECT_TRUE(isWriting || message == "Could not read the disk cache file.") << message;
            EXPECT_EQ(failure.location,
                      BString(isWriting ? "BFeatureCollection::WritePage"
                                        : "BFeatureCollection::LoadPage"));
            // After a positioning the system's text may describe another call, the latest that
            // failed.
            const char* const reason = kind == ECall::Write  ? "No space left on device"
                                       : kind == ECall::Read ? "Input/output error"
                                                             : ": ";
            EXPECT_NE(failure.details.ToUtf8().find(reason), std::string::npos)
                << failure.details.ToUtf8();
        }
        if (kind != ECall::Read) {
            EXPECT_GT(failures, 0U) << static_cast<int>(kind);
        }
    }
}

TEST_F(PageFileFaults, PartsOfAPageThatAreWrittenAndReadOneByOneChangeNothing)
{
    Lines all;
    ASSERT_EQ(ReadAndVisit(all), kRows);
    for (const std::size_t most : {std::size_t{1}, std::size_t{100}}) {
        Lines rows;
        const FaultyFiles::Scope scope(m_folder.Name("cache/"), [most](ECall, std::uint64_t) {
            return Answer{0, most};
        });
        ReadAndVisit(rows);
        EXPECT_EQ(rows, all);
        EXPECT_GT(scope.GetCallCount(), 20U);
    }
}

} // namespace
