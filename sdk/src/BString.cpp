// The UTF-16 text over a shared QString.
#include <Orvane/BException.h>
#include <Orvane/BString.h>
#include <Orvane/BStringQt.h>
#include <Orvane/BUnicode.h>

#include <array>
#include <charconv>
#include <stdexcept>

namespace Orvane {

namespace {

// Inside a QString: the buffer's header, the units, the length; BString::View reads the last two.
static_assert(sizeof(QString) == 3 * sizeof(void*) && alignof(QString) == alignof(void*));
static_assert(sizeof(QString::DataPointer) == sizeof(QString));
static_assert(sizeof(qsizetype) == sizeof(std::size_t));
static_assert(offsetof(QString::DataPointer, ptr) == sizeof(void*));
static_assert(offsetof(QString::DataPointer, size) == 2 * sizeof(void*));

constexpr bool IsTrimmed(char16_t unit) noexcept
{
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

const QChar* AsQChars(std::u16string_view text) noexcept
{
    return reinterpret_cast<const QChar*>(text.data());
}

/// Writes one character as UTF-16. @return the place after it
char16_t* PutCharacter(char16_t* out, char32_t character) noexcept
{
    if (character < 0x10000) {
        *out++ = static_cast<char16_t>(character);
    } else {
        *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
    return out;
}

/// The character at `position`, which moves past it; a broken one gives U+FFFD.
char32_t DecodeUtf8Character(std::string_view bytes, std::size_t& position) noexcept
{
    const BUnicode::Character character = BUnicode::DecodeUtf8(bytes.substr(position));
    position += character.size;
    return character.code;
}

/// One byte a unit, '?' for units above `highest`.
std::string Narrow(std::u16string_view text, char16_t highest)
{
    std::string result(text.size(), '?');
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] <= highest) {
            result[position] = static_cast<char>(text[position]);
        }
    }
    return result;
}

/// Builds a text of at most `capacity` units; `write` puts them to the given place and returns the
/// place after the last one.
template <typename Write>
BString BuildText(std::size_t capacity, Write write)
{
    QString text(static_cast<qsizetype>(capacity), Qt::Uninitialized);
    auto* begin = reinterpret_cast<char16_t*>(text.data());
    text.truncate(write(begin) - begin);
    return MakeBString(std::move(text));
}

} // namespace

BString::BString(const BString& other) noexcept
{
    new (m_storage) QString(MakeQString(other));
}

// QString's own assignment is safe for the text itself.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
BString& BString::operator=(const BString& other) noexcept
{
    BStringAccess::Get(*this) = MakeQString(other);
    return *this;
}

BString& BString::operator=(BString&& other) noexcept
{
    BStringAccess::Get(*this) = std::move(BStringAccess::Get(other));
    return *this;
}

void BString::Release() noexcept
{
    BStringAccess::Get(*this).~QString();
}

BString::BString(std::u16string_view text)
{
    new (m_storage) QString(AsQChars(text), static_cast<qsizetype>(text.size()));
}

BString::BString(const char16_t* text)
    : BString(text == nullptr ? std::u16string_view() : std::u16string_view(text))
{}

BString::BString(const char* utf8)
    : BString(FromUtf8(utf8 == nullptr ? std::string_view() : std::string_view(utf8)))
{}

BString::BString(const std::string& utf8)
    : BString(FromUtf8(utf8))
{}

BString BString::FromUtf8(std::string_view bytes)
{
    // No character has more UTF-16 units than UTF-8 bytes, and a broken part has at least one byte.
    return BuildText(bytes.size(), [&](char16_t* out) {
        for (std::size_t position = 0; position < bytes.size();) {
            out = PutCharacter(out, DecodeUtf8Character(bytes, position));
        }
        return out;
    });
}

