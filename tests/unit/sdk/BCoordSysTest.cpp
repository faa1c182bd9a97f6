// Tests of coordinate systems and their repository.
#include <Orvane/BCoordSys.h>
#include <Orvane/BCoordSysRepository.h>

#include <gtest/gtest.h>

namespace {

using Orvane::BCoordSys;
using Orvane::BCoordSysRepository;
using Orvane::BSharedPtr;
using Orvane::BString;

TEST(BCoordSys, IsUndefinedWhenNew)
{
    const BCoordSys coordSys;
    EXPECT_FALSE(coordSys.IsDefined());
    EXPECT_TRUE(coordSys.GetIdentifier().IsEmpty());
    EXPECT_TRUE(coordSys.GetName().IsEmpty());
    EXPECT_TRUE(coordSys.GetWkt().IsEmpty());
}

TEST(BCoordSys, IsNamedByAuthorityAndCode)
{
    const BCoordSys coordSys("EPSG", "4326", "WGS 84", "GEOGCRS[]");
    EXPECT_TRUE(coordSys.IsDefined());
    EXPECT_EQ(coordSys.GetAuthority(), BString("EPSG"));
    EXPECT_EQ(coordSys.GetCode(), BString("4326"));
    EXPECT_EQ(coordSys.GetIdentifier(), BString("EPSG:4326"));
    EXPECT_EQ(coordSys.GetName(), BString("WGS 84"));
    EXPECT_EQ(coordSys.GetWkt(), BString("GEOGCRS[]"));
    EXPECT_EQ(coordSys, BCoordSys("EPSG", "4326", "WGS 84", "GEOGCRS[]"));
    EXPECT_NE(coordSys, BCoordSys("EPSG", "4326"));
}

TEST(BCoordSysRepository, FindsASystemWhateverTheCase)
{
    BCoordSysRepository repository;
    repository.Add(BCoordSys("EPSG", "4326", "WGS 84"));
    const BSharedPtr<BCoordSys> found = repository.Find("epsg:4326");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->GetName(), BString("WGS 84"));
    EXPECT_FALSE(repository.Find("EPSG:3857"));
    EXPECT_FALSE(repository.Find(""));
}

TEST(BCoordSysRepository, ReplacesASystemWithoutTouchingItsHandles)
{
    BCoordSysRepository repository;
    repository.Add(BCoordSys("EPSG", "4326", "old"));
    const BSharedPtr<BCoordSys> old = repository.Find("EPSG:4326");
    repository.Add(BCoordSys("epsg", "4326", "new"));
    EXPECT_EQ(old->GetName(), BString("old"));
    EXPECT_EQ(repository.Find("EPSG:4326")->GetName(), BString("new"));
}

TEST(BCoordSysRepository, DoesNotAddAnUndefinedSystem)
{
    BCoordSysRepository repository;
    repository.Add(BCoordSys());
    EXPECT_FALSE(repository.Find(""));
    EXPECT_FALSE(repository.Find(":"));
}

} // namespace
