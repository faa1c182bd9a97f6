// Compares the Arrow stream of a layer with the layer's own values.
#include <Orvane/BArrowStream.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Orvane;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A stream that is released at the end of its scope.
class Stream
{
public:
    explicit Stream(const BSharedPtr<BVectorLayer>& layer) { ExportArrowStream(layer, &m_stream); }

    ~Stream() { m_stream.release(&m_stream); }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int GetSchema(ArrowSchema& out) { return m_stream.get_schema(&m_stream, &out); }

    int GetNext(ArrowArray& out) { return m_stream.get_next(&m_stream, &out); }

    [[nodiscard]] std::string GetError()
    {
        const char* error = m_stream.get_last_error(&m_stream);
        return error == nullptr ? "" : error;
    }

private:
    ArrowArrayStream m_stream{};
};

BSharedPtr<BVectorLayer> MakeLayer()
{
    auto layer = MakeShared<BVectorLayer>();
    BFeatureAppender rows(layer->GetFeatures(),
                          {{"count", EVariantType::Int32},
                           {"depth", EVariantType::Double},
                           {"flag", EVariantType::Boolean},
                           {"text", EVariantType::String}});
    rows.AddInt32(7);
    rows.AddDouble(1.5);
    rows.AddBoolean(true);
    rows.AddText("caf\xE9", ETextEncoding::Latin1);
    rows.EndRow(EPointKind::XYZ, 1, 2, 3, 1);
    rows.AddInt32(8);
    rows.EndRow(EPointKind::None, kNaN, kNaN, kNaN, 2);
    rows.AddInt32(9);
    rows.AddDouble(-2);
    rows.AddBoolean(false);
    rows.AddText("", ETextEncoding::Ascii);
    rows.EndRow(EPointKind::XY, 4, 5, kNaN, 5);
    return layer;
}

bool IsValid(const ArrowArray& array, std::size_t row)
{
    const auto* bits = static_cast<const unsigned char*>(array.buffers[0]);
    return bits == nullptr || (static_cast<unsigned>(bits[row / 8]) >> (row % 8) & 1U) != 0;
}

template <typename T>
T ValueAt(const ArrowArray& array, std::size_t row)
{
    return static_cast<const T*>(array.buffers[1])[row];
}

std::string_view TextAt(const ArrowArray& array, std::size_t row)
{
    const auto* ends = static_cast<const std::int32_t*>(array.buffers[1]);
    const auto* text = static_cast<const char*>(array.buffers[2]);
    return {text + ends[row], static_cast<std::size_t>(ends[row + 1] - ends[row])};
}

TEST(BArrowStreamSchema, NamesTypesAndMarksThePoints)
{
    Stream stream(MakeLayer());
    ArrowSchema schema{};
    ASSERT_EQ(0, stream.GetSchema(schema)) << stream.GetError();
    EXPECT_STREQ("+s", schema.format);
    const std::vector<std::pair<std::string, std::string>> expected = {{"name", "u"},
                                                                       {"geometry", "+s"},
                                                                       {"count", "i"},
                                                                       {"depth", "g"},
                                                                       {"flag", "b"},
                                                                       {"text", "u"}};
    ASSERT_EQ(static_cast<std::int64_t>(expected.size()), schema.n_children);
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_EQ(expected[index].first, schema.children[index]->name);
        EXPECT_EQ(expected[index].second, schema.children[index]->format);
    }
    const ArrowSchema& geometry = *schema.children[1];
    ASSERT_EQ(3, geometry.n_children);
    EXPECT_STREQ("z", geometry.children[2]->name);
    std::int32_t pairs = 0;
    std::memcpy(&pairs, geometry.metadata, sizeof pairs);
    EXPECT_EQ(2, pairs);
    std::int32_t keySize = 0;
    std::memcpy(&keySize, geometry.metadata + 4, sizeof keySize);
    EXPECT_EQ("ARROW:extension:name",
              std::string(geometry.metadata + 8, static_cast<std::size_t>(keySize)));
    schema.release(&schema);
    EXPECT_EQ(nullptr, schema.release);
}

