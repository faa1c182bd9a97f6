// System calls, zlib, and the decoding of UTF-16 and UTF-32.
#include "TextSource.h"

#include "BinaryKind.h"

#include <Orvane/BUnicode.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <zlib.h>

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

constexpr std::string_view kGzip = "\x1F\x8B\x08";

struct Mark
{
    std::string_view bytes;
    EUnits units;
};

/// The longer marks first: that of UTF-32 begins with that of UTF-16.
constexpr Mark kMarks[] = {
    {std::string_view("\xFF\xFE\0\0", 4), EUnits::Utf32LittleEndian},
    {std::string_view("\0\0\xFE\xFF", 4), EUnits::Utf32BigEndian},
    {std::string_view("\xEF\xBB\xBF", 3), EUnits::Bytes},
    {std::string_view("\xFF\xFE", 2), EUnits::Utf16LittleEndian},
    {std::string_view("\xFE\xFF", 2), EUnits::Utf16BigEndian},
};

std::size_t SizeOf(EUnits units) noexcept
{
    switch (units) {
    case EUnits::Bytes:
    case EUnits::Characters:
        return 1;
    case EUnits::Utf16LittleEndian:
    case EUnits::Utf16BigEndian:
        return 2;
    default:
        return 4;
    }
}

bool IsName(std::string_view text, std::string_view name) noexcept
{
    return text.size() == name.size() &&
           std::equal(text.begin(), text.end(), name.begin(), [](char a, char b) {
               return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b;
           });
}

/// Units by their NULs.
EUnits FindUnits(std::string_view text) noexcept
{
    // At offsets of each remainder by four.
    std::array<std::uint64_t, 4> nuls{};
    for (std::size_t at = 0; at < text.size(); ++at) {
        nuls[at % 4] += text[at] == '\0' ? 1U : 0U;
    }
    const std::uint64_t quarter = text.size() / 4;
    const auto isMany = [&](std::uint64_t count, std::uint64_t all) {
        return all > 0 && count * 10 > all * 3;
    };
    const auto isFew = [&](std::uint64_t count, std::uint64_t all) { return count * 50 <= all; };
    // Rule: characters of UTF-32 begin with a NUL, nearly all with two, and none ends with one.
    const auto isNearlyAll = [&](std::uint64_t count) { return count * 10 >= quarter * 9; };
    if (quarter > 0 && text.size() % 4 == 0) {
        if (isNearlyAll(nuls[3]) && isNearlyAll(nuls[2]) && isFew(nuls[0], quarter)) {
            return EUnits::Utf32LittleEndian;
        }
        if (isNearlyAll(nuls[0]) && isNearlyAll(nuls[1]) && isFew(nuls[3], quarter)) {
            return EUnits::Utf32BigEndian;
        }
    }
    // Rule: UTF-16 without a mark has NULs in over 30 % of one parity and hardly any in the other.
    const std::uint64_t half = text.size() / 2;
    const std::uint64_t even = nuls[0] + nuls[2];
    const std::uint64_t odd = nuls[1] + nuls[3];
    if (isMany(odd, half) && isFew(even, half)) {
        return EUnits::Utf16LittleEndian;
    }
    return isMany(even, half) && isFew(odd, half) ? EUnits::Utf16BigEndian : EUnits::Bytes;
}

} // namespace

EUnits UnitsOf(const std::string& encoding)
{
    constexpr std::pair<std::string_view, EUnits> kNames[] = {
        {"UTF-16LE", EUnits::Utf16LittleEndian},
        {"UTF-16BE", EUnits::Utf16BigEndian},
        {"UTF-32LE", EUnits::Utf32LittleEndian},
        {"UTF-32BE", EUnits::Utf32BigEndian},
        {"UTF-16", EUnits::Utf16LittleEndian},
        {"UTF-32", EUnits::Utf32LittleEndian},
        {"UTF16", EUnits::Utf16LittleEndian},
        {"UTF32", EUnits::Utf32LittleEndian},
    };
    for (const auto& [name, units] : kNames) {
        if (IsName(encoding, name)) {
            return units;
        }
    }
    return HidesAscii(encoding) ? EUnits::Characters : EUnits::Bytes;
}

