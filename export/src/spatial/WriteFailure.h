// What writers of files throw when the disk, the system or a library refuses something.
#pragma once

#include <stdexcept>
#include <string>

namespace Orvane {

/// A failed call; what() is the reason in the library's or the system's words, UTF-8. As it leaves
/// a writer, the step comes before it: "Writing rows: database or disk is full".
class WriteFailure : public std::runtime_error
{
public:
    explicit WriteFailure(const std::string& reason)
        : std::runtime_error(reason)
    {}
};

} // namespace Orvane
