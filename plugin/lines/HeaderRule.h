// Tells the header lines of a file from its data.
#pragma once

#include "text/TextView.h"

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <cstdint>
#include <vector>

namespace AsciiReader {

/// The rule of AsciiFile::IsHeaderLine: the options resolved once, and the state between lines.
class HeaderRule
{
public:
    explicit HeaderRule(const Orvane::BParamList& params);

    /// Whether the line is a header line; counts calls in count mode.
    bool Test(const TextView& line);
    /// Forgets counted lines and the header's end.
    void Reset() noexcept;

    /// False when no line can be a header line and Test need not be called.
    [[nodiscard]] bool IsActive() const noexcept { return m_mode != Mode::None; }

private:
    enum class Mode { None, Identifiers, BlankLine, Count };

    Mode m_mode = Mode::None;
    std::vector<Orvane::BString> m_identifiers;
    std::int32_t m_limit = 0;
    std::int32_t m_counted = 0;
    bool m_hasEnded = false;
};

} // namespace AsciiReader
