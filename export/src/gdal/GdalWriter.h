// Writes layers by GDAL's drivers.
#pragma once

#include <Orvane/Import/Target.h>

namespace Orvane::Import {

struct WriteRequest;

namespace Gdal {

/// As WriteByGdal
[[nodiscard]] WriteReport Write(const WriteRequest& request);

} // namespace Gdal
} // namespace Orvane::Import
