// The base of all targets.
#include <Orvane/Import/Target.h>

namespace Orvane::Import {

Target::~Target() = default;

WriteReport
Target::Write(const BVectorLayer& layer, const LayerCounts& counts, const Callbacks& callbacks)
{
    LayerPages pages(layer.GetFeatures());
    return WritePages(layer, counts, pages, callbacks);
}

} // namespace Orvane::Import
