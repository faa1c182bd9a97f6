// How a host follows and stops long work.
#pragma once

#include <Orvane/Export.h>

namespace Orvane {

/// The host's progress object; the host implements and owns it.
///
/// Both operations are called on the thread that does the work, and may be called very often: an
/// implementation decides by time whether a report is due. What they throw leaves the operation
/// that does the work. The slots of the virtual table are part of the interface: 0 destructor, 1
/// ShouldReport, 2 Report.
class ORVANE_SDK_EXPORT BProgress
{
public:
    BProgress() = default;
    BProgress(const BProgress&) = delete;
    BProgress& operator=(const BProgress&) = delete;
    virtual ~BProgress();
    /// Whether a report is wanted now; a request to cancel is passed on by answering yes here and
    /// false in Report.
    /// @param done steps done so far, rows for a reader @param total all steps, 0 when that is not
    ///     known
    virtual bool ShouldReport(unsigned done, unsigned total) = 0;
    /// Reports. A reader reports once more at its end, whatever ShouldReport would say; having
    /// cancelled, answer false to that as well. @return false to cancel the work.
    virtual bool Report(unsigned done, unsigned total) = 0;
};

} // namespace Orvane
