// The built module, driven through the SDK's interfaces alone.
#include "support/TestFiles.h"

#include <Orvane/BCoordSysRepository.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BFeature.h>
#include <Orvane/BLogger.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Orvane::BDataManagerProxy;
using Orvane::BDataReader;
using Orvane::BParamList;
using Orvane::BString;
using TestSupport::CountOpenDescriptors;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectInvalidSubscript;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;
using Lines = std::vector<std::string>;

class AsciiReaderModule : public testing::Test
{
protected:
    void SetUp() override
    {
        m_module = dlopen(ASCIIREADER_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_module, nullptr) << dlerror();
        m_getProxy = reinterpret_cast<Orvane::GetDataMgrProxyFunction>(
            dlsym(m_module, Orvane::kGetDataMgrProxyName));
        ASSERT_NE(m_getProxy, nullptr);
        m_proxy = m_getProxy();
        ASSERT_NE(m_proxy, nullptr);
    }

    void* m_module = nullptr;
    Orvane::GetDataMgrProxyFunction m_getProxy = nullptr;
    BDataManagerProxy* m_proxy = nullptr;
    TemporaryFolder m_folder;
};

TEST_F(AsciiReaderModule, GivesTheSameProxyOnEveryCall)
{
    EXPECT_EQ(m_getProxy(), m_proxy);
    void* again = dlopen(ASCIIREADER_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_EQ(again, m_module);
    EXPECT_EQ(m_getProxy(), m_proxy);
    dlclose(again);
}

TEST_F(AsciiReaderModule, HasItsFunctionUnderThePlainName)
{
    EXPECT_STREQ(Orvane::kGetDataMgrProxyName, "GetDataMgrProxy");
    EXPECT_NE(dlsym(m_module, "GetDataMgrProxy"), nullptr);
}

TEST_F(AsciiReaderModule, ExportsOneSymbol)
{
    const std::string command =
        std::string(ORVANE_NM) + " -D --defined-only '" + ASCIIREADER_MODULE + "'";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), count);
    }
    ASSERT_EQ(pclose(pipe), 0) << command;
    Lines symbols;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string address;
        std::string kind;
        std::string name;
        words >> address >> kind >> name;
        symbols.push_back(kind + " " + name);
    }
    EXPECT_EQ(symbols, (Lines{"T GetDataMgrProxy"}));
}

TEST_F(AsciiReaderModule, SaysWhichTypesItReads)
{
    for (const BString& type : {Orvane::DS_CSV, Orvane::DS_TSV, Orvane::DS_TXT, Orvane::DS_SSV}) {
        EXPECT_TRUE(m_proxy->CanRead(type)) << type.ToUtf8();
        EXPECT_TRUE(m_proxy->CanRead(type, BParamList())) << type.ToUtf8();
        EXPECT_FALSE(m_proxy->CanWrite(type)) << type.ToUtf8();
        EXPECT_FALSE(m_proxy->CanWrite(type, BParamList())) << type.ToUtf8();
    }
    EXPECT_FALSE(m_proxy->CanRead(Orvane::DS_SHP));
    EXPECT_FALSE(m_proxy->CanRead(Orvane::DS_GPX, BParamList()));
    EXPECT_FALSE(m_proxy->CanRead(""));
}

TEST_F(AsciiReaderModule, ServesTheWholeReaderProtocol)
{
    const BString path = m_folder.File("wells.txt", "x\ty\tname\n1.5\t-2\tAnn\n3\t4\tBob\n");
    const Options options = Options().XY(0, 1).Names();
    Orvane::BCoordSysRepository repository;
    Orvane::BLogger logger;
    BDataReader* reader = m_proxy->CreateReader(path, options, &repository, &logger);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(m_proxy->GetObjectCount(), 1U);
    EXPECT_EQ(reader->GetManagerFlags(), 513U);
    EXPECT_EQ(reader->GetCoordSysRepository(), &repository);
    EXPECT_EQ(reader->GetLogger(), &logger);
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(CountOpenDescriptors(path), 0U);

    reader->Open(path, options);
    EXPECT_TRUE(reader->IsOpen());
    ASSERT_EQ(reader->GetLayers().GetCount(), 1U);
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = reader->GetLayers().GetAt(0);
    EXPECT_EQ(layer->GetName(), BString("wells"));
    EXPECT_EQ(Describe(layer->GetSchema()), (Lines{"name:11:0:0"}));

    reader->Read();
    EXPECT_EQ(reader->GetFailureFlag(), 0);
    EXPECT_EQ(reader->GetStatus(), 0);
    EXPECT_EQ(Describe(*layer), (Lines{"1 (1.5 -2) name=11:Ann", "2 (3 4) name=11:Bob"}));
    EXPECT_EQ(reader->GetMBR().minX, 1.5);
    EXPECT_EQ(reader->GetMBR().maxY, 4);

    reader->Close();
    EXPECT_FALSE(reader->IsOpen());
    m_proxy->DestroyObject(reader);
    EXPECT_EQ(m_proxy->GetObjectCount(), 0U);
    // The host's share of the layer outlives the reader.
    EXPECT_EQ(layer->GetFeatures().GetCount(), 2U);
}

