// Features handed out, changed, added and kept by a collection.
#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Orvane {

namespace {

/// A feature class of its own, which a store of values cannot give back.
class NamedFeature : public BFeature
{};

BSharedPtr<BFeature> MakeFeature(std::int32_t number)
{
    auto feature = MakeShared<BFeature>();
    feature->SetName(BString::FromInteger(number));
    feature->SetGeometry(MakeShared<BPointGeo>(number, -number));
    feature->SetMBR(feature->GetPoint()->GetMBB());
    BAttributes attributes;
    attributes.Add("number", BVariant(number));
    attributes.Add("text", BVariant(BString("text ") + BString::FromInteger(number)));
    feature->SetAttributes(attributes);
    return feature;
}

void ExpectFeature(const BFeature& feature, std::int32_t number)
{
    EXPECT_EQ(feature.GetName(), BString::FromInteger(number));
    ASSERT_NE(feature.GetPoint(), nullptr);
    EXPECT_EQ(feature.GetGeometry(), feature.GetPoint());
    EXPECT_EQ(feature.GetPoint()->GetX(), number);
    EXPECT_FALSE(feature.GetPoint()->HasZ());
    EXPECT_EQ(feature.GetMBB().minX, number);
    EXPECT_EQ(feature.GetMBB().maxY, -number);
    ASSERT_EQ(feature.GetAttributes().GetCount(), 2U);
    EXPECT_EQ(feature.GetAttributes().GetNameAt(0), BString("number"));
    EXPECT_EQ(feature.GetAttributes().GetValueAt(0), BVariant(number));
    EXPECT_EQ(feature.GetAttributeValue(1),
              BVariant(BString("text ") + BString::FromInteger(number)));
}

void AddMany(BFeatureCollection& features, std::int32_t count)
{
    for (std::int32_t i = 0; i < count; ++i) {
        features.Add(MakeFeature(i));
    }
}

TEST(BFeatureCollectionAdd, StoresRegularFeaturesByValue)
{
    BFeatureCollection features(50);
    AddMany(features, 200);
    ASSERT_EQ(features.GetCount(), 200U);
    EXPECT_EQ(features.GetObjectRowCount(), 0U);
    EXPECT_EQ(features.GetPageCount(), 4U);
    EXPECT_FALSE(features.GetPage(0).HasNameTexts());
    EXPECT_EQ(features.GetPage(0).nameRuns.size(), 1U);
    EXPECT_EQ(features.GetPage(3).data[1].texts.encoding, ETextEncoding::Ascii);
    for (std::int32_t i = 199; i >= 0; --i) {
        ExpectFeature(*features.GetAt(static_cast<std::size_t>(i)), i);
    }
}

TEST(BFeatureCollectionGetAt, LeavesNamesThatTheCallerKeepsAsTheyWere)
{
    BFeatureCollection features;
    BFeatureAppender appender(features, {});
    for (std::uint32_t number = 9; number < 12; ++number) {
        appender.EndRow(EPointKind::None, 0, 0, 0, number);
    }
    std::vector<BString> names;
    for (std::size_t row = 0; row < 3; ++row) {
        names.push_back(features.GetAt(row)->GetName());
    }
    EXPECT_EQ(names, (std::vector<BString>{"9", "10", "11"}));
}

TEST(BFeatureCollectionAdd, AttachesTheFeature)
{
    BFeatureCollection features;
    const auto first = MakeFeature(0);
    const BAttributes& attributes = first->GetAttributes();
    features.Add(first);
    EXPECT_TRUE(first->IsAttached());
    EXPECT_EQ(&first->GetAttributes(), &attributes);
    AddMany(features, 100);
    EXPECT_EQ(features.GetAt(0).Get(), first.Get());
    ExpectFeature(*first, 0);
    first->SetName("changed");
    EXPECT_EQ(features.GetObjectRow(0), first.Get());
    EXPECT_EQ(features.GetAt(0)->GetName(), BString("changed"));
}

TEST(BFeatureCollectionAdd, RefusesNullAndAFeatureOfALayer)
{
    BFeatureCollection features;
    try {
        features.Add(nullptr);
        FAIL() << "nothing was thrown";
    } catch (const BDataManagerException& exception) {
        EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::Add"));
        EXPECT_EQ(exception.GetMessage(), BString("There is no feature to add."));
    }
    const auto feature = MakeFeature(1);
    features.Add(feature);
    BFeatureCollection others;
    for (BFeatureCollection* collection : {&features, &others}) {
        try {
            collection->Add(feature);
            FAIL() << "nothing was thrown";
        } catch (const BDataManagerException& exception) {
            EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::Add"));
            EXPECT_EQ(exception.GetMessage(), BString("The feature belongs to a layer already."));
        }
    }
    EXPECT_EQ(features.GetCount(), 1U);
    EXPECT_EQ(others.GetCount(), 0U);
}

TEST(BFeatureCollectionAdd, KeepsIrregularFeaturesAsObjects)
{
    BFeatureCollection features;
    AddMany(features, 3);
    std::vector<BSharedPtr<BFeature>> odd;
    odd.push_back(MakeFeature(3));
    odd.back()->SetMBR(BMBB());
    odd.push_back(MakeFeature(4));
    BMBB flat = odd.back()->GetMBB();
    flat.minZ = flat.maxZ = 0;
    odd.back()->SetMBR(flat);
    odd.push_back(MakeFeature(5));
    BAttributes attributes;
    attributes.Add("number", BVariant(5.0));
    odd.back()->SetAttributes(attributes);
    odd.push_back(MakeFeature(6));
    attributes.Clear();
    attributes.Add("other", BVariant(std::int32_t{6}));
    odd.back()->SetAttributes(attributes);
    odd.push_back(MakeFeature(7));
    attributes.Clear();
    attributes.Add("another", BVariant());
    odd.back()->SetAttributes(attributes);
    odd.emplace_back(MakeShared<NamedFeature>());
    for (const auto& feature : odd) {
        features.Add(feature);
    }
    AddMany(features, 3);
    ASSERT_EQ(features.GetCount(), 12U);
    EXPECT_EQ(features.GetObjectRowCount(), 6U);
    EXPECT_EQ(features.GetPageCount(), 1U);
    EXPECT_TRUE(features.GetPage(0).pointKinds.IsEmpty());
    EXPECT_TRUE(features.GetPage(0).attributeCounts.IsEmpty());
    for (std::size_t i = 0; i < odd.size(); ++i) {
        EXPECT_EQ(features.GetObjectRow(3 + i), odd[i].Get());
        EXPECT_EQ(features.GetAt(3 + i).Get(), odd[i].Get());
        EXPECT_TRUE(odd[i]->IsAttached());
    }
    EXPECT_TRUE(features.GetAt(3)->GetMBB().IsEmpty());
    EXPECT_EQ(features.GetAt(5)->GetAttributeValue(0), BVariant(5.0));
    EXPECT_EQ(features.GetAt(6)->GetAttributeName(0), BString("other"));
    EXPECT_TRUE(features.GetAt(7)->GetAttributeValue(0).IsEmpty());
    ExpectFeature(*features.GetAt(11), 2);
    EXPECT_EQ(features.GetObjectRow(0), nullptr);
    EXPECT_THROW(static_cast<void>(features.GetObjectRow(12)), std::out_of_range);
}

TEST(BFeatureCollectionAdd, StoresShortAndLongerFeaturesByValue)
{
    BFeatureCollection features;
    AddMany(features, 2);
    auto shorter = MakeFeature(2);
    BAttributes attributes;
    attributes.Add("number", BVariant(std::int32_t{2}));
    shorter->SetAttributes(attributes);
    features.Add(shorter);
    auto longer = MakeFeature(3);
    attributes = longer->GetAttributes();
    attributes.Add("more", BVariant(true));
    longer->SetAttributes(attributes);
    features.Add(longer);
    shorter.Reset();
    longer.Reset();
    AddMany(features, 1);
    EXPECT_EQ(features.GetObjectRowCount(), 0U);
    ExpectFeature(*features.GetAt(0), 0);
    EXPECT_EQ(features.GetAt(2)->GetAttributeCount(), 1U);
    ASSERT_EQ(features.GetAt(3)->GetAttributeCount(), 3U);
    EXPECT_EQ(features.GetAt(3)->GetAttributeValue(2), BVariant(true));
    ExpectFeature(*features.GetAt(4), 0);
}

TEST(BFeatureCollectionAdd, StoresNoValueByValueInAColumnThatIsThere)
{
    BFeatureCollection features;
    AddMany(features, 2);
    const auto feature = MakeFeature(2);
    feature->SetAttributeValue(0, BVariant());
    feature->SetAttributeValue(1, BVariant());
    features.Add(feature);
    AddMany(features, 1);
    EXPECT_EQ(features.GetObjectRowCount(), 0U);
    const BFeaturePage& page = features.GetPage(0);
    EXPECT_TRUE(page.data[0].IsNull(2));
    EXPECT_TRUE(page.data[1].IsNull(2));
    EXPECT_FALSE(page.data[0].IsNull(3));
    EXPECT_TRUE(features.GetAt(2)->GetAttributeValue(0).IsEmpty());
    EXPECT_TRUE(features.GetAt(2)->GetAttributes().GetValueAt(1).IsEmpty());
    ExpectFeature(*features.GetAt(3), 0);
}

TEST(BFeatureCollectionAdd, KeepsTheNullsOfARowThatMovesToAnotherLayer)
{
    BFeatureCollection features;
    {
        BFeatureAppender appender(
            features, {{"number", EVariantType::Int32}, {"text", EVariantType::String}});
        for (std::uint32_t row = 0; row < 3; ++row) {
            appender.AddInt32(7);
            if (row == 1) {
                appender.AddNull();
            } else {
                appender.AddText({}, ETextEncoding::Ascii);
            }
            appender.EndRow(EPointKind::None, 0, 0, 0, row);
        }
    }
    BFeatureCollection others;
    for (std::size_t row = 0; row < 3; ++row) {
        const auto copy = MakeShared<BFeature>();
        copy->SetAttributes(features.GetAt(row)->GetAttributes());
        others.Add(copy);
        EXPECT_EQ(others.GetAt(row)->GetAttributes(), features.GetAt(row)->GetAttributes()) << row;
    }
    EXPECT_EQ(others.GetObjectRowCount(), 0U);
    EXPECT_TRUE(others.GetAt(1)->GetAttributeValue(1).IsEmpty());
    EXPECT_EQ(others.GetAt(2)->GetAttributeValue(1), BVariant(BString()));
    // A change of another value makes the row an object, which keeps its null.
    features.GetAt(1)->SetAttributeValue(0, BVariant(std::int32_t{8}));
    EXPECT_EQ(features.GetObjectRowCount(), 1U);
    EXPECT_TRUE(features.GetAt(1)->GetAttributeValue(1).IsEmpty());
}

TEST(BFeatureCollectionAdd, BeginsAPageWhenTheColumnsChangedForGood)
{
    BFeatureCollection features;
    AddMany(features, 3);
    for (std::int32_t i = 0; i < 100; ++i) {
        auto feature = MakeShared<BFeature>();
        BAttributes attributes;
        attributes.Add("other", BVariant(0.5 * i));
        feature->SetAttributes(attributes);
        features.Add(feature);
    }
    EXPECT_EQ(features.GetPageCount(), 2U);
    EXPECT_LT(features.GetObjectRowCount(), 20U);
    for (std::int32_t i = 0; i < 100; ++i) {
        const auto feature = features.GetAt(3 + static_cast<std::size_t>(i));
        EXPECT_EQ(feature->GetAttributeValue(0), BVariant(0.5 * i));
        EXPECT_EQ(feature->GetGeometry(), nullptr);
    }
}

TEST(BFeatureCollectionAdd, AcceptsABorrowedFeature)
{
    BFeatureCollection features;
    {
        BFeature feature;
        feature.SetName("7");
        features.Add(BSharedPtr<BFeature>::Borrow(&feature));
        EXPECT_TRUE(feature.IsAttached());
        EXPECT_EQ(features.GetAt(0).Get(), &feature);
    }
    EXPECT_EQ(features.GetAt(0)->GetName(), BString("7"));
}

TEST(BFeatureCollectionGetAt, GivesTheSameObjectWhileItIsInUse)
{
    BFeatureCollection features;
    AddMany(features, 50);
    std::vector<BSharedPtr<BFeature>> held;
    for (std::size_t i = 0; i < 50; ++i) {
        held.push_back(features.GetAt(i));
    }
    for (std::size_t i = 50; i-- > 0;) {
        EXPECT_EQ(features.GetAt(i).Get(), held[i].Get());
        ExpectFeature(*held[i], static_cast<std::int32_t>(i));
    }
    held.erase(held.begin(), held.begin() + 25);
    for (std::size_t i = 0; i < 50; ++i) {
        ExpectFeature(*features.GetAt(i), static_cast<std::int32_t>(i));
        if (i >= 25) {
            EXPECT_EQ(features.GetAt(i).Get(), held[i - 25].Get());
        }
    }
    EXPECT_THROW(static_cast<void>(features.GetAt(50)), std::out_of_range);
}

TEST(BFeatureCollectionGetAt, KeepsTheValuesOfAHeldFeatureThroughAVisit)
{
    BFeatureCollection features;
    AddMany(features, 300);
    const auto held = features.GetAt(7);
    const BPointGeo* point = held->GetPoint();
    const BAttributes& attributes = held->GetAttributes();
    BSharedPtr<BFeature> current;
    for (std::size_t i = 0; i < 300; ++i) {
        current = features.GetAt(i);
        ExpectFeature(*current, static_cast<std::int32_t>(i));
    }
    EXPECT_EQ(held->GetPoint(), point);
    EXPECT_EQ(&held->GetAttributes(), &attributes);
    ExpectFeature(*held, 7);
}

TEST(BFeatureCollectionGetAt, ChangesTheLayerThroughEverySetter)
{
    BFeatureCollection features;
    AddMany(features, 6);
    features.GetAt(0)->SetName("named");
    features.GetAt(1)->SetGeometry(MakeShared<BPointGeo>(8, 9, 10));
    features.GetAt(2)->SetMBR(BMBB());
    features.GetAt(3)->SetAttributes(BAttributes());
    features.GetAt(4)->SetAttributeValue(1, BVariant(2.5));
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(features.GetObjectRow(i), features.GetAt(i).Get()) << i;
    }
    EXPECT_EQ(features.GetObjectRow(5), nullptr);
    EXPECT_EQ(features.GetAt(0)->GetName(), BString("named"));
    EXPECT_EQ(features.GetAt(0)->GetPoint()->GetX(), 0);
    EXPECT_EQ(features.GetAt(1)->GetPoint()->GetZ(), 10);
    EXPECT_EQ(features.GetAt(1)->GetMBB().maxX, 1);
    EXPECT_TRUE(features.GetAt(2)->GetMBB().IsEmpty());
    EXPECT_EQ(features.GetAt(3)->GetAttributeCount(), 0U);
    EXPECT_EQ(features.GetAt(4)->GetAttributeValue(1), BVariant(2.5));
    EXPECT_EQ(features.GetAt(4)->GetAttributeValue(0), BVariant(std::int32_t{4}));
    ExpectFeature(*features.GetAt(5), 5);
}

