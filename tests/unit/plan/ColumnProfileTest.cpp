// What is kept of a column: the quick way over shapes gives what the rules give cell by cell.
#include "plan/scan/ColumnProfile.h"

#include "plan/scan/ColumnRuns.h"
#include "plan/scan/MarkBits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <kernels/Kernels.h>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Orvane::Import;
using Scan::ColumnFacts;
using Scan::ColumnProfile;
using Values::ECell;

/// Rows of one column as a regular run has them.
struct Column
{
    std::string text;
    std::vector<std::uint32_t> ends = {std::numeric_limits<std::uint32_t>::max()};
};

Column MakeColumn(const std::vector<std::string>& cells)
{
    Column column;
    for (const std::string& cell : cells) {
        column.text += cell;
        column.ends.push_back(static_cast<std::uint32_t>(column.text.size()));
        column.text += '\n';
    }
    column.text.append(ColumnProfile::kPadding, '\0');
    return column;
}

/// The facts by marks of the text.
ColumnFacts ProfileMarked(const std::vector<std::string>& cells, bool hasQuotes)
{
    Column column = MakeColumn(cells);
    column.text.append(AsciiReader::Kernels::kPadding, '\0');
    std::vector<std::uint64_t> marks(Scan::CountMarkWords(column.text.size(), 2));
    AsciiReader::Kernels::Best().markNumbers(column.text.data(), column.text.size(), marks.data());
    ColumnProfile profile;
    // In two runs, as pieces of a file come.
    const std::size_t first = cells.size() / 3;
    const char* const text = column.text.data();
    const std::uint32_t* const ends = column.ends.data() + 1;
    profile.AddRun({text, ends, 1, first, 1, 0, hasQuotes, marks.data()});
    profile.AddRun(
        {text, ends + first, 1, cells.size() - first, first + 1, 0, hasQuotes, marks.data()});
    return profile.Finish();
}

std::string Describe(const Scan::Position& position)
{
    return std::to_string(position.line) + ":" + std::to_string(position.byte);
}

std::string Describe(const Scan::NumberRange& range)
{
    return (range.isKnown ? "known " : "none ") + std::to_string(range.least) + " x" +
           std::to_string(range.atLeast) + " " + Describe(range.leastPosition) + " to " +
           std::to_string(range.most) + " x" + std::to_string(range.atMost) + " " +
           Describe(range.mostPosition) + " zeros " + std::to_string(range.zeros) + "\n";
}

/// All that is known of a column.
std::string Describe(const ColumnFacts& facts)
{
    std::string text;
    for (const Scan::ClassFacts& cell : facts.classes) {
        text += std::to_string(cell.count);
        for (const Scan::Example& example : cell.examples) {
            text += " " + Describe(example.position) + " <" + example.text + ">";
        }
        text += "\n";
    }
    for (const std::uint64_t number : {std::uint64_t{facts.readings},
                                       std::uint64_t{facts.notations},
                                       std::uint64_t{facts.dateForms},
                                       std::uint64_t{facts.words},
                                       facts.withOffset,
                                       facts.contradictions,
                                       facts.markedAngles,
                                       facts.plainAngles,
                                       std::uint64_t{facts.angleParts},
                                       std::uint64_t{facts.mostDecimals},
                                       std::uint64_t{facts.shortest},
                                       std::uint64_t{facts.longest},
                                       facts.quoted,
                                       facts.unexamined}) {
        text += std::to_string(number) + " ";
    }
    text += Describe(facts.plain);
    for (const Scan::NumberRange& range : facts.spelled) {
        text += Describe(range);
    }
    for (const Scan::WordFacts& word : facts.wordFacts) {
        text += "<" + word.text + "> " + std::to_string(word.count) + " ";
    }
    return text;
}

ColumnFacts Profile(const std::vector<std::string>& cells)
{
    const Column column = MakeColumn(cells);
    ColumnProfile profile;
    profile.AddRun({column.text.data(), column.ends.data() + 1, 1, cells.size(), 1, 0});
    return profile.Finish();
}

