// A plug-in for the command-line tests: the name of the file asked for chooses what it does.
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorDataReader.h>
#include <Orvane/Constants.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Orvane::BAttributes;
using Orvane::BFeature;
using Orvane::BPointGeo;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;

/// Tells the test, by making the file that ORVANE_FAKE_MARK names, that the reader has come here.
void Mark()
{
    if (const char* path = std::getenv("ORVANE_FAKE_MARK")) {
        std::ofstream(path) << "here";
    }
}

/// An exception whose code lives in this module.
class ModuleError : public std::runtime_error
{
public:
    ModuleError()
        : std::runtime_error("made in the module")
    {}
};

void AddDef(Orvane::BAttributeDefs& defs, const BString& name, EVariantType type)
{
    Orvane::BAttributeDef def;
    def.SetName(name);
    def.SetType(type);
    defs.Add(def);
}

void AddFeature(Orvane::BVectorLayer& layer,
                const BString& name,
                const BPointGeo* point,
                const std::vector<BVariant>& values)
{
    const auto feature = Orvane::MakeShared<BFeature>();
    feature->SetName(name);
    if (point != nullptr) {
        feature->SetGeometry(Orvane::MakeShared<BPointGeo>(*point));
        feature->SetMBR(point->GetMBB());
    }
    BAttributes attributes;
    for (std::size_t index = 0; index < values.size(); ++index) {
        attributes.Add(layer.GetSchema().GetAt(index).GetName(), values[index]);
    }
    feature->SetAttributes(attributes);
    layer.GetFeatures().Add(feature);
}

/// Rows with every type, and values at the ends of what files can hold.
void FillOddValues(Orvane::BVectorLayer& layer)
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Orvane::BAttributeDefs defs;
    AddDef(defs, "fid", EVariantType::Int32);
    AddDef(defs, "Name", EVariantType::String);
    AddDef(defs, "name", EVariantType::Int64);
    AddDef(defs, "", EVariantType::Double);
    AddDef(defs, "geom", EVariantType::Float);
    AddDef(defs, "a name of more than ten bytes", EVariantType::Boolean);
    layer.SetSchema(defs);
    const BPointGeo flat(1.1, 2.2);
    const BPointGeo high(0.1 + 0.2, -1e-7, 1234.5678);
    const BPointGeo heightIsNaN(3, 4, kNaN);
    const BPointGeo nowhere(kNaN, 5);
    const std::u16string surrogate = {u'a', static_cast<char16_t>(0xD800), u'b'};
    AddFeature(layer,
               "1",
               &flat,
               {BVariant(std::numeric_limits<std::int32_t>::min()),
                BVariant(BString(u"\u00E9 \"quoted\", \u20AC \U0001F600")),
                BVariant("9223372036854775807"),
                BVariant(0.1 + 0.2),
                BVariant(0.1F),
                BVariant(true)});
    AddFeature(layer,
               "two",
               &high,
               {BVariant(std::numeric_limits<std::int32_t>::max()),
                BVariant(BString(surrogate)),
                BVariant("-3,000,000,000"),
                BVariant(5e-324),
                BVariant(3.4028235e38F),
                BVariant(false)});
    AddFeature(layer,
               "3",
               &heightIsNaN,
               {BVariant(0),
                BVariant(BString(std::u16string_view(u"nul\0in it", 9))),
                BVariant("no number"),
                BVariant(kNaN),
                BVariant(-0.0F),
                BVariant(true)});
    AddFeature(layer,
               "4",
               &nowhere,
               {BVariant(1),
                BVariant(u"\x1B[31mred\x7F\u009B"),
                BVariant("1e10"),
                BVariant(kInfinity),
                BVariant(1.5F),
                BVariant(false)});
    AddFeature(layer, "5", nullptr, {BVariant(2), BVariant("")});
    // A row whose values differ in type from the schema is kept beside the pages.
    AddFeature(layer,
               "6",
               &flat,
               {BVariant("7"),
                BVariant(8),
                BVariant(std::int64_t{9}),
                BVariant("2.5"),
                BVariant(2.5),
                BVariant("1")});
}

class FakeReader : public Orvane::BVectorDataReader
{
public:
    FakeReader(const BString& path, const Orvane::BParamList& params)
        : BVectorDataReader(path, params)
    {}

