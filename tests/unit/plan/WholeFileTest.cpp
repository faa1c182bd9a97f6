// Decisions and findings that the first MiB of a file does not tell.
#include "MadeFile.h"

#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace {

using namespace Orvane::Import;

Plan PlanOf(std::string_view bytes, const PlanRequest& request = {})
{
    const MadeFile file(bytes);
    return MakePlan(file.Path(), request);
}

/// Null without one.
const PlanFinding* FindingOf(const Plan& plan, std::string_view code)
{
    const auto found = std::find_if(plan.findings.begin(),
                                    plan.findings.end(),
                                    [&](const auto& finding) { return finding.code == code; });
    return found == plan.findings.end() ? nullptr : &*found;
}

/// Rows of a number, a longitude and a latitude about Bern.
std::string PointRows(std::size_t count)
{
    std::string rows;
    for (std::size_t row = 0; row < count; ++row) {
        rows += std::to_string(row) + ",7." + std::to_string(100 + row % 800) + ",46." +
                std::to_string(100 + row % 700) + ",n" + std::to_string(row % 9) + "\n";
    }
    return rows;
}

TEST(MakePlanWholeFile, FindsCoordinatesThatBeginAfterTheFirstMegabytes)
{
    std::string bytes = "id,lon,lat,name\n";
    for (std::size_t row = 0; row < 150000; ++row) {
        bytes += "1234567890,,,n\n";
    }
    const Plan plan = PlanOf(bytes + PointRows(20000));
    ASSERT_TRUE(plan.coordinates.value.x.has_value());
    EXPECT_EQ(plan.coordinates.value.x, 1U);
    EXPECT_EQ(plan.coordinates.value.y, 2U);
    EXPECT_EQ(plan.coordinates.value.notation, EPlanNotation::Decimal);
}

TEST(MakePlanWholeFile, MetresThatBeginLateAreNoDegrees)
{
    std::string bytes = "id,x,y,name\n" + PointRows(50000);
    for (std::size_t row = 0; row < 20000; ++row) {
        bytes += "5,600123.25,200456.75,late\n";
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.coordinates.value.notation, EPlanNotation::Cartesian);
    EXPECT_EQ(plan.coordinateSystem.value, "undefined Cartesian");
}

TEST(MakePlanWholeFile, CommentsBeforeTheTableMayBeOfAnyLength)
{
    std::string bytes;
    for (std::size_t line = 0; line < 20000; ++line) {
        bytes += "# a remark of some length, with a comma, and more words than that\n";
    }
    bytes += "id,lon,lat,name\n" + PointRows(3000);
    const Plan plan = PlanOf(bytes);
    EXPECT_TRUE(plan.shape.hasNames.value);
    EXPECT_EQ(plan.shape.firstRowLine, 20002U);
    EXPECT_EQ(plan.shape.rows, 3000U);
    ASSERT_FALSE(plan.shape.lines.empty());
    EXPECT_EQ(plan.shape.lines.front().kind, EPlanLines::Comment);
    EXPECT_EQ(plan.shape.lines.front().text.substr(0, 10), "# a remark");
    EXPECT_EQ(plan.columns.at(1).name, "lon");
    EXPECT_TRUE(plan.coordinates.value.x.has_value());
}

TEST(MakePlanWholeFile, TheLastOfManyCommentsMayHoldTheNames)
{
    std::string bytes;
    for (std::size_t line = 0; line < 500; ++line) {
        bytes += "# a remark, with a comma\n";
    }
    const Plan plan = PlanOf(bytes + "# id,lon,lat,name\n" + PointRows(300));
    EXPECT_TRUE(plan.shape.hasNames.value);
    EXPECT_EQ(plan.columns.at(2).name, "lat");
    EXPECT_EQ(plan.shape.rows, 300U);
}

TEST(MakePlanWholeFile, RowsThatBeginLikeCommentsStayRows)
{
    std::string bytes;
    for (std::size_t row = 0; row < 400; ++row) {
        bytes += row < 300 ? "#FF0000,red,8.5\n" : "FF0000,red,8.5\n";
    }
    EXPECT_EQ(PlanOf(bytes).shape.rows, 400U);
}

