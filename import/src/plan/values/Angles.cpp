// Consumes a letter or a sign, up to three parts with their marks, and a letter.
#include "Angles.h"

#include "FoldedCell.h"

#include <Orvane/BNumbers.h>

#include <array>
#include <cmath>

namespace Orvane::Import::Values {

namespace {

enum class EMark { None, Degree, Minute, Second };

class Reader
{
public:
    explicit Reader(std::string_view text) noexcept
        : m_text(text)
    {}

    AngleReading Read() noexcept
    {
        AngleReading reading;
        char letter = ReadLetter(false);
        const bool isNegative = Peek() == '-';
        const bool hasSign = isNegative || Peek() == '+';
        m_at += hasSign ? 1U : 0U;
        if (!ReadParts(reading)) {
            return {};
        }
        SkipBlanks();
        if (!IsAtEnd()) {
            if (letter != 0 || (letter = ReadLetter(true)) == 0 || !IsAtEnd()) {
                return {};
            }
        }
        reading.isAngle = true;
        reading.letter = letter;
        reading.isContradiction = (hasSign && letter != 0) || IsPastRange(reading);
        if (isNegative || letter == 'S' || letter == 'W') {
            reading.degrees = -reading.degrees;
        }
        return reading;
    }

private:
    [[nodiscard]] bool IsAtEnd() const noexcept { return m_at >= m_text.size(); }

    [[nodiscard]] char Peek(std::size_t ahead = 0) const noexcept
    {
        return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0';
    }

    void SkipBlanks() noexcept
    {
        while (!IsAtEnd() && IsBlank(Peek())) {
            ++m_at;
        }
    }

    static bool IsPastRange(const AngleReading& reading) noexcept
    {
        const bool isLatitude = reading.letter == 'N' || reading.letter == 'S';
        const double most = isLatitude ? 90 : (reading.letter != 0 ? 180 : 360);
        return reading.degrees > most;
    }

    /// A hemisphere letter that stands alone; at the front it is followed by the number.
    char ReadLetter(bool isAtBack) noexcept
    {
        const char letter = static_cast<char>(Peek() >= 'a' ? Peek() - 'a' + 'A' : Peek());
        if (IsAtEnd() ||
            (letter != 'N' && letter != 'S' && letter != 'E' && letter != 'W' && letter != 'O')) {
            return 0;
        }
        ++m_at;
        if (!isAtBack) {
            SkipBlanks();
        }
        return letter;
    }

    bool ReadNumber(double& value, bool& isDecimal, std::size_t& digits) noexcept
    {
        std::array<char, FoldedCell::kCapacity> plain{};
        std::size_t size = 0;
        const auto copyDigits = [&] {
            while (IsDigit(Peek())) {
                plain[size++] = m_text[m_at++];
            }
        };
        copyDigits();
        digits = size;
        if (size == 0) {
            return false;
        }
        isDecimal = (Peek() == '.' || Peek() == ',') && IsDigit(Peek(1));
        if (isDecimal) {
            plain[size++] = '.';
            ++m_at;
            copyDigits();
        }
        value = Orvane::BNumbers::Strtod({plain.data(), size});
        return true;
    }

    bool SkipWord(std::string_view word) noexcept
    {
        for (std::size_t i = 0; i < word.size(); ++i) {
            if (ToLower(Peek(i)) != word[i]) {
                return false;
            }
        }
        // A hemisphere's letter may follow at once: `15sN`.
        const bool isLast = m_at + word.size() + 1 == m_text.size();
        const char after = ToLower(Peek(word.size()));
        const bool isHemisphere = isLast && (after == 'n' || after == 's' || after == 'e' ||
                                             after == 'w' || after == 'o');
        if (IsLetter(after) && !isHemisphere) {
            return false;
        }
        m_at += word.size();
        return true;
    }

