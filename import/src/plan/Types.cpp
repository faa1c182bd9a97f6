// Readings that no cell contradicts, from the narrowest on.
#include "Types.h"

#include "Names.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

using Scan::ColumnFacts;
using Values::ECell;

constexpr std::uint32_t kDayFirst =
    Values::DateDayMonthYearSlash | Values::DateDayMonthYearDash | Values::DateDayMonthYearPoint;
constexpr std::uint32_t kMonthFirst =
    Values::DateMonthDayYearSlash | Values::DateMonthDayYearDash | Values::DateMonthDayYearPoint;

std::vector<PlanPlace> PlacesOf(const std::vector<Scan::Example>& examples)
{
    std::vector<PlanPlace> places;
    places.reserve(examples.size());
    for (const Scan::Example& example : examples) {
        places.push_back({example.position.line, example.position.byte, example.text});
    }
    return places;
}

void AddEvidence(const ColumnFacts& facts, PlanColumn& column)
{
    for (std::size_t index = 0; index < Values::kCellClasses; ++index) {
        const Scan::ClassFacts& cells = facts.classes[index];
        if (cells.count > 0) {
            column.type.evidence.push_back(
                {Values::NameOf(static_cast<ECell>(index)), cells.count, PlacesOf(cells.examples)});
        }
    }
    if (facts.unexamined > 0) {
        column.type.evidence.push_back(
            {"not looked at, as the column was text by then", facts.unexamined, {}});
    }
}

void SetText(PlanColumn& column, EConfidence confidence, const char* against)
{
    column.type.value = EPlanType::Text;
    column.type.confidence = confidence;
    if (against != nullptr) {
        column.type.rivals.push_back({"", 0, against});
    }
}

bool DecideNumber(const ColumnFacts& facts, const DecimalSigns& signs, PlanColumn& column)
{
    if (facts.Count(ECell::Spelled) == 0) {
        if (facts.Count(ECell::Decimal) > 0) {
            // Rule: a number type holds every cell's digits, or the column is text.
            constexpr double kMostExact = 9007199254740992.0;
            if (facts.Count(ECell::Integer) > 0 &&
                (facts.plain.least < -kMostExact || facts.plain.most > kMostExact)) {
                SetText(column, EConfidence::Strong, "whole numbers past 53 bits among decimals");
                return true;
            }
            column.type.value = EPlanType::Double;
        } else {
            const bool isSmall = facts.plain.least >= INT32_MIN && facts.plain.most <= INT32_MAX;
            column.type.value = isSmall ? EPlanType::Integer32 : EPlanType::Integer64;
        }
        return true;
    }
    const unsigned notations = facts.notations;
    const unsigned commas = notations & Values::kCommaNotations;
    const unsigned points = notations & ~static_cast<unsigned>(Values::kCommaNotations);
    if (notations == 0) {
        SetText(column, EConfidence::Strong, "numbers in notations that exclude each other");
        return true;
    }
    column.type.value = EPlanType::Double;
    const bool isComma = commas != 0 && (points == 0 || (signs.hasCommas && !signs.hasPoints));
    if (isComma) {
        column.spelling =
            (commas & Values::NotationComma) != 0         ? "decimal comma"
            : (commas & Values::NotationPointGroups) != 0 ? "decimal comma, thousands ."
            : (commas & Values::NotationBlankComma) != 0  ? "decimal comma, thousands blank"
                                                          : "decimal comma, thousands '";
        column.type.confidence = points == 0 ? EConfidence::Certain : EConfidence::Strong;
        return true;
    }
    if (commas == 0) {
        column.spelling = (points & Values::NotationCommaGroups) != 0       ? "thousands ,"
                          : (points & Values::NotationApostrophePoint) != 0 ? "thousands '"
                                                                            : "thousands blank";
        return true;
    }
    // Without decimals the sign that would stand before them does not matter.
    if ((points & Values::NotationBlankPoint) != 0 && (commas & Values::NotationBlankComma) != 0) {
        column.spelling = "thousands blank";
        return true;
    }
    if ((points & Values::NotationApostrophePoint) != 0 &&
        (commas & Values::NotationApostropheComma) != 0) {
        column.spelling = "thousands '";
        return true;
    }
    // Rule: `1,234` alone is a thousand or a fraction; without proof it stays text.
    SetText(column, EConfidence::Tie, "a comma that may be a decimal or a thousands sign");
    column.type.rivals.back().value = "double";
    return true;
}

