// Tests of attribute values and attribute definitions.
#include <Orvane/BAttributeDefs.h>
#include <Orvane/BAttributes.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::BAttributes;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;

TEST(BAttributeDef, IsEmptyWhenNew)
{
    const BAttributeDef def;
    EXPECT_TRUE(def.GetName().IsEmpty());
    EXPECT_EQ(def.GetType(), EVariantType::None);
    EXPECT_EQ(def.GetLength(), 0);
    EXPECT_EQ(def.GetPrecision(), 0);
}

TEST(BAttributeDef, KeepsEveryValue)
{
    BAttributeDef def;
    def.SetName("name");
    def.SetType(static_cast<EVariantType>(999));
    def.SetLength(-5);
    def.SetPrecision(3);
    EXPECT_EQ(def.GetName(), BString("name"));
    EXPECT_EQ(static_cast<int>(def.GetType()), 999);
    EXPECT_EQ(def.GetLength(), -5);
    EXPECT_EQ(def.GetPrecision(), 3);
}

TEST(BAttributeDefs, KeepsDefinitionsInOrderEvenOfOneName)
{
    BAttributeDef def;
    def.SetName("twice");
    BAttributeDefs defs;
    defs.Reserve(2);
    defs.Add(def);
    def.SetLength(4);
    defs.Add(def);
    ASSERT_EQ(defs.GetCount(), 2U);
    EXPECT_EQ(defs.GetAt(0).GetLength(), 0);
    EXPECT_EQ(defs.GetAt(1).GetLength(), 4);
}

TEST(BAttributeDefs, ChangesOnlyTheCopyThatIsChanged)
{
    BAttributeDefs defs;
    defs.Add(BAttributeDef());
    BAttributeDefs copy = defs;
    EXPECT_EQ(copy, defs);
    copy.GetAt(0).SetLength(9);
    EXPECT_EQ(defs.GetAt(0).GetLength(), 0);
    EXPECT_NE(copy, defs);
    copy.Clear();
    EXPECT_EQ(copy.GetCount(), 0U);
}

TEST(BAttributeDefs, RefusesAnIndexPastTheEnd)
{
    BAttributeDefs defs;
    const BAttributeDefs& reading = defs;
    EXPECT_THROW(static_cast<void>(defs.GetAt(0)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(reading.GetAt(0)), std::out_of_range);
}

TEST(BAttributes, KeepsPairsInOrderEvenOfOneName)
{
    BAttributes attributes;
    attributes.Reserve(3);
    attributes.Add("a", BVariant(1));
    const BVariant second(2);
    attributes.Add("b", second);
    attributes.Add("a", BVariant(3));
    ASSERT_EQ(attributes.GetCount(), 3U);
    EXPECT_EQ(attributes.GetNameAt(2), BString("a"));
    EXPECT_EQ(attributes.GetValueAt(1), BVariant(2));
    EXPECT_EQ(attributes.GetValueAt(2), BVariant(3));
}

TEST(BAttributes, FindsTheFirstPairOfAName)
{
    BAttributes attributes;
    attributes.Add("a", BVariant(1));
    attributes.Add("a", BVariant(2));
    ASSERT_NE(attributes.Find("a"), nullptr);
    EXPECT_EQ(*attributes.Find("a"), BVariant(1));
    EXPECT_EQ(attributes.Find("A"), nullptr);
}

TEST(BAttributes, ReplacesAValueWhereItStands)
{
    BAttributes attributes;
    attributes.Add("a", BVariant(1));
    attributes.SetValueAt(0, BVariant("text"));
    EXPECT_EQ(attributes.GetNameAt(0), BString("a"));
    EXPECT_EQ(attributes.GetValueAt(0), BVariant("text"));
}

TEST(BAttributes, EqualsInNamesAndValues)
{
    BAttributes one;
    one.Add("a", BVariant(1));
    BAttributes other = one;
    EXPECT_EQ(one, other);
    other.SetValueAt(0, BVariant(2));
    EXPECT_NE(one, other);
    other.Clear();
    EXPECT_EQ(other, BAttributes());
}

TEST(BAttributes, RefusesAnIndexPastTheEnd)
{
    BAttributes attributes;
    attributes.Add("a", BVariant(1));
    EXPECT_THROW(static_cast<void>(attributes.GetNameAt(1)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(attributes.GetValueAt(1)), std::out_of_range);
    EXPECT_THROW(attributes.SetValueAt(1, BVariant()), std::out_of_range);
}

} // namespace
