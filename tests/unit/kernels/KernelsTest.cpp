// Compares every set of kernels that the processor runs with plain loops.
#include "kernels/Kernels.h"

#include "text/Utf8.h"
#include "text/ValueRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace AsciiReader::Kernels;

std::vector<const Set*> AllSets()
{
    const Set* sets[kMostSets] = {};
    const std::size_t count = GetAll(sets);
    return {sets, sets + count};
}

std::string Padded(const std::string& text)
{
    return text + std::string(kPadding, '\xFF');
}

/// The rule of the index, byte by byte.
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
            }
        }
    }
}

/// One column of fields in a text, and a kernel's result.
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
        return {text.data(), ends.data() + 1, 1, 0, ends.size() - 1, hasQuotes, false};
    }

    std::string text;
    std::vector<std::uint32_t> ends;
};

const std::vector<std::string> kNumbers = {
    "0",    "-0",  "7",        "-7",         "12.5",   "-12.50",           ".5",
    "-.5",  "1.",  "0.000001", "123456.789", "000123", "9007199254740991", "0.1",
    "-180", "3.0", "99999999", "12345678.9", "1.5e",   "179.999999999"};

const std::vector<std::string> kFallbackFields = {"",
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
    values.insert(values.end(), kFallbackFields.begin(), kFallbackFields.end());
    std::mt19937_64 random(2);
    for (int round = 0; round < 20000; ++round) {
        std::string number = std::to_string(random() % 1000000000000000U);
        number.insert(random() % (number.size() + 1), ".");
        values.push_back((round % 3 == 0 ? "-" : "") + number.substr(0, 15));
    }
    const Column column(values);
    for (const Set* set : AllSets()) {
        std::vector<double> out(values.size());
        std::vector<std::uint32_t> fallbacks(values.size());
        fallbacks.resize(set->toDoubles(column.Run(false), out.data(), fallbacks.data()));
        std::size_t nextFallback = 0;
        for (std::size_t row = 0; row < values.size(); ++row) {
            const bool isFallback =
                nextFallback < fallbacks.size() && fallbacks[nextFallback] == row;
            nextFallback += isFallback ? 1U : 0U;
            if (!isFallback) {
                char* end = nullptr;
                const double expected = std::strtod(values[row].c_str(), &end);
                EXPECT_EQ(values[row].c_str() + values[row].size(), end) << values[row];
                EXPECT_EQ(0, std::memcmp(&expected, &out[row], sizeof expected))
                    << set->name << " " << values[row];
            }
            if (row >= kNumbers.size() && row < kNumbers.size() + kFallbackFields.size()) {
                EXPECT_TRUE(isFallback) << set->name << " <" << values[row] << ">";
            }
        }
        EXPECT_EQ(fallbacks.size(), nextFallback);
        EXPECT_LE(fallbacks.size(), kFallbackFields.size() + 1) << set->name;
    }
}

/// `-?digits` or `-?[digits].[digits]` with a digit.
bool IsPlain(const std::string& field)
{
    const std::string digits = field.substr(field.substr(0, 1) == "-" ? 1 : 0);
    const auto points = std::count(digits.begin(), digits.end(), '.');
    return points <= 1 && digits.size() > static_cast<std::size_t>(points) &&
           digits.find_first_not_of("0123456789.") == std::string::npos;
}

template <typename Value>
void ExpectRightRows(const Set& set,
                     const std::vector<std::string>& values,
                     bool emptyIsZero,
                     std::size_t mostBytes,
                     const std::vector<Value>& out,
                     const std::vector<bool>& isFallback)
{
    for (std::size_t row = 0; row < values.size(); ++row) {
        const std::string& value = values[row];
        const std::string what = set.name + std::string(" <") + value + "> in row " +
                                 std::to_string(row) + " of " + std::to_string(values.size());
        const bool isPlain = (value.empty() && emptyIsZero) || IsPlain(value);
        if (isFallback[row]) {
            EXPECT_TRUE(!isPlain || value.size() > mostBytes) << what;
            continue;
        }
        EXPECT_TRUE(isPlain) << what;
        const auto expected = static_cast<Value>(std::strtod(value.c_str(), nullptr));
        EXPECT_EQ(0, std::memcmp(&expected, &out[row], sizeof expected)) << what;
    }
}

