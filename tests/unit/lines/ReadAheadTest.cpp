// Reading a block while the one before it is in use.
#include "lines/LineSource.h"
#include "support/TestFiles.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>

#include <QFile>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::LineSource;
using AsciiReader::SourceLine;
using Orvane::BString;
using TestSupport::CaseName;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using namespace std::string_view_literals;

struct Case
{
    const char* name;
    std::string_view bytes;
    const char* codec = "UTF-8";
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

class LineSourceReadAhead : public testing::TestWithParam<Case>
{
protected:
    /// All lines, or those before a failure and its text. With `turns` the file is read on from its
    /// start that many times, after a few lines.
    std::vector<std::string> ReadLines(std::size_t blockSize, bool isAhead, int turns)
    {
        const BString path = m_folder.File("lines.csv", GetParam().bytes);
        QFile device(Orvane::MakeQString(path));
        EXPECT_TRUE(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        constexpr std::size_t kLongest = 40;
        LineSource lines(Options().Set("CODEC", BString(GetParam().codec)), blockSize, kLongest);
        lines.SetDevice(&device);
        std::vector<std::string> result;
        SourceLine line;
        try {
            for (int turn = 0; turn < turns; ++turn) {
                for (int count = 0; count < 3 && lines.Next(line); ++count) {
                    result.push_back(line.text.ToString().ToUtf8());
                    if (isAhead) {
                        lines.ReadAhead();
                    }
                }
                result.push_back("unread " + std::to_string(lines.GetUnreadBytes()) + " at end " +
                                 std::to_string(lines.AtEnd() ? 1 : 0));
                lines.Rewind();
            }
            while (lines.Next(line)) {
                result.push_back(line.text.ToString().ToUtf8() + " unread " +
                                 std::to_string(lines.GetUnreadBytes()));
                if (isAhead) {
                    lines.ReadAhead();
                    lines.ReadAhead();
                }
            }
        } catch (const Orvane::BException& failure) {
            result.push_back(failure.GetMessage().ToUtf8() + failure.GetDetails().ToUtf8());
        }
        return result;
    }

    TemporaryFolder m_folder;
};

TEST_P(LineSourceReadAhead, ChangesNoLine)
{
    for (std::size_t blockSize = 1; blockSize < 70; ++blockSize) {
        for (const int turns : {0, 1, 2}) {
            EXPECT_EQ(ReadLines(blockSize, true, turns), ReadLines(blockSize, false, turns))
                << "blocks of " << blockSize << " bytes, " << turns << " turns";
        }
    }
}

constexpr Case kCases[] = {
    {"OfAnEmptyFile", ""},
    {"OfOneByte", "a"},
    {"OfPlainLines", "one\ntwo\nthree\nfour\nfive\nsix\nseven\neight"},
    {"OfLinesInQuotes", "a,\"b\nc\"\nd,\"e \"\"f\"\" g\"\n\"h\"\ni\n"},
    {"AtCrLf", "one\r\ntwo\r\n\r\nthree\r\nfour\r\n"},
    {"InUtf8", "\xEF\xBB\xBFn\xC3\xA4me\n\xF0\x9F\x98\x80\xF0\x9F\x98\x80\n\xE2\x82\xAC\nend\n"},
    {"InInvalidUtf8", "n\xC3\xA4me\nn\xE4me\nn\xC3\xA4me\n\xF0\x9F"},
    {"InLatin1", "n\xE4me\nna\x80me\nlast", "ISO-8859-1"},
    {"InUtf16", "a\0\n\0b\0\n\0c\0\n\0"sv, "UTF-16LE"},
    {"UpToAnOpenQuote", "one\ntwo\n\"three\nfour\nfive\n"},
    {"UpToALineThatIsTooLong",
     "one\ntwo\nthree three three three three three three three three three three three\nfour\n"},
};

INSTANTIATE_TEST_SUITE_P(, LineSourceReadAhead, testing::ValuesIn(kCases), CaseName());

} // namespace
