// Logical lines: single lines, lines by blocks and lines put back, compared with the literal
// cutter; blocks of two sizes, compared where the size must not matter.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "LiteralRules.h"
#include "ReaderTraces.h"
#include "TextMaker.h"
#include "lines/LineSource.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QFile>

#include <algorithm>
#include <deque>
#include <string>

namespace Fuzz {

using AsciiReader::LineBlock;
using AsciiReader::LineSource;
using AsciiReader::SourceLine;
using Orvane::BParamList;
using Orvane::BString;
using ReaderTraces::Quoted;

namespace {

const char* const kCodecs[] = {"",
                               "UTF-8",
                               "UTF-16",
                               "UTF-16LE",
                               "UTF-16BE",
                               "UTF-32",
                               "CP949",
                               "Shift_JIS",
                               "GB18030",
                               "windows-1252",
                               "EUC-JP",
                               "ISO-8859-1"};

/// Lines as texts; the failure that ended them, if any, stands last.
using Lines = std::deque<std::string>;

BString Failed()
{
    return Orvane::MakeBString(QStringLiteral("\n") +
                               LiteralReader::DescribeCurrentException().message);
}

Lines CutLiterally(const QString& path, const BParamList& params, std::size_t blockSize)
{
    QStringList lines;
    Lines result;
    const auto takeOver = [&] {
        for (const QString& line : lines) {
            result.push_back(Quoted(line));
        }
    };
    try {
        LiteralReader::Rules::ReadLines(path, params, blockSize, lines);
        takeOver();
    } catch (const std::exception&) {
        takeOver();
        result.push_back(Quoted(Failed()));
    }
    return result;
}

/// A source that is asked for its lines in several ways.
class Source
{
public:
    Source(const QString& path, const BParamList& params, std::size_t blockSize)
        : m_file(path)
        , m_skips(!params.HasProperty(Orvane::IGNORE_BLANK_ROWS))
        , m_lines(MakeOptions(params), blockSize)
    {
        if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            Fail("the file cannot be opened");
        }
        m_lines.SetDevice(&m_file);
    }

    /// @return false at the end or after a failure, which is a line too
    bool TakeLine(Lines& lines)
    {
        SourceLine line;
        try {
            if (!m_lines.Next(line) || (line.text.IsEmpty() && m_lines.AtEnd())) {
                return false;
            }
        } catch (const std::exception&) {
            lines.push_back(Quoted(Failed()));
            return false;
        }
        const QString text = Orvane::MakeQString(line.text.ToString());
        lines.push_back(Quoted(text));
        if (!line.mayBeUnbalanced && text.count(QLatin1Char('"')) % 2 != 0) {
            Fail("a line whose quotes do not balance is said to balance: " + lines.back());
        }
        return true;
    }

    /// Takes up to `wanted` lines of a block, cut here.
    void TakeFromBlock(std::size_t wanted, Lines& lines)
    {
        LineBlock block{};
        if (!m_lines.GetBlock(block)) {
            return;
        }
        std::size_t begin = block.begin;
        while (begin < block.end && wanted > 0) {
            std::size_t at = begin;
            bool isInQuotes = false;
            for (;; ++at) {
                if (at >= block.end) {
                    Fail("a block ends inside a line");
                }
                isInQuotes = isInQuotes != (block.text[at] == '"');
                const bool isEnd = block.text[at] == block.lineEnd &&
                                   (!block.isCrLf || (at > begin && block.text[at - 1] == '\r'));
                if (isEnd && !isInQuotes) {
                    break;
                }
                if (isInQuotes && !block.hasQuotes) {
                    Fail("a block without quotes has one");
                }
            }
            const std::size_t end = block.isCrLf ? at - 1 : at;
            const AsciiReader::TextView text({block.text + begin, end - begin}, block.unit);
            if (!text.IsEmpty() || !m_skips) {
                lines.push_back(Quoted(text.ToString()));
            }
            begin = at + 1;
            --wanted;
        }
        m_lines.SkipTo(begin);
    }

    void Rewind() { m_lines.Rewind(); }

    void PutBack(const BString& first, const BString& second) { m_lines.PutBack(first, second); }

    [[nodiscard]] bool Skips() const noexcept { return m_skips; }