/// Converts a column and looks at each row: what is not fallbacks has to be plain and right; what
/// is plain and has at most fifteen digits must not be fallbacks.
template <typename Value, typename Convert>
void ExpectRight(const std::vector<std::string>& values,
                 bool hasQuotes,
                 bool emptyIsZero,
                 std::size_t mostBytes,
                 const Convert& convert)
{
    std::vector<std::string> fields;
    for (std::size_t row = 0; row < values.size(); ++row) {
        fields.push_back(hasQuotes && row % 5 != 0 ? '"' + values[row] + '"' : values[row]);
    }
    const Column column(fields);
    FieldRun run = column.Run(hasQuotes);
    run.emptyIsZero = emptyIsZero;
    for (const Set* set : AllSets()) {
        std::vector<Value> out(values.size());
        std::vector<std::uint32_t> fallbacks(values.size());
        fallbacks.resize(convert(*set, run, out.data(), fallbacks.data()));
        std::vector<bool> isFallback(values.size());
        for (const std::uint32_t row : fallbacks) {
            isFallback[row] = true;
        }
        ExpectRightRows(*set, values, emptyIsZero, mostBytes, out, isFallback);
    }
}

const std::vector<std::string> kStrays = {"",
                                          "-",
                                          ".",
                                          "-.",
                                          "7",
                                          "-7.",
                                          "-.5",
                                          "1.2.3",
                                          "12-3",
                                          "-0",
                                          "--1.25",
                                          "1e5",
                                          "99999999",
                                          "-123456789",
                                          "/",
                                          ":",
                                          "12.:",
                                          "1/.25",
                                          "1234567890123456.5"};

/// Decimals with the point at one place, and some strays among them.
std::vector<std::string>
MakeDecimals(std::mt19937_64& random, std::size_t rows, std::size_t fraction)
{
    std::vector<std::string> values(rows);
    for (std::string& value : values) {
        const std::size_t digits =
            std::min<std::size_t>(15, std::max<std::size_t>(1, fraction + random() % 7));
        value = std::to_string(1000000000000000U + random() % 1000000000000000U);
        value = value.substr(value.size() - digits);
        if (fraction > 0) {
            value.insert(digits - fraction, ".");
        }
        value.insert(0, random() % 3 == 0 ? "-" : "");
    }
    for (std::size_t strays = random() % 4; strays > 0; --strays) {
        values[random() % values.size()] = kStrays[random() % kStrays.size()];
    }
    return values;
}

TEST(KernelsToDoubles, AreRightInColumnsOfOneKindWithAStrayAtEachPlace)
{
    std::mt19937_64 random(6);
    for (std::size_t fraction = 0; fraction <= 15; ++fraction) {
        for (std::size_t round = 0; round < 400; ++round) {
            const std::vector<std::string> values =
                MakeDecimals(random, 1 + random() % 40, fraction);
            const auto convert =
                [](const Set& set, const FieldRun& run, double* out, auto* fallbacks) {
                    return set.toDoubles(run, out, fallbacks);
                };
            ExpectRight<double>(values, round % 2 == 0, round % 4 < 2, 15, convert);
        }
    }
}

TEST(KernelsToDoubles, AreRightInAdjacentColumns)
{
    std::mt19937_64 random(8);
    for (std::size_t round = 0; round < 2000; ++round) {
        const bool hasQuotes = round % 2 == 0;
        const bool emptyIsZero = round % 4 < 2;
        const std::size_t rows = 1 + random() % 20;
        std::vector<std::vector<std::string>> columns(1 + random() % 6);
        for (std::vector<std::string>& column : columns) {
            column = MakeDecimals(random, rows, random() % 16);
        }
        // The first fields end before or after the 32nd byte.
        std::string text(round % 3 == 0 ? 16 : 40, '#');
        text += ',';
        std::vector<std::uint32_t> ends{static_cast<std::uint32_t>(text.size() - 1)};
        for (std::size_t row = 0; row < rows; ++row) {
            for (const std::vector<std::string>& column : columns) {
                text += hasQuotes && random() % 4 != 0 ? '"' + column[row] + '"' : column[row];
                ends.push_back(static_cast<std::uint32_t>(text.size()));
                text += ',';
            }
        }
        text = Padded(text);
        const FieldRun run{
            text.data(), ends.data() + 1, columns.size(), 0, rows, hasQuotes, emptyIsZero};
        for (const Set* set : AllSets()) {
            std::vector<std::vector<double>> out(columns.size(), std::vector<double>(rows));
            std::vector<std::vector<bool>> isFallback(columns.size(), std::vector<bool>(rows));
            std::vector<DoubleColumn> targets;
            for (std::vector<double>& column : out) {
                targets.push_back({column.data(), static_cast<std::uint32_t>(random() % 16), 9});
            }
            std::vector<FallbackField> fallbacks(columns.size() * (rows + 3));
            fallbacks.resize(
                set->toDoublesOfColumns(run, targets.data(), targets.size(), fallbacks.data()));
            for (const FallbackField& field : fallbacks) {
                isFallback[field.column][field.row] = true;
            }
            for (std::size_t at = 0; at < columns.size(); ++at) {
                ExpectRightRows(*set, columns[at], emptyIsZero, 15, out[at], isFallback[at]);
            }
        }
    }
}

