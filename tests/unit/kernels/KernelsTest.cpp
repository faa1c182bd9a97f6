// Holds every set of kernels that the processor runs against plain loops.
#include "kernels/Kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace AsciiReader::Kernels;

std::vector<const Set*> AllSets()
{
    const Set* sets[3] = {};
    const std::size_t count = GetAll(sets);
    return {sets, sets + count};
}

std::string Padded(const std::string& text)
{
    return text + std::string(kPadding, '\xFF');
}

/// The rule of the index, one byte after the other.
std::vector<std::uint32_t> IndexPlainly(const std::string& text, const Structure& structure)
{
    std::vector<std::uint32_t> positions;
    bool isInQuotes = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        isInQuotes = isInQuotes != (text[at] == '"' && structure.hasQuotes);
        const bool isEnd = text[at] == structure.lineEnd &&
                           (!structure.isCrLf || (at > 0 && text[at - 1] == '\r'));
        if (!isInQuotes && (isEnd || text[at] == structure.separator)) {
            positions.push_back(static_cast<std::uint32_t>(at));
        }
    }
    return positions;
}

std::string MakeRandomText(std::mt19937& random, std::size_t size, bool hasQuotes)
{
    static const std::string kUnits = "a,1\n\r;\xE9\",\n\r\n";
    std::string text;
    while (text.size() < size) {
        const char unit = kUnits[random() % kUnits.size()];
        text.push_back(unit == '"' && !hasQuotes ? 'b' : unit);
    }
    return text;
}

TEST(KernelsIndex, FindsWhatAPlainLoopFindsInOneGoAndInParts)
{
    std::mt19937 random(1);
    for (int round = 0; round < 600; ++round) {
        Structure structure;
        structure.separator = round % 2 == 0 ? ',' : ';';
        structure.hasQuotes = round % 3 != 0;
        structure.isCrLf = round % 4 == 1;
        structure.lineEnd = round % 4 == 2 ? '\r' : '\n';
        const std::string text = MakeRandomText(random, random() % 300, structure.hasQuotes);
        const std::string padded = Padded(text);
        const std::vector<std::uint32_t> expected = IndexPlainly(text, structure);
        std::size_t lineEnds = 0;
        for (const std::uint32_t at : expected) {
            lineEnds += text[at] == structure.lineEnd ? 1U : 0U;
        }
        for (const Set* set : AllSets()) {
            for (const std::size_t part : {std::size_t{64}, std::size_t{128}, text.size() + 1}) {
                IndexState state;
                std::vector<std::uint32_t> positions(text.size() + kPadding);
                std::size_t count = 0;
                for (std::size_t from = 0; from < text.size(); from += part) {
                    count += set->index(padded.data(),
                                        from,
                                        std::min(from + part, text.size()),
                                        structure,
                                        state,
                                        positions.data() + count);
                }
                positions.resize(count);
                ASSERT_EQ(expected, positions) << set->name << " round " << round;
                EXPECT_EQ(lineEnds, state.lineEnds) << set->name;
                EXPECT_EQ(text.find('\xE9') != std::string::npos, state.highBytes != 0)
                    << set->name;
            }
        }
    }
}

/// One column of fields in a text, and what a kernel made of it.
struct Column
{
    explicit Column(const std::vector<std::string>& values)
        : text(32, '#')
    {
        ends.push_back(static_cast<std::uint32_t>(text.size()));
        text += ',';
        for (const std::string& value : values) {
            text += value;
            ends.push_back(static_cast<std::uint32_t>(text.size()));
            text += ',';
        }
        text = Padded(text);
    }

    [[nodiscard]] FieldRun Run(bool hasQuotes) const
    {
        return {text.data(), ends.data() + 1, 1, 0, ends.size() - 1, hasQuotes};
    }

    std::string text;
    std::vector<std::uint32_t> ends;
};

const std::vector<std::string> kNumbers = {
    "0",    "-0",  "7",        "-7",         "12.5",   "-12.50",           ".5",
    "-.5",  "1.",  "0.000001", "123456.789", "000123", "9007199254740991", "0.1",
    "-180", "3.0", "99999999", "12345678.9", "1.5e",   "179.999999999"};

