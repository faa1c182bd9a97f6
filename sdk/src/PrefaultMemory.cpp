// Prefaults memory in one system call.
#include <Orvane/BFeaturePage.h>

#if defined(__linux__)
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Orvane {

#if defined(__linux__)

namespace {

/// Less is not worth a call.
constexpr std::size_t kLeastBytes = 32768;

#if defined(MADV_POPULATE_WRITE)
constexpr int kPopulateWrite = MADV_POPULATE_WRITE;
#else
/// Linux 5.14; older C libraries do not name it.
constexpr int kPopulateWrite = 23;
#endif

} // namespace

void PrefaultMemory(void* memory, std::size_t byteCount) noexcept
{
    static std::atomic<bool> isUnknown = false;
    if (byteCount < kLeastBytes || isUnknown.load(std::memory_order_relaxed)) {
        return;
    }
    static const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    // Only pages that lie inside the memory as a whole: the others may belong to something else,
    // too.
    const std::size_t ahead =
        (pageSize - reinterpret_cast<std::uintptr_t>(memory) % pageSize) % pageSize;
    const std::size_t pages = (byteCount - ahead) / pageSize;
    const int error = errno;
    if (madvise(static_cast<char*>(memory) + ahead, pages * pageSize, kPopulateWrite) != 0) {
        // A lack of memory shows at the first write; a system without the call is not asked again.
        isUnknown.store(errno == EINVAL, std::memory_order_relaxed);
        errno = error;
    }
}

#else

void PrefaultMemory(void* /*memory*/, std::size_t /*byteCount*/) noexcept {}

#endif

} // namespace Orvane
