// One pass with vectors; a closer look only at pieces with high bytes.
#include "ByteFacts.h"

#include <algorithm>
#include <cstring>
#include <kernels/Kernels.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kMostSequences = 16;
constexpr std::size_t kMostHighLines = std::size_t{64} * 1024;

/// What is hardly ever in a text.
struct RareCounts
{
    std::uint64_t returns = 0;
    std::uint64_t both = 0;
    std::uint64_t nuls = 0;
    std::uint64_t highs = 0;
    std::uint64_t controlZs = 0;
};

void CountRareBytes(std::string_view text, RareCounts& counts) noexcept
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char unit = text[at];
        counts.returns += unit == '\r' ? 1U : 0U;
        counts.both += unit == '\n' && at > 0 && text[at - 1] == '\r' ? 1U : 0U;
        counts.nuls += unit == '\0' ? 1U : 0U;
        counts.highs += static_cast<signed char>(unit) < 0 ? 1U : 0U;
        counts.controlZs += unit == '\x1A' ? 1U : 0U;
    }
}

#if defined(__SSE2__)
/// The sum of 16 counters of 8 bits.
std::uint64_t Sum(__m128i counters) noexcept
{
    const __m128i sums = _mm_sad_epu8(counters, _mm_setzero_si128());
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(sums)) +
           static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
}

