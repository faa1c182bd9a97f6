// Decodes a file block by block and cuts the blocks into logical lines.
#include "lines/LineSource.h"

#include "kernels/Kernels.h"
#include "text/Utf8.h"
#include "text/ValueRules.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>

#include <QDateTime>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

namespace {

constexpr const char* kLocation = "AsciiFile::GetSafeLine";
constexpr int kLatin1Mib = 4;
constexpr int kUtf8Mib = 106;

/// Bytes that are read at a time.
constexpr std::size_t kPieceBytes = 262144;

/// Bytes of the longest character of any codec.
constexpr std::size_t kMaxCharacter = 8;

/// Most bytes of a block that may stand for no character: byte order marks, switches of the
/// character set, the beginning of a character.
constexpr std::size_t kMaxSilentBytes = 64;

template <typename Unit>
using Text = std::basic_string_view<Unit>;

template <typename Unit>
constexpr std::size_t kNotFound = Text<Unit>::npos;

template <typename Unit>
std::size_t FindLast(Text<Unit> text, Unit unit) noexcept
{
    return text.rfind(unit);
}

/// The first quote from `at` on; one that stands right there costs no search.
template <typename Unit>
std::size_t FindQuote(Text<Unit> text, std::size_t at) noexcept
{
    return at < text.size() && text[at] == Unit('"') ? at : text.find(Unit('"'), at);
}

/// The first "\r\n", searched by its rarer half.
template <typename Unit>
std::size_t FindCrLf(Text<Unit> text, std::size_t from) noexcept
{
    std::size_t at = text.find(Unit('\r'), from);
    while (at != kNotFound<Unit> && (at + 1 == text.size() || text[at + 1] != Unit('\n'))) {
        at = text.find(Unit('\r'), at + 1);
    }
    return at;
}

template <typename Unit>
std::size_t FindLastCrLf(Text<Unit> text) noexcept
{
    std::size_t at = text.rfind(Unit('\n'));
    while (at != kNotFound<Unit> && (at == 0 || text[at - 1] != Unit('\r'))) {
        at = at == 0 ? kNotFound<Unit> : text.rfind(Unit('\n'), at - 1);
    }
    return at == kNotFound<Unit> ? at : at - 1;
}

std::size_t CountQuotes(Text<char> text) noexcept
{
    Kernels::Survey survey;
    Kernels::Best().survey(text.data(), text.size(), survey);
    return survey.quotes;
}

std::size_t CountQuotes(Text<char16_t> text) noexcept
{
    return ValueRules::CountQuotes(text);
}

template <typename Unit>
bool IsTrimmedUnit(Unit unit) noexcept
{
    return unit == Unit(' ') || (unit >= Unit('\t') && unit <= Unit('\r'));
}

/// What CheckUtf8 says, quicker for valid bytes.
Utf8Check FindUtf8End(std::string_view bytes) noexcept
{
    const std::size_t size = bytes.size() - CountIncompleteTail(bytes);
    return Kernels::Best().isUtf8(bytes.data(), size) ? Utf8Check{size, true} : CheckUtf8(bytes);
}

} // namespace

LineSource::LineSource(const ReadOptions& options, std::size_t blockSize, std::size_t maxLineSize)
    : m_codecName(options.codecName)
    , m_usesLocaleCodec(options.usesLocaleCodec)
    , m_ignoresBlankRows(options.ignoresBlankRows)
    , m_blockSize(std::max<std::size_t>(blockSize, 1))
    , m_maxLineSize(maxLineSize)
{}

LineSource::~LineSource() = default;

void LineSource::SetDevice(QFile* device)
{
    m_device = device;
    m_holdsFirstBlock = false;
    Restart();
}

