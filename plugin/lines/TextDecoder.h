// Decodes the bytes of a file to text, block by block.
#pragma once

#include "lines/BlockText.h"
#include "text/ReadOptions.h"

#include <Orvane/BString.h>

#include <QString>
#include <QTextCodec>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace AsciiReader {

/// Chooses the codec of a file and decodes its blocks in order.
///
/// ISO-8859-1 and valid UTF-8 stay bytes. Text in another codec, and UTF-8 from its first fault to
/// the file's end, becomes UTF-16 as the codec decodes the whole file.
class TextDecoder
{
public:
    /// @param options of these, the codec is kept
    explicit TextDecoder(const ReadOptions& options);

    /// Forgets codec and state, for a file that is read from its start again.
    void Restart();

    [[nodiscard]] bool HasCodec() const noexcept { return m_codec != nullptr; }

    /// Chooses the codec, once per start, and the unit of the block.
    /// @throws BException("The text codec <%ls> is not available.", "AsciiFile::GetSafeLine")
    void ChooseCodec(BlockText& block);

    /// Decodes the bytes that were read last and appends them to the text of the block.
    /// @param newBytes how many they are @param position bytes of the file up to their end
    /// @param isLast whether the file ends with them
    void Decode(BlockText& block, std::size_t newBytes, std::int64_t position, bool isLast);

private:
    void DecodeUtf8(BlockText& block, bool isLast);
    void DecodeWide(BlockText& block, std::string_view bytes, bool isLast);
    void AppendCutCharacter(std::string_view bytes, qsizetype left, QString& decoded) const;
    static void WidenText(BlockText& block);

    std::optional<Orvane::BString> m_codecName;
    bool m_usesLocaleCodec;
    QTextCodec* m_codec = nullptr;
    std::unique_ptr<QTextCodec::ConverterState> m_decoder; ///< for text decoded to UTF-16
    /// UTF-8: bytes of an incomplete character; other codecs: the last bytes decoded.
    std::string m_undecodedBytes;
    std::int64_t m_position = 0;
    bool m_isAtFileStart = true; ///< no character was decoded yet
};

} // namespace AsciiReader
