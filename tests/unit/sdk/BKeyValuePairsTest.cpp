// Tests of the ordered key/value lists.
#include <Orvane/BKeyValuePairs.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Orvane::BKeyValuePairs;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;

std::vector<BString> KeysOf(const BKeyValuePairs& list)
{
    std::vector<BString> keys;
    for (std::size_t entryIndex = 0; entryIndex < list.GetCount(); ++entryIndex) {
        keys.push_back(list.GetKeyAt(entryIndex));
    }
    return keys;
}

TEST(BKeyValuePairs, GivesTheDefaultsOfAnAbsentKey)
{
    const BKeyValuePairs list;
    EXPECT_EQ(list.GetCount(), 0U);
    EXPECT_FALSE(list.HasProperty("key"));
    EXPECT_EQ(list.Find("key"), nullptr);
    EXPECT_EQ(list.GetValueType("key"), EVariantType::None);
    EXPECT_EQ(list.GetString("key"), BString());
    EXPECT_EQ(list.GetString("key", "absent"), BString("absent"));
    EXPECT_EQ(list.GetInteger("key"), 0);
    EXPECT_EQ(list.GetInteger("key", -1), -1);
    EXPECT_FALSE(list.GetBoolean("key"));
    EXPECT_TRUE(list.GetBoolean("key", true));
    EXPECT_EQ(list.GetDouble("key"), 0.0);
    EXPECT_EQ(list.GetDouble("key", 1.5), 1.5);
    EXPECT_TRUE(list.GetStrings("key").empty());
    EXPECT_TRUE(list.GetIntegers("key").empty());
}

TEST(BKeyValuePairs, ConvertsBetweenTypes)
{
    BKeyValuePairs list;
    list.Add("text", "12.5x");
    list.Add("integer", 3);
    list.Add("double", 0.5);
    list.Add("boolean", true);
    list.Add("integers", std::vector<std::int32_t>{1, 2});
    EXPECT_EQ(list.GetInteger("text", 99), 12);
    EXPECT_EQ(list.GetDouble("text", 99), 12.5);
    EXPECT_TRUE(list.GetBoolean("integer"));
    EXPECT_EQ(list.GetDouble("integer"), 3.0);
    EXPECT_EQ(list.GetString("integer"), BString("3"));
    EXPECT_TRUE(list.GetBoolean("double"));
    EXPECT_EQ(list.GetInteger("boolean"), 1);
    EXPECT_EQ(list.GetStrings("integers"), (std::vector<BString>{"1", "2"}));
    EXPECT_EQ(list.GetIntegers("text"), std::vector<std::int32_t>{12});
}

TEST(BKeyValuePairs, HasAKeyWhoseValueIsNone)
{
    BKeyValuePairs list;
    list.Add("key", BVariant());
    EXPECT_TRUE(list.HasProperty("key"));
    EXPECT_EQ(list.GetValueType("key"), EVariantType::None);
    EXPECT_EQ(list.GetInteger("key", 7), 0);
}

TEST(BKeyValuePairs, ComparesKeysExactly)
{
    BKeyValuePairs list;
    list.Add("Key", 1);
    EXPECT_FALSE(list.HasProperty("key"));
    EXPECT_FALSE(list.HasProperty("Key "));
    list.Add("key", 2);
    EXPECT_EQ(list.GetInteger("Key"), 1);
    EXPECT_EQ(list.GetInteger("key"), 2);
}

TEST(BKeyValuePairs, KeepsTheOrderInWhichKeysWereFirstAdded)
{
    BKeyValuePairs list;
    list.Add("b", 1);
    list.Add("a", 2);
    list.Add("c", 3);
    list.Add("b", "replaced");
    EXPECT_EQ(KeysOf(list), (std::vector<BString>{"b", "a", "c"}));
    EXPECT_EQ(list.GetValueAt(0), BVariant("replaced"));
    EXPECT_EQ(list.GetValueType("b"), EVariantType::String);
}

TEST(BKeyValuePairs, KeepsTheOrderOfTheOthersWhenAKeyIsRemoved)
{
    BKeyValuePairs list;
    for (const char* key : {"a", "b", "c", "d"}) {
        list.Add(key, key);
    }
    list.Remove("b");
    list.Remove("absent");
    EXPECT_EQ(KeysOf(list), (std::vector<BString>{"a", "c", "d"}));
    EXPECT_FALSE(list.HasProperty("b"));
    for (const char* key : {"a", "c", "d"}) {
        EXPECT_EQ(list.GetString(key), BString(key));
    }
    list.Add("b", 1);
    EXPECT_EQ(KeysOf(list), (std::vector<BString>{"a", "c", "d", "b"}));
}

TEST(BKeyValuePairs, RemovesAKeyThatIsItsOwnEntry)
{
    BKeyValuePairs list;
    list.Add("a", 1);
    list.Add("b", 2);
    list.Remove(list.GetKeyAt(0));
    EXPECT_EQ(KeysOf(list), std::vector<BString>{"b"});
    EXPECT_EQ(list.GetInteger("b"), 2);
}

TEST(BKeyValuePairs, CopiesEntriesWithTheList)
{
    BParamList list;
    list.Add("a", 1);
    BParamList copy = list;
    copy.Add("a", 2);
    copy.Add("b", 3);
    EXPECT_EQ(list.GetInteger("a"), 1);
    EXPECT_EQ(list.GetCount(), 1U);
    EXPECT_EQ(copy.GetCount(), 2U);
}

TEST(BKeyValuePairs, IsEmptyAfterClear)
{
    BKeyValuePairs list;
    list.Add("a", 1);
    list.Clear();
    EXPECT_EQ(list.GetCount(), 0U);
    EXPECT_FALSE(list.HasProperty("a"));
}

TEST(BKeyValuePairs, RefusesAPositionPastTheEnd)
{
    BKeyValuePairs list;
    list.Add("a", 1);
    EXPECT_THROW(static_cast<void>(list.GetKeyAt(1)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(list.GetValueAt(1)), std::out_of_range);
}

} // namespace