void LineSource::Restart()
{
    m_isRewound = false;
    m_holdsFirstBlock = false;
    m_entries = Entries();
    m_putBack.clear();
    m_textSize = 0;
    m_undecoded = 0;
    m_carryBegin = 0;
    m_carryScanned = 0;
    m_carryQuotes = 0;
    m_codec = nullptr;
    m_decoder.reset();
    m_undecodedBytes.clear();
    m_isAtFileStart = true;
    m_isFinished = false;
}

void LineSource::Rewind()
{
    m_putBack.clear();
    m_entries = Entries();
    m_isRewound = true;
}

void LineSource::Release()
{
    if (!HasPending()) {
        m_holdsFirstBlock = false;
        m_textSize = m_carryBegin = m_carryScanned = m_carryQuotes = 0;
        m_bytes.Clear();
        m_wide.Clear();
    }
}

bool LineSource::HasPending() const noexcept
{
    return !m_putBack.empty() || m_entries.Any();
}

bool LineSource::GetBlock(LineBlock& block) const noexcept
{
    const bool hasLines = m_putBack.empty() && m_entries.lineBegin < m_entries.linesEnd;
    if (!hasLines || m_unit == ETextUnit::Utf16 ||
        m_entries.linesTextEnd > std::numeric_limits<std::uint32_t>::max() - Kernels::kPadding) {
        return false;
    }
    block = {m_bytes.Data(),
             m_entries.lineBegin,
             m_entries.linesTextEnd,
             m_entries.ending == Ending::Cr ? '\r' : '\n',
             m_entries.ending == Ending::CrLf,
             m_entries.haveQuotes,
             m_unit};
    return true;
}

void LineSource::SkipTo(std::size_t position) noexcept
{
    m_entries.lineBegin = std::min(position, m_entries.linesEnd);
}

bool LineSource::AtEnd() const
{
    if (HasPending()) {
        return false;
    }
    return m_device == nullptr || (!m_isRewound && (m_isFinished || m_device->atEnd()));
}

void LineSource::PutBack(const BString& first, const BString& second)
{
    m_putBack.push_front(second);
    m_putBack.push_front(first);
}

TextView LineSource::MakeView(std::size_t from, std::size_t to) const noexcept
{
    if (m_unit == ETextUnit::Utf16) {
        return TextView(std::u16string_view(m_wide.Data() + from, to - from));
    }
    return {std::string_view(m_bytes.Data() + from, to - from), m_unit};
}

void LineSource::SkipBlankLines() noexcept
{
    if (!m_putBack.empty()) {
        return;
    }
    const auto skip = [this](auto text) {
        using Unit = typename decltype(text)::value_type;
        const bool isCrLf = m_entries.ending == Ending::CrLf;
        const Unit first = m_entries.ending == Ending::Lf ? Unit('\n') : Unit('\r');
        std::size_t& at = m_entries.lineBegin;
        while (at < text.size() && text[at] == first &&
               (!isCrLf || (at + 1 < text.size() && text[at + 1] == Unit('\n')))) {
            at += isCrLf ? 2 : 1;
        }
        at = std::min(at, text.size());
    };
    if (m_unit == ETextUnit::Utf16) {
        skip(Text<char16_t>(m_wide.Data(), m_entries.linesEnd));
    } else {
        skip(Text<char>(m_bytes.Data(), m_entries.linesEnd));
    }
}

bool LineSource::Next(SourceLine& line)
{
    for (;;) {
        if (m_ignoresBlankRows) {
            SkipBlankLines();
        }
        if (!NextEntry(line)) {
            return false;
        }
        if (!m_ignoresBlankRows || !line.text.IsEmpty()) {
            return true;
        }
    }
}

