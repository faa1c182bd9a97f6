// The layer's own properties, and layers whose pages leave memory.
#include <Orvane/BException.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorLayer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace Orvane {

namespace {

namespace fs = std::filesystem;

/// A folder of its own for each test, removed with it.
class BVectorLayerDiskCache : public testing::Test
{
protected:
    BVectorLayerDiskCache()
    {
        std::string pattern = (fs::temp_directory_path() / "orvane-cache-test-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
    }

    ~BVectorLayerDiskCache() override
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    [[nodiscard]] BString BaseName() const { return {(m_folder / "cache").string()}; }

    [[nodiscard]] bool IsFolderEmpty() const { return fs::is_empty(m_folder); }

    /// The path of the nameless file among the process's open files; empty when there is none.
    [[nodiscard]] fs::path FindOpenFile() const
    {
        const std::string wanted = m_folder.string() + "/";
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path(), ignored).string().rfind(wanted, 0) == 0) {
                return entry.path();
            }
        }
        return {};
    }

    fs::path m_folder;
};

const std::vector<BColumnInfo> kColumns = {{"int", EVariantType::Int32},
                                           {"big", EVariantType::Int64},
                                           {"real", EVariantType::Double},
                                           {"small", EVariantType::Float},
                                           {"flag", EVariantType::Boolean},
                                           {"text", EVariantType::String},
                                           {"more", EVariantType::Text}};

/// Rows of every kind: short ones, missing points, nulls of every type, heights, texts of all
/// encodings.
void AppendRows(BFeatureCollection& features, std::uint32_t count)
{
    BFeatureAppender appender(features, kColumns);
    constexpr std::u16string_view kLone = u"lone \xD800";
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto add = [&](std::uint32_t every, const auto& addValue) {
            if (i % every == 5) {
                appender.AddNull();
            } else {
                addValue();
            }
        };
        add(7, [&] { appender.AddInt32(static_cast<std::int32_t>(i)); });
        add(11, [&] { appender.AddInt64(std::int64_t{i} << 33); });
        add(13, [&] { appender.AddDouble(i * 0.5); });
        add(17, [&] { appender.AddFloat(static_cast<float>(i) * 0.25F); });
        add(600, [&] { appender.AddBoolean(i % 3 == 0); });
        if (i % 50 != 7) {
            add(6, [&] { appender.AddText("text " + std::to_string(i), ETextEncoding::Ascii); });
            if (i % 400 == 11) {
                appender.AddText({reinterpret_cast<const char*>(kLone.data()), kLone.size() * 2},
                                 ETextEncoding::Utf16);
            } else {
                appender.AddText(i % 97 == 3 ? "\xC3\xA9" : "e", ETextEncoding::Utf8);
            }
        }
        const EPointKind kind = i % 120 == 60   ? EPointKind::None
                                : i % 300 < 200 ? EPointKind::XY
                                                : EPointKind::XYZ;
        if (i % 500 == 250) {
            appender.EndRow(kind, i, -1.0 * i, 3, "named", ETextEncoding::Ascii);
        } else {
            appender.EndRow(kind, i, -1.0 * i, 3, i + i / 90);
        }
    }
}

void ExpectSame(const BFeature& a, const BFeature& b, std::size_t row)
{
    ASSERT_EQ(a.GetName(), b.GetName()) << row;
    ASSERT_EQ(a.GetAttributes(), b.GetAttributes()) << row;
    ASSERT_EQ(a.GetPoint() == nullptr, b.GetPoint() == nullptr) << row;
    if (a.GetPoint() != nullptr) {
        ASSERT_EQ(a.GetPoint()->GetX(), b.GetPoint()->GetX()) << row;
        ASSERT_EQ(a.GetPoint()->GetY(), b.GetPoint()->GetY()) << row;
        ASSERT_EQ(a.GetPoint()->HasZ(), b.GetPoint()->HasZ()) << row;
    }
}

void AppendNumbers(BFeatureCollection& features, std::uint32_t count)
{
    BFeatureAppender appender(features, {{"n", EVariantType::Double}});
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto row = static_cast<std::uint32_t>(features.GetCount());
        appender.AddDouble(row);
        appender.EndRow(EPointKind::XY, row, row, 0, row);
    }
}

/// Values of enough rows that no small page stays in memory by chance.
constexpr std::uint32_t kManyRows = 2000;
constexpr std::uint32_t kSmallPage = 10;

