// Stands between a program and its files: reads, writes and positionings of one file can fail or
// give less than was asked for.
#pragma once

#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

/// The reads, writes and positionings of the whole program, Qt included, come through here. For one
/// thread.
namespace FaultyFiles {

enum class ECall { Read, Write, Seek };

/// What happens to a call.
struct Answer
{
    int error = 0;                                              ///< errno, 0 for none
    std::size_t most = std::numeric_limits<std::size_t>::max(); ///< bytes that are given at most
};

/// Decides about one call. @param number of the calls to the file so far, from 1
using Rule = std::function<Answer(ECall call, std::uint64_t number)>;

/// Puts a rule on the files whose path begins with `path` while it lives; a file without a name
/// counts with its folder. One at a time.
class Scope
{
public:
    Scope(const Orvane::BString& path, Rule rule);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// Calls to the files so far.
    [[nodiscard]] std::uint64_t GetCallCount() const noexcept;
};

} // namespace FaultyFiles
