// Drives the protected operations of a vector reader.
#include <Orvane/BException.h>
#include <Orvane/BVectorDataReader.h>

namespace Orvane {

BVectorDataReader::BVectorDataReader(const BString& path, const BParamList& params)
    : BDataReader(path, params)
{}

BVectorDataReader::~BVectorDataReader() = default;

void BVectorDataReader::Open(const BString& path, const BParamList& params)
{
    DoOpen(path, params);
}

void BVectorDataReader::Close()
{
    DoClose();
}

void BVectorDataReader::Read()
{
    if (!IsOpen()) {
        throw BDataManagerException("BVectorDataReader::Read", "The reader is not open.");
    }
    SetFailureFlag(0);
    SetStatus(EManagerStatus::kDone);
    DoRead();
}

} // namespace Orvane
