// Rows appended value by value, and their form in the pages.
#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace Orvane {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const std::vector<BColumnInfo> kNumberAndText = {{"number", EVariantType::Int32},
                                                 {"text", EVariantType::String}};

std::vector<BString> NamesOf(BFeatureCollection& features)
{
    std::vector<BString> names;
    for (std::size_t i = 0; i < features.GetCount(); ++i) {
        names.push_back(features.GetAt(i)->GetName());
    }
    return names;
}

TEST(BFeatureAppender, StoresEveryTypeInItsWidth)
{
    BFeatureCollection features;
    {
        BFeatureAppender appender(features,
                                  {{"a", EVariantType::Int32},
                                   {"b", EVariantType::Int64},
                                   {"c", EVariantType::Double},
                                   {"d", EVariantType::Float},
                                   {"e", EVariantType::Boolean},
                                   {"f", EVariantType::String},
                                   {"g", EVariantType{77}}});
        EXPECT_EQ(appender.GetColumnCount(), 7U);
        for (int i = 0; i < 3; ++i) {
            appender.AddInt32(-i);
            appender.AddInt64(std::int64_t{1} << (40 + i));
            appender.AddDouble(0.5 * i);
            appender.AddFloat(0.25F);
            appender.AddBoolean(i == 1);
            appender.AddText("caf\xE9", ETextEncoding::Latin1);
            appender.AddText("7", ETextEncoding::Ascii);
            appender.EndRow(EPointKind::XYZ, i, 2, 3, 10U + static_cast<std::uint32_t>(i));
        }
    }
    ASSERT_EQ(features.GetCount(), 3U);
    ASSERT_EQ(features.GetPageCount(), 1U);
    const BFeaturePage& page = features.GetPage(0);
    EXPECT_EQ(page.GetRowCount(), 3U);
    EXPECT_EQ(page.uniformPointKind, EPointKind::XYZ);
    EXPECT_TRUE(page.pointKinds.IsEmpty());
    EXPECT_TRUE(page.attributeCounts.IsEmpty());
    EXPECT_EQ(page.nameRuns.size(), 1U);

    const auto feature = features.GetAt(1);
    EXPECT_EQ(feature->GetName(), BString("11"));
    ASSERT_EQ(feature->GetAttributeCount(), 7U);
    EXPECT_EQ(feature->GetAttributeValue(0), BVariant(std::int32_t{-1}));
    EXPECT_EQ(feature->GetAttributeValue(1), BVariant(std::int64_t{1} << 41));
    EXPECT_EQ(feature->GetAttributeValue(2), BVariant(0.5));
    EXPECT_EQ(feature->GetAttributeValue(3), BVariant(0.25F));
    EXPECT_EQ(feature->GetAttributeValue(4), BVariant(true));
    EXPECT_EQ(feature->GetAttributeValue(5), BVariant(BString(u"caf\u00E9")));
    EXPECT_EQ(feature->GetAttributeValue(6), BVariant(BString("7")));
    EXPECT_EQ(feature->GetAttributeName(4), BString("e"));
    EXPECT_THROW(static_cast<void>(feature->GetAttributeName(7)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(feature->GetAttributeValue(7)), std::out_of_range);
    ASSERT_NE(feature->GetPoint(), nullptr);
    EXPECT_TRUE(feature->GetPoint()->HasZ());
    EXPECT_EQ(feature->GetPoint()->GetX(), 1);
    EXPECT_EQ(feature->GetMBB().maxZ, 3);
}

const std::vector<BColumnInfo> kEveryStorage = {{"a", EVariantType::Int32},
                                                {"b", EVariantType::Int64},
                                                {"c", EVariantType::Double},
                                                {"d", EVariantType::Float},
                                                {"e", EVariantType::Boolean},
                                                {"f", EVariantType::String},
                                                {"g", EVariantType::Date}};

void AddValues(BFeatureAppender& appender)
{
    appender.AddInt32(1);
    appender.AddInt64(2);
    appender.AddDouble(3);
    appender.AddFloat(4);
    appender.AddBoolean(true);
    appender.AddText("caf\xC3\xA9", ETextEncoding::Utf8);
    appender.AddText("2018-01-28", ETextEncoding::Ascii);
}

void AddNulls(BFeatureAppender& appender)
{
    for (std::size_t index = 0; index < appender.GetColumnCount(); ++index) {
        appender.AddNull();
    }
}

TEST(BFeatureAppenderAddNull, GivesNoneAndKeepsAPlaceholderInEveryStorage)
{
    BFeatureCollection features(20);
    BFeatureAppender appender(features, kEveryStorage);
    const auto isNull = [](std::size_t row) { return row % 3 == 1 || row > 40; };
    for (std::uint32_t row = 0; row < 50; ++row) {
        if (isNull(row)) {
            AddNulls(appender);
        } else {
            AddValues(appender);
        }
        appender.EndRow(EPointKind::XY, row, 0, 0, row);
    }
    for (std::size_t row = 0; row < 50; ++row) {
        const auto feature = features.GetAt(row);
        ASSERT_EQ(feature->GetAttributeCount(), 7U);
        for (std::size_t index = 0; index < 7; ++index) {
            EXPECT_EQ(feature->GetAttributeValue(index).IsEmpty(), isNull(row)) << row;
            EXPECT_EQ(feature->GetAttributes().GetValueAt(index).IsEmpty(), isNull(row)) << row;
        }
    }
    EXPECT_EQ(features.GetAt(0)->GetAttributeValue(6), BVariant(BString("2018-01-28")));
    const BFeaturePage& page = features.GetPage(0);
    EXPECT_EQ(page.data[0].int32s[1], 0);
    EXPECT_EQ(page.data[2].doubles[1], 0.0);
    EXPECT_EQ(page.data[4].booleans[1], 0);
    EXPECT_EQ(page.data[5].texts.GetBytes(1), "");
    EXPECT_EQ(page.data[0].CountNulls(20), 7U);
    EXPECT_EQ(features.GetPage(2).data[6].CountNulls(10), 10U);
}

TEST(BFeatureAppenderAddNull, CostsNothingInColumnsWithoutNulls)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, kNumberAndText);
    for (std::uint32_t row = 0; row < 100; ++row) {
        appender.AddInt32(1);
        if (row == 60) {
            appender.AddNull();
        } else {
            appender.AddText("t", ETextEncoding::Ascii);
        }
        appender.EndRow(EPointKind::XY, row, 0, 0, row);
    }
    const BFeaturePage& page = features.GetPage(0);
    EXPECT_EQ(page.data[0].validity.GetCapacity(), 0U);
    EXPECT_EQ(page.data[1].validity.GetSize(), 8U);
    EXPECT_TRUE(page.data[1].IsNull(60));
    EXPECT_FALSE(page.data[1].IsNull(63));
    EXPECT_FALSE(page.data[1].IsNull(64));
    const std::size_t before = page.GetByteSize();
    features.ShrinkToFit();
    EXPECT_EQ(page.data[1].validity.GetCapacity(), 8U);
    EXPECT_LT(page.GetByteSize(), before);
}

