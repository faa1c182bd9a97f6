// Asks iconv what single bytes and pairs of bytes are.
#include "CharacterDecoder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>
#include <new>

namespace Orvane::Import::Scan {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

constexpr std::string_view kUsual[] = {
    "", "UTF-8", "US-ASCII", "ISO-8859-1", "WINDOWS-1252", "CP949"};

/// Bytes that cut a text, or make numbers: all of ASCII but letters.
constexpr std::string_view kSigns = "\t\n\r !\"#$%&'()*+,-./0123456789:;<=>?@[\\]^_`{|}~";

void Replace(std::string& text, std::size_t from, const std::string& what, char by)
{
    if (what.empty()) {
        return;
    }
    for (std::size_t at = text.find(what, from); at != std::string::npos;
         at = text.find(what, at + 1)) {
        text.replace(at, what.size(), 1, by);
    }
}

} // namespace

class CharacterDecoder::Handle
{
public:
    explicit Handle(const std::string& encoding)
        : m_handle(iconv_open("UTF-8", encoding.c_str()))
    {}

    ~Handle()
    {
        if (IsOpen()) {
            iconv_close(m_handle);
        }
    }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return m_handle != reinterpret_cast<iconv_t>(-1); // NOLINT(performance-no-int-to-ptr)
    }

    void Restart() { iconv(m_handle, nullptr, nullptr, nullptr, nullptr); }

    /// Converts as much as it can, and removes it. @return 0, or iconv's error
    int Convert(std::string_view& bytes, std::string& out)
    {
        // iconv does not change its input.
        char* from =
            const_cast<char*>(bytes.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        std::size_t left = bytes.size();
        int error = 0;
        while (left > 0 && error == 0) {
            std::array<char, 16384> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init)
            char* to = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t status = iconv(m_handle, &from, &left, &to, &room);
            out.append(buffer.data(), buffer.size() - room);
            error = status == static_cast<std::size_t>(-1) && errno != E2BIG ? errno : 0;
        }
        bytes.remove_prefix(bytes.size() - left);
        return error;
    }

    /// Gives what was kept back until the next character.
    void Flush(std::string& out)
    {
        std::array<char, 64> buffer{};
        char* to = buffer.data();
        std::size_t room = buffer.size();
        iconv(m_handle, nullptr, nullptr, &to, &room);
        out.append(buffer.data(), buffer.size() - room);
    }

    /// Decodes bytes on their own. @return 0, or iconv's error
    int Decode(std::string_view bytes, std::string& out)
    {
        Restart();
        out.clear();
        const int error = Convert(bytes, out);
        if (error == 0) {
            Flush(out);
        }
        return error;
    }

private:
    iconv_t m_handle;
};

namespace {

template <typename Handle>
bool HidesAsciiIn(Handle& handle)
{
    std::string text;
    const auto isSame = [&](char sign) {
        return handle.Decode({&sign, 1}, text) == 0 && text == std::string_view(&sign, 1);
    };
    for (const char sign : kSigns) {
        // Rule: what an encoding makes of a backslash and a tilde does not matter; both stay.
        const bool isKept = sign == '\\' || sign == '~';
        if (!isSame(sign) && (!isKept || handle.Decode({&sign, 1}, text) != 0 || text.empty())) {
            return true;
        }
    }
    if (handle.Decode("\x1B", text) != 0) {
        return true; // Begins an escape sequence.
    }
    for (unsigned lead = 0x80; lead < 0x100; ++lead) {
        for (const char sign : kSigns) {
            const char pair[] = {static_cast<char>(lead), sign};
            const int error = handle.Decode({pair, sizeof pair}, text);
            const bool isKept = sign == '\\' || sign == '~';
            if (error == EINVAL || (error == 0 && !isKept && !text.ends_with(sign))) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool HidesAscii(const std::string& encoding)
{
    if (std::find(std::begin(kUsual), std::end(kUsual), encoding) != std::end(kUsual)) {
        return false;
    }
    CharacterDecoder::Handle handle(encoding);
    return handle.IsOpen() && HidesAsciiIn(handle);
}

CharacterDecoder::CharacterDecoder(const std::string& encoding)
    : m_handle(std::make_unique<Handle>(encoding))
{
    if (!m_handle->IsOpen()) {
        throw std::bad_alloc();
    }
    const auto find = [&](const char* sign) {
        std::string text;
        const bool isOther = m_handle->Decode(sign, text) == 0 && text.size() > 1;
        return isOther ? text : std::string();
    };
    m_backslash = find("\\");
    m_tilde = find("~");
    Restart();
}

CharacterDecoder::~CharacterDecoder() = default;

std::size_t CharacterDecoder::Append(std::string_view bytes,
                                     bool isLast,
                                     std::string& out,
                                     std::uint64_t& invalid)
{
    const std::size_t from = out.size();
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const int error = m_handle->Convert(rest, out);
        if (error == 0 || (error == EINVAL && !isLast)) {
            break;
        }
        out += kReplacement;
        ++invalid;
        rest.remove_prefix(1);
        m_handle->Restart();
    }
    if (isLast) {
        m_handle->Flush(out);
    }
    Replace(out, from, m_backslash, '\\');
    Replace(out, from, m_tilde, '~');
    return bytes.size() - rest.size();
}

void CharacterDecoder::Restart()
{
    m_handle->Restart();
}

} // namespace Orvane::Import::Scan
