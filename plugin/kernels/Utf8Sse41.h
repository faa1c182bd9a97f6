// Tells whether bytes are valid UTF-8, sixteen at once, for sets that have SSSE3 and SSE4.1.
//
// After "Validating UTF-8 In Less Than One Instruction Per Byte" (Keiser and Lemire, 2020): what is
// wrong with two bytes in a row shows in three table look-ups by half bytes, of which each gives
// the set of faults that its half allows; a fault that all three allow is there. That leaves third
// and fourth bytes of a character, which have to be where the leads say.
#pragma once

#include "kernels/Blocks.h"

#include <cstddef>
#include <cstdint>
#include <smmintrin.h>

namespace AsciiReader::Kernels {

namespace {

namespace Utf8Fault {

inline constexpr unsigned kTooShort = 1;   ///< a lead, and no continuation after it
inline constexpr unsigned kTooLong = 2;    ///< ASCII, and a continuation after it
inline constexpr unsigned kLongForm3 = 4;  ///< E0 below A0
inline constexpr unsigned kTooLarge = 8;   ///< F4 above 8F, F5 and more
inline constexpr unsigned kSurrogate = 16; ///< ED above 9F
inline constexpr unsigned kLongForm2 = 32; ///< C0 and C1
inline constexpr unsigned kTooLarge4 = 64; ///< F5 and more below 90
inline constexpr unsigned kLongForm4 = 64; ///< F0 below 90
inline constexpr unsigned kTwoConts = 128; ///< two continuations: right only after a lead of three
inline constexpr unsigned kAny = kTooShort | kTooLong | kTwoConts;

} // namespace Utf8Fault

struct Utf8Tables
{
    alignas(16) unsigned char firstHigh[16];
    alignas(16) unsigned char firstLow[16];
    alignas(16) unsigned char secondHigh[16];
};

constexpr Utf8Tables MakeUtf8Tables()
{
    using namespace Utf8Fault;
    Utf8Tables tables{};
    for (unsigned half = 0; half < 16; ++half) {
        unsigned high = half < 8 ? kTooLong : kTwoConts;
        unsigned low = kAny;
        unsigned second = kTooShort;
        if (half == 0xC) {
            high = kTooShort | kLongForm2;
        } else if (half == 0xD) {
            high = kTooShort;
        } else if (half == 0xE) {
            high = kTooShort | kLongForm3 | kSurrogate;
        } else if (half == 0xF) {
            high = kTooShort | kTooLarge | kTooLarge4 | kLongForm4;
        }
        low |= half == 0 ? kLongForm3 | kLongForm2 | kLongForm4 : 0;
        low |= half == 1 ? kLongForm2 : 0;
        low |= half >= 4 ? kTooLarge : 0;
        low |= half >= 5 ? kTooLarge4 : 0;
        low |= half == 0xD ? kSurrogate : 0;
        if (half >= 8 && half < 0xC) {
            second = kTooLong | kLongForm2 | kTwoConts;
            second |= half == 8 ? kLongForm3 | kTooLarge4 | kLongForm4 : kTooLarge;
            second |= half == 9 ? kLongForm3 : 0;
            second |= half >= 0xA ? kSurrogate : 0;
        }
        tables.firstHigh[half] = static_cast<unsigned char>(high);
        tables.firstLow[half] = static_cast<unsigned char>(low);
        tables.secondHigh[half] = static_cast<unsigned char>(second);
    }
    return tables;
}

inline constexpr Utf8Tables kUtf8Tables = MakeUtf8Tables();

inline __m128i LoadTable(const unsigned char* table)
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table));
}

/// The faults of sixteen bytes, given the sixteen before them.
inline __m128i FindUtf8Faults(__m128i bytes, __m128i before)
{
    const __m128i lowHalf = _mm_set1_epi8(0x0F);
    const __m128i first = _mm_alignr_epi8(bytes, before, 15);
    const __m128i firstHigh = _mm_and_si128(_mm_srli_epi16(first, 4), lowHalf);
    const __m128i secondHigh = _mm_and_si128(_mm_srli_epi16(bytes, 4), lowHalf);
    const __m128i faults =
        _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(LoadTable(kUtf8Tables.firstHigh), firstHigh),
                                    _mm_shuffle_epi8(LoadTable(kUtf8Tables.firstLow),
                                                     _mm_and_si128(first, lowHalf))),
                      _mm_shuffle_epi8(LoadTable(kUtf8Tables.secondHigh), secondHigh));
    const __m128i third = _mm_subs_epu8(_mm_alignr_epi8(bytes, before, 14), _mm_set1_epi8('\xDF'));
    const __m128i fourth = _mm_subs_epu8(_mm_alignr_epi8(bytes, before, 13), _mm_set1_epi8('\xEF'));
    const __m128i isWanted = _mm_cmpgt_epi8(_mm_or_si128(third, fourth), _mm_setzero_si128());
    return _mm_xor_si128(_mm_and_si128(isWanted, _mm_set1_epi8('\x80')), faults);
}

inline bool IsUtf8(const char* text, std::size_t size)
{
    __m128i faults = _mm_setzero_si128();
    __m128i before = _mm_setzero_si128();
    std::size_t at = 0;
    while (at + 64 <= size) {
        const char* const from = text + at;
        if (Block64::Load(from).HighBits() == 0) {
            // The only fault left is a character that these bytes cut off.
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            faults = _mm_or_si128(faults, FindUtf8Faults(bytes, before));
            before = _mm_setzero_si128();
        } else {
            for (std::size_t part = 0; part < 64; part += 16) {
                const __m128i bytes =
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + part));
                faults = _mm_or_si128(faults, FindUtf8Faults(bytes, before));
                before = bytes;
            }
        }
        at += 64;
    }
    // The rest, padded with at least one zero.
    while (at <= size) {
        alignas(16) char rest[16] = {};
        const std::size_t left = size - at < 16 ? size - at : 16;
        __builtin_memcpy(rest, text + at, left);
        const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(rest));
        faults = _mm_or_si128(faults, FindUtf8Faults(bytes, before));
        before = bytes;
        at += 16;
    }
    return _mm_testz_si128(faults, faults) != 0;
}

} // namespace

} // namespace AsciiReader::Kernels
