// Hosts of the readers that compare, and the descriptions of what they show.
#include "ReaderTraces.h"

#include "file/AsciiFile.h"
#include "reader/BAsciiReader.h"
#include "text/SplitPatterns.h"

#include <Orvane/BException.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

namespace ReaderTraces {

using AsciiReader::AsciiFile;
using LiteralReader::DescribeCurrentException;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVectorLayer;
using Orvane::EVariantType;
using Orvane::MakeBString;
using Orvane::MakeQString;
using RandomFiles::Case;
using RandomFiles::EStep;

std::string Quoted(const QString& text)
{
    std::string result = "\"";
    for (const QChar unit : text) {
        if (unit.unicode() < 0x20 || unit.unicode() > 0x7e) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", unsigned{unit.unicode()});
            result += buffer;
        } else {
            result += unit.toLatin1();
        }
    }
    return result + "\"";
}

std::string Quoted(const BString& text)
{
    return Quoted(MakeQString(text));
}

/// All bits of a double, NaN aside.
std::string Bits(double value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.17g (%a)", value, value);
    return buffer;
}

std::string DescribeFailure(const LiteralReader::Failure& failure)
{
    return failure.className.toStdString() + " location " + Quoted(failure.location) + " message " +
           Quoted(failure.message) + " details " + Quoted(failure.details);
}

std::string DescribeDefinition(const BString& name, int type, int length, int precision)
{
    return Quoted(name) + " type " + std::to_string(type) + " length " + std::to_string(length) +
           " precision " + std::to_string(precision);
}

namespace {

std::string DescribePoint(bool hasZ, double x, double y, double z)
{
    return "point " + Bits(x) + ", " + Bits(y) + (hasZ ? ", " + Bits(z) : std::string());
}

std::string
DescribeBox(double minX, double maxX, double minY, double maxY, double minZ, double maxZ)
{
    return " box " + Bits(minX) + ".." + Bits(maxX) + " " + Bits(minY) + ".." + Bits(maxY) + " " +
           Bits(minZ) + ".." + Bits(maxZ);
}

std::string DescribeValue(const Orvane::BVariant& value)
{
    const std::string type = std::to_string(static_cast<int>(value.GetType())) + " ";
    switch (value.GetType()) {
    case EVariantType::Int32:
    case EVariantType::Int64:
    case EVariantType::Double:
    case EVariantType::Float:
    case EVariantType::Boolean:
        return type + Bits(value.GetDouble());
    default:
        return type + Quoted(value.GetString());
    }
}

} // namespace

void DescribeFeature(const std::string& head, const Orvane::BFeature& feature, Trace& trace)
{
    const Orvane::BPointGeo* point = feature.GetPoint();
    const Orvane::BMBB box = feature.GetMBB();
    trace.push_back(head + Quoted(feature.GetName()) + " " +
                    (point != nullptr
                         ? DescribePoint(point->HasZ(), point->GetX(), point->GetY(), point->GetZ())
                         : "no point") +
                    DescribeBox(box.minX, box.maxX, box.minY, box.maxY, box.minZ, box.maxZ));
    for (std::size_t i = 0; i < feature.GetAttributeCount(); ++i) {
        trace.push_back(head + "value " + Quoted(feature.GetAttributeName(i)) + " " +
                        DescribeValue(feature.GetAttributeValue(i)));
    }
}

void DescribeFeature(const std::string& head, const LiteralReader::Feature& feature, Trace& trace)
{
    trace.push_back(head + Quoted(feature.name) + " " +
                    (feature.hasPoint ? DescribePoint(feature.hasZ, feature.x, feature.y, feature.z)
                                      : "no point") +
                    DescribeBox(feature.x, feature.x, feature.y, feature.y, feature.z, feature.z));
    for (const LiteralReader::Attribute& attribute : feature.attributes) {
        const bool isNumber = attribute.type != 11;
        trace.push_back(head + "value " + Quoted(attribute.name) + " " +
                        std::to_string(attribute.type) + " " +
                        (isNumber ? Bits(attribute.number) : Quoted(attribute.text)));
    }
}

void DescribeLayer(const std::string& title, BVectorLayer* layer, Trace& trace)
{
    if (layer == nullptr) {
        trace.push_back(title + " none");
        return;
    }
    trace.push_back(title + " " + Quoted(layer->GetName()));
    const Orvane::BAttributeDefs& schema = layer->GetSchema();
    for (std::size_t i = 0; i < schema.GetCount(); ++i) {
        const Orvane::BAttributeDef& def = schema.GetAt(i);
        trace.push_back(title + " column " +
                        DescribeDefinition(def.GetName(),
                                           static_cast<int>(def.GetType()),
                                           def.GetLength(),
                                           def.GetPrecision()));
    }
    Orvane::BFeatureCollection& features = layer->GetFeatures();
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        DescribeFeature(
            title + " feature " + std::to_string(row) + " ", *features.GetAt(row), trace);
    }
}