TEST(KernelsToInt32s, AreRightInColumnsOfOneKindWithAStrayAtEachPlace)
{
    std::mt19937_64 random(7);
    for (std::size_t round = 0; round < 4000; ++round) {
        std::vector<std::string> values(1 + random() % 40);
        for (std::string& value : values) {
            value = std::to_string(100000000U + random() % 100000000U).substr(1 + random() % 8);
            value.insert(0, random() % 3 == 0 ? "-" : "");
        }
        for (std::size_t strays = random() % 4; strays > 0; --strays) {
            std::string stray = kStrays[random() % kStrays.size()];
            stray = stray.find('.') == std::string::npos ? stray : "x";
            values[random() % values.size()] = stray;
        }
        for (std::string& value : values) {
            value = value == "-0" ? "0" : value;
        }
        const auto convert =
            [](const Set& set, const FieldRun& run, std::int32_t* out, auto* fallbacks) {
                return set.toInt32s(run, out, fallbacks);
            };
        ExpectRight<std::int32_t>(values, round % 2 == 0, round % 4 < 2, 9, convert);
    }
}

TEST(KernelsToDoubles, DropTheQuotesAroundAField)
{
    const Column column({"\"12.5\"", "\"-3\"", "7", "\"\"", "\"1\"2\"", "\""});
    for (const Set* set : AllSets()) {
        std::vector<double> out(6);
        std::vector<std::uint32_t> fallbacks(6);
        fallbacks.resize(set->toDoubles(column.Run(true), out.data(), fallbacks.data()));
        EXPECT_EQ((std::vector<std::uint32_t>{3, 4, 5}), fallbacks) << set->name;
        EXPECT_EQ(12.5, out[0]);
        EXPECT_EQ(-3, out[1]);
        EXPECT_EQ(7, out[2]);
    }
}

TEST(KernelsToInt32s, ConvertWholeNumbersOfThirtyOneBitsOnly)
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
        std::vector<std::uint32_t> fallbacks(13);
        fallbacks.resize(set->toInt32s(column.Run(false), out.data(), fallbacks.data()));
        EXPECT_EQ(0, out[0]);
        EXPECT_EQ(0, out[1]);
        EXPECT_EQ(2147483647, out[2]);
        EXPECT_EQ(-2147483647, out[3]);
        EXPECT_EQ(7, out[4]);
        ASSERT_GE(fallbacks.size(), 7U) << set->name;
        EXPECT_EQ(5U, fallbacks[0]);
        EXPECT_EQ(6U, fallbacks[1]);
        EXPECT_EQ(7U, fallbacks[2]);
        for (const std::uint32_t row : fallbacks) {
            EXPECT_GE(row, 5U) << set->name;
        }
    }
}

TEST(KernelsToDoubles, ConvertAnEmptyFieldToZeroOnRequest)
{
    for (const bool hasQuotes : {false, true}) {
        const Column column({"", "-", hasQuotes ? "\"\"" : "", ".", "5", "-0"});
        FieldRun run = column.Run(hasQuotes);
        run.emptyIsZero = true;
        for (const Set* set : AllSets()) {
            std::vector<double> out(6, -1);
            std::vector<std::int32_t> whole(6, -1);
            std::vector<std::uint32_t> fallbacks(6);
            fallbacks.resize(set->toDoubles(run, out.data(), fallbacks.data()));
            EXPECT_EQ((std::vector<std::uint32_t>{1, 3}), fallbacks) << set->name;
            EXPECT_EQ(0, out[0]);
            EXPECT_FALSE(std::signbit(out[0])) << set->name;
            EXPECT_EQ(0, out[2]);
            EXPECT_EQ(5, out[4]);
            EXPECT_TRUE(std::signbit(out[5])) << set->name;
            fallbacks.resize(6);
            fallbacks.resize(set->toInt32s(run, whole.data(), fallbacks.data()));
            EXPECT_EQ((std::vector<std::uint32_t>{1, 3}), fallbacks) << set->name;
            EXPECT_EQ(0, whole[0]);
            EXPECT_EQ(0, whole[2]);
        }
    }
}

