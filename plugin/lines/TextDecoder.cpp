// Decodes the bytes of a file to text, block by block.
#include "lines/TextDecoder.h"

#include "kernels/Kernels.h"
#include "text/Utf8.h"

#include <Orvane/BException.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

namespace {

constexpr int kLatin1Mib = 4;
constexpr int kUtf8Mib = 106;

/// Bytes of the longest character of any codec.
constexpr std::size_t kMaxCharacter = 8;

/// Most bytes of a block that may stand for no character: byte order marks, switches of the
/// character set, the beginning of a character.
constexpr std::size_t kMaxSilentBytes = 64;

/// What CheckUtf8 says, quicker for valid bytes.
Utf8Check FindUtf8End(std::string_view bytes) noexcept
{
    const std::size_t size = bytes.size() - CountIncompleteTail(bytes);
    return Kernels::Best().isUtf8(bytes.data(), size) ? Utf8Check{size, true} : CheckUtf8(bytes);
}

} // namespace

TextDecoder::TextDecoder(const ReadOptions& options)
    : m_codecName(options.codecName)
    , m_usesLocaleCodec(options.usesLocaleCodec)
{}

void TextDecoder::Restart()
{
    m_codec = nullptr;
    m_decoder.reset();
    m_undecodedBytes.clear();
    m_isAtFileStart = true;
}

void TextDecoder::ChooseCodec(BlockText& block)
{
    if (m_codec != nullptr) {
        return;
    }
    if (m_codecName) {
        m_codec = QTextCodec::codecForName(QByteArray::fromStdString(m_codecName->ToLatin1()));
        if (m_codec == nullptr) {
            throw BException(
                BString::Format("The text codec <%ls> is not available.", *m_codecName),
                "AsciiFile::GetSafeLine");
        }
    } else if (m_usesLocaleCodec) {
        m_codec = QTextCodec::codecForLocale();
    } else {
        m_codec = QTextCodec::codecForName("ISO-8859-1");
    }
    switch (m_codec->mibEnum()) {
    case kLatin1Mib:
        block.unit = ETextUnit::Latin1;
        break;
    case kUtf8Mib:
        block.unit = ETextUnit::Utf8;
        break;
    default:
        block.unit = ETextUnit::Utf16;
        break;
    }
}

void TextDecoder::Decode(BlockText& block, std::size_t newBytes, std::int64_t position, bool isLast)
{
    m_position = position;
    switch (block.unit) {
    case ETextUnit::Latin1:
        block.size = block.bytes.GetSize();
        m_isAtFileStart = false;
        break;
    case ETextUnit::Utf8:
        DecodeUtf8(block, isLast);
        break;
    case ETextUnit::Utf16:
        DecodeWide(
            block, {block.bytes.Data() + (block.bytes.GetSize() - newBytes), newBytes}, isLast);
        break;
    }
}

/// Keeps valid UTF-8 as bytes; from the first fault to the file's end the codec decodes.
void TextDecoder::DecodeUtf8(BlockText& block, bool isLast)
{
    const std::size_t begin = block.size;
    const std::string_view fresh(block.bytes.Data() + begin, block.bytes.GetSize() - begin);
    const bool isAscii = block.undecoded == 0 && block.survey.highBytes == 0;
    const Utf8Check check = isAscii ? Utf8Check{fresh.size(), true} : FindUtf8End(fresh);
    const bool isIncomplete = check.validSize < fresh.size();
    if (!check.isValidSoFar || (isIncomplete && isLast)) {
        m_undecodedBytes = fresh;
        WidenText(block);
        block.undecoded = 0;
        DecodeWide(block, {}, isLast);
        return;
    }
    block.undecoded = fresh.size() - check.validSize;
    std::size_t skipped = 0;
    if (m_isAtFileStart && check.validSize > 0) {
        m_isAtFileStart = false;
        skipped = fresh.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
        if (skipped > 0) {
            std::memmove(block.bytes.Data() + begin,
                         block.bytes.Data() + begin + skipped,
                         fresh.size() - skipped);
            block.bytes.Resize(block.bytes.GetSize() - skipped);
        }
    }
    block.size = begin + check.validSize - skipped;
}

