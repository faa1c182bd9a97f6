// Reads angles written by people into decimal degrees.
#include <Orvane/BException.h>
#include <Orvane/BNumbers.h>
#include <Orvane/BString.h>

#include <QChar>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

namespace Orvane {

namespace {

constexpr std::size_t kPartCount = 3;
constexpr double kPartLimit = 60;
constexpr double kMinutesPerDegree = 60;
constexpr double kSecondsPerDegree = 3600;

using Parts = std::array<double, kPartCount>; // degrees, minutes, seconds

/// A coordinate format: how many parts, and whether they are packed into one run of digits.
struct DegreesFormat
{
    std::size_t partCount;
    bool isPacked;
};

std::optional<DegreesFormat> FindFormat(const BString& name)
{
    struct Named
    {
        const char16_t* name;
        DegreesFormat format;
    };

    static constexpr std::array<Named, 5> kFormats = {{{u"d", {1, false}},
                                                       {u"dm", {2, false}},
                                                       {u"dms", {3, false}},
                                                       {u"ddmm.m", {2, true}},
                                                       {u"ddmmss.s", {3, true}}}};
    const BString wanted = name.ToLower();
    for (const Named& known : kFormats) {
        if (wanted.View() == known.name) {
            return known.format;
        }
    }
    return std::nullopt;
}

constexpr bool IsDigit(char16_t unit) noexcept
{
    return unit >= u'0' && unit <= u'9';
}

constexpr bool IsNumberUnit(char16_t unit) noexcept
{
    return IsDigit(unit) || unit == u'.';
}

bool IsSpace(char16_t unit)
{
    return QChar::isSpace(unit);
}

constexpr bool IsMinuteSign(char16_t unit) noexcept
{
    return unit == u'\'' || unit == u'\u2019' || unit == u'\u2032';
}

constexpr bool IsSecondSign(char16_t unit) noexcept
{
    return unit == u'"' || unit == u'\u201D' || unit == u'\u2033';
}

constexpr bool IsSecondLetter(char16_t unit) noexcept
{
    return unit == u's' || unit == u'S';
}

constexpr bool IsMinuteLetter(char16_t unit) noexcept
{
    return unit == u'm' || unit == u'M';
}

/// The sign of the hemisphere: 1 for N and E, -1 for S and W, 0 for any other unit.
constexpr int HemisphereSign(char16_t unit) noexcept
{
    switch (unit) {
    case u'N':
    case u'n':
    case u'E':
    case u'e':
        return 1;
    case u'S':
    case u's':
    case u'W':
    case u'w':
        return -1;
    default:
        return 0;
    }
}

/// One pass over the text of one angle.
class DegreesParser
{
public:
    DegreesParser(std::u16string_view text, DegreesFormat format)
        : m_rest(text)
        , m_format(format)
    {}

    /// The angle; none when the text does not fit the format.
    std::optional<double> Parse()
    {
        SkipSpaceAround();
        const int leading = ConsumeLeadingSign();
        const int trailing = ConsumeTrailingHemisphere(leading != 0);
        if (leading != 0 && trailing != 0) {
            return std::nullopt;
        }
        SkipSpaceAround();
        Parts parts = {};
        if (!(m_format.isPacked ? ConsumePackedParts(parts) : ConsumeParts(parts)) ||
            !AreValid(parts)) {
            return std::nullopt;
        }
        const double angle = parts[0] + parts[1] / kMinutesPerDegree + parts[2] / kSecondsPerDegree;
        return leading < 0 || trailing < 0 ? -angle : angle;
    }

private:
    static bool AreValid(const Parts& parts)
    {
        return parts[1] < kPartLimit && parts[2] < kPartLimit;
    }

    bool SkipSpace()
    {
        const std::size_t before = m_rest.size();
        while (!m_rest.empty() && IsSpace(m_rest.front())) {
            m_rest.remove_prefix(1);
        }
        return m_rest.size() != before;
    }

    void SkipSpaceAround()
    {
        SkipSpace();
        while (!m_rest.empty() && IsSpace(m_rest.back())) {
            m_rest.remove_suffix(1);
        }
    }

    /// Consumes a leading sign or hemisphere letter. @return 1 or -1, 0 without one
    int ConsumeLeadingSign()
    {
        if (m_rest.empty()) {
            return 0;
        }
        int sign = HemisphereSign(m_rest.front());
        if (m_rest.front() == u'+' || m_rest.front() == u'-') {
            sign = m_rest.front() == u'-' ? -1 : 1;
        }
        if (sign != 0) {
            m_rest.remove_prefix(1);
        }
        return sign;
    }

    /// Consumes a hemisphere letter at the end. @return 1 or -1, 0 without one
    int ConsumeTrailingHemisphere(bool hasLeadingSign)
    {
        if (m_rest.empty() || LastLetterClosesSeconds(hasLeadingSign)) {
            return 0;
        }
        const int sign = HemisphereSign(m_rest.back());
        if (sign != 0) {
            m_rest.remove_suffix(1);
        }
        return sign;
    }

