// The base of all targets.
#include <Orvane/Import/Target.h>

namespace Orvane::Import {

Target::~Target() = default;

} // namespace Orvane::Import