TEST(BFeatureAppenderAddNull, IsForgottenWithAnAbandonedRow)
{
    for (const std::uint32_t rowsBefore : {0U, 1U, 7U, 8U, 9U, 70U}) {
        BFeatureCollection features;
        BFeatureAppender appender(features, kEveryStorage);
        for (std::uint32_t row = 0; row < rowsBefore; ++row) {
            AddNulls(appender);
            appender.EndRow(EPointKind::XY, row, 0, 0, row);
        }
        AddNulls(appender);
        appender.AbandonRow();
        AddValues(appender);
        appender.EndRow(EPointKind::XY, 0, 0, 0, rowsBefore);
        for (std::size_t index = 0; index < kEveryStorage.size(); ++index) {
            const BColumnData& column = features.GetPage(0).data[index];
            EXPECT_EQ(column.CountNulls(rowsBefore + 1), rowsBefore);
            EXPECT_FALSE(column.IsNull(rowsBefore));
        }
        EXPECT_EQ(features.GetAt(rowsBefore)->GetAttributeValue(0), BVariant(std::int32_t{1}));
    }
}

TEST(BFeatureAppenderBeginRows, StoresNullsThatTheColumnsSay)
{
    BFeatureCollection features(64);
    BFeatureAppender appender(features, kNumberAndText);
    const std::vector<std::uint8_t> kinds(32, static_cast<std::uint8_t>(EPointKind::XY));
    std::uint32_t next = 0;
    for (int block = 0; block < 10; ++block) {
        const BFeatureAppender::Rows rows = appender.BeginRows(kinds.size(), false);
        for (std::size_t row = 0; row < rows.count; ++row) {
            rows.x[row] = rows.y[row] = 0;
            rows.columns[0].int32s[rows.firstRow + row] = 0;
            rows.columns[0].SetNull(rows.firstRow + row);
            AppendText(rows.columns[1].texts, "t", ETextEncoding::Ascii);
        }
        // Of every block the last rows are dropped: their nulls must not stay.
        const std::size_t ended = rows.count > 3 ? rows.count - 3 : rows.count;
        appender.EndRows(ended, kinds.data(), next);
        next += static_cast<std::uint32_t>(ended);
        appender.AbandonRow();
        appender.AddInt32(5);
        appender.AddText("t", ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, 0, 0, 0, next++);
    }
    std::size_t nulls = 0;
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        const BVariant value = features.GetAt(row)->GetAttributeValue(0);
        nulls += value.IsEmpty() ? 1U : 0U;
        EXPECT_TRUE(value.IsEmpty() || value == BVariant(std::int32_t{5})) << row;
    }
    EXPECT_EQ(nulls, features.GetCount() - 10);
}

TEST(BFeatureAppenderPrepareNextPage, MakesThePageThatFollowsOnce)
{
    constexpr std::size_t kPageRows = 8;
    BFeatureCollection features(kPageRows);
    BFeatureAppender appender(features, kNumberAndText);
    constexpr std::uint32_t kRows = 20;
    std::vector<std::size_t> prepared;
    for (std::uint32_t row = 0; row < kRows; ++row) {
        const std::size_t left = kRows - row;
        const std::vector<std::span<std::byte>> memory = appender.PrepareNextPage(left);
        if (!memory.empty()) {
            prepared.push_back(row);
            EXPECT_TRUE(appender.PrepareNextPage(left).empty());
            for (const std::span<std::byte> part : memory) {
                std::fill(part.begin(), part.end(), std::byte{0xFF});
            }
        }
        appender.AddInt32(static_cast<std::int32_t>(row));
        appender.AddText("text " + std::to_string(row), ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XYZ, row, 2, 3, row);
    }
    // In the middle of each page but the last one, after which nothing comes.
    EXPECT_EQ(prepared, (std::vector<std::size_t>{4, 12}));
    ASSERT_EQ(features.GetPageCount(), 3U);
    for (std::uint32_t row = 0; row < kRows; ++row) {
        const auto feature = features.GetAt(row);
        EXPECT_EQ(feature->GetAttributeValue(0), BVariant(static_cast<std::int32_t>(row)));
        EXPECT_EQ(feature->GetAttributeValue(1), BVariant(BString("text " + std::to_string(row))));
        EXPECT_EQ(feature->GetPoint()->GetX(), row);
    }
}