TEST(MakePlanWholeFile, TextOfAMegabyteBeforeTheTableIsPassedOver)
{
    std::string bytes;
    for (std::size_t line = 0; line < 30000; ++line) {
        bytes += "Some words that say what this file is about and who has made it\n";
    }
    bytes += "id,lon,lat,name\n" + PointRows(60000);
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.firstRowLine, 30002U);
    EXPECT_EQ(plan.shape.rows, 60000U);
    EXPECT_EQ(plan.shape.lines.front().kind, EPlanLines::Preamble);
    EXPECT_EQ(plan.coordinates.value.x, 1U);
}

TEST(MakePlanWholeFile, AFirstRowWhoseTextOccursLateIsARow)
{
    std::string bytes = "Lugano,weiss\n";
    for (std::size_t row = 0; row < 3000; ++row) {
        bytes += row % 2 == 0 ? "Bern,rot\n" : "Basel,blau\n";
    }
    const Plan plan = PlanOf(bytes + "Lugano,rot\n");
    EXPECT_FALSE(plan.shape.hasNames.value);
    EXPECT_EQ(plan.shape.hasNames.confidence, EConfidence::Strong);
    EXPECT_EQ(plan.shape.rows, 3002U);
}

TEST(MakePlanWholeFile, TextsThatOccurOnceOverRepeatedOnesAreNames)
{
    std::string bytes = "Halt,Farbe\n";
    for (std::size_t row = 0; row < 3000; ++row) {
        bytes += row % 2 == 0 ? "Bern,rot\n" : "Basel,blau\n";
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_TRUE(plan.shape.hasNames.value);
    EXPECT_EQ(plan.shape.hasNames.confidence, EConfidence::Strong);
    EXPECT_EQ(plan.shape.rows, 3000U);
    EXPECT_EQ(plan.columns.at(1).name, "Farbe");
}

TEST(MakePlanWholeFile, TextsThatAllOccurTwiceStayAQuestion)
{
    std::string bytes = "Halt,Farbe\n";
    for (std::size_t row = 0; row < 3000; ++row) {
        bytes += row % 2 == 0 ? "Bern,rot\n" : "Basel,blau\n";
    }
    const Plan plan = PlanOf(bytes + "Halt,Farbe\n");
    EXPECT_EQ(plan.shape.hasNames.confidence, EConfidence::Tie);
}

TEST(MakePlanWholeFile, PointsAtZeroAreCountedWithTheirPlaces)
{
    const Plan plan = PlanOf("id,lon,lat,name\n" + PointRows(40000) + "1,0,0.0,z\n" +
                             PointRows(10) + "2,0,0,z\n" + "3,0,46.5,a\n");
    const PlanFinding* const zeros = FindingOf(plan, "zero-coordinates");
    ASSERT_NE(zeros, nullptr);
    EXPECT_EQ(zeros->count, 2U);
    ASSERT_EQ(zeros->places.size(), 2U);
    EXPECT_EQ(zeros->places[0].line, 40002U);
    EXPECT_EQ(zeros->places[1].line, 40013U);
}

TEST(MakePlanWholeFile, ValuesOutOfRangeAreCountedWithTheirPlaces)
{
    const Plan plan = PlanOf("id,lon,lat,name\n" + PointRows(40000) + "1,7.5,\"95.5\",z\n" +
                             PointRows(10) + "2,-400.5,46.5,z\n");
    const PlanFinding* const past = FindingOf(plan, "latitude-out-of-range");
    ASSERT_NE(past, nullptr);
    EXPECT_EQ(past->count, 1U);
    EXPECT_EQ(past->places.at(0).line, 40002U);
    EXPECT_EQ(past->places.at(0).text, "95.5");
    const PlanFinding* const across = FindingOf(plan, "longitude-out-of-range");
    ASSERT_NE(across, nullptr);
    EXPECT_EQ(across->places.at(0).line, 40013U);
}

TEST(MakePlanWholeFile, SentinelsHaveAShareAndAPlace)
{
    std::string bytes = "id,lon,lat,depth\n";
    for (std::size_t row = 0; row < 1000; ++row) {
        bytes += row % 10 == 4 ? "1,7.5,46.5,-9999\n" : "1,7.5,46.25,12.5\n";
    }
    const Plan plan = PlanOf(bytes);
    const PlanFinding* const sentinel = FindingOf(plan, "sentinel");
    ASSERT_NE(sentinel, nullptr);
    EXPECT_EQ(sentinel->count, 100U);
    EXPECT_NE(sentinel->text.find("in 10 % of its values"), std::string::npos) << sentinel->text;
    EXPECT_EQ(sentinel->places.at(0).line, 6U);
    EXPECT_EQ(sentinel->places.at(0).text, "-9999");
}

TEST(MakePlanWholeFile, TwoZonesInOneFileArePointedOut)
{
    std::string bytes = "id,x,y\n";
    for (std::size_t row = 0; row < 3000; ++row) {
        const std::size_t x = row < 2000 ? 700000 + row : 250000 + row;
        bytes += "1," + std::to_string(x) + ".25," + std::to_string(5200000 + row % 900) + ".5\n";
    }
    const Plan plan = PlanOf(bytes);
    const PlanFinding* const zones = FindingOf(plan, "several-zones");
    ASSERT_NE(zones, nullptr);
    EXPECT_NEAR(static_cast<double>(zones->places.at(0).line), 2002, 2);
}

TEST(MakePlanWholeFile, OneAreaIsNoSeveralZones)
{
    std::string bytes = "id,x,y\n";
    for (std::size_t row = 0; row < 3000; ++row) {
        bytes += "1," + std::to_string(300000 + row * 150) + ".25," +
                 std::to_string(5200000 + row % 900) + ".5\n";
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(FindingOf(plan, "several-zones"), nullptr);
}

TEST(MakePlanWholeFile, AColumnOfZonesIsPointedOut)
{
    const Plan plan = PlanOf("zone,x,y\n32,600123.5,5200000.5\n33,400123.5,5200100.5\n"
                             "32,600125.5,5200003.5\n33,400124.5,5200101.5\n");
    EXPECT_NE(FindingOf(plan, "several-zones"), nullptr);
    const Plan letters = PlanOf("zone,x,y\n32T,600123.5,5200000.5\n33T,400123.5,5200100.5\n");
    EXPECT_NE(FindingOf(letters, "several-zones"), nullptr);
    const Plan one = PlanOf("zone,x,y\n32T,600123.5,5200000.5\n32T,400123.5,5200100.5\n");
    EXPECT_EQ(FindingOf(one, "several-zones"), nullptr);
}

struct LetterCase
{
    const char* name;
    const char* bytes;
    char letter;
};

TEST(MakePlanLetterO, IsEastOrWestByTheOtherLettersOrTheLanguage)
{
    const LetterCase cases[] = {
        {"beside W it is Ost",
         "id,lat,lon\n1,46.5N,8.5O\n2,46.25N,8.25W\n3,46.125N,8.125O\n4,46.5N,8.75O\n",
         'E'},
        {"beside E it is Oeste",
         "id,lat,lon\n1,46.5N,8.5O\n2,46.25N,8.25E\n3,46.125N,8.125O\n4,46.5N,8.75O\n",
         'W'},
        {"under German names",
         "id,Breite,Laenge\n1,46.5N,8.5O\n2,46.25N,8.25O\n3,46.125N,8.125O\n4,46.5N,8.75O\n",
         'E'},
        {"under Spanish names",
         "id,latitud,longitud\n1,46.5N,8.5O\n2,46.25N,8.25O\n3,46.125N,8.125O\n4,46.5N,8.75O\n",
         'W'},
        {"without either", "id,lat,lon\n1,46.5N,8.5O\n2,46.25N,8.25O\n3,46.125N,8.125O\n", 0},
        {"without the letter", "id,lat,lon\n1,46.5N,8.5E\n2,46.25N,8.25E\n3,46.125N,8.1W\n", 0},
    };
    for (const LetterCase& row : cases) {
        EXPECT_EQ(PlanOf(row.bytes).coordinates.value.letterO, row.letter) << row.name;
    }
}

} // namespace
