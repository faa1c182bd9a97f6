// The logger that drops every message.
#include <Orvane/BLogger.h>

namespace Orvane {

BLogger::~BLogger() = default;

void BLogger::Log(ELogLevel /*level*/, const BString& /*message*/) {}

} // namespace Orvane