/// Switches from bytes to UTF-16 for good; the text so far is converted.
void TextDecoder::WidenText(BlockText& block)
{
    std::u16string wide;
    Widen(TextView(std::string_view(block.bytes.Data(), block.size), block.unit), wide);
    block.wide.Resize(0);
    block.wide.Append(wide.data(), wide.size());
    block.size = wide.size();
    block.carryScanned = 0;
    block.unit = ETextUnit::Utf16;
}

void TextDecoder::DecodeWide(BlockText& block, std::string_view bytes, bool isLast)
{
    QString decoded;
    if (m_codec->mibEnum() == kUtf8Mib) {
        // The codec's state loses what follows a cut sequence; whole characters need no state.
        m_undecodedBytes.append(bytes);
        const std::size_t kept = isLast ? 0 : CountIncompleteTail(m_undecodedBytes);
        const std::size_t size = m_undecodedBytes.size() - kept;
        QTextCodec::ConverterState state(m_isAtFileStart ? QTextCodec::DefaultConversion
                                                         : QTextCodec::IgnoreHeader);
        // At the file's end an incomplete character is decoded as it is in a whole text.
        const bool isWhole = isLast && m_isAtFileStart;
        decoded = m_codec->toUnicode(
            m_undecodedBytes.data(), static_cast<int>(size), isWhole ? nullptr : &state);
        AppendCutCharacter(
            {m_undecodedBytes.data(), size}, isWhole ? 0 : state.remainingChars, decoded);
        m_undecodedBytes.erase(0, size);
        m_isAtFileStart = m_isAtFileStart && size == 0;
    } else if (isLast && m_isAtFileStart) {
        decoded = m_codec->toUnicode(bytes.data(), static_cast<int>(bytes.size()));
        m_isAtFileStart = false;
    } else {
        if (m_decoder == nullptr) {
            m_decoder = std::make_unique<QTextCodec::ConverterState>();
        }
        decoded = m_codec->toUnicode(bytes.data(), static_cast<int>(bytes.size()), m_decoder.get());
        m_undecodedBytes.append(bytes.substr(bytes.size() - std::min(bytes.size(), kMaxCharacter)));
        if (isLast) {
            AppendCutCharacter(m_undecodedBytes, m_decoder->remainingChars, decoded);
        }
        m_undecodedBytes.erase(
            0, m_undecodedBytes.size() - std::min(m_undecodedBytes.size(), kMaxCharacter));
        m_isAtFileStart = false;
    }
    // A codec that finds no memory returns an empty text and reports nothing.
    if (decoded.isEmpty() && bytes.size() > kMaxSilentBytes) {
        throw std::bad_alloc();
    }
    block.wide.Resize(block.size);
    block.wide.Append(reinterpret_cast<const char16_t*>(decoded.utf16()),
                      static_cast<std::size_t>(decoded.size()));
    block.size = block.wide.GetSize();
    block.bytes.Resize(0);
}

/// Decodes the `left` last bytes, which the end of the text cuts, as the codec does in a whole
/// text.
void TextDecoder::AppendCutCharacter(std::string_view bytes, qsizetype left, QString& decoded) const
{
    if (left <= 0 || static_cast<std::size_t>(left) > bytes.size()) {
        return;
    }
    const std::string_view cut = bytes.substr(bytes.size() - static_cast<std::size_t>(left));
    if (left >= m_position) {
        // Nothing else is there: the cut bytes are the whole text.
        decoded += m_codec->toUnicode(cut.data(), static_cast<int>(cut.size()));
        return;
    }
    // A leading character keeps the bytes from being read as a byte order mark.
    QTextCodec::ConverterState noHeader(QTextCodec::IgnoreHeader);
    const QChar front(u'a');
    QByteArray whole = m_codec->fromUnicode(&front, 1, &noHeader);
    whole.append(cut.data(), left);
    decoded += m_codec->toUnicode(whole).mid(1);
}

} // namespace AsciiReader