bool DecideTime(const ColumnFacts& facts, PlanColumn& column)
{
    const unsigned readings = facts.readings;
    if ((readings & Values::ReadingTime) != 0) {
        column.type.value = EPlanType::Time;
        return true;
    }
    if ((readings & (Values::ReadingDate | Values::ReadingDateTime)) == 0) {
        return false;
    }
    const std::uint64_t values = facts.CountValues();
    if (facts.withOffset != 0 && facts.withOffset != values) {
        SetText(column, EConfidence::Strong, "offsets from UTC in some cells only");
        return true;
    }
    const std::uint32_t forms = facts.dateForms;
    if (forms == 0) {
        SetText(column, EConfidence::Strong, "dates in orders that exclude each other");
        return true;
    }
    if (forms == Values::DateShortYear) {
        SetText(column, EConfidence::Strong, "years of two digits");
        return true;
    }
    column.type.value =
        (readings & Values::ReadingDate) != 0 ? EPlanType::Date : EPlanType::DateTime;
    if ((forms & kDayFirst) != 0 && (forms & kMonthFirst) != 0) {
        if ((forms & Values::DateDayMonthYearPoint) == 0) {
            const EPlanType type = column.type.value;
            SetText(column, EConfidence::Tie, "no day past 12 tells day from month");
            column.type.rivals.back().value = NameOf(type);
            return true;
        }
        column.spelling = "day first";
        column.type.confidence = EConfidence::Strong;
    } else if ((forms & kDayFirst) != 0) {
        column.spelling = "day first";
    } else if ((forms & kMonthFirst) != 0) {
        column.spelling = "month first";
    } else if ((forms & (Values::DateDayNameYear | Values::DateNameDayYear)) != 0) {
        column.spelling = "month by name";
    } else if ((forms & (Values::DateYearMonthDaySlash | Values::DateYearMonthDayPoint)) != 0) {
        column.spelling = "year first";
    }
    return true;
}

bool IsDateName(const std::string& name)
{
    const Names::Tokens tokens = Names::Cut(name);
    return Names::HasAny(tokens, {"date", "datum", "fecha", "data", "day", "dat", "tag"});
}

void DecideValue(const ColumnFacts& facts, const DecimalSigns& signs, PlanColumn& column)
{
    const unsigned readings = facts.readings;
    const bool isCompactDate = (readings & Values::ReadingDate) != 0 &&
                               facts.dateForms == Values::DateCompact && IsDateName(column.name);
    if (isCompactDate) {
        column.type.value = EPlanType::Date;
        column.spelling = "YYYYMMDD";
        column.type.confidence = EConfidence::Strong;
        return;
    }
    if ((readings & Values::ReadingNumber) != 0 && DecideNumber(facts, signs, column)) {
        return;
    }
    if ((readings & Values::ReadingBoolean) != 0 && Values::MakeBoolean(facts.words)) {
        column.type.value = EPlanType::Boolean;
        return;
    }
    if (DecideTime(facts, column)) {
        return;
    }
    // Rule: a letter before or after a whole number makes an angle only under an axis's name:
    // `n5` is a code.
    std::string rest;
    const bool areAngles =
        facts.plainAngles > 0 || Names::FindAxis(column.name, rest) != Names::EAxis::None;
    if ((readings & Values::ReadingAngle) != 0 && facts.Count(ECell::Code) == 0 && areAngles) {
        column.type.value = EPlanType::Angle;
        column.type.confidence = EConfidence::Strong;
        column.spelling = facts.angleParts == 1   ? "degrees with a letter or sign"
                          : facts.angleParts == 2 ? "degrees minutes"
                                                  : "degrees minutes seconds";
        return;
    }
    SetText(column, EConfidence::Certain, nullptr);
}

