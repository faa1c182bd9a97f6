// The reader that the plug-in hands to the host.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>
#include <Orvane/BVectorDataReader.h>

namespace AsciiReader {

class AsciiFile;

/// Adapts the SDK's reader protocol to the file engine.
///
/// States: created (not open), open, closed. Open performs DoOpen; then Read and any number of
/// previews; then Close. Two option lists are read: the kept list of the base decides separator and
/// record limit, the list given to Open everything else. Used by one thread at a time.
class BAsciiReader : public Orvane::BVectorDataReader
{
public:
    BAsciiReader(const Orvane::BString& path, const Orvane::BParamList& params);
    /// Closes first when open. Rule: a reader that never became open keeps its engine allocated.
    ~BAsciiReader() override;

    /// True exactly for QUERY_COLUMNS.
    bool SupportsQuery(const Orvane::BString& query) override;
    /// The first two rows by column for QUERY_COLUMNS (they are consumed), else an empty list.
    /// @throws BException("File is not open and can not be read.",
    ///     "BAsciiReader::GetFilePreview"); what separator set-up and AsciiFile::ReadPreview throw.
    Orvane::BParamList GetFilePreview(const Orvane::BString& query) override;
    bool IsOpen() override;

protected:
    void DoOpen(const Orvane::BString& path, const Orvane::BParamList& params) override;
    void DoClose() override;
    void DoRead() override;

private:
    /// Sets separator or widths of the engine by the kept option list, the file's extension, or
    /// detection. @throws BException("BAsciiReader::Read", "Separator could not be determined
    ///     automatically.").
    void ConfigureSeparator();

    /// Owned from DoOpen to DoClose.
    AsciiFile* m_file = nullptr;
    bool m_isOpen = false;
};

} // namespace AsciiReader
