// What the parts of the GeoPackage writer throw when the disk or SQLite refuses something.
#pragma once

#include <stdexcept>
#include <string>

namespace Orvane::GeoPackage {

/// A failed call; what() is the reason in the system's words, UTF-8. Stays inside of this folder:
/// the writer adds the file and the step and throws Orvane::BException.
class WriteFailure : public std::runtime_error
{
public:
    explicit WriteFailure(const std::string& reason)
        : std::runtime_error(reason)
    {}
};

} // namespace Orvane::GeoPackage
