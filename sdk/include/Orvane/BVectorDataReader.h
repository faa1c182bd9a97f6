// The base of readers of vector layers.
#pragma once

#include <Orvane/BDataReader.h>

namespace Orvane {

/// Drives a reader of vector layers: the public operations perform the protected ones. This is the
/// class that a plug-in's reader derives from.
///
/// The kept option list and the layers of an earlier opening stay, and a reader that is open is not
/// closed first. Layers stay until the reader is destroyed, so that a host may get them before
/// Close or after. Exceptions of the performed operation leave unchanged. The subclass's destructor
/// closes what is still open.
class ORVANE_SDK_EXPORT BVectorDataReader : public BDataReader
{
public:
    BVectorDataReader(const BString& path, const BParamList& params);
    ~BVectorDataReader() override;
    /// Performs DoOpen.
    void Open(const BString& path, const BParamList& params) override;
    /// Performs DoClose, also on a reader that is not open.
    void Close() override;
    /// Sets failure flag and status to 0 and performs DoRead.
    /// @throws BDataManagerException("BVectorDataReader::Read", "The reader is not open."); what
    ///     DoRead throws.
    void Read() override;
};

} // namespace Orvane
