// A layer as JSON.
#pragma once

#include "JsonWriter.h"

#include <Orvane/BVectorLayer.h>

namespace OrvaneHost {

/// Writes the object of a layer: name, schema and features, page by page; needs no memory that
/// grows with the layer.
void WriteLayerJson(JsonWriter& json, const Orvane::BVectorLayer& layer);

} // namespace OrvaneHost