/// Whether the examples of a class are all numbers, but for what a test of the text allows.
template <typename TTest>
bool AreAll(const Scan::ClassFacts& cells, TTest&& test)
{
    return !cells.examples.empty() &&
           std::all_of(cells.examples.begin(),
                       cells.examples.end(),
                       [&](const Scan::Example& example) { return test(example.text); });
}

std::string CountCells(std::uint64_t count, const char* one, const char* several)
{
    return std::to_string(count) + (count == 1 ? " cell " : " cells ") +
           (count == 1 ? one : several);
}

/// Says why a column is text although its cells, or most of them, look like something else.
void SayWhyText(const ColumnFacts& facts, PlanColumn& column)
{
    if (column.type.value != EPlanType::Text || !column.type.rivals.empty()) {
        return;
    }
    const std::uint64_t values = facts.CountValues();
    const std::uint64_t codes = facts.Count(ECell::Code);
    const std::uint64_t numbers =
        facts.Count(ECell::Integer) + facts.Count(ECell::Decimal) + facts.Count(ECell::Spelled);
    const std::uint64_t times =
        facts.Count(ECell::Date) + facts.Count(ECell::DateTime) + facts.Count(ECell::Time);
    // Letters alone, such as N and S, are rarely meant as truth values.
    constexpr unsigned kWords =
        Values::WordTrue | Values::WordFalse | Values::WordYes | Values::WordNo;
    const std::uint64_t truths =
        (facts.words & ~kWords) == 0 ? facts.Count(ECell::Boolean) : std::uint64_t{0};
    const auto add = [&](const char* what, std::uint64_t fitting, std::string against) {
        column.type.rivals.push_back(
            {what, static_cast<double>(fitting) / static_cast<double>(values), std::move(against)});
    };
    if (codes > 0 && codes + numbers == values) {
        const bool areLong = AreAll(
            facts.classes[static_cast<std::size_t>(ECell::Code)],
            [](std::string_view example) { return !Values::ReadNumber(example).hasLeadingZero; });
        add("",
            values,
            areLong ? CountCells(codes,
                                 "has more digits than a number holds",
                                 "have more digits than a number holds")
                    : CountCells(codes,
                                 "has a leading zero, as codes have",
                                 "have a leading zero, as codes have"));
        return;
    }
    const Scan::ClassFacts& texts = facts.classes[static_cast<std::size_t>(ECell::Text)];
    if (codes + times + truths == 0 && texts.count > numbers &&
        AreAll(texts, Values::IsNumberWithUnit)) {
        add("", values, "numbers with units in the cells");
        return;
    }

    struct Likeness
    {
        const char* name;
        std::uint64_t count;
        const char* one;
        const char* several;
    };

    const Likeness likenesses[] = {{"number", numbers, "is no number", "are no number"},
                                   {"date", times, "is no date", "are no date"},
                                   {"", truths, "is no truth value", "are no truth value"}};
    const Likeness& most =
        *std::max_element(std::begin(likenesses),
                          std::end(likenesses),
                          [](const Likeness& a, const Likeness& b) { return a.count < b.count; });
    if (most.count < values && most.count * 2 > values) {
        add(most.name, most.count, CountCells(values - most.count, most.one, most.several));
    }
}

} // namespace

DecimalSigns FindDecimalSigns(const std::vector<ColumnFacts>& columns)
{
    DecimalSigns signs;
    for (const ColumnFacts& facts : columns) {
        if ((facts.readings & Values::ReadingNumber) == 0 || facts.CountValues() == 0) {
            continue;
        }
        const unsigned commas = facts.notations & Values::kCommaNotations;
        const unsigned points = facts.notations & ~static_cast<unsigned>(Values::kCommaNotations);
        signs.hasCommas = signs.hasCommas || (points == 0 && commas != 0);
        signs.hasPoints = signs.hasPoints || (commas == 0 && points != 0);
    }
    return signs;
}

