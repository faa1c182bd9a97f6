// A small reader that consumes a date, then a time, then an offset.
#include "Times.h"

#include "FoldedCell.h"

#include <array>
#include <cstddef>

namespace Orvane::Import::Values {

namespace {

struct Run
{
    std::size_t digits = 0;
    unsigned value = 0;
};

class Reader
{
public:
    explicit Reader(std::string_view text) noexcept
        : m_text(text)
    {}

    [[nodiscard]] bool IsAtEnd() const noexcept { return m_at == m_text.size(); }

    [[nodiscard]] char Peek() const noexcept { return IsAtEnd() ? '\0' : m_text[m_at]; }

    bool Skip(char unit) noexcept
    {
        if (Peek() != unit || IsAtEnd()) {
            return false;
        }
        ++m_at;
        return true;
    }

    Run Digits() noexcept
    {
        Run run;
        while (IsDigit(Peek())) {
            // Longer runs are no part of a date; the value must not overflow.
            run.value = run.digits < 9 ? run.value * 10 + static_cast<unsigned>(Peek() - '0') : 0;
            ++run.digits;
            ++m_at;
        }
        return run;
    }

    /// The month from 1 that a name stands for; 0 where there is none.
    unsigned Month() noexcept
    {
        static constexpr std::array<std::string_view, 12> kMonths = {"january",
                                                                     "february",
                                                                     "march",
                                                                     "april",
                                                                     "may",
                                                                     "june",
                                                                     "july",
                                                                     "august",
                                                                     "september",
                                                                     "october",
                                                                     "november",
                                                                     "december"};
        std::size_t length = 0;
        while (m_at + length < m_text.size() && IsLetter(m_text[m_at + length])) {
            ++length;
        }
        for (std::size_t month = 0; month < kMonths.size(); ++month) {
            const std::string_view name = kMonths[month];
            if (length != 3 && length != name.size()) {
                continue;
            }
            bool isSame = true;
            for (std::size_t i = 0; i < length; ++i) {
                isSame = isSame && ToLower(m_text[m_at + i]) == name[i];
            }
            if (isSame) {
                m_at += length;
                return static_cast<unsigned>(month) + 1;
            }
        }
        return 0;
    }

    [[nodiscard]] std::size_t Position() const noexcept { return m_at; }