TEST_F(AsciiReaderModule, AnswersThePreviewQuery)
{
    const BString path = m_folder.File("a.csv", "x,y\n1,2\n");
    BDataReader* reader = m_proxy->CreateReader(path, BParamList(), nullptr, nullptr);
    EXPECT_TRUE(reader->SupportsQuery(Orvane::QUERY_COLUMNS));
    ExpectBException([&] { (void)reader->GetFilePreview(Orvane::QUERY_COLUMNS); },
                     "File is not open and can not be read.",
                     "BAsciiReader::GetFilePreview");
    reader->Open(path, BParamList());
    const BParamList preview = reader->GetFilePreview(Orvane::QUERY_COLUMNS);
    EXPECT_EQ(preview.GetStrings("1"), (Texts{"y", "2"}));
    EXPECT_EQ(preview.GetString(Orvane::FIRST_LINE_COLUMN_NAMES), BString("1"));
    EXPECT_EQ(preview.GetInteger(Orvane::NUM_COLUMNS), 2);
    reader->Close();
    m_proxy->DestroyObject(reader);
}

TEST_F(AsciiReaderModule, ThrowsClassesThatTheHostCatches)
{
    const BString path = m_folder.File("a.csv", "a\n\"b\n");
    BDataReader* reader = m_proxy->CreateReader(path, BParamList(), nullptr, nullptr);
    ExpectSubclass([&] { reader->Open(path, BParamList()); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
    reader->Close();
    bool isCaughtByClass = false;
    try {
        reader->Open(path, BParamList());
    } catch (const Orvane::BFileContentNotValidException&) {
        isCaughtByClass = true;
    }
    EXPECT_TRUE(isCaughtByClass);
    reader->Close();
    m_proxy->DestroyObject(reader);
}

TEST_F(AsciiReaderModule, ThrowsTheStandardErrorOfADisagreeingDefinition)
{
    const BString path = m_folder.File("a.csv", "1,2\n");
    const Options options = Options().Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,0,0"});
    BDataReader* reader = m_proxy->CreateReader(path, options, nullptr, nullptr);
    ExpectInvalidSubscript([&] { reader->Open(path, options); });
    reader->Close();
    m_proxy->DestroyObject(reader);
}

TEST_F(AsciiReaderModule, DestroysAReaderThatIsStillOpen)
{
    const BString path = m_folder.File("a.csv", "a\n");
    BDataReader* reader = m_proxy->CreateReader(path, BParamList(), nullptr, nullptr);
    reader->Open(path, BParamList());
    EXPECT_EQ(CountOpenDescriptors(path), 1U);
    m_proxy->DestroyObject(reader);
    EXPECT_EQ(CountOpenDescriptors(path), 0U);
}

// Slot 0 has two entries of the table, so the function of slot n stands at n + 1.
TEST_F(AsciiReaderModule, InheritsTheWritingSlotsOfItsProxy)
{
    const BDataManagerProxy base;
    void* const* ours = nullptr;
    void* const* inherited = nullptr;
    std::memcpy(&ours, static_cast<const void*>(m_proxy), sizeof ours);
    std::memcpy(&inherited, static_cast<const void*>(&base), sizeof inherited);
    for (const std::size_t slot : {3U, 4U, 6U, 7U, 8U}) {
        EXPECT_EQ(ours[slot + 1], inherited[slot + 1]) << slot;
    }
    for (const std::size_t slot : {0U, 1U, 2U, 5U}) {
        EXPECT_NE(ours[slot + 1], inherited[slot + 1]) << slot;
    }
}

} // namespace