TEST(BFeatureCollectionGetAt, LeavesTheRowStoredWhenAChangeIsRefused)
{
    BFeatureCollection features;
    AddMany(features, 1);
    EXPECT_THROW(features.GetAt(0)->SetAttributeValue(2, BVariant(1.0)), std::out_of_range);
    EXPECT_EQ(features.GetObjectRow(0), nullptr);
}

TEST(BFeatureCollectionGetAt, HandsOutRowsWhileAnAppenderIsInUse)
{
    BFeatureCollection features(4);
    BFeatureAppender appender(features, {{"a", EVariantType::Int32}});
    std::vector<BSharedPtr<BFeature>> held;
    for (std::int32_t i = 0; i < 40; ++i) {
        appender.AddInt32(i);
        appender.EndRow(EPointKind::XY, i, i, 0, static_cast<std::uint32_t>(i));
        held.push_back(features.GetAt(static_cast<std::size_t>(i)));
        if (i % 3 == 0) {
            held.back()->SetName("changed");
        }
    }
    for (std::int32_t i = 0; i < 40; ++i) {
        const BFeature& feature = *held[static_cast<std::size_t>(i)];
        EXPECT_EQ(feature.GetAttributeValue(0), BVariant(i));
        EXPECT_EQ(feature.GetName(), i % 3 == 0 ? BString("changed") : BString::FromInteger(i));
    }
}

