// Tests of the data-manager bases and the proxy.
#include <Orvane/BCoordSysRepository.h>
#include <Orvane/BDataManager.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BDataReader.h>
#include <Orvane/BException.h>
#include <Orvane/BFeature.h>
#include <Orvane/BLogger.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BProgress.h>
#include <Orvane/BVectorDataReader.h>
#include <Orvane/BVectorLayer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Orvane::BCoordSysRepository;
using Orvane::BDataManagerException;
using Orvane::BDataManagerProxy;
using Orvane::BDataReader;
using Orvane::BFeature;
using Orvane::BLogger;
using Orvane::BMBB;
using Orvane::BParamList;
using Orvane::BPointGeo;
using Orvane::BProgress;
using Orvane::BSharedPtr;
using Orvane::BString;
using Orvane::BVectorDataReader;
using Orvane::BVectorLayer;
using Orvane::MakeShared;

/// Records the calls, in order.
class RecordingReader : public BVectorDataReader
{
public:
    using BDataManager::ReportProgress;
    using BDataManager::SetFailureFlag;
    using BDataManager::SetStatus;
    using BDataReader::TestFileCapabilities;
    using BVectorDataReader::BVectorDataReader;

    ~RecordingReader() override
    {
        if (deletions != nullptr) {
            ++*deletions;
        }
    }

    bool IsOpen() override { return isOpen; }

    std::vector<std::string> calls;
    bool isOpen = false;
    bool fails = false;
    int* deletions = nullptr;

protected:
    void DoOpen(const BString& path, const BParamList& params) override
    {
        calls.push_back("open " + path.ToUtf8() + " " + params.GetString("KEY").ToUtf8());
        isOpen = true;
    }

    void DoClose() override
    {
        calls.emplace_back("close");
        isOpen = false;
    }

    void DoRead() override
    {
        calls.push_back("read " + std::to_string(GetStatus()) + " " +
                        std::to_string(GetFailureFlag()));
        if (fails) {
            throw std::runtime_error("failed while reading");
        }
    }
};

BParamList ListOf(const BString& key, const BString& value)
{
    BParamList list;
    list.Add(key, value);
    return list;
}

TEST(BDataManager, KeepsThePathAndOptionsThatItWasMadeWith)
{
    RecordingReader reader("data.csv", ListOf("KEY", "made"));
    EXPECT_EQ(reader.GetPath(), BString("data.csv"));
    EXPECT_EQ(reader.GetParams().GetString("KEY"), BString("made"));
    reader.GetParams().Clear();
    EXPECT_EQ(std::as_const(reader).GetParams().GetCount(), 0U);
}

TEST(BDataManager, StartsWithoutLayersFlagsAndHelpers)
{
    RecordingReader reader("", BParamList());
    EXPECT_EQ(reader.GetLayers().GetCount(), 0U);
    EXPECT_EQ(reader.GetStatus(), Orvane::EManagerStatus::kDone);
    EXPECT_EQ(reader.GetFailureFlag(), 0);
    EXPECT_EQ(reader.GetManagerFlags(), 0U);
    EXPECT_EQ(reader.GetProgress(), nullptr);
    EXPECT_EQ(reader.GetCoordSysRepository(), nullptr);
    EXPECT_EQ(reader.GetLogger(), nullptr);
    EXPECT_FALSE(reader.SupportsQuery("QUERY_COLUMNS"));
    EXPECT_EQ(reader.GetFilePreview("QUERY_COLUMNS").GetCount(), 0U);
}

TEST(BDataManager, LetsTheHostSwitchTheDiskCache)
{
    RecordingReader reader("", BParamList());
    EXPECT_FALSE(reader.UsingDiskCache());
    EXPECT_TRUE(reader.GetDiskCacheBaseName().IsEmpty());
    EXPECT_EQ(reader.GetDiskCachePageSize(), 1024U);
    reader.SetDiskCache(true, "/cache/base", 7);
    EXPECT_TRUE(reader.UsingDiskCache());
    EXPECT_EQ(reader.GetDiskCacheBaseName(), BString("/cache/base"));
    EXPECT_EQ(reader.GetDiskCachePageSize(), 7U);
    reader.SetDiskCache(true);
    EXPECT_EQ(reader.GetDiskCachePageSize(), 1024U);
}

TEST(BDataManager, ReadsOnOneThreadUnlessTheHostAllowsMore)
{
    RecordingReader reader("", BParamList());
    EXPECT_EQ(reader.GetThreadCount(), 1U);
    reader.SetThreadCount(8);
    EXPECT_EQ(reader.GetThreadCount(), 8U);
    reader.SetThreadCount(0);
    EXPECT_EQ(reader.GetThreadCount(), 1U);
}

BSharedPtr<BVectorLayer> LayerOfPoint(double x, double y, double z)
{
    const BSharedPtr<BVectorLayer> layer = MakeShared<BVectorLayer>();
    const BSharedPtr<BFeature> feature = MakeShared<BFeature>();
    const BSharedPtr<BPointGeo> point = MakeShared<BPointGeo>(x, y, z);
    feature->SetGeometry(point);
    feature->SetMBR(point->GetMBB());
    layer->GetFeatures().Add(feature);
    return layer;
}