TEST(KernelsToBooleans, KnowTheTrueWordsInAnyCase)
{
    const std::vector<std::string> trueWords = {
        "1", "y", "Y", "t", "T", "yes", "YES", "yEs", "true", "TRUE", "tRuE"};
    const std::vector<std::string> otherWords = {"",
                                                 "0",
                                                 "\x11",
                                                 "n",
                                                 "no",
                                                 "ye",
                                                 "yess",
                                                 "tru",
                                                 "tr",
                                                 "true ",
                                                 " 1",
                                                 "11",
                                                 "\x19",
                                                 "true1",
                                                 "TRUE\"",
                                                 "\xF9",
                                                 "ye\x13",
                                                 "trve"};
    std::vector<std::string> values = trueWords;
    values.insert(values.end(), otherWords.begin(), otherWords.end());
    for (const bool hasQuotes : {false, true}) {
        std::vector<std::string> fields;
        for (const std::string& value : values) {
            fields.push_back(hasQuotes ? '"' + value + '"' : value);
        }
        const Column column(fields);
        std::vector<std::uint8_t> out(values.size(), 7);
        AsciiReader::Kernels::ToBooleans(column.Run(hasQuotes), out.data());
        for (std::size_t row = 0; row < values.size(); ++row) {
            EXPECT_EQ(row < trueWords.size() ? 1 : 0, out[row]) << "<" << values[row] << ">";
        }
    }
}

/// Copies with a kernel and appends here what it leaves, so that all texts keep their order.
std::vector<std::string>
CopyTexts(const Set& set, const FieldRun& run, bool takesHighBytes, std::vector<std::size_t>& left)
{
    std::vector<char> bytes(100000, '!');
    std::vector<std::uint32_t> ends(run.rows);
    TextTarget target{bytes.data(), 0, bytes.size(), ends.data(), 70, takesHighBytes};
    std::size_t row = 0;
    for (;;) {
        row = set.appendTexts(run, row, target);
        if (row == run.rows) {
            break;
        }
        left.push_back(row);
        ends[row] = static_cast<std::uint32_t>(target.size);
        ++row;
    }
    std::vector<std::string> texts;
    std::uint32_t begin = 0;
    for (const std::uint32_t end : ends) {
        texts.emplace_back(bytes.data() + begin, end - begin);
        begin = end;
    }
    return texts;
}

TEST(KernelsAppendTexts, CopyWhatHasNoQuoteInIt)
{
    std::vector<std::string> values;
    std::vector<std::string> expected;
    std::vector<std::size_t> expectedLeft;
    for (std::size_t size = 0; size <= 75; ++size) {
        for (const char* const kind : {"plain", "quoted", "quoteLast", "quoteFirst", "high"}) {
            const std::string name = kind;
            std::string text(size, static_cast<char>('a' + size % 26));
            if (name == "quoteLast" && size > 1) {
                text.back() = '"';
            } else if (name == "quoteFirst" && size > 1) {
                text.insert(1, "\"\"");
                text.resize(size);
            } else if (name == "high" && size > 0) {
                text.back() = '\xE9';
            }
            values.push_back(name == "quoted" ? '"' + text + '"' : text);
            const bool isTaken = size <= 70 && text.find('"') == std::string::npos;
            expected.push_back(isTaken ? text : "");
            if (!isTaken) {
                expectedLeft.push_back(values.size() - 1);
            }
        }
    }
    const Column column(values);
    for (const Set* set : AllSets()) {
        std::vector<std::size_t> left;
        EXPECT_EQ(expected, CopyTexts(*set, column.Run(true), true, left)) << set->name;
        EXPECT_EQ(expectedLeft, left) << set->name;
    }
}

TEST(KernelsAppendTexts, LeaveHighBytesUnlessTheyAreAccepted)
{
    const std::string longText(40, 'x');
    const Column column({"a", "\xC3\xA9", longText + "\x80", longText, "\x7F"});
    for (const Set* set : AllSets()) {
        std::vector<std::size_t> left;
        const std::vector<std::string> expected = {"a", "", "", longText, "\x7F"};
        EXPECT_EQ(expected, CopyTexts(*set, column.Run(false), false, left)) << set->name;
        EXPECT_EQ((std::vector<std::size_t>{1, 2}), left) << set->name;
    }
}

