// Lets every allocation of small imports fail, one after the other, and checks what is left.
#include "FailingMemory.h"
#include "file/AsciiFile.h"
#include "reader/BAsciiReader.h"
#include "support/TestFiles.h"

#include <Orvane/BArrowStream.h>
#include <Orvane/Constants.h>

#include <QtGlobal>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace Orvane;
using namespace TestSupport;
using FailingMemory::EMode;
using Lines = std::vector<std::string>;

constexpr std::size_t kRows = 60;

/// Every kind of row: quoted, over two lines, short, blank, beyond ASCII, with and without a point.
std::string MakeRows()
{
    std::string rows = "name,lon,lat,text,count,flag,real\n";
    for (std::size_t row = 0; row < kRows; ++row) {
        const std::string number = std::to_string(row);
        switch (row % 6) {
        case 0:
            rows += "Station " + number + "," + number + ".5,-47.25,plain,3,true,1.5\n";
            break;
        case 1:
            rows += "Ort,7.125," + number + ",\"Berg, \"\"oben\"\"\",-12,false,2e3\n";
            break;
        case 2:
            rows += "\xC3\x9Cmla\xC3\xBC\x74,1,2,\xE2\x82\xAC \xF0\x9F\x98\x80,7,yes,0.1\n\n";
            break;
        case 3:
            rows += number + ",4,5,\"over\ntwo lines\",8,no,9\n";
            break;
        case 4:
            rows += "short," + number + ",2\n";
            break;
        default:
            rows += "no point,,," + std::string(row, 'x') + ",9,true,-1\n";
            break;
        }
    }
    return rows;
}

struct Case
{
    const char* name;
    const char* file; ///< name of the file, which decides how fields are separated
    const char* codec = nullptr;
    bool usesDiskCache = false;
    bool looksAtAllRows = false;
    bool previews = false;
    bool visits = false; ///< reads values and the Arrow stream while memory is short
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

constexpr Case kCases[] = {
    {"ALayerInMemory", "a.csv", "UTF-8"},
    {"BytesOfLatin1", "a.csv"},
    {"TextThatIsDecoded", "a.csv", "windows-1252"},
    {"TheSeparatorDetected", "a.txt", "UTF-8"},
    {"ALayerOnDisk", "a.csv", "UTF-8", true},
    {"TypesOfAllRows", "a.csv", "UTF-8", false, true},
    {"TypesOfAllRowsDecoded", "a.csv", "windows-1252", true, true},
    {"APreview", "a.csv", "UTF-8", false, false, true},
    {"VisitingALayerInMemory", "a.csv", "UTF-8", false, false, false, true},
    {"VisitingALayerOnDisk", "a.csv", "UTF-8", true, false, false, true},
};

/// Shared by the test and the process that makes the calls.
struct Board
{
    std::uint64_t call;
    std::uint64_t tried;
    std::uint64_t thrown;   ///< calls whose failure became an exception
    std::uint64_t survived; ///< calls whose failure nobody noticed
    std::uint64_t keptRows; ///< rows left after an exception, summed over all calls
    std::uint64_t leftByQt; ///< blocks that Qt loses
    bool isDone;
    bool hasDiedInQt;
    char problem[8192];
};

class SharedBoard
{
public:
    SharedBoard()
        : m_board(mmap(
              nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (m_board == MAP_FAILED) {
            std::abort();
        }
    }

    ~SharedBoard() { munmap(m_board, sizeof(Board)); }

    SharedBoard(const SharedBoard&) = delete;
    SharedBoard& operator=(const SharedBoard&) = delete;

    Board* operator->() const noexcept { return static_cast<Board*>(m_board); }

private:
    void* m_board;
};

Board* boardOfCrash = nullptr;

/// Qt does not survive failures here: it makes its bookkeeping of a thread with the first QObject
/// there, and that of text codecs when the first one is looked up.
bool IsFirstUseOfQt()
{
    return FailingMemory::WasFailedCallIn("_ZN7QObjectC1ER14QObjectPrivatePS_") ||
           FailingMemory::WasFailedCallIn("_ZN7QObjectC2ER14QObjectPrivatePS_") ||
           FailingMemory::WasFailedCallIn("_ZN10QTextCodec12codecForNameERK10QByteArray");
}

void IgnoreMessage(QtMsgType /*type*/,
                   const QMessageLogContext& /*context*/,
                   const QString& /*text*/)
{}

void HandleCrash(int signal)
{
    if (boardOfCrash != nullptr && IsFirstUseOfQt()) {
        boardOfCrash->hasDiedInQt = true;
        _exit(1);
    }
    constexpr char kText[] = "the failing call of the crash was made from:\n";
    static_cast<void>(write(STDERR_FILENO, kText, sizeof kText - 1));
    FailingMemory::PrintFailedCall(STDERR_FILENO);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

/// Follows pointers, as a leak checker does, from the engines that stay by rule.
std::size_t CountLeaks(std::vector<FailingMemory::Block> blocks, std::size_t enginesByRule)
{
    std::sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) {
        return a.address < b.address;
    });
    std::vector<bool> isReached(blocks.size());
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < blocks.size() && open.size() < enginesByRule; ++i) {
        if (blocks[i].size == sizeof(AsciiReader::AsciiFile)) {
            isReached[i] = true;
            open.push_back(i);
        }
    }
    while (!open.empty()) {
        const FailingMemory::Block block = blocks[open.back()];
        open.pop_back();
        for (std::size_t at = 0; at + sizeof(void*) <= block.size; at += sizeof(void*)) {
            std::uintptr_t word = 0;
            std::memcpy(&word, static_cast<const char*>(block.address) + at, sizeof word);
            const auto next = std::upper_bound(
                blocks.begin(), blocks.end(), word, [](std::uintptr_t wanted, const auto& entry) {
                    return wanted < reinterpret_cast<std::uintptr_t>(entry.address);
                });
            if (next == blocks.begin()) {
                continue;
            }
            const auto index = static_cast<std::size_t>(next - blocks.begin()) - 1;
            const auto begin = reinterpret_cast<std::uintptr_t>(blocks[index].address);
            if (!isReached[index] && word < begin + std::max<std::size_t>(blocks[index].size, 1)) {
                isReached[index] = true;
                open.push_back(index);
            }
        }
    }
    return static_cast<std::size_t>(std::count(isReached.begin(), isReached.end(), false));
}