TEST(BDataManager, GivesTheBoxAroundAllLayers)
{
    RecordingReader reader("", BParamList());
    EXPECT_TRUE(reader.GetMBR().IsEmpty());
    EXPECT_TRUE(reader.GetMBB().IsEmpty());
    reader.GetLayers().Add(LayerOfPoint(1, 2, 3));
    reader.GetLayers().Add(nullptr);
    reader.GetLayers().Add(MakeShared<BVectorLayer>());
    reader.GetLayers().Add(LayerOfPoint(-4, 5, 6));
    const BMBB box = reader.GetMBB();
    EXPECT_EQ(box.minX, -4);
    EXPECT_EQ(box.maxX, 1);
    EXPECT_EQ(box.minY, 2);
    EXPECT_EQ(box.maxY, 5);
    EXPECT_EQ(box.minZ, 3);
    EXPECT_EQ(box.maxZ, 6);
    EXPECT_EQ(reader.GetMBR().minX, -4);
    EXPECT_EQ(reader.GetMBR().maxY, 5);
}

TEST(BLayers, RefusesAnIndexPastTheEnd)
{
    Orvane::BLayers layers;
    const BSharedPtr<BVectorLayer> layer = MakeShared<BVectorLayer>();
    layers.Add(layer);
    EXPECT_EQ(layers.GetAt(0), layer);
    EXPECT_THROW(static_cast<void>(layers.GetAt(1)), std::out_of_range);
    layers.Clear();
    EXPECT_EQ(layers.GetCount(), 0U);
}

class RecordingProgress : public BProgress
{
public:
    bool ShouldReport(unsigned done, unsigned total) override
    {
        calls.push_back("should " + std::to_string(done) + "/" + std::to_string(total));
        return isWanted;
    }

    bool Report(unsigned done, unsigned total) override
    {
        calls.push_back("report " + std::to_string(done) + "/" + std::to_string(total));
        return goesOn;
    }

    bool isWanted = true;
    bool goesOn = true;
    std::vector<std::string> calls;
};

TEST(BDataManagerReportProgress, GoesOnWithoutAProgressObject)
{
    RecordingReader reader("", BParamList());
    EXPECT_TRUE(reader.ReportProgress(1, 2));
}

TEST(BDataManagerReportProgress, ReportsOnlyWhatIsWanted)
{
    RecordingReader reader("", BParamList());
    RecordingProgress progress;
    reader.SetProgress(&progress);
    EXPECT_EQ(reader.GetProgress(), &progress);
    EXPECT_TRUE(reader.ReportProgress(1, 9));
    progress.isWanted = false;
    progress.goesOn = false;
    EXPECT_TRUE(reader.ReportProgress(2, 9));
    EXPECT_EQ(progress.calls, (std::vector<std::string>{"should 1/9", "report 1/9", "should 2/9"}));
}

TEST(BDataManagerReportProgress, StopsWhenTheReportSaysSo)
{
    RecordingReader reader("", BParamList());
    RecordingProgress progress;
    progress.goesOn = false;
    reader.SetProgress(&progress);
    EXPECT_FALSE(reader.ReportProgress(1, 0));
}

TEST(BVectorDataReader, PerformsTheProtectedOperations)
{
    RecordingReader reader("made.csv", ListOf("KEY", "made"));
    reader.Open("opened.csv", ListOf("KEY", "opened"));
    reader.Read();
    reader.Close();
    EXPECT_EQ(reader.calls,
              (std::vector<std::string>{"open opened.csv opened", "read 0 0", "close"}));
    EXPECT_EQ(reader.GetPath(), BString("made.csv"));
    EXPECT_EQ(reader.GetParams().GetString("KEY"), BString("made"));
}

TEST(BVectorDataReader, OpensAgainWithoutClosingFirst)
{
    RecordingReader reader("", BParamList());
    reader.GetLayers().Add(MakeShared<BVectorLayer>());
    reader.Open("a", BParamList());
    reader.Open("b", BParamList());
    EXPECT_EQ(reader.calls, (std::vector<std::string>{"open a ", "open b "}));
    EXPECT_EQ(reader.GetLayers().GetCount(), 1U);
    reader.Close();
    EXPECT_EQ(reader.GetLayers().GetCount(), 1U);
}

TEST(BVectorDataReader, ResetsStatusAndFailureFlagBeforeEachRead)
{
    RecordingReader reader("", BParamList());
    reader.SetStatus(Orvane::EManagerStatus::kCancelled);
    reader.SetFailureFlag(1);
    reader.isOpen = true;
    reader.Read();
    EXPECT_EQ(reader.calls, std::vector<std::string>{"read 0 0"});
}

TEST(BVectorDataReader, RefusesToReadWhenItIsNotOpen)
{
    RecordingReader reader("", BParamList());
    try {
        reader.Read();
        FAIL() << "nothing was thrown";
    } catch (const Orvane::BDataManagerException& failure) {
        EXPECT_EQ(failure.GetLocation(), BString("BVectorDataReader::Read"));
        EXPECT_EQ(failure.GetDetails(), BString("The reader is not open."));
    }
    EXPECT_TRUE(reader.calls.empty());
}