void ExpectNumber(BFeatureCollection& features, std::size_t row)
{
    EXPECT_EQ(features.GetAt(row)->GetAttributeValue(0), BVariant(static_cast<double>(row)));
}

template <typename Call>
void ExpectLoadFailure(const Call& call, const char* message, const std::string& path)
{
    try {
        call();
        FAIL() << "nothing was thrown";
    } catch (const BException& exception) {
        EXPECT_STREQ(exception.GetClassName(), "BException");
        EXPECT_EQ(exception.GetMessage(), BString(message));
        EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::LoadPage"));
        EXPECT_EQ(exception.GetDetails().ToUtf8().rfind(path, 0), 0U)
            << exception.GetDetails().ToUtf8();
        EXPECT_NE(exception.GetDetails().ToUtf8().find(": page 0"), std::string::npos);
    }
}

void FlipByte(const fs::path& file, std::streamoff position)
{
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekg(position);
    const int byte = stream.get();
    stream.seekp(position);
    stream.put(static_cast<char>(byte ^ 0x10));
    ASSERT_TRUE(stream.flush().good());
}

/// Limits the size of files that the process writes, for as long as it lives.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limit = m_old;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_old = {};
    void (*m_oldHandler)(int) = nullptr;
};

TEST(BVectorLayer, HoldsNameSchemaCoordinateSystemAndFeatures)
{
    BVectorLayer layer;
    EXPECT_FALSE(layer.IsDiskCached());
    EXPECT_TRUE(layer.GetName().IsEmpty());
    EXPECT_EQ(layer.GetSchema().GetCount(), 0U);
    EXPECT_FALSE(layer.GetCoordSys());
    layer.SetName("layer");
    BAttributeDefs schema;
    BAttributeDef def;
    def.SetName("a");
    schema.Add(def);
    layer.SetSchema(schema);
    const auto feature = MakeShared<BFeature>();
    feature->SetGeometry(MakeShared<BPointGeo>(1, 2));
    feature->SetMBR(feature->GetPoint()->GetMBB());
    layer.GetFeatures().Add(feature);
    EXPECT_EQ(layer.GetName(), BString("layer"));
    EXPECT_EQ(layer.GetSchema(), schema);
    const BVectorLayer& constant = layer;
    EXPECT_EQ(constant.GetFeatures().GetCount(), 1U);
    EXPECT_EQ(constant.GetMBB().maxY, 2);
}

TEST_F(BVectorLayerDiskCache, ReadsBackEveryRowInAnyOrder)
{
    for (const std::uint32_t pageSize : {1U, 7U, 100U, 1024U}) {
        const std::uint32_t rows = pageSize == 1 ? 500 : 5000;
        BVectorLayer layer(BaseName(), pageSize);
        BVectorLayer expected;
        EXPECT_TRUE(layer.IsDiskCached());
        AppendRows(layer.GetFeatures(), rows);
        AppendRows(expected.GetFeatures(), rows);
        ASSERT_EQ(layer.GetFeatures().GetCount(), rows);
        EXPECT_EQ(layer.GetFeatures().GetPageCount(), (rows + pageSize - 1) / pageSize);
        for (std::size_t i = 0; i < rows; ++i) {
            ExpectSame(*layer.GetFeatures().GetAt(i), *expected.GetFeatures().GetAt(i), i);
        }
        std::mt19937 random(pageSize);
        for (int i = 0; i < 2000; ++i) {
            const std::size_t row = random() % rows;
            ExpectSame(*layer.GetFeatures().GetAt(row), *expected.GetFeatures().GetAt(row), row);
        }
        const BMBB box = layer.GetMBB();
        EXPECT_EQ(box.maxX, expected.GetMBB().maxX);
        EXPECT_EQ(box.minY, expected.GetMBB().minY);
        EXPECT_EQ(box.maxZ, expected.GetMBB().maxZ);
    }
}

TEST_F(BVectorLayerDiskCache, AcceptsFeaturesThroughAdd)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    for (std::uint32_t i = 0; i < kManyRows; ++i) {
        const auto feature = MakeShared<BFeature>();
        BAttributes attributes;
        attributes.Add("n", BVariant(static_cast<double>(i)));
        feature->SetAttributes(attributes);
        if (i % 100 == 0) {
            feature->SetGeometry(MakeShared<BPointGeo>(i, i));
        }
        layer.GetFeatures().Add(feature);
    }
    EXPECT_EQ(layer.GetFeatures().GetPageCount(), kManyRows / kSmallPage);
    EXPECT_EQ(layer.GetFeatures().GetObjectRowCount(), kManyRows / 100);
    for (std::uint32_t i = 0; i < kManyRows; ++i) {
        ExpectNumber(layer.GetFeatures(), i);
        EXPECT_EQ(layer.GetFeatures().GetAt(i)->GetPoint() != nullptr, i % 100 == 0);
    }
}

