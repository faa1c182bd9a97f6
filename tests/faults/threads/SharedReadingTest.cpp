// One read that several threads share: everything that a host sees is as with one thread.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"
#include "text/SplitPatterns.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/Constants.h>

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <pthread.h>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace Orvane;
using namespace TestSupport;
using AsciiReader::AsciiFile;
using AsciiReader::SharingRule;

constexpr std::size_t kRows = 4000;

/// Cells of every kind, `odd` in place of every 500th row.
std::string MakeRows(const std::string& odd = std::string(), const char* ending = "\n")
{
    std::string text = std::string("id,x,y,z,name,real,flag") + ending;
    for (std::size_t row = 0; row < kRows; ++row) {
        const std::string number = std::to_string(row);
        if (!odd.empty() && row % 500 == 499) {
            text += odd + ending;
            continue;
        }
        text += number + ",-73.4555" + number + ",50.3" + number + "," + number + ".25,";
        switch (row % 4) {
        case 0:
            text += "\"n\xC3\xA4me, " + number + "\"";
            break;
        case 1:
            text += "\"a \"\"word\"\" " + std::string(row / 100, 'x') + "\"";
            break;
        case 2:
            text += "plain " + number;
            break;
        default:
            break;
        }
        text += (row % 7 == 0 ? ",," : ",0.1" + number + ",") + (row % 2 == 0 ? "true" : "no");
        text += ending;
    }
    return text;
}

/// So many rows, odd ones among them, that a layer in memory has three pages.
std::string MakeRowsOfPages()
{
    const std::string few = MakeRows("1,2,3");
    const std::size_t rows = few.find('\n') + 1;
    std::string text = few.substr(0, rows);
    for (int turn = 0; turn < 35; ++turn) {
        text.append(few, rows);
    }
    return text;
}

/// Rows with so much text that pages of a disk cache end early.
std::string MakeLongRows()
{
    std::string text = "id,x,y,z,name,real,flag\n";
    for (std::size_t row = 0; row < kRows; ++row) {
        text += "1,2,3,4," + std::string(9000 + row % 1000, 'x') + ",0.5,yes\n";
    }
    return text;
}

/// Rows before a middle one, and the rest after what stands in its place.
std::string MakeRowsAround(const std::string& middle)
{
    std::string text = MakeRows();
    const std::size_t at = text.find('\n', text.size() / 2) + 1;
    return text.insert(at, middle);
}

struct Case
{
    const char* name;
    std::string text;
    const char* codec = "UTF-8";
    std::size_t blockSize = 1 << 14;
    std::int32_t limit = 0;
    std::uint32_t cancelLine = 0; ///< 0: there is no progress object; else it refuses from there on
    std::uint32_t pageRows = 0;   ///< of a disk cache; 0: none
    bool consumesPages = false;
    bool endsPagesEarly = false; ///< by their size, so that they may end at other rows
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

template <typename T>
void Write(std::ostream& stream, const char* name, const BPageArray<T>& values, std::size_t count)
{
    stream << name << ' ' << count << ' ';
    stream.write(reinterpret_cast<const char*>(values.Data()),
                 static_cast<std::streamsize>(count * sizeof(T)));
}

/// Every byte of a page that means something.
void Write(std::ostream& stream, const BFeaturePage& page, std::size_t firstRow)
{
    const std::size_t rows = page.GetRowCount();
    stream << "page at " << firstRow << " rows " << rows << '\n';
    Write(stream, "x", page.x, rows);
    Write(stream, "y", page.y, rows);
    Write(stream, "z", page.z, page.z.IsEmpty() ? 0 : rows);
    for (std::size_t row = 0; row < rows; ++row) {
        stream << static_cast<int>(page.GetPointKind(row)) << page.GetAttributeCount(row) << ' '
               << page.GetName(row).ToUtf8() << ' ';
    }
    for (const BColumnData& column : page.data) {
        stream << "column " << static_cast<int>(column.storage) << ' ';
        VisitStorage(column.storage, [&](auto kind) {
            const auto& array = kind.ArrayOf(column);
            if constexpr (kind.kIsText) {
                stream << "encoding " << static_cast<int>(array.encoding) << ' ';
                Write(stream, "bytes", array.bytes, rows == 0 ? 0 : array.ends[rows - 1]);
                Write(stream, "ends", array.ends, rows);
            } else {
                Write(stream, "values", array, rows);
            }
        });
    }
}

/// Notes the calls, all of which must come on the thread that made it, and what the layer has then.
class WatchingProgress : public BProgress
{
public:
    WatchingProgress(std::ostream& stream, std::uint32_t cancelLine)
        : m_stream(stream)
        , m_cancelLine(cancelLine)
    {}