/// Unpacks gzip, several members in a row too.
class TextSource::Unpacker
{
public:
    Unpacker()
        : m_input(kPiece)
    {
        // 16: gzip alone, with its header and checksum.
        if (inflateInit2(&m_stream, 15 + 16) != Z_OK) {
            throw std::bad_alloc();
        }
    }

    ~Unpacker() { inflateEnd(&m_stream); }

    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    void Rewind()
    {
        inflateReset(&m_stream);
        m_stream.avail_in = 0;
        m_isBetween = true;
    }

    template <typename ReadFile, typename Fail>
    std::size_t Read(char* buffer, std::size_t capacity, const ReadFile& readFile, const Fail& fail)
    {
        m_stream.next_out = reinterpret_cast<Bytef*>(buffer);
        m_stream.avail_out = static_cast<uInt>(capacity);
        while (m_stream.avail_out > 0) {
            if (m_stream.avail_in == 0) {
                m_stream.next_in = reinterpret_cast<Bytef*>(m_input.data());
                m_stream.avail_in = static_cast<uInt>(readFile(m_input.data(), m_input.size()));
                if (m_stream.avail_in == 0) {
                    if (!m_isBetween) {
                        fail("The compressed data ends early: the file is cut.");
                    }
                    break;
                }
            }
            m_isBetween = false;
            const int status = inflate(&m_stream, Z_NO_FLUSH);
            if (status == Z_STREAM_END) {
                inflateReset(&m_stream);
                m_isBetween = true;
            } else if (status != Z_OK && status != Z_BUF_ERROR) {
                fail("The compressed data is damaged.");
            }
        }
        return capacity - m_stream.avail_out;
    }

private:
    z_stream m_stream{};
    std::vector<char> m_input;
    bool m_isBetween = true; ///< between two members, where the file may end
};

TextSource::TextSource(std::string path, const std::string& encoding)
    : m_path(std::move(path))
{
    // A pipe without a writer must not stop the program.
    m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_descriptor < 0) {
        FailToRead(errno);
    }
    try {
        struct stat status = {};
        if (::fstat(m_descriptor, &status) != 0) {
            FailToRead(errno);
        }
        if (S_ISDIR(status.st_mode)) {
            FailToRead(EISDIR);
        }
        if (!S_ISREG(status.st_mode)) {
            Fail("not-a-file", "This is no regular file.", {}, "Copy the data to a file first.");
        }
        m_facts.size = static_cast<std::uint64_t>(status.st_size);
        Inspect(encoding);
    } catch (...) {
        ::close(m_descriptor);
        throw;
    }
}

TextSource::~TextSource()
{
    ::close(m_descriptor);
}

void TextSource::Fail(const char* code,
                      std::string what,
                      std::string cause,
                      std::string advice) const
{
    FailureFields fields;
    fields.kind = EFailureKind::Input;
    fields.code = code;
    fields.what = std::move(what);
    fields.file = m_path;
    fields.cause = std::move(cause);
    fields.advice = std::move(advice);
    throw ImportFailure(std::move(fields));
}

void TextSource::FailToRead(int error) const
{
    if (error == ENOENT || error == ENOTDIR) {
        Fail("no-such-file",
             "There is no such file.",
             {},
             m_path == "-" ? "Standard input is not read: save it to a file first."
                           : "Check its name and its folder.");
    }
    if (error == EACCES) {
        Fail("no-permission",
             "The file cannot be read.",
             std::strerror(error),
             "Ask its owner for permission.");
    }
    if (error == EISDIR) {
        Fail("is-folder", "This is a folder.", {}, "Give a file.");
    }
    Fail("read-error", "The system cannot read the file.", std::strerror(error));
}

