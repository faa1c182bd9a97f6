// Random dirty tables whose truth is known: every cell has its value, or its row is listed.
#include "table/TableFile.h"

#include <Orvane/BNumbers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Orvane::Import;
using TableTest::ReadFile;
using TestSupport::TemporaryFolder;

enum class EKind {
    Whole,
    LargeWhole,
    Decimal,
    DecimalComma,
    Grouped,
    Word,
    Boolean,
    Day,
    Code,
    Clock
};

constexpr int kKinds = 10;

/// A cell as it stands between separators, without quotes, and its value.
struct Cell
{
    std::string text;
    std::string value; ///< what TableTest::ValueText gives when the column has its kind's type
};

/// A file and the rows that it has on purpose.
struct DirtyFile
{
    std::string bytes;
    PlanRequest request;
    std::vector<EKind> kinds;
    std::map<std::string, std::vector<Cell>> rows; ///< by the first cell
};

class Maker
{
public:
    explicit Maker(std::uint64_t seed)
        : m_random(seed)
    {}

    DirtyFile Make()
    {
        DirtyFile file;
        m_separator = PickUnit(",;\t|");
        m_lineEnd = Pick({"\n", "\r\n", "\r"});
        const int encoding = Number(0, 3);
        m_letters = encoding == 3 ? std::vector<std::string>{"a", "B", "9", "-"}
                                  : std::vector<std::string>{"a", "B", "\xC3\xA9", "\xC3\x9F", "0"};
        file.request.separator = std::string(1, m_separator);
        file.request.hasNames = true;
        file.request.quote = '"';
        file.request.hasNoPoints = true;
        const int columns = Number(2, 9);
        std::string text = "key";
        for (int column = 0; column < columns; ++column) {
            file.kinds.push_back(static_cast<EKind>(Number(0, kKinds - 1)));
            text += m_separator + ("name" + std::to_string(column));
        }
        const std::string names = text;
        text += m_lineEnd;
        const int rows = Number(20, 400);
        for (int row = 0; row < rows; ++row) {
            text += Row(row, file) + m_lineEnd;
            text += Dirt(row, names, columns);
        }
        file.bytes = Encode(text, encoding, file.request);
        return file;
    }

private:
    int Number(int least, int most)
    {
        return std::uniform_int_distribution<int>(least, most)(m_random);
    }

    bool Chance(int percent) { return Number(1, 100) <= percent; }

    char PickUnit(std::string_view units)
    {
        return units[static_cast<std::size_t>(Number(0, static_cast<int>(units.size()) - 1))];
    }

    std::string Pick(const std::vector<std::string>& texts)
    {
        return texts[static_cast<std::size_t>(Number(0, static_cast<int>(texts.size()) - 1))];
    }

    std::string Digits(int count)
    {
        std::string digits(1, PickUnit("123456789"));
        while (static_cast<int>(digits.size()) < count) {
            digits += PickUnit("0123456789");
        }
        return digits;
    }

    static std::string TextOf(double value)
    {
        char buffer[64];
        return {buffer, Orvane::BNumbers::FormatShortest(value, buffer)};
    }

    std::string TwoDigits(int least, int most)
    {
        const std::string digits = std::to_string(Number(least, most));
        return digits.size() == 1 ? "0" + digits : digits;
    }