TEST(KernelsAppendTexts, WriteNothingPastTheirRoom)
{
    const Column column({"0123456789", "0123456789"});
    for (const Set* set : AllSets()) {
        std::vector<char> bytes(64, '!');
        std::vector<std::uint32_t> ends(2);
        TextTarget target{bytes.data(), 0, 45, ends.data(), 70, true};
        EXPECT_EQ(1U, set->appendTexts(column.Run(false), 0, target)) << set->name;
        EXPECT_EQ(10U, target.size) << set->name;
        EXPECT_EQ(std::string(19, '!'), std::string(bytes.data() + 45, 19)) << set->name;
    }
}

TEST(KernelsSurvey, AddsUpTextsOfEveryLength)
{
    for (std::size_t size = 0; size < 200; ++size) {
        for (std::size_t place = 0; place <= size; ++place) {
            std::string text(size, 'x');
            if (place < size) {
                text[place] = place % 3 == 0 ? '"' : (place % 3 == 1 ? '\r' : '\x80');
            }
            const std::string padded = text + "\"\r\x80";
            for (const Set* set : AllSets()) {
                Survey survey;
                survey.quotes = 5;
                set->survey(padded.data(), size, survey);
                const bool isThere = place < size;
                ASSERT_EQ(isThere && place % 3 == 0 ? 6U : 5U, survey.quotes) << set->name;
                ASSERT_EQ(isThere && place % 3 == 1, survey.returns != 0) << set->name;
                ASSERT_EQ(isThere && place % 3 == 2, survey.highBytes != 0) << set->name;
            }
        }
    }
}

/// The rules of marks, byte by byte.
struct PlainMarks
{
    std::string numbers; ///< two of each byte
    std::string codes;
};

PlainMarks MarkPlainly(const std::string& text)
{
    PlainMarks marks;
    const auto isDigit = [](char unit) { return unit >= '0' && unit <= '9'; };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char unit = text[at];
        const char before = at > 0 ? text[at - 1] : '\n';
        const char first = at > 1 ? text[at - 2] : '\n';
        const bool isAfterNumber = isDigit(before) || before == '.' || before == '-';
        const bool isCode = isDigit(unit) && before == '0' && !isDigit(first) && first != '.';
        const bool isNumeric = isDigit(unit) || unit == '.' || unit == '-';
        marks.numbers.push_back(isDigit(unit) ? '0' : '1');
        marks.codes.push_back(isCode ? '1' : '0');
        marks.numbers.push_back(!isNumeric || isCode || (unit == '-' && isAfterNumber) ||
                                        (unit == '.' && !isAfterNumber)
                                    ? '1'
                                    : '0');
    }
    return marks;
}

std::string ToText(const std::vector<std::uint64_t>& words, std::size_t size)
{
    std::string text;
    for (std::size_t at = 0; at < size; ++at) {
        text.push_back((words[at / 64] >> (at % 64) & 1U) != 0 ? '1' : '0');
    }
    return text;
}

TEST(KernelsMarks, AreThoseOfAPlainLoop)
{
    static const std::string kUnits = "0012.-,\n x\xB0/:9";
    std::mt19937 random(11);
    for (std::size_t size = 0; size < 400; ++size) {
        std::string text;
        while (text.size() < size) {
            text.push_back(kUnits[random() % kUnits.size()]);
        }
        const PlainMarks expected = MarkPlainly(text);
        // What comes after the text is not looked at.
        const std::string padded = text + std::string(kPadding, '0');
        const std::size_t words = (size + 63) / 64;
        for (const Set* set : AllSets()) {
            std::vector<std::uint64_t> marks(words * 2);
            std::vector<std::uint64_t> codes(words);
            set->markNumbers(padded.data(), size, marks.data());
            const bool hasCodes = set->markCodes(padded.data(), size, codes.data());
            ASSERT_EQ(expected.numbers, ToText(marks, size * 2)) << set->name;
            ASSERT_EQ(expected.codes, ToText(codes, size)) << set->name;
            ASSERT_EQ(expected.codes.find('1') != std::string::npos, hasCodes) << set->name;
        }
    }
}