void DescribeLayer(const std::string& title, const LiteralReader::Layer* layer, Trace& trace)
{
    if (layer == nullptr) {
        trace.push_back(title + " none");
        return;
    }
    trace.push_back(title + " " + Quoted(layer->name));
    for (const LiteralReader::Definition& def : layer->schema) {
        trace.push_back(
            title + " column " +
            DescribeDefinition(MakeBString(def.name), def.type, def.length, def.precision));
    }
    for (std::size_t row = 0; row < layer->features.size(); ++row) {
        DescribeFeature(
            title + " feature " + std::to_string(row) + " ", layer->features[row], trace);
    }
}

namespace {

void DescribePreview(const BParamList& preview, Trace& trace)
{
    for (std::size_t i = 0; i < preview.GetCount(); ++i) {
        const Orvane::BVariant& value = preview.GetValueAt(i);
        std::string line = "preview " + Quoted(preview.GetKeyAt(i)) + " type " +
                           std::to_string(static_cast<int>(value.GetType()));
        for (const BString& text : value.GetStrings()) {
            line += " " + Quoted(text);
        }
        trace.push_back(line);
    }
}

/// Notes what it is asked and refuses from a line on.
class TracingProgress : public Orvane::BProgress
{
public:
    TracingProgress(std::uint32_t cancelLine, Trace& trace)
        : m_cancelLine(cancelLine)
        , m_trace(trace)
    {}

    bool ShouldReport(unsigned done, unsigned total) override
    {
        m_trace.push_back("asked " + std::to_string(done) + " of " + std::to_string(total));
        return done % 3 != 2;
    }

    bool Report(unsigned done, unsigned total) override
    {
        m_trace.push_back("reported " + std::to_string(done) + " of " + std::to_string(total));
        return m_cancelLine == 0 || done < m_cancelLine;
    }

private:
    std::uint32_t m_cancelLine;
    Trace& m_trace;
};

/// The literal reader as the runs below see a reader.
class LiteralHost
{
public:
    LiteralHost(const QString& path, const Case& input, std::size_t blockSize)
        : m_reader(path, input.kept, blockSize)
    {}

    void Open(const BParamList& params) { m_reader.Open(params); }

    void Read() { m_reader.Read(); }

    BParamList Preview() { return m_reader.Preview(); }

    void SetProgress(Orvane::BProgress* progress) { m_reader.SetProgress(progress); }

    [[nodiscard]] bool IsOpen() const { return m_reader.IsOpen(); }

    void DescribeState(Trace& trace) const
    {
        trace.push_back(std::string("open ") + (m_reader.IsOpen() ? "1" : "0") + " failure flag " +
                        (m_reader.GetFailureFlag() ? "1" : "0") + " status " +
                        std::to_string(m_reader.GetStatus()));
    }

    void DescribeLayers(Trace& trace) const
    {
        for (const auto& layer : m_reader.GetLayers()) {
            DescribeLayer("layer", layer.get(), trace);
        }
    }

    void DescribeEngine(Trace& trace) const
    {
        trace.push_back("engine records " + std::to_string(m_reader.GetRecordsRead()));
        for (const LiteralReader::Definition& def : m_reader.GetEngineSchema()) {
            trace.push_back(
                "engine column " +
                DescribeDefinition(MakeBString(def.name), def.type, def.length, def.precision));
        }
        DescribeLayer("engine layer", m_reader.GetEngineLayer().get(), trace);
    }

    void Close() { m_reader.Close(); }

private:
    LiteralReader::Reader m_reader;
};

/// The literal reader under the SDK's own test, which lets no reader read that is not open.
class GuardedLiteralHost : public LiteralHost
{
public:
    using LiteralHost::LiteralHost;

