// The nearest words: by beginning, by part, by edits.
#include <Orvane/Import/NearestWord.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using Orvane::Import::FindNearestWords;
using Words = std::vector<std::string_view>;

const Words kKnown = {"import", "preview", "X_COLUMN", "Y_COLUMN", "--json", "COLUMN_DEFINITION"};

TEST(NearestWord, PrefersWordsThatBeginWithIt)
{
    EXPECT_EQ(FindNearestWords("column", kKnown), Words({"COLUMN_DEFINITION"}));
    EXPECT_EQ(FindNearestWords("pre", kKnown), Words({"preview"}));
}

TEST(NearestWord, FindsWordsThatContainIt)
{
    EXPECT_EQ(FindNearestWords("_COLUMN", kKnown), Words({"X_COLUMN", "Y_COLUMN"}));
    EXPECT_EQ(FindNearestWords("OLU", kKnown), Words());
}

TEST(NearestWord, FindsTheFewestEdits)
{
    EXPECT_EQ(FindNearestWords("improt", kKnown), Words({"import"}));
    EXPECT_EQ(FindNearestWords("X_COLUM", kKnown), Words({"X_COLUMN"}));
    EXPECT_EQ(FindNearestWords("-jsn", kKnown), Words({"--json"}));
    EXPECT_EQ(FindNearestWords("zzzzzz", kKnown), Words());
}

TEST(NearestWord, IsLikeNoneWhenEmptyOrLong)
{
    EXPECT_EQ(FindNearestWords("", kKnown), Words());
    EXPECT_EQ(FindNearestWords("--", kKnown), Words());
    EXPECT_EQ(FindNearestWords(std::string(65, 'i'), kKnown), Words());
}

} // namespace
