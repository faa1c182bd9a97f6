// The escapes of JSON.
#include "JsonText.h"

namespace Orvane::Import {

void AppendJsonText(std::string_view utf8, std::string& out)
{
    constexpr char kDigits[] = "0123456789abcdef";
    for (const char byte : utf8) {
        const auto code = static_cast<unsigned char>(byte);
        switch (byte) {
        case '"':
        case '\\':
            out += '\\';
            out += byte;
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (code < 0x20) {
                out += "\\u00";
                out += kDigits[code >> 4U];
                out += kDigits[code & 0xFU];
            } else {
                out += byte;
            }
        }
    }
}

} // namespace Orvane::Import
