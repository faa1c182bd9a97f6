// Reads an Arrow stream of a layer back into rows.
#pragma once

#include <Orvane/BPointGeo.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>

#include <optional>
#include <string>
#include <vector>

namespace Fuzz {

/// What a stream gave; after an error, the rows before it.
struct ArrowRows
{
    int errorCode = 0;
    std::string error;
    std::string schema; ///< names and formats of all columns
    std::vector<std::string> names;
    std::vector<std::optional<Orvane::BPointGeo>> points;
    std::vector<std::string> values; ///< the other columns, described
};

ArrowRows ReadArrowRows(const Orvane::BSharedPtr<Orvane::BVectorLayer>& layer);

} // namespace Fuzz
