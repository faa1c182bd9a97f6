// Finds the test data.
#include "support/DataFolder.h"

#include <cstdlib>

namespace TestSupport {

std::filesystem::path DataFolder()
{
    if (const char* folder = std::getenv("ORVANE_TEST_DATA")) {
        return folder;
    }
    return std::filesystem::path(ORVANE_SOURCE_DIR) / ".." / "shared" / "data";
}

bool HasDataFolder()
{
    return std::filesystem::is_directory(DataFolder());
}

} // namespace TestSupport
