// The rules of Values::ReadTime say what a cell is; the numbers are read here in its order.
#include "IsoText.h"

#include "../plan/values/FoldedCell.h"
#include "../plan/values/Times.h"

#include <algorithm>
#include <cstring>

namespace Orvane::Import::Table {

namespace {

constexpr std::uint32_t kDayFirst = Values::DateDayMonthYearSlash | Values::DateDayMonthYearDash |
                                    Values::DateDayMonthYearPoint | Values::DateDayNameYear;
constexpr std::uint32_t kMonthFirst = Values::DateMonthDayYearSlash | Values::DateMonthDayYearDash |
                                      Values::DateMonthDayYearPoint | Values::DateNameDayYear;

class Reader
{
public:
    explicit Reader(std::string_view text) noexcept
        : m_text(text)
    {}

    [[nodiscard]] char Peek() const noexcept { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    void Skip() noexcept { ++m_at; }

    /// A run of digits at the front.
    std::string_view Digits() noexcept
    {
        const std::size_t begin = m_at;
        while (Values::IsDigit(Peek())) {
            ++m_at;
        }
        return m_text.substr(begin, m_at - begin);
    }

    /// The next run of digits or letters, whatever is before it.
    std::string_view Word() noexcept
    {
        while (m_at < m_text.size() && !Values::IsDigit(Peek()) && !Values::IsLetter(Peek())) {
            ++m_at;
        }
        if (Values::IsDigit(Peek())) {
            return Digits();
        }
        const std::size_t begin = m_at;
        while (Values::IsLetter(Peek())) {
            ++m_at;
        }
        return m_text.substr(begin, m_at - begin);
    }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
};

class Writer
{
public:
    explicit Writer(IsoBuffer& buffer) noexcept
        : m_buffer(buffer)
    {}

    void Add(char unit) noexcept { m_buffer[m_size++] = unit; }

    void Add(std::string_view text) noexcept
    {
        std::copy(text.begin(), text.end(), m_buffer.begin() + static_cast<std::ptrdiff_t>(m_size));
        m_size += text.size();
    }

    /// Digits with zeros before them.
    void AddPadded(std::string_view digits, std::size_t width) noexcept
    {
        for (std::size_t size = digits.size(); size < width; ++size) {
            Add('0');
        }
        Add(digits);
    }

