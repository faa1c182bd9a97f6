// Has libpq read the text, so that no password is overlooked.
#include "ConnectionText.h"

#include <algorithm>
#include <libpq-fe.h>
#include <memory>

namespace Orvane::Postgres {

namespace {

bool BeginsWith(std::string_view text, std::string_view lowerCase)
{
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(), [](char wanted, char byte) {
               return wanted == (byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
           });
}

constexpr std::string_view kPrefix = "pg:";

struct OptionsEnd
{
    void operator()(PQconninfoOption* options) const noexcept { PQconninfoFree(options); }
};

} // namespace

std::string ToConnectionInfo(std::string_view text)
{
    return std::string(BeginsWith(text, kPrefix) ? text.substr(kPrefix.size()) : text);
}

std::string ShowConnection(std::string_view text)
{
    char* message = nullptr;
    const std::unique_ptr<PQconninfoOption, OptionsEnd> options(
        PQconninfoParse(ToConnectionInfo(text).c_str(), &message));
    PQfreemem(message);
    std::string shown = "PG:";
    for (const PQconninfoOption* option = options.get();
         option != nullptr && option->keyword != nullptr;
         ++option) {
        // libpq marks what must not be shown with "*".
        const bool isSecret = option->dispchar != nullptr && option->dispchar[0] == '*';
        if (option->val == nullptr || isSecret) {
            continue;
        }
        const std::string_view value = option->val;
        shown += shown.size() > kPrefix.size() ? " " : "";
        shown += option->keyword;
        shown += '=';
        const bool isPlain =
            !value.empty() && value.find_first_of(" '\\") == std::string_view::npos;
        if (isPlain) {
            shown += value;
            continue;
        }
        shown += '\'';
        for (const char byte : value) {
            shown += byte == '\'' || byte == '\\' ? "\\" : "";
            shown += byte;
        }
        shown += '\'';
    }
    return shown;
}

} // namespace Orvane::Postgres
