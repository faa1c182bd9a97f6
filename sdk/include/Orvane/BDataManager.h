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
/// Made by a BDataManagerProxy and disposed of by its DestroyObject. Order of calls: Open, then
/// the operations of the subclass, then Close; Open may follow again. Used by one thread at a time.
/// The slots of the virtual table are part of the interface; they are numbered at each operation.
class ORVANE_SDK_EXPORT BDataManager
{
public:
    BDataManager(const BDataManager&) = delete;
    BDataManager& operator=(const BDataManager&) = delete;
    virtual ~BDataManager(); // slot 0

    /// Opens `path` with `params`. @throws what the subclass's opening throws.
    virtual void Open(const BString& path, const BParamList& params) = 0; // slot 1
    virtual void Close() = 0;                                             // slot 2
    /// Whether GetFilePreview answers that query.
    virtual bool SupportsQuery(const BString& query); // slot 3
    /// The answer to a query, empty for one that is not supported.
    virtual BParamList GetFilePreview(const BString& query); // slot 4
    virtual bool IsOpen() = 0;                               // slot 5
    /// The rectangle around all layers.
    virtual BMBR GetMBR(); // slot 6
    /// The box around all layers.
    virtual BMBB GetMBB(); // slot 7
    /// Whether layers are to be disk-cached; see SetDiskCache.
    virtual bool UsingDiskCache();                // slot 8
    virtual BString GetDiskCacheBaseName();       // slot 9
    virtual std::uint32_t GetDiskCachePageSize(); // slot 10

protected:
    /// Passes a step on to the progress object when there is one and it wants it.
    /// @return false when the work should stop.
    virtual bool ReportProgress(unsigned done, unsigned total); // slot 11

public:
    /// The path as the manager was made with it.
    [[nodiscard]] const BString& GetPath() const noexcept { return m_path; }

    /// The kept option list: the options that the manager was made with. A host may change it
    /// between calls.
    [[nodiscard]] BParamList& GetParams() noexcept { return m_params; }

    [[nodiscard]] const BParamList& GetParams() const noexcept { return m_params; }

    [[nodiscard]] BLayers& GetLayers() noexcept { return m_layers; }

    [[nodiscard]] const BLayers& GetLayers() const noexcept { return m_layers; }

    /// The progress object, null for none. The host keeps owning it.
    void SetProgress(BProgress* progress) noexcept { m_progress = progress; }

    [[nodiscard]] BProgress* GetProgress() const noexcept { return m_progress; }

    /// Asks for disk-cached layers from the next Open on.
    /// @param baseName where cache files are made; empty: the folder for temporary files
    /// @param pageSize features a page; 0 stands for 1024
    void SetDiskCache(bool use, const BString& baseName = BString(), std::uint32_t pageSize = 0);

    /// A value of EManagerStatus, or one of the subclass's own.
    [[nodiscard]] std::int32_t GetStatus() const noexcept { return m_status; }

    /// 1 when the last operation stopped before the end of the data, else 0.
    [[nodiscard]] std::uint8_t GetFailureFlag() const noexcept { return m_failureFlag; }

    /// Flags of EManagerFlag.
    [[nodiscard]] std::uint32_t GetManagerFlags() const noexcept { return m_managerFlags; }

    void SetManagerFlags(std::uint32_t flags) noexcept { m_managerFlags = flags; }

    [[nodiscard]] BCoordSysRepository* GetCoordSysRepository() const noexcept
    {
        return m_coordSysRepository;
    }

    [[nodiscard]] BLogger* GetLogger() const noexcept { return m_logger; }

protected:
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
    BCoordSysRepository* m_coordSysRepository = nullptr;
    BLogger* m_logger = nullptr;
};

} // namespace Orvane
