// Tests of the file-system questions.
#include <Orvane/BFileUtilities.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using Orvane::BString;
namespace BFileUtilities = Orvane::BFileUtilities;

/// A folder of its own for each test, removed afterwards.
class BFileUtilitiesTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string folder = (std::filesystem::temp_directory_path() / "orvane-XXXXXX").string();
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        m_folder = folder;
        m_formerFolder = std::filesystem::current_path();
    }

    void TearDown() override
    {
        std::filesystem::current_path(m_formerFolder);
        std::filesystem::remove_all(m_folder);
    }

    [[nodiscard]] BString PathOf(const std::string& name) const
    {
        return (m_folder / name).string();
    }

    std::filesystem::path m_folder;

private:
    std::filesystem::path m_formerFolder;
};

TEST_F(BFileUtilitiesTest, CompletesARelativePathFromTheCurrentFolder)
{
    std::filesystem::current_path(m_folder);
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(BFileUtilities::CompletePath("data.csv"), BString(here + "/data.csv"));
    EXPECT_EQ(BFileUtilities::CompletePath("./a//b/../data.csv"), BString(here + "/a/data.csv"));
    EXPECT_EQ(BFileUtilities::CompletePath("."), BString(here));
}

TEST_F(BFileUtilitiesTest, CleansAnAbsolutePathByTextAlone)
{
    EXPECT_EQ(BFileUtilities::CompletePath("/no/such/../place//data.csv"),
              BString("/no/place/data.csv"));
    EXPECT_EQ(BFileUtilities::CompletePath("/"), BString("/"));
    std::filesystem::create_directory_symlink("/usr/share", m_folder / "link");
    EXPECT_EQ(BFileUtilities::CompletePath(PathOf("link/../data.csv")), PathOf("data.csv"));
}

TEST_F(BFileUtilitiesTest, KeepsTheEmptyPathEmpty)
{
    EXPECT_TRUE(BFileUtilities::CompletePath("").IsEmpty());
}

TEST_F(BFileUtilitiesTest, SeesFilesFoldersAndDevices)
{
    std::ofstream(m_folder / "data.csv") << "x";
    EXPECT_TRUE(BFileUtilities::Exists(PathOf("data.csv")));
    EXPECT_TRUE(BFileUtilities::Exists(PathOf("")));
    EXPECT_TRUE(BFileUtilities::Exists("/dev/null"));
    EXPECT_FALSE(BFileUtilities::Exists(PathOf("other.csv")));
    EXPECT_FALSE(BFileUtilities::Exists(""));
}

TEST_F(BFileUtilitiesTest, SeesNamesOutsideAscii)
{
    std::ofstream(m_folder / "m\xC3\xA9t\xC3\xA9o \xF0\x9F\x98\x80.csv") << "x";
    EXPECT_TRUE(BFileUtilities::Exists(PathOf("m\xC3\xA9t\xC3\xA9o \xF0\x9F\x98\x80.csv")));
}

TEST_F(BFileUtilitiesTest, AcceptsALeadingColonAsPartOfAName)
{
    std::filesystem::current_path(m_folder);
    const std::string here = std::filesystem::current_path().string();
    std::ofstream(m_folder / ":data.csv") << "x";
    EXPECT_EQ(BFileUtilities::CompletePath(":data.csv"), BString(here + "/:data.csv"));
    EXPECT_TRUE(BFileUtilities::Exists(":data.csv"));
    EXPECT_FALSE(BFileUtilities::Exists(":"));
}

TEST_F(BFileUtilitiesTest, FollowsLinks)
{
    std::filesystem::create_symlink("target", m_folder / "link");
    EXPECT_FALSE(BFileUtilities::Exists(PathOf("link")));
    std::ofstream(m_folder / "target") << "x";
    EXPECT_TRUE(BFileUtilities::Exists(PathOf("link")));
}

} // namespace