TEST(BArrowStreamBatches, HoldTheRowsOfAPageAndThenEnd)
{
    Stream stream(MakeLayer());
    ArrowArray batch{};
    ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
    ASSERT_EQ(3, batch.length);
    ASSERT_EQ(6, batch.n_children);
    EXPECT_EQ("1", TextAt(*batch.children[0], 0));
    EXPECT_EQ("5", TextAt(*batch.children[0], 2));
    const ArrowArray& geometry = *batch.children[1];
    EXPECT_EQ(1, geometry.null_count);
    EXPECT_TRUE(IsValid(geometry, 0));
    EXPECT_FALSE(IsValid(geometry, 1));
    EXPECT_EQ(4, ValueAt<double>(*geometry.children[0], 2));
    EXPECT_EQ(3, ValueAt<double>(*geometry.children[2], 0));
    EXPECT_EQ(2, geometry.children[2]->null_count);
    EXPECT_EQ(0, batch.children[2]->null_count);
    EXPECT_EQ(8, ValueAt<std::int32_t>(*batch.children[2], 1));
    EXPECT_EQ(1, batch.children[3]->null_count);
    EXPECT_FALSE(IsValid(*batch.children[3], 1));
    EXPECT_EQ(1, ValueAt<unsigned char>(*batch.children[4], 0) & 7);
    EXPECT_EQ("caf\xC3\xA9", TextAt(*batch.children[5], 0));
    EXPECT_EQ("", TextAt(*batch.children[5], 2));
    batch.release(&batch);
    ASSERT_EQ(0, stream.GetNext(batch));
    EXPECT_EQ(nullptr, batch.release);
}

/// A null in every column of every third row, from row 1 on; dates besides the types of MakeLayer.
BSharedPtr<BVectorLayer> MakeLayerWithNulls(std::uint32_t count)
{
    auto layer = MakeShared<BVectorLayer>();
    BFeatureAppender rows(layer->GetFeatures(),
                          {{"count", EVariantType::Int32},
                           {"flag", EVariantType::Boolean},
                           {"day", EVariantType::Date},
                           {"full", EVariantType::Double}});
    for (std::uint32_t row = 0; row < count; ++row) {
        if (row % 3 == 1) {
            rows.AddNull();
            rows.AddNull();
            rows.AddNull();
        } else {
            rows.AddInt32(static_cast<std::int32_t>(row));
            rows.AddBoolean(true);
            rows.AddText("2018-01-28", ETextEncoding::Ascii);
        }
        rows.AddDouble(row);
        rows.EndRow(EPointKind::XY, 1, 2, 0, row);
    }
    return layer;
}

TEST(BArrowStreamBatches, HaveTheNullsOfThePage)
{
    // 64 rows fill the last byte of bits; of 60 the bits after the last null are not there.
    for (const std::uint32_t count : {1U, 2U, 60U, 64U, 100U}) {
        const auto layer = MakeLayerWithNulls(count);
        Stream stream(layer);
        ArrowArray batch{};
        ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
        for (std::int64_t column = 2; column < 5; ++column) {
            const ArrowArray& array = *batch.children[column];
            EXPECT_EQ((count + 1) / 3, array.null_count);
            for (std::size_t row = 0; row < count; ++row) {
                EXPECT_EQ(row % 3 != 1, IsValid(array, row)) << count << ", " << row;
            }
        }
        EXPECT_EQ(0, batch.children[5]->null_count);
        EXPECT_EQ(nullptr, batch.children[5]->buffers[0]);
        EXPECT_EQ("2018-01-28", TextAt(*batch.children[4], 0));
        EXPECT_EQ(count > 1 ? "" : "2018-01-28", TextAt(*batch.children[4], count > 1 ? 1 : 0));
        batch.release(&batch);
    }
}

TEST(BArrowStreamBatches, HandOutTheBitsOfNullsInPlace)
{
    const auto layer = MakeLayerWithNulls(64);
    Stream stream(layer);
    ArrowArray batch{};
    ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
    const BFeaturePage& page = layer->GetFeatures().GetPage(0);
    for (std::size_t column = 0; column < 3; ++column) {
        EXPECT_EQ(page.data[column].validity.Data(), batch.children[column + 2]->buffers[0]);
    }
    batch.release(&batch);
}

