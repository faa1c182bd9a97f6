// The example of a plug-in, loaded as a host loads it: preview, progress, cancel, failures.
#include "support/TestFiles.h"

#include <Orvane/BException.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Orvane::BParamList;
using Orvane::BReaderHandle;
using Orvane::BString;
using TestSupport::ExpectSubclass;

/// Counts the reports and cancels at one of them.
class CancelAt : public Orvane::BProgress
{
public:
    explicit CancelAt(unsigned rows)
        : m_rows(rows)
    {}

    bool ShouldReport(unsigned /*done*/, unsigned /*total*/) override { return true; }

    bool Report(unsigned done, unsigned /*total*/) override
    {
        m_reports.push_back(done);
        return done < m_rows;
    }

    [[nodiscard]] const std::vector<unsigned>& GetReports() const { return m_reports; }

private:
    unsigned m_rows;
    std::vector<unsigned> m_reports;
};

class MarksReader : public testing::Test
{
protected:
    [[nodiscard]] BReaderHandle Open(std::string_view rows,
                                     const BParamList& options = BParamList()) const
    {
        const BString path =
            m_folder.File("a.marks", "marks EPSG:25832\nname x y z class\n" + std::string(rows));
        BReaderHandle reader = m_module.CreateReader(path, options);
        reader->Open(path, options);
        return reader;
    }

    Orvane::BPluginModule m_module{MARKSREADER_MODULE};
    TestSupport::TemporaryFolder m_folder;
};

TEST_F(MarksReader, ReadsTheTypeOfItsExtension)
{
    EXPECT_TRUE(m_module.GetProxy().CanRead("DS_MARKS"));
    EXPECT_TRUE(m_module.GetProxy().CanRead("DS_MARKS", BParamList()));
    EXPECT_FALSE(m_module.GetProxy().CanRead(Orvane::DS_TXT));
    EXPECT_FALSE(m_module.GetProxy().CanRead(Orvane::DS_CSV, BParamList()));
}

TEST_F(MarksReader, ReadsMarksWithTheirCoordinateSystem)
{
    const BReaderHandle reader = Open("# two marks\n\nA 1.5 2.5 3.5 7\r\n\xFF -1e2 0 0 -2");
    EXPECT_TRUE(reader->IsOpen());
    reader->Read();
    Orvane::BVectorLayer& layer = *reader->GetLayers().GetAt(0);
    EXPECT_EQ(layer.GetCoordSys()->GetIdentifier(), BString("EPSG:25832"));
    ASSERT_EQ(layer.GetFeatures().GetCount(), 2U);
    const auto first = layer.GetFeatures().GetAt(0);
    EXPECT_EQ(first->GetName(), BString("A"));
    EXPECT_EQ(first->GetPoint()->GetX(), 1.5);
    EXPECT_EQ(first->GetPoint()->GetZ(), 3.5);
    EXPECT_EQ(first->GetAttributeName(0), BString("class"));
    EXPECT_EQ(first->GetAttributeValue(0), Orvane::BVariant(7));
    EXPECT_EQ(layer.GetFeatures().GetAt(1)->GetName(), BString(u"\uFFFD"));
    EXPECT_EQ(layer.GetFeatures().GetAt(1)->GetPoint()->GetX(), -100);
    reader->Close();
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(layer.GetFeatures().GetCount(), 2U);
}

TEST_F(MarksReader, ShowsNamesAndFirstMarkInItsPreview)
{
    const BReaderHandle reader = Open("A 1 2 3 4\n");
    const BParamList answer = reader->GetFilePreview(Orvane::QUERY_COLUMNS);
    EXPECT_EQ(answer.GetCount(), 7U);
    EXPECT_EQ(answer.GetStrings("1"), (std::vector<BString>{"x", "1"}));
    EXPECT_EQ(answer.GetStrings("4"), (std::vector<BString>{"class", "4"}));
    EXPECT_EQ(answer.GetString(Orvane::FIRST_LINE_COLUMN_NAMES), BString("1"));
    EXPECT_EQ(answer.GetInteger(Orvane::NUM_COLUMNS), 5);
    EXPECT_EQ(reader->GetFilePreview("QUERY_OTHER").GetCount(), 0U);
    reader->Close();
    ExpectSubclass([&] { (void)reader->GetFilePreview(Orvane::QUERY_COLUMNS); },
                   "BDataManagerException",
                   "MarksReader::GetFilePreview",
                   "The reader is not open.");
}

TEST_F(MarksReader, ShowsNamesAloneOfAFileWithoutMarks)
{
    const BParamList answer = Open("")->GetFilePreview(Orvane::QUERY_COLUMNS);
    EXPECT_EQ(answer.GetStrings("0"), (std::vector<BString>{"name", ""}));
}

TEST_F(MarksReader, ReportsPerRowAndOnceMoreAtTheEnd)
{
    const BReaderHandle reader = Open("A 1 2 3 4\nB 1 2 3 4\n");
    CancelAt progress(100);
    reader->SetProgress(&progress);
    reader->Read();
    EXPECT_EQ(progress.GetReports(), (std::vector<unsigned>{1, 2, 2}));
    EXPECT_EQ(reader->GetStatus(), Orvane::EManagerStatus::kDone);
    EXPECT_EQ(reader->GetFailureFlag(), 0);
}