TEST(BFeatureAppenderPrepareNextPage, MakesNothingThatIsNotNeeded)
{
    BFeatureCollection onDisk(BString(), 8);
    BFeatureCollection inMemory(8);
    for (BFeatureCollection* features : {&onDisk, &inMemory}) {
        BFeatureAppender appender(*features, kNumberAndText);
        EXPECT_TRUE(appender.PrepareNextPage(100).empty());
        for (std::uint32_t row = 0; row < 6; ++row) {
            appender.AddInt32(7);
            appender.AddText("t", ETextEncoding::Ascii);
            appender.EndRow(EPointKind::XY, 1, 2, 0, row);
        }
        EXPECT_TRUE(appender.PrepareNextPage(0).empty());
        EXPECT_TRUE(appender.PrepareNextPage(2).empty()) << "this page has room for them";
        EXPECT_EQ(appender.PrepareNextPage(3).empty(), features == &onDisk);
    }
}

TEST(BFeatureAppender, KeepsAPrefixOfTheColumnsForAShortRow)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, kNumberAndText);
    const auto add = [&appender](std::size_t count, std::uint32_t number) {
        if (count > 0) {
            appender.AddInt32(static_cast<std::int32_t>(number));
        }
        if (count > 1) {
            appender.AddText("text", ETextEncoding::Ascii);
        }
        appender.EndRow(EPointKind::None, 0, 0, 0, number);
    };
    const std::vector<std::size_t> counts = {2, 2, 1, 0, 2, 1, 2};
    for (std::size_t i = 0; i < counts.size(); ++i) {
        add(counts[i], static_cast<std::uint32_t>(i));
    }
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const auto feature = features.GetAt(i);
        EXPECT_EQ(feature->GetAttributeCount(), counts[i]) << i;
        EXPECT_EQ(feature->GetAttributes().GetCount(), counts[i]) << i;
        EXPECT_THROW(static_cast<void>(feature->GetAttributeValue(counts[i])), std::out_of_range);
    }
    EXPECT_EQ(features.GetAt(5)->GetAttributeValue(0), BVariant(std::int32_t{5}));
    EXPECT_EQ(features.GetAt(6)->GetAttributeValue(1), BVariant(BString("text")));
}

TEST(BFeatureAppender, KeepsTheFirstRowShort)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, kNumberAndText);
    appender.EndRow(EPointKind::XY, 1, 1, 0, 1);
    appender.AddInt32(4);
    appender.AddText("x", ETextEncoding::Ascii);
    appender.EndRow(EPointKind::XY, 1, 1, 0, 2);
    EXPECT_EQ(features.GetAt(0)->GetAttributeCount(), 0U);
    EXPECT_EQ(features.GetAt(1)->GetAttributeCount(), 2U);
}

TEST(BFeatureAppender, KeepsWhichPointsExistAndWhichHaveAHeight)
{
    const std::vector<EPointKind> kinds = {EPointKind::XY,
                                           EPointKind::XY,
                                           EPointKind::None,
                                           EPointKind::XYZ,
                                           EPointKind::XY,
                                           EPointKind::None,
                                           EPointKind::XYZ};
    for (std::size_t first = 0; first < kinds.size(); ++first) {
        BFeatureCollection features;
        BFeatureAppender appender(features, {});
        for (std::size_t i = first; i < kinds.size(); ++i) {
            appender.EndRow(kinds[i], static_cast<double>(i), kNaN, 9, 0);
        }
        for (std::size_t i = first; i < kinds.size(); ++i) {
            const auto feature = features.GetAt(i - first);
            const BPointGeo* point = feature->GetPoint();
            ASSERT_EQ(point != nullptr, kinds[i] != EPointKind::None) << i;
            if (point != nullptr) {
                EXPECT_EQ(point->GetX(), static_cast<double>(i));
                EXPECT_TRUE(std::isnan(point->GetY()));
                EXPECT_EQ(point->HasZ(), kinds[i] == EPointKind::XYZ);
            }
            EXPECT_EQ(features.GetPage(0).GetPointKind(i - first), kinds[i]);
        }
    }
}

TEST(BFeatureAppender, StoresConsecutiveNumbersAsRuns)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {});
    for (const std::uint32_t number : {1U, 2U, 3U, 7U, 8U, 8U, 0U, 4294967295U, 0U}) {
        appender.EndRow(EPointKind::None, 0, 0, 0, number);
    }
    appender.EndRow(EPointKind::None, 0, 0, 0, "1", ETextEncoding::Ascii);
    EXPECT_EQ(NamesOf(features),
              (std::vector<BString>{"1", "2", "3", "7", "8", "8", "0", "4294967295", "0", "1"}));
    EXPECT_FALSE(features.GetPage(0).HasNameTexts());
    EXPECT_EQ(features.GetPage(0).nameRuns.size(), 6U);
}

