// The innermost loops: every set that the processor runs against plain loops.
#include "kernels/Kernels.h"

#include "Fuzz.h"
#include "FuzzInput.h"
#include "LiteralRules.h"
#include "ReaderTraces.h"
#include "TextMaker.h"

#include <QString>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace Fuzz {

using namespace AsciiReader::Kernels;

namespace {

/// The rule of the index, one byte after the other; a structure without quotes promises that there
/// are none.
std::vector<std::uint32_t> IndexPlainly(std::string_view text, const Structure& structure)
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

std::string Describe(const std::vector<std::uint32_t>& positions)
{
    std::string text;
    for (const std::uint32_t position : positions) {
        text += std::to_string(position) + " ";
    }
    return text;
}

/// The marks of a text, one byte after the other.
void CheckMarks(const Set& set, std::string_view padded, std::size_t size)
{
    std::vector<std::uint64_t> marks((size / 64 + 1) * 2);
    std::vector<std::uint64_t> codes(marks.size());
    set.markNumbers(padded.data(), size, marks.data());
    const bool hasCodes = set.markCodes(padded.data(), size, codes.data());
    const auto isDigit = [](char unit) { return unit >= '0' && unit <= '9'; };
    std::string expected;
    std::string found;
    bool expectsCodes = false;
    for (std::size_t at = 0; at < size; ++at) {
        const char unit = padded[at];
        const char before = at > 0 ? padded[at - 1] : '\n';
        const char first = at > 1 ? padded[at - 2] : '\n';
        const bool isAfterNumber = isDigit(before) || before == '.' || before == '-';
        const bool isCode = isDigit(unit) && before == '0' && !isDigit(first) && first != '.';
        const bool isOdd = isCode || (unit == '-' && isAfterNumber) ||
                           (unit == '.' && !isAfterNumber) ||
                           (!isDigit(unit) && unit != '.' && unit != '-');
        expectsCodes = expectsCodes || isCode;
        expected += std::to_string((isDigit(unit) ? 0 : 1) + (isOdd ? 2 : 0) + (isCode ? 4 : 0));
        found += std::to_string((marks[at / 32] >> (at % 32 * 2) & 3U) +
                                (codes[at / 64] >> (at % 64) & 1U) * 4);
    }
    ExpectSame(std::string("marks by ") + set.name, expected, found);
    ExpectSame(std::string("codes by ") + set.name, expectsCodes ? "1" : "0", hasCodes ? "1" : "0");
}

/// A field without the quotes around it, as the kernels take it.
std::string_view FieldOf(std::string_view text, const FieldRun& run, std::size_t row)
{
    // An index of -1 would wrap before the first field.
    const std::uint32_t* const position = run.ends + row * run.stride;
    const std::uint32_t begin = *(position - 1) + 1;
    const std::uint32_t end = *position - run.trim;
    std::string_view field = text.substr(begin, end - begin);
    if (run.hasQuotes && field.size() >= 2 && field.starts_with('"')) {
        field = field.substr(1, field.size() - 2);
    }
    return field;
}

/// Whether the field is what a kernel may convert: "-", digits and, for doubles, one point; or
/// nothing where that is the number 0.
bool IsPlain(std::string_view field, bool mayHavePoint, bool emptyIsZero)
{
    if (field.empty()) {
        return emptyIsZero;
    }
    if (field.starts_with('-')) {
        field.remove_prefix(1);
    }
    const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
    const auto points = std::count(field.begin(), field.end(), '.');
    const auto digits = std::count_if(field.begin(), field.end(), isDigit);
    return digits > 0 && points <= (mayHavePoint ? 1 : 0) &&
           static_cast<std::size_t>(digits + points) == field.size();
}

/// Visits the rows that a kernel says it converted. `check(row, field)` is called for each.
template <typename Check>
void ForEachTaken(const FieldRun& run,
                  std::string_view text,
                  const std::vector<std::uint32_t>& fallbacks,
                  std::size_t fallbackCount,
                  Check check)
{
    std::size_t next = 0;
    for (std::size_t row = 0; row < run.rows; ++row) {
        if (next < fallbackCount && fallbacks[next] == row) {
            ++next;
        } else {
            check(row, std::string(FieldOf(text, run, row)));
        }
    }
    if (next != fallbackCount) {
        Fail("fallbacks rows are listed out of order");
    }
}

void CheckNumbers(const Set& set, const FieldRun& run, std::string_view text)
{
    const std::string name = set.name;
    std::vector<std::uint32_t> fallbacks(run.rows + kPadding);
    std::vector<double> doubles(run.rows + kPadding);
    const std::size_t fallbackDoubles = set.toDoubles(run, doubles.data(), fallbacks.data());
    ForEachTaken(
        run, text, fallbacks, fallbackDoubles, [&](std::size_t row, const std::string& field) {
            if (!IsPlain(field, true, run.emptyIsZero)) {
                Fail(name + " takes " + Escaped(field) + " for a number");
            }
            ExpectSame(name + " of " + Escaped(field),
                       ReaderTraces::Bits(std::strtod(field.c_str(), nullptr)),
                       ReaderTraces::Bits(doubles[row]));
        });
    std::vector<std::int32_t> integers(run.rows + kPadding);
    const std::size_t fallbackIntegers = set.toInt32s(run, integers.data(), fallbacks.data());
    ForEachTaken(
        run, text, fallbacks, fallbackIntegers, [&](std::size_t row, const std::string& field) {
            if (!IsPlain(field, true, run.emptyIsZero)) {
                Fail(name + " takes " + Escaped(field) + " for an integer");
            }
            ExpectSame(name + " of " + Escaped(field),
                       std::to_string(std::strtol(field.c_str(), nullptr, 10)),
                       std::to_string(integers[row]));
        });
}

void CheckBooleans(const FieldRun& run, std::string_view text)
{
    std::vector<std::uint8_t> booleans(run.rows + kPadding);
    AsciiReader::Kernels::ToBooleans(run, booleans.data());
    for (std::size_t row = 0; row < run.rows; ++row) {
        const std::string field(FieldOf(text, run, row));
        const bool isTrue = LiteralReader::Rules::IsTrueWord(
            QString::fromLatin1(field.data(), static_cast<qsizetype>(field.size())));
        ExpectSame(
            "true words of " + Escaped(field), isTrue ? "1" : "0", std::to_string(booleans[row]));
    }
}

/// Room and limits of a column of texts.
struct TextRoom
{
    std::size_t capacity;
    std::size_t longest;
    bool takesHighBytes;
};

void CheckTexts(const Set& set, const FieldRun& run, std::string_view text, const TextRoom& room)
{
    constexpr std::size_t kOvershoot = 32;
    constexpr std::string_view kBefore = "abc";
    // Exactly the room that is said to be there.
    std::vector<char> bytes(room.capacity);
    std::copy(kBefore.begin(), kBefore.end(), bytes.begin());
    std::vector<std::uint32_t> ends(run.rows);
    TextTarget target{bytes.data(),
                      kBefore.size(),
                      room.capacity,
                      ends.data(),
                      room.longest,
                      room.takesHighBytes};
    const std::size_t stopped = set.appendTexts(run, 0, target);

    std::string expected(kBefore);
    std::size_t row = 0;
    for (; row < run.rows; ++row) {
        const std::string_view field = FieldOf(text, run, row);
        const bool isHigh =
            std::any_of(field.begin(), field.end(), [](char byte) { return byte < 0; });
        if (field.size() > room.longest || field.find('"') != std::string_view::npos ||
            (isHigh && !room.takesHighBytes) ||
            room.capacity - expected.size() < field.size() + kOvershoot) {
            break;
        }
        expected += field;
        ExpectSame(std::string("end of a text by ") + set.name,
                   std::to_string(expected.size()),
                   row < stopped ? std::to_string(ends[row]) : "not copied");
    }
    ExpectSame(std::string("texts by ") + set.name, std::to_string(row), std::to_string(stopped));
    ExpectSame(std::string("texts by ") + set.name,
               Escaped(expected),
               Escaped({bytes.data(), target.size}));
}

/// Adjacent columns together, with what their last numbers were like told right and wrong.
void CheckTile(const Set& set, FieldRun run, std::size_t count, std::string_view text)
{
    std::vector<std::vector<double>> values(count, std::vector<double>(run.rows));
    std::vector<DoubleColumn> columns;
    for (std::size_t column = 0; column < count; ++column) {
        const auto decimals = static_cast<std::uint32_t>((text.size() + column) % 16);
        columns.push_back({values[column].data(), decimals, 0});
    }
    std::vector<FallbackField> fallbacks(count * (run.rows + 3));
    fallbacks.resize(set.toDoublesOfColumns(run, columns.data(), count, fallbacks.data()));
    std::vector<std::vector<bool>> isFallback(count, std::vector<bool>(run.rows));
    for (const FallbackField& field : fallbacks) {
        isFallback.at(field.column).at(field.row) = true;
    }
    const std::uint32_t* const ends = run.ends;
    for (std::size_t column = 0; column < count; ++column) {
        run.ends = ends + column;
        for (std::size_t row = 0; row < run.rows; ++row) {
            const std::string field(FieldOf(text, run, row));
            if (isFallback[column][row]) {
                continue;
            }
            if (!IsPlain(field, true, run.emptyIsZero)) {
                Fail(set.name + (" takes " + Escaped(field)) + " among columns for a number");
            }
            ExpectSame(set.name + (" among columns of " + Escaped(field)),
                       ReaderTraces::Bits(std::strtod(field.c_str(), nullptr)),
                       ReaderTraces::Bits(values[column][row]));
        }
    }
}

void CheckColumns(const Set& set,
                  std::string_view text,
                  const std::string& padded,
                  const std::vector<std::uint32_t>& positions,
                  FieldRun run,
                  const TextRoom& room)
{
    // Entry 0 is the position before the first field.
    std::vector<std::uint32_t> ends = {std::numeric_limits<std::uint32_t>::max()};
    ends.insert(ends.end(), positions.begin(), positions.end());
    const std::uint32_t trim = run.trim;
    run.text = padded.data();
    for (std::size_t column = 0; column < run.stride && column + 1 < ends.size(); ++column) {
        run.ends = ends.data() + 1 + column;
        run.rows = (ends.size() - 2 - column) / run.stride + 1;
        run.trim = column + 1 == run.stride ? trim : 0;
        // What is cut off a field is the "\r" before a line end, as in regular rows.
        for (std::size_t row = 0; row < run.rows && run.trim > 0; ++row) {
            const std::uint32_t* const position = run.ends + row * run.stride;
            if (*position == *(position - 1) + 1 || text[*position - 1] != '\r') {
                run.rows = row;
            }
        }
        CheckNumbers(set, run, text);
        CheckBooleans(run, text);
        CheckTexts(set, run, text, room);
    }
    // The last column may have to lose a "\r".
    run.ends = ends.data() + 1;
    run.rows = (ends.size() - 1) / run.stride;
    run.trim = 0;
    if (run.stride > 1 && run.rows > 0) {
        CheckTile(set, run, run.stride - 1, text);
    }
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    Structure structure;
    structure.separator = ",;\t |"[input.Below(5)];
    const std::size_t ending = input.Below(3);
    structure.lineEnd = ending == 2 ? '\r' : '\n';
    structure.isCrLf = ending == 1;
    const std::size_t part = 64 * (1 + input.Below(4));
    const std::size_t stride = 1 + input.Below(6);
    const bool emptyIsZero = input.Bit();
    const TextRoom room{std::size_t{3} + input.Number<std::uint16_t>() % 2048,
                        input.Below(8) == 0 ? input.Below(64) : std::size_t{100000},
                        input.Bit()};
    const std::string_view text = input.Rest();
    structure.hasQuotes = text.find('"') != std::string_view::npos;
    const std::string padded = std::string(text) + std::string(kPadding, '\xFF');

    const std::vector<std::uint32_t> expected = IndexPlainly(text, structure);
    std::size_t lineEnds = 0;
    for (const std::uint32_t at : expected) {
        lineEnds += text[at] == structure.lineEnd ? 1U : 0U;
    }
    const bool hasHigh = std::any_of(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) > 127; });

    const Set* sets[kMostSets] = {};
    const std::size_t count = GetAll(sets);
    for (std::size_t i = 0; i < count; ++i) {
        const Set& set = *sets[i];
        for (const std::size_t step : {part, text.size() + 1}) {
            IndexState state;
            std::vector<std::uint32_t> positions(text.size() + kPadding);
            std::size_t found = 0;
            for (std::size_t from = 0; from < text.size(); from += step) {
                found += set.index(padded.data(),
                                   from,
                                   std::min(from + step, text.size()),
                                   structure,
                                   state,
                                   positions.data() + found);
            }
            positions.resize(found);
            ExpectSame(
                std::string("index by ") + set.name, Describe(expected), Describe(positions));
            if (structure.separator != structure.lineEnd) {
                ExpectSame("line ends", std::to_string(lineEnds), std::to_string(state.lineEnds));
            }
        }
        // In two parts, to see that a survey adds up.
        Survey survey;
        const std::size_t half = text.size() / 2;
        set.survey(text.data(), half, survey);
        set.survey(text.data() + half, text.size() - half, survey);
        ExpectSame(std::string("survey by ") + set.name,
                   std::to_string(std::count(text.begin(), text.end(), '"')) + " quotes, returns " +
                       (text.find('\r') != std::string_view::npos ? "1" : "0") + ", high bytes " +
                       (hasHigh ? "1" : "0"),
                   std::to_string(survey.quotes) + " quotes, returns " +
                       (survey.returns != 0 ? "1" : "0") + ", high bytes " +
                       (survey.highBytes != 0 ? "1" : "0"));
        CheckMarks(set, padded, text.size());
        FieldRun run{};
        run.stride = stride;
        run.trim = structure.isCrLf ? 1 : 0;
        run.hasQuotes = structure.hasQuotes;
        run.emptyIsZero = emptyIsZero;
        CheckColumns(set, text, padded, expected, run, room);
    }
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    const std::size_t separator = dice.Below(5);
    const std::size_t ending = dice.Below(3);
    output.Byte(separator).Byte(ending).Byte(dice.Below(4)).Byte(dice.Below(6));
    output.Byte(dice.Below(2)).Number(static_cast<std::uint16_t>(dice.Below(2048)));
    if (dice.Chance(10)) {
        output.Byte(0).Byte(dice.Below(64));
    } else {
        output.Byte(1);
    }
    output.Byte(dice.Below(2));
    const std::string fieldEnd(1, ",;\t |"[separator]);
    const char* const lineEnd = dice.Chance(95) ? (ending == 0   ? "\n"
                                                   : ending == 1 ? "\r\n"
                                                                 : "\r")
                                                : dice.Pick<const char*>({"\n", "\r", "\n\r"});
    std::string text;
    const std::size_t columns = dice.Below(6) + 1;
    const bool isCalm = dice.Chance(60);
    for (std::size_t row = dice.Below(30); row > 0; --row) {
        for (std::size_t i = 0; i < columns; ++i) {
            text += i > 0 ? fieldEnd : "";
            text += isCalm ? std::to_string(dice.Between(-99999, 99999)) +
                                 dice.Pick<const char*>({"", "", ".5", ".", ".25000000", ".0625"})
                           : MakeField(dice, MakeValue(dice), fieldEnd);
        }
        text += lineEnd;
    }
    if (dice.Chance(25)) {
        Break(dice, text);
    }
    return output.Rest(text).Take();
}

} // namespace Fuzz
