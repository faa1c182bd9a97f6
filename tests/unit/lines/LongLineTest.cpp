// How much the reader reads of a line without an ending.
#include "lines/LineSource.h"
#include "support/TestFiles.h"

#include <Orvane/BStringQt.h>

#include <QFile>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using AsciiReader::LineSource;
using AsciiReader::SourceLine;
using Orvane::BString;
using TestSupport::ExpectBException;
using TestSupport::Options;
using TestSupport::TemporaryFolder;

constexpr std::size_t kBlock = 16;
constexpr std::size_t kLongest = 100;

/// A file that is read in blocks of 16 bytes, with lines of 100 characters or a block more.
class LongLines
{
public:
    explicit LongLines(const std::string& bytes, const Options& options = Options())
        : m_path(m_folder.File("long.csv", bytes))
        , m_device(Orvane::MakeQString(m_path))
        , m_lines(options, kBlock, kLongest)
    {
        m_device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        m_lines.SetDevice(&m_device);
    }

    BString Next()
    {
        SourceLine line;
        m_lines.Next(line);
        return line.text.ToString();
    }

    [[nodiscard]] BString Message() const
    {
        return BString::Format("A line of the file <%ls> is longer than 100 characters.", m_path);
    }

private:
    TemporaryFolder m_folder;
    BString m_path;
    QFile m_device;
    LineSource m_lines;
};

TEST(LineSourceLongLines, ALineOfTheLongestSizeIsRead)
{
    const std::string longest(kLongest, 'a');
    LongLines lines(longest + "\nb\n");
    EXPECT_EQ(lines.Next(), BString(longest));
    EXPECT_EQ(lines.Next(), BString("b"));
}

TEST(LineSourceLongLines, ALineWithoutEndingStopsTheReadingAndSaysWhere)
{
    LongLines lines("b\n" + std::string(1000, 'a'));
    EXPECT_EQ(lines.Next(), BString("b"));
    ExpectBException([&] { lines.Next(); },
                     lines.Message(),
                     "AsciiFile::GetSafeLine",
                     "There is no line ending up to byte 112.");
}

TEST(LineSourceLongLines, AQuotedLineWithoutEndingStopsTheReadingToo)
{
    LongLines lines("\"" + std::string(1000, ','));
    ExpectBException([&] { lines.Next(); },
                     lines.Message(),
                     "AsciiFile::GetSafeLine",
                     "There is no line ending up to byte 112.");
}

TEST(LineSourceLongLines, CharactersOfTwoBytesCountOnce)
{
    std::string bytes;
    for (int count = 0; count < 1000; ++count) {
        bytes += std::string("a\0", 2);
    }
    LongLines lines(bytes, Options().Set("CODEC", "UTF-16LE"));
    ExpectBException([&] { lines.Next(); },
                     lines.Message(),
                     "AsciiFile::GetSafeLine",
                     "There is no line ending up to byte 208.");
}

TEST(LineSourceLongLines, TheFailureComesAgainWhenTheLineIsAskedForAgain)
{
    LongLines lines(std::string(1000, 'a'));
    for (int time = 0; time < 2; ++time) {
        ExpectBException([&] { lines.Next(); },
                         lines.Message(),
                         "AsciiFile::GetSafeLine",
                         "There is no line ending up to byte 112.");
    }
}

} // namespace
