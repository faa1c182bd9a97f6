// Rows of pages as the bytes of a binary COPY.
#include "CopyRows.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BFeatureCollection.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Orvane::BFeatureAppender;
using Orvane::BFeatureCollection;
using Orvane::EPointKind;
using Orvane::ETextEncoding;
using Orvane::EVariantType;
using Orvane::Postgres::ChooseTypes;
using Orvane::Postgres::CopyLayout;
using Orvane::Postgres::CopyRows;
using Orvane::Postgres::ECopyType;

/// Network byte order.
template <typename T>
T ReadBig(std::string_view bytes, std::size_t at)
{
    std::uint64_t bits = 0;
    for (std::size_t index = 0; index < sizeof(T); ++index) {
        bits = bits << 8U | static_cast<unsigned char>(bytes[at + index]);
    }
    T value;
    if constexpr (sizeof(T) == 8) {
        std::memcpy(&value, &bits, sizeof value);
    } else {
        value = static_cast<T>(bits);
    }
    return value;
}

/// The values of the one row of a copy; without header and trailer. "null" for -1.
std::vector<std::string> Cut(std::string_view bytes)
{
    std::vector<std::string> values;
    const auto count = ReadBig<std::int16_t>(bytes, 0);
    std::size_t at = 2;
    for (int index = 0; index < count; ++index) {
        const auto size = ReadBig<std::int32_t>(bytes, at);
        at += 4;
        if (size < 0) {
            values.emplace_back("null");
            continue;
        }
        values.emplace_back(bytes.substr(at, static_cast<std::size_t>(size)));
        at += static_cast<std::size_t>(size);
    }
    EXPECT_EQ(at, bytes.size());
    return values;
}

/// One row with one text, copied as one type without number and point.
std::string CopyText(EVariantType type, ECopyType wanted, std::string_view text)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {{"a", type}});
    appender.AddText(text, ETextEncoding::Utf8);
    appender.EndRow(EPointKind::None, 0, 0, 0, 1);
    EXPECT_EQ(ChooseTypes(&features.GetPage(0), {type}), std::vector<ECopyType>{wanted}) << text;
    CopyLayout layout;
    layout.hasRowNumber = false;
    layout.hasGeometry = false;
    layout.fields = {wanted};
    CopyRows rows(layout);
    rows.AppendRows(features.GetPage(0), &features, 0, 0, 1);
    return Cut(rows.GetBytes()).at(0);
}

TEST(CopyRows, BeginsAndEndsAsTheFormatSays)
{
    CopyRows rows({});
    rows.AppendHeader();
    rows.AppendTrailer();
    EXPECT_EQ(rows.GetBytes(), std::string_view("PGCOPY\n\xFF\r\n\0\0\0\0\0\0\0\0\0\xFF\xFF", 21));
}

TEST(CopyRows, PutsNumbersPointsAndNulls)
{
    BFeatureCollection features;
    BFeatureAppender appender(
        features,
        {{"i", EVariantType::Int32}, {"d", EVariantType::Double}, {"t", EVariantType::String}});
    appender.AddInt32(-7);
    appender.AddNull();
    appender.AddText(std::string_view("a\0b", 3), ETextEncoding::Ascii);
    appender.EndRow(EPointKind::XY, 1.5, -2.5, 0, 1);
    CopyLayout layout;
    layout.srid = 4326;
    layout.fields = {ECopyType::Integer, ECopyType::Double, ECopyType::Text};
    CopyRows rows(layout);
    rows.AppendRows(features.GetPage(0), &features, 0, 0, 1);
    const std::vector<std::string> values = Cut(rows.GetBytes());
    ASSERT_EQ(values.size(), 5U);
    EXPECT_EQ(ReadBig<std::int64_t>(values[0], 0), 1);
    ASSERT_EQ(values[1].size(), 25U);
    EXPECT_EQ(ReadBig<std::uint32_t>(values[1], 1), 0x20000001U);
    EXPECT_EQ(ReadBig<std::uint32_t>(values[1], 5), 4326U);
    EXPECT_EQ(ReadBig<double>(values[1], 9), 1.5);
    EXPECT_EQ(ReadBig<double>(values[1], 17), -2.5);
    EXPECT_EQ(ReadBig<std::int32_t>(values[2], 0), -7);
    EXPECT_EQ(values[3], "null");
    EXPECT_EQ(values[4], "a\uFFFDb");
    EXPECT_EQ(rows.GetCounts().nulCharacters, 1U);
    EXPECT_EQ(rows.GetCounts().points, 1U);
}

TEST(CopyRows, APointWithoutPlaceIsNull)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {});
    appender.EndRow(EPointKind::XY, std::numeric_limits<double>::quiet_NaN(), 1, 0, 1);
    CopyRows rows({});
    rows.AppendRows(features.GetPage(0), &features, 0, 0, 1);
    EXPECT_EQ(Cut(rows.GetBytes()).at(1), "null");
    EXPECT_EQ(rows.GetCounts().withoutPlace, 1U);
    EXPECT_EQ(rows.GetCounts().points, 0U);
}