void TextSource::Inspect(const std::string& encoding)
{
    std::vector<char> piece(kPiece);
    std::string_view text(piece.data(), ReadFile(piece.data(), piece.size()));
    if (text.starts_with(kGzip)) {
        m_facts.packing = EPacking::Gzip;
        m_unpacker = std::make_unique<Unpacker>();
        Rewind();
        text = {piece.data(), ReadUnpacked(piece.data(), piece.size())};
    }
    if (const std::optional<BinaryKind> kind = FindBinaryKind(text)) {
        if (kind->isPacked) {
            Fail("compressed", "The file is compressed by " + kind->what + ".", {}, kind->cure);
        }
        Fail("not-text", "The file is " + kind->what + ", and no text.", {}, kind->cure);
    }
    if (const std::optional<BinaryKind> kind = FindTextKind(text); kind && encoding.empty()) {
        Fail("not-text", "The file is " + kind->what + ", and no delimited text.", {}, kind->cure);
    }
    for (const Mark& mark : kMarks) {
        if (text.substr(0, mark.bytes.size()) == mark.bytes) {
            m_facts.hasMark = true;
            m_facts.markSize = mark.bytes.size();
            m_facts.units = mark.units;
            break;
        }
    }
    if (!m_facts.hasMark) {
        m_facts.units = FindUnits(text);
    }
    // Rule: bytes that look like no text are read as text when the caller gives their encoding.
    if (encoding.empty() && m_facts.units == EUnits::Bytes && HasBinaryBytes(text)) {
        Fail("not-text",
             "The file is no text.",
             "It holds control characters of many kinds.",
             "Give its encoding if it is a text.");
    }
    if (!encoding.empty()) {
        // Without an order of bytes in the name the file's own order holds.
        const bool isOpen = IsName(encoding, "UTF-16") || IsName(encoding, "UTF-32");
        const EUnits given = UnitsOf(encoding);
        if (!isOpen || SizeOf(given) != SizeOf(m_facts.units)) {
            // A mark of other units is text.
            m_facts.hasMark = m_facts.hasMark && given == m_facts.units;
            m_facts.markSize = m_facts.hasMark ? m_facts.markSize : 0;
            m_facts.units = given;
        }
    }
    if (m_facts.units == EUnits::Characters) {
        m_characters = std::make_unique<CharacterDecoder>(encoding);
    }
    Rewind();
}

std::size_t TextSource::ReadFile(char* buffer, std::size_t capacity)
{
    std::size_t size = 0;
    while (size < capacity) {
        const ssize_t got = ::read(m_descriptor, buffer + size, capacity - size);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            FailToRead(errno);
        }
        if (got == 0) {
            break;
        }
        size += static_cast<std::size_t>(got);
    }
    m_bytesDone += size;
    if (m_watcher) {
        m_watcher();
    }
    return size;
}

std::size_t TextSource::ReadUnpacked(char* buffer, std::size_t capacity)
{
    if (!m_unpacker) {
        return ReadFile(buffer, capacity);
    }
    return m_unpacker->Read(
        buffer,
        capacity,
        [&](char* to, std::size_t size) { return ReadFile(to, size); },
        [&](const char* cause) {
            Fail("damaged", "The compressed file cannot be unpacked.", cause);
        });
}

void TextSource::Rewind()
{
    if (::lseek(m_descriptor, 0, SEEK_SET) < 0) {
        FailToRead(errno);
    }
    m_bytesDone = 0;
    if (m_unpacker) {
        m_unpacker->Rewind();
    }
    if (m_characters) {
        m_characters->Restart();
    }
    if (m_lines) {
        m_lines->Restart();
    }
    m_raw.clear();
    m_decoded.clear();
    m_handed = 0;
    m_invalid = 0;
    m_isAtEnd = false;
    std::array<char, 4> mark{};
    if (m_facts.markSize > 0) {
        ReadUnpacked(mark.data(), m_facts.markSize);
    }
}

