// How a host follows and stops long work.
#pragma once

#include <Orvane/Export.h>

namespace Orvane {

/// The host's progress object; the host implements and owns it.
///
/// Both operations are called on the thread that does the work. The slots of the virtual table are
/// part of the interface: 0 destructor, 1 ShouldReport, 2 Report.
class ORVANE_SDK_EXPORT BProgress
{
public:
    BProgress() = default;
    BProgress(const BProgress&) = delete;
    BProgress& operator=(const BProgress&) = delete;
    virtual ~BProgress();
    /// Whether a report is wanted now. @param done steps done so far; @param total all steps, 0
    /// when that is not known.
    virtual bool ShouldReport(unsigned done, unsigned total) = 0;
    /// Reports. @return false to cancel the work.
    virtual bool Report(unsigned done, unsigned total) = 0;
};

} // namespace Orvane
