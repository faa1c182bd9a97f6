// Tells the header lines of a file from its data.
#pragma once

#include "text/ReadOptions.h"
#include "text/TextView.h"

#include <Orvane/BString.h>

#include <cstdint>
#include <vector>

namespace AsciiReader {

/// The rule of AsciiFile::IsHeaderLine, and its state between lines.
class HeaderRule
{
public:
    explicit HeaderRule(const ReadOptions& options);

    /// Whether the line is a header line; counts calls in count mode.
    bool Test(const TextView& line);
    /// Forgets counted lines and the header's end.
    void Reset() noexcept;

    /// False when no line can be a header line and Test need not be called.
    [[nodiscard]] bool IsActive() const noexcept { return m_mode != Mode::None; }

private:
    using Mode = ReadOptions::HeaderMode;

    Mode m_mode;
    std::vector<Orvane::BString> m_identifiers;
    std::int32_t m_limit;
    std::int32_t m_counted = 0;
    bool m_hasEnded = false;
};

} // namespace AsciiReader