TEST_F(BVectorLayerDiskCache, KeepsAFileWithoutAName)
{
    {
        BVectorLayer layer(BaseName(), kSmallPage);
        AppendNumbers(layer.GetFeatures(), kSmallPage);
        EXPECT_TRUE(FindOpenFile().empty());
        AppendNumbers(layer.GetFeatures(), kManyRows);
        EXPECT_FALSE(FindOpenFile().empty());
        EXPECT_TRUE(IsFolderEmpty());
        BVectorLayer other(BaseName(), kSmallPage);
        AppendNumbers(other.GetFeatures(), kManyRows);
        ExpectNumber(layer.GetFeatures(), 5);
        ExpectNumber(other.GetFeatures(), 5);
    }
    EXPECT_TRUE(FindOpenFile().empty());
    EXPECT_TRUE(IsFolderEmpty());
}

TEST_F(BVectorLayerDiskCache, UsesTheTemporaryFolderWithoutABaseName)
{
    BVectorLayer layer(BString(), kSmallPage);
    AppendNumbers(layer.GetFeatures(), kManyRows);
    ExpectNumber(layer.GetFeatures(), 0);
}

TEST_F(BVectorLayerDiskCache, StaysSmallInMemory)
{
    constexpr std::uint32_t kRows = 1500000;
    BVectorLayer layer(BaseName(), 65536);
    AppendNumbers(layer.GetFeatures(), kRows);
    EXPECT_LT(layer.GetFeatures().GetByteSize(), std::size_t{20} << 20);
    double sum = 0;
    for (std::size_t page = 0; page < layer.GetFeatures().GetPageCount(); ++page) {
        for (const double value : layer.GetFeatures().GetPage(page).data[0].doubles.View()) {
            sum += value;
        }
    }
    EXPECT_EQ(sum, kRows * (kRows - 1.0) / 2);
    EXPECT_LT(layer.GetFeatures().GetByteSize(), std::size_t{20} << 20);
}

TEST_F(BVectorLayerDiskCache, EndsAPageEarlyThatGrowsTooLarge)
{
    BVectorLayer layer(BaseName(), 1000);
    const std::string text(200000, 'x');
    {
        BFeatureAppender appender(layer.GetFeatures(), {{"t", EVariantType::String}});
        for (std::uint32_t i = 0; i < 250; ++i) {
            appender.AddText(text, ETextEncoding::Ascii);
            appender.EndRow(EPointKind::None, 0, 0, 0, i);
        }
    }
    EXPECT_GT(layer.GetFeatures().GetPageCount(), 2U);
    EXPECT_LT(layer.GetFeatures().GetByteSize(), std::size_t{80} << 20);
    for (std::size_t i = 0; i < 250; i += 60) {
        EXPECT_EQ(layer.GetFeatures().GetAt(i)->GetAttributeValue(0).GetString().GetLength(),
                  text.size());
    }
}

TEST_F(BVectorLayerDiskCache, KeepsChangedFeaturesAndTheirIdentity)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    AppendNumbers(features, kManyRows);
    const auto held = features.GetAt(3);
    features.GetAt(4)->SetAttributeValue(0, BVariant(-4.0));
    BMBB box;
    box.Include(-100, -100);
    features.GetAt(5)->SetMBR(box);
    features.GetAt(kManyRows - 1)->SetMBR(BMBB());
    EXPECT_EQ(layer.GetMBB().minX, -100);
    EXPECT_EQ(layer.GetMBB().maxX, kManyRows - 2);
    features.GetAt(0)->SetMBR(BMBB());
    features.GetAt(kManyRows / 2)->SetMBR(BMBB());
    EXPECT_EQ(layer.GetMBB().minX, -100);
    for (std::size_t i = 0; i < kManyRows; ++i) {
        static_cast<void>(features.GetAt(i)->GetName());
    }
    EXPECT_EQ(features.GetAt(3).Get(), held.Get());
    EXPECT_EQ(held->GetAttributeValue(0), BVariant(3.0));
    EXPECT_EQ(features.GetAt(4)->GetAttributeValue(0), BVariant(-4.0));
    ASSERT_NE(features.GetObjectRow(4), nullptr);
}

