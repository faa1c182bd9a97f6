// The text type of every interface between host, SDK and plug-ins.
#pragma once

#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Orvane {

/// A UTF-16 text whose copies share one buffer.
///
/// A BString holds UTF-16 code units; every length, position and count in this class is in code
/// units. NUL units and lone surrogates are ordinary content and are kept. Copies share one buffer
/// (reference counted, atomic) until one of them is changed, so a copy costs a counter increment.
/// The buffer is the very one of a QString: `MakeQString` and `MakeBString` (BStringQt.h) hand it
/// over without copying; this header itself needs no Qt.
///
/// Different BStrings may be used from different threads, even when they share a buffer; one
/// BString is used by one thread at a time.
class ORVANE_SDK_EXPORT BString
{
public:
    /// The position that stands for "not found" and "to the end".
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /// The empty text.
    BString() noexcept
        : m_storage{}
    {}

    BString(const BString& other) noexcept;

    BString(BString&& other) noexcept
    {
        std::memcpy(m_storage, other.m_storage, sizeof m_storage);
        std::memset(other.m_storage, 0, sizeof m_storage);
    }

    BString& operator=(const BString& other) noexcept;
    BString& operator=(BString&& other) noexcept;

    ~BString()
    {
        void* buffer = nullptr;
        std::memcpy(&buffer, m_storage, sizeof buffer);
        if (buffer != nullptr) {
            Release();
        }
    }

    /// A copy of `text`, unit for unit.
    BString(std::u16string_view text); // NOLINT(google-explicit-constructor)
    /// Up to the first NUL; null gives the empty text.
    BString(const char16_t* text); // NOLINT(google-explicit-constructor)

    BString(const std::u16string& text)
        : BString(std::u16string_view(text))
    {}

    /// A text from UTF-8. Each maximal invalid part becomes one U+FFFD. Implicit, because message
    /// texts and keys in host code are plain literals. A pointer's text ends at the first NUL; a
    /// null pointer gives the empty text.
    BString(const char* utf8);        // NOLINT(google-explicit-constructor)
    BString(const std::string& utf8); // NOLINT(google-explicit-constructor)

    static BString FromUtf8(std::string_view bytes);
    /// Each byte becomes the code unit of the same number.
    static BString FromLatin1(std::string_view bytes);
    /// From the platform's wide text: UTF-32 where wchar_t has 32 bits, UTF-16 where it has 16. A
    /// number past U+10FFFF becomes U+FFFD; lone surrogates are kept.
    static BString FromWide(std::wstring_view text);
    /// The decimal text of a number: "-" when negative, no leading zeros.
    static BString FromInteger(std::int64_t value);
    /// Becomes the decimal text of a number; allocates nothing when the text is not shared and its
    /// buffer is long enough.
    void SetInteger(std::int64_t value);

    /// The text's units; valid until this BString is changed or destroyed.
    [[nodiscard]] std::u16string_view View() const noexcept
    {
        const char16_t* units = nullptr;
        std::size_t length = 0;
        std::memcpy(&units, m_storage + kUnitsOffset, sizeof units);
        std::memcpy(&length, m_storage + kLengthOffset, sizeof length);
        return {units, length};
    }

    [[nodiscard]] std::size_t GetLength() const noexcept { return View().size(); }

    [[nodiscard]] bool IsEmpty() const noexcept { return View().empty(); }

    /// Unit at `position`. @throws std::out_of_range "invalid vector subscript" past the end.
    [[nodiscard]] char16_t At(std::size_t position) const;

    /// UTF-8; a lone surrogate becomes U+FFFD.
    [[nodiscard]] std::string ToUtf8() const;
    /// One byte per unit; units above U+00FF become '?'.
    [[nodiscard]] std::string ToLatin1() const;
    /// One byte per unit; units above U+007F become '?'. The text that number conversions read.
    [[nodiscard]] std::string Ascii() const;
    /// The platform's wide text, as FromWide reads it; lone surrogates are kept.
    [[nodiscard]] std::wstring ToWide() const;

    void Clear() noexcept;
    BString& Append(std::u16string_view text);

    BString& operator+=(const BString& text) { return Append(text.View()); }

    /// The first position at or after `from` where `text` begins, npos when there is none. The
    /// empty text is found at `from` while `from` is not past the end.
    [[nodiscard]] std::size_t find(std::u16string_view text, std::size_t from = 0) const noexcept;
    [[nodiscard]] std::size_t find(char16_t unit, std::size_t from = 0) const noexcept;
    [[nodiscard]] bool StartsWith(std::u16string_view text) const noexcept;
    /// The first `count` units; the whole text when it is shorter.
    [[nodiscard]] BString Left(std::size_t count) const;
    /// `count` units from `position`; less when the text ends first, empty past its end.
    [[nodiscard]] BString Mid(std::size_t position, std::size_t count = npos) const;

