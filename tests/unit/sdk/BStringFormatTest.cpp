// Tests of the message builder.
#include <Orvane/BString.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Orvane::BString;

TEST(BStringFormat, KeepsATextWithoutDirectives)
{
    EXPECT_EQ(BString::Format("plain"), BString("plain"));
    EXPECT_EQ(BString::Format(""), BString());
    EXPECT_EQ(BString::Format("\xC3\xA9"), BString(u"é"sv));
}

TEST(BStringFormat, InsertsTextsWhole)
{
    const BString text(u"a\0%d€\xD800"sv);
    EXPECT_EQ(BString::Format("<%ls>", text), BString(u"<a\0%d€\xD800>"sv));
    EXPECT_EQ(BString::Format("<%s>", text), BString(u"<a\0%d€\xD800>"sv));
    EXPECT_EQ(BString::Format("%s", "\xC3\xA9"), BString(u"é"sv));
    EXPECT_EQ(BString::Format("%ls%ls", BString(), BString("b")), BString("b"));
}

TEST(BStringFormat, InsertsIntegersOfEveryWidth)
{
    EXPECT_EQ(BString::Format("(%d > %d)", std::size_t{3}, 3), BString("(3 > 3)"));
    EXPECT_EQ(BString::Format("%i %u", -1, std::uint16_t{65535}), BString("-1 65535"));
    EXPECT_EQ(BString::Format("%d", std::numeric_limits<std::int64_t>::min()),
              BString("-9223372036854775808"));
}

TEST(BStringFormat, InsertsDoublesAsPrintfDoes)
{
    EXPECT_EQ(BString::Format("%g %g %g", 1.5, 1e300, 1234567.0),
              BString("1.5 1e+300 1.23457e+06"));
    EXPECT_EQ(BString::Format("%f", 1.5), BString("1.500000"));
    EXPECT_EQ(BString::Format("%f", std::numeric_limits<double>::max()).GetLength(), 309U + 7U);
    EXPECT_EQ(BString::Format("%g", std::numeric_limits<double>::infinity()), BString("inf"));
}

TEST(BStringFormat, WritesAPerCentSign)
{
    EXPECT_EQ(BString::Format("100%%, %d%%", 5), BString("100%, 5%"));
}

TEST(BStringFormat, RefusesFormatsAndArgumentsThatDoNotAgree)
{
    EXPECT_THROW(BString::Format("%d"), std::invalid_argument);
    EXPECT_THROW(BString::Format("x", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("%d", "text"), std::invalid_argument);
    EXPECT_THROW(BString::Format("%ls", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("%g", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("%d", 1.0), std::invalid_argument);
}

TEST(BStringFormat, RefusesUnknownDirectives)
{
    EXPECT_THROW(BString::Format("%x", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("%5d", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("%ld", 1), std::invalid_argument);
    EXPECT_THROW(BString::Format("100%"), std::invalid_argument);
    EXPECT_THROW(BString::Format("%l"), std::invalid_argument);
}

} // namespace