TEST_F(BVectorLayerDiskCache, KeepsItsValuesAliveForFeaturesInUse)
{
    std::optional<BVectorLayer> layer;
    layer.emplace(BaseName(), kSmallPage);
    AppendNumbers(layer->GetFeatures(), kManyRows);
    std::vector<BSharedPtr<BFeature>> held;
    for (std::size_t i = 0; i < kManyRows; i += 50) {
        held.push_back(layer->GetFeatures().GetAt(i));
    }
    layer.reset();
    for (std::size_t i = 0; i < held.size(); ++i) {
        EXPECT_FALSE(held[i]->IsAttached());
        EXPECT_EQ(held[i]->GetAttributeValue(0), BVariant(static_cast<double>(50 * i)));
    }
}

TEST_F(BVectorLayerDiskCache, HandsOutPagesThatStayWhileTheyAreHeld)
{
    std::optional<BVectorLayer> layer;
    layer.emplace(BaseName(), kSmallPage);
    AppendNumbers(layer->GetFeatures(), kManyRows);
    std::vector<std::shared_ptr<const BFeaturePage>> pages;
    for (std::size_t i = 0; i < layer->GetFeatures().GetPageCount(); ++i) {
        pages.push_back(layer->GetFeatures().LoadPage(i));
    }
    EXPECT_THROW(static_cast<void>(layer->GetFeatures().LoadPage(pages.size())), std::out_of_range);
    layer.reset();
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i]->data[0].doubles[9], static_cast<double>(10 * i + 9));
        EXPECT_EQ(pages[i]->GetName(9),
                  BString::FromInteger(static_cast<std::int64_t>(10 * i + 9)));
    }
}

TEST_F(BVectorLayerDiskCache, ReportsADamagedPageAndReadsTheOthers)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    AppendNumbers(features, kManyRows);
    const fs::path file = FindOpenFile();
    ASSERT_FALSE(file.empty());
    // The file starts with the first page, of which every byte counts.
    for (const std::streamoff position : {0, 8, 30, 100, 200, 300}) {
        FlipByte(file, position);
        const auto read = [&features] { static_cast<void>(features.GetAt(3)->GetName()); };
        ExpectLoadFailure(read, "The disk cache file is damaged.", BaseName().ToUtf8());
        ExpectLoadFailure([&features] { static_cast<void>(features.GetPage(0)); },
                          "The disk cache file is damaged.",
                          BaseName().ToUtf8());
        for (std::size_t row = kSmallPage; row < kManyRows; row += 30) {
            ExpectNumber(features, row);
        }
        EXPECT_EQ(layer.GetMBB().maxX, static_cast<double>(features.GetCount() - 1));
        AppendNumbers(features, 1);
        FlipByte(file, position);
        ExpectNumber(features, 3);
        for (std::size_t row = kSmallPage; row < kManyRows; row += kSmallPage) {
            ExpectNumber(features, row);
        }
    }
}

TEST_F(BVectorLayerDiskCache, ReportsDamageOfTheBitsThatSayWhichValuesAreNull)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    {
        BFeatureAppender appender(features, {{"n", EVariantType::Double}});
        for (std::uint32_t row = 0; row < kManyRows; ++row) {
            appender.AddNull();
            appender.EndRow(EPointKind::XY, row, row, 0, row);
        }
    }
    // The first page's bits are its last two bytes; the second page begins with the same bytes as
    // the first.
    const fs::path file = FindOpenFile();
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(4096, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::size_t second = bytes.find(bytes.substr(0, 8), 8);
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(bytes[second - 2], '\0');
    FlipByte(file, static_cast<std::streamoff>(second - 2));
    ExpectLoadFailure([&features] { static_cast<void>(features.GetPage(0)); },
                      "The disk cache file is damaged.",
                      BaseName().ToUtf8());
    FlipByte(file, static_cast<std::streamoff>(second - 2));
    EXPECT_TRUE(features.GetAt(3)->GetAttributeValue(0).IsEmpty());
}