bool LineSource::NextEntry(SourceLine& line)
{
    if (!HasPending() && !Refill()) {
        line = SourceLine();
        return false;
    }
    line.mayBeUnbalanced = false;
    if (!m_putBack.empty()) {
        m_handedOut = std::move(m_putBack.front());
        m_putBack.pop_front();
        line.text = TextView(m_handedOut.View());
        line.mayBeUnbalanced = true;
    } else if (m_entries.lineBegin < m_entries.linesEnd) {
        const std::size_t begin = m_entries.lineBegin;
        const std::size_t end =
            m_unit == ETextUnit::Utf16
                ? FindLogicalEnd(Text<char16_t>(m_wide.Data(), m_entries.linesEnd), begin)
                : FindLogicalEnd(Text<char>(m_bytes.Data(), m_entries.linesEnd), begin);
        line.text = MakeView(begin, end);
        const std::size_t endingSize = m_entries.ending == Ending::CrLf ? 2 : 1;
        m_entries.lineBegin = std::min(end + endingSize, m_entries.linesEnd);
    } else if (m_entries.hasLastLine) {
        line.text = MakeView(m_entries.lastLineBegin, m_entries.lastLineEnd);
        line.mayBeUnbalanced = true;
        m_entries.hasLastLine = false;
    } else {
        line.text = TextView();
        m_entries.hasFinalEmpty = false;
    }
    return true;
}

/// End of the logical line that begins at `from`: the first line ending outside quotes, else the
/// end of `text`.
template <typename Unit>
std::size_t LineSource::FindLogicalEnd(Text<Unit> text, std::size_t from) const noexcept
{
    const auto findEnding = [this, text](std::size_t at) {
        if (m_entries.ending == Ending::Lf) {
            return text.find(Unit('\n'), at);
        }
        return m_entries.ending == Ending::Cr ? text.find(Unit('\r'), at) : FindCrLf(text, at);
    };
    std::size_t end = std::min(findEnding(from), text.size());
    std::size_t at = from;
    while (m_entries.haveQuotes) {
        const std::size_t open = FindQuote(text.substr(at, end - at), 0);
        if (open == kNotFound<Unit>) {
            break;
        }
        const std::size_t close = FindQuote(text, at + open + 1);
        if (close == kNotFound<Unit>) {
            return text.size();
        }
        at = close + 1;
        if (end < at) {
            end = std::min(findEnding(at), text.size());
        }
    }
    return end;
}

LineSource::Stamp LineSource::MakeStamp() const
{
    return {m_device->size(),
            m_device->fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch()};
}

void LineSource::ThrowReadFailure() const
{
    throw BException(BString::Format("Could not read from the file <%ls>.",
                                     Orvane::MakeBString(m_device->fileName())),
                     kLocation,
                     Orvane::MakeBString(m_device->errorString()));
}

bool LineSource::Replay()
{
    if (m_holdsFirstBlock && m_stamp == MakeStamp()) {
        m_isRewound = false;
        m_entries = m_firstEntries;
        return true;
    }
    if (!m_device->reset()) {
        ThrowReadFailure();
    }
    Restart();
    return false;
}

bool LineSource::Refill()
{
    if (m_device == nullptr) {
        return false;
    }
    if (m_isRewound && Replay() && m_entries.Any()) {
        return true;
    }
    // A block of blank lines alone, or of part of one line, gives no entries.
    while (!m_isFinished) {
        if (m_device->atEnd() && m_carryBegin == m_textSize && m_undecoded == 0) {
            return false;
        }
        const bool isFirst = m_codec == nullptr;
        ChooseCodec();
        RequireShortCarry();
        const std::size_t newBytes = ReadBytes();
        // A file that was cut while it is read ends here, too.
        const bool isLast = newBytes == 0 || m_device->atEnd();
        Decode(newBytes, isLast);
        m_isFinished = isLast;
        m_holdsFirstBlock = false;
        if (m_textSize == 0) {
            continue;
        }
        CutBlock(isLast);
        if (isFirst) {
            m_holdsFirstBlock = true;
            m_firstEntries = m_entries;
            m_stamp = MakeStamp();
        }
        if (m_entries.Any()) {
            return true;
        }
    }
    return false;
}

