// Quotes that open and close where they should not.
#include "diagnose/OpenQuote.h"

#include <string_view>

namespace Orvane::Import {

namespace {

/// One pass over a text, quote by quote.
template <typename Unit>
class QuoteScan
{
public:
    QuoteScan(std::basic_string_view<Unit> text, char separator)
        : m_text(text)
        , m_separator(static_cast<Unit>(separator))
    {}

    QuotePlace Run()
    {
        QuotePlace opening;
        bool isOpen = false;
        for (m_at = 0; m_at < m_text.size(); ++m_at) {
            const Unit unit = m_text[m_at];
            if (unit != Unit('"')) {
                Count(unit, isOpen);
                continue;
            }
            if (!isOpen) {
                const bool isWell = m_at == 0 || IsBoundary(m_text[m_at - 1]);
                opening = {m_at, m_lineBegin, m_separator == Unit() ? 0 : m_fieldNumber, !isWell};
                if (!isWell) {
                    return opening;
                }
            } else if (m_at + 1 < m_text.size() && m_text[m_at + 1] == Unit('"')) {
                ++m_at;
                continue;
            } else if (m_at + 1 < m_text.size() && !IsBoundary(m_text[m_at + 1])) {
                return opening;
            }
            isOpen = !isOpen;
        }
        return opening;
    }

private:
    void Count(Unit unit, bool isOpen)
    {
        if (unit == Unit('\n') || (unit == Unit('\r') && !IsNext(Unit('\n')))) {
            m_lineBegin = m_at + 1;
            m_fieldNumber = isOpen ? m_fieldNumber : 1;
        } else if (unit == m_separator && !isOpen) {
            ++m_fieldNumber;
        }
    }

    [[nodiscard]] bool IsNext(Unit unit) const
    {
        return m_at + 1 < m_text.size() && m_text[m_at + 1] == unit;
    }

    [[nodiscard]] bool IsBoundary(Unit unit) const
    {
        if (unit == Unit('\n') || unit == Unit('\r') || unit == Unit(' ') || unit == Unit('\t')) {
            return true;
        }
        return m_separator == Unit() ? unit == Unit(',') || unit == Unit(';') || unit == Unit('|')
                                     : unit == m_separator;
    }

    std::basic_string_view<Unit> m_text;
    Unit m_separator;
    std::size_t m_at = 0;
    std::size_t m_lineBegin = 0;
    std::uint64_t m_fieldNumber = 1;
};

} // namespace

QuotePlace FindOpenQuote(const AsciiReader::TextView& text, char separator)
{
    return text.Visit([separator](auto view) {
        return QuoteScan<typename decltype(view)::value_type>(view, separator).Run();
    });
}

} // namespace Orvane::Import