TEST_F(BVectorLayerDiskCache, ReportsACutFile)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    AppendNumbers(features, kManyRows);
    const fs::path file = FindOpenFile();
    for (const std::uintmax_t size : {100U, 0U}) {
        fs::resize_file(file, size);
        ExpectLoadFailure([&features] { static_cast<void>(features.GetAt(0)->GetName()); },
                          "The disk cache file is cut short.",
                          BaseName().ToUtf8());
        ExpectNumber(features, kManyRows - 1);
    }
}

TEST_F(BVectorLayerDiskCache, DetachesAFeatureWhosePageCannotBeRead)
{
    std::optional<BVectorLayer> layer;
    layer.emplace(BaseName(), kSmallPage);
    BFeatureCollection& features = layer->GetFeatures();
    AppendNumbers(features, kManyRows);
    const auto lost = features.GetAt(0);
    const auto kept = features.GetAt(kManyRows - 1);
    for (std::size_t row = kSmallPage; row < kManyRows; row += kSmallPage) {
        ExpectNumber(features, row);
    }
    FlipByte(FindOpenFile(), 100);
    EXPECT_THROW(features.Clear(), BException);
    EXPECT_EQ(features.GetCount(), kManyRows);
    layer.reset();
    EXPECT_FALSE(lost->IsAttached());
    EXPECT_EQ(lost->GetAttributeCount(), 0U);
    EXPECT_EQ(kept->GetAttributeValue(0), BVariant(kManyRows - 1.0));
}

TEST_F(BVectorLayerDiskCache, ReportsAFileThatCannotBeCreated)
{
    const fs::path base = m_folder / "missing" / "cache";
    BVectorLayer layer(base.string(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    AppendNumbers(features, kSmallPage);
    try {
        AppendNumbers(features, 1);
        FAIL() << "nothing was thrown";
    } catch (const BException& exception) {
        EXPECT_EQ(exception.GetMessage(), BString("Could not create the disk cache file."));
        EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::WritePage"));
        EXPECT_EQ(exception.GetDetails().ToUtf8().rfind(base.string() + ": ", 0), 0U);
    }
    ASSERT_EQ(features.GetCount(), kSmallPage);
    ExpectNumber(features, 0);
    ExpectNumber(features, kSmallPage - 1);
    fs::create_directory(m_folder / "missing");
    AppendNumbers(features, kManyRows);
    ASSERT_EQ(features.GetCount(), kSmallPage + kManyRows);
    ExpectNumber(features, 0);
}

TEST_F(BVectorLayerDiskCache, ReportsAFullDiskAndContinuesWhenThereIsRoom)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    BFeatureCollection& features = layer.GetFeatures();
    std::size_t count = 0;
    const auto feature = MakeShared<BFeature>();
    {
        const FileSizeLimit limit(20000);
        try {
            AppendNumbers(features, kManyRows);
            FAIL() << "nothing was thrown";
        } catch (const BException& exception) {
            EXPECT_EQ(exception.GetMessage(), BString("Could not write the disk cache file."));
            EXPECT_EQ(exception.GetLocation(), BString("BFeatureCollection::WritePage"));
            EXPECT_EQ(exception.GetDetails().ToUtf8().rfind(BaseName().ToUtf8(), 0), 0U);
        }
        count = features.GetCount();
        EXPECT_GT(count, kSmallPage);
        EXPECT_EQ(count % kSmallPage, 0U);
        BAttributes attributes;
        attributes.Add("n", BVariant(static_cast<double>(count)));
        feature->SetAttributes(attributes);
        EXPECT_THROW(features.Add(feature), BException);
        EXPECT_FALSE(feature->IsAttached());
        EXPECT_EQ(features.GetCount(), count);
        for (std::size_t row = 0; row < count; ++row) {
            ExpectNumber(features, row);
        }
    }
    features.Add(feature);
    AppendNumbers(features, kManyRows);
    ASSERT_EQ(features.GetCount(), count + 1 + kManyRows);
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        ExpectNumber(features, row);
    }
}

TEST_F(BVectorLayerDiskCache, StartsAgainAfterClear)
{
    BVectorLayer layer(BaseName(), kSmallPage);
    AppendNumbers(layer.GetFeatures(), kManyRows);
    layer.GetFeatures().Clear();
    EXPECT_TRUE(FindOpenFile().empty());
    EXPECT_TRUE(layer.GetMBB().IsEmpty());
    AppendNumbers(layer.GetFeatures(), kManyRows);
    for (std::size_t row = 0; row < kManyRows; ++row) {
        ExpectNumber(layer.GetFeatures(), row);
    }
}

} // namespace

} // namespace Orvane