TEST(BFeatureAppender, SwitchesToTextsAtTheFirstOtherName)
{
    for (const char* odd : {"", "07", "+7", "-1", " 7", "7 ", "4294967296", "99999999999", "x"}) {
        BFeatureCollection features;
        BFeatureAppender appender(features, {});
        appender.EndRow(EPointKind::XY, 0, 0, 0, "5", ETextEncoding::Latin1);
        appender.EndRow(EPointKind::XY, 0, 0, 0, 6);
        EXPECT_FALSE(features.GetPage(0).HasNameTexts());
        appender.EndRow(EPointKind::XY, 0, 0, 0, odd, ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, 0, 0, 0, 7);
        appender.EndRow(EPointKind::XY, 0, 0, 0, "8", ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, 0, 0, 0, "\xC3\xA9", ETextEncoding::Utf8);
        EXPECT_TRUE(features.GetPage(0).HasNameTexts()) << odd;
        EXPECT_EQ(NamesOf(features),
                  (std::vector<BString>{"5", "6", odd, "7", "8", BString(u"\u00E9")}));
    }
}

TEST(BFeatureAppender, DropsAnAbandonedRow)
{
    for (const std::size_t rowsBefore : {std::size_t{0}, std::size_t{1}, std::size_t{70}}) {
        BFeatureCollection features;
        BFeatureAppender appender(features, kNumberAndText);
        const auto add = [&appender](std::int32_t number) {
            appender.AddInt32(number);
            appender.AddText("text " + std::to_string(number), ETextEncoding::Ascii);
            appender.EndRow(EPointKind::XY, number, 0, 0, static_cast<std::uint32_t>(number));
        };
        for (std::size_t i = 0; i < rowsBefore; ++i) {
            add(static_cast<std::int32_t>(i));
        }
        appender.AddInt32(-1);
        appender.AddText("abandoned \xC3\xA9", ETextEncoding::Utf8);
        appender.AbandonRow();
        appender.AbandonRow();
        EXPECT_EQ(features.GetCount(), rowsBefore);
        add(static_cast<std::int32_t>(rowsBefore));
        ASSERT_EQ(features.GetCount(), rowsBefore + 1);
        for (std::size_t i = 0; i <= rowsBefore; ++i) {
            const auto feature = features.GetAt(i);
            EXPECT_EQ(feature->GetName(), BString::FromInteger(static_cast<std::int64_t>(i)));
            EXPECT_EQ(feature->GetAttributeValue(0), BVariant(static_cast<std::int32_t>(i)));
            EXPECT_EQ(feature->GetAttributeValue(1),
                      BVariant(BString("text " + std::to_string(i))));
        }
        EXPECT_EQ(features.GetPage(0).nameRuns.size(), 1U);
    }
}

TEST(BFeatureAppender, KeepsTheEarlierRowsWhenARowFails)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, kNumberAndText);
    const auto add = [&appender](std::int32_t number) {
        appender.AddInt32(number);
        appender.AddText("text", ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, number, 0, 0, static_cast<std::uint32_t>(number));
    };
    add(0);
    // Both are refused for their length alone, before a byte of them is read.
    const std::string_view tooLong("x", std::size_t{0xFFFFFFFF});
    appender.AddInt32(1);
    EXPECT_THROW(appender.AddText(tooLong, ETextEncoding::Ascii), BIndexOutOfBoundsException);
    EXPECT_EQ(features.GetCount(), 1U);
    appender.AbandonRow();
    add(1);
    appender.AddInt32(2);
    appender.EndRow(EPointKind::None, 0, 0, 0, "n", ETextEncoding::Ascii);
    EXPECT_THROW(appender.EndRow(EPointKind::XYZ, 1, 2, 3, tooLong, ETextEncoding::Ascii),
                 BIndexOutOfBoundsException);
    EXPECT_EQ(features.GetCount(), 3U);
    appender.AbandonRow();
    add(3);
    EXPECT_EQ(NamesOf(features), (std::vector<BString>{"0", "1", "n", "3"}));
    EXPECT_EQ(features.GetAt(2)->GetAttributeCount(), 1U);
    EXPECT_EQ(features.GetAt(2)->GetPoint(), nullptr);
    EXPECT_EQ(features.GetAt(3)->GetPoint()->GetX(), 3);
    EXPECT_EQ(features.GetAt(3)->GetAttributeValue(1), BVariant(BString("text")));
}

TEST(BFeatureAppender, DropsTheUnfinishedRowAtItsEnd)
{
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, kNumberAndText);
        appender.AddInt32(1);
        appender.EndRow(EPointKind::None, 0, 0, 0, 1);
        appender.AddInt32(2);
    }
    {
        BFeatureAppender appender(features, kNumberAndText);
        appender.AddInt32(3);
        appender.EndRow(EPointKind::None, 0, 0, 0, 2);
    }
    ASSERT_EQ(features.GetCount(), 2U);
    EXPECT_EQ(features.GetPageCount(), 1U);
    EXPECT_EQ(features.GetAt(1)->GetAttributeValue(0), BVariant(std::int32_t{3}));
    EXPECT_EQ(features.GetAt(1)->GetName(), BString("2"));
}