    /// @param part from 0: a lower-case `s` is a mark only after minutes
    EMark ReadMark(std::size_t part) noexcept
    {
        const std::size_t position = m_at;
        SkipBlanks();
        if (Peek() == kDegreeSign) {
            ++m_at;
            return EMark::Degree;
        }
        // A quote is doubled inside quotes, and a scan reads cells as they stand.
        if (Peek() == '"' || (Peek() == '\'' && Peek(1) == '\'')) {
            m_at += Peek(1) == Peek() ? 2U : 1U;
            return EMark::Second;
        }
        if (Peek() == '\'') {
            ++m_at;
            return EMark::Minute;
        }
        if (part == 0 && (SkipWord("degrees") || SkipWord("deg") || SkipWord("d"))) {
            return EMark::Degree;
        }
        if (part == 1 && (SkipWord("min") || SkipWord("m"))) {
            return EMark::Minute;
        }
        if (part == 2 && (SkipWord("sec") || (Peek() == 's' && SkipWord("s")))) {
            return EMark::Second;
        }
        m_at = position;
        return EMark::None;
    }

    bool ReadParts(AngleReading& reading) noexcept
    {
        constexpr std::array<EMark, 3> kMarks = {EMark::Degree, EMark::Minute, EMark::Second};
        constexpr std::array<double, 3> kUnits = {1, 60, 3600};
        char joint = 0;
        for (std::size_t part = 0; part < 3; ++part) {
            double value = 0;
            std::size_t digits = 0;
            if (!ReadNumber(value, reading.isDecimal, digits) || digits > 3 ||
                (part > 0 && (value >= 60 || digits > 2))) {
                return false;
            }
            reading.degrees += value / kUnits[part];
            reading.parts = static_cast<std::uint8_t>(part + 1);
            const EMark mark = ReadMark(part);
            if (mark != EMark::None && (mark != kMarks[part] || (joint != 0 && joint != ' '))) {
                return false;
            }
            reading.hasMarks = reading.hasMarks || mark != EMark::None;
            // The last part may stand without its mark.
            if (!HasPartAhead()) {
                return true;
            }
            if (reading.isDecimal) {
                return false;
            }
            if (mark == EMark::None) {
                if (!ReadJoint(joint)) {
                    return false;
                }
                reading.isBesideTime = joint == ':';
            } else if (Peek() == '-') {
                return false;
            }
            SkipBlanks();
        }
        return false;
    }

    [[nodiscard]] bool HasPartAhead() const noexcept
    {
        std::size_t ahead = 0;
        while (IsBlank(Peek(ahead)) && m_at + ahead < m_text.size()) {
            ++ahead;
        }
        ahead += Peek(ahead) == ':' || Peek(ahead) == '-' ? 1U : 0U;
        return IsDigit(Peek(ahead));
    }

    /// What joins parts without marks, the same sign all through.
    bool ReadJoint(char& joint) noexcept
    {
        const char unit = IsBlank(Peek()) ? ' ' : Peek();
        if ((unit != ' ' && unit != ':' && unit != '-') || (joint != 0 && joint != unit)) {
            return false;
        }
        joint = unit;
        ++m_at;
        return true;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

} // namespace

AngleReading ReadFoldedAngle(std::string_view folded) noexcept
{
    return Reader(folded).Read();
}

AngleReading ReadAngle(std::string_view cell) noexcept
{
    return ReadFoldedAngle(FoldedCell(cell).Text());
}

bool CanBePacked(double value, EPacking packing) noexcept
{
    const double size = std::abs(value);
    if (packing == EPacking::Minutes) {
        return size < 18060 && std::fmod(std::floor(size), 100) < 60;
    }
    return size < 1800060 && std::fmod(std::floor(size), 100) < 60 &&
           std::fmod(std::floor(size / 100), 100) < 60;
}

double UnpackDegrees(double value, EPacking packing) noexcept
{
    const double size = std::abs(value);
    if (packing == EPacking::Minutes) {
        const double degrees = std::floor(size / 100);
        return std::copysign(degrees + (size - degrees * 100) / 60, value);
    }
    const double degrees = std::floor(size / 10000);
    const double minutes = std::floor((size - degrees * 10000) / 100);
    const double seconds = size - degrees * 10000 - minutes * 100;
    return std::copysign(degrees + (minutes * 60 + seconds) / 3600, value);
}

std::size_t WriteDegrees(double degrees, char* buffer) noexcept
{
    return Orvane::BNumbers::FormatShortest(degrees, buffer);
}

} // namespace Orvane::Import::Values
