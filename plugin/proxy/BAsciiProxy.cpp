// The proxy through which the host finds everything else.
#include "proxy/BAsciiProxy.h"

#include "reader/BAsciiReader.h"

#include <Orvane/Constants.h>

#include <memory>

namespace AsciiReader {

namespace {

/// How the readers present themselves to the SDK: they read, and what they read is vector data.
constexpr std::uint32_t kReaderFlags = 513;

static_assert(kReaderFlags == (Orvane::EManagerFlag::kReads | Orvane::EManagerFlag::kVectorData));

} // namespace

BAsciiProxy::BAsciiProxy() = default;
BAsciiProxy::~BAsciiProxy() = default;

bool BAsciiProxy::CanRead(const Orvane::BString& dataSourceType)
{
    return dataSourceType == Orvane::DS_CSV || dataSourceType == Orvane::DS_TSV ||
           dataSourceType == Orvane::DS_TXT || dataSourceType == Orvane::DS_SSV;
}

bool BAsciiProxy::CanRead(const Orvane::BString& dataSourceType,
                          const Orvane::BParamList& /*params*/)
{
    return CanRead(dataSourceType);
}

Orvane::BDataReader* BAsciiProxy::CreateReader(const Orvane::BString& path,
                                               const Orvane::BParamList& params,
                                               Orvane::BCoordSysRepository* coordSysRepository,
                                               Orvane::BLogger* logger)
{
    auto reader = std::make_unique<BAsciiReader>(path, params);
    reader->SetManagerFlags(kReaderFlags);
    Initialize(reader.get(), coordSysRepository, logger);
    return reader.release();
}

} // namespace AsciiReader
