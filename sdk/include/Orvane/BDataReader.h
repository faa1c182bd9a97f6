// The base of all readers.
#pragma once

#include <Orvane/BDataManager.h>

namespace Orvane {

/// A data manager that reads. `Read` fills the layers that `Open` made.
class ORVANE_SDK_EXPORT BDataReader : public BDataManager
{
public:
    ~BDataReader() override;
    /// Reads into the layers. @throws what the subclass's reading throws; what was read stays.
    virtual void Read() = 0; // slot 12

protected:
    BDataReader(const BString& path, const BParamList& params);
    virtual void DoOpen(const BString& path, const BParamList& params) = 0; // slot 13
    virtual void DoClose() = 0;                                             // slot 14
    virtual void DoRead() = 0;                                              // slot 15

    /// The path to open for `path`; the base returns it unchanged.
    BString TestFileCapabilities(const BString& path, const BParamList& params);
};

} // namespace Orvane
