// A file as text: decompressed, without its mark, of bytes in which ASCII is ASCII.
#pragma once

#include "CharacterDecoder.h"
#include "LineUnquoter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Import::Scan {

enum class EPacking : std::uint8_t {
    None,
    Gzip,
};

/// How the bytes of a file make units.
enum class EUnits : std::uint8_t {
    Bytes,
    Utf16LittleEndian,
    Utf16BigEndian,
    Utf32LittleEndian,
    Utf32BigEndian,
    Characters, ///< of which bytes of ASCII may be parts: see HidesAscii
};

/// What the first bytes of a file say.
struct SourceFacts
{
    std::uint64_t size = 0; ///< of the file
    EPacking packing = EPacking::None;
    EUnits units = EUnits::Bytes;
    bool hasMark = false; ///< a byte order mark
    std::size_t markSize = 0;
};

/// The units of an encoding: "UTF-16LE", "utf-32be" ...; "UTF-16" and "UTF-32" alone are
/// little-endian. Bytes for a name that the system does not know.
[[nodiscard]] EUnits UnitsOf(const std::string& encoding);

/// Reads a file as text, from its begin, as often as wanted.
///
/// Gzip is decompressed; UTF-16, UTF-32 and encodings that hide ASCII in characters become UTF-8,
/// with U+FFFD for what is no character; all else stays as it is. Memory does not depend on the
/// file. One thread at a time.
class TextSource
{
public:
    /// Opens the file and looks at its first bytes.
    /// @param encoding decides the units; empty: the first bytes decide
    /// @throws ImportFailure `no-such-file`, `no-permission`, `is-folder`, `not-a-file`,
    ///     `read-error`; `compressed` when it is packed otherwise than by gzip; `not-text`
    explicit TextSource(std::string path, const std::string& encoding = {});
    ~TextSource();
    TextSource(const TextSource&) = delete;
    TextSource& operator=(const TextSource&) = delete;

    [[nodiscard]] const SourceFacts& Facts() const noexcept { return m_facts; }

    /// Fills the buffer with the text that follows. @return bytes, less than `capacity` only at the
    /// end. @throws ImportFailure `read-error`, `damaged`
    std::size_t Read(char* buffer, std::size_t capacity);

    /// Makes the text one without the quotes around its lines, from its begin: a line that begins
    /// with `"` loses that quote and the one at its end, and two quotes inside become one.
    void UnquoteLines();

    /// Returns to the begin of the text.
    void Rewind();

    /// Bytes of the file that were read since its begin.
    [[nodiscard]] std::uint64_t BytesDone() const noexcept { return m_bytesDone; }

    /// Has a function called after each piece that is read from the file. What it throws leaves
    /// Read unchanged.
    void Watch(std::function<void()> watcher) { m_watcher = std::move(watcher); }

    /// Units that were no characters so far, of a text that becomes UTF-8.
    [[nodiscard]] std::uint64_t CountInvalidUnits() const noexcept { return m_invalid; }

private:
    class Unpacker;

    [[noreturn]] void
    Fail(const char* code, std::string what, std::string cause = {}, std::string advice = {}) const;
    [[noreturn]] void FailToRead(int error) const;
    std::size_t ReadFile(char* buffer, std::size_t capacity);
    std::size_t ReadUnpacked(char* buffer, std::size_t capacity);
    std::size_t ReadDecoded(char* buffer, std::size_t capacity);
    void Decode();
    void DecodeUnits();
    void Inspect(const std::string& encoding);

    std::string m_path;
    int m_descriptor = -1;
    SourceFacts m_facts;
    std::unique_ptr<Unpacker> m_unpacker;
    std::unique_ptr<CharacterDecoder> m_characters;
    std::vector<char> m_raw;  ///< undecoded units
    std::string m_decoded;    ///< decoded text that was not handed out
    std::size_t m_handed = 0; ///< of m_decoded
    std::uint64_t m_invalid = 0;
    bool m_isAtEnd = false;
    std::uint64_t m_bytesDone = 0;
    std::unique_ptr<LineUnquoter> m_lines;
    std::function<void()> m_watcher;
};

} // namespace Orvane::Import::Scan
