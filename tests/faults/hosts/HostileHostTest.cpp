// Hosts that call in any order, throw, cancel, and pass options of every kind.
#include "proxy/BAsciiProxy.h"
#include "reader/BAsciiReader.h"
#include "support/TestFiles.h"
#include "text/OptionRules.h"

#include <Orvane/Constants.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace {

using namespace Orvane;
using namespace TestSupport;
using AsciiReader::BAsciiReader;
using Lines = std::vector<std::string>;

constexpr const char* kRows = "lon,lat,name,count\n"
                              "1.5,2.5,\"a, b\",3\n"
                              "3.5,4.5,c,4\n"
                              "5.5,6.5,\"d\ne\",5\n"
                              ",,f,6\n"
                              "7.5,8.5,g\n"
                              "9.5,10.5,h,7\n";
constexpr std::size_t kRowCount = 6;

bool IsExhaustive()
{
    return std::getenv("ORVANE_FAULTS_ALL") != nullptr;
}

unsigned Seed()
{
    const char* const given = std::getenv("ORVANE_FAULTS_SEED");
    return given == nullptr ? 1U : static_cast<unsigned>(std::atoi(given));
}

/// Runs the action. @return whether it threw nothing but what may leave
testing::AssertionResult LeavesListed(const std::function<void()>& action)
{
    try {
        action();
    } catch (const BException&) {
        return testing::AssertionSuccess();
    } catch (const std::out_of_range& error) {
        if (std::string(error.what()) == "invalid vector subscript") {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "std::out_of_range " << error.what();
    } catch (const std::exception& error) {
        return testing::AssertionFailure() << typeid(error).name() << " " << error.what();
    } catch (...) {
        return testing::AssertionFailure() << "something that is no exception";
    }
    return testing::AssertionSuccess();
}

/// A number below `count`.
unsigned Pick(std::minstd_rand& random, std::size_t count)
{
    return static_cast<unsigned>(random() % count);
}

class HostileHost : public testing::Test
{
protected:
    HostileHost()
        : m_path(m_folder.File("a.csv", kRows))
        , m_params(Options().XY(0, 1).Names())
    {}

    std::size_t CountOpen() const { return CountOpenDescriptors(m_path); }

    TemporaryFolder m_folder;
    BString m_path;
    BParamList m_params;
};

TEST_F(HostileHost, ReadingAndPreviewingNeedAnOpenReader)
{
    BAsciiReader reader(m_path, m_params);
    const auto expectNotOpen = [&reader] {
        ExpectSubclass([&] { reader.Read(); },
                       "BDataManagerException",
                       "BVectorDataReader::Read",
                       "The reader is not open.");
        ExpectBException([&] { reader.GetFilePreview(QUERY_COLUMNS); },
                         "File is not open and can not be read.",
                         "BAsciiReader::GetFilePreview");
        EXPECT_FALSE(reader.IsOpen());
    };
    expectNotOpen();
    reader.Close();
    reader.Close();
    expectNotOpen();
    reader.Open(m_path, m_params);
    EXPECT_TRUE(reader.IsOpen());
    reader.Close();
    expectNotOpen();
    reader.Close();
    EXPECT_EQ(CountOpen(), 0U);
}

TEST_F(HostileHost, AnOpenReaderIsDestroyedWithItsFileAndItsLayerStays)
{
    BSharedPtr<BVectorLayer> layer;
    {
        BAsciiReader reader(m_path, m_params);
        reader.Open(m_path, m_params);
        reader.Read();
        layer = reader.GetLayers().GetAt(0);
    }
    EXPECT_EQ(CountOpen(), 0U);
    EXPECT_EQ(Describe(*layer).size(), kRowCount);
}

TEST_F(HostileHost, TwoReadersOfOneFileDoNotKnowOfEachOther)
{
    BAsciiReader first(m_path, m_params);
    BAsciiReader second(m_path, m_params);
    first.Open(m_path, m_params);
    second.Open(m_path, m_params);
    first.GetFilePreview(QUERY_COLUMNS);
    second.Read();
    EXPECT_EQ(second.GetLayers().GetAt(0)->GetFeatures().GetCount(), kRowCount);
    second.Close();
    first.Read();
    EXPECT_EQ(first.GetLayers().GetAt(0)->GetFeatures().GetCount(), kRowCount - 2);
}

TEST_F(HostileHost, AReaderThatIsOpenedTwiceReadsAfresh)
{
    const LeaksByRule leaks;
    BAsciiReader reader(m_path, m_params);
    reader.Open(m_path, m_params);
    reader.Read();
    reader.Open(m_path, m_params);
    reader.Read();
    ASSERT_EQ(reader.GetLayers().GetCount(), 2U);
    EXPECT_EQ(Describe(*reader.GetLayers().GetAt(1)), Describe(*reader.GetLayers().GetAt(0)));
}

TEST_F(HostileHost, CallsInAnyOrderThrowNothingElse)
{
    const LeaksByRule leaks;
    std::minstd_rand random(Seed());
    AsciiReader::BAsciiProxy proxy;
    const std::vector<BString> paths = {m_path,
                                        m_path,
                                        m_path,
                                        m_folder.Name("none.csv"),
                                        m_folder.File("empty.csv", ""),
                                        m_folder.File("b.txt", "1\n")};
    const std::size_t walks = IsExhaustive() ? 20000 : 10000;
    const int firstFree = dup(STDERR_FILENO);
    close(firstFree);
    std::size_t reads = 0;
    for (std::size_t walk = 0; walk < walks; ++walk) {
        BDataReader* reader = proxy.CreateReader(m_path, m_params, nullptr, nullptr);
        std::string steps;
        NotingProgress progress;
        for (unsigned step = Pick(random, 12); step > 0; --step) {
            const unsigned choice = Pick(random, 11);
            steps += std::to_string(choice) + " ";
            ASSERT_TRUE(LeavesListed([&] {
                switch (choice) {
                case 0:
                case 1:
                    reader->Open(paths[Pick(random, paths.size())], m_params);
                    break;
                case 2:
                case 3:
                    reader->Read();
                    ++reads;
                    break;
                case 4:
                    reader->Close();
                    break;
                case 5:
                    reader->GetFilePreview(Pick(random, 2) == 0 ? QUERY_COLUMNS : X_COLUMN);
                    break;
                case 6:
                    reader->GetParams() = Pick(random, 2) == 0 ? m_params : BParamList();
                    break;
                case 7:
                    reader->SetDiskCache(
                        Pick(random, 2) == 0,
                        m_folder.Name(Pick(random, 2) == 0 ? "cache" : "none/cache"),
                        Pick(random, 3));
                    break;
                case 8:
                    progress.refusedReport = Pick(random, 4);
                    reader->SetProgress(Pick(random, 2) == 0 ? &progress : nullptr);
                    break;
                case 9:
                    static_cast<void>(reader->GetMBR());
                    static_cast<void>(reader->GetMBB());
                    static_cast<void>(reader->IsOpen());
                    break;
                default:
                    for (std::size_t i = 0; i < reader->GetLayers().GetCount(); ++i) {
                        static_cast<void>(Describe(*reader->GetLayers().GetAt(i)));
                    }
                    break;
                }
            })) << steps;
        }
        proxy.DestroyObject(reader);
        // Engines that are abandoned by rule keep their files open; this test makes thousands.
        for (int descriptor = firstFree; descriptor < firstFree + 64; ++descriptor) {
            close(descriptor);
        }
    }
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
    EXPECT_GT(reads, walks / 10);
}

TEST_F(HostileHost, AForeignObjectIsNotDestroyed)
{
    AsciiReader::BAsciiProxy proxy;
    BAsciiReader foreign(m_path, m_params);
    ExpectSubclass([&] { proxy.DestroyObject(&foreign); },
                   "BDataManagerException",
                   "BDataManagerProxy::DestroyObject",
                   "The object was not made by this proxy.");
    proxy.DestroyObject(nullptr);
    foreign.Open(m_path, m_params);
    EXPECT_TRUE(foreign.IsOpen());
}

/// An exception that no product code throws.
struct HostError
{
    int number;
};

/// Throws or refuses at one of its calls.
class HostileProgress : public BProgress
{
public:
    HostileProgress(std::size_t call, bool throws)
        : m_call(call)
        , m_throws(throws)
    {}

    bool ShouldReport(unsigned /*done*/, unsigned /*total*/) override { return Come(); }

    bool Report(unsigned /*done*/, unsigned /*total*/) override { return Come(); }

    [[nodiscard]] bool HasCome() const noexcept { return m_calls >= m_call; }

private:
    bool Come()
    {
        if (++m_calls != m_call) {
            return true;
        }
        if (m_throws) {
            throw HostError{7};
        }
        return false;
    }

    std::size_t m_call;
    bool m_throws;
    std::size_t m_calls = 0;
};

TEST_F(HostileHost, AProgressObjectMayThrowOrRefuseAtEveryCall)
{
    BAsciiReader whole(m_path, m_params);
    whole.Open(m_path, m_params);
    whole.Read();
    const Lines all = Describe(*whole.GetLayers().GetAt(0));
    for (const bool usesDiskCache : {false, true}) {
        for (const bool throws : {false, true}) {
            for (std::size_t call = 1;; ++call) {
                SCOPED_TRACE(call);
                HostileProgress progress(call, throws);
                BAsciiReader reader(m_path, m_params);
                reader.SetDiskCache(usesDiskCache, m_folder.Name("cache"), 2);
                reader.Open(m_path, m_params);
                reader.SetProgress(&progress);
                bool hasThrown = false;
                try {
                    reader.Read();
                } catch (const HostError& error) {
                    hasThrown = true;
                    EXPECT_EQ(error.number, 7);
                }
                EXPECT_EQ(hasThrown, throws && progress.HasCome());
                const Lines rows = Describe(*reader.GetLayers().GetAt(0));
                ASSERT_LE(rows.size(), all.size());
                EXPECT_TRUE(std::equal(rows.begin(), rows.end(), all.begin()));
                reader.SetProgress(nullptr);
                reader.Close();
                reader.Open(m_path, m_params);
                reader.Read();
                EXPECT_EQ(Describe(*reader.GetLayers().GetAt(1)), all);
                if (!progress.HasCome()) {
                    EXPECT_EQ(rows, all);
                    EXPECT_GT(call, kRowCount);
                    break;
                }
            }
        }
    }
    whole.Close();
    EXPECT_EQ(CountOpen(), 0U);
}

/// Every key that a reader knows, and some unknown ones.
std::vector<BString> AllKeys()
{
    return {ASCII_SEPARATOR,
            FIELD_LENGTH,
            USE_COMMA,
            USE_TAB,
            USE_SPACE,
            MAX_RECORDS,
            X_COLUMN,
            Y_COLUMN,
            Z_COLUMN,
            NAME_COLUMN,
            FIRST_LINE_COLUMN_NAMES,
            X_COORDINATE_FORMAT,
            Y_COORDINATE_FORMAT,
            Z_COORDINATE_FORMAT,
            X_MULTIPLIER,
            Y_MULTIPLIER,
            Z_MULTIPLIER,
            AUTO_SCHEMA,
            AUTO_SCHEMA_ALL_ROWS,
            COLUMN_DEFINITION,
            PRESERVE_NUMERIC_STRINGS,
            IGNORE_BLANK_ROWS,
            ASCII_HEADER_IDENTIFIER,
            ASCII_HEADER_BLANK_LINE,
            ASCII_HEADER_COUNT,
            NUM_COLUMNS,
            AsciiReader::OptionRules::SampleSizeKey(),
            AsciiReader::OptionRules::CodecKey(),
            AsciiReader::OptionRules::LocaleCodecKey(),
            BString(),
            "x_column"};
}

std::vector<BVariant> AllValues()
{
    using Limits = std::numeric_limits<double>;
    const std::string large(std::size_t{1} << 20, 'x');
    const std::u16string surrogates = {char16_t{0xD800}, u'a', char16_t{0xDC00}, u'\0', u'b'};
    std::vector<BVariant> values = {BVariant(), BVariant(true), BVariant(false), BVariant(1.5F)};
    for (const std::int32_t number : {0,
                                      1,
                                      2,
                                      3,
                                      4,
                                      100,
                                      -1,
                                      std::numeric_limits<std::int32_t>::max(),
                                      std::numeric_limits<std::int32_t>::min()}) {
        values.emplace_back(number);
    }
    for (const std::int64_t number : {std::int64_t{1} << 32,
                                      std::numeric_limits<std::int64_t>::max(),
                                      std::numeric_limits<std::int64_t>::min()}) {
        values.emplace_back(number);
    }
    for (const double number : {0.5,
                                -1e300,
                                Limits::max(),
                                Limits::denorm_min(),
                                Limits::infinity(),
                                -Limits::infinity(),
                                Limits::quiet_NaN()}) {
        values.emplace_back(number);
    }
    for (const BString& text : {BString(),
                                BString("1"),
                                BString(","),
                                BString("\\"),
                                BString("\""),
                                BString("("),
                                BString("[^"),
                                BString("(?:a+)+b"),
                                BString("%1"),
                                BString("%ls%n%s"),
                                BString("DDMMSS.s"),
                                BString("UTF-8"),
                                BString("UTF-16"),
                                BString("0,A,5,4,0"),
                                BString(",,,,"),
                                BString(surrogates),
                                BString(large)}) {
        values.emplace_back(text);
    }
    values.emplace_back(std::vector<std::int32_t>());
    values.emplace_back(
        std::vector<std::int32_t>{0, -1, std::numeric_limits<std::int32_t>::max(), 1});
    values.emplace_back(std::vector<std::int32_t>(100000, 1));
    values.emplace_back(std::vector<BString>());
    values.emplace_back(
        std::vector<BString>{BString(), "0,A,5,4,0", "1,B,,,", "x,,99999999999,-1,1e9"});
    values.emplace_back(std::vector<BString>(10000, BString("0,A,11,0,0")));
    return values;
}

/// Makes every call that a host can make to a reader with those options.
void UseReader(const BString& path, const BParamList& params)
{
    BAsciiReader reader(path, params);
    reader.Open(path, params);
    reader.Read();
    static_cast<void>(Describe(*reader.GetLayers().GetAt(0)));
    reader.Read();
    reader.Close();
    reader.GetParams() = params;
    reader.Open(path, params);
    static_cast<void>(reader.GetFilePreview(QUERY_COLUMNS));
}

TEST_F(HostileHost, EveryOptionAcceptsEveryValue)
{
    const LeaksByRule leaks;
    const BString text = m_folder.File("a.txt", kRows);
    const std::vector<BVariant> values = AllValues();
    for (const BString& key : AllKeys()) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            BParamList alone;
            alone.Add(key, values[i]);
            BParamList withXY = m_params;
            withXY.Add(key, values[i]);
            ASSERT_TRUE(LeavesListed([&] { UseReader(text, alone); }))
                << key.ToUtf8() << " value " << i;
            ASSERT_TRUE(LeavesListed([&] { UseReader(m_path, withXY); }))
                << key.ToUtf8() << " value " << i;
        }
    }
}

TEST_F(HostileHost, OptionsOfEveryKindGoTogether)
{
    const LeaksByRule leaks;
    const std::vector<BString> keys = AllKeys();
    const std::vector<BVariant> values = AllValues();
    std::minstd_rand random(Seed());
    const std::size_t turns = IsExhaustive() ? 20000 : 1000;
    for (std::size_t turn = 0; turn < turns; ++turn) {
        BParamList params;
        std::string shown;
        for (unsigned count = 1 + Pick(random, 8); count > 0; --count) {
            const std::size_t key = Pick(random, keys.size());
            const std::size_t value = Pick(random, values.size());
            params.Add(keys[key], values[value]);
            shown += keys[key].ToUtf8() + " " + std::to_string(value) + ", ";
        }
        ASSERT_TRUE(LeavesListed([&] { UseReader(m_path, params); })) << shown;
    }
}

} // namespace