TEST(ColumnProfileAddRun, CountsEachClassWithItsFirstPlace)
{
    const ColumnFacts facts =
        Profile({"1", "", "2.5", "-3", "abc", "007", "NA", "1,5", "2018-01-28"});
    EXPECT_EQ(facts.CountAll(), 9U);
    EXPECT_EQ(facts.CountValues(), 7U);
    EXPECT_EQ(facts.Count(ECell::Integer), 2U);
    EXPECT_EQ(facts.Count(ECell::Decimal), 1U);
    EXPECT_EQ(facts.Count(ECell::Code), 1U);
    EXPECT_EQ(facts.Count(ECell::Spelled), 1U);
    EXPECT_EQ(facts.Count(ECell::Date), 1U);
    const auto& texts = facts.classes[static_cast<std::size_t>(ECell::Text)].examples;
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, "abc");
    EXPECT_EQ(texts[0].position.line, 5U);
    EXPECT_EQ(texts[0].position.byte, 10U);
    EXPECT_EQ(facts.readings, 0U);
}

TEST(ColumnProfileAddRun, KeepsTheSmallestAndTheLargestNumber)
{
    const ColumnFacts facts = Profile({"12", "-9999", "7.25", "-9999", "-3", "100", "9"});
    ASSERT_TRUE(facts.plain.isKnown);
    EXPECT_EQ(facts.plain.least, -9999);
    EXPECT_EQ(facts.plain.atLeast, 2U);
    EXPECT_EQ(facts.plain.most, 100);
    EXPECT_EQ(facts.mostDecimals, 2U);
}

TEST(ColumnProfileAddRun, KeepsTheRangeInEachNotation)
{
    const ColumnFacts facts = Profile({"1,234", "-7,5", "12", "-7,5", "0,0", "123456789012,5678"});
    const auto comma = facts.RangeIn(Orvane::Import::Values::NotationComma);
    ASSERT_TRUE(comma.isKnown);
    EXPECT_EQ(comma.least, -7.5);
    EXPECT_EQ(comma.atLeast, 2U);
    EXPECT_EQ(comma.most, 123456789012.5678);
    EXPECT_EQ(comma.zeros, 1U);
    EXPECT_EQ(facts.RangeIn(Orvane::Import::Values::NotationCommaGroups).most, 1234);
    EXPECT_EQ(facts.plain.most, 12);
}

TEST(ColumnProfileAddRun, SeesALeadingZeroAmongNumbersOfTheSameLength)
{
    const ColumnFacts facts = Profile({"1234", "0234", "2234", "-0123", "-1123"});
    EXPECT_EQ(facts.Count(ECell::Integer), 3U);
    EXPECT_EQ(facts.Count(ECell::Code), 2U);
}

TEST(ColumnProfileAddRun, RulesOutAnOrderOfDayAndMonthByOneLateCell)
{
    std::vector<std::string> cells(5000, "03/04/2018");
    cells.emplace_back("28/04/2018");
    const ColumnFacts facts = Profile(cells);
    EXPECT_EQ(facts.dateForms, Values::DateDayMonthYearSlash);
    EXPECT_EQ(facts.readings, Values::ReadingDate);
}

TEST(ColumnProfileAddRun, OnlyCountsTheCellsOfAColumnProvedText)
{
    std::vector<std::string> cells;
    for (int i = 0; i < 40000; ++i) {
        cells.push_back(i % 100 == 0 ? "" : "name of place " + std::to_string(i));
    }
    const ColumnFacts facts = Profile(cells);
    EXPECT_EQ(facts.CountAll(), cells.size());
    EXPECT_EQ(facts.Count(ECell::Empty), 400U);
    EXPECT_GT(facts.unexamined, 30000U);
    EXPECT_EQ(facts.longest, std::string_view("name of place 39999").size());
}

TEST(ColumnProfileAddRun, KeepsAtMostSoManyWords)
{
    std::vector<std::string> few;
    std::vector<std::string> many;
    for (int i = 0; i < 300; ++i) {
        few.emplace_back(i % 3 == 0 ? "yes" : "No");
        many.push_back(std::string(1, static_cast<char>('a' + i % 26)) +
                       std::string(1, static_cast<char>('a' + i / 26)));
    }
    const ColumnFacts facts = Profile(few);
    ASSERT_EQ(facts.wordFacts.size(), 2U);
    EXPECT_EQ(facts.wordFacts[0].text, "yes");
    EXPECT_EQ(facts.wordFacts[0].count, 100U);
    EXPECT_EQ(facts.wordFacts[1].count, 200U);
    EXPECT_EQ(facts.words, Values::WordYes | Values::WordNo);
    EXPECT_TRUE(Profile(many).hasManyWords);
}