void DecideType(const ColumnFacts& facts, const DecimalSigns& signs, PlanColumn& column)
{
    column.values = facts.CountValues();
    column.empties = facts.Count(ECell::Empty);
    column.nullWords = facts.Count(ECell::NullWord);
    column.longest = facts.longest;
    AddEvidence(facts, column);
    if (column.values == 0) {
        column.type.value = EPlanType::Text;
        column.type.decider = EDecider::Default;
        return;
    }
    DecideValue(facts, signs, column);
    SayWhyText(facts, column);
    const Scan::NumberRange range = facts.RangeIn(NotationOf(column));
    column.hasRange = range.isKnown;
    column.least = range.least;
    column.most = range.most;
    if (column.type.value != EPlanType::Text) {
        for (const Scan::Example& example :
             facts.classes[static_cast<std::size_t>(ECell::NullWord)].examples) {
            column.nullSpellings.push_back(example.text);
        }
    } else {
        // A word is null only among numbers and dates.
        column.values += column.nullWords;
        column.nullWords = 0;
    }
}

Values::Notation NotationOf(const PlanColumn& column)
{
    struct Word
    {
        std::string_view spelling;
        Values::Notation notation;
    };

    static constexpr Word kWords[] = {
        {"decimal comma", Values::NotationComma},
        {"decimal comma, thousands .", Values::NotationPointGroups},
        {"decimal comma, thousands blank", Values::NotationBlankComma},
        {"decimal comma, thousands '", Values::NotationApostropheComma},
        {"thousands ,", Values::NotationCommaGroups},
        {"thousands '", Values::NotationApostrophePoint},
        {"thousands blank", Values::NotationBlankPoint},
    };
    const auto* const word =
        std::find_if(std::begin(kWords), std::end(kWords), [&](const Word& candidate) {
            return candidate.spelling == column.spelling;
        });
    return word == std::end(kWords) ? Values::NotationPlain : word->notation;
}

std::vector<std::string>
ListSpellings(const ColumnFacts& facts, const DecimalSigns& signs, EPlanType type)
{
    if (type == EPlanType::Date || type == EPlanType::DateTime) {
        const std::uint32_t forms = facts.dateForms;
        const bool isOpen = (forms & kDayFirst) != 0 && (forms & kMonthFirst) != 0 &&
                            (forms & Values::DateDayMonthYearPoint) == 0;
        return isOpen ? std::vector<std::string>{"day first", "month first"}
                      : std::vector<std::string>{};
    }
    if (type != EPlanType::Double) {
        return {};
    }
    PlanColumn column;
    static_cast<void>(DecideNumber(facts, signs, column));
    const bool isOpen =
        column.type.value == EPlanType::Text && column.type.confidence == EConfidence::Tie;
    return isOpen ? std::vector<std::string>{"decimal comma", "thousands ,"}
                  : std::vector<std::string>{};
}

std::string FindSpelling(const ColumnFacts& facts, const DecimalSigns& signs, EPlanType type)
{
    PlanColumn column;
    switch (type) {
    case EPlanType::Integer32:
    case EPlanType::Integer64:
    case EPlanType::Double:
        static_cast<void>(DecideNumber(facts, signs, column));
        if (column.spelling.empty() && facts.Count(ECell::Spelled) > 0 && facts.notations != 0) {
            const bool isComma = (facts.notations & Values::NotationComma) != 0;
            return isComma ? "decimal comma" : "thousands ,";
        }
        return column.spelling;
    case EPlanType::Date:
    case EPlanType::DateTime: {
        const std::uint32_t forms = facts.dateForms;
        if ((forms & kDayFirst) != 0) {
            return "day first";
        }
        if ((forms & kMonthFirst) != 0) {
            return "month first";
        }
        return forms == Values::DateCompact ? "YYYYMMDD" : "";
    }
    default:
        return {};
    }
}

} // namespace Orvane::Import