    /// Rule: a final S is the hemisphere unless it touches the digits of a third part and the
    /// minutes are closed by m in the same case, or a leading sign rules a hemisphere out and the S
    /// is lower case or the minutes are closed by a mark.
    [[nodiscard]] bool LastLetterClosesSeconds(bool hasLeadingSign) const
    {
        const char16_t letter = m_rest.back();
        if (m_format.isPacked || !IsSecondLetter(letter)) {
            return false;
        }
        std::u16string_view before = m_rest.substr(0, m_rest.size() - 1);
        if (CountNumbers(before) != kPartCount || !IsNumberUnit(before.back())) {
            return false;
        }
        while (IsNumberUnit(before.back())) {
            before.remove_suffix(1);
        }
        while (IsSpace(before.back())) {
            before.remove_suffix(1);
        }
        const char16_t closing = before.back();
        const bool isLowerCase = letter == u's';
        if (closing == (isLowerCase ? u'm' : u'M')) {
            return true;
        }
        return hasLeadingSign && (isLowerCase || IsMinuteLetter(closing) || IsMinuteSign(closing));
    }

    static std::size_t CountNumbers(std::u16string_view text)
    {
        std::size_t count = 0;
        bool wasNumber = false;
        for (const char16_t unit : text) {
            const bool isNumber = IsNumberUnit(unit);
            count += isNumber && !wasNumber ? 1 : 0;
            wasNumber = isNumber;
        }
        return count;
    }

    /// Consumes the leading digits and points. @return them as ASCII
    std::string ConsumeNumberText()
    {
        std::string number;
        while (!m_rest.empty() && IsNumberUnit(m_rest.front())) {
            number.push_back(static_cast<char>(m_rest.front()));
            m_rest.remove_prefix(1);
        }
        return number;
    }

    /// A number of at least one digit and at most one point.
    static bool ReadNumber(const std::string& number, double& value)
    {
        const auto points = std::count(number.begin(), number.end(), '.');
        if (points > 1 || number.size() == static_cast<std::size_t>(points)) {
            return false;
        }
        // A number too small for a double is 0; one too large is no angle.
        value = BNumbers::Strtod(number);
        return std::isfinite(value);
    }

    /// All parts of a text whose parts stand apart.
    bool ConsumeParts(Parts& parts)
    {
        for (std::size_t part = 0;; ++part) {
            if (part == m_format.partCount) {
                return false;
            }
            const std::string number = ConsumeNumberText();
            if (!ReadNumber(number, parts[part])) {
                return false;
            }
            const bool isClosed = ConsumeClosing(part);
            if (m_rest.empty()) {
                return true;
            }
            if (number.find('.') != std::string::npos || !isClosed) {
                return false;
            }
        }
    }

    /// Consumes what stands between a part and the next: white space, the part's own mark, ":" or
    /// "-". False when there is nothing, or something else.
    bool ConsumeClosing(std::size_t part)
    {
        const bool hasSpaceBeforeMark = SkipSpace();
        const bool hasMark = ConsumeMark(part);
        const bool hasSpace = SkipSpace();
        if (m_rest.empty()) {
            return true;
        }
        const bool touchesSpace = hasSpace || (!hasMark && hasSpaceBeforeMark);
        const char16_t separator = m_rest.front();
        if (separator != u':' && separator != u'-') {
            return hasMark || touchesSpace;
        }
        if (m_rest.size() == 1) {
            return false;
        }
        if (separator == u'-' && touchesSpace && !IsSpace(m_rest[1])) {
            // Reads as the sign of the next part, which has none.
            return false;
        }
        m_rest.remove_prefix(1);
        SkipSpace();
        return true;
    }

    /// Consumes the mark of the part when the text goes on with it.
    bool ConsumeMark(std::size_t part)
    {
        if (m_rest.empty()) {
            return false;
        }
        const char16_t unit = m_rest.front();
        const bool isPair = IsMinuteSign(unit) && m_rest.size() > 1 && m_rest[1] == unit;
        bool isMark = false;
        switch (part) {
        case 0:
            isMark = unit == u'\u00B0' || unit == u'\u00BA' || unit == u'd' || unit == u'D';
            break;
        case 1:
            isMark = !isPair && (IsMinuteSign(unit) || IsMinuteLetter(unit));
            break;
        default:
            isMark = isPair || IsSecondSign(unit) || IsSecondLetter(unit);
        }
        if (isMark) {
            m_rest.remove_prefix(isPair ? 2 : 1);
        }
        return isMark;
    }

    /// The parts of one run of digits, cut from the right, two digits per part.
    bool ConsumePackedParts(Parts& parts)
    {
        const std::string number = ConsumeNumberText();
        double value = 0;
        if (!m_rest.empty() || !ReadNumber(number, value)) {
            return false;
        }
        std::size_t end = number.size();
        std::size_t wholeEnd = std::min(number.find('.'), number.size());
        for (std::size_t part = m_format.partCount; part-- > 0;) {
            const std::size_t begin = part == 0 || wholeEnd < 2 ? 0 : wholeEnd - 2;
            const std::string digits = number.substr(begin, end - begin);
            if (!digits.empty() && !ReadNumber(digits, parts[part])) {
                return false;
            }
            end = wholeEnd = begin;
        }
        return true;
    }

    std::u16string_view m_rest;
    DegreesFormat m_format;
};

} // namespace

double BString::FromFormattedDegrees(const BString& format, const BString& text)
{
    const BString location("BString::FromFormattedDegrees");
    const std::optional<DegreesFormat> known = FindFormat(format);
    if (!known) {
        throw BKelvaCoordinateFormatException(
            location, Format("The coordinate format <%ls> is not known.", format));
    }
    const std::optional<double> angle = DegreesParser(text.View(), *known).Parse();
    if (!angle) {
        throw BKelvaCoordinateFormatException(
            location,
            Format("The text <%ls> does not fit the coordinate format <%ls>.", text, format));
    }
    return *angle;
}

} // namespace Orvane