TEST(BFeatureAppender, FillsPageAfterPage)
{
    for (const std::size_t pageRows : {std::size_t{1}, std::size_t{2}, std::size_t{7}}) {
        BFeatureCollection features(pageRows);
        BFeatureAppender appender(features, kNumberAndText);
        for (std::uint32_t i = 0; i < 21; ++i) {
            EXPECT_EQ(features.GetPageCount(), (i + pageRows - 1) / pageRows);
            appender.AddInt32(static_cast<std::int32_t>(i));
            if (i % 5 != 0) {
                appender.AddText(i % 3 == 0 ? "\xE9" : "e", ETextEncoding::Latin1);
            }
            if (i % 4 == 0) {
                appender.EndRow(
                    EPointKind::XY, i, i, 0, "n" + std::to_string(i), ETextEncoding::Ascii);
            } else {
                appender.EndRow(EPointKind::XYZ, i, i, i, i);
            }
        }
        ASSERT_EQ(features.GetCount(), 21U);
        std::size_t row = 0;
        for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
            EXPECT_EQ(features.GetFirstRow(page), row);
            row += features.GetPage(page).GetRowCount();
        }
        EXPECT_EQ(row, 21U);
        for (std::size_t i = 21; i-- > 0;) {
            const auto feature = features.GetAt(i);
            const BString number = BString::FromInteger(static_cast<std::int64_t>(i));
            EXPECT_EQ(feature->GetName(), i % 4 == 0 ? BString("n") + number : number);
            EXPECT_EQ(feature->GetAttributeCount(), i % 5 == 0 ? 1U : 2U);
            EXPECT_EQ(feature->GetPoint()->HasZ(), i % 4 != 0);
            if (i % 5 != 0) {
                EXPECT_EQ(feature->GetAttributeValue(1).GetString(),
                          BString(i % 3 == 0 ? u"\u00E9" : u"e"));
            }
        }
        EXPECT_THROW(static_cast<void>(features.GetPage(features.GetPageCount())),
                     std::out_of_range);
        EXPECT_THROW(static_cast<void>(features.GetFirstRow(features.GetPageCount())),
                     std::out_of_range);
    }
}

TEST(BFeatureAppender, BeginsAPageForOtherColumns)
{
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, {{"a", EVariantType::Int32}});
        appender.AddInt32(1);
        appender.EndRow(EPointKind::None, 0, 0, 0, 1);
    }
    {
        BFeatureAppender unused(features, {{"z", EVariantType::Int32}});
    }
    EXPECT_EQ(features.GetPageCount(), 1U);
    {
        BFeatureAppender appender(features, {{"b", EVariantType::Int32}});
        appender.AddInt32(2);
        appender.EndRow(EPointKind::None, 0, 0, 0, 2);
    }
    EXPECT_EQ(features.GetPageCount(), 2U);
    EXPECT_EQ(features.GetAt(0)->GetAttributeName(0), BString("a"));
    EXPECT_EQ(features.GetAt(1)->GetAttributeName(0), BString("b"));
}

TEST(BFeatureAppender, GivesEarlierRowsOneAttributeLessThanANewColumn)
{
    for (const std::size_t rowsBefore :
         {std::size_t{0}, std::size_t{1}, std::size_t{100}, std::size_t{5000}}) {
        for (const bool isInRow : {false, true}) {
            BFeatureCollection features;
            BFeatureAppender appender(features, {{"a", EVariantType::Int32}});
            for (std::size_t i = 0; i < rowsBefore; ++i) {
                appender.AddInt32(static_cast<std::int32_t>(i));
                appender.EndRow(EPointKind::XY, 1, 2, 0, static_cast<std::uint32_t>(i));
            }
            if (isInRow) {
                appender.AddInt32(-7);
            }
            appender.AddColumn({"b", EVariantType::String});
            appender.AddColumn({"c", EVariantType::Double});
            if (!isInRow) {
                appender.AddInt32(-7);
            }
            appender.AddText("late", ETextEncoding::Ascii);
            appender.AddDouble(2.5);
            appender.EndRow(EPointKind::XY, 3, 4, 0, static_cast<std::uint32_t>(rowsBefore));
            ASSERT_EQ(features.GetCount(), rowsBefore + 1);
            for (std::size_t i = 0; i < rowsBefore; ++i) {
                ASSERT_EQ(features.GetAt(i)->GetAttributeCount(), 1U);
                ASSERT_EQ(features.GetAt(i)->GetAttributeValue(0),
                          BVariant(static_cast<std::int32_t>(i)));
            }
            const auto last = features.GetAt(rowsBefore);
            ASSERT_EQ(last->GetAttributeCount(), 3U);
            EXPECT_EQ(last->GetAttributeValue(0), BVariant(std::int32_t{-7}));
            EXPECT_EQ(last->GetAttributeValue(1), BVariant(BString("late")));
            EXPECT_EQ(last->GetAttributeValue(2), BVariant(2.5));
            EXPECT_EQ(last->GetAttributeName(2), BString("c"));
        }
    }
}