/// Counts in whole vectors and returns how many bytes were counted.
std::size_t CountRareVectors(std::string_view text, RareCounts& counts) noexcept
{
    const std::size_t vectors = text.size() / 16;
    const char* at = text.data();
    const __m128i zero = _mm_setzero_si128();
    __m128i before = zero;
    for (std::size_t done = 0; done < vectors;) {
        // Counters of 8 bits last for 255 vectors.
        const std::size_t now = std::min<std::size_t>(vectors - done, 255);
        __m128i returns = zero;
        __m128i both = zero;
        __m128i highs = zero;
        __m128i nuls = zero;
        __m128i controlZs = zero;
        for (std::size_t i = 0; i < now; ++i, at += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
            const __m128i isFeed = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'));
            const __m128i isReturn = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r'));
            const __m128i afterReturn =
                _mm_or_si128(_mm_slli_si128(isReturn, 1), _mm_srli_si128(before, 15));
            before = isReturn;
            returns = _mm_sub_epi8(returns, isReturn);
            both = _mm_sub_epi8(both, _mm_and_si128(isFeed, afterReturn));
            highs = _mm_sub_epi8(highs, _mm_cmpgt_epi8(zero, bytes));
            nuls = _mm_sub_epi8(nuls, _mm_cmpeq_epi8(bytes, zero));
            controlZs = _mm_sub_epi8(controlZs, _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\x1A')));
        }
        counts.returns += Sum(returns);
        counts.both += Sum(both);
        counts.highs += Sum(highs);
        counts.nuls += Sum(nuls);
        counts.controlZs += Sum(controlZs);
        done += now;
    }
    return vectors * 16;
}
#else
std::size_t CountRareVectors(std::string_view /*text*/, RareCounts& /*counts*/) noexcept
{
    return 0;
}
#endif

/// The bytes of the sequence at the front; 0 when there is none. @param character what it stands
/// for
std::size_t ReadSequence(std::string_view text, std::uint32_t& character) noexcept
{
    const auto unit = [&](std::size_t index) {
        return static_cast<std::uint32_t>(static_cast<std::uint8_t>(text[index]));
    };
    const std::uint32_t lead = unit(0);
    std::size_t length = 0;
    std::uint32_t least = 0;
    if (lead >= 0xC2U && lead < 0xE0U) {
        length = 2;
        character = lead & 0x1FU;
    } else if (lead >= 0xE0U && lead < 0xF0U) {
        length = 3;
        least = 0x800;
        character = lead & 0x0FU;
    } else if (lead >= 0xF0U && lead < 0xF5U) {
        length = 4;
        least = 0x10000;
        character = lead & 0x07U;
    }
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((unit(i) & 0xC0U) != 0x80U) {
            return 0;
        }
        character = (character << 6U) | (unit(i) & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return character < least || isSurrogate || character > 0x10FFFF ? 0 : length;
}

/// How many bytes a text has that are the begin of a character, and nothing else; 0 for any other.
std::size_t CountCutBytes(std::string_view text) noexcept
{
    constexpr std::size_t kLongest = 4;
    std::string whole(text.substr(0, kLongest));
    while (text.size() < kLongest && whole.size() < kLongest) {
        whole.push_back('\xBF');
        std::uint32_t character = 0;
        if (ReadSequence(whole, character) == whole.size()) {
            return text.size();
        }
    }
    return 0;
}

} // namespace

void ByteFacts::Add(std::string_view piece, const AsciiReader::Kernels::ByteCounts& counts)
{
    if (piece.empty()) {
        return;
    }
    lineFeeds += counts.feeds;
    quotes += counts.quotes;
    if (!counts.IsPlain()) {
        AddRareBytes(piece);
    }
    endsWithControlZ = piece.back() == '\x1A';
    endsWithLineEnd = piece.back() == '\n' || piece.back() == '\r';
    size += piece.size();
}

void ByteFacts::Add(std::string_view piece)
{
    AsciiReader::Kernels::ByteCounts counts;
    AsciiReader::Kernels::Best().countBytes(piece.data(), piece.size(), counts);
    Add(piece, counts);
}

void ByteFacts::AddRareBytes(std::string_view piece)
{
    RareCounts counts;
    const std::size_t counted = CountRareVectors(piece, counts);
    CountRareBytes(piece.substr(counted), counts);
    if (counted > 0 && counted < piece.size() && piece[counted - 1] == '\r' &&
        piece[counted] == '\n') {
        ++counts.both;
    }
    if (counts.nuls > 0 && nuls == 0) {
        firstNul = size + piece.find('\0');
    }
    returns += counts.returns;
    returnsAndFeeds += counts.both;
    nuls += counts.nuls;
    controlZs += counts.controlZs;
    highBytes += counts.highs;
    if (counts.highs > 0) {
        AddHighBytes(piece);
    }
}

void ByteFacts::AddHighBytes(std::string_view piece)
{
    const bool isPieceUtf8 = AsciiReader::Kernels::Best().isUtf8(piece.data(), piece.size());
    const bool isSampled = highLines.size() >= kMostHighLines;
    // Past the sample only bytes that are no UTF-8 need a closer look.
    if (isPieceUtf8 && isSampled) {
        return;
    }
    for (std::size_t at = 0; at < piece.size();) {
        if (static_cast<signed char>(piece[at]) >= 0) {
            ++at;
            continue;
        }
        highSet.set(static_cast<unsigned char>(piece[at]));
        std::uint32_t character = 0;
        const std::size_t length = ReadSequence(piece.substr(at), character);
        if (length == 0) {
            cutBytes = cutBytes == 0 ? CountCutBytes(piece.substr(at)) : cutBytes;
            if (isUtf8) {
                isUtf8 = false;
                firstInvalid = size + at;
            }
            ++invalidBytes;
            ++at;
            continue;
        }
        if (sequences.size() < kMostSequences &&
            std::find(sequences.begin(), sequences.end(), character) == sequences.end()) {
            sequences.push_back(character);
        }
        for (std::size_t rest = 1; rest < length; ++rest) {
            highSet.set(static_cast<unsigned char>(piece[at + rest]));
        }
        at += length;
    }
    for (std::size_t at = 0; at < piece.size() && highLines.size() < kMostHighLines;) {
        const std::size_t end = std::min(piece.find_first_of("\r\n", at), piece.size());
        const std::string_view line = piece.substr(at, end - at);
        if (std::any_of(line.begin(), line.end(), [](char unit) {
                return static_cast<signed char>(unit) < 0;
            })) {
            highLines.append(line.substr(0, kMostHighLines - highLines.size()));
            highLines.push_back('\n');
        }
        at = end + 1;
    }
}

} // namespace Orvane::Import::Scan