    void Read()
    {
        if (!IsOpen()) {
            throw Orvane::BDataManagerException("BVectorDataReader::Read",
                                                "The reader is not open.");
        }
        LiteralHost::Read();
    }
};

/// Where the cache files of the product's layers are made: beside the file.
BString CacheName(const QString& path)
{
    return MakeBString(path + QStringLiteral("-cache"));
}

/// Drives the engine alone, as the reader does, at any block size.
class EngineHost
{
public:
    EngineHost(const QString& path, const Case& input, std::size_t blockSize)
        : m_path(path)
        , m_kept(input.kept)
        , m_blockSize(blockSize)
        , m_cachePageRows(input.cachePageRows)
    {
        m_sharing.threads = input.threads;
        m_sharing.bytesOfAThread = 1;
        m_sharing.leastRunBytes = 1;
        // Some files are large, and a line that spans windows is looked at once per window.
        constexpr std::size_t kStep = 64;
        constexpr std::size_t kMostWindows = 256;
        const auto size = static_cast<std::size_t>(input.content.size());
        m_sharing.windowBytes = input.threads > 1 ? (1 + size / kStep / kMostWindows) * kStep : 0;
    }

    void Open(const BParamList& params)
    {
        m_file =
            std::make_unique<AsciiFile>(MakeBString(m_path), AsciiFile::kRead, params, m_blockSize);
        if (m_cachePageRows != 0) {
            m_file->SetDiskCache(true, CacheName(m_path), m_cachePageRows);
        }
        m_file->SetSharing(m_sharing);
        m_file->Open();
        m_file->Read();
        ConfigureSeparator();
        m_file->BuildSchema();
        m_file->CreateLayer();
        m_layers.push_back(m_file->GetLayer());
        m_isOpen = true;
    }

    void Read()
    {
        m_failureFlag = false;
        m_status = 0;
        if (m_progress != nullptr) {
            m_file->SetProgress(m_progress);
        }
        m_failureFlag = !m_file->BuildLayer(m_kept.GetInteger(Orvane::MAX_RECORDS, 0));
        if (m_progress != nullptr && !m_progress->Report(m_file->GetRecordsRead(), 0)) {
            m_status = 3;
        }
    }

    BParamList Preview()
    {
        if (!m_isOpen) {
            throw Orvane::BException("File is not open and can not be read.",
                                     "BAsciiReader::GetFilePreview");
        }
        ConfigureSeparator();
        return m_file->ReadPreview();
    }

    void SetProgress(Orvane::BProgress* progress) { m_progress = progress; }

    void DescribeState(Trace& trace) const
    {
        trace.push_back(std::string("open ") + (m_isOpen ? "1" : "0") + " failure flag " +
                        (m_failureFlag ? "1" : "0") + " status " + std::to_string(m_status));
    }

    void DescribeLayers(Trace& trace) const
    {
        for (const auto& layer : m_layers) {
            DescribeLayer("layer", layer.Get(), trace);
        }
    }

    void DescribeEngine(Trace& trace) const
    {
        trace.push_back("engine records " + std::to_string(m_file->GetRecordsRead()));
        const Orvane::BAttributeDefs& schema = m_file->GetSchema();
        for (std::size_t i = 0; i < schema.GetCount(); ++i) {
            const Orvane::BAttributeDef& def = schema.GetAt(i);
            trace.push_back("engine column " + DescribeDefinition(def.GetName(),
                                                                  static_cast<int>(def.GetType()),
                                                                  def.GetLength(),
                                                                  def.GetPrecision()));
        }
        DescribeLayer("engine layer", m_file->GetLayer().Get(), trace);
    }

    void Close() { m_file.reset(); }

private:
    void ConfigureSeparator()
    {
        using namespace AsciiReader;
        if (m_kept.HasProperty(Orvane::ASCII_SEPARATOR)) {
            const QString text = MakeQString(m_kept.GetString(Orvane::ASCII_SEPARATOR));
            m_file->SetSeparator(QRegularExpression(SplitPatterns::SeparatorTemplate().arg(
                QRegularExpression::escape(text), 0, QLatin1Char(' '))));
            return;
        }
        if (m_kept.HasProperty(Orvane::FIELD_LENGTH)) {
            m_file->SetColumnWidths(m_kept.GetIntegers(Orvane::FIELD_LENGTH));
            return;
        }
        const std::string extension = m_file->GetFileExtension().ToLower().ToUtf8();
        if (extension == ".csv" || m_kept.HasProperty(Orvane::USE_COMMA)) {
            m_file->SetSeparator(SplitPatterns::CommaSplit());
        } else if (extension == ".tsv" || m_kept.HasProperty(Orvane::USE_TAB)) {
            m_file->SetSeparator(SplitPatterns::TabSplit());
        } else if (extension == ".ssv" || m_kept.HasProperty(Orvane::USE_SPACE)) {
            m_file->SetSeparator(SplitPatterns::SpaceSplit());
        } else if (extension == ".txt") {
            m_file->AutodetectSeparator();
        } else if (extension == ".asc") {
            m_file->SetSeparator(SplitPatterns::CommaSplit());
        } else {
            throw Orvane::BException("BAsciiReader::Read",
                                     "Separator could not be determined automatically.");
        }
    }