    Cell MakeCell(EKind kind)
    {
        if (Chance(12)) {
            return {"", "null"};
        }
        if (Chance(2) && kind != EKind::Word && kind != EKind::Code) {
            return {Pick({"NA", "null", "-"}), "null"};
        }
        const std::string sign = Chance(30) ? "-" : "";
        switch (kind) {
        case EKind::Whole: {
            const std::string text = sign + Digits(Number(1, 9));
            return {text, text};
        }
        case EKind::LargeWhole: {
            const std::string text = sign + Digits(Number(11, 18));
            return {text, text};
        }
        case EKind::Decimal: {
            const std::string text = sign + Digits(Number(1, 6)) + "." + Digits(Number(1, 8));
            return {text, TextOf(std::strtod(text.c_str(), nullptr))};
        }
        case EKind::DecimalComma: {
            std::string text = sign + Digits(Number(4, 6)) + "." + Digits(Number(1, 8));
            const std::string value = TextOf(std::strtod(text.c_str(), nullptr));
            std::replace(text.begin(), text.end(), '.', ',');
            return {text, value};
        }
        case EKind::Grouped: {
            const std::string whole = Digits(3);
            const std::string rest = Digits(3);
            const std::string last = Digits(3);
            return {whole + "'" + rest + "'" + last + ".5",
                    TextOf(std::strtod((whole + rest + last + ".5").c_str(), nullptr))};
        }
        case EKind::Boolean:
            return Chance(50) ? Cell{Pick({"true", "TRUE", "True"}), "true"}
                              : Cell{Pick({"false", "FALSE"}), "false"};
        case EKind::Day: {
            const std::string day = TwoDigits(13, 28);
            const std::string month = TwoDigits(1, 12);
            const std::string year = std::to_string(Number(1900, 2099));
            return {day + "/" + month + "/" + year, "'" + year + "-" + month + "-" + day + "'"};
        }
        case EKind::Clock: {
            const std::string text =
                TwoDigits(0, 23) + ":" + TwoDigits(0, 59) + ":" + TwoDigits(0, 59);
            return {text, "'" + text + "'"};
        }
        case EKind::Code: {
            const std::string text = "0" + Digits(Number(2, 5));
            return {text, "'" + text + "'"};
        }
        case EKind::Word:
            break;
        }
        std::string text;
        const int size = Number(1, 30);
        for (int unit = 0; unit < size; ++unit) {
            text += Chance(8) ? Pick({" ", "\"", m_lineEnd, std::string(1, m_separator)})
                              : Pick(m_letters);
        }
        // A letter tells it from numbers, words and blanks at its ends from nothing.
        text = "w" + text + "w";
        return {text, "'" + text + "'"};
    }

    std::string Quoted(const std::string& text)
    {
        const bool isNeeded = text.find(m_separator) != std::string::npos ||
                              text.find_first_of("\"\r\n") != std::string::npos;
        if (!isNeeded && !Chance(20)) {
            return text;
        }
        std::string quoted = "\"";
        for (const char unit : text) {
            quoted += unit == '"' ? "\"\"" : std::string(1, unit);
        }
        return quoted + "\"";
    }

    std::string Row(int row, DirtyFile& file)
    {
        const std::string key = "k" + std::to_string(row) + "k";
        std::string text = Quoted(key);
        std::vector<Cell>& cells = file.rows[key];
        for (const EKind kind : file.kinds) {
            cells.push_back(MakeCell(kind));
            text += m_separator + Quoted(cells.back().text);
        }
        return text;
    }

    /// Lines that are no rows of the table, or cannot be.
    std::string Dirt(int row, const std::string& names, int columns)
    {
        if (row < 10 || !Chance(4)) {
            return {};
        }
        switch (Number(0, 3)) {
        case 0:
            return m_lineEnd;
        case 1:
            return "# noted by hand" + m_lineEnd;
        case 2:
            return names + m_lineEnd;
        default: {
            std::string text = "dirt";
            for (int cell = 0; cell < columns + 2; ++cell) {
                text += m_separator + std::string("zz");
            }
            return text + m_lineEnd;
        }
        }
    }