TEST(BFeatureCollection, KeepsItsValuesAliveForFeaturesInUse)
{
    std::optional<BFeatureCollection> features;
    features.emplace();
    AddMany(*features, 20);
    std::vector<BSharedPtr<BFeature>> held;
    for (std::size_t i = 0; i < 10; ++i) {
        held.push_back(features->GetAt(i));
    }
    const BPointGeo* point = held[3]->GetPoint();
    held[9]->SetName("changed");
    const auto added = MakeFeature(20);
    features->Add(added);
    features.reset();
    EXPECT_EQ(held[3]->GetPoint(), point);
    for (std::int32_t i = 0; i < 9; ++i) {
        EXPECT_FALSE(held[static_cast<std::size_t>(i)]->IsAttached());
        ExpectFeature(*held[static_cast<std::size_t>(i)], i);
    }
    EXPECT_EQ(held[9]->GetName(), BString("changed"));
    ExpectFeature(*added, 20);

    BFeatureCollection others;
    others.Add(held[0]);
    held[0].Reset();
    ExpectFeature(*others.GetAt(0), 0);
}

TEST(BFeatureCollectionGetMBB, IsTheBoxAroundThePointsOneByOneToTheBit)
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kOdd[] = {0.0, -0.0, kNaN, kInfinity, -kInfinity};
    std::mt19937_64 dice(5);
    const auto bitsOf = [](const BMBB& box) {
        std::vector<std::uint64_t> bits;
        for (const double end : {box.minX, box.minY, box.minZ, box.maxX, box.maxY, box.maxZ}) {
            bits.push_back(std::isnan(end) ? 1 : std::bit_cast<std::uint64_t>(end));
        }
        return bits;
    };
    for (int turn = 0; turn < 3000; ++turn) {
        // Few rows of a page, so that all places in it are met, or many; odd values in some turns
        // only.
        const bool hasLongPages = turn % 7 == 6;
        BFeatureCollection features(hasLongPages ? 150 : 7);
        BFeatureAppender appender(features, {});
        BMBB expected;
        const EPointKind kind = turn % 3 == 0 ? EPointKind::XY : EPointKind::XYZ;
        const auto any = [&] {
            const bool isOdd = turn % 2 == 0 && dice() % (hasLongPages ? 200 : 8) == 0;
            return isOdd ? kOdd[dice() % std::size(kOdd)]
                         : static_cast<double>(dice() % 5) - (turn % 5 == 0 ? 0.0 : 2.0);
        };
        const std::uint64_t rows = dice() % (hasLongPages ? 400 : 20);
        for (std::uint32_t row = 0; row < rows; ++row) {
            const double x = any();
            const double y = any();
            const double z = any();
            appender.EndRow(kind, x, y, z, row);
            if (kind == EPointKind::XY) {
                expected.Include(x, y);
            } else {
                expected.Include(x, y, z);
            }
        }
        ASSERT_EQ(bitsOf(features.GetMBB()), bitsOf(expected)) << turn;
    }
}