void LineSource::ChooseCodec()
{
    if (m_codec != nullptr) {
        return;
    }
    if (m_codecName) {
        m_codec = QTextCodec::codecForName(QByteArray::fromStdString(m_codecName->ToLatin1()));
        if (m_codec == nullptr) {
            throw BException(
                BString::Format("The text codec <%ls> is not available.", *m_codecName), kLocation);
        }
    } else if (m_usesLocaleCodec) {
        m_codec = QTextCodec::codecForLocale();
    } else {
        m_codec = QTextCodec::codecForName("ISO-8859-1");
    }
    switch (m_codec->mibEnum()) {
    case kLatin1Mib:
        m_unit = ETextUnit::Latin1;
        break;
    case kUtf8Mib:
        m_unit = ETextUnit::Utf8;
        break;
    default:
        m_unit = ETextUnit::Utf16;
        break;
    }
}

/// Without this bound a file without line endings would be read into memory whole.
void LineSource::RequireShortCarry() const
{
    if (m_textSize - m_carryBegin > m_maxLineSize) {
        throw BException(
            BString::Format("A line of the file <%ls> is longer than %d characters.",
                            Orvane::MakeBString(m_device->fileName()),
                            m_maxLineSize),
            kLocation,
            BString::Format("There is no line ending up to byte %d.", m_device->pos()));
    }
}

std::uint64_t LineSource::GetUnreadBytes() const
{
    return static_cast<std::uint64_t>(std::max<qint64>(m_device->size() - m_device->pos(), 0));
}

/// Moves the carry to the front of the buffer and reads the next bytes after it.
std::size_t LineSource::ReadBytes()
{
    const std::size_t carry = m_textSize - m_carryBegin;
    std::size_t kept = 0;
    if (m_unit == ETextUnit::Utf16) {
        if (m_carryBegin > 0 && carry > 0) {
            std::memmove(m_wide.Data(), m_wide.Data() + m_carryBegin, carry * sizeof(char16_t));
        }
    } else {
        kept = carry + m_undecoded;
        if (m_carryBegin > 0 && kept > 0) {
            std::memmove(m_bytes.Data(), m_bytes.Data() + m_carryBegin, kept);
        }
    }
    m_textSize = carry;
    m_freshBegin = carry;
    m_carryBegin = 0;

    // A small file needs no block-sized buffer.
    const std::size_t wanted =
        std::min<std::uint64_t>(m_blockSize, std::max<std::uint64_t>(GetUnreadBytes(), 4096));
    m_bytes.Resize(kept);
    const std::size_t oldCapacity = m_bytes.GetCapacity();
    m_bytes.ReserveMore(wanted + Kernels::kPadding);
    const bool isNewMemory = m_bytes.GetCapacity() != oldCapacity;
    // In pieces that stay in the processor's cache while they are looked through.
    m_survey = Kernels::Survey();
    std::size_t got = 0;
    std::size_t asked = 0;
    std::size_t piece = 0;
    do {
        asked = std::min(kPieceBytes, wanted - got);
        char* const to = m_bytes.Data() + kept + got;
        if (isNewMemory) {
            Orvane::PrefaultMemory(to, asked);
        }
        const qint64 answer = m_device->read(to, static_cast<qint64>(asked));
        if (answer < 0 && got == 0) {
            ThrowReadFailure();
        }
        // Bytes read before a failure are used; the next block meets the failure again.
        piece = static_cast<std::size_t>(std::max<qint64>(answer, 0));
        if (m_unit != ETextUnit::Utf16) {
            Kernels::Best().survey(to, piece, m_survey);
        }
        got += piece;
    } while (piece == asked && got < wanted);
    m_bytes.Resize(kept + got);
    // Results from the padding are dropped, in ways that memory checkers cannot follow.
    std::memset(m_bytes.Data() + m_bytes.GetSize(), 0, Kernels::kPadding);
    return got;
}

