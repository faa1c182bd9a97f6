// The base of all readers.
#pragma once

#include <Orvane/BDataManager.h>

namespace Orvane {

/// A data manager that reads: `Open` makes the layers, `Read` fills them.
///
/// A plug-in derives from BVectorDataReader and overrides DoOpen, DoClose and DoRead. They run on
/// the thread that calls Open, Close and Read, never two at once for one reader.
class ORVANE_SDK_EXPORT BDataReader : public BDataManager
{
public:
    ~BDataReader() override;
    /// Reads the open data source into its layers. GetStatus says afterwards whether it was
    /// cancelled, GetFailureFlag whether it stopped before the end of the data.
    /// @throws BDataManagerException on a reader that is not open; what the subclass's DoRead
    ///     throws. What was read before stays in the layers, and the reader stays open.
    virtual void Read() = 0; // slot 12

protected:
    /// Keeps copies of both; nothing is opened.
    BDataReader(const BString& path, const BParamList& params);

    /// The work of Open. It opens TestFileCapabilities(path, params), makes each layer with its
    /// name and schema (disk-cached when UsingDiskCache says so), adds the layers to GetLayers, and
    /// makes IsOpen true as its last step.
    ///
    /// A reader that is open already is not closed first: what a second opening does to the first
    /// is the subclass's to say. When it throws, IsOpen stays as it was and no layer is added;
    /// nothing else is undone for it.
    /// @throws any exception that derives from std::exception; BFileNotFoundException for a missing
    ///     file, BFileContentNotValidException for one of another format.
    virtual void DoOpen(const BString& path, const BParamList& params) = 0; // slot 13
    /// The work of Close. It frees what DoOpen holds and makes IsOpen false; layers stay. May be
    /// called on a reader that is not open, and does nothing then. Should not throw: the
    /// destructor of the subclass calls it, too.
    virtual void DoClose() = 0; // slot 14
    /// The work of Read, on an open reader. It adds the data source's features to the layers,
    /// calls ReportProgress per row or per some rows, and at its end, whatever ShouldReport would
    /// say, reports to GetProgress once more with the number of rows read.
    ///
    /// A report that gives false ends it: it returns with the status kCancelled and keeps the rows
    /// read so far. When it stops before the end of the data for another reason than a failure, it
    /// sets the failure flag to 1. It may be called again; what a second call reads is the
    /// subclass's to say.
    /// @throws any exception that derives from std::exception. Rows ended before stay; the row at
    ///     hand leaves nothing.
    virtual void DoRead() = 0; // slot 15

    /// The path to open for `path`: DoOpen asks before it opens. The base of all readers gives
    /// `path` unchanged.
    BString TestFileCapabilities(const BString& path, const BParamList& params);
};

} // namespace Orvane