std::string RandomCell(std::mt19937_64& random)
{
    const auto below = [&](std::uint64_t bound) { return random() % bound; };
    switch (below(9)) {
    case 0:
        return {};
    case 1:
        return std::to_string(below(1000000));
    case 2:
        return "-" + std::to_string(below(1000)) + "." + std::to_string(below(1000));
    case 3:
        return std::to_string(below(10)) + "e" + std::to_string(below(3));
    case 4:
        return std::to_string(1 + below(12)) + "/" + std::to_string(1 + below(12)) + "/2018";
    case 5:
        return "0" + std::to_string(below(100));
    case 6:
        return below(2) == 0 ? "yes" : "NA";
    case 7:
        return "a longer text than sixteen bytes " + std::to_string(below(10));
    default:
        return std::to_string(below(100)) + "N";
    }
}

// The quick way and the rules applied cell by cell, over columns of few and of many kinds.
TEST(ColumnProfileProperty, ShapesGiveWhatTheRulesGiveCellByCell)
{
    std::mt19937_64 random(5);
    for (int round = 0; round < 300; ++round) {
        const std::uint64_t kinds = 1 + random() % 6;
        std::vector<std::uint64_t> seeds(kinds);
        for (std::uint64_t& seed : seeds) {
            seed = random();
        }
        std::vector<std::string> cells;
        for (int i = 0; i < 200; ++i) {
            std::mt19937_64 cell(seeds[random() % kinds] + random() % 50);
            cells.push_back(RandomCell(cell));
        }
        const ColumnFacts facts = Profile(cells);
        std::array<std::uint64_t, Values::kCellClasses> counts{};
        unsigned readings = Values::kAllReadings;
        unsigned notations = Values::kAllNotations;
        unsigned words = 0;
        double least = std::numeric_limits<double>::infinity();
        double most = -least;
        for (const std::string& cell : cells) {
            const Values::CellReading reading = Values::ReadCell(cell);
            ++counts[static_cast<std::size_t>(reading.cell)];
            readings &= reading.readings;
            words |= reading.words;
            if (reading.number.notations != 0 && reading.cell != ECell::Code) {
                notations &= reading.number.notations;
            }
            if (reading.cell == ECell::Integer || reading.cell == ECell::Decimal) {
                const double value = Values::ToDouble(cell, Values::NotationPlain);
                least = std::min(least, value);
                most = std::max(most, value);
            }
        }
        for (std::size_t cell = 0; cell < counts.size(); ++cell) {
            ASSERT_EQ(facts.classes[cell].count, counts[cell]) << round << " " << cell;
        }
        ASSERT_EQ(facts.readings, readings);
        ASSERT_EQ(facts.notations, notations);
        ASSERT_EQ(facts.words, words);
        ASSERT_EQ(facts.plain.isKnown, least <= most);
        if (facts.plain.isKnown) {
            ASSERT_EQ(facts.plain.least, least);
            ASSERT_EQ(facts.plain.most, most);
        }
    }
}

std::string RandomNumber(std::mt19937_64& random)
{
    static const std::string kUnits = "0123456789.-";
    switch (random() % 6) {
    case 0:
        return {};
    case 1: {
        std::string cell;
        for (std::size_t size = random() % 20; cell.size() < size;) {
            cell.push_back(kUnits[random() % kUnits.size()]);
        }
        return cell;
    }
    case 2:
        return random() % 2 == 0 ? "north" : "a longer word";
    default:
        return (random() % 2 == 0 ? "-" : "") + std::to_string(random() % 300) + "." +
               std::to_string(random() % 1000);
    }
}

// Marks say of a cell what its bytes say.
TEST(ColumnProfileProperty, MarksGiveWhatBytesGive)
{
    std::mt19937_64 random(6);
    for (int round = 0; round < 400; ++round) {
        const bool hasQuotes = round % 3 == 0;
        const std::size_t thousands = 1 + random() % 3;
        std::vector<std::string> cells;
        for (std::size_t i = 0; i < thousands * 1000; ++i) {
            std::string cell = random() % 40 == 0 ? RandomCell(random) : RandomNumber(random);
            if (hasQuotes && random() % 2 == 0) {
                cell = '"' + cell + '"';
            }
            if (round % 5 == 0) {
                cell += '\r';
            }
            cells.push_back(std::move(cell));
        }
        if (round % 4 == 0) {
            // A number that rises is always the largest.
            for (std::size_t i = 0; i < cells.size(); ++i) {
                cells[i] = std::to_string(995 + i);
            }
        }
        const Column column = MakeColumn(cells);
        ColumnProfile profile;
        profile.AddRun(
            {column.text.data(), column.ends.data() + 1, 1, cells.size(), 1, 0, hasQuotes});
        ASSERT_EQ(Describe(profile.Finish()), Describe(ProfileMarked(cells, hasQuotes))) << round;
    }
}