void LineSource::Decode(std::size_t newBytes, bool isLast)
{
    switch (m_unit) {
    case ETextUnit::Latin1:
        m_textSize = m_bytes.GetSize();
        m_isAtFileStart = false;
        break;
    case ETextUnit::Utf8:
        DecodeUtf8(isLast);
        break;
    case ETextUnit::Utf16:
        DecodeWide({m_bytes.Data() + (m_bytes.GetSize() - newBytes), newBytes}, isLast);
        break;
    }
}

/// Keeps valid UTF-8 as bytes; from the first fault to the file's end the codec decodes.
void LineSource::DecodeUtf8(bool isLast)
{
    const std::size_t begin = m_textSize;
    const std::string_view fresh(m_bytes.Data() + begin, m_bytes.GetSize() - begin);
    const bool isAscii = m_undecoded == 0 && m_survey.highBytes == 0;
    const Utf8Check check = isAscii ? Utf8Check{fresh.size(), true} : FindUtf8End(fresh);
    const bool isIncomplete = check.validSize < fresh.size();
    if (!check.isValidSoFar || (isIncomplete && isLast)) {
        m_undecodedBytes = fresh;
        WidenText();
        m_undecoded = 0;
        DecodeWide({}, isLast);
        return;
    }
    m_undecoded = fresh.size() - check.validSize;
    std::size_t skipped = 0;
    if (m_isAtFileStart && check.validSize > 0) {
        m_isAtFileStart = false;
        skipped = fresh.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
        if (skipped > 0) {
            std::memmove(
                m_bytes.Data() + begin, m_bytes.Data() + begin + skipped, fresh.size() - skipped);
            m_bytes.Resize(m_bytes.GetSize() - skipped);
        }
    }
    m_textSize = begin + check.validSize - skipped;
}

/// Switches from bytes to UTF-16 for good; the text so far is converted.
void LineSource::WidenText()
{
    std::u16string wide;
    Widen(TextView(std::string_view(m_bytes.Data(), m_textSize), m_unit), wide);
    m_wide.Resize(0);
    m_wide.Append(wide.data(), wide.size());
    m_textSize = wide.size();
    m_carryScanned = 0;
    m_unit = ETextUnit::Utf16;
}

void LineSource::DecodeWide(std::string_view bytes, bool isLast)
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
    m_wide.Resize(m_textSize);
    m_wide.Append(reinterpret_cast<const char16_t*>(decoded.utf16()),
                  static_cast<std::size_t>(decoded.size()));
    m_textSize = m_wide.GetSize();
    m_bytes.Resize(0);
}