TEST(BFeatureCollectionClear, DropsEverythingAndStartsAgain)
{
    BFeatureCollection features(5);
    AddMany(features, 12);
    const auto held = features.GetAt(4);
    features.GetAt(6)->SetName("changed");
    features.Clear();
    EXPECT_EQ(features.GetCount(), 0U);
    EXPECT_EQ(features.GetPageCount(), 0U);
    EXPECT_EQ(features.GetObjectRowCount(), 0U);
    EXPECT_TRUE(features.GetMBB().IsEmpty());
    EXPECT_FALSE(held->IsAttached());
    ExpectFeature(*held, 4);
    AddMany(features, 3);
    ExpectFeature(*features.GetAt(2), 2);
    ExpectFeature(*held, 4);
}

/// Pages as a consumer gets them.
struct HandedPage
{
    std::shared_ptr<BFeaturePage> page;
    std::size_t firstRow;
};

void AppendNumbers(BFeatureAppender& appender, std::uint32_t first, std::uint32_t count)
{
    for (std::uint32_t row = first; row < first + count; ++row) {
        appender.AddInt32(static_cast<std::int32_t>(row));
        appender.EndRow(EPointKind::XY, row, -1.0 * row, 0, row);
    }
}

const std::vector<BColumnInfo> kNumber = {{"number", EVariantType::Int32}};