/// Cells of one kind of column, in a file of so many rows.
class CellMaker
{
public:
    explicit CellMaker(std::mt19937_64& random)
        : m_kind(random() % 7)
        , m_digits(1 + random() % 5)
        , m_odd(random() % 3 == 0 ? 40 : 4000)
    {}

    std::string Make(std::mt19937_64& random, std::size_t row) const
    {
        if (random() % m_odd == 0) {
            return RandomCell(random);
        }
        switch (m_kind) {
        case 0: // rises
            return std::to_string(row + 95);
        case 1: // falls
            return std::to_string(1000000 - row);
        case 2: // of the same few values
            return std::to_string(random() % 3);
        case 3:
            return random() % 2 == 0 ? "true" : "false";
        case 4: // changes half way
            return row < 1500 ? std::to_string(random() % 100) : "word" + std::to_string(row % 5);
        case 5:
            return random() % 4 == 0 ? "" : std::to_string(random() % 1000) + ".25";
        default:
            return (random() % 2 == 0 ? "-" : "") + std::to_string(random() % 180) + "." +
                   std::to_string(random()).substr(0, m_digits);
        }
    }

private:
    std::uint64_t m_kind;
    std::uint64_t m_digits;
    std::uint64_t m_odd;
};

// Columns side by side, by the kernel as far as it goes, and one after the other.
TEST(ColumnRunsProperty, ColumnsSideBySideHaveTheFactsOfEachAlone)
{
    std::mt19937_64 random(7);
    for (int round = 0; round < 120; ++round) {
        const std::size_t columns = 1 + random() % 19;
        const std::size_t rows = 3000;
        const bool hasQuotes = round % 4 == 0;
        std::vector<CellMaker> makers;
        for (std::size_t column = 0; column < columns; ++column) {
            makers.emplace_back(random);
        }
        Column table;
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t column = 0; column < columns; ++column) {
                const std::string cell = makers[column].Make(random, row);
                table.text += hasQuotes && random() % 30 == 0 ? '"' + cell + '"' : cell;
                const bool isLast = column + 1 == columns;
                table.text += isLast && round % 5 == 0 ? "\r" : "";
                table.ends.push_back(static_cast<std::uint32_t>(table.text.size()));
                table.text += isLast ? '\n' : ',';
            }
        }
        table.text.append(AsciiReader::Kernels::kPadding, '\0');
        std::vector<std::uint64_t> marks(Scan::CountMarkWords(table.text.size(), 2));
        AsciiReader::Kernels::Best().markNumbers(
            table.text.data(), table.text.size(), marks.data());
        std::vector<std::size_t> order;
        for (std::size_t column = columns; round % 3 == 0 && column > 0; --column) {
            order.push_back(column - 1);
        }
        std::vector<ColumnProfile> together(columns);
        std::vector<ColumnProfile> alone(columns);
        Scan::ColumnRuns runs;
        for (std::size_t row = 0; row < rows;) {
            const std::size_t now = std::min<std::size_t>(1 + random() % 400, rows - row);
            Scan::CellRun run{table.text.data(),
                              table.ends.data() + 1 + row * columns,
                              columns,
                              now,
                              row + 1,
                              0,
                              hasQuotes,
                              marks.data()};
            runs.Add(run, together, order);
            for (std::size_t column = 0; column < columns; ++column, ++run.ends) {
                run.endsLine = column + 1 == columns;
                alone[order.empty() ? column : order[column]].AddRun(run);
            }
            row += now;
        }
        for (std::size_t column = 0; column < columns; ++column) {
            ASSERT_EQ(Describe(alone[column].Finish()), Describe(together[column].Finish()))
                << round << " " << column;
        }
    }
}

} // namespace