TEST(KernelsCountBytes, AddUpWhatAPlainLoopCounts)
{
    static const std::string kUnits = "a1 ~\x7F\n\t\"\r\x1F\x80\xFF";
    std::mt19937 random(12);
    for (std::size_t size = 0; size < 300; ++size) {
        std::string text;
        while (text.size() < size) {
            text.push_back(random() % 20 == 0 ? '\0' : kUnits[random() % kUnits.size()]);
        }
        const auto count = [&](const auto& isCounted) {
            return static_cast<std::uint64_t>(std::count_if(text.begin(), text.end(), isCounted));
        };
        const std::string padded = Padded(text);
        for (const Set* set : AllSets()) {
            ByteCounts counts;
            counts.tabs = 5;
            set->countBytes(padded.data(), size, counts);
            ASSERT_EQ(count([](char unit) { return unit == '\n'; }), counts.feeds) << set->name;
            ASSERT_EQ(count([](char unit) { return unit == '\t'; }) + 5, counts.tabs) << set->name;
            ASSERT_EQ(count([](char unit) { return unit == '"'; }), counts.quotes) << set->name;
            ASSERT_EQ(count([](char unit) {
                          return static_cast<unsigned char>(unit) < ' ' ||
                                 static_cast<unsigned char>(unit) > 0x7F;
                      }),
                      counts.unprinted)
                << set->name;
        }
    }
}

/// A cell as countShapes compares it.
struct ShapedCell
{
    std::uint64_t signature = 0;
    std::uint64_t first = 0;
};

ShapedCell ShapeOf(const std::string& cell, const std::vector<std::uint64_t>& marks, std::size_t at)
{
    ShapedCell shaped{std::uint64_t{cell.size()} << 32U, 0};
    for (std::size_t byte = 0; byte < cell.size(); ++byte, ++at) {
        shaped.signature |= (marks[at / 32] >> (at % 32 * 2) & 3U) << (byte * 2);
    }
    for (std::size_t byte = 0; byte < 8; ++byte) {
        const char unit = byte < cell.size() ? cell[byte] : '\0';
        shaped.first = shaped.first << 8U | static_cast<unsigned char>(unit);
    }
    return shaped;
}

/// Rows of cells with positions as an index writes them.
struct ShapedRows
{
    std::string text;
    std::vector<std::uint32_t> positions = {std::numeric_limits<std::uint32_t>::max()};
    std::vector<std::uint64_t> marks;
    std::vector<ShapedCell> cells;
};

ShapedRows MakeShapedRows(std::mt19937& random, std::size_t rows, std::size_t columns)
{
    ShapedRows made;
    std::vector<std::string> cells;
    for (std::size_t index = 0; index < rows * columns; ++index) {
        const std::string number = std::to_string(random() % (index % 3 == 0 ? 12 : 90000));
        static const std::string kOthers[] = {"", "true", "a text of more than sixteen", "-"};
        // The first column rises, but for a few cells.
        cells.push_back(random() % 6 == 0      ? kOthers[random() % std::size(kOthers)]
                        : index % columns == 0 ? std::to_string(1000 + index)
                        : random() % 2 == 0    ? "-" + number + ".5"
                                               : number);
        made.text += cells.back();
        made.positions.push_back(static_cast<std::uint32_t>(made.text.size()));
        made.text += (index + 1) % columns == 0 ? '\n' : ',';
    }
    const std::size_t size = made.text.size();
    made.text = Padded(made.text);
    made.marks.resize((size / 64 + 1) * 2 + 1);
    Best().markNumbers(made.text.data(), size, made.marks.data());
    for (std::size_t index = 0; index < cells.size(); ++index) {
        made.cells.push_back(ShapeOf(cells[index], made.marks, made.positions[index] + 1U));
    }
    return made;
}

/// What countShapes does, cell by cell.
unsigned
CountPlainly(const ShapedRows& rows, const ShapeRun& run, KnownShapes& known, std::uint8_t* others)
{
    unsigned all = 0;
    for (std::size_t row = 0; row < run.rows; ++row) {
        unsigned left = run.columns;
        for (std::size_t column = 0; column < std::min(run.stride, KnownShapes::kColumns);
             ++column) {
            const ShapedCell& cell = rows.cells[row * run.stride + column];
            for (std::size_t shape = 0; shape < known.count && (left >> column & 1U) != 0;
                 ++shape) {
                const bool rises = cell.first > known.most[shape][column];
                if (cell.signature != known.signature[shape][column] ||
                    !(rises ||
                      cell.first - known.above[shape][column] < known.between[shape][column])) {
                    continue;
                }
                if (rises) {
                    known.most[shape][column] = cell.first;
                    known.between[shape][column] = cell.first - known.above[shape][column];
                    known.lastRise[shape][column] = row + 1;
                }
                ++known.cells[shape][column];
                left &= ~(1U << column);
            }
        }
        others[row] = static_cast<std::uint8_t>(left);
        all |= left;
    }
    return all;
}

