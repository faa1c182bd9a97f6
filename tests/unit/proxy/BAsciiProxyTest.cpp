// What the proxy answers and makes.
#include "proxy/BAsciiProxy.h"

#include "reader/BAsciiReader.h"
#include "support/TestFiles.h"

#include <Orvane/BCoordSysRepository.h>
#include <Orvane/BLogger.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

namespace {

using AsciiReader::BAsciiProxy;
using AsciiReader::BAsciiReader;
using Orvane::BDataReader;
using Orvane::BString;
using TestSupport::CountOpenDescriptors;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;

TEST(BAsciiProxyCanRead, IsTrueForTheFourTextTypes)
{
    BAsciiProxy proxy;
    for (const BString& type : {Orvane::DS_CSV, Orvane::DS_TSV, Orvane::DS_TXT, Orvane::DS_SSV}) {
        EXPECT_TRUE(proxy.CanRead(type)) << type.ToUtf8();
        EXPECT_TRUE(proxy.CanRead(type, Options())) << type.ToUtf8();
    }
}

// Rule: there is no type for the extension .asc, though the reader accepts such files.
TEST(BAsciiProxyCanRead, IsFalseForAnyOtherType)
{
    BAsciiProxy proxy;
    for (const BString& type : {Orvane::DS_SHP,
                                Orvane::DS_GPX,
                                BString(),
                                BString("DS_ASC"),
                                Orvane::DS_CSV.ToLower(),
                                Orvane::DS_CSV + BString(" ")}) {
        EXPECT_FALSE(proxy.CanRead(type)) << type.ToUtf8();
        EXPECT_FALSE(proxy.CanRead(type, Options())) << type.ToUtf8();
    }
}

TEST(BAsciiProxyCanRead, DoesNotLookAtTheOptions)
{
    BAsciiProxy proxy;
    EXPECT_TRUE(proxy.CanRead(Orvane::DS_TXT, Options().Set(Orvane::USE_TAB, false)));
    EXPECT_FALSE(proxy.CanRead(Orvane::DS_SHP, Options().Set(Orvane::USE_COMMA, true)));
}

TEST(BAsciiProxyCanWrite, IsFalse)
{
    BAsciiProxy proxy;
    EXPECT_FALSE(proxy.CanWrite(Orvane::DS_CSV));
    EXPECT_FALSE(proxy.CanWrite(Orvane::DS_CSV, Options()));
}

TEST(BAsciiProxyCreateReader, MakesAClosedReaderWithItsFlagsAndOptions)
{
    BAsciiProxy proxy;
    Orvane::BCoordSysRepository repository;
    Orvane::BLogger logger;
    BDataReader* reader = proxy.CreateReader(
        "missing.csv", Options().Set(Orvane::MAX_RECORDS, 3), &repository, &logger);
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(dynamic_cast<BAsciiReader*>(reader), nullptr);
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(reader->GetManagerFlags(), 513U);
    EXPECT_EQ(reader->GetPath(), BString("missing.csv"));
    EXPECT_EQ(reader->GetParams().GetInteger(Orvane::MAX_RECORDS), 3);
    EXPECT_EQ(reader->GetCoordSysRepository(), &repository);
    EXPECT_EQ(reader->GetLogger(), &logger);
    EXPECT_EQ(proxy.GetObjectCount(), 1U);
    proxy.DestroyObject(reader);
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

TEST(BAsciiProxyCreateReader, AcceptsNoRepositoryAndNoLogger)
{
    BAsciiProxy proxy;
    BDataReader* reader = proxy.CreateReader("a.csv", Options(), nullptr, nullptr);
    EXPECT_EQ(reader->GetCoordSysRepository(), nullptr);
    EXPECT_EQ(reader->GetLogger(), nullptr);
    proxy.DestroyObject(reader);
}

TEST(BAsciiProxyDestroyObject, ClosesAnOpenReader)
{
    const TemporaryFolder folder;
    const BString path = folder.File("a.csv", "a\n");
    BAsciiProxy proxy;
    BDataReader* reader = proxy.CreateReader(path, Options(), nullptr, nullptr);
    reader->Open(path, Options());
    EXPECT_EQ(CountOpenDescriptors(path), 1U);
    proxy.DestroyObject(reader);
    EXPECT_EQ(CountOpenDescriptors(path), 0U);
}

TEST(BAsciiProxyCreateWriter, IsTheRefusalOfTheBase)
{
    BAsciiProxy proxy;
    ExpectSubclass([&] { (void)proxy.CreateWriter("a.csv", Options(), nullptr, nullptr); },
                   "BDataManagerException",
                   "BDataManagerProxy::CreateWriter",
                   "Writing is not supported.");
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

} // namespace
