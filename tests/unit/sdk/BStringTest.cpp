// Tests of the text type: content, conversions, searching, cutting.
#include <Orvane/BString.h>
#include <Orvane/BStringQt.h>

#include <QString>

#include <gtest/gtest.h>

#include <array>
#include <compare>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Orvane::BString;
using Orvane::MakeBString;
using Orvane::MakeQString;

TEST(BString, IsEmptyWhenNew)
{
    const BString text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0U);
    EXPECT_EQ(text.View(), u""sv);
}

TEST(BString, KeepsNulUnitsAndLoneSurrogates)
{
    constexpr std::u16string_view kUnits = u"a\0b\xD800\xDC00\xDFFF"sv;
    const BString text(kUnits);
    EXPECT_EQ(text.GetLength(), 6U);
    EXPECT_EQ(text.View(), kUnits);
}

TEST(BString, IsEmptyFromNullPointers)
{
    EXPECT_TRUE(BString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_TRUE(BString(static_cast<const char16_t*>(nullptr)).IsEmpty());
}

TEST(BString, SharesItsBufferWithCopiesUntilOneChanges)
{
    const BString first(u"shared"sv);
    BString second = first;
    EXPECT_EQ(second.View().data(), first.View().data());
    second += BString("!");
    EXPECT_EQ(first, BString("shared"));
    EXPECT_EQ(second, BString("shared!"));
}

TEST(BString, SharesItsBufferWithQtInBothDirections)
{
    const QString text = QStringLiteral("both ways").repeated(2);
    const BString shared = MakeBString(text);
    EXPECT_EQ(static_cast<const void*>(shared.View().data()),
              static_cast<const void*>(text.constData()));
    EXPECT_EQ(MakeQString(shared).constData(), text.constData());
}

TEST(BString, MovesItsBuffer)
{
    BString source(u"moved along"sv);
    const void* units = source.View().data();
    BString target = std::move(source);
    EXPECT_EQ(static_cast<const void*>(target.View().data()), units);
    BString assigned;
    assigned = std::move(target);
    EXPECT_EQ(static_cast<const void*>(assigned.View().data()), units);
    const QString text = MakeQString(std::move(assigned));
    EXPECT_EQ(static_cast<const void*>(text.constData()), units);
    EXPECT_EQ(static_cast<const void*>(MakeBString(QString(text)).View().data()), units);
}

TEST(BString, SurvivesAssignmentToItself)
{
    BString text(u"self"sv);
    const BString& alias = text;
    text = alias;
    EXPECT_EQ(text, BString("self"));
}

TEST(BString, ViewsATextThatQtHoldsWithoutABufferOfItsOwn)
{
    static constexpr char16_t kRaw[] = u"raw data";
    const BString text = MakeBString(QString::fromRawData(reinterpret_cast<const QChar*>(kRaw), 8));
    EXPECT_EQ(text.View(), u"raw data"sv);
    EXPECT_EQ(MakeBString(QStringLiteral("literal")).View(), u"literal"sv);
}

struct Utf8Case
{
    const char* name;
    std::string_view bytes;
    std::u16string_view units;
};

void PrintTo(const Utf8Case& row, std::ostream* out)
{
    *out << row.name;
}

constexpr Utf8Case kValidUtf8[] = {
    {"Empty", ""sv, u""sv},
    {"Ascii", "plain"sv, u"plain"sv},
    {"Nul", "a\0b"sv, u"a\0b"sv},
    {"TwoBytes", "\xC2\x80\xDF\xBF"sv, u"\x80\x07FF"sv},
    {"ThreeBytes", "\xE0\xA0\x80\xEF\xBF\xBF"sv, u"\x0800\xFFFF"sv},
    {"AroundTheSurrogates", "\xED\x9F\xBF\xEE\x80\x80"sv, u"\xD7FF\xE000"sv},
    {"FourBytes", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv, u"\xD800\xDC00\xDBFF\xDFFF"sv},
    {"ByteOrderMarkIsContent", "\xEF\xBB\xBFx"sv, u"\xFEFFx"sv},
    {"Mixed", "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"sv, u"grüß € \xD83D\xDE00"sv},
};

class BStringValidUtf8 : public testing::TestWithParam<Utf8Case>
{};

TEST_P(BStringValidUtf8, ReadsAndWritesTheSameBytes)
{
    const BString text = BString::FromUtf8(GetParam().bytes);
    EXPECT_EQ(text.View(), GetParam().units);
    EXPECT_EQ(text.ToUtf8(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(, BStringValidUtf8, testing::ValuesIn(kValidUtf8), [](const auto& row) {
    return row.param.name;
});

constexpr Utf8Case kBrokenUtf8[] = {
    {"LoneContinuation", "a\x80z"sv, u"a\xFFFDz"sv},
    {"OverlongTwoBytesAreTwoParts", "\xC0\x80"sv, u"\xFFFD\xFFFD"sv},
    {"OverlongThreeBytesAreThreeParts", "\xE0\x80\x80"sv, u"\xFFFD\xFFFD\xFFFD"sv},
    {"SurrogateIsThreeParts", "\xED\xA0\x80"sv, u"\xFFFD\xFFFD\xFFFD"sv},
    {"PastTheLastCharacterIsFourParts", "\xF4\x90\x80\x80"sv, u"\xFFFD\xFFFD\xFFFD\xFFFD"sv},
    {"ByteThatLeadsNothing", "\xF5\xFF"sv, u"\xFFFD\xFFFD"sv},
    {"TruncatedFourBytesAreOnePart", "\xF0\x9F\x98"sv, u"\xFFFD"sv},
    {"TruncatedBeforeAscii", "\xE2\x82x"sv, u"\xFFFDx"sv},
    {"TruncatedBeforeALead", "\xE2\x82\xC3\xA9"sv, u"\xFFFDé"sv},
};

class BStringBrokenUtf8 : public testing::TestWithParam<Utf8Case>
{};

TEST_P(BStringBrokenUtf8, ReplacesEachLongestInvalidPart)
{
    EXPECT_EQ(BString::FromUtf8(GetParam().bytes).View(), GetParam().units);
}

INSTANTIATE_TEST_SUITE_P(, BStringBrokenUtf8, testing::ValuesIn(kBrokenUtf8), [](const auto& row) {
    return row.param.name;
});

TEST(BString, ReadsCharLiteralsAndStandardStringsAsUtf8)
{
    EXPECT_EQ(BString("\xC3\xA9").View(), u"é"sv);
    EXPECT_EQ(BString(std::string("\xC3\xA9\0x", 4)).View(), u"é\0x"sv);
}

TEST(BString, WritesLoneSurrogatesAsTheReplacementCharacterInUtf8)
{
    EXPECT_EQ(BString(u"a\xD800z"sv).ToUtf8(), "a\xEF\xBF\xBDz");
    EXPECT_EQ(BString(u"\xDC00\xD800"sv).ToUtf8(), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(BString(u"\xD800\xD83D\xDE00"sv).ToUtf8(), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(BString, ReadsEachLatin1ByteAsTheUnitOfTheSameNumber)
{
    std::string bytes;
    std::u16string units;
    for (int number = 0; number < 256; ++number) {
        bytes.push_back(static_cast<char>(number));
        units.push_back(static_cast<char16_t>(number));
    }
    const BString text = BString::FromLatin1(bytes);
    EXPECT_EQ(text.View(), units);
    EXPECT_EQ(text.ToLatin1(), bytes);
}

TEST(BString, NarrowsUnitsOutOfRangeToQuestionMarks)
{
    const BString text(u"a\0\x7F\x80\xFF\x100\xD83D\xDE00"sv);
    EXPECT_EQ(text.Ascii(), "a\0\x7F?????"sv);
    EXPECT_EQ(text.ToLatin1(), "a\0\x7F\x80\xFF???"sv);
}

TEST(BString, ReadsAndWritesWideTexts)
{
    const std::wstring wide = L"a\u20AC\U0001F600";
    const BString text = BString::FromWide(wide);
    EXPECT_EQ(text.View(), u"a€\xD83D\xDE00"sv);
    EXPECT_EQ(text.ToWide(), wide);
}

TEST(BString, KeepsLoneSurrogatesInWideTexts)
{
    const BString text(u"\xDC00x\xD800"sv);
    const std::wstring wide = text.ToWide();
    ASSERT_EQ(wide.size(), 3U);
    EXPECT_EQ(static_cast<unsigned>(wide[0]), 0xDC00U);
    EXPECT_EQ(static_cast<unsigned>(wide[2]), 0xD800U);
    EXPECT_EQ(BString::FromWide(wide), text);
}

TEST(BString, ReplacesWideNumbersPastTheLastCharacter)
{
    if constexpr (sizeof(wchar_t) == 4) {
        const std::wstring wide = {L'a', static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
        EXPECT_EQ(BString::FromWide(wide).View(), u"a\xFFFD\xFFFD"sv);
    } else {
        EXPECT_EQ(BString::FromWide(L"a\xFFFF").View(), u"a\xFFFF"sv);
    }
}

TEST(BString, WritesIntegersInDecimal)
{
    EXPECT_EQ(BString::FromInteger(0), BString("0"));
    EXPECT_EQ(BString::FromInteger(-17), BString("-17"));
    EXPECT_EQ(BString::FromInteger(INT64_MAX), BString("9223372036854775807"));
    EXPECT_EQ(BString::FromInteger(INT64_MIN), BString("-9223372036854775808"));
}

TEST(BStringSetInteger, LeavesACopyAsItWas)
{
    BString text = BString::FromInteger(1234567);
    const BString copy = text;
    text.SetInteger(-8);
    EXPECT_EQ(copy, BString("1234567"));
    EXPECT_EQ(text, BString("-8"));
}

TEST(BStringSetInteger, UsesABufferOfItsOwnAgain)
{
    BString text = BString::FromInteger(1234567);
    const char16_t* const units = text.View().data();
    text.SetInteger(89);
    EXPECT_EQ(text, BString("89"));
    EXPECT_EQ(text.View().data(), units);
    text.SetInteger(INT64_MIN);
    EXPECT_EQ(text, BString("-9223372036854775808"));
}

TEST(BString, IsEmptyAfterItWasMovedFrom)
{
    BString text("abc");
    const BString taken = std::move(text);
    EXPECT_EQ(taken, BString("abc"));
    EXPECT_TRUE(text.IsEmpty()); // NOLINT(bugprone-use-after-move)
    text = "d";
    EXPECT_EQ(text, BString("d"));
}

TEST(BString, IsAllZerosWhenItIsAnEmptyQString)
{
    const BString empty = Orvane::MakeBString(QString());
    const std::array<char, sizeof(BString)> zeros{};
    EXPECT_EQ(std::memcmp(&empty, zeros.data(), sizeof empty), 0);
}

TEST(BString, HandsOutUnitsByPosition)
{
    EXPECT_EQ(BString(u"ab"sv).At(1), u'b');
}

TEST(BString, RefusesAPositionPastTheEnd)
{
    const auto messageAt = [](const BString& text, std::size_t position) -> std::string {
        try {
            static_cast<void>(text.At(position));
        } catch (const std::out_of_range& failure) {
            return failure.what();
        }
        return "nothing thrown";
    };
    EXPECT_EQ(messageAt(BString("ab"), 2), "invalid vector subscript");
    EXPECT_EQ(messageAt(BString(), 0), "invalid vector subscript");
}

TEST(BString, AppendsItself)
{
    BString text(u"ab"sv);
    text += text;
    EXPECT_EQ(text, BString("abab"));
    text.Append(text.View().substr(1, 2));
    EXPECT_EQ(text, BString("ababba"));
}

TEST(BString, AddsTexts)
{
    EXPECT_EQ(BString("a") + "b" + BString(), BString("ab"));
}

TEST(BString, IsEmptyAfterClear)
{
    BString text("x");
    text.Clear();
    EXPECT_TRUE(text.IsEmpty());
}

struct FindCase
{
    const char* name;
    std::u16string_view text;
    std::u16string_view wanted;
    std::size_t from;
    std::size_t expected;
};

void PrintTo(const FindCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr FindCase kFindCases[] = {
    {"FirstOccurrence", u"a,b,c"sv, u","sv, 0, 1},
    {"OccurrenceAtTheStartPosition", u"a,b,c"sv, u","sv, 1, 1},
    {"OccurrenceAfterTheStartPosition", u"a,b,c"sv, u","sv, 2, 3},
    {"NothingAfterTheLastOne", u"a,b,c"sv, u","sv, 4, BString::npos},
    {"LongerText", u"abcabd"sv, u"abd"sv, 0, 3},
    {"TextLongerThanTheWhole", u"ab"sv, u"abc"sv, 0, BString::npos},
    {"NothingInTheEmptyText", u""sv, u"a"sv, 0, BString::npos},
    {"EmptyTextAtTheStartPosition", u"ab"sv, u""sv, 1, 1},
    {"EmptyTextAtTheEnd", u"ab"sv, u""sv, 2, 2},
    {"EmptyTextNotPastTheEnd", u"ab"sv, u""sv, 3, BString::npos},
    {"NothingPastTheEnd", u"ab"sv, u"a"sv, 9, BString::npos},
    {"Nul", u"a\0b"sv, u"\0"sv, 0, 1},
};

class BStringFind : public testing::TestWithParam<FindCase>
{};

TEST_P(BStringFind, GivesThePositionOfTheText)
{
    const FindCase& row = GetParam();
    const BString text(row.text);
    EXPECT_EQ(text.find(row.wanted, row.from), row.expected);
    if (row.wanted.size() == 1) {
        EXPECT_EQ(text.find(row.wanted.front(), row.from), row.expected);
    }
}

INSTANTIATE_TEST_SUITE_P(, BStringFind, testing::ValuesIn(kFindCases), [](const auto& row) {
    return row.param.name;
});

TEST(BString, TellsWhatItStartsWith)
{
    const BString text("header");
    EXPECT_TRUE(text.StartsWith(u""sv));
    EXPECT_TRUE(text.StartsWith(u"head"sv));
    EXPECT_TRUE(text.StartsWith(u"header"sv));
    EXPECT_FALSE(text.StartsWith(u"headers"sv));
    EXPECT_FALSE(text.StartsWith(u"eader"sv));
}

TEST(BString, GivesPartsWithinItsEnds)
{
    const BString text("abcdef");
    EXPECT_EQ(text.Left(0), BString());
    EXPECT_EQ(text.Left(2), BString("ab"));
    EXPECT_EQ(text.Left(99), text);
    EXPECT_EQ(text.Mid(2), BString("cdef"));
    EXPECT_EQ(text.Mid(2, 2), BString("cd"));
    EXPECT_EQ(text.Mid(4, 99), BString("ef"));
    EXPECT_EQ(text.Mid(6), BString());
    EXPECT_EQ(text.Mid(BString::npos, BString::npos), BString());
}

TEST(BString, SharesItsBufferWithAPartThatIsTheWhole)
{
    const BString text("whole");
    EXPECT_EQ(text.Mid(0).View().data(), text.View().data());
}

TEST(BString, ConvertsUnicodeLettersToLowerCase)
{
    EXPECT_EQ(BString(u"ÄBC ΣΑΣ \xD801\xDC00"sv).ToLower(), BString(u"äbc σασ \xD801\xDC28"sv));
    EXPECT_EQ(BString("YES").ToLower(), BString("yes"));
}

TEST(BString, TrimsTheSixWhiteSpaceUnitsOnly)
{
    EXPECT_EQ(BString(u" \t\n\v\f\rx y \t\n\v\f\r"sv).Trim(), BString("x y"));
    EXPECT_EQ(BString(u" \t\n\v\f\rx \t\n\v\f\r"sv).TrimRight(), BString(u" \t\n\v\f\rx"sv));
    EXPECT_EQ(BString(u"\0\u00A0\u2003"sv).Trim(), BString(u"\0\u00A0\u2003"sv));
    EXPECT_EQ(BString(u" \n "sv).Trim(), BString());
    EXPECT_EQ(BString(u" \n "sv).TrimRight(), BString());
    EXPECT_EQ(BString().Trim(), BString());
}

TEST(BString, RemovesEveryOccurrenceOfAUnit)
{
    BString text("1,234,567,");
    const BString copy = text;
    text.RemoveAll(u',');
    EXPECT_EQ(text, BString("1234567"));
    EXPECT_EQ(copy, BString("1,234,567,"));
    text.RemoveAll(u',');
    EXPECT_EQ(text, BString("1234567"));
}

struct TokenizeCase
{
    const char* name;
    std::u16string_view text;
    std::u16string_view separator;
    std::vector<std::u16string_view> tokens;
};

void PrintTo(const TokenizeCase& row, std::ostream* out)
{
    *out << row.name;
}

const TokenizeCase kTokenizeCases[] = {
    {"EmptyTextIsOneToken", u""sv, u","sv, {u""sv}},
    {"TextWithoutSeparatorIsOneToken", u"abc"sv, u","sv, {u"abc"sv}},
    {"EmptyPartsAreKept", u"a,,b"sv, u","sv, {u"a"sv, u""sv, u"b"sv}},
    {"TokenAfterTheLastSeparator", u"a,"sv, u","sv, {u"a"sv, u""sv}},
    {"TokenBeforeTheFirstSeparator", u",a"sv, u","sv, {u""sv, u"a"sv}},
    {"SeparatorAlone", u","sv, u","sv, {u""sv, u""sv}},
    {"LongSeparator", u"a::b:c::"sv, u"::"sv, {u"a"sv, u"b:c"sv, u""sv}},
    {"OverlappingSeparatorsFromTheLeft", u"a:::b"sv, u"::"sv, {u"a"sv, u":b"sv}},
    {"EmptySeparatorGivesTheWholeText", u"a,b"sv, u""sv, {u"a,b"sv}},
};

class BStringTokenize : public testing::TestWithParam<TokenizeCase>
{};

TEST_P(BStringTokenize, CutsAtEverySeparator)
{
    const TokenizeCase& row = GetParam();
    std::vector<BString> tokens = {"former", "content"};
    BString::Tokenize(row.text, tokens, row.separator);
    EXPECT_EQ(tokens, std::vector<BString>(row.tokens.begin(), row.tokens.end()));
}

INSTANTIATE_TEST_SUITE_P(, BStringTokenize, testing::ValuesIn(kTokenizeCases), [](const auto& row) {
    return row.param.name;
});

TEST(BString, TokenizesATextThatStandsInTheTokenList)
{
    std::vector<BString> tokens = {"a,b", ","};
    BString::Tokenize(tokens[0], tokens, tokens[1]);
    EXPECT_EQ(tokens, (std::vector<BString>{"a", "b"}));
}

TEST(BString, ComparesUnitByUnit)
{
    EXPECT_EQ(BString("a"), BString(u"a"sv));
    EXPECT_NE(BString("a"), BString("A"));
    EXPECT_NE(BString(u"a"sv), BString(u"a\0"sv));
    EXPECT_LT(BString("a"), BString("b"));
    EXPECT_LT(BString("a"), BString("aa"));
    EXPECT_GT(BString(u"\xFFFF"sv), BString(u"\xD800\xDC00"sv));
    EXPECT_TRUE((BString("a") <=> BString("a")) == std::strong_ordering::equal);
}

TEST(BString, HashesEqualTextsAlike)
{
    const std::unordered_set<BString> texts = {"a", "b", BString(u"a"sv)};
    EXPECT_EQ(texts.size(), 2U);
    EXPECT_TRUE(texts.contains(BString::FromLatin1("b")));
}

} // namespace
