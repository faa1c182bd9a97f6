// The base of readers of vector layers.
#pragma once

#include <Orvane/BDataReader.h>

namespace Orvane {

/// Drives a reader of vector layers: the public operations perform the protected ones.
///
/// Open performs DoOpen: the kept option list and the layers of an earlier opening stay, and a
/// reader that is open is not closed first. Close performs DoClose; layers stay until the reader
/// goes, so that a host may take them before or after. Read sets failure flag and status to 0 and
/// performs DoRead; on a reader that is not open it throws BDataManagerException(
/// "BVectorDataReader::Read", "The reader is not open."). Exceptions of the performed operation
/// leave unchanged.
class ORVANE_SDK_EXPORT BVectorDataReader : public BDataReader
{
public:
    BVectorDataReader(const BString& path, const BParamList& params);
    ~BVectorDataReader() override;
    void Open(const BString& path, const BParamList& params) override;
    void Close() override;
    void Read() override;
};

} // namespace Orvane