/// Decodes the `left` last bytes, which the end of the text cuts, as the codec does in a whole
/// text.
void LineSource::AppendCutCharacter(std::string_view bytes, qsizetype left, QString& decoded) const
{
    if (left <= 0 || static_cast<std::size_t>(left) > bytes.size()) {
        return;
    }
    const std::string_view cut = bytes.substr(bytes.size() - static_cast<std::size_t>(left));
    if (left >= m_device->pos()) {
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

void LineSource::CutBlock(bool isLast)
{
    if (m_unit == ETextUnit::Utf16) {
        CutText(Text<char16_t>(m_wide.Data(), m_textSize), isLast);
    } else {
        CutText(Text<char>(m_bytes.Data(), m_textSize), isLast);
    }
}

/// Whether there is a "\r" at `from` or after it.
template <typename Unit>
bool LineSource::HasReturn(Text<Unit> text, std::size_t from) const noexcept
{
    if constexpr (sizeof(Unit) == 1) {
        // What was read with this block has been looked through.
        const bool hasCarried =
            from < m_freshBegin &&
            text.substr(from, m_freshBegin - from).find('\r') != kNotFound<Unit>;
        return hasCarried || m_survey.returns != 0;
    } else {
        return text.find(Unit('\r'), from) != kNotFound<Unit>;
    }
}

/// Number of quotes before `cutEnd`; those after it are kept for the next block.
template <typename Unit>
std::size_t LineSource::CountLineQuotes(Text<Unit> text, std::size_t cutEnd) noexcept
{
    if constexpr (sizeof(Unit) == 1) {
        const std::size_t all = m_carryQuotes + m_survey.quotes;
        m_carryQuotes = cutEnd == 0 ? all : CountQuotes(text.substr(cutEnd));
        return all - m_carryQuotes;
    } else {
        return CountQuotes(text.substr(0, cutEnd));
    }
}

template <typename Unit>
void LineSource::CutText(Text<Unit> text, bool isLast)
{
    m_entries = Entries();
    const std::size_t scanned = std::exchange(m_carryScanned, 0);
    std::size_t cutEnd = 0;
    // Rule: one block is cut by one kind of ending only.
    if (!HasReturn(text, scanned)) {
        const std::size_t last = FindLast(text.substr(scanned), Unit('\n'));
        if (last != kNotFound<Unit>) {
            m_entries.ending = Ending::Lf;
            cutEnd = scanned + last + 1;
        }
    } else if (FindCrLf(text, scanned) != kNotFound<Unit>) {
        m_entries.ending = Ending::CrLf;
        cutEnd = FindLastCrLf(text) + 2;
    } else if (text.find(Unit('\n'), scanned) != kNotFound<Unit>) {
        m_entries.ending = Ending::Lf;
        cutEnd = FindLast(text, Unit('\n')) + 1;
    } else {
        m_entries.ending = Ending::Cr;
        cutEnd = FindLast(text, Unit('\r')) + 1;
    }
    if (cutEnd == 0) {
        m_carryScanned = text.size();
    }
    m_carryBegin = cutEnd;
    if (m_watcher) {
        m_watcher(MakeView(0, text.size()), isLast ? text.size() : cutEnd);
    }

    const std::size_t quotes = CountLineQuotes(text, cutEnd);
    m_entries.haveQuotes = quotes > 0;
    m_entries.linesEnd = cutEnd;
    m_entries.linesTextEnd = cutEnd;
    const std::size_t endingSize = m_entries.ending == Ending::CrLf ? 2 : 1;
    if (quotes % 2 != 0) {
        // Rule: the lines before the one that stays open are kept.
        std::size_t begin = 0;
        std::size_t end = FindLogicalEnd(text.substr(0, cutEnd), begin);
        while (end < cutEnd) {
            begin = end + endingSize;
            end = FindLogicalEnd(text.substr(0, cutEnd), begin);
        }
        m_entries.linesEnd = begin;
        m_entries.linesTextEnd = begin;
        throw Orvane::BFileContentNotValidException(kLocation, "File contains an unmatched quote.");
    }
    if (isLast) {
        m_entries.hasFinalEmpty = true;
        m_entries.hasLastLine = cutEnd < text.size();
        m_entries.lastLineBegin = cutEnd;
        // Rule: only the file's last line loses its trailing white space.
        std::size_t end = text.size();
        while (end > cutEnd && IsTrimmedUnit(text[end - 1])) {
            --end;
        }
        m_entries.lastLineEnd = end;
        m_carryBegin = text.size();
        m_carryScanned = 0;
        m_carryQuotes = 0;
        return;
    }
    // Rule: empty lines at the end of a block that is not the last are dropped.
    std::size_t end = cutEnd;
    const auto endsWithEnding = [this, text](std::size_t at) {
        if (m_entries.ending == Ending::CrLf) {
            return at >= 2 && text[at - 1] == Unit('\n') && text[at - 2] == Unit('\r');
        }
        return at >= 1 && text[at - 1] == Unit(m_entries.ending == Ending::Lf ? '\n' : '\r');
    };
    while (endsWithEnding(end)) {
        end -= endingSize;
    }
    m_entries.linesEnd = end;
    m_entries.linesTextEnd = std::min(end + endingSize, cutEnd);
}

} // namespace AsciiReader
