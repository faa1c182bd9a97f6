// Texts and values of a page of columns.
#include <Orvane/BException.h>
#include <Orvane/BFeaturePage.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace Orvane {

namespace {

std::string_view Bytes(std::u16string_view units)
{
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

BString TextAt(const BTextArray& texts, std::size_t index)
{
    return TextToString(texts.GetBytes(index), texts.encoding);
}

struct Piece
{
    std::string bytes;
    ETextEncoding encoding;
    std::u16string text;
};

struct EncodingCase
{
    const char* name;
    std::vector<Piece> pieces;
    ETextEncoding expected;
    std::size_t byteCount;
};

const Piece kAscii = {"abc", ETextEncoding::Ascii, u"abc"};
const Piece kAsciiAsLatin1 = {"abc", ETextEncoding::Latin1, u"abc"};
const Piece kAsciiAsUtf8 = {"abcdefghijk", ETextEncoding::Utf8, u"abcdefghijk"};
const Piece kLatin1 = {"caf\xE9", ETextEncoding::Latin1, u"caf\u00E9"};
const Piece kUtf8 = {"\xE2\x82\xAC\xF0\x9F\x98\x80", ETextEncoding::Utf8, u"\u20AC\U0001F600"};
const Piece kUtf16 = {
    std::string(Bytes(u"\u20AC\U0001F600")), ETextEncoding::Utf16, u"\u20AC\U0001F600"};
const Piece kAsciiAsUtf16 = {std::string(Bytes(u"plain")), ETextEncoding::Utf16, u"plain"};
const std::u16string kLoneUnits = {u'a', char16_t{0xD800}, u'b'};
const Piece kLone = {std::string(Bytes(kLoneUnits)), ETextEncoding::Utf16, kLoneUnits};
const Piece kEmpty = {"", ETextEncoding::Utf8, u""};
const Piece kNul = {std::string("a\0b", 3), ETextEncoding::Ascii, std::u16string(u"a\0b", 3)};

const EncodingCase kEncodingCases[] = {
    {"NoTextAtAll", {}, ETextEncoding::Ascii, 0},
    {"AsciiStaysAscii", {kAscii, kAsciiAsLatin1, kAsciiAsUtf8}, ETextEncoding::Ascii, 17},
    {"EmptyTextsAndNulsAreKept", {kEmpty, kNul, kEmpty}, ETextEncoding::Ascii, 3},
    {"TheFirstLatin1TextMakesLatin1", {kAscii, kLatin1, kAscii}, ETextEncoding::Latin1, 10},
    {"Latin1StaysForAsciiAsUtf8", {kLatin1, kAsciiAsUtf8}, ETextEncoding::Latin1, 15},
    {"TheFirstUtf8TextMakesUtf8", {kAscii, kUtf8, kAscii}, ETextEncoding::Utf8, 13},
    {"Latin1AndUtf8BecomeUtf8", {kLatin1, kUtf8, kLatin1}, ETextEncoding::Utf8, 17},
    {"Latin1GoesIntoUtf8", {kUtf8, kLatin1, kAsciiAsLatin1}, ETextEncoding::Utf8, 15},
    {"WellFormedUtf16IsStoredAsUtf8", {kAscii, kUtf16}, ETextEncoding::Utf8, 10},
    {"AsciiUnitsAreStoredAsAscii", {kAsciiAsUtf16, kAscii}, ETextEncoding::Ascii, 8},
    {"AsciiUnitsFitLatin1", {kLatin1, kAsciiAsUtf16}, ETextEncoding::Latin1, 9},
    {"ALoneSurrogateMakesUtf16", {kAscii, kLone, kAscii}, ETextEncoding::Utf16, 18},
    {"Latin1BecomesUtf16", {kLatin1, kLone, kLatin1}, ETextEncoding::Utf16, 22},
    {"Utf8BecomesUtf16", {kUtf8, kLone, kUtf8, kUtf16}, ETextEncoding::Utf16, 24},
};

void PrintTo(const EncodingCase& testCase, std::ostream* out)
{
    *out << testCase.name;
}

class BFeaturePageAppendText : public testing::TestWithParam<EncodingCase>
{};

TEST_P(BFeaturePageAppendText, KeepsEveryText)
{
    const EncodingCase& testCase = GetParam();
    BTextArray texts;
    for (const Piece& piece : testCase.pieces) {
        AppendText(texts, piece.bytes, piece.encoding);
    }
    ASSERT_EQ(texts.GetCount(), testCase.pieces.size());
    EXPECT_EQ(texts.encoding, testCase.expected);
    EXPECT_EQ(texts.bytes.GetSize(), testCase.byteCount);
    for (std::size_t i = 0; i < testCase.pieces.size(); ++i) {
        EXPECT_EQ(TextAt(texts, i), BString(testCase.pieces[i].text)) << "text " << i;
        std::string utf8 = "before ";
        AppendTextAsUtf8(texts.GetBytes(i), texts.encoding, utf8);
        EXPECT_EQ(utf8, "before " + BString(testCase.pieces[i].text).ToUtf8()) << "text " << i;
    }
}

TEST_P(BFeaturePageAppendText, IsTheSameForTextsOfAnotherArray)
{
    const std::vector<Piece>& pieces = GetParam().pieces;
    // Every part of the texts comes from another array, after every beginning.
    for (std::size_t begin = 0; begin <= pieces.size(); ++begin) {
        for (std::size_t end = begin; end <= pieces.size(); ++end) {
            BTextArray expected;
            BTextArray texts;
            BTextArray from;
            for (std::size_t i = 0; i < end; ++i) {
                AppendText(from, pieces[i].bytes, pieces[i].encoding);
            }
            for (std::size_t i = 0; i < begin; ++i) {
                AppendText(expected, pieces[i].bytes, pieces[i].encoding);
                AppendText(texts, pieces[i].bytes, pieces[i].encoding);
            }
            for (std::size_t i = begin; i < end; ++i) {
                AppendText(expected, from.GetBytes(i), from.encoding);
            }
            AppendTexts(texts, from, begin, end - begin);
            ASSERT_EQ(texts.GetCount(), expected.GetCount());
            EXPECT_EQ(texts.encoding, expected.encoding);
            for (std::size_t i = 0; i < texts.GetCount(); ++i) {
                EXPECT_EQ(texts.GetBytes(i), expected.GetBytes(i)) << begin << " to " << end;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(,
                         BFeaturePageAppendText,
                         testing::ValuesIn(kEncodingCases),
                         [](const auto& row) { return row.param.name; });

TEST(BFeaturePageIsAscii, FindsAHighByteAtEveryPosition)
{
    for (std::size_t length = 0; length < 40; ++length) {
        std::string text(length, '\x7F');
        EXPECT_TRUE(IsAscii(text));
        for (std::size_t i = 0; i < length; ++i) {
            std::string odd = text;
            odd[i] = '\x80';
            EXPECT_FALSE(IsAscii(odd)) << i << " of " << length;
        }
    }
}

TEST(BFeaturePageTexts, KeepsManyTextsThroughGrowth)
{
    BTextArray texts;
    for (int i = 0; i < 5000; ++i) {
        AppendText(
            texts, std::string(static_cast<std::size_t>(i % 37), 'x'), ETextEncoding::Latin1);
    }
    ASSERT_EQ(texts.GetCount(), 5000U);
    for (std::size_t i = 0; i < 5000; ++i) {
        EXPECT_EQ(texts.GetBytes(i).size(), i % 37);
    }
}

TEST(BFeaturePageTexts, RefusesMoreThanAPageHolds)
{
    BTextArray texts;
    AppendText(texts, "a", ETextEncoding::Ascii);
    // The refusal comes before any byte is read.
    const std::string_view tooLong("b", std::size_t{0xFFFFFFFF});
    try {
        AppendText(texts, tooLong, ETextEncoding::Ascii);
        FAIL() << "nothing was thrown";
    } catch (const BIndexOutOfBoundsException& exception) {
        EXPECT_EQ(exception.GetLocation(), BString("BFeaturePage::AppendText"));
        EXPECT_EQ(exception.GetMessage(),
                  BString("A page holds at most 4294967295 bytes of text in one column."));
    }
    ASSERT_EQ(texts.GetCount(), 1U);
    EXPECT_EQ(TextAt(texts, 0), BString("a"));
}

TEST(BFeaturePageStorageOf, StoresNumbersInTheirWidthAndAllElseAsText)
{
    EXPECT_EQ(StorageOf(EVariantType::Int32), EColumnStorage::Int32);
    EXPECT_EQ(StorageOf(EVariantType::Int64), EColumnStorage::Int64);
    EXPECT_EQ(StorageOf(EVariantType::Double), EColumnStorage::Double);
    EXPECT_EQ(StorageOf(EVariantType::Float), EColumnStorage::Float);
    EXPECT_EQ(StorageOf(EVariantType::Boolean), EColumnStorage::Boolean);
    for (const int type : {0, 1, 11, 12, 14, 15, 99, -3}) {
        EXPECT_EQ(StorageOf(EVariantType{type}), EColumnStorage::Text) << type;
    }
}

TEST(BPageArrayGrowth, KeepsItsValuesAndGivesRoomBack)
{
    BPageArray<std::int32_t> array;
    for (std::int32_t i = 0; i < 1000; ++i) {
        array.Append(i);
    }
    EXPECT_EQ(array.GetSize(), 1000U);
    EXPECT_EQ(array.GetCapacity(), 1024U);
    array.Truncate(10);
    array.Truncate(500);
    EXPECT_EQ(array.GetSize(), 10U);
    array.ShrinkToFit();
    EXPECT_EQ(array.GetCapacity(), 10U);
    array.Resize(12, -1);
    EXPECT_EQ(std::vector<std::int32_t>(array.View().begin(), array.View().end()),
              (std::vector<std::int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1, -1}));
    array.Truncate(0);
    array.ShrinkToFit();
    EXPECT_EQ(array.GetCapacity(), 0U);
    EXPECT_THROW(array.Reserve(static_cast<std::size_t>(-1)), std::bad_alloc);
}

} // namespace

} // namespace Orvane