    void Return(std::size_t position) noexcept { m_at = position; }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
};

bool IsDay(unsigned year, unsigned month, unsigned day) noexcept
{
    static constexpr std::array<unsigned, 12> kDays = {
        31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) {
        return false;
    }
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month != 2 || day < 29 || isLeap;
}

std::uint32_t If(bool condition, std::uint32_t form) noexcept
{
    return condition ? form : 0;
}

/// `a sign b sign c`, all of digits.
std::uint32_t FormsOfNumbers(const Run& a, const Run& b, const Run& c, char sign) noexcept
{
    if (b.digits > 2 || b.digits == 0 || c.digits == 0) {
        return 0;
    }
    const std::size_t kind = sign == '/' ? 1 : (sign == '-' ? 0 : 2);
    if (a.digits == 4 && c.digits <= 2) {
        static constexpr std::array<std::uint32_t, 3> kForms = {
            DateYearMonthDay, DateYearMonthDaySlash, DateYearMonthDayPoint};
        return If(IsDay(a.value, b.value, c.value), kForms[kind]);
    }
    if (a.digits > 2) {
        return 0;
    }
    if (c.digits == 2) {
        const bool isAny = IsDay(2000 + c.value, b.value, a.value) ||
                           IsDay(2000 + c.value, a.value, b.value) ||
                           IsDay(2000 + a.value, b.value, c.value);
        // `1.2.34` is a version or a section as well.
        return If(isAny && a.digits == 2 && b.digits == 2, DateShortYear);
    }
    if (c.digits != 4) {
        return 0;
    }
    static constexpr std::array<std::uint32_t, 3> kDayFirst = {
        DateDayMonthYearDash, DateDayMonthYearSlash, DateDayMonthYearPoint};
    static constexpr std::array<std::uint32_t, 3> kMonthFirst = {
        DateMonthDayYearDash, DateMonthDayYearSlash, DateMonthDayYearPoint};
    return If(IsDay(c.value, b.value, a.value), kDayFirst[kind]) |
           If(IsDay(c.value, a.value, b.value), kMonthFirst[kind]);
}

std::uint32_t ReadCompact(const Run& run) noexcept
{
    const unsigned year = run.value / 10000;
    return If(run.digits == 8 && year >= 1500 && year <= 2100 &&
                  IsDay(year, run.value / 100 % 100, run.value % 100),
              DateCompact);
}

std::uint32_t ReadDayName(Reader& reader, const Run& day) noexcept
{
    const char sign = reader.Peek();
    if (!reader.Skip('-') && !reader.Skip(' ') && !reader.Skip('/')) {
        return 0;
    }
    const unsigned month = reader.Month();
    if (month == 0 || (!reader.Skip(sign) && !(sign == ' ' && reader.Skip(',')))) {
        return 0;
    }
    reader.Skip(' ');
    const Run year = reader.Digits();
    if (year.digits == 2) {
        return If(IsDay(2000 + year.value, month, day.value), DateShortYear);
    }
    return If(year.digits == 4 && IsDay(year.value, month, day.value), DateDayNameYear);
}

std::uint32_t ReadNameDay(Reader& reader) noexcept
{
    const unsigned month = reader.Month();
    if (month == 0) {
        return 0;
    }
    reader.Skip('.');
    if (!reader.Skip(' ')) {
        return 0;
    }
    const Run day = reader.Digits();
    const bool hasComma = reader.Skip(',');
    if (day.digits == 0 || day.digits > 2 || (!reader.Skip(' ') && !hasComma)) {
        return 0;
    }
    const Run year = reader.Digits();
    return If(year.digits == 4 && IsDay(year.value, month, day.value), DateNameDayYear);
}

std::uint32_t ReadDate(Reader& reader) noexcept
{
    if (IsLetter(reader.Peek())) {
        return ReadNameDay(reader);
    }
    const Run first = reader.Digits();
    if (first.digits == 0) {
        return 0;
    }
    const char sign = reader.Peek();
    if (sign == '-' || sign == '/' || sign == '.') {
        const std::size_t position = reader.Position();
        reader.Skip(sign);
        if (IsDigit(reader.Peek())) {
            const Run second = reader.Digits();
            if (!reader.Skip(sign)) {
                return 0;
            }
            return FormsOfNumbers(first, second, reader.Digits(), sign);
        }
        reader.Return(position);
    }
    if (first.digits <= 2) {
        return ReadDayName(reader, first);
    }
    return ReadCompact(first);
}

/// `13:03`, `13:03:22`, `13:03:22.836`, `1:03 pm`.
bool ReadClock(Reader& reader, TimeReading& reading) noexcept
{
    const Run hours = reader.Digits();
    if (hours.digits == 0 || hours.digits > 2 || !reader.Skip(':')) {
        return false;
    }
    const Run minutes = reader.Digits();
    if (minutes.digits != 2 || minutes.value > 59) {
        return false;
    }
    if (reader.Skip(':')) {
        const Run seconds = reader.Digits();
        if (seconds.digits != 2 || seconds.value > 60) {
            return false;
        }
        if (reader.Peek() == '.' || reader.Peek() == ',') {
            reader.Skip(reader.Peek());
            const Run decimals = reader.Digits();
            if (decimals.digits == 0 || decimals.digits > 9) {
                return false;
            }
            reading.decimals = static_cast<std::uint8_t>(decimals.digits);
        }
    }
    const std::size_t position = reader.Position();
    reader.Skip(' ');
    const char half = ToLower(reader.Peek());
    if (half == 'a' || half == 'p') {
        reader.Skip(reader.Peek());
        if (ToLower(reader.Peek()) != 'm' || hours.value < 1 || hours.value > 12) {
            return false;
        }
        reader.Skip(reader.Peek());
        return true;
    }
    reader.Return(position);
    return hours.value <= 23;
}

bool ReadOffset(Reader& reader, TimeReading& reading) noexcept
{
    const std::size_t position = reader.Position();
    if (reader.Skip('Z') || reader.Skip('z')) {
        reading.hasOffset = true;
        return true;
    }
    reader.Skip(' ');
    if (!reader.Skip('+') && !reader.Skip('-')) {
        reader.Return(position);
        return true;
    }
    Run hours = reader.Digits();
    Run minutes;
    if (reader.Skip(':')) {
        minutes = reader.Digits();
        if (minutes.digits != 2) {
            return false;
        }
    } else if (hours.digits == 4) {
        minutes = {2, hours.value % 100};
        hours = {2, hours.value / 100};
    }
    reading.hasOffset = true;
    return hours.digits == 2 && hours.value <= 14 && minutes.value <= 59;
}

} // namespace

TimeReading ReadFoldedTime(std::string_view folded) noexcept
{
    if (folded.size() < 4 || folded.size() > 40) {
        return {};
    }
    TimeReading reading;
    Reader reader(folded);
    if (ReadClock(reader, reading)) {
        reading.hasTime = true;
    } else {
        reading = {};
        reader.Return(0);
        reading.dateForms = ReadDate(reader);
        if (reading.dateForms == 0) {
            return {};
        }
        if (reader.IsAtEnd()) {
            return reading;
        }
        if (!reader.Skip('T') && !reader.Skip(' ')) {
            return {};
        }
        reading.hasTime = ReadClock(reader, reading);
    }
    if (!reading.hasTime || !ReadOffset(reader, reading) || !reader.IsAtEnd()) {
        return {};
    }
    return reading;
}

TimeReading ReadTime(std::string_view cell) noexcept
{
    return ReadFoldedTime(FoldedCell(cell).Text());
}

} // namespace Orvane::Import::Values
