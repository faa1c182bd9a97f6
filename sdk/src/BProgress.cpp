// The home of the progress interface's type information.
#include <Orvane/BProgress.h>

namespace Orvane {

BProgress::~BProgress() = default;

} // namespace Orvane