TEST(BFeatureAppender, EndsALongPageForManyColumnsInsteadOfFillingItsRows)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {{"a", EVariantType::Int32}});
    for (std::uint32_t row = 0; row < 100; ++row) {
        appender.AddInt32(1);
        appender.EndRow(EPointKind::None, 0, 0, 0, row);
    }
    const std::vector<Orvane::BColumnInfo> added(1000, {"b", EVariantType::String});
    appender.AddColumns(added);
    appender.AddInt32(1);
    for (std::size_t column = 0; column < added.size(); ++column) {
        appender.AddText("b", ETextEncoding::Ascii);
    }
    appender.EndRow(EPointKind::None, 0, 0, 0, 100);
    ASSERT_EQ(features.GetPageCount(), 2U);
    EXPECT_EQ(features.GetPage(0).columns->size(), 1U);
    EXPECT_EQ(features.GetAt(99)->GetAttributeCount(), 1U);
    EXPECT_EQ(features.GetAt(100)->GetAttributeCount(), 1001U);
    EXPECT_EQ(features.GetAt(100)->GetAttributeValue(1000), BVariant(BString("b")));
}

TEST(BFeatureAppender, GivesRowsOfVeryDifferentLengthsPagesOfTheirOwn)
{
    constexpr std::uint32_t kWide = 2000;
    constexpr std::uint32_t kRows = 20000;
    const auto countOf = [](std::uint32_t row) {
        return row == 7 || row == 12000 || row == 12001 ? kWide : row % 3;
    };
    BFeatureCollection features;
    std::vector<Orvane::BColumnInfo> columns;
    for (std::uint32_t column = 0; column < kWide; ++column) {
        columns.push_back({BString::Format("c%d", column), EVariantType::Int32});
    }
    BFeatureAppender appender(features, columns);
    for (std::uint32_t row = 0; row < kRows; ++row) {
        appender.BeginRow(countOf(row));
        for (std::uint32_t column = 0; column < countOf(row); ++column) {
            appender.AddInt32(static_cast<std::int32_t>(row + column));
        }
        appender.EndRow(EPointKind::None, 0, 0, 0, row);
    }
    // Rows of a block have all columns.
    const BFeatureAppender::Rows block = appender.BeginRows(2, false);
    ASSERT_EQ(block.count, 2U);
    for (std::uint32_t column = 0; column < kWide; ++column) {
        std::fill_n(block.columns[column].int32s.Data() + block.firstRow, 2, 5);
    }
    std::fill_n(block.x, 2, kNaN);
    std::fill_n(block.y, 2, kNaN);
    const std::uint8_t kinds[2] = {};
    appender.EndRows(2, kinds, kRows);

    ASSERT_EQ(features.GetCount(), kRows + 2U);
    for (std::uint32_t row = 0; row < kRows; ++row) {
        const BSharedPtr<BFeature> feature = features.GetAt(row);
        ASSERT_EQ(feature->GetAttributeCount(), countOf(row)) << row;
        for (std::uint32_t column = 0; column < countOf(row); ++column) {
            ASSERT_EQ(feature->GetAttributeValue(column),
                      BVariant(static_cast<std::int32_t>(row + column)))
                << row << ' ' << column;
        }
    }
    EXPECT_EQ(features.GetAt(kRows + 1)->GetAttributeValue(kWide - 1), BVariant(std::int32_t{5}));
    EXPECT_LE(features.GetPageCount(), 8U);
    std::size_t bytes = 0;
    for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
        bytes += features.GetPage(page).GetByteSize();
    }
    // In one page they would need 160 MB.
    EXPECT_LT(bytes, 8000000U);
}

/// Appends rows of all kinds of points, one by one or in blocks of up to `blockRows`.
void AppendBlocks(BFeatureCollection& features, std::size_t blockRows, bool hasMixedKinds)
{
    constexpr std::uint32_t kRows = 200;
    BFeatureAppender appender(features, kNumberAndText);
    const auto kindOf = [hasMixedKinds](std::uint32_t number) {
        return hasMixedKinds ? static_cast<EPointKind>(number / 30 % 3) : EPointKind::XYZ;
    };
    std::uint32_t number = 0;
    while (number < kRows) {
        if (number % 70 == 40) {
            appender.AddInt32(-1);
            appender.EndRow(kindOf(number), number, 1, 2, "odd", ETextEncoding::Ascii);
            ++number;
            continue;
        }
        const std::uint32_t nextOdd = number + (110 - number % 70) % 70;
        const std::size_t left = std::min(kRows, nextOdd) - number;
        const auto rows = appender.BeginRows(std::min(left, blockRows), true);
        ASSERT_GE(rows.count, 1U);
        ASSERT_LE(rows.count, std::min(left, blockRows));
        std::vector<std::uint8_t> kinds;
        for (std::size_t row = 0; row < rows.count; ++row) {
            const std::uint32_t rowNumber = number + static_cast<std::uint32_t>(row);
            const EPointKind kind = kindOf(rowNumber);
            kinds.push_back(static_cast<std::uint8_t>(kind));
            rows.x[row] = kind == EPointKind::None ? kNaN : rowNumber;
            rows.y[row] = kind == EPointKind::None ? kNaN : 1;
            rows.z[row] = kind == EPointKind::XYZ ? 2 : kNaN;
            rows.columns[0].int32s[rows.firstRow + row] = static_cast<std::int32_t>(rowNumber);
            AppendText(rows.columns[1].texts, std::to_string(rowNumber), ETextEncoding::Ascii);
        }
        const std::size_t ended = rows.count > 2 ? rows.count - 1 : rows.count;
        appender.EndRows(ended, kinds.data(), number);
        number += static_cast<std::uint32_t>(ended);
        if (ended < rows.count) {
            appender.AbandonRow();
        }
    }
}