void TextSource::UnquoteLines()
{
    m_lines = std::make_unique<LineUnquoter>();
    Rewind();
}

std::size_t TextSource::Read(char* buffer, std::size_t capacity)
{
    if (!m_lines) {
        return ReadDecoded(buffer, capacity);
    }
    return m_lines->Read(
        buffer, capacity, [this](char* to, std::size_t size) { return ReadDecoded(to, size); });
}

std::size_t TextSource::ReadDecoded(char* buffer, std::size_t capacity)
{
    if (m_facts.units == EUnits::Bytes) {
        return ReadUnpacked(buffer, capacity);
    }
    std::size_t size = 0;
    while (size < capacity) {
        if (m_handed == m_decoded.size()) {
            Decode();
            if (m_decoded.empty()) {
                break;
            }
        }
        const std::size_t now = std::min(capacity - size, m_decoded.size() - m_handed);
        std::memcpy(buffer + size, m_decoded.data() + m_handed, now);
        m_handed += now;
        size += now;
    }
    return size;
}

void TextSource::Decode()
{
    m_decoded.clear();
    m_handed = 0;
    if (m_isAtEnd) {
        return;
    }
    const std::size_t kept = m_raw.size();
    m_raw.resize(kept + kPiece);
    const std::size_t got = ReadUnpacked(m_raw.data() + kept, kPiece);
    m_raw.resize(kept + got);
    m_isAtEnd = got < kPiece;
    if (!m_characters) {
        DecodeUnits();
        return;
    }
    const std::size_t used =
        m_characters->Append({m_raw.data(), m_raw.size()}, m_isAtEnd, m_decoded, m_invalid);
    m_raw.erase(m_raw.begin(), m_raw.begin() + static_cast<std::ptrdiff_t>(used));
}

void TextSource::DecodeUnits()
{
    constexpr char32_t kReplacement = 0xFFFD;
    const std::size_t width = SizeOf(m_facts.units);
    const bool isBig =
        m_facts.units == EUnits::Utf16BigEndian || m_facts.units == EUnits::Utf32BigEndian;
    const auto unitAt = [&](std::size_t at) {
        char32_t unit = 0;
        for (std::size_t i = 0; i < width; ++i) {
            const auto byte = static_cast<std::uint8_t>(m_raw[at + (isBig ? i : width - 1 - i)]);
            unit = (unit << 8U) | byte;
        }
        return unit;
    };
    const auto invalid = [&] {
        ++m_invalid;
        Orvane::BUnicode::AppendUtf8(kReplacement, m_decoded);
    };
    std::size_t at = 0;
    while (at + width <= m_raw.size()) {
        const char32_t unit = unitAt(at);
        const bool isHigh = width == 2 && unit >= 0xD800 && unit < 0xDC00;
        if (isHigh) {
            if (at + 4 > m_raw.size() && !m_isAtEnd) {
                break;
            }
            const char32_t low = at + 4 <= m_raw.size() ? unitAt(at + 2) : 0;
            if (low >= 0xDC00 && low < 0xE000) {
                Orvane::BUnicode::AppendUtf8(0x10000 + ((unit - 0xD800) << 10U) + (low - 0xDC00),
                                             m_decoded);
                at += 4;
                continue;
            }
        }
        if (isHigh || (unit >= 0xD800 && unit < 0xE000) || unit > 0x10FFFF) {
            invalid();
        } else {
            Orvane::BUnicode::AppendUtf8(unit, m_decoded);
        }
        at += width;
    }
    m_raw.erase(m_raw.begin(), m_raw.begin() + static_cast<std::ptrdiff_t>(at));
    if (m_isAtEnd && !m_raw.empty()) {
        m_raw.clear();
        invalid();
    }
}

} // namespace Orvane::Import::Scan
