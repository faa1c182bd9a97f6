// Tells the header lines of a file from its data.
#include "lines/HeaderRule.h"

#include <algorithm>
#include <limits>

namespace AsciiReader {

HeaderRule::HeaderRule(const ReadOptions& options)
    : m_mode(options.headerMode)
    , m_identifiers(options.headerIdentifiers)
    , m_limit(options.headerCount)
{}

void HeaderRule::Reset() noexcept
{
    m_counted = 0;
    m_hasEnded = false;
}

bool HeaderRule::Test(const TextView& line)
{
    if (m_hasEnded) {
        return false;
    }
    switch (m_mode) {
    case Mode::None:
        return false;
    case Mode::Identifiers: {
        // Rule: the header never ends in this mode; such lines are header lines anywhere.
        const Orvane::BString text = line.ToString();
        return std::any_of(m_identifiers.begin(), m_identifiers.end(), [&text](const auto& id) {
            return text.StartsWith(id.View());
        });
    }
    case Mode::BlankLine:
        // Rule: the blank line that ends the header belongs to it.
        m_hasEnded = line.IsEmpty();
        return true;
    case Mode::Count: {
        const bool isHeader = m_counted < m_limit;
        m_counted += m_counted < std::numeric_limits<std::int32_t>::max() ? 1 : 0;
        return isHeader;
    }
    }
    return false;
}

} // namespace AsciiReader