    bool ShouldReport(unsigned done, unsigned total) override
    {
        EXPECT_EQ(std::this_thread::get_id(), m_owner);
        m_stream << "asked " << done << ' ' << total << " rows " << features->GetCount() << '\n';
        return done % 3 != 1;
    }

    bool Report(unsigned done, unsigned total) override
    {
        EXPECT_EQ(std::this_thread::get_id(), m_owner);
        m_stream << "reported " << done << ' ' << total << '\n';
        return done < m_cancelLine;
    }

    BFeatureCollection* features = nullptr;

private:
    std::ostream& m_stream;
    std::uint32_t m_cancelLine;
    std::thread::id m_owner = std::this_thread::get_id();
};

/// All that a host sees of reading a file, reading on, and the lines that are left then.
std::string Read(const BString& path, const Case& input, unsigned threads)
{
    Options options = Options().XYZ(1, 2, 3).Names().Set("CODEC", BString(input.codec));
    AsciiFile file(path, AsciiFile::kRead, options, input.blockSize);
    SharingRule sharing;
    sharing.threads = threads;
    sharing.bytesOfAThread = 1;
    sharing.leastRunBytes = 1;
    sharing.windowBytes = 1024;
    file.SetSharing(sharing);
    if (input.pageRows != 0) {
        file.SetDiskCache(true, BString(path + ".cache"), input.pageRows);
    }
    file.Open();
    file.Read();
    file.SetSeparator(AsciiReader::SplitPatterns::CommaSplit());
    file.BuildSchema();
    file.CreateLayer();
    std::ostringstream stream;
    const BSharedPtr<BVectorLayer> layer = file.GetLayer();
    BFeatureCollection& features = layer->GetFeatures();
    if (input.consumesPages) {
        features.SetPageConsumer(
            [&stream](const std::shared_ptr<BFeaturePage>& page, std::size_t firstRow) {
                Write(stream, *page, firstRow);
            });
    }
    WatchingProgress progress(stream, input.cancelLine);
    progress.features = &features;
    if (input.cancelLine != 0) {
        file.SetProgress(&progress);
    }
    for (int turn = 0; turn < 2; ++turn) {
        bool isAll = false;
        const Failure failure = CatchFailure([&] { isAll = file.BuildLayer(input.limit); });
        stream << "all " << isAll << " failure " << failure.className << ' '
               << failure.message.ToUtf8() << ' ' << failure.location.ToUtf8() << ' '
               << failure.details.ToUtf8() << " records " << file.GetRecordsRead() << '\n';
        for (std::size_t i = 0; i < file.GetSchema().GetCount(); ++i) {
            stream << Describe(file.GetSchema().GetAt(i)) << '\n';
        }
    }
    if (input.consumesPages) {
        features.FlushPages();
    }
    if (input.endsPagesEarly) {
        EXPECT_GT(features.GetPageCount(), 1U);
        for (const std::string& row : Describe(*layer)) {
            stream << row << '\n';
        }
    }
    for (std::size_t index = 0; !input.endsPagesEarly && index < features.GetPageCount(); ++index) {
        Write(stream, features.GetPage(index), features.GetFirstRow(index));
    }
    BString line;
    for (int count = 0; count < 3; ++count) {
        const Failure failure = CatchFailure([&] { file.GetSafeLine(line); });
        stream << "then " << line.ToUtf8() << ' ' << failure.details.ToUtf8() << '\n';
    }
    return stream.str();
}

class SharedReading : public testing::TestWithParam<Case>
{
protected:
    TemporaryFolder m_folder;
};

TEST_P(SharedReading, GivesWhatOneThreadGives)
{
    const BString path = m_folder.File("rows.csv", GetParam().text);
    const std::string expected = Read(path, GetParam(), 1);
    EXPECT_GT(expected.size(), 500U) << "no row was read";
    for (const unsigned threads : {2U, 3U, 8U}) {
        const std::string actual = Read(path, GetParam(), threads);
        // The texts are long and not all print.
        EXPECT_TRUE(actual == expected) << threads << " threads";
    }
}

const std::string kTooLong = "1,2,3,4,5,6,7,8,9,10,11";

const std::vector<Case> kCases = {
    {"InOneBlock", MakeRows(), "UTF-8", 1 << 24},
    {"InManyBlocks", MakeRows()},
    {"InBlocksOfLatin1", MakeRows(), "ISO-8859-1"},
    {"InBlocksThatTheCodecDecodes", MakeRows(), "windows-1252"},
    {"WithCrLf", MakeRows("", "\r\n")},
    {"WithLineBreaksInQuotes", MakeRows("1,2,3,4,\"a\nb\",5,yes")},
    {"WithBlankLines", MakeRows("\n\n")},
    {"WithShortRows", MakeRows("1,2,3")},
    {"WithHalfACharacter", MakeRowsAround("1,2,3,4,\"\xF0\x9F\x98\x80,5,yes\n")},
    {"WithInvalidUtf8", MakeRowsAround("1,2,3,4,\xFF,5,yes\n")},
    {"UpToARowThatFails", MakeRowsAround(kTooLong + "\n")},
    {"UpToAQuoteThatStaysOpen", MakeRowsAround("1,2,3,4,\"a,5,yes\n")},
    {"OverPagesInMemory", MakeRowsOfPages(), "UTF-8", 1 << 20},
    {"OverPagesWithReports", MakeRowsOfPages(), "UTF-8", 1 << 20, 0, 1 << 30},
    {"UpToALimit", MakeRows(), "UTF-8", 1 << 14, 1234},
    {"UpToALimitInOneBlock", MakeRows(), "UTF-8", 1 << 24, 1234},
    {"UpToTheRowThatIsCancelled", MakeRows(), "UTF-8", 1 << 14, 0, 1500},
    {"UpToTheFirstRow", MakeRows(), "UTF-8", 1 << 24, 0, 1},
    {"WithReportsToTheEnd", MakeRows(), "UTF-8", 1 << 24, 0, 1 << 30},
    {"CancelledOnPagesOfADisk", MakeRows(), "UTF-8", 1 << 14, 0, 1501, 7},
    {"OnPagesOfADisk", MakeRows(), "UTF-8", 1 << 14, 0, 0, 100},
    {"OnPagesThatEndEarly", MakeLongRows(), "UTF-8", 1 << 20, 0, 0, 65536, false, true},
    {"OnPagesOfOneRow", MakeRows(), "UTF-8", 1 << 14, 0, 0, 1},
    {"WithPagesHandedOver", MakeRows(), "UTF-8", 1 << 14, 0, 0, 64, true},
};

INSTANTIATE_TEST_SUITE_P(, SharedReading, testing::ValuesIn(kCases), CaseName());

/// Threads of this process, with the one that sanitizers begin beside the first one.
std::size_t CountThreads()
{
    std::thread([] {}).join();
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
}

/// Counts threads in the middle of a read.
class CountingProgress : public BProgress
{
public:
    bool ShouldReport(unsigned done, unsigned /*total*/) override { return done == kRows / 2; }