    /// As the reader's preview does: the next two lines are taken and put back.
    void LookAhead(std::size_t& failures)
    {
        SourceLine line;
        BString texts[2];
        try {
            for (BString& text : texts) {
                text = m_lines.Next(line) ? line.text.ToString() : BString();
            }
        } catch (const std::exception&) {
            ++failures;
        }
        if (failures == 0 && !texts[0].IsEmpty() && !texts[1].IsEmpty()) {
            m_lines.PutBack(texts[0], texts[1]);
        } else {
            ++failures;
        }
    }

private:
    static AsciiReader::ReadOptions MakeOptions(const BParamList& params)
    {
        AsciiReader::ReadOptions options(params);
        options.ignoresBlankRows = !params.HasProperty(Orvane::IGNORE_BLANK_ROWS);
        return options;
    }

    QFile m_file;
    bool m_skips;
    LineSource m_lines;
};

void Compare(const char* what, const Lines& expected, const Lines& actual)
{
    for (std::size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
        const std::string end = "(end)";
        ExpectSame(std::string(what) + ", line " + std::to_string(i),
                   i < expected.size() ? expected[i] : end,
                   i < actual.size() ? actual[i] : end);
    }
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    BParamList params;
    const std::string codec = kCodecs[input.Below(std::size(kCodecs))];
    if (!codec.empty()) {
        params.Add("CODEC", BString(codec));
    }
    if (input.Bit()) {
        params.Add(Orvane::IGNORE_BLANK_ROWS, false);
    }
    std::size_t blockSize = 1 + input.Below(256);
    const std::string_view ways = input.Text();
    const std::string_view rest = input.Rest();
    if (rest.empty()) {
        return;
    }
    constexpr std::size_t kMostBlocks = 256;
    blockSize = std::max(blockSize, rest.size() / kMostBlocks);
    const QString path = ScratchFile(QStringLiteral("lines.csv"),
                                     QByteArray(rest.data(), static_cast<qsizetype>(rest.size())));
    for (const std::size_t size : {blockSize, LineSource::kBlockSize}) {
        const Lines expected = CutLiterally(path, params, size);
        Source plain(path, params, size);
        Lines lines;
        while (plain.TakeLine(lines)) {
        }
        Compare("lines one by one", expected, lines);

        Source mixed(path, params, size);
        lines.clear();
        std::size_t failures = 0;
        bool isFirst = true;
        for (FuzzInput way(ways); !way.IsEmpty() && failures == 0; isFirst = false) {
            const std::size_t step = way.Byte();
            switch (step % 4) {
            case 0:
                mixed.TakeFromBlock(1 + step / 4, lines);
                break;
            case 1:
                mixed.LookAhead(failures);
                break;
            case 2:
                if (isFirst || step >= 128) {
                    mixed.Rewind();
                    lines.clear();
                    break;
                }
                [[fallthrough]];
            default:
                failures += mixed.TakeLine(lines) ? 0U : 1U;
                break;
            }
        }
        if (failures == 0) {
            while (mixed.TakeLine(lines)) {
            }
            Compare("lines in several ways", expected, lines);
        }
    }
    // Without quotes and with one kind of line ending, the size of blocks does not matter.
    const bool isPlain = (codec.empty() || codec == "UTF-8") &&
                         rest.find_first_of("\"\r") == std::string_view::npos &&
                         !params.HasProperty(Orvane::IGNORE_BLANK_ROWS);
    if (isPlain) {
        Compare("blocks of two sizes",
                CutLiterally(path, params, LineSource::kBlockSize),
                CutLiterally(path, params, blockSize));
    }
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    const std::size_t codec = dice.Chance(60) ? dice.Below(2) : dice.Below(std::size(kCodecs));
    output.Byte(codec).Byte(dice.Below(2)).Byte(dice.Below(dice.Chance(50) ? 8 : 256));
    output.Text(dice.Bytes(dice.Below(12)));
    std::string text = MakeLines(dice, dice.Below(12), ",");
    if (dice.Chance(20)) {
        Break(dice, text);
    }
    if (codec == 2 || codec == 3) {
        const QString units = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
        text.assign(reinterpret_cast<const char*>(units.utf16()),
                    static_cast<std::size_t>(units.size()) * 2);
    }
    return output.Rest(text).Take();
}

} // namespace Fuzz
