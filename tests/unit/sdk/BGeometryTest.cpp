// Tests of points, rectangles and boxes.
#include <Orvane/BGeometry.h>
#include <Orvane/BPointGeo.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Orvane::BGeometry;
using Orvane::BMBB;
using Orvane::BMBR;
using Orvane::BPointGeo;
using Orvane::BSharedPtr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void ExpectRectangle(const BMBR& box, double minX, double minY, double maxX, double maxY)
{
    EXPECT_EQ(box.minX, minX);
    EXPECT_EQ(box.minY, minY);
    EXPECT_EQ(box.maxX, maxX);
    EXPECT_EQ(box.maxY, maxY);
}

TEST(BMBR, IsEmptyUntilAPositionIsIncluded)
{
    BMBR box;
    EXPECT_TRUE(box.IsEmpty());
    EXPECT_TRUE(std::isnan(box.minX) && std::isnan(box.minY));
    EXPECT_TRUE(std::isnan(box.maxX) && std::isnan(box.maxY));
    box.Include(1, 2);
    EXPECT_FALSE(box.IsEmpty());
    ExpectRectangle(box, 1, 2, 1, 2);
}

TEST(BMBR, WidensToEveryPosition)
{
    BMBR box;
    box.Include(1, 2);
    box.Include(-3, 5);
    box.Include(0, -1);
    ExpectRectangle(box, -3, -1, 1, 5);
}

TEST(BMBR, IgnoresAPositionWithANaN)
{
    BMBR box;
    box.Include(kNaN, 1);
    box.Include(1, kNaN);
    EXPECT_TRUE(box.IsEmpty());
    box.Include(1, 1);
    box.Include(kNaN, 9);
    box.Include(9, kNaN);
    ExpectRectangle(box, 1, 1, 1, 1);
}

TEST(BMBR, WidensToAnotherRectangle)
{
    BMBR box;
    BMBR other;
    other.Include(1, 2);
    other.Include(3, 4);
    box.Include(other);
    ExpectRectangle(box, 1, 2, 3, 4);
    box.Include(BMBR());
    ExpectRectangle(box, 1, 2, 3, 4);
}

TEST(BMBR, ReachesInfinitePositions)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    BMBR box;
    box.Include(kInfinity, 0);
    box.Include(0, -kInfinity);
    ExpectRectangle(box, 0, -kInfinity, kInfinity, 0);
}

TEST(BMBB, WidensItsHeightsByNumbersOnly)
{
    BMBB box;
    box.Include(1, 2, kNaN);
    ExpectRectangle(box, 1, 2, 1, 2);
    EXPECT_TRUE(std::isnan(box.minZ) && std::isnan(box.maxZ));
    box.Include(1, 2, 5);
    box.Include(1, 2, -5);
    box.Include(kNaN, 2, 99);
    EXPECT_EQ(box.minZ, -5);
    EXPECT_EQ(box.maxZ, 5);
}

TEST(BMBB, WidensToAnotherBox)
{
    BMBB other;
    other.Include(1, 2, 3);
    other.Include(4, 5, 6);
    BMBB box;
    box.Include(0, 0);
    box.Include(other);
    ExpectRectangle(box, 0, 0, 4, 5);
    EXPECT_EQ(box.minZ, 3);
    EXPECT_EQ(box.maxZ, 6);
    box.Include(BMBB());
    ExpectRectangle(box, 0, 0, 4, 5);
}

TEST(BMBB, IgnoresTheHeightsOfAnEmptyBox)
{
    BMBB box;
    box.Include(0, 0, 1);
    box.Include(BPointGeo(kNaN, 2, 99).GetMBB());
    ExpectRectangle(box, 0, 0, 0, 0);
    EXPECT_EQ(box.maxZ, 1);
}

TEST(BPointGeo, HasNoNumberInAnyCoordinateWhenNew)
{
    const BPointGeo point;
    EXPECT_TRUE(std::isnan(point.GetX()));
    EXPECT_TRUE(std::isnan(point.GetY()));
    EXPECT_TRUE(std::isnan(point.GetZ()));
    EXPECT_FALSE(point.HasZ());
}

TEST(BPointGeo, KnowsThatZWasSetEvenToNaN)
{
    BPointGeo point(1, 2);
    EXPECT_FALSE(point.HasZ());
    point.SetZ(kNaN);
    EXPECT_TRUE(point.HasZ());
    EXPECT_TRUE(BPointGeo(1, 2, 3).HasZ());
}

TEST(BPointGeo, KeepsItsCoordinates)
{
    BPointGeo point;
    point.SetX(1);
    point.SetY(2);
    point.SetZ(3);
    EXPECT_EQ(point.GetX(), 1);
    EXPECT_EQ(point.GetY(), 2);
    EXPECT_EQ(point.GetZ(), 3);
}

TEST(BPointGeo, GivesTheBoxOfItsPosition)
{
    const BMBB box = BPointGeo(1, 2, 3).GetMBB();
    ExpectRectangle(box, 1, 2, 1, 2);
    EXPECT_EQ(box.minZ, 3);
    EXPECT_EQ(box.maxZ, 3);
}

TEST(BPointGeo, GivesABoxWithANaNWhereACoordinateIsNaN)
{
    BPointGeo point;
    point.SetX(1);
    const BMBB box = point.GetMBB();
    EXPECT_EQ(box.minX, 1);
    EXPECT_EQ(box.maxX, 1);
    EXPECT_TRUE(std::isnan(box.minY) && std::isnan(box.maxY));
    EXPECT_TRUE(std::isnan(box.minZ) && std::isnan(box.maxZ));
    EXPECT_TRUE(box.IsEmpty());
}

TEST(BPointGeo, ClonesWithItsOwnState)
{
    BPointGeo point(1, 2, kNaN);
    const BSharedPtr<BGeometry> clone = point.Clone();
    point.SetX(9);
    const auto* copy = dynamic_cast<const BPointGeo*>(clone.Get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetX(), 1);
    EXPECT_EQ(copy->GetY(), 2);
    EXPECT_TRUE(copy->HasZ());
}

} // namespace
