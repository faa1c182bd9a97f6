// Builds printf-style messages.
#include <Orvane/BString.h>

#include <array>
#include <charconv>
#include <stdexcept>

namespace Orvane {

namespace {

constexpr int kRealPrecision = 6;

[[noreturn]] void Refuse()
{
    throw std::invalid_argument("BString::Format: the format and its arguments do not agree");
}

BString FormatDouble(double value, std::chars_format style)
{
    std::array<char, 400> buffer; // the largest double has 309 digits before the point
    const auto result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, style, kRealPrecision);
    return BString::FromLatin1(
        {buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())});
}

} // namespace

BString::FormatArgument::FormatArgument(const BString& text)
    : m_kind(Kind::Text)
    , m_text(text.View())
{}

BString::FormatArgument::FormatArgument(const char* utf8)
    : FormatArgument(BString(utf8))
{}

BString::FormatArgument::FormatArgument(double value)
    : m_kind(Kind::Real)
    , m_real(value)
{}

BString BString::FormatList(const char* utf8Format, std::initializer_list<FormatArgument> arguments)
{
    using Kind = FormatArgument::Kind;

    BString result;
    const auto* argument = arguments.begin();
    const auto take = [&](Kind kind) -> const FormatArgument& {
        if (argument == arguments.end() || argument->m_kind != kind) {
            Refuse();
        }
        return *argument++;
    };

    std::string_view rest(utf8Format);
    while (!rest.empty()) {
        const std::size_t percent = rest.find('%');
        result += FromUtf8(rest.substr(0, percent));
        if (percent == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(percent + 1);
        if (rest.substr(0, 2) == "ls") {
            rest.remove_prefix(1);
        }
        switch (rest.empty() ? '\0' : rest.front()) {
        case '%':
            result.Append(u"%");
            break;
        case 's':
            result.Append(take(Kind::Text).m_text);
            break;
        case 'd':
        case 'i':
        case 'u':
            result += FromInteger(take(Kind::Integer).m_integer);
            break;
        case 'g':
            result += FormatDouble(take(Kind::Real).m_real, std::chars_format::general);
            break;
        case 'f':
            result += FormatDouble(take(Kind::Real).m_real, std::chars_format::fixed);
            break;
        default:
            Refuse();
        }
        rest.remove_prefix(1);
    }
    if (argument != arguments.end()) {
        Refuse();
    }
    return result;
}

} // namespace Orvane
