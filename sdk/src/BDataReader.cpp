// What all readers share.
#include <Orvane/BDataReader.h>

namespace Orvane {

BDataReader::BDataReader(const BString& path, const BParamList& params)
    : BDataManager(path, params)
{}

BDataReader::~BDataReader() = default;

BString BDataReader::TestFileCapabilities(const BString& path, const BParamList& /*params*/)
{
    return path;
}

} // namespace Orvane
