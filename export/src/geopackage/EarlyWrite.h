// Has the disk write a file while it grows.
#pragma once

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <threads/SharedWork.h>
#include <unistd.h>

namespace Orvane::GeoPackage {

/// Has the disk begin to write what a file has grown by: synchronising gigabytes at its end would
/// be silent for seconds. Where this cannot be had, it only takes longer; so no failure is told.
class EarlyWrite
{
public:
    /// @param file that another descriptor writes
    /// @param pool performs the work; must outlive this object
    EarlyWrite(const std::filesystem::path& file, AsciiReader::TaskPool& pool)
        : m_pool(pool)
        , m_descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC))
        , m_work(pool, [this] {
            static_cast<void>(
                ::sync_file_range(m_descriptor, m_begin, m_end - m_begin, SYNC_FILE_RANGE_WRITE));
        })
    {}

    ~EarlyWrite()
    {
        if (m_descriptor >= 0) {
            m_work.Finish();
            ::close(m_descriptor);
        }
    }

    EarlyWrite(const EarlyWrite&) = delete;
    EarlyWrite& operator=(const EarlyWrite&) = delete;

    /// To be called now and then by the thread that writes, which owns the pool.
    void Continue()
    {
        constexpr off_t kStepBytes = off_t{8} << 20U;
        struct stat status = {};
        const bool isBusy = m_work.IsStarted() && !m_work.IsDone() && m_pool.GetHelperCount() > 0;
        if (isBusy || m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0 ||
            status.st_size < m_end + kStepBytes) {
            return;
        }
        m_work.Finish();
        m_begin = m_end;
        m_end = status.st_size;
        m_work.Start();
    }

private:
    AsciiReader::TaskPool& m_pool;
    int m_descriptor;
    off_t m_begin = 0;
    off_t m_end = 0;
    AsciiReader::BackgroundWork m_work;
};

} // namespace Orvane::GeoPackage