TEST(BFeatureAppenderReserveRows, KeepsArraysInTheirPlaceWhileTheyGrow)
{
    BFeatureCollection features(4096);
    BFeatureAppender appender(features, kNumberAndText);
    // More rows than fit the page are as many as fit.
    appender.ReserveRows(1000000, true);
    const BFeatureAppender::Rows first = appender.BeginRows(1, true);
    const double* const z = first.z;
    const std::int32_t* const numbers = first.columns[0].int32s.Data();
    appender.AbandonRow();
    for (std::uint32_t row = 0; row < 4095; ++row) {
        appender.AddInt32(static_cast<std::int32_t>(row));
        appender.AddText("x", ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XYZ, 1, 2, 3, row + 1);
    }
    EXPECT_EQ(features.GetPage(0).z.Data(), z);
    EXPECT_EQ(features.GetPage(0).data[0].int32s.Data(), numbers);
    EXPECT_EQ(features.GetCount(), 4095U);
}

TEST(BFeatureAppenderEndRows, EndsNothingForAnEmptyPart)
{
    // The first row's kind and name are those of the part that is not empty.
    for (const bool isEmptyFirst : {true, false}) {
        BFeatureCollection features;
        BFeatureAppender appender(features, {{"a", EVariantType::Int32}});
        const auto rows = appender.BeginRows(1, false);
        rows.x[0] = rows.y[0] = kNaN;
        rows.columns[0].int32s[rows.firstRow] = 7;
        const std::vector<std::uint8_t> kinds = {static_cast<std::uint8_t>(EPointKind::None)};
        if (isEmptyFirst) {
            appender.EndRows(0, nullptr, 99);
        }
        appender.EndRows(1, kinds.data(), 5);
        appender.EndRows(0, nullptr, 99);
        appender.AddInt32(8);
        appender.EndRow(EPointKind::XY, 1, 2, 0, 6);
        ASSERT_EQ(features.GetCount(), 2U);
        EXPECT_EQ(features.GetAt(0)->GetName(), BString("5"));
        EXPECT_EQ(features.GetAt(0)->GetPoint(), nullptr);
        EXPECT_EQ(features.GetAt(0)->GetAttributeValue(0), BVariant(std::int32_t{7}));
        EXPECT_EQ(features.GetAt(1)->GetName(), BString("6"));
        EXPECT_EQ(features.GetAt(1)->GetAttributeValue(0), BVariant(std::int32_t{8}));
    }
}

TEST(BFeatureAppenderBeginRows, StoresBlocksAsItStoresSingleRows)
{
    for (const bool hasMixedKinds : {false, true}) {
        for (const std::size_t pageRows : {std::size_t{1}, std::size_t{16}, std::size_t{1000}}) {
            for (const std::size_t blockRows : {std::size_t{1}, std::size_t{7}, std::size_t{64}}) {
                BFeatureCollection features(pageRows);
                AppendBlocks(features, blockRows, hasMixedKinds);
                ASSERT_EQ(features.GetCount(), 200U);
                EXPECT_EQ(features.GetPageCount(), (200 + pageRows - 1) / pageRows);
                for (std::size_t i = 0; i < 200; ++i) {
                    const auto feature = features.GetAt(i);
                    const bool isOdd = i % 70 == 40;
                    const auto number = BString::FromInteger(static_cast<std::int64_t>(i));
                    const auto kind =
                        hasMixedKinds ? static_cast<EPointKind>(i / 30 % 3) : EPointKind::XYZ;
                    ASSERT_EQ(feature->GetName(), isOdd ? BString("odd") : number);
                    ASSERT_EQ(feature->GetAttributeCount(), isOdd ? 1U : 2U);
                    ASSERT_EQ(feature->GetAttributeValue(0).GetInteger(),
                              isOdd ? -1 : static_cast<std::int32_t>(i));
                    ASSERT_EQ(feature->GetPoint() != nullptr, kind != EPointKind::None);
                    if (kind != EPointKind::None) {
                        ASSERT_EQ(feature->GetPoint()->GetX(), static_cast<double>(i));
                        ASSERT_EQ(feature->GetPoint()->HasZ(), kind == EPointKind::XYZ);
                    }
                    if (kind == EPointKind::XYZ) {
                        ASSERT_EQ(feature->GetPoint()->GetZ(), 2);
                    }
                    if (!isOdd) {
                        ASSERT_EQ(feature->GetAttributeValue(1), BVariant(number));
                    }
                }
            }
        }
    }
}