TEST(KernelsCountShapes, CountsWhatAPlainLoopCounts)
{
    std::mt19937 random(13);
    for (std::size_t round = 0; round < 200; ++round) {
        const std::size_t rowCount = 1 + random() % 150;
        const std::size_t columns = 1 + random() % 10;
        const ShapedRows rows = MakeShapedRows(random, rowCount, columns);
        const auto looked =
            static_cast<unsigned>(random() % (1U << std::min<std::size_t>(columns, 8)));
        const ShapeRun run{rows.text.data(),
                           rows.positions.data() + 1,
                           columns,
                           rowCount,
                           rows.marks.data(),
                           looked};
        KnownShapes known{};
        known.count = random() % (KnownShapes::kMost + 1);
        for (std::size_t shape = 0; shape < known.count; ++shape) {
            for (std::size_t column = 0; column < std::min(columns, KnownShapes::kColumns);
                 ++column) {
                const ShapedCell& cell = rows.cells[random() % rowCount * columns + column];
                const auto isSame = [&](std::size_t other) {
                    return known.signature[other][column] == cell.signature;
                };
                bool isThere = false;
                for (std::size_t other = 0; other < shape; ++other) {
                    isThere = isThere || isSame(other);
                }
                if (isThere) {
                    continue; // all zeros: none
                }
                known.signature[shape][column] = cell.signature;
                known.above[shape][column] = cell.first - random() % 3;
                known.between[shape][column] = random() % 0x10000;
                known.most[shape][column] =
                    random() % 3 == 0 ? ~std::uint64_t{0}
                                      : known.above[shape][column] + known.between[shape][column];
                known.cells[shape][column] = random() % 5;
            }
        }
        KnownShapes expected = known;
        std::vector<std::uint8_t> expectedOthers(rowCount);
        const unsigned all = CountPlainly(rows, run, expected, expectedOthers.data());
        for (const Set* set : AllSets()) {
            if (set->countShapes == nullptr) {
                continue;
            }
            KnownShapes found = known;
            std::vector<std::uint8_t> others(rowCount);
            ASSERT_EQ(all, set->countShapes(run, found, others.data())) << set->name;
            ASSERT_EQ(expectedOthers, others) << set->name;
            for (std::size_t shape = 0; shape < known.count; ++shape) {
                for (std::size_t column = 0; column < KnownShapes::kColumns; ++column) {
                    ASSERT_EQ(expected.cells[shape][column], found.cells[shape][column]);
                    ASSERT_EQ(expected.most[shape][column], found.most[shape][column]);
                    ASSERT_EQ(expected.between[shape][column], found.between[shape][column]);
                    ASSERT_EQ(expected.lastRise[shape][column], found.lastRise[shape][column]);
                }
            }
        }
    }
}

TEST(KernelsIsUtf8, SaysWhatAPlainCheckSaysOfEveryPairOfBytes)
{
    for (const std::size_t place : {0U, 13U, 14U, 15U, 16U, 62U, 63U, 64U, 70U}) {
        std::string text(100, 'x');
        for (unsigned first = 0x78; first < 0x100; ++first) {
            for (unsigned second = 0x78; second < 0x100; ++second) {
                text[place] = static_cast<char>(first);
                text[place + 1] = static_cast<char>(second);
                const auto check = AsciiReader::CheckUtf8(text);
                const bool expected = check.isValidSoFar && check.validSize == text.size();
                for (const Set* set : AllSets()) {
                    ASSERT_EQ(expected, set->isUtf8(text.data(), text.size()))
                        << set->name << " " << place << " " << first << " " << second;
                }
            }
        }
    }
}