class AllocationFaults : public testing::TestWithParam<Case>
{
protected:
    AllocationFaults()
        : m_path(m_folder.File(GetParam().file, MakeRows()))
    {
        m_params.Add(X_COLUMN, std::int32_t{1});
        m_params.Add(Y_COLUMN, std::int32_t{2});
        m_params.Add(NAME_COLUMN, std::int32_t{1});
        m_params.Add(FIRST_LINE_COLUMN_NAMES, true);
        m_params.Add("SCHEMA_SAMPLE_SIZE", std::int32_t{12});
        if (GetParam().codec != nullptr) {
            m_params.Add("CODEC", GetParam().codec);
        }
        if (GetParam().looksAtAllRows) {
            m_params.Add(AUTO_SCHEMA_ALL_ROWS, true);
        }
    }

    /// The rows of the file's layer; a case with a preview reads that first.
    Lines ReadAll() const
    {
        AsciiReader::BAsciiReader reader(m_path, m_params);
        Prepare(reader);
        reader.Open(m_path, m_params);
        if (GetParam().previews) {
            reader.GetFilePreview(QUERY_COLUMNS);
        }
        reader.Read();
        Lines lines = DescribeLast(reader);
        reader.Close();
        return lines;
    }

    /// Lets the allocation of that number fail. @return whether there was one
    bool
    Try(std::uint64_t call, EMode mode, const Lines& expected, bool countsLeaks, Board& board) const
    {
        const auto problem = [&board](const std::string& text) {
            std::strncat(board.problem,
                         (text + "\n").c_str(),
                         sizeof board.problem - std::strlen(board.problem) - 1);
        };
        std::string thrown;
        bool hasFailed = false;
        std::size_t engines = 0;
        FailingMemory::NoteBlocks();
        {
            std::unique_ptr<BVectorDataReader> reader;
            bool isOpened = false;
            FailingMemory::Fail(call, mode);
            try {
                reader = std::make_unique<AsciiReader::BAsciiReader>(m_path, m_params);
                Prepare(*reader);
                reader->Open(m_path, m_params);
                isOpened = true;
                if (GetParam().previews) {
                    reader->GetFilePreview(QUERY_COLUMNS);
                }
                reader->Read();
                if (GetParam().visits) {
                    Visit(reader->GetLayers().GetAt(0));
                }
            } catch (...) {
                const FailingMemory::Pause pause;
                thrown = DescribeException(std::current_exception());
            }
            hasFailed = FailingMemory::Stop();
            engines += reader && !isOpened ? 1U : 0U;

            if (reader) {
                const Lines lines =
                    reader->GetLayers().GetCount() > 0 ? DescribeLast(*reader) : Lines();
                const bool isPrefix = lines.size() <= expected.size() &&
                                      std::equal(lines.begin(), lines.end(), expected.begin());
                if (!isPrefix || (thrown.empty() && lines.size() != expected.size())) {
                    problem("the layer is not as it should be after " +
                            (thrown.empty() ? std::string("no exception") : thrown) + ": " +
                            std::to_string(lines.size()) + " rows");
                }
                board.keptRows += thrown.empty() ? 0 : lines.size();
                UseAgain(*reader, expected, !countsLeaks, problem);
            }
        }
        const std::size_t leaks = CountLeaks(FailingMemory::TakeBlocks(), engines);
        // Qt loses the converter of a text when it has no memory for the text.
        const bool isLostByQt = leaks == 1 && thrown == "std::bad_alloc" &&
                                FailingMemory::WasFailedCallIn("libQt6Core5Compat");
        board.leftByQt += isLostByQt ? 1U : 0U;
        if (countsLeaks && leaks > 0 && !isLostByQt) {
            problem(std::to_string(leaks) + " blocks leak after " + thrown);
        }
        if (!thrown.empty() && !IsDocumented(thrown) && !IsCodecLost(thrown, !countsLeaks)) {
            problem("not a documented exception: " + thrown);
        }
        ++board.tried;
        board.thrown += thrown.empty() ? 0U : 1U;
        board.survived += thrown.empty() && hasFailed ? 1U : 0U;
        return hasFailed;
    }