TEST(BArrowStreamBatches, KeepNullsBesideChangedFeatures)
{
    const auto layer = MakeLayerWithNulls(10);
    layer->GetFeatures().GetAt(1)->SetAttributeValue(0, BVariant(std::int32_t{11}));
    layer->GetFeatures().GetAt(2)->SetAttributeValue(0, BVariant());
    Stream stream(layer);
    ArrowArray batch{};
    ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
    const ArrowArray& numbers = *batch.children[2];
    EXPECT_EQ(3, numbers.null_count);
    EXPECT_TRUE(IsValid(numbers, 1));
    EXPECT_EQ(11, ValueAt<std::int32_t>(numbers, 1));
    EXPECT_FALSE(IsValid(numbers, 2));
    EXPECT_FALSE(IsValid(numbers, 4));
    EXPECT_FALSE(IsValid(*batch.children[3], 1));
    batch.release(&batch);
}

TEST(BArrowStreamBatches, StayWholeWhenStreamAndLayerAreGone)
{
    ArrowArray batch{};
    {
        Stream stream(MakeLayer());
        ASSERT_EQ(0, stream.GetNext(batch));
    }
    EXPECT_EQ(9, ValueAt<std::int32_t>(*batch.children[2], 2));
    EXPECT_EQ(2, ValueAt<double>(*batch.children[1]->children[1], 0));
    batch.release(&batch);
}

TEST(BArrowStreamBatches, GiveTheValuesOfChangedFeatures)
{
    const auto layer = MakeLayer();
    const auto feature = layer->GetFeatures().GetAt(1);
    feature->SetName("new");
    feature->SetAttributeValue(0, BVariant(std::int32_t{80}));
    feature->SetGeometry(MakeShared<BPointGeo>(6.0, 7.0));
    Stream stream(layer);
    ArrowArray batch{};
    ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
    EXPECT_EQ("new", TextAt(*batch.children[0], 1));
    EXPECT_EQ(0, batch.children[1]->null_count);
    EXPECT_EQ(6, ValueAt<double>(*batch.children[1]->children[0], 1));
    EXPECT_EQ(1, ValueAt<double>(*batch.children[1]->children[0], 0));
    EXPECT_EQ(80, ValueAt<std::int32_t>(*batch.children[2], 1));
    EXPECT_EQ(9, ValueAt<std::int32_t>(*batch.children[2], 2));
    EXPECT_EQ("caf\xC3\xA9", TextAt(*batch.children[5], 0));
    batch.release(&batch);
}

TEST(BArrowStreamBatches, RefuseAChangedFeatureWithOtherAttributes)
{
    const auto layer = MakeLayer();
    BAttributes attributes;
    attributes.Add("other", BVariant(1.0));
    layer->GetFeatures().GetAt(0)->SetAttributes(attributes);
    Stream stream(layer);
    ArrowArray batch{};
    EXPECT_EQ(EINVAL, stream.GetNext(batch));
    EXPECT_EQ("The changed feature <1> has the attribute <other>, which the layer's columns do not "
              "have at its place.",
              stream.GetError());
}

TEST(BArrowStreamBatches, ReadThePagesOfADiskCachedLayer)
{
    auto layer = MakeShared<BVectorLayer>(BString(), 10U);
    {
        BFeatureAppender rows(layer->GetFeatures(), {{"n", EVariantType::Int32}});
        for (std::int32_t row = 0; row < 95; ++row) {
            rows.AddInt32(row);
            rows.EndRow(EPointKind::XY, row, -row, 0, static_cast<std::uint32_t>(row) + 1);
        }
    }
    Stream stream(layer);
    std::int32_t next = 0;
    for (;;) {
        ArrowArray batch{};
        ASSERT_EQ(0, stream.GetNext(batch)) << stream.GetError();
        if (batch.release == nullptr) {
            break;
        }
        for (std::size_t row = 0; row < static_cast<std::size_t>(batch.length); ++row) {
            EXPECT_EQ(next++, ValueAt<std::int32_t>(*batch.children[2], row));
        }
        batch.release(&batch);
    }
    EXPECT_EQ(95, next);
}

TEST(BArrowStreamSchema, RefusesNoLayer)
{
    ArrowArrayStream stream{};
    try {
        ExportArrowStream(nullptr, &stream);
        FAIL() << "nothing was thrown";
    } catch (const BDataManagerException& error) {
        EXPECT_EQ(BString("ExportArrowStream"), error.GetLocation());
        EXPECT_EQ(BString("There is no layer to export."), error.GetDetails());
    }
}

} // namespace
