// Validity first, libuchardet where validity leaves several.
#include "Encoding.h"

#include <Orvane/Import/DisplayText.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>
#include <set>
#include <uchardet/uchardet.h>

namespace Orvane::Import {

namespace {

/// Statistics need so many distinct words to speak against the usual encoding.
constexpr std::size_t kWordsThatSpeak = 20;
/// Fewer words than these do not tell encodings of many letters apart.
constexpr std::size_t kFewWords = 8;
/// Distinct characters in valid UTF-8: fewer are there by chance.
constexpr std::size_t kSequencesThatSpeak = 3;
/// Texts of other encodings are UTF-8 by chance in less than this share of their letters.
constexpr std::uint64_t kHighPerInvalid = 10;

constexpr const char* kUsual = "WINDOWS-1252";

class Converter
{
public:
    explicit Converter(const std::string& encoding)
        : m_handle(iconv_open("UTF-8", encoding.c_str()))
    {}

    ~Converter()
    {
        if (IsOpen()) {
            iconv_close(m_handle);
        }
    }

    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return m_handle != reinterpret_cast<iconv_t>(-1); // NOLINT(performance-no-int-to-ptr)
    }

    /// @return bytes that were no characters
    std::size_t Convert(std::string_view text, std::string& result)
    {
        std::size_t invalid = 0;
        // iconv does not change its input.
        char* from =
            const_cast<char*>(text.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        std::size_t left = text.size();
        while (left > 0) {
            std::array<char, 4096> buffer{};
            char* to = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t status = iconv(m_handle, &from, &left, &to, &room);
            result.append(buffer.data(), buffer.size() - room);
            if (status == static_cast<std::size_t>(-1) && errno != E2BIG) {
                result += "\xEF\xBF\xBD";
                ++invalid;
                ++from;
                --left;
                iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
            }
        }
        return invalid;
    }

private:
    iconv_t m_handle;
};

std::string AskStatistics(std::string_view text)
{
    uchardet_t detector = uchardet_new();
    uchardet_handle_data(detector, text.data(), text.size());
    uchardet_data_end(detector);
    std::string name = uchardet_get_charset(detector);
    uchardet_delete(detector);
    return name;
}

/// What separates words.
constexpr std::string_view kBetweenWords = " \t\r\n,;|\"0123456789";

bool HasHighBytes(std::string_view text)
{
    return std::any_of(
        text.begin(), text.end(), [](char unit) { return static_cast<signed char>(unit) < 0; });
}

std::size_t CountWords(std::string_view text)
{
    // Rule: what stands around letters past ASCII makes no other words of them: digits and signs
    // count for nothing.
    std::set<std::string> words;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find_first_of(kBetweenWords, at), text.size());
        std::string word;
        for (const char unit : text.substr(at, end - at)) {
            const bool isHigh = static_cast<signed char>(unit) < 0;
            const bool isLetter = (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
            word += isHigh || isLetter ? std::string(1, unit) : std::string();
        }
        if (HasHighBytes(word)) {
            words.insert(std::move(word));
        }
        at = end + 1;
    }
    return words.size();
}

bool IsWestern(const std::string& name)
{
    static constexpr std::string_view kNames[] = {
        "", "ASCII", "ISO-8859-1", "ISO-8859-15", "WINDOWS-1252", "UTF-8"};
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

/// Encodings of several bytes per character: few texts are valid in them by chance.
bool IsMultiByte(const std::string& name)
{
    static constexpr std::string_view kNames[] = {"UHC",
                                                  "EUC-KR",
                                                  "SHIFT_JIS",
                                                  "EUC-JP",
                                                  "GB18030",
                                                  "BIG5",
                                                  "EUC-TW",
                                                  "ISO-2022-JP",
                                                  "JOHAB"};
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

std::string NameFor(const std::string& name)
{
    return name == "UHC" || name == "EUC-KR" ? "CP949" : name;
}

/// The name of the units with their order of bytes, or the one given.
std::string NameOfUnits(Scan::EUnits units, const std::string& given)
{
    static constexpr const char* kNames[] = {"", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
    if (units != Scan::EUnits::Bytes && units != Scan::EUnits::Characters) {
        return kNames[static_cast<std::size_t>(units)];
    }
    std::string name = given;
    std::transform(name.begin(), name.end(), name.begin(), [](char unit) {
        return unit >= 'a' && unit <= 'z' ? static_cast<char>(unit - 'a' + 'A') : unit;
    });
    return name == "UTF8" ? "UTF-8" : name == "ASCII" ? "US-ASCII" : name;
}

/// Whether every high byte of the text is the same character in both encodings of single bytes.
bool IsSameText(const std::bitset<256>& highSet,
                const std::string& first,
                const std::string& second)
{
    for (std::size_t byte = 0; byte < highSet.size(); ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (highSet.test(byte) && ToUtf8(text, first) != ToUtf8(text, second)) {
            return false;
        }
    }
    return true;
}

void DecideByStatistics(const Scan::ByteFacts& bytes, PlanDecision<std::string>& decision)
{
    const std::string found = AskStatistics(bytes.highLines);
    const std::size_t words = CountWords(bytes.highLines);
    decision.evidence.push_back({"distinct words with letters past ASCII", words, {}});
    decision.value = kUsual;
    decision.confidence = EConfidence::Strong;
    if (IsWestern(found)) {
        return;
    }
    const std::string name = NameFor(found);
    const bool isPossible = IsIn(bytes.highLines, name);
    // Rule: GB18030 has a character for nearly all bytes: a few words that another encoding of many
    // letters has as well are a question.
    std::vector<std::string> others;
    if (isPossible && name == "GB18030" && words < kFewWords) {
        for (const char* other : {"CP949", "SHIFT_JIS", "BIG5", "EUC-JP"}) {
            if (IsIn(bytes.highLines, other)) {
                others.emplace_back(other);
            }
        }
    }
    if (!others.empty()) {
        decision.value = name;
        decision.confidence = EConfidence::Tie;
        for (const std::string& other : others) {
            decision.rivals.push_back({other, 0, "the bytes are characters in it as well"});
        }
        return;
    }
    if (isPossible && (IsMultiByte(found) || words >= kWordsThatSpeak)) {
        decision.value = name;
        decision.rivals.push_back({kUsual, 0, "statistics of the letters"});
        return;
    }
    // Rule: encodings that give the same text leave nothing to ask.
    if (isPossible && !IsMultiByte(found) && IsSameText(bytes.highSet, kUsual, name)) {
        decision.rivals.push_back({name, 0, "gives the same text"});
        return;
    }
    decision.rivals.push_back(
        {name, 0, isPossible ? "too few words speak for it" : "bytes that it does not have"});
    if (isPossible) {
        decision.confidence = EConfidence::Tie;
    }
}

} // namespace

bool IsEncoding(const std::string& name)
{
    return Converter(name).IsOpen();
}

bool IsIn(std::string_view text, const std::string& encoding)
{
    Converter converter(encoding);
    std::string result;
    if (!converter.IsOpen() || converter.Convert(text, result) > 0) {
        return false;
    }
    for (std::size_t at = 0; at + 1 < result.size(); ++at) {
        if (result[at] == '\xC2' && static_cast<unsigned char>(result[at + 1]) < 0xA0) {
            return false;
        }
    }
    return true;
}

std::string ToUtf8(std::string_view text, const std::string& encoding)
{
    if (encoding == "UTF-8" || !HasHighBytes(text)) {
        return std::string(text);
    }
    Converter converter(encoding);
    std::string result;
    if (!converter.IsOpen()) {
        return std::string(text);
    }
    converter.Convert(text, result);
    return result;
}

std::string CompareReadings(std::string_view lines, const std::vector<std::string>& encodings)
{
    constexpr std::size_t kMostColumns = 24;
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(lines.find_first_of(kBetweenWords, at), lines.size());
        const std::string_view word = lines.substr(at, end - at);
        at = end + 1;
        if (!HasHighBytes(word)) {
            continue;
        }
        std::set<std::string> texts;
        std::string result;
        for (const std::string& encoding : encodings) {
            const std::string text = ToUtf8(word, encoding);
            texts.insert(text);
            result += (result.empty() ? "'" : ", '") +
                      DisplayText::EscapeAndCut(std::string_view(text), kMostColumns) + "' in " +
                      encoding;
        }
        if (texts.size() > 1) {
            return result;
        }
    }
    return {};
}

PlanDecision<std::string> DecideEncoding(const Scan::SourceFacts& source,
                                         const Scan::ByteFacts& bytes,
                                         const std::string& given)
{
    PlanDecision<std::string> decision;
    if (!given.empty()) {
        decision.value = NameOfUnits(source.units, given);
        decision.decider = EDecider::Given;
        return decision;
    }
    if (source.units != Scan::EUnits::Bytes) {
        decision.value = NameOfUnits(source.units, {});
        decision.evidence.push_back(
            {source.hasMark ? "byte order mark" : "NULs in every other byte", 1, {}});
        decision.confidence = source.hasMark ? EConfidence::Certain : EConfidence::Strong;
        return decision;
    }
    if (bytes.highBytes == 0) {
        decision.value = source.hasMark ? "UTF-8" : "US-ASCII";
        decision.evidence.push_back({"bytes past ASCII", 0, {}});
        return decision;
    }
    decision.evidence.push_back({"bytes past ASCII", bytes.highBytes, {}});
    // Rule: a character that the end of the file cuts speaks against nothing where others are
    // whole.
    const bool isCut = bytes.invalidBytes == bytes.cutBytes && !bytes.sequences.empty();
    if (source.hasMark || bytes.isUtf8 || isCut || bytes.invalidBytes * 100 <= bytes.highBytes) {
        decision.value = "UTF-8";
        if (source.hasMark) {
            decision.evidence.push_back({"byte order mark", 1, {}});
        }
        decision.evidence.push_back(
            {"distinct characters in valid UTF-8, at most 16 counted", bytes.sequences.size(), {}});
        if (!bytes.isUtf8) {
            decision.evidence.push_back(
                {"bytes that are no UTF-8", bytes.invalidBytes, {{0, bytes.firstInvalid, {}}}});
        }
        const bool isProved =
            bytes.isUtf8 && (source.hasMark || bytes.sequences.size() >= kSequencesThatSpeak);
        decision.confidence = isProved ? EConfidence::Certain : EConfidence::Strong;
        return decision;
    }
    decision.evidence.push_back(
        {"bytes that are no UTF-8", bytes.invalidBytes, {{0, bytes.firstInvalid, {}}}});
    DecideByStatistics(bytes, decision);
    // Rule: letters of UTF-8 beside few bytes that are none make a question: either reading spoils
    // some of the texts.
    if (bytes.sequences.size() >= kSequencesThatSpeak &&
        bytes.invalidBytes * kHighPerInvalid <= bytes.highBytes) {
        decision.rivals.insert(decision.rivals.begin(), {decision.value, 0, "letters in UTF-8"});
        decision.value = "UTF-8";
        decision.confidence = EConfidence::Tie;
    }
    return decision;
}

} // namespace Orvane::Import
