// Stands between a program and its files: reads, writes and positionings of one file can fail or
// transfer less than requested.
#pragma once

#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

/// All reads, writes and positionings of the program, Qt included, come through here. For programs
/// of one thread.
namespace FaultyFiles {

enum class ECall { Read, Write, Seek };

/// What happens to a call.
struct Answer
{
    int error = 0;                                              ///< errno, 0 for none
    std::size_t most = std::numeric_limits<std::size_t>::max(); ///< bytes transferred at most
};

/// Decides on one call. @param number the call's number among those to the file, from 1
using Rule = std::function<Answer(ECall call, std::uint64_t number)>;

/// While it lives, the rule applies to the files whose path begins with `path`; a file without a
/// name belongs to its folder. One at a time.
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