    std::string Encode(const std::string& text, int encoding, PlanRequest& request)
    {
        std::string bytes;
        switch (encoding) {
        case 0:
            request.encoding = "UTF-8";
            return text;
        case 1:
            request.encoding = "WINDOWS-1252";
            for (std::size_t at = 0; at < text.size(); ++at) {
                const auto unit = static_cast<unsigned char>(text[at]);
                if (unit < 0x80) {
                    bytes.push_back(text[at]);
                } else {
                    ++at;
                    bytes.push_back(static_cast<char>(
                        ((unit & 3U) << 6U) | (static_cast<unsigned char>(text[at]) & 63U)));
                }
            }
            return bytes;
        case 2:
            bytes = "\xFF\xFE";
            for (std::size_t at = 0; at < text.size(); ++at) {
                unsigned unit = static_cast<unsigned char>(text[at]);
                if (unit >= 0x80) {
                    ++at;
                    unit = ((unit & 31U) << 6U) | (static_cast<unsigned char>(text[at]) & 63U);
                }
                bytes.push_back(static_cast<char>(unit & 0xFFU));
                bytes.push_back(static_cast<char>(unit >> 8U));
            }
            return bytes;
        default:
            return text;
        }
    }

    std::mt19937_64 m_random;
    char m_separator = ',';
    std::string m_lineEnd;
    std::vector<std::string> m_letters;
};

/// Whether a value of the layer is what the file says of a cell.
bool IsTrue(const Cell& cell, const std::string& value)
{
    // A column that has no one type keeps its cells as texts.
    return value == cell.value || value == "'" + cell.text + "'" ||
           (cell.text.empty() && value == "null");
}

class ReadTableRandom : public testing::TestWithParam<int>
{};

INSTANTIATE_TEST_SUITE_P(, ReadTableRandom, testing::Range(0, 20));

TEST_P(ReadTableRandom, EveryCellHasItsValueOrItsRowIsListed)
{
    constexpr std::uint64_t kFiles = 5;
    for (std::uint64_t file = 0; file < kFiles; ++file) {
        const std::uint64_t seed = static_cast<std::uint64_t>(GetParam()) * kFiles + file;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const DirtyFile dirty = Maker(seed).Make();
        const TemporaryFolder folder;
        const std::string path = folder.File("table.csv", dirty.bytes).ToUtf8();
        const Plan plan = MakePlan(path, dirty.request);
        TableRequest request;
        const ReadFile read = TableTest::ReadPlanned(plan, request);
        request.isOneByOne = true;
        const ReadFile slow = TableTest::ReadPlanned(plan, request);

        ASSERT_EQ(TableTest::Rows(*read.layer), TableTest::Rows(*slow.layer));
        ASSERT_EQ(TableTest::BadWords(read.bad), TableTest::BadWords(slow.bad));
        ASSERT_EQ(read.counts.lines.Sum(), plan.bytes.lines);
        ASSERT_EQ(slow.counts.lines.Sum(), plan.bytes.lines);
        ASSERT_EQ(read.counts.points, slow.counts.points);
        ASSERT_EQ(read.counts.lineWithoutPoint, slow.counts.lineWithoutPoint);
        for (const ColumnCounts& column : read.counts.columns) {
            ASSERT_EQ(column.values + column.empties + column.nullWords, read.counts.rows);
        }
        std::size_t found = 0;
        const Orvane::BFeatureCollection& features = read.layer->GetFeatures();
        for (std::size_t row = 0; row < features.GetCount(); ++row) {
            const Orvane::BFeaturePage& page = features.GetPage(0);
            std::string key = TableTest::ValueText(page, row, 0);
            key = key.substr(1, key.size() - 2);
            const auto truth = dirty.rows.find(key);
            if (truth == dirty.rows.end()) {
                continue;
            }
            ++found;
            for (std::size_t column = 0; column < truth->second.size(); ++column) {
                const std::string value = TableTest::ValueText(page, row, column + 1);
                ASSERT_TRUE(IsTrue(truth->second[column], value))
                    << key << ", column " << column + 1 << ": '" << truth->second[column].text
                    << "' became " << value;
            }
        }
        for (const TableTest::BadRow& bad : read.bad) {
            const bool isKnown =
                std::any_of(dirty.rows.begin(), dirty.rows.end(), [&](const auto& row) {
                    return bad.raw.find(row.first) != std::string::npos;
                });
            found += isKnown ? 1U : 0U;
        }
        ASSERT_EQ(found, dirty.rows.size());
    }
}

} // namespace
