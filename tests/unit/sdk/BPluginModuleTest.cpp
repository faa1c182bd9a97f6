// Modules that are loaded and unloaded, and readers that are destroyed.
#include "support/TestFiles.h"

#include <Orvane/BException.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Orvane::BPluginModule;
using Orvane::BReaderHandle;
using Orvane::BSharedPtr;
using Orvane::BString;
using Orvane::BVectorLayer;
using Orvane::EModuleBinding;
using TestSupport::ExpectBException;
using TestSupport::TemporaryFolder;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kStaysLoaded = true;
#else
constexpr bool kStaysLoaded = false;
#endif

bool IsLoaded()
{
    void* handle = dlopen(ASCIIREADER_MODULE, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    dlclose(handle);
    return true;
}

class BPluginModuleTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kStaysLoaded || !IsLoaded());
        m_path = m_folder.File("points.csv", "x,y,n\n1,2,a\n3,4,b\n");
    }

    // Where modules stay loaded for the leak checker, one that was refused was never loaded.
    void TearDown() override { EXPECT_TRUE(kStaysLoaded || !IsLoaded()); }

    [[nodiscard]] BReaderHandle ReadPoints(const BPluginModule& module) const
    {
        const Orvane::BParamList options = TestSupport::Options().XY(0, 1).Names();
        BReaderHandle reader = module.CreateReader(m_path, options);
        reader->Open(m_path, options);
        reader->Read();
        return reader;
    }

    TemporaryFolder m_folder;
    BString m_path;
};

TEST_F(BPluginModuleTest, StaysLoadedWhileACopyLives)
{
    std::optional<BPluginModule> first(ASCIIREADER_MODULE);
    std::optional<BPluginModule> second(first);
    EXPECT_EQ(first->GetFile(), std::filesystem::path(ASCIIREADER_MODULE));
    first.reset();
    EXPECT_TRUE(second->GetProxy().CanRead(Orvane::DS_CSV));
}

TEST_F(BPluginModuleTest, GivesTheSameProxyForTheSameModule)
{
    const BPluginModule first(ASCIIREADER_MODULE);
    const BPluginModule second(ASCIIREADER_MODULE);
    EXPECT_EQ(&first.GetProxy(), &second.GetProxy());
}

TEST_F(BPluginModuleTest, StaysLoadedWhileAReaderLives)
{
    BReaderHandle reader = ReadPoints(BPluginModule(ASCIIREADER_MODULE));
    EXPECT_EQ(reader->GetLayers().GetAt(0)->GetFeatures().GetCount(), 2U);
    reader->Close();
}

TEST_F(BPluginModuleTest, StaysLoadedWhileALayerOfAHandleLives)
{
    BSharedPtr<BVectorLayer> layer;
    {
        BReaderHandle reader = ReadPoints(BPluginModule(ASCIIREADER_MODULE));
        layer = reader.GetLayer(0);
        EXPECT_EQ(layer.Get(), reader->GetLayers().GetAt(0).Get());
    }
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(layer->GetFeatures().GetAt(1)->GetAttributeValue(0).GetString(), BString("b"));
}

TEST_F(BPluginModuleTest, LetsExceptionsOutliveTheModule)
{
    std::exception_ptr failure;
    try {
        const BPluginModule module(ASCIIREADER_MODULE);
        const BReaderHandle reader = module.CreateReader(m_folder.Name("none.csv"), {});
        reader->Open(m_folder.Name("none.csv"), {});
    } catch (...) {
        failure = std::current_exception();
    }
    EXPECT_EQ(IsLoaded(), kStaysLoaded);
    TestSupport::ExpectSubclass([&] { std::rethrow_exception(failure); },
                                "BFileNotFoundException",
                                "BAsciiFile::Open",
                                m_folder.Name("none.csv"));
}

TEST_F(BPluginModuleTest, LoadsWithTheModulesOwnLibrariesFirst)
{
    const BPluginModule module(ASCIIREADER_MODULE, EModuleBinding::Deep);
    EXPECT_EQ(ReadPoints(module)->GetLayers().GetCount(), 1U);
}