    ~FakeReader() override = default;

    bool SupportsQuery(const BString& query) override { return query == Orvane::QUERY_COLUMNS; }

    Orvane::BParamList GetFilePreview(const BString& /*query*/) override
    {
        Orvane::BParamList preview;
        preview.Add("0", std::vector<BString>{"x", "1"});
        preview.Add("1", std::vector<BString>{"y", "2"});
        preview.Add(Orvane::FIRST_LINE_COLUMN_NAMES, "1");
        preview.Add(Orvane::NUM_COLUMNS, 2);
        return preview;
    }

    bool IsOpen() override { return m_isOpen; }

protected:
    void DoOpen(const BString& path, const Orvane::BParamList& /*params*/) override
    {
        const auto is = [&](std::u16string_view word) { return path.find(word) != BString::npos; };
        if (is(u"bad-alloc")) {
            throw std::bad_alloc();
        }
        if (is(u"own-type")) {
            throw ModuleError();
        }
        if (is(u"no-exception")) {
            throw 1; // NOLINT(hicpp-exception-baseclass)
        }
        if (is(u"swapped")) {
            throw Orvane::BException("the message\n\x1B[0m", "the location", "the\tdetails");
        }
        if (is(u"throws")) {
            std::ifstream file(path.ToUtf8());
            std::string message;
            std::getline(file, message);
            throw Orvane::BException(BString(message), "the location");
        }
        if (is(u"half-pair")) {
            const BString half = std::u16string{u'a', static_cast<char16_t>(0xD800), u'b'};
            throw Orvane::BException(half, half, half);
        }
        if (is(u"slow-open")) {
            Mark();
            std::this_thread::sleep_for(std::chrono::seconds(60));
        }
        if (is(u"loses-folder")) {
            std::filesystem::remove(
                std::filesystem::path(GetDiskCacheBaseName().ToUtf8()).parent_path());
        }
        m_layer = UsingDiskCache() ? Orvane::MakeShared<Orvane::BVectorLayer>(
                                         GetDiskCacheBaseName(), GetDiskCachePageSize())
                                   : Orvane::MakeShared<Orvane::BVectorLayer>();
        m_layer->SetName("fake");
        GetLayers().Add(m_layer);
        m_isOpen = true;
        m_isEndless = is(u"endless");
        m_isOdd = is(u"odd");
        m_rows = is(u"million") ? 1000000 : 0;
    }

    void DoClose() override { m_isOpen = false; }

    void DoRead() override
    {
        unsigned count = 0;
        if (m_rows > 0) {
            Orvane::BFeatureAppender appender(m_layer->GetFeatures(), {});
            for (; count < m_rows; ++count) {
                appender.EndRow(Orvane::EPointKind::XY, count, count, 0, count + 1);
            }
        }
        Mark();
        for (; m_isEndless; ++count) {
            if (GetProgress()->ShouldReport(count, 0) && !GetProgress()->Report(count, 0)) {
                break;
            }
        }
        if (m_isOdd) {
            FillOddValues(*m_layer);
        }
        if (!GetProgress()->Report(count, 0)) {
            SetStatus(Orvane::EManagerStatus::kCancelled);
        }
    }

private:
    Orvane::BSharedPtr<Orvane::BVectorLayer> m_layer;
    bool m_isOpen = false;
    bool m_isEndless = false;
    bool m_isOdd = false;
    unsigned m_rows = 0;
};

class FakeProxy : public Orvane::BDataManagerProxy
{
public:
    bool CanRead(const BString& type, const Orvane::BParamList& /*params*/) override
    {
        return CanRead(type);
    }

    bool CanRead(const BString& type) override
    {
        return type != Orvane::DS_SSV && type != Orvane::DS_TXT;
    }

    Orvane::BDataReader* CreateReader(const BString& path,
                                      const Orvane::BParamList& params,
                                      Orvane::BCoordSysRepository* coordSysRepository,
                                      Orvane::BLogger* logger) override
    {
        auto* reader = new FakeReader(path, params);
        Initialize(reader, coordSysRepository, logger);
        return reader;
    }
};

FakeProxy fakeProxy;

} // namespace

extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy()
{
#if defined(ORVANE_FAKE_WITHOUT_PROXY)
    return nullptr;
#else
    return &fakeProxy;
#endif
}
