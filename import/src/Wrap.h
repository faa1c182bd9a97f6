// Turns whatever a piece of code throws into the library's own failure.
#pragma once

#include <Orvane/Import/Failure.h>

#include <new>
#include <string>

namespace Orvane::Import {

/// The failure for the exception that is being handled: an ImportFailure as it is, all others with
/// their texts underneath. Called in a handler only.
/// @param file the file that was worked on, as the caller gave it; empty for none
/// @throws std::bad_alloc when that is the exception
[[nodiscard]] ImportFailure DescribeCurrentFailure(const std::string& file);

/// Runs `action`. @throws ImportFailure or std::bad_alloc, whatever `action` throws
template <typename Action>
auto WrapFailures(const std::string& file, Action&& action)
{
    try {
        return action();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        throw DescribeCurrentFailure(file);
    }
}

} // namespace Orvane::Import