TEST(BFeatureAppenderFindRoom, KeepsWhatIsFilledBeforeTheRowsAreBegun)
{
    constexpr std::size_t kPageRows = 32;
    constexpr std::size_t kBlock = 5;
    constexpr std::size_t kBlocks = 20;
    BFeatureCollection features(kPageRows);
    BFeatureAppender appender(features, kNumberAndText);
    appender.ReserveRows(kBlocks * kBlock, true);
    const std::vector<std::uint8_t> kinds(kBlock, static_cast<std::uint8_t>(EPointKind::XYZ));
    std::size_t found = 0;
    std::uint32_t number = 0;
    // Three blocks of rows at a time, filled from the last to the first where there is room.
    for (std::size_t block = 0; block + 3 <= kBlocks; block += 3) {
        std::vector<BFeatureAppender::Rows> rooms(3);
        for (std::size_t ahead = 3; ahead-- > 0;) {
            BFeatureAppender::Rows& room = rooms[ahead];
            room = appender.FindRoom(ahead * kBlock, kBlock, true);
            for (std::size_t row = 0; row < room.count; ++row) {
                const std::size_t value = number + ahead * kBlock + row;
                room.x[row] = static_cast<double>(value);
                room.y[row] = 1;
                room.z[row] = 2;
                room.columns[0].int32s.Data()[room.firstRow + row] =
                    static_cast<std::int32_t>(value);
            }
        }
        for (std::size_t ahead = 0; ahead < 3; ++ahead) {
            for (std::size_t done = 0; done < kBlock;) {
                const BFeatureAppender::Rows rows = appender.BeginRows(kBlock - done, true);
                if (rooms[ahead].count > 0) {
                    ++found;
                    ASSERT_EQ(rows.count, kBlock);
                    ASSERT_EQ(rows.x, rooms[ahead].x);
                }
                for (std::size_t row = 0; row < rows.count; ++row) {
                    const std::uint32_t value = number + static_cast<std::uint32_t>(row);
                    if (rooms[ahead].count == 0) {
                        rows.x[row] = value;
                        rows.y[row] = 1;
                        rows.z[row] = 2;
                        rows.columns[0].int32s[rows.firstRow + row] =
                            static_cast<std::int32_t>(value);
                    }
                    AppendText(rows.columns[1].texts, std::to_string(value), ETextEncoding::Ascii);
                }
                appender.EndRows(rows.count, kinds.data(), number);
                number += static_cast<std::uint32_t>(rows.count);
                done += rows.count;
            }
        }
    }
    EXPECT_GT(found, 5U);
    ASSERT_EQ(features.GetCount(), number);
    for (std::uint32_t row = 0; row < number; ++row) {
        const auto feature = features.GetAt(row);
        ASSERT_EQ(feature->GetPoint()->GetX(), row);
        ASSERT_EQ(feature->GetPoint()->GetZ(), 2);
        ASSERT_EQ(feature->GetAttributeValue(0), BVariant(static_cast<std::int32_t>(row)));
        ASSERT_EQ(feature->GetAttributeValue(1), BVariant(BString(std::to_string(row))));
    }
}

TEST(BFeatureAppenderFindRoom, FindsNoneWhereMemoryMightMove)
{
    BFeatureCollection onDisk(BString(), 8);
    BFeatureCollection inMemory(8);
    for (BFeatureCollection* features : {&onDisk, &inMemory}) {
        BFeatureAppender appender(*features, kNumberAndText);
        EXPECT_EQ(appender.FindRoom(0, 1, false).count, 0U) << "nothing is reserved";
        appender.ReserveRows(6, false);
        const bool isInMemory = features == &inMemory;
        EXPECT_EQ(appender.FindRoom(1, 5, false).count, isInMemory ? 5U : 0U);
        EXPECT_EQ(appender.FindRoom(1, 6, false).count, 0U);
        EXPECT_EQ(appender.FindRoom(0, 1, true).count, 0U) << "no room for a Z";
        appender.ReserveRows(100, false);
        EXPECT_EQ(appender.FindRoom(0, 8, false).count, isInMemory ? 8U : 0U);
        EXPECT_EQ(appender.FindRoom(0, 9, false).count, 0U) << "the page ends before";
        appender.AddColumn({"more", EVariantType::Double});
        EXPECT_EQ(appender.FindRoom(0, 1, false).count, 0U) << "a column without room";
    }
}

TEST(BFeatureAppender, CostsASmallLayerLittle)
{
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, {{"a", EVariantType::Double}});
        for (std::uint32_t i = 0; i < 200; ++i) {
            appender.AddDouble(i);
            appender.EndRow(EPointKind::XY, i, i, 0, i);
        }
    }
    EXPECT_LT(features.GetByteSize(), 12000U);
    features.ShrinkToFit();
    EXPECT_LT(features.GetByteSize(), 7000U);
    EXPECT_EQ(features.GetAt(199)->GetAttributeValue(0), BVariant(199.0));
}

TEST(BFeatureAppender, GivesBackWhatTheLastPageReserved)
{
    BFeatureCollection features;
    constexpr std::uint32_t kRows = 65536 + 10;
    {
        BFeatureAppender appender(features, {{"a", EVariantType::Double}});
        for (std::uint32_t i = 0; i < kRows; ++i) {
            appender.AddDouble(i);
            appender.EndRow(EPointKind::XY, i, i, 0, i);
        }
    }
    ASSERT_EQ(features.GetPageCount(), 2U);
    features.ShrinkToFit();
    EXPECT_LT(features.GetByteSize(), kRows * 24U + 4000U);
    BFeatureAppender appender(features, {{"a", EVariantType::Double}});
    appender.AddDouble(-1);
    appender.EndRow(EPointKind::XY, 0, 0, 0, kRows);
    EXPECT_EQ(features.GetPageCount(), 2U);
    EXPECT_EQ(features.GetAt(kRows)->GetAttributeValue(0), BVariant(-1.0));
}

} // namespace

} // namespace Orvane
