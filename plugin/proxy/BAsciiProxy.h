// The proxy through which the host finds everything else.
#pragma once

#include <Orvane/BDataManagerProxy.h>

namespace AsciiReader {

/// Answers which data-source types can be read and makes readers for them. The module has one, of
/// static storage duration; the host never deletes it. It does not write: the base refuses.
class BAsciiProxy : public Orvane::BDataManagerProxy
{
public:
    BAsciiProxy();
    ~BAsciiProxy() override;

    /// True for DS_CSV, DS_TSV, DS_TXT and DS_SSV; `params` is ignored.
    bool CanRead(const Orvane::BString& dataSourceType, const Orvane::BParamList& params) override;
    bool CanRead(const Orvane::BString& dataSourceType) override;

    /// Makes a reader for `path`; nothing is opened.
    Orvane::BDataReader* CreateReader(const Orvane::BString& path,
                                      const Orvane::BParamList& params,
                                      Orvane::BCoordSysRepository* coordSysRepository,
                                      Orvane::BLogger* logger) override;
};

} // namespace AsciiReader