TEST_F(MarksReader, StopsWhenItIsCancelledAndKeepsTheRows)
{
    const BReaderHandle reader = Open("A 1 2 3 4\nB 1 2 3 4\nC 1 2 3 4\n");
    CancelAt progress(2);
    reader->SetProgress(&progress);
    reader->Read();
    EXPECT_EQ(progress.GetReports(), (std::vector<unsigned>{1, 2, 2}));
    EXPECT_EQ(reader->GetStatus(), Orvane::EManagerStatus::kCancelled);
    EXPECT_EQ(reader->GetLayers().GetAt(0)->GetFeatures().GetCount(), 2U);
}

TEST_F(MarksReader, SetsTheFailureFlagAtTheLimit)
{
    const BReaderHandle reader =
        Open("A 1 2 3 4\nB 1 2 3 4\n", TestSupport::Options().Set(Orvane::MAX_RECORDS, 1));
    reader->Read();
    EXPECT_EQ(reader->GetFailureFlag(), 1);
    EXPECT_EQ(reader->GetLayers().GetAt(0)->GetFeatures().GetCount(), 1U);
}

TEST_F(MarksReader, MakesADiskCachedLayerWhenItIsAsked)
{
    const BString path =
        m_folder.File("a.marks", "marks -\nname x y z class\nA 1 2 3 4\nB 1 2 3 4\n");
    const BReaderHandle reader = m_module.CreateReader(path, {});
    reader->SetDiskCache(true, m_folder.Name("cache"), 1);
    reader->Open(path, {});
    reader->Read();
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = reader.GetLayer(0);
    EXPECT_TRUE(layer->IsDiskCached());
    EXPECT_FALSE(layer->GetCoordSys());
    EXPECT_EQ(layer->GetFeatures().GetAt(0)->GetName(), BString("A"));
}

struct FailureCase
{
    const char* name;
    std::string_view file;
    const char* location;
    const char* text;
};

void PrintTo(const FailureCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr FailureCase kFailures[] = {
    {"Empty", "", "MarksReader::Open", "Line 1 is not the first line of a file of marks."},
    {"OtherFormat",
     "x,y\n1,2\n",
     "MarksReader::Open",
     "Line 1 is not the first line of a file of marks."},
    {"NoNames", "# a\nmarks -\n", "MarksReader::Open", "Line 3 does not name five columns."},
    {"FourNames", "marks -\na b c d\n", "MarksReader::Open", "Line 2 does not name five columns."},
    {"FourFields",
     "marks -\nn x y z c\nA 1 2 3\n",
     "MarksReader::Read",
     "Line 3 does not hold the five fields of a mark."},
    {"NoNumber",
     "marks -\nn x y z c\n\nA 1 2,5 3 4\n",
     "MarksReader::Read",
     "Line 4 holds a coordinate that is no number."},
};

class MarksReaderFailure : public MarksReader, public testing::WithParamInterface<FailureCase>
{};

TEST_P(MarksReaderFailure, NamesTheLine)
{
    const BString path = m_folder.File("a.marks", GetParam().file);
    const BReaderHandle reader = m_module.CreateReader(path, {});
    ExpectSubclass(
        [&] {
            reader->Open(path, {});
            reader->Read();
        },
        "BFileContentNotValidException",
        GetParam().location,
        GetParam().text);
    const bool isRead = std::string_view(GetParam().location) == "MarksReader::Read";
    EXPECT_EQ(reader->IsOpen(), isRead);
    EXPECT_EQ(reader->GetLayers().GetCount(), isRead ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(,
                         MarksReaderFailure,
                         testing::ValuesIn(kFailures),
                         TestSupport::CaseName());

TEST_F(MarksReader, RefusesALineWithoutEnd)
{
    const BReaderHandle reader = Open("A 1 2 3 4\n" + std::string(5000, 'a'));
    ExpectSubclass([&] { reader->Read(); },
                   "BFileContentNotValidException",
                   "MarksReader::Read",
                   "Line 4 is longer than 1023 bytes.");
    EXPECT_EQ(reader->GetLayers().GetAt(0)->GetFeatures().GetCount(), 1U);
}

TEST_F(MarksReader, NamesAFileThatIsNotThere)
{
    const BString path = m_folder.Name("none.marks");
    const BReaderHandle reader = m_module.CreateReader(path, {});
    ExpectSubclass(
        [&] { reader->Open(path, {}); }, "BFileNotFoundException", "MarksReader::Open", path);
    EXPECT_FALSE(reader->IsOpen());
}

TEST_F(MarksReader, OpensAgainAfterAFailure)
{
    const BString good = m_folder.File("good.marks", "marks -\nn x y z c\nA 1 2 3 4\n");
    const BString bad = m_folder.File("bad.marks", "marks -\n");
    const BReaderHandle reader = m_module.CreateReader(good, {});
    EXPECT_THROW(reader->Open(bad, {}), Orvane::BFileContentNotValidException);
    reader->Open(good, {});
    reader->Read();
    EXPECT_EQ(reader->GetLayers().GetAt(0)->GetFeatures().GetCount(), 1U);
}

} // namespace
