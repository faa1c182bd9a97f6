// A feature outside of any layer.
#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace Orvane {

namespace {

/// A geometry that is not a point.
class Segment : public BGeometry
{
public:
    [[nodiscard]] BMBB GetMBB() const override
    {
        BMBB box;
        box.Include(0, 0);
        box.Include(end, end);
        return box;
    }

    [[nodiscard]] BSharedPtr<BGeometry> Clone() const override
    {
        return MakeShared<Segment>(*this);
    }

    double end = 1;
};

TEST(BFeature, IsEmptyWhenNew)
{
    const BFeature feature;
    EXPECT_TRUE(feature.GetName().IsEmpty());
    EXPECT_EQ(feature.GetGeometry(), nullptr);
    EXPECT_EQ(feature.GetPoint(), nullptr);
    EXPECT_TRUE(feature.GetMBB().IsEmpty());
    EXPECT_EQ(feature.GetAttributeCount(), 0U);
    EXPECT_EQ(feature.GetAttributes().GetCount(), 0U);
    EXPECT_FALSE(feature.IsAttached());
    EXPECT_THROW(static_cast<void>(feature.GetAttributeName(0)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(feature.GetAttributeValue(0)), std::out_of_range);
}

TEST(BFeature, GivesBackWhatWasSet)
{
    BFeature feature;
    feature.SetName("name");
    feature.SetGeometry(MakeShared<BPointGeo>(1, 2, 3));
    feature.SetMBR(feature.GetGeometry()->GetMBB());
    BAttributes attributes;
    attributes.Add("a", BVariant(std::int32_t{5}));
    attributes.Add("a", BVariant());
    feature.SetAttributes(attributes);
    feature.SetAttributeValue(1, BVariant("new"));
    EXPECT_EQ(feature.GetName(), BString("name"));
    ASSERT_NE(feature.GetPoint(), nullptr);
    EXPECT_EQ(feature.GetPoint(), feature.GetGeometry());
    EXPECT_EQ(feature.GetPoint()->GetZ(), 3);
    EXPECT_EQ(feature.GetMBB().maxY, 2);
    EXPECT_EQ(feature.GetAttributeCount(), 2U);
    EXPECT_EQ(feature.GetAttributeValue(1), BVariant("new"));
    EXPECT_EQ(feature.GetAttributeName(1), BString("a"));
}

TEST(BFeature, KeepsItsOwnCopyOfTheGeometry)
{
    BFeature feature;
    const auto point = MakeShared<BPointGeo>(1, 2);
    feature.SetGeometry(point);
    point->SetX(9);
    EXPECT_EQ(feature.GetPoint()->GetX(), 1);

    const auto segment = MakeShared<Segment>();
    feature.SetGeometry(segment);
    segment->end = 9;
    EXPECT_EQ(feature.GetPoint(), nullptr);
    ASSERT_NE(feature.GetGeometry(), nullptr);
    EXPECT_EQ(feature.GetGeometry()->GetMBB().maxX, 1);
}

TEST(BFeature, LosesItsGeometryToNullAndKeepsItsBox)
{
    BFeature feature;
    feature.SetGeometry(MakeShared<BPointGeo>(1, 2));
    feature.SetMBR(feature.GetPoint()->GetMBB());
    feature.SetGeometry(nullptr);
    EXPECT_EQ(feature.GetGeometry(), nullptr);
    EXPECT_EQ(feature.GetMBB().minX, 1);
}

TEST(BFeature, RefusesAnAttributeThatIsNotThere)
{
    BFeature feature;
    try {
        feature.SetAttributeValue(0, BVariant("x"));
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& exception) {
        EXPECT_STREQ(exception.what(), "invalid vector subscript");
    }
}

} // namespace

} // namespace Orvane