    [[nodiscard]] std::size_t Size() const noexcept { return m_size; }

private:
    IsoBuffer& m_buffer;
    std::size_t m_size = 0;
};

/// The two digits of a month, which is a number or an English name.
std::string_view MonthOf(std::string_view word) noexcept
{
    static constexpr std::string_view kNames = "janfebmaraprmayjunjulaugsepoctnovdec";
    static constexpr std::string_view kNumbers = "010203040506070809101112";
    if (Values::IsDigit(word[0])) {
        return word;
    }
    for (std::size_t month = 0; month < 12; ++month) {
        const std::string_view name = kNames.substr(month * 3, 3);
        if (std::equal(name.begin(), name.end(), word.begin(), [](char a, char b) {
                return a == Values::ToLower(b);
            })) {
            return kNumbers.substr(month * 2, 2);
        }
    }
    return {};
}

void WriteDate(Reader& reader, std::uint32_t forms, Writer& writer) noexcept
{
    std::string_view year;
    std::string_view month;
    std::string_view day;
    if (forms == Values::DateCompact) {
        const std::string_view digits = reader.Word();
        year = digits.substr(0, 4);
        month = digits.substr(4, 2);
        day = digits.substr(6, 2);
    } else {
        const std::string_view first = reader.Word();
        const std::string_view second = reader.Word();
        const std::string_view third = reader.Word();
        const bool isDayFirst = (forms & kDayFirst) != 0;
        const bool isMonthFirst = !isDayFirst && (forms & kMonthFirst) != 0;
        year = isDayFirst || isMonthFirst ? third : first;
        month = isMonthFirst ? first : second;
        day = isDayFirst ? first : (isMonthFirst ? second : third);
    }
    writer.AddPadded(year, 4);
    writer.Add('-');
    writer.AddPadded(MonthOf(month), 2);
    writer.Add('-');
    writer.AddPadded(day, 2);
}

void WriteHours(std::string_view hours, char half, Writer& writer) noexcept
{
    unsigned value = 0;
    for (const char digit : hours) {
        value = value * 10 + static_cast<unsigned>(digit - '0');
    }
    if (half != 0) {
        value = value % 12 + (half == 'p' ? 12 : 0);
    }
    writer.Add(static_cast<char>('0' + value / 10));
    writer.Add(static_cast<char>('0' + value % 10));
}

void WriteOffset(Reader& reader, Writer& writer) noexcept
{
    if (Values::ToLower(reader.Peek()) == 'z') {
        writer.Add('Z');
        return;
    }
    writer.Add(reader.Peek());
    reader.Skip();
    const std::string_view hours = reader.Digits();
    writer.Add(hours.substr(0, 2));
    writer.Add(':');
    if (reader.Peek() == ':') {
        reader.Skip();
        writer.Add(reader.Digits());
    } else {
        writer.Add(hours.size() == 4 ? hours.substr(2) : std::string_view("00"));
    }
}

void WriteTime(Reader& reader, Writer& writer) noexcept
{
    const std::string_view hours = reader.Digits();
    reader.Skip();
    const std::string_view minutes = reader.Digits();
    std::string_view seconds = "00";
    std::string_view decimals;
    if (reader.Peek() == ':') {
        reader.Skip();
        seconds = reader.Digits();
        if (reader.Peek() == '.' || reader.Peek() == ',') {
            reader.Skip();
            decimals = reader.Digits();
        }
    }
    if (reader.Peek() == ' ') {
        reader.Skip();
    }
    const char next = Values::ToLower(reader.Peek());
    const char half = next == 'a' || next == 'p' ? next : '\0';
    if (half != 0) {
        reader.Skip();
        reader.Skip();
    }
    WriteHours(hours, half, writer);
    writer.Add(':');
    writer.Add(minutes);
    writer.Add(':');
    writer.Add(seconds);
    if (!decimals.empty()) {
        writer.Add('.');
        writer.Add(decimals);
    }
    if (reader.Peek() == ' ') {
        reader.Skip();
    }
    if (reader.Peek() != '\0') {
        WriteOffset(reader, writer);
    }
}

/// `2018-01-28` as it is: the most usual date needs no closer look than its days.
bool IsIsoDate(std::string_view cell) noexcept
{
    if (cell.size() != 10 || cell[4] != '-' || cell[7] != '-') {
        return false;
    }
    const auto digit = [cell](std::size_t index) {
        return static_cast<unsigned>(static_cast<unsigned char>(cell[index])) - '0';
    };
    for (const std::size_t index : {0U, 1U, 2U, 3U, 5U, 6U, 8U, 9U}) {
        if (digit(index) > 9) {
            return false;
        }
    }
    const unsigned month = digit(5) * 10 + digit(6);
    const unsigned day = digit(8) * 10 + digit(9);
    // Every month has 28 days.
    return month >= 1 && month <= 12 && day >= 1 && day <= 28;
}

} // namespace

std::size_t
WriteIso(std::string_view cell, EIsoKind kind, std::uint32_t forms, IsoBuffer& buffer) noexcept
{
    if (kind == EIsoKind::Date && (forms & Values::DateYearMonthDay) != 0 && IsIsoDate(cell)) {
        std::memcpy(buffer.data(), cell.data(), cell.size());
        return cell.size();
    }
    const Values::FoldedCell folded(cell);
    const Values::TimeReading reading = Values::ReadFoldedTime(folded.Text());
    const bool isKind = kind == EIsoKind::Date   ? reading.IsDate()
                        : kind == EIsoKind::Time ? reading.IsTime()
                                                 : reading.IsDateTime();
    const std::uint32_t fitting = reading.dateForms & forms;
    if (!isKind || (kind != EIsoKind::Time && fitting == 0)) {
        return 0;
    }
    Reader reader(folded.Text());
    Writer writer(buffer);
    if (kind != EIsoKind::Time) {
        WriteDate(reader, fitting, writer);
    }
    if (kind == EIsoKind::DateTime) {
        // `T`, or a blank.
        reader.Skip();
        writer.Add('T');
    }
    if (kind != EIsoKind::Date) {
        WriteTime(reader, writer);
    }
    return writer.Size();
}

} // namespace Orvane::Import::Table
