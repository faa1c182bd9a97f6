// Coordinate systems by their texts, and the library that finds them.
#include "CoordinateSystem.h"

#include "GdalLibrary.h"
#include "GdalServices.h"
#include "plan/Systems.h"

#include <Orvane/Import/Failure.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Orvane::EWkt;
using Orvane::KnownSystem;
using Orvane::Import::FindCoordinateSystem;
using Orvane::Import::FindInGdalLibrary;
using Orvane::Import::ImportFailure;
using Orvane::Import::LoadGdal;

constexpr EWkt kForms[] = {EWkt::First, EWkt::Second2015, EWkt::Second2019};

template <typename Action>
std::string CodeOf(const Action& action)
{
    try {
        action();
    } catch (const ImportFailure& failure) {
        return failure.GetFields().code;
    }
    return {};
}

TEST(FindCoordinateSystem, KnowsWgs84AsGdalFindsIt)
{
    const std::shared_ptr<const KnownSystem> own = FindCoordinateSystem("EPSG:4326");
    const std::shared_ptr<const KnownSystem> found = LoadGdal().findSystem("EPSG:4326");
    ASSERT_NE(own, nullptr);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(own->text, found->text);
    EXPECT_EQ(own->name, found->name);
    EXPECT_EQ(own->authority, found->authority);
    EXPECT_EQ(own->code, found->code);
    EXPECT_TRUE(own->isWgs84);
    EXPECT_TRUE(found->isWgs84);
    for (const EWkt form : kForms) {
        EXPECT_EQ(own->makeWkt(form), found->makeWkt(form));
    }
}

TEST(FindCoordinateSystem, GivesWhatWritersNeedOfASystem)
{
    const std::shared_ptr<const KnownSystem> system = FindCoordinateSystem("EPSG:25832");
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system->text, "EPSG:25832");
    EXPECT_EQ(system->name, "ETRS89 / UTM zone 32N");
    EXPECT_EQ(system->authority, "EPSG");
    EXPECT_EQ(system->code, "25832");
    EXPECT_FALSE(system->isWgs84);
    EXPECT_TRUE(system->makeWkt(EWkt::First).starts_with("PROJCS["));
    EXPECT_TRUE(system->makeWkt(EWkt::Second2019).starts_with("PROJCRS["));
    const Orvane::PointTransform transform = system->makeTransform();
    std::array<double, 2> x = {500000, 1e300};
    std::array<double, 2> y = {0, 1e300};
    transform(x.size(), x.data(), y.data(), nullptr);
    EXPECT_NEAR(x[0], 9, 1e-9);
    EXPECT_NEAR(y[0], 0, 1e-9);
    EXPECT_TRUE(std::isnan(x[1]));
}

TEST(FindCoordinateSystem, SaysWhatIsNoneOrNotKnown)
{
    EXPECT_EQ(FindCoordinateSystem(""), nullptr);
    EXPECT_EQ(CodeOf([] { static_cast<void>(FindCoordinateSystem("WGS84")); }), "crs-form");
    EXPECT_EQ(CodeOf([] { static_cast<void>(FindCoordinateSystem("EPSG:99999")); }), "unknown-crs");
}

TEST(FindCoordinateSystem, HasATextOfTheSecondKindWhereTheFirstSaysNothing)
{
    const std::shared_ptr<const KnownSystem> system = FindCoordinateSystem("EPSG:4979");
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system->makeWkt(EWkt::First), "");
    EXPECT_TRUE(system->makeWkt(EWkt::Second2015).starts_with("GEODCRS["));
}

TEST(GdalLibrary, IsLoadedOnceByThreadsThatNeedItTogether)
{
    constexpr std::size_t kThreads = 8;
    std::array<const void*, kThreads> found{};
    std::array<std::string, kThreads> names;
    {
        std::vector<std::thread> threads;
        for (std::size_t index = 0; index < kThreads; ++index) {
            threads.emplace_back([&found, &names, index] {
                found[index] = FindInGdalLibrary("kOrvaneGdalServices");
                names[index] = FindCoordinateSystem("EPSG:2056")->name;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    for (std::size_t index = 0; index < kThreads; ++index) {
        EXPECT_EQ(found[index], found[0]);
        EXPECT_EQ(names[index], "CH1903+ / LV95");
    }
}

TEST(GdalLibrary, SaysWhatItDoesNotHave)
{
    try {
        static_cast<void>(FindInGdalLibrary("Nothing"));
        FAIL() << "nothing was thrown";
    } catch (const ImportFailure& failure) {
        EXPECT_EQ(failure.GetKind(), Orvane::Import::EFailureKind::Module);
        EXPECT_EQ(failure.GetFields().code, "library-load");
        EXPECT_NE(failure.GetFields().what.find("/liborvanegdal.so."), std::string::npos);
        EXPECT_NE(failure.GetFields().cause.find("Nothing"), std::string::npos);
        EXPECT_EQ(failure.GetFields().advice, "Install what it needs: GDAL, PROJ and libpq.");
    }
    EXPECT_NE(FindInGdalLibrary("kOrvaneSystemServices"), nullptr);
}

TEST(IdentifySystem, NamesTheSystemOfAText)
{
    const std::string text = FindCoordinateSystem("EPSG:2056")->makeWkt(EWkt::First);
    EXPECT_EQ(Orvane::Import::IdentifySystem(text).name, "EPSG:2056");
    EXPECT_EQ(Orvane::Import::IdentifySystem("none").name, "");
}

TEST(IdentifySystem, FindsTheSystemOfATextWithOtherNamesAndNoCode)
{
    EXPECT_EQ(Orvane::Import::IdentifySystem(
                  R"(PROJCS["ETRS_1989_UTM_Zone_32N",GEOGCS["GCS_ETRS_1989",DATUM["D_ETRS_1989",)"
                  R"(SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],)"
                  R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
                  R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
                  R"(PARAMETER["Central_Meridian",9.0],PARAMETER["Scale_Factor",0.9996],)"
                  R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])")
                  .name,
              "EPSG:25832");
    EXPECT_EQ(Orvane::Import::IdentifySystem(
                  R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,)"
                  R"(298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])")
                  .name,
              "EPSG:4326");
    // A system of one's own is not taken for the nearest one.
    EXPECT_EQ(Orvane::Import::IdentifySystem(
                  R"(PROJCS["Site 7",GEOGCS["GCS_ETRS_1989",DATUM["D_ETRS_1989",)"
                  R"(SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],)"
                  R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
                  R"(PARAMETER["False_Easting",1000.0],PARAMETER["False_Northing",0.0],)"
                  R"(PARAMETER["Central_Meridian",8.7],PARAMETER["Scale_Factor",1.0],)"
                  R"(PARAMETER["Latitude_Of_Origin",47.0],UNIT["Meter",1.0]])")
                  .name,
              "");
}

} // namespace