TEST(BFeatureCollectionPageConsumer, ReceivesEveryPageOnceInOrderAndKeepsNone)
{
    BFeatureCollection features(10);
    std::vector<HandedPage> handed;
    features.SetPageConsumer([&](std::shared_ptr<BFeaturePage> page, std::size_t firstRow) {
        handed.push_back({std::move(page), firstRow});
    });
    {
        BFeatureAppender appender(features, kNumber);
        AppendNumbers(appender, 0, 20);
        EXPECT_EQ(handed.size(), 1U)
            << "a page is complete when the first row of the next one ends";
        AppendNumbers(appender, 20, 5);
    }
    EXPECT_EQ(features.GetCount(), 25U);
    EXPECT_EQ(features.GetPageCount(), 1U);
    EXPECT_EQ(features.GetFirstRow(0), 20U);
    EXPECT_EQ(features.GetAt(23)->GetAttributeValue(0), BVariant(std::int32_t{23}));
    EXPECT_THROW(static_cast<void>(features.GetAt(19)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(features.GetObjectRow(0)), std::out_of_range);
    features.FlushPages();
    features.FlushPages();
    EXPECT_EQ(features.GetCount(), 25U);
    EXPECT_EQ(features.GetPageCount(), 0U);
    EXPECT_THROW(static_cast<void>(features.GetAt(24)), std::out_of_range);
    EXPECT_EQ(features.GetMBB().maxX, 24);
    EXPECT_EQ(features.GetMBB().minY, -24);
    ASSERT_EQ(handed.size(), 3U);
    std::int32_t next = 0;
    for (const HandedPage& one : handed) {
        EXPECT_EQ(one.firstRow, static_cast<std::size_t>(next));
        EXPECT_EQ(one.page.use_count(), 1);
        for (std::size_t row = 0; row < one.page->GetRowCount(); ++row) {
            EXPECT_EQ(one.page->data[0].int32s[row], next++);
        }
    }
    EXPECT_EQ(next, 25);
    // It goes on after a flush.
    BFeatureAppender appender(features, kNumber);
    AppendNumbers(appender, 25, 11);
    ASSERT_EQ(handed.size(), 4U);
    EXPECT_EQ(handed[3].firstRow, 25U);
}

TEST(BFeatureCollectionPageConsumer, GivesAPageAgainAfterItHasThrown)
{
    BFeatureCollection features(4);
    bool isFull = true;
    std::vector<std::size_t> firstRows;
    features.SetPageConsumer([&](const std::shared_ptr<BFeaturePage>&, std::size_t firstRow) {
        if (isFull) {
            throw std::domain_error("full");
        }
        firstRows.push_back(firstRow);
    });
    BFeatureAppender appender(features, kNumber);
    AppendNumbers(appender, 0, 4);
    EXPECT_THROW(AppendNumbers(appender, 4, 1), std::domain_error);
    EXPECT_EQ(features.GetCount(), 4U);
    appender.AbandonRow();
    EXPECT_EQ(features.GetAt(3)->GetAttributeValue(0), BVariant(std::int32_t{3}));
    isFull = false;
    AppendNumbers(appender, 4, 5);
    EXPECT_EQ(firstRows, (std::vector<std::size_t>{0, 4}));
    EXPECT_EQ(features.GetAt(8)->GetAttributeValue(0), BVariant(std::int32_t{8}));
}

TEST(BFeatureCollectionPageConsumer, SeesObjectsAndLeavesFeaturesInUseTheirValues)
{
    BFeatureCollection features(4);
    std::vector<BString> objects;
    features.SetPageConsumer([&](const std::shared_ptr<BFeaturePage>& page, std::size_t firstRow) {
        for (std::size_t row = 0; row < page->GetRowCount(); ++row) {
            if (const BFeature* object = features.GetObjectRow(firstRow + row)) {
                objects.push_back(object->GetName());
            }
        }
    });
    AddMany(features, 4);
    std::vector<BSharedPtr<BFeature>> held;
    for (std::size_t row = 0; row < 4; ++row) {
        held.push_back(features.GetAt(row));
    }
    held[2]->SetName("changed");
    const auto next = MakeFeature(4);
    features.Add(next);
    EXPECT_EQ(objects, (std::vector<BString>{"changed"}));
    EXPECT_EQ(features.GetObjectRowCount(), 0U);
    for (std::int32_t number : {0, 1, 3}) {
        EXPECT_FALSE(held[static_cast<std::size_t>(number)]->IsAttached());
        ExpectFeature(*held[static_cast<std::size_t>(number)], number);
    }
    EXPECT_EQ(held[2]->GetName(), BString("changed"));
    EXPECT_TRUE(next->IsAttached());
    EXPECT_EQ(features.GetAt(4).Get(), next.Get());
    features.FlushPages();
    ExpectFeature(*next, 4);
    AddMany(features, 3);
    EXPECT_EQ(features.GetCount(), 8U);
    ExpectFeature(*features.GetAt(7), 2);
}

TEST(BFeatureCollectionPageConsumer, IsSetWhileTheCollectionIsEmpty)
{
    BFeatureCollection features(4);
    AddMany(features, 1);
    try {
        features.SetPageConsumer({});
        FAIL() << "nothing was thrown";
    } catch (const BDataManagerException& exception) {
        EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::SetPageConsumer"));
        EXPECT_EQ(exception.GetMessage(), BString("The collection has features already."));
    }
    features.FlushPages();
    EXPECT_EQ(features.GetPageCount(), 1U) << "without a consumer nothing is handed over";
    features.Clear();
    std::size_t pages = 0;
    features.SetPageConsumer(
        [&pages](const std::shared_ptr<BFeaturePage>&, std::size_t) { ++pages; });
    AddMany(features, 9);
    features.Clear();
    EXPECT_EQ(pages, 2U);
    AddMany(features, 4);
    EXPECT_EQ(features.GetAt(0)->GetName(), BString("0"));
    features.FlushPages();
    EXPECT_EQ(pages, 3U);
}

TEST(BFeatureCollectionGetMBB, CountsEveryRowOnceWithItsOwnBox)
{
    BFeatureCollection features(4);
    EXPECT_TRUE(features.GetMBB().IsEmpty());
    AddMany(features, 11);
    EXPECT_EQ(features.GetMBB().minX, 0);
    EXPECT_EQ(features.GetMBB().maxX, 10);
    EXPECT_EQ(features.GetMBB().minY, -10);
    features.GetAt(10)->SetMBR(BMBB());
    EXPECT_EQ(features.GetMBB().maxX, 9);
    BMBB wide;
    wide.Include(-50, 7, 3);
    features.GetAt(1)->SetMBR(wide);
    EXPECT_EQ(features.GetMBB().minX, -50);
    EXPECT_EQ(features.GetMBB().maxY, 7);
    EXPECT_EQ(features.GetMBB().maxZ, 3);
}

} // namespace

} // namespace Orvane