TEST(KernelsIsUtf8, SaysWhatAPlainCheckSaysOfRandomText)
{
    static const std::vector<std::string> kPieces = {"a",
                                                     "\xC3\xA9",
                                                     "\xE2\x82\xAC",
                                                     "\xF0\x9F\x98\x80",
                                                     "\xED\x9F\xBF",
                                                     "\xEE\x80\x80",
                                                     "\xF4\x8F\xBF\xBF",
                                                     "\xE0\xA0\x80",
                                                     "\xF0\x90\x80\x80",
                                                     "0123456789012345678901234567890123456789",
                                                     "\x80",
                                                     "\xC0\x80",
                                                     "\xED\xA0\x80",
                                                     "\xF4\x90\x80\x80",
                                                     "\xE2\x82",
                                                     "\xF0\x9F",
                                                     "\xF5\x80\x80\x80",
                                                     "\xE0\x9F\xBF"};
    std::mt19937 random(3);
    std::size_t valid = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        // Most texts consist of valid pieces.
        const std::size_t kinds = round % 3 == 0 ? kPieces.size() : 10;
        const std::size_t count = random() % 60;
        for (std::size_t piece = 0; piece < count; ++piece) {
            text += kPieces[random() % kinds];
        }
        text.resize(text.size() - std::min<std::size_t>(text.size(), random() % 3));
        const auto check = AsciiReader::CheckUtf8(text);
        const bool expected = check.isValidSoFar && check.validSize == text.size();
        valid += expected ? 1 : 0;
        for (const Set* set : AllSets()) {
            ASSERT_EQ(expected, set->isUtf8(text.data(), text.size())) << set->name << " " << round;
        }
    }
    EXPECT_GT(valid, 5000U);
}

TEST(KernelsScanTypes, SayWhatTheRuleOnOneValueSays)
{
    namespace ValueRules = AsciiReader::ValueRules;
    std::vector<std::string> values = kNumbers;
    values.insert(values.end(), kFallbackFields.begin(), kFallbackFields.end());
    for (const char* const word : {"1",
                                   "0",
                                   "y",
                                   "N",
                                   "t",
                                   "F",
                                   "yes",
                                   "No",
                                   "TRUE",
                                   "false",
                                   "falsey",
                                   "yesno",
                                   "nope",
                                   "\x10",
                                   "\x14RUE",
                                   "granite",
                                   " 7",
                                   "7 ",
                                   "1,234",
                                   ",",
                                   "1234567890",
                                   "-1234567890",
                                   "123456789",
                                   "-123456789",
                                   "12345678901234.5",
                                   "-1234567890123.25",
                                   "/",
                                   "*",
                                   "\xE9",
                                   "5e3"}) {
        values.emplace_back(word);
    }
    std::size_t decided = 0;
    for (const std::string& value : values) {
        const Column column({value});
        for (const Set* set : AllSets()) {
            TypeFacts facts;
            std::uint32_t fallbacks = 7;
            if (set->scanTypes(column.Run(false), facts, &fallbacks) == 1) {
                EXPECT_EQ(0U, fallbacks) << set->name;
                continue;
            }
            ++decided;
            const std::string_view text = value;
            const bool isWord = ValueRules::IsBooleanWord(text);
            const std::int32_t type = isWord ? 0 : ValueRules::DetectType(text);
            EXPECT_EQ(type == ValueRules::kInt32, facts.hasWholeNumbers)
                << set->name << " " << value;
            EXPECT_EQ(type == ValueRules::kDouble, facts.hasDecimals) << set->name << " " << value;
            EXPECT_EQ(type == ValueRules::kString, facts.hasTexts) << set->name << " " << value;
            const std::int32_t digits =
                type == ValueRules::kDouble ? ValueRules::CountDigits(text) : 0;
            EXPECT_EQ(digits, static_cast<std::int32_t>(facts.mostDigits))
                << set->name << " " << value;
        }
    }
    EXPECT_GT(decided, values.size());
}

TEST(KernelsScanTypes, LookInsideTheQuotesAroundAField)
{
    const Column column({"\"12.50\"", "\"yes\"", "\"a\"\"b\"", "\"\"", "\"-7\"", "\"1e5\""});
    for (const Set* set : AllSets()) {
        TypeFacts facts;
        std::vector<std::uint32_t> fallbacks(6);
        fallbacks.resize(set->scanTypes(column.Run(true), facts, fallbacks.data()));
        EXPECT_EQ((std::vector<std::uint32_t>{5}), fallbacks) << set->name;
        EXPECT_TRUE(facts.hasWholeNumbers && facts.hasDecimals && facts.hasTexts) << set->name;
        EXPECT_EQ(4U, facts.mostDigits) << set->name;
    }
}

} // namespace
