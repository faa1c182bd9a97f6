// The same numbers in a locale whose decimal separator is the comma.
#include "layer/AsciiLayer.h"
#include "reader/BAsciiReader.h"
#include "support/CommaLocale.h"
#include "support/TestFiles.h"
#include "text/AsciiUtils.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using AsciiReader::BAsciiReader;
using Orvane::BString;
using TestSupport::Describe;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;
using Lines = std::vector<std::string>;

/// Runs the process in a German locale during each test.
class CommaLocale : public testing::Test
{
    TestSupport::CommaLocale m_locale;
};

const char* const kRows = "x,y,z,int,double,text,flag\n"
                          "1.25,-2.5e1,0x1p-1,\"1,234\",0.1,\"1,5\",yes\n"
                          "1.5, 2.75,3.125,7,\"1,000.5\",1.5,no\n"
                          "\"1,5\",2,3,8,1e-3,x,y\n"
                          "4,5,6,9,12.345,y,n\n";

Lines ReadRows()
{
    const TemporaryFolder folder;
    const BString path = folder.File("rows.csv", kRows);
    const Options options = Options()
                                .XYZ(0, 1, 2)
                                .Names()
                                .Set(Orvane::X_MULTIPLIER, BString("2.5"))
                                .Set(Orvane::Y_MULTIPLIER, 0.5)
                                .Set(Orvane::Z_MULTIPLIER, BString("1e1"));
    BAsciiReader reader(path, options);
    reader.Open(path, options);
    reader.Read();
    Lines result = Describe(reader.GetLayers().GetAt(0)->GetSchema());
    const Lines features = Describe(*reader.GetLayers().GetAt(0));
    result.insert(result.end(), features.begin(), features.end());
    return result;
}

const Lines& ExpectedRows()
{
    static const Lines expected{
        "int:5:0:0",
        "double:9:0:6",
        "text:11:0:2",
        "flag:13:0:0",
        "1 (3.125 -12.5 5) int=5:1234 double=9:0.1 text=11:1,5 flag=13:true",
        "2 (3.75 1.375 31.25) int=5:7 double=9:1000.5 text=11:1.5 "
        "flag=13:false",
        "3 (-) int=5:8 double=9:0.001 text=11:x flag=13:true",
        "4 (10 2.5 60) int=5:9 double=9:12.345 text=11:y flag=13:false"};
    return expected;
}

TEST(PlainLocale, ReadsNumbersWithAPoint)
{
    EXPECT_EQ(ReadRows(), ExpectedRows());
}

TEST_F(CommaLocale, ReadsTheSameNumbersWithAPoint)
{
    EXPECT_EQ(ReadRows(), ExpectedRows());
}

TEST_F(CommaLocale, ReadsTheSameNumbersWhenItsCodecIsAskedFor)
{
    const TemporaryFolder folder;
    const BString path = folder.File("rows.csv", "1.5,2.5,a\n");
    const Options options = Options().XY(0, 1).Set("CODECFORLOCALE", true);
    BAsciiReader reader(path, options);
    reader.Open(path, options);
    reader.Read();
    EXPECT_EQ(Describe(*reader.GetLayers().GetAt(0)), (Lines{"1 (1.5 2.5) C3=11:a"}));
}

TEST_F(CommaLocale, ClassifiesNumbersWithAPoint)
{
    EXPECT_EQ(AsciiReader::AsciiUtils::DetectType("12.5"), 9);
    EXPECT_EQ(AsciiReader::AsciiUtils::DetectType("1.5e3"), 9);
    EXPECT_EQ(AsciiReader::AsciiUtils::DetectType("12,5"), 5);
}

TEST_F(CommaLocale, ReadsCoordinatesWithAPoint)
{
    double value = 0;
    ASSERT_TRUE(AsciiReader::AsciiLayer::ParseCoordinate("12.5", "", value));
    EXPECT_EQ(value, 12.5);
    EXPECT_FALSE(AsciiReader::AsciiLayer::ParseCoordinate("12,5", "", value));
    ASSERT_TRUE(AsciiReader::AsciiLayer::ParseCoordinate("W 10 30.5", "DM", value));
    EXPECT_NEAR(value, -10.508333333333333, 1e-12);
    EXPECT_FALSE(AsciiReader::AsciiLayer::ParseCoordinate("10 30,5", "DM", value));
}

TEST_F(CommaLocale, ReadsColumnAndDefinitionNumbers)
{
    const TemporaryFolder folder;
    const BString path = folder.File("rows.csv", "1.5,2.5,3.5\n");
    const Options options = Options()
                                .Set(Orvane::X_COLUMN, BString("0"))
                                .Set(Orvane::Y_COLUMN, BString("1"))
                                .Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,10,4,2"});
    BAsciiReader reader(path, options);
    reader.Open(path, options);
    reader.Read();
    EXPECT_EQ(Describe(*reader.GetLayers().GetAt(0)), (Lines{"1 (1.5 2.5) A=10:3.5"}));
}

} // namespace