TEST(BVectorDataReader, PassesExceptionsOnUnchanged)
{
    RecordingReader reader("", BParamList());
    reader.fails = true;
    reader.isOpen = true;
    std::string message;
    try {
        reader.Read();
    } catch (const std::runtime_error& failure) {
        message = failure.what();
    }
    EXPECT_EQ(message, "failed while reading");
}

TEST(BDataReader, OpensThePathUnchanged)
{
    RecordingReader reader("", BParamList());
    EXPECT_EQ(reader.TestFileCapabilities("./a b.csv", BParamList()), BString("./a b.csv"));
}

TEST(BLogger, DropsMessages)
{
    BLogger logger;
    EXPECT_NO_THROW(logger.Log(Orvane::ELogLevel::Error, "message"));
}

class RecordingProxy : public BDataManagerProxy
{
public:
    BDataReader* CreateReader(const BString& path,
                              const BParamList& params,
                              BCoordSysRepository* coordSysRepository,
                              BLogger* logger) override
    {
        auto* reader = new RecordingReader(path, params);
        Initialize(reader, coordSysRepository, logger);
        return reader;
    }
};

TEST(BDataManagerProxy, CanDoNothingByItself)
{
    BDataManagerProxy proxy;
    EXPECT_FALSE(proxy.CanRead("DS_CSV"));
    EXPECT_FALSE(proxy.CanRead("DS_CSV", BParamList()));
    EXPECT_FALSE(proxy.CanWrite("DS_CSV"));
    EXPECT_FALSE(proxy.CanWrite("DS_CSV", BParamList()));
    EXPECT_EQ(proxy.MakeTempInputFileName("path", {"part"}), BString("path"));
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

struct Texts
{
    std::string location;
    std::string message;
};

template <typename Action>
Texts TextsOfFailure(Action action)
{
    try {
        action();
    } catch (const BDataManagerException& failure) {
        return {failure.GetLocation().ToUtf8(), failure.GetMessage().ToUtf8()};
    }
    return {"nothing thrown", ""};
}

TEST(BDataManagerProxy, RefusesToMakeWhatItCannotMake)
{
    BDataManagerProxy proxy;
    const Texts reading =
        TextsOfFailure([&] { proxy.CreateReader("path", BParamList(), nullptr, nullptr); });
    EXPECT_EQ(reading.location, "BDataManagerProxy::CreateReader");
    EXPECT_EQ(reading.message, "Reading is not supported.");
    const Texts writing =
        TextsOfFailure([&] { proxy.CreateWriter("path", BParamList(), nullptr, nullptr); });
    EXPECT_EQ(writing.location, "BDataManagerProxy::CreateWriter");
    EXPECT_EQ(writing.message, "Writing is not supported.");
}

TEST(BDataManagerProxy, PassesRepositoryAndLoggerToTheManager)
{
    RecordingProxy proxy;
    BCoordSysRepository repository;
    BLogger logger;
    BDataReader* reader = proxy.CreateReader("path", BParamList(), &repository, &logger);
    EXPECT_EQ(reader->GetCoordSysRepository(), &repository);
    EXPECT_EQ(reader->GetLogger(), &logger);
    EXPECT_EQ(proxy.GetObjectCount(), 1U);
    proxy.DestroyObject(reader);
}

TEST(BDataManagerProxy, DeletesWhatItMadeOnce)
{
    RecordingProxy proxy;
    int deletions = 0;
    BDataReader* reader = proxy.CreateReader("path", BParamList(), nullptr, nullptr);
    dynamic_cast<RecordingReader&>(*reader).deletions = &deletions;
    proxy.DestroyObject(reader);
    EXPECT_EQ(deletions, 1);
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

TEST(BDataManagerProxy, IgnoresNull)
{
    RecordingProxy proxy;
    EXPECT_NO_THROW(proxy.DestroyObject(nullptr));
}

TEST(BDataManagerProxy, LeavesObjectsOfAnotherProxy)
{
    RecordingProxy proxy;
    RecordingProxy other;
    BDataReader* reader = other.CreateReader("path", BParamList(), nullptr, nullptr);
    const Texts texts = TextsOfFailure([&] { proxy.DestroyObject(reader); });
    EXPECT_EQ(texts.location, "BDataManagerProxy::DestroyObject");
    EXPECT_EQ(texts.message, "The object was not made by this proxy.");
    EXPECT_EQ(other.GetObjectCount(), 1U);
    EXPECT_EQ(reader->GetPath(), BString("path"));
    other.DestroyObject(reader);
}

TEST(BDataManagerProxy, MakesAndDestroysFromSeveralThreads)
{
    RecordingProxy proxy;
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count) {
        threads.emplace_back([&proxy] {
            for (int turn = 0; turn < 500; ++turn) {
                proxy.DestroyObject(proxy.CreateReader("path", BParamList(), nullptr, nullptr));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

} // namespace