    bool Report(unsigned /*done*/, unsigned /*total*/) override
    {
        most = std::max(most, CountThreads());
        return true;
    }

    std::size_t most = 0;
};

/// Reads the rows in blocks of 16 KiB. @return the most threads that were seen meanwhile
std::size_t ReadAndCount(const BString& path, unsigned threads, std::size_t bytesOfAThread)
{
    AsciiFile file(path, AsciiFile::kRead, Options().XYZ(1, 2, 3).Names(), 1 << 14);
    SharingRule sharing;
    sharing.threads = threads;
    sharing.bytesOfAThread = bytesOfAThread;
    sharing.leastRunBytes = 1;
    file.SetSharing(sharing);
    file.Open();
    file.Read();
    file.SetSeparator(AsciiReader::SplitPatterns::CommaSplit());
    file.BuildSchema();
    CountingProgress progress;
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetCount(), kRows);
    return progress.most;
}

TEST(SharedReadingThreads, LastAsLongAsTheReadAlone)
{
    const TemporaryFolder folder;
    const BString path = folder.File("rows.csv", MakeRows());
    const std::size_t before = CountThreads();
    EXPECT_EQ(ReadAndCount(path, 1, 1), before);
    EXPECT_EQ(ReadAndCount(path, 4, 1), before + 3);
    EXPECT_EQ(CountThreads(), before);
}

TEST(SharedReadingThreads, AreNoMoreThanTheFileIsWorth)
{
    const TemporaryFolder folder;
    const std::string rows = MakeRows();
    const BString path = folder.File("rows.csv", rows);
    const std::size_t before = CountThreads();
    EXPECT_EQ(ReadAndCount(path, 64, rows.size() / 2), before + 1);
    EXPECT_EQ(ReadAndCount(path, 64, rows.size() * 2), before);
}

/// While it lives, no thread can be made: none would get a stack.
class NoMoreThreads
{
public:
    NoMoreThreads()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge;
        pthread_getattr_default_np(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 46);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }

    ~NoMoreThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    pthread_attr_t m_before{};
};

TEST(SharedReadingThreads, AreDoneWithoutWhereTheSystemGrantsNone)
{
    const TemporaryFolder folder;
    const BString path = folder.File("rows.csv", MakeRows());
    const Case input = {"", ""};
    const std::string expected = Read(path, input, 1);
    const NoMoreThreads noMore;
    EXPECT_THROW(std::thread([] {}), std::system_error);
    EXPECT_TRUE(Read(path, input, 3) == expected);
}

} // namespace
