// What readers of tables of points repeat: one layer, rows, progress, a limit, a proxy.
#pragma once

#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureAppender.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorDataReader.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace Orvane {

/// A reader of files that are one table of points each, and so one layer. A plug-in derives from it
/// and from nothing else; it is all in this header, so that a module needs no newer SDK for it.
///
/// The reader is open from AddLayer to DoClose. A subclass implements DoOpen, which ends with
/// AddLayer; DoRead, a loop of WantsRow, IsBeyondLimit and CountRow, and then EndRead; and, when
/// its columns have names, GetFilePreview by MakePreview. One thread at a time.
///
///     void DoRead() override
///     {
///         BFeatureAppender appender(GetLayer().GetFeatures(), {{"class", EVariantType::Int32}});
///         while (WantsRow() && ReadLine() && !IsBeyondLimit()) {
///             appender.AddInt32(m_class);
///             appender.EndRow(EPointKind::XY, m_x, m_y, 0, "", ETextEncoding::Ascii);
///             CountRow();
///         }
///         EndRead();
///     }
class BTableReader : public BVectorDataReader
{
public:
    using BVectorDataReader::BVectorDataReader;

    ~BTableReader() override = default;

    bool IsOpen() override { return m_layer != nullptr; }

    /// QUERY_COLUMNS alone.
    bool SupportsQuery(const BString& query) override { return query == QUERY_COLUMNS; }

protected:
    /// Makes the layer, disk-cached when the host has asked for that, and opens the reader.
    BVectorLayer& AddLayer(const BString& name, const BAttributeDefs& schema)
    {
        const auto layer = UsingDiskCache() ? MakeShared<BVectorLayer>(GetDiskCacheBaseName(),
                                                                       GetDiskCachePageSize())
                                            : MakeShared<BVectorLayer>();
        layer->SetName(name);
        layer->SetSchema(schema);
        GetLayers().Add(layer);
        m_layer = layer;
        m_rows = 0;
        m_goesOn = true;
        return *layer;
    }

    /// The layer of AddLayer; only while the reader is open.
    [[nodiscard]] BVectorLayer& GetLayer() const { return *m_layer; }

    /// The layer stays with the host; an override frees what the subclass holds, and calls this.
    void DoClose() override { m_layer = nullptr; }

    /// @param location of the operation that needs an open reader, such as
    /// "MyReader::GetFilePreview"
    /// @throws BDataManagerException(location, "The reader is not open.")
    void RequireOpen(const char* location)
    {
        if (!IsOpen()) {
            throw BDataManagerException(location, "The reader is not open.");
        }
    }

    /// Whether to look for another row: false after a cancel.
    [[nodiscard]] bool WantsRow() const { return m_goesOn; }

    /// Whether the row that was just found is one too many for MAX_RECORDS. The failure flag is 1
    /// then, and the read should end.
    [[nodiscard]] bool IsBeyondLimit()
    {
        const std::int32_t limit = GetParams().GetInteger(MAX_RECORDS);
        const bool isBeyond = limit > 0 && m_rows == static_cast<unsigned>(limit);
        if (isBeyond) {
            SetFailureFlag(1);
        }
        return isBeyond;
    }

    /// Reports a row that is in the layer.
    void CountRow() { m_goesOn = ReportProgress(++m_rows, 0); }

    /// Reports the number of rows and sets the status: done, or cancelled by the host, even by the
    /// last report.
    void EndRead()
    {
        m_goesOn = (GetProgress() == nullptr || GetProgress()->Report(m_rows, 0)) && m_goesOn;
        SetStatus(m_goesOn ? EManagerStatus::kDone : EManagerStatus::kCancelled);
    }

    /// The answer to QUERY_COLUMNS of a file whose columns have names.
    /// @param firstRow texts of the first row, as many as there are columns; empty ones without
    /// rows
    [[nodiscard]] static BParamList MakePreview(const std::vector<BString>& names,
                                                const std::vector<BString>& firstRow)
    {
        BParamList answer;
        for (std::size_t index = 0; index < names.size(); ++index) {
            answer.Add(BString::FromInteger(static_cast<std::int64_t>(index)),
                       std::vector<BString>{names[index], firstRow[index]});
        }
        answer.Add(FIRST_LINE_COLUMN_NAMES, "1");
        answer.Add(NUM_COLUMNS, static_cast<std::int32_t>(names.size()));
        return answer;
    }

private:
    BSharedPtr<BVectorLayer> m_layer;
    unsigned m_rows = 0;
    bool m_goesOn = true;
};

/// The proxy of a module with one reader of vector data.
///
///     BReaderProxy<MarksReader> theProxy("DS_MARKS");
///     ORVANE_PLUGIN_PROXY(theProxy)
template <typename Reader>
class BReaderProxy : public BDataManagerProxy
{
public:
    /// @param dataSourceType that the reader reads: "DS_" and an extension in capitals
    explicit BReaderProxy(BString dataSourceType)
        : m_dataSourceType(std::move(dataSourceType))
    {}

    ~BReaderProxy() override = default;

    bool CanRead(const BString& dataSourceType) override
    {
        return dataSourceType == m_dataSourceType;
    }

    bool CanRead(const BString& dataSourceType, const BParamList& /*params*/) override
    {
        return CanRead(dataSourceType);
    }

    BDataReader* CreateReader(const BString& path,
                              const BParamList& params,
                              BCoordSysRepository* coordSysRepository,
                              BLogger* logger) override
    {
        auto reader = std::make_unique<Reader>(path, params);
        reader->SetManagerFlags(EManagerFlag::kReads | EManagerFlag::kVectorData);
        Initialize(reader.get(), coordSysRepository, logger);
        return reader.release();
    }

private:
    BString m_dataSourceType;
};

} // namespace Orvane

/// Exports the function by which a host finds the proxy, a static object; outside of all
/// namespaces, once in a module.
#define ORVANE_PLUGIN_PROXY(proxy)                                                                 \
    extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy();                  \
    extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy()                   \
    {                                                                                              \
        return &(proxy);                                                                           \
    }
