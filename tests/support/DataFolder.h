// Finds the test data, which lies outside of this project.
#pragma once

#include <filesystem>

namespace TestSupport {

/// The folder that ORVANE_TEST_DATA names, else the one beside the source tree. It need not exist.
std::filesystem::path DataFolder();

bool HasDataFolder();

} // namespace TestSupport
