// What the parts of the GeoPackage writer throw when the disk or SQLite refuses something.
#pragma once

#include <stdexcept>
#include <string>

namespace Orvane::GeoPackage {

/// A failed call; what() is the reason in SQLite's or the system's words, UTF-8. As it leaves
/// GeoPackageWriter, the step comes before it: "Writing rows: database or disk is full".
class WriteFailure : public std::runtime_error
{
public:
    explicit WriteFailure(const std::string& reason)
        : std::runtime_error(reason)
    {}
};

} // namespace Orvane::GeoPackage
