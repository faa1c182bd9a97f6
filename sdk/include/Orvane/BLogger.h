// Where data managers write their messages.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

namespace Orvane {

/// How urgent a message is.
enum class ELogLevel { Debug, Info, Warning, Error };

/// The host's logger; the base class drops every message. The host owns it; it must outlive the
/// data managers that were given it. May be called from any thread that drives a data manager.
class ORVANE_SDK_EXPORT BLogger
{
public:
    BLogger() = default;
    BLogger(const BLogger&) = delete;
    BLogger& operator=(const BLogger&) = delete;
    virtual ~BLogger();
    virtual void Log(ELogLevel level, const BString& message);
};

} // namespace Orvane