    /// Makes the calls in a process of its own. A crash ends it; the next process continues after
    /// it.
    /// @param isCold whether each call is tried in a process that has read nothing yet
    void TryCalls(EMode mode, bool isCold)
    {
        const SharedBoard board;
        Lines expected;
        const SharedBoard text;
        // Another process makes the first reading, so that this one stays cold.
        RunAside([&] {
            std::string all;
            for (const std::string& line : ReadAll()) {
                all += line + '\x01';
            }
            ASSERT_LT(all.size(), sizeof text->problem);
            std::strcpy(text->problem, all.c_str());
        });
        for (const char* at = text->problem; *at != '\0';) {
            const char* const end = std::strchr(at, '\x01');
            expected.emplace_back(at, end);
            at = end + 1;
        }
        // A preview consumes two lines, and column names consume one more.
        ASSERT_EQ(expected.size(), GetParam().previews ? kRows - 2 : kRows);

        std::size_t crashes = 0;
        std::uint64_t diedInQt = 0;
        std::uint64_t next = 1;
        while (!board->isDone && crashes < 20) {
            board->call = next;
            const int status = RunAside([&] {
                boardOfCrash = isCold ? board.operator->() : nullptr;
                qInstallMessageHandler(IgnoreMessage);
                if (!isCold) {
                    qDebug("the first message makes the message log");
                    ReadAll();
                    Try(1, EMode::Once, expected, false, *board.operator->());
                    Try(1000000000, EMode::Once, expected, false, *board.operator->());
                    board->tried -= 2;
                    board->thrown -= 1;
                    board->problem[0] = '\0';
                }
                do {
                    if (!Try(board->call, mode, expected, !isCold, *board.operator->())) {
                        board->isDone = true;
                        return;
                    }
                    if (board->problem[0] != '\0') {
                        FailingMemory::PrintFailedCall(STDERR_FILENO);
                        return;
                    }
                    ++board->call;
                } while (!isCold);
            });
            if (board->hasDiedInQt) {
                board->hasDiedInQt = false;
                ++diedInQt;
                ++board->call;
            } else if (WIFSIGNALED(status)) {
                ++crashes;
                ADD_FAILURE() << "call " << board->call << " ends the process by signal "
                              << WTERMSIG(status);
                ++board->call;
            }
            if (board->problem[0] != '\0') {
                ++crashes;
                ADD_FAILURE() << "call " << board->call << ": " << board->problem;
                board->problem[0] = '\0';
                ++board->call;
            }
            next = board->call;
        }
        EXPECT_TRUE(board->isDone) << "given up at call " << next;
        EXPECT_GT(board->thrown, 0U);
        std::printf("%llu calls tried, %llu threw, %llu went unnoticed, %llu died in Qt, %llu "
                    "blocks lost by Qt, %llu rows kept\n",
                    static_cast<unsigned long long>(board->tried),
                    static_cast<unsigned long long>(board->thrown),
                    static_cast<unsigned long long>(board->survived),
                    static_cast<unsigned long long>(diedInQt),
                    static_cast<unsigned long long>(board->leftByQt),
                    static_cast<unsigned long long>(board->keptRows));
    }

private:
    void Prepare(BVectorDataReader& reader) const
    {
        if (GetParam().usesDiskCache) {
            reader.SetDiskCache(true, m_folder.Name("cache"), 7);
        }
    }

