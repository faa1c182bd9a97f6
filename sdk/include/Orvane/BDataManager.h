// The base of all objects that a host opens data with.
#pragma once

#include <Orvane/BFeature.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BLayers.h>
#include <Orvane/BProgress.h>
#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstdint>

namespace Orvane {

class BCoordSysRepository;
class BDataManagerProxy;
class BLogger;

/// What a data manager is; the flags of BDataManager::GetManagerFlags.
namespace EManagerFlag {
constexpr std::uint32_t kReads = 0x001;      ///< it reads
constexpr std::uint32_t kWrites = 0x002;     ///< it writes
constexpr std::uint32_t kVectorData = 0x200; ///< its layers hold vector features
} // namespace EManagerFlag

/// How the last operation of a data manager ended.
namespace EManagerStatus {
constexpr std::int32_t kDone = 0;      ///< as asked
constexpr std::int32_t kCancelled = 3; ///< the progress object asked to stop
} // namespace EManagerStatus

/// Opens a data source and keeps its layers.
///
/// Made by BDataManagerProxy::CreateReader, owned by the host, given back with the proxy's
/// DestroyObject; BReaderHandle does both. Order of calls: SetDiskCache, SetThreadCount and
/// SetProgress where they are wanted, Open, then Read or GetFilePreview, then Close; Open may
/// follow again. Layers stay in the list until the manager is destroyed, and a handle of a layer
/// keeps it beyond that.
///
/// Used by one thread at a time; different managers may be used by different threads at once.
/// The slots of the virtual table are part of the interface; they are numbered at each operation.
///
/// A plug-in does not derive from this class but from BVectorDataReader, which says what is to be
/// overridden; docs/plugin.md shows a whole one.
class ORVANE_SDK_EXPORT BDataManager
{
public:
    BDataManager(const BDataManager&) = delete;
    BDataManager& operator=(const BDataManager&) = delete;
    /// A plug-in's class closes what is still open. Called by DestroyObject, never by a host.
    virtual ~BDataManager(); // slot 0

    /// Opens a data source. Afterwards IsOpen is true, and the layers that the source has stand in
    /// GetLayers with their schemas, without features.
    /// @param path of the data source, as it was given to CreateReader
    /// @param params options of this opening, the same list as the manager was made with
    /// @throws what the subclass's DoOpen throws; IsOpen tells whether it was open before.
    virtual void Open(const BString& path, const BParamList& params) = 0; // slot 1
    /// Closes the data source. Layers stay, and so do the features that were read.
    virtual void Close() = 0; // slot 2
    /// Whether GetFilePreview answers that query. The base answers none.
    virtual bool SupportsQuery(const BString& query); // slot 3
    /// The answer to a query about an open data source; an empty list for a query that is not
    /// supported. The base answers none.
    ///
    /// QUERY_COLUMNS asks for the first two rows. The answer holds, per column, the decimal text of
    /// its index ("0", "1", ...) with a list of two texts, the fields of the first and of the
    /// second row (empty where a row has none); then FIRST_LINE_COLUMN_NAMES, the text "1" when the
    /// first row looks like names, else "0"; then NUM_COLUMNS, their number as an integer.
    ///
    /// A preview may consume what it shows: use one manager for the preview and another to read.
    /// @throws what the subclass throws, for a source that is not open and for one that cannot be
    ///     read.
    virtual BParamList GetFilePreview(const BString& query); // slot 4
    /// Whether a data source is open: from the end of an opening that succeeded until Close. The
    /// subclass keeps this state, in DoOpen and DoClose; nothing here sets it.
    virtual bool IsOpen() = 0; // slot 5
    /// The rectangle around all layers, empty without a point. @throws as GetMBB.
    virtual BMBR GetMBR(); // slot 6
    /// The box around all layers, empty without a point. Linear in the rows.
    /// @throws as BFeatureCollection::LoadPage.
    virtual BMBB GetMBB(); // slot 7
    /// Whether layers are to be disk-cached; see SetDiskCache.
    virtual bool UsingDiskCache(); // slot 8
    /// Path of the cache files but for a unique ending; empty: the folder for temporary files.
    virtual BString GetDiskCacheBaseName(); // slot 9
    /// Features per page of a disk-cached layer, at least 1.
    virtual std::uint32_t GetDiskCachePageSize(); // slot 10

protected:
    /// Passes a step on to the progress object when there is one and it wants it; to be called per
    /// row or per some rows. Costs one virtual call where no report is wanted.
    /// @param done rows read so far @param total all rows, 0 when that is not known
    /// @return false when the work should stop: no further row is read, what was read stays, and
    ///     the status becomes EManagerStatus::kCancelled.
    virtual bool ReportProgress(unsigned done, unsigned total); // slot 11

public:
    /// The path as the manager was made with it.
    [[nodiscard]] const BString& GetPath() const noexcept { return m_path; }