BString BString::FromLatin1(std::string_view bytes)
{
    return MakeBString(QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

BString BString::FromWide(std::wstring_view text)
{
    return BuildText(text.size() * 2, [&](char16_t* out) {
        for (const wchar_t unit : text) {
            const auto character = static_cast<char32_t>(unit);
            out = PutCharacter(out, character <= 0x10FFFF ? character : BUnicode::kReplacement);
        }
        return out;
    });
}

BString BString::FromInteger(std::int64_t value)
{
    BString text;
    text.SetInteger(value);
    return text;
}

void BString::SetInteger(std::int64_t value)
{
    std::array<char, 24> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    const auto size = static_cast<std::size_t>(result.ptr - digits.data());
    QString& text = BStringAccess::Get(*this);
    if (text.isDetached() && text.capacity() >= static_cast<qsizetype>(size)) {
        text.resize(static_cast<qsizetype>(size));
    } else {
        text = QString(static_cast<qsizetype>(size), Qt::Uninitialized);
    }
    QChar* const units = text.data();
    for (std::size_t at = 0; at < size; ++at) {
        units[at] = QLatin1Char(digits[at]);
    }
}

char16_t BString::At(std::size_t position) const
{
    const std::u16string_view text = View();
    return CheckedAt(text, position);
}

std::string BString::ToUtf8() const
{
    const std::u16string_view text = View();
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const char32_t character = BUnicode::DecodeUtf16(text, position);
        const bool isLone = BUnicode::IsSurrogate(character);
        BUnicode::AppendUtf8(isLone ? BUnicode::kReplacement : character, result);
    }
    return result;
}

std::string BString::ToLatin1() const
{
    return Narrow(View(), 0xFF);
}

std::string BString::Ascii() const
{
    return Narrow(View(), 0x7F);
}

std::wstring BString::ToWide() const
{
    const std::u16string_view text = View();
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        return {text.begin(), text.end()};
    } else {
        std::wstring result;
        result.reserve(text.size());
        for (std::size_t position = 0; position < text.size();) {
            result.push_back(static_cast<wchar_t>(BUnicode::DecodeUtf16(text, position)));
        }
        return result;
    }
}

void BString::Clear() noexcept
{
    BStringAccess::Get(*this) = QString();
}

BString& BString::Append(std::u16string_view text)
{
    BStringAccess::Get(*this).append(AsQChars(text), static_cast<qsizetype>(text.size()));
    return *this;
}

std::size_t BString::find(std::u16string_view text, std::size_t from) const noexcept
{
    return View().find(text, from);
}

std::size_t BString::find(char16_t unit, std::size_t from) const noexcept
{
    if (from >= GetLength()) {
        return npos;
    }
    // Not found is -1 there, which is npos here.
    return static_cast<std::size_t>(
        MakeQString(*this).indexOf(QChar(unit), static_cast<qsizetype>(from)));
}

bool BString::StartsWith(std::u16string_view text) const noexcept
{
    return View().substr(0, text.size()) == text;
}

BString BString::Left(std::size_t count) const
{
    return Mid(0, count);
}

BString BString::Mid(std::size_t position, std::size_t count) const
{
    const std::u16string_view text = View();
    if (position >= text.size()) {
        return {};
    }
    if (position == 0 && count >= text.size()) {
        return *this;
    }
    return {text.substr(position, count)};
}

BString BString::ToLower() const
{
    return MakeBString(MakeQString(*this).toLower());
}

BString BString::Trim() const
{
    const std::u16string_view text = View();
    std::size_t begin = 0;
    while (begin < text.size() && IsTrimmed(text[begin])) {
        ++begin;
    }
    std::size_t end = text.size();
    while (end > begin && IsTrimmed(text[end - 1])) {
        --end;
    }
    return Mid(begin, end - begin);
}

BString BString::TrimRight() const
{
    const std::u16string_view text = View();
    std::size_t end = text.size();
    while (end > 0 && IsTrimmed(text[end - 1])) {
        --end;
    }
    return Left(end);
}

void BString::RemoveAll(char16_t unit)
{
    if (find(unit) != npos) {
        BStringAccess::Get(*this).remove(QChar(unit));
    }
}

void BString::Tokenize(const BString& text, std::vector<BString>& tokens, const BString& separator)
{
    // Copies, since either text may stand in the list that is emptied.
    const BString whole = text;    // NOLINT(performance-unnecessary-copy-initialization)
    const BString cut = separator; // NOLINT(performance-unnecessary-copy-initialization)
    tokens.clear();
    if (cut.IsEmpty()) {
        tokens.push_back(whole);
        return;
    }
    std::size_t begin = 0;
    for (std::size_t end = whole.find(cut.View()); end != npos;
         end = whole.find(cut.View(), begin)) {
        tokens.push_back(whole.Mid(begin, end - begin));
        begin = end + cut.GetLength();
    }
    tokens.push_back(whole.Mid(begin));
}

} // namespace Orvane