const std::vector<std::string> kOddFields = {"",
                                             "-",
                                             ".",
                                             "-.",
                                             "+1",
                                             " 1",
                                             "1 ",
                                             "1e5",
                                             "0x10",
                                             "nan",
                                             "1.2.3",
                                             "--1",
                                             "1-",
                                             "12345678901234567",
                                             "9007199254740993",
                                             "\"1\"",
                                             "1\xC3\xA9"};

TEST(KernelsToDoubles, GiveWhatStrtodGivesAndListTheOthers)
{
    std::vector<std::string> values = kNumbers;
    values.insert(values.end(), kOddFields.begin(), kOddFields.end());
    std::mt19937_64 random(2);
    for (int round = 0; round < 20000; ++round) {
        std::string number = std::to_string(random() % 1000000000000000U);
        number.insert(random() % (number.size() + 1), ".");
        values.push_back((round % 3 == 0 ? "-" : "") + number.substr(0, 15));
    }
    const Column column(values);
    for (const Set* set : AllSets()) {
        std::vector<double> out(values.size());
        std::vector<std::uint32_t> odd(values.size());
        odd.resize(set->toDoubles(column.Run(false), out.data(), odd.data()));
        std::size_t nextOdd = 0;
        for (std::size_t row = 0; row < values.size(); ++row) {
            const bool isOdd = nextOdd < odd.size() && odd[nextOdd] == row;
            nextOdd += isOdd ? 1U : 0U;
            if (!isOdd) {
                char* end = nullptr;
                const double expected = std::strtod(values[row].c_str(), &end);
                EXPECT_EQ(values[row].c_str() + values[row].size(), end) << values[row];
                EXPECT_EQ(0, std::memcmp(&expected, &out[row], sizeof expected))
                    << set->name << " " << values[row];
            }
            if (row >= kNumbers.size() && row < kNumbers.size() + kOddFields.size()) {
                EXPECT_TRUE(isOdd) << set->name << " <" << values[row] << ">";
            }
        }
        EXPECT_EQ(odd.size(), nextOdd);
        EXPECT_LE(odd.size(), kOddFields.size() + 1) << set->name;
    }
}

TEST(KernelsToDoubles, DropTheQuotesAroundAField)
{
    const Column column({"\"12.5\"", "\"-3\"", "7", "\"\"", "\"1\"2\"", "\""});
    for (const Set* set : AllSets()) {
        std::vector<double> out(6);
        std::vector<std::uint32_t> odd(6);
        odd.resize(set->toDoubles(column.Run(true), out.data(), odd.data()));
        EXPECT_EQ((std::vector<std::uint32_t>{3, 4, 5}), odd) << set->name;
        EXPECT_EQ(12.5, out[0]);
        EXPECT_EQ(-3, out[1]);
        EXPECT_EQ(7, out[2]);
    }
}

TEST(KernelsToInt32s, TakeWholeNumbersOfThirtyOneBitsOnly)
{
    const Column column({"0",
                         "-0",
                         "2147483647",
                         "-2147483647",
                         "007",
                         "2147483648",
                         "-2147483648",
                         "1.0",
                         "1.",
                         "",
                         "-",
                         "+1",
                         "99999999999"});
    for (const Set* set : AllSets()) {
        std::vector<std::int32_t> out(13);
        std::vector<std::uint32_t> odd(13);
        odd.resize(set->toInt32s(column.Run(false), out.data(), odd.data()));
        EXPECT_EQ(0, out[0]);
        EXPECT_EQ(0, out[1]);
        EXPECT_EQ(2147483647, out[2]);
        EXPECT_EQ(-2147483647, out[3]);
        EXPECT_EQ(7, out[4]);
        ASSERT_GE(odd.size(), 7U) << set->name;
        EXPECT_EQ(5U, odd[0]);
        EXPECT_EQ(6U, odd[1]);
        EXPECT_EQ(7U, odd[2]);
        for (const std::uint32_t row : odd) {
            EXPECT_GE(row, 5U) << set->name;
        }
    }
}

TEST(KernelsCountByte, CountsInTextsOfEveryLength)
{
    std::string text;
    for (std::size_t size = 0; size < 200; ++size) {
        for (const Set* set : AllSets()) {
            EXPECT_EQ((size + 2) / 3, set->countByte(text.data(), text.size(), 'x')) << set->name;
        }
        text.push_back(size % 3 == 0 ? 'x' : 'y');
    }
}

} // namespace