    static Lines DescribeLast(BVectorDataReader& reader)
    {
        const FailingMemory::Pause pause;
        return Describe(*reader.GetLayers().GetAt(reader.GetLayers().GetCount() - 1));
    }

    static void Visit(const BSharedPtr<BVectorLayer>& layer)
    {
        for (std::size_t row = 0; row < layer->GetFeatures().GetCount(); row += 5) {
            static_cast<void>(Describe(*layer->GetFeatures().GetAt(row)));
        }
        static_cast<void>(layer->GetMBB());
        ArrowArrayStream stream = {};
        ExportArrowStream(layer, &stream);
        ArrowSchema schema = {};
        int error = stream.get_schema(&stream, &schema);
        if (error == 0) {
            schema.release(&schema);
        }
        ArrowArray batch = {};
        while (error == 0 && (error = stream.get_next(&stream, &batch)) == 0 &&
               batch.release != nullptr) {
            batch.release(&batch);
        }
        stream.release(&stream);
        if (error != 0) {
            throw std::bad_alloc();
        }
    }

    template <typename Problem>
    void UseAgain(BVectorDataReader& reader,
                  const Lines& expected,
                  bool isCold,
                  const Problem& problem) const
    {
        try {
            if (reader.IsOpen()) {
                reader.Close();
            }
            reader.GetParams() = m_params;
            Prepare(reader);
            reader.Open(m_path, m_params);
            if (GetParam().previews) {
                reader.GetFilePreview(QUERY_COLUMNS);
            }
            reader.Read();
            if (DescribeLast(reader) != expected) {
                problem("the reader gives another layer when it is used again");
            }
        } catch (...) {
            const std::string thrown = DescribeException(std::current_exception());
            if (!IsCodecLost(thrown, isCold)) {
                problem("the reader cannot be used again: " + thrown);
            }
        }
    }

    static std::string DescribeException(const std::exception_ptr& exception)
    {
        try {
            std::rethrow_exception(exception);
        } catch (const std::bad_alloc&) {
            return "std::bad_alloc";
        } catch (const BException& error) {
            return std::string(error.GetClassName()) + ": " + error.GetMessage().ToUtf8() + " (" +
                   error.GetLocation().ToUtf8() + ") " + error.GetDetails().ToUtf8();
        } catch (const std::exception& error) {
            return std::string(typeid(error).name()) + ": " + error.what();
        } catch (...) {
            return "something that is no exception";
        }
    }

    static bool IsDocumented(const std::string& thrown)
    {
        const auto begins = [&thrown](const char* text) { return thrown.rfind(text, 0) == 0; };
        return thrown == "std::bad_alloc" ||
               (begins("BException: Failed to parse feature # ") &&
                thrown.find("(AsciiFile::BuildLayer)") != std::string::npos);
    }

    /// A codec whose tables could not be loaded at its first use is not looked for
    /// again.
    static bool IsCodecLost(const std::string& thrown, bool isCold)
    {
        return isCold &&
               FailingMemory::WasFailedCallIn("_ZN10QTextCodec12codecForNameERK10QByteArray") &&
               thrown == "BException: The text codec <windows-1252> is not available. "
                         "(AsciiFile::GetSafeLine) ";
    }

    template <typename Action>
    static int RunAside(const Action& action)
    {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
                std::signal(signal, HandleCrash);
            }
            alarm(300);
            action();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    TemporaryFolder m_folder;
    BString m_path;
    BParamList m_params;
};

TEST_P(AllocationFaults, OneFailingCallLosesNothing)
{
    TryCalls(EMode::Once, false);
}

TEST_P(AllocationFaults, NoMemoryFromACallOnLosesNothing)
{
    TryCalls(EMode::OnFrom, false);
}

TEST_P(AllocationFaults, AFailingCallOfAProcessesFirstReadingLosesNothing)
{
    TryCalls(EMode::Once, true);
}

INSTANTIATE_TEST_SUITE_P(, AllocationFaults, testing::ValuesIn(kCases), CaseName());

} // namespace