    /// The kept option list: the options that the manager was made with. A host may change it
    /// between calls, a reader may clear it when it is closed.
    [[nodiscard]] BParamList& GetParams() noexcept { return m_params; }

    [[nodiscard]] const BParamList& GetParams() const noexcept { return m_params; }

    /// The layers, in the order in which DoOpen added them; an earlier opening's come first. Only
    /// the subclass adds to the list; entries are not null.
    [[nodiscard]] BLayers& GetLayers() noexcept { return m_layers; }

    [[nodiscard]] const BLayers& GetLayers() const noexcept { return m_layers; }

    /// The progress object, null for none. The host keeps owning it: it must outlive the read, or
    /// be replaced by null before it goes.
    void SetProgress(BProgress* progress) noexcept { m_progress = progress; }

    [[nodiscard]] BProgress* GetProgress() const noexcept { return m_progress; }

    /// Asks for disk-cached layers from the next Open on. A reader that does not know of disk
    /// caches may ignore it.
    /// @param use false: layers in memory, whatever the others say
    /// @param baseName path of the cache files but for a unique ending; empty: the folder for
    ///     temporary files
    /// @param pageSize features per page; 0 stands for 1024
    void SetDiskCache(bool use, const BString& baseName = BString(), std::uint32_t pageSize = 0);

    /// Lets a read use that many threads, the caller's included, from the next Read on. They exist
    /// during the read alone: all but the caller's have ended when it returns or throws. The layer,
    /// the calls of the progress object, which come on the caller's thread, and every exception are
    /// the same with any number; only pages of a disk cache that end early for their size may end
    /// at other rows. A reader may use fewer threads, also where the system grants fewer.
    /// @param threads 1, as in a new manager: the caller's thread alone; 0 stands for 1
    void SetThreadCount(unsigned threads) noexcept { m_threadCount = threads == 0 ? 1 : threads; }

    [[nodiscard]] unsigned GetThreadCount() const noexcept { return m_threadCount; }

    /// How the last operation ended: a value of EManagerStatus, or one of the subclass's own.
    [[nodiscard]] std::int32_t GetStatus() const noexcept { return m_status; }

    /// 1 when the last read stopped before the end of the data without having failed, as at
    /// MAX_RECORDS; else 0.
    [[nodiscard]] std::uint8_t GetFailureFlag() const noexcept { return m_failureFlag; }

    /// Flags of EManagerFlag.
    [[nodiscard]] std::uint32_t GetManagerFlags() const noexcept { return m_managerFlags; }

    /// For the proxy that makes the manager: what it is.
    void SetManagerFlags(std::uint32_t flags) noexcept { m_managerFlags = flags; }

    /// The host's coordinate systems, null when it gave none. The host owns them.
    [[nodiscard]] BCoordSysRepository* GetCoordSysRepository() const noexcept
    {
        return m_coordSysRepository;
    }

    /// Where messages go, null for nowhere. The host owns it.
    [[nodiscard]] BLogger* GetLogger() const noexcept { return m_logger; }

protected:
    /// Keeps copies of both; nothing is opened.
    BDataManager(const BString& path, const BParamList& params);

    void SetStatus(std::int32_t status) noexcept { m_status = status; }

    void SetFailureFlag(std::uint8_t flag) noexcept { m_failureFlag = flag; }

private:
    friend class BDataManagerProxy;

    BString m_path;
    BParamList m_params;
    BLayers m_layers;
    BProgress* m_progress = nullptr;
    std::int32_t m_status = EManagerStatus::kDone;
    std::uint8_t m_failureFlag = 0;
    std::uint32_t m_managerFlags = 0;
    bool m_usesDiskCache = false;
    BString m_diskCacheBaseName;
    std::uint32_t m_diskCachePageSize = 1024;
    unsigned m_threadCount = 1;
    BCoordSysRepository* m_coordSysRepository = nullptr;
    BLogger* m_logger = nullptr;
};

} // namespace Orvane