    QString m_path;
    BParamList m_kept;
    std::size_t m_blockSize;
    std::uint32_t m_cachePageRows;
    AsciiReader::SharingRule m_sharing; ///< shares whatever is regular
    std::unique_ptr<AsciiFile> m_file;
    std::vector<Orvane::BSharedPtr<BVectorLayer>> m_layers;
    Orvane::BProgress* m_progress = nullptr;
    bool m_isOpen = false;
    bool m_failureFlag = false;
    int m_status = 0;
};

/// The reader as a host drives it; it does not show its engine.
class ReaderHost
{
public:
    ReaderHost(const QString& path, const Case& input, std::size_t)
        : m_path(MakeBString(path))
        , m_reader(m_path, input.kept)
    {
        if (input.cachePageRows != 0) {
            m_reader.SetDiskCache(true, CacheName(path), input.cachePageRows);
        }
    }

    void Open(const BParamList& params) { m_reader.Open(m_path, params); }

    void Read() { m_reader.Read(); }

    BParamList Preview() { return m_reader.GetFilePreview(Orvane::QUERY_COLUMNS); }

    void SetProgress(Orvane::BProgress* progress) { m_reader.SetProgress(progress); }

    void DescribeState(Trace& trace)
    {
        trace.push_back(std::string("open ") + (m_reader.IsOpen() ? "1" : "0") + " failure flag " +
                        (m_reader.GetFailureFlag() != 0 ? "1" : "0") + " status " +
                        std::to_string(m_reader.GetStatus()));
    }

    void DescribeLayers(Trace& trace)
    {
        for (std::size_t i = 0; i < m_reader.GetLayers().GetCount(); ++i) {
            DescribeLayer("layer", m_reader.GetLayers().GetAt(i).Get(), trace);
        }
    }

    void DescribeEngine(Trace&) {}

    void Close() { m_reader.Close(); }

private:
    BString m_path;
    AsciiReader::BAsciiReader m_reader;
};

template <typename Host>
Trace PerformWith(const QString& path, const Case& input, std::size_t blockSize)
{
    Trace trace;
    TracingProgress progress(input.cancelLine, trace);
    Host host(path, input, blockSize);
    if (input.hasProgress) {
        host.SetProgress(&progress);
    }
    const auto attempt = [&](const char* name, auto&& action) {
        trace.push_back(std::string("step ") + name);
        try {
            action();
        } catch (...) {
            trace.push_back(DescribeFailure(DescribeCurrentException()));
        }
        host.DescribeState(trace);
    };
    attempt("open", [&] { host.Open(input.opened); });
    for (const EStep step : input.steps) {
        if (step == EStep::Read) {
            attempt("read", [&] { host.Read(); });
        } else {
            attempt("preview", [&] { DescribePreview(host.Preview(), trace); });
        }
    }
    host.DescribeLayers(trace);
    host.DescribeEngine(trace);
    host.Close();
    return trace;
}

} // namespace

Trace Perform(EReader reader, const QString& path, const Case& input, std::size_t blockSize)
{
    switch (reader) {
    case EReader::Literal:
        return PerformWith<LiteralHost>(path, input, blockSize);
    case EReader::GuardedLiteral:
        return PerformWith<GuardedLiteralHost>(path, input, blockSize);
    case EReader::Engine:
        return PerformWith<EngineHost>(path, input, blockSize);
    case EReader::Plugin:
        break;
    }
    return PerformWith<ReaderHost>(path, input, blockSize);
}

Trace WithoutEngine(Trace trace)
{
    const auto isEngine = [](const std::string& line) { return line.starts_with("engine "); };
    trace.erase(std::remove_if(trace.begin(), trace.end(), isEngine), trace.end());
    return trace;
}

/// The first line that differs, with a few lines before it; empty when none does.
std::string FirstDifference(const Trace& expected, const Trace& actual)
{
    const std::size_t common = std::min(expected.size(), actual.size());
    std::size_t at = 0;
    while (at < common && expected[at] == actual[at]) {
        ++at;
    }
    if (at == expected.size() && at == actual.size()) {
        return {};
    }
    std::string text;
    for (std::size_t i = at < 4 ? 0 : at - 4; i < at; ++i) {
        text += "  both:     " + expected[i] + "\n";
    }
    text += "  literal:  " + (at < expected.size() ? expected[at] : std::string("(end)")) + "\n";
    text += "  product:  " + (at < actual.size() ? actual[at] : std::string("(end)")) + "\n";
    return text;
}

} // namespace ReaderTraces
