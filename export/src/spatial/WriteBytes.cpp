// Goes on after short writes and interruptions.
#include "WriteBytes.h"

#include <cerrno>
#include <sys/types.h>
#include <unistd.h>

namespace Orvane {

int WriteBytes(int descriptor,
               const void* bytes,
               std::size_t byteCount,
               std::uint64_t offset) noexcept
{
    const char* position = static_cast<const char*>(bytes);
    while (byteCount > 0) {
        const ssize_t written =
            ::pwrite(descriptor, position, byteCount, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? errno : ENOSPC;
        }
        position += written;
        byteCount -= static_cast<std::size_t>(written);
        offset += static_cast<std::uint64_t>(written);
    }
    return 0;
}

} // namespace Orvane