    /// Unicode lower case (full case mapping, no locale).
    [[nodiscard]] BString ToLower() const;
    /// Without blank, tab, LF, VT, FF and CR at both ends.
    [[nodiscard]] BString Trim() const;
    /// Without blank, tab, LF, VT, FF and CR at the end.
    [[nodiscard]] BString TrimRight() const;
    /// Removes every occurrence of `unit` from this text.
    void RemoveAll(char16_t unit);

    /// Cuts `text` at every `separator` and puts the parts into `tokens`, whose former content is
    /// dropped. Empty parts are kept: "a,,b" gives three tokens, "" gives one empty token, "a,"
    /// gives "a" and "". An empty separator gives the whole text as the one token.
    static void
    Tokenize(const BString& text, std::vector<BString>& tokens, const BString& separator);

    /// One argument of Format: a text, an integer or a floating-point number.
    class ORVANE_SDK_EXPORT FormatArgument
    {
    public:
        FormatArgument(const BString& text); // NOLINT(google-explicit-constructor)
        FormatArgument(const char* utf8);    // NOLINT(google-explicit-constructor)

        template <typename T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
        FormatArgument(T value) // NOLINT(google-explicit-constructor)
            : m_kind(Kind::Integer)
            , m_integer(static_cast<std::int64_t>(value))
        {}

        FormatArgument(double value); // NOLINT(google-explicit-constructor)

    private:
        friend class BString;
        enum class Kind { Text, Integer, Real };
        Kind m_kind;
        std::u16string m_text;
        std::int64_t m_integer = 0;
        double m_real = 0;
    };

    /// Builds a message printf-style. Directives: `%ls` and `%s` stand for a text, `%d`, `%i` and
    /// `%u` an integer (64 bits, signed), `%g` and `%f` a double ("." whatever the locale), `%%` is
    /// a per cent sign. Flags, widths and precisions are not part of it. The texts are inserted
    /// whole, NUL units included.
    /// @throws std::invalid_argument when directives and arguments do not agree.
    template <typename... Arguments>
    static BString Format(const char* utf8Format, const Arguments&... arguments)
    {
        return FormatList(utf8Format, {FormatArgument(arguments)...});
    }

    static BString FormatList(const char* utf8Format,
                              std::initializer_list<FormatArgument> arguments);

    /// Reads an angle written by people into decimal degrees.
    ///
    /// `format`, case ignored: "D", "DM" and "DMS" are degrees, degrees and minutes, degrees,
    /// minutes and seconds as parts of their own; "DDMM.m" and "DDMMSS.s" are packed digits, cut
    /// from the right, two digits per part.
    ///
    /// Text: a leading sign ("+" or "-") or one hemisphere letter N, S, E, W (any case, at either
    /// end), not both; S and W are negative. Parts stand apart by white space, ":" or "-", or are
    /// closed by the degree, minute and second signs (typographic or ASCII, two minute signs for
    /// seconds too) or the letters d, m, s (any case), each after its own part only. Trailing
    /// parts may be missing and are 0; only the last part that is present may have a fraction;
    /// minutes and seconds are below 60. Packed texts have no separators and no signs of parts.
    /// White space around the text, after the sign and beside the hemisphere letter is dropped.
    /// Exponents, hexadecimal, "inf", "nan" and numbers too large for a double are refused. A "-"
    /// that follows white space and touches the next part is refused, since it reads as the sign
    /// of that part.
    ///
    /// A final S is the hemisphere, unless it touches the digits of the third part and either the
    /// minutes are closed by the letter m in the same case ("12d30m15s"), or a sign or hemisphere
    /// letter leads and the s is lower case or the minutes are closed by a sign or
    /// letter ("-12d30m15S"); then it closes the seconds.
    ///
    /// @return degrees: degrees + minutes / 60 + seconds / 3600, with the sign applied last.
    /// @throws BKelvaCoordinateFormatException("BString::FromFormattedDegrees", "The coordinate
    ///     format <%ls> is not known.") with the format, or ("BString::FromFormattedDegrees", "The
    ///     text <%ls> does not fit the coordinate format <%ls>.") with text and format.
    static double FromFormattedDegrees(const BString& format, const BString& text);

    friend bool operator==(const BString& a, const BString& b) noexcept
    {
        return a.View() == b.View();
    }

    friend auto operator<=>(const BString& a, const BString& b) noexcept
    {
        return a.View() <=> b.View();
    }

    friend BString operator+(BString a, const BString& b)
    {
        a += b;
        return a;
    }

private:
    friend struct BStringAccess; // BStringQt.h: the one access to the shared QString

    static constexpr std::size_t kUnitsOffset = sizeof(void*);
    static constexpr std::size_t kLengthOffset = 2 * sizeof(void*);

    /// Releases the buffer.
    void Release() noexcept;

    // Holds a QString: the owner of its buffer, its units, its length. An empty one is all zeros,
    // and its bytes may be moved. BString.cpp checks size and layout.
    alignas(void*) std::byte m_storage[3 * sizeof(void*)];
};

} // namespace Orvane

template <>
struct std::hash<Orvane::BString>
{
    std::size_t operator()(const Orvane::BString& text) const noexcept
    {
        return std::hash<std::u16string_view>()(text.View());
    }
};