TEST(CopyRows, CountsDaysFromTheYear2000)
{
    const std::pair<const char*, std::int32_t> cases[] = {{"2000-01-01", 0},
                                                          {"1999-12-31", -1},
                                                          {"1970-01-01", -10957},
                                                          {"2000-02-29", 59},
                                                          {"2000-03-01", 60},
                                                          {"2100-03-01", 36584},
                                                          {"0001-01-01", -730119}};
    for (const auto& [text, days] : cases) {
        const std::string bytes = CopyText(EVariantType::Date, ECopyType::Date, text);
        EXPECT_EQ(ReadBig<std::int32_t>(bytes, 0), days) << text;
    }
}

TEST(CopyRows, CountsMicroseconds)
{
    constexpr std::int64_t kHour = 3'600'000'000;
    const auto read = [](EVariantType type, ECopyType wanted, const char* text) {
        return ReadBig<std::int64_t>(CopyText(type, wanted, text), 0);
    };
    EXPECT_EQ(read(EVariantType::Time, ECopyType::Time, "01:00:00.000001"), kHour + 1);
    EXPECT_EQ(read(EVariantType::DateTime, ECopyType::Timestamp, "2000-01-02T01:00:00"),
              25 * kHour);
    EXPECT_EQ(read(EVariantType::DateTime, ECopyType::TimestampTz, "2000-01-01T00:00:00Z"), 0);
    // Two in the morning, two hours east of Greenwich, is midnight there.
    EXPECT_EQ(read(EVariantType::DateTime, ECopyType::TimestampTz, "2000-01-01T02:00:00+02:00"), 0);
    EXPECT_EQ(read(EVariantType::DateTime, ECopyType::TimestampTz, "1999-12-31T22:30:00-01:30"), 0);
}

TEST(CopyRows, KeepsDatesAsTextThatTheDatabaseWouldChange)
{
    const char* const texts[] = {"2018-01-28T13:03:22.1234567",
                                 "2016-12-31T23:59:60Z",
                                 "28 Jan 2018",
                                 "0000-01-01T00:00:00"};
    for (const char* const text : texts) {
        EXPECT_EQ(CopyText(EVariantType::DateTime, ECopyType::Text, text), text);
    }
    BFeatureCollection mixed;
    BFeatureAppender appender(mixed, {{"a", EVariantType::DateTime}});
    for (const char* const text : {"2018-01-28T13:03:22Z", "2018-01-28T13:03:22"}) {
        appender.AddText(text, ETextEncoding::Ascii);
        appender.EndRow(EPointKind::None, 0, 0, 0, 1);
    }
    EXPECT_EQ(ChooseTypes(&mixed.GetPage(0), {EVariantType::DateTime}),
              std::vector<ECopyType>{ECopyType::Text});
    EXPECT_EQ(ChooseTypes(nullptr, {EVariantType::Date}), std::vector<ECopyType>{ECopyType::Date});
}

TEST(CopyRows, RefusesADateAfterTheFirstPageThatWouldChange)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {{"a", EVariantType::DateTime}});
    appender.AddText("2018-01-28T13:03:22Z", ETextEncoding::Ascii);
    appender.EndRow(EPointKind::None, 0, 0, 0, 1);
    CopyLayout layout;
    layout.fields = {ECopyType::Timestamp};
    CopyRows rows(layout);
    try {
        rows.AppendRows(features.GetPage(0), nullptr, 0, 0, 1);
        FAIL() << "nothing was thrown";
    } catch (const Orvane::Postgres::DateMismatch& mismatch) {
        EXPECT_EQ(mismatch.GetFieldIndex(), 0U);
        EXPECT_EQ(mismatch.GetText(), "2018-01-28T13:03:22Z");
    }
}

TEST(CopyRows, ConvertsTextsOf64BitColumns)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {{"a", EVariantType::String}});
    for (const char* const text : {"12345678901", "abc", ""}) {
        appender.AddText(text, ETextEncoding::Ascii);
        appender.EndRow(EPointKind::None, 0, 0, 0, 1);
    }
    CopyLayout layout;
    layout.hasRowNumber = false;
    layout.hasGeometry = false;
    layout.fields = {ECopyType::BigInt};
    CopyRows rows(layout);
    rows.AppendRows(features.GetPage(0), &features, 0, 0, 1);
    EXPECT_EQ(ReadBig<std::int64_t>(Cut(rows.GetBytes()).at(0), 0), 12345678901);
    rows.Clear();
    rows.AppendRows(features.GetPage(0), &features, 0, 1, 2);
    EXPECT_EQ(Cut(rows.GetBytes()).at(0), "null");
    rows.AppendRows(features.GetPage(0), &features, 0, 2, 3);
    EXPECT_EQ(rows.GetCounts().notOfTypeByField, std::vector<std::uint64_t>{1});
}

} // namespace