TEST_F(BPluginModuleTest, ResolvesARelativePathFromTheWorkingFolder)
{
    const std::filesystem::path before = std::filesystem::current_path();
    const std::filesystem::path file(ASCIIREADER_MODULE);
    std::filesystem::current_path(file.parent_path());
    const BPluginModule module(file.filename());
    std::filesystem::current_path(before);
    EXPECT_EQ(module.GetFile(), file);
}

TEST_F(BPluginModuleTest, NamesAFileThatIsNotThere)
{
    ExpectBException([] { const BPluginModule module("none/module.so"); },
                     "The plug-in <none/module.so> was not found.",
                     "PluginModule::Load");
    ExpectBException([] { const BPluginModule module(""); },
                     "The plug-in <> was not found.",
                     "PluginModule::Load");
}

TEST_F(BPluginModuleTest, RefusesAFolder)
{
    const std::string folder = m_folder.Path().string();
    ExpectBException([&] { const BPluginModule module(folder); },
                     "The plug-in <" + folder + "> could not be loaded.",
                     "PluginModule::Load",
                     "It is not a file.");
}

TEST_F(BPluginModuleTest, RefusesALibraryWithoutTheFunction)
{
    ExpectBException([] { const BPluginModule module(ORVANE_SDK_LIBRARY); },
                     "The library <" ORVANE_SDK_LIBRARY "> is no plug-in.",
                     "PluginModule::Load",
                     "It has no function GetDataMgrProxy.");
}

TEST_F(BPluginModuleTest, RefusesAFileThatIsNoLibraryWithTheLoadersWords)
{
    const std::string text = (m_folder.Path() / "points.csv").string();
    const TestSupport::Failure failure =
        TestSupport::CatchFailure([&] { const BPluginModule module(text); });
    EXPECT_EQ(failure.message, BString("The plug-in <" + text + "> could not be loaded."));
    EXPECT_NE(failure.details, BString());
}

TEST_F(BPluginModuleTest, RefusesAModuleThatIsCutShort)
{
    const std::filesystem::path cut = m_folder.Path() / "cut.so";
    std::filesystem::copy_file(ASCIIREADER_MODULE, cut);
    std::filesystem::resize_file(cut, 4096); // the part that is loaded first
    ExpectBException([&] { const BPluginModule module(cut); },
                     "The plug-in <" + cut.string() + "> could not be loaded.",
                     "PluginModule::Load",
                     "The file is cut short.");
}

TEST_F(BPluginModuleTest, HandsAReaderOnFromHandleToHandle)
{
    const BPluginModule module(ASCIIREADER_MODULE);
    BReaderHandle first = ReadPoints(module);
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 1U);
    BReaderHandle second(std::move(first));
    BReaderHandle third = ReadPoints(module);
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 2U);
    third = std::move(second);
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 1U);
    EXPECT_TRUE(third);
    third.Reset();
    EXPECT_FALSE(third);
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 0U);
    third.Reset();
    static_assert(!std::is_copy_constructible_v<BReaderHandle>);
}

TEST_F(BPluginModuleTest, DestroysAReaderAfterAFailure)
{
    const BPluginModule module(ASCIIREADER_MODULE);
    EXPECT_THROW(
        {
            const BReaderHandle reader = module.CreateReader(m_path, {});
            reader->Read();
        },
        Orvane::BDataManagerException);
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 0U);
}

// Rule: a reader that cannot be destroyed changes nothing about what was read from it.
TEST_F(BPluginModuleTest, LeavesAReaderThatItsProxyDoesNotKnow)
{
    const BPluginModule module(ASCIIREADER_MODULE);
    BReaderHandle reader = ReadPoints(module);
    BReaderHandle again(module, reader.Get());
    reader.Reset();
    again.Reset();
    EXPECT_EQ(module.GetProxy().GetObjectCount(), 0U);
}

TEST_F(BPluginModuleTest, RefusesALayerThatIsNotThere)
{
    const BPluginModule module(ASCIIREADER_MODULE);
    const BReaderHandle reader = ReadPoints(module);
    TestSupport::ExpectInvalidSubscript([&] { (void)reader.GetLayer(1); });
}

} // namespace
