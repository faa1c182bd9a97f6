// The shortest way through the quotes and separators of a line.
#include "RowReading.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Orvane::Import::Scan {

namespace {

/// More states than these are not looked at: the row stays as it is.
constexpr std::size_t kMostStates = std::size_t{1} << 20U;

constexpr std::uint32_t kStray = 1;   ///< a quote that stands for itself
constexpr std::uint32_t kMissing = 3; ///< a quote that is not there
constexpr std::uint32_t kMostOddities = 8;
constexpr std::uint32_t kNever = std::numeric_limits<std::uint32_t>::max();

/// Where a reading stands before an event.
enum EState : std::uint8_t {
    StateFront,    ///< at the front of a field
    StatePlain,    ///< in a field without quotes
    StateQuoted,   ///< in a quoted field
    StateUnopened, ///< in a quoted field whose opener is missing
    StateEnd,      ///< after the closing quote of the last field
};

constexpr std::size_t kStates = 5;

struct Event
{
    std::size_t at = 0;
    bool isQuote = false;
};

struct Step
{
    std::uint32_t cost = kNever;
    std::uint32_t event = 0; ///< the state before: its event, its state, its fields
    std::uint32_t fields = 0;
    std::uint8_t state = 0;
};

/// The table of cheapest ways, filled from the line's begin to its end.
class Ways
{
public:
    Ways(std::string_view line, const Dialect& dialect, std::size_t count, bool prefersLast)
        : m_line(line)
        , m_dialect(dialect)
        , m_count(count)
        , m_prefersLast(prefersLast)
    {
        for (std::size_t at = 0; at < line.size(); ++at) {
            if (line[at] == dialect.quote || line[at] == dialect.separator) {
                m_events.push_back({at, line[at] == dialect.quote});
            }
        }
    }

    [[nodiscard]] std::size_t CountStates() const
    {
        return (m_events.size() + 1) * kStates * (m_count + 1);
    }

    /// @return whether there is a way; `fields` then holds what it reads
    bool Find(std::size_t offset, std::vector<Field>& fields)
    {
        m_steps.assign(CountStates(), {});
        At(0, StateFront, 0).cost = 0;
        for (std::uint32_t event = 0; event < m_events.size(); ++event) {
            for (std::uint32_t done = 0; done < m_count; ++done) {
                // Front first: it goes on to the others at the same event.
                for (std::uint8_t state = 0; state < StateEnd; ++state) {
                    if (At(event, state, done).cost <= kMostOddities) {
                        Walk(event, static_cast<EState>(state), done);
                    }
                }
            }
        }
        const auto last = static_cast<std::uint32_t>(m_events.size());
        const auto done = static_cast<std::uint32_t>(m_count - 1);
        const Step front = At(last, StateFront, done);
        Step& plain = At(last, StatePlain, done);
        if (front.cost < plain.cost) {
            plain = {front.cost, last, done, StateFront};
        }
        std::uint32_t best = At(last, StatePlain, done).cost;
        std::uint8_t state = StatePlain;
        const Step& closed = At(last, StateEnd, static_cast<std::uint32_t>(m_count));
        bool isClosed = false;
        if (closed.cost < best || (closed.cost == best && m_prefersLast)) {
            best = closed.cost;
            isClosed = true;
        }
        const std::uint32_t open = At(last, StateQuoted, done).cost;
        if (open != kNever && open + kMissing < best) {
            best = open + kMissing;
            state = StateQuoted;
            isClosed = false;
        }
        if (best > kMostOddities) {
            return false;
        }
        Collect(isClosed, state, offset, fields);
        return fields.size() == m_count;
    }

private:
    Step& At(std::uint32_t event, std::uint8_t state, std::uint32_t fields)
    {
        return m_steps[(std::size_t{event} * kStates + state) * (m_count + 1) + fields];
    }

    void Reach(std::uint32_t event,
               EState state,
               std::uint32_t fields,
               const Step& from,
               std::uint32_t cost)
    {
        Step& step = At(event, state, fields);
        if (cost < step.cost || (cost == step.cost && m_prefersLast)) {
            step = {cost, from.event, from.fields, from.state};
        }
    }

    /// Where the field that begins after an event begins, blanks that are no part of it aside.
    [[nodiscard]] std::size_t FrontOf(std::uint32_t event) const
    {
        std::size_t at = event == 0 ? 0 : m_events[event - 1].at + 1;
        while (m_dialect.skipsBlanks && event > 0 && at < m_line.size() && m_line[at] == ' ') {
            ++at;
        }
        return at;
    }

    [[nodiscard]] bool IsEscaped(std::size_t at) const
    {
        std::size_t slashes = 0;
        while (slashes < at && m_line[at - slashes - 1] == '\\') {
            ++slashes;
        }
        return m_dialect.hasBackslashes && slashes % 2 == 1;
    }

    void Walk(std::uint32_t event, EState state, std::uint32_t fields)
    {
        const Event& what = m_events[event];
        const std::uint32_t cost = At(event, state, fields).cost;
        const Step here{cost, event, fields, state};
        switch (state) {
        case StateFront:
            if (what.isQuote && what.at == FrontOf(event)) {
                Reach(event + 1, StateQuoted, fields, here, cost);
                Reach(event + 1, StatePlain, fields, here, cost + kStray);
            } else {
                Reach(event, StatePlain, fields, here, cost);
                Reach(event, StateUnopened, fields, here, cost + kMissing);
            }
            return;
        case StatePlain:
            if (what.isQuote) {
                const std::uint32_t stray = IsEscaped(what.at) ? 0 : kStray;
                Reach(event + 1, StatePlain, fields, here, cost + stray);
            } else {
                Reach(event + 1, StateFront, fields + 1, here, cost);
            }
            return;
        case StateQuoted:
        case StateUnopened:
            WalkQuoted(event, state, fields, here);
            return;
        case StateEnd:
            return;
        }
    }

    void WalkQuoted(std::uint32_t event, EState state, std::uint32_t fields, const Step& here)
    {
        const Event& what = m_events[event];
        const std::uint32_t cost = here.cost;
        if (!what.isQuote) {
            Reach(event + 1, state, fields, here, cost);
            if (state == StateQuoted) {
                Reach(event + 1, StateFront, fields + 1, here, cost + kMissing);
            }
            return;
        }
        if (IsEscaped(what.at)) {
            Reach(event + 1, state, fields, here, cost);
            return;
        }
        const bool hasNext = event + 1 < m_events.size();
        const bool isPair =
            hasNext && m_events[event + 1].isQuote && m_events[event + 1].at == what.at + 1;
        if (isPair) {
            Reach(event + 2, state, fields, here, cost);
        }
        Reach(event + 1, state, fields, here, cost + kStray);
        const std::size_t after =
            m_dialect.separator == ' '
                ? what.at + 1
                : std::min(m_line.find_first_not_of(' ', what.at + 1), m_line.size());
        if (after == m_line.size()) {
            Reach(static_cast<std::uint32_t>(m_events.size()), StateEnd, fields + 1, here, cost);
        } else if (hasNext && !m_events[event + 1].isQuote && m_events[event + 1].at == after) {
            Reach(event + 2, StateFront, fields + 1, here, cost);
        }
    }

    /// Follows the steps back from the line's end, and cuts the fields.
    void Collect(bool isClosed, std::uint8_t state, std::size_t offset, std::vector<Field>& fields)
    {
        fields.clear();
        Step step{0,
                  static_cast<std::uint32_t>(m_events.size()),
                  static_cast<std::uint32_t>(isClosed ? m_count : m_count - 1),
                  isClosed ? std::uint8_t{StateEnd} : state};
        std::size_t end = m_line.size(); ///< of the field that is followed back
        bool isQuoted = !isClosed && state == StateQuoted;
        while (true) {
            const Step before = At(step.event, step.state, step.fields);
            const bool isBegin = step.event == 0 && step.state == StateFront && step.fields == 0;
            if (step.state == StateFront || step.state == StateEnd) {
                // Here the field begins that ends at `end`.
                if (step.state == StateFront) {
                    AddField(FrontOf(step.event), end, isQuoted, offset, fields);
                }
                if (isBegin) {
                    break;
                }
                isQuoted = before.state == StateQuoted || before.state == StateUnopened;
                // Its closing quote, or a separator alone.
                end = m_events[before.event].at;
            }
            step = before;
        }
        std::reverse(fields.begin(), fields.end());
    }

    void AddField(std::size_t front,
                  std::size_t end,
                  bool isQuoted,
                  std::size_t offset,
                  std::vector<Field>& fields) const
    {
        const bool hasOpener =
            isQuoted && front < m_line.size() && m_line[front] == m_dialect.quote && front < end;
        const std::size_t begin = hasOpener ? front + 1 : std::min(front, end);
        fields.push_back({offset + begin, end - begin, isQuoted});
    }

    std::string_view m_line;
    const Dialect& m_dialect;
    std::size_t m_count;
    bool m_prefersLast;
    std::vector<Event> m_events;
    std::vector<Step> m_steps;
};

bool IsSame(const std::vector<Field>& a, const std::vector<Field>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Field& x, const Field& y) {
        return x.begin == y.begin && x.size == y.size && x.isQuoted == y.isQuoted;
    });
}

std::size_t CountFits(std::string_view text,
                      const std::vector<Field>& fields,
                      const std::vector<CellForm>& forms)
{
    std::size_t fits = 0;
    for (std::size_t index = 0; index < fields.size() && index < forms.size(); ++index) {
        fits += forms[index].Fits(fields[index].In(text)) ? 1U : 0U;
    }
    return fits;
}

bool DoColumnsTell(const std::vector<CellForm>& forms)
{
    constexpr std::ptrdiff_t kFewest = 2;
    return std::count_if(forms.begin(), forms.end(), [](const CellForm& form) {
               return form.IsTelling();
           }) >= kFewest;
}

} // namespace

bool AreQuoted(const std::vector<Field>& fields)
{
    return std::all_of(
        fields.begin(), fields.end(), [](const Field& field) { return field.isQuoted; });
}

bool ReadQuotes(std::string_view line,
                std::size_t offset,
                const Dialect& dialect,
                std::size_t count,
                const std::vector<CellForm>& forms,
                std::vector<Field>& fields,
                std::uint64_t& cost)
{
    Ways first(line, dialect, count, false);
    if (count == 0 || first.CountStates() > kMostStates) {
        return false;
    }
    cost += first.CountStates();
    if (!first.Find(offset, fields)) {
        return false;
    }
    // The cells of a reading, in the text that its positions count in.
    const auto countFits = [&](std::vector<Field> list) {
        for (Field& field : list) {
            field.begin -= offset;
        }
        return forms.empty() ? list.size() : CountFits(line, list, forms);
    };
    std::size_t fits = countFits(fields);
    cost += first.CountStates();
    Ways last(line, dialect, count, true);
    std::vector<Field> others;
    if (last.Find(offset, others) && !IsSame(fields, others)) {
        const std::size_t otherFits = countFits(others);
        if (fits == otherFits) {
            return false;
        }
        if (otherFits > fits) {
            fits = otherFits;
            fields = std::move(others);
        }
    }
    // Rule: a quote or two may spoil the cells that they stand in, no others.
    return fits + 2 >= count;
}

bool DoCellsFit(std::string_view text,
                const std::vector<Field>& fields,
                const std::vector<CellForm>& forms,
                std::size_t mostMisfits)
{
    return fields.size() == forms.size() && DoColumnsTell(forms) &&
           CountFits(text, fields, forms) + mostMisfits >= fields.size();
}

bool SplitQuoted(std::string_view text,
                 char quote,
                 const std::vector<CellForm>& forms,
                 std::vector<Field>& fields)
{
    constexpr std::size_t kMostPlaces = 16;
    if (quote == 0 || fields.size() + 1 != forms.size()) {
        return false;
    }
    // Rule: where no columns tell, the one place in a row of quoted cells is it.
    const bool isOnlyPlace = !DoColumnsTell(forms) && AreQuoted(fields);
    std::vector<Field> found;
    std::size_t places = 0;
    for (std::size_t index = 0; index < fields.size(); ++index) {
        const std::string_view cell = fields[index].In(text);
        for (std::size_t at = 0; fields[index].isQuoted && at + 1 < cell.size(); ++at) {
            if (cell[at] != quote || cell[at + 1] != quote) {
                continue;
            }
            std::vector<Field> split = fields;
            split[index].size = at;
            split.insert(split.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                         {fields[index].begin + at + 2, cell.size() - at - 2, true});
            ++at;
            if (++places > kMostPlaces) {
                return false;
            }
            if (!isOnlyPlace && !DoCellsFit(text, split, forms)) {
                continue;
            }
            if (!found.empty()) {
                return false;
            }
            found = std::move(split);
        }
    }
    if (found.empty()) {
        return false;
    }
    fields = std::move(found);
    return true;
}

bool DropEmptyCells(std::string_view text,
                    std::size_t count,
                    const std::vector<CellForm>& forms,
                    std::vector<Field>& fields)
{
    constexpr std::size_t kMostSurplus = 4;
    if (forms.size() != count || fields.size() <= count || fields.size() - count > kMostSurplus ||
        !DoColumnsTell(forms)) {
        return false;
    }
    const std::size_t surplus = fields.size() - count;
    // Cells before `front` fit where they stand, cells from `back` on where the surplus is gone.
    std::size_t front = 0;
    while (front < count && forms[front].Fits(fields[front].In(text))) {
        ++front;
    }
    std::size_t back = count;
    while (back > 0 && forms[back - 1].Fits(fields[back - 1 + surplus].In(text))) {
        --back;
    }
    const auto isEmpty = [&](std::size_t index) {
        return fields[index].size == 0 && !fields[index].isQuoted;
    };
    std::size_t found = fields.size();
    std::size_t empties = 0; ///< in a row up to `at`, the surplus cells after it included
    for (std::size_t index = 0; index < fields.size(); ++index) {
        empties = isEmpty(index) ? empties + 1 : 0;
        if (index + 1 < surplus || empties < surplus) {
            continue;
        }
        const std::size_t at = index + 1 - surplus;
        if (at < back || at > front) {
            continue;
        }
        // Neighbours that are all empty give the same row.
        if (found < fields.size() && at - found > empties - surplus) {
            return false;
        }
        found = std::min(found, at);
    }
    if (found == fields.size()) {
        return false;
    }
    const auto begin = fields.begin() + static_cast<std::ptrdiff_t>(found);
    fields.erase(begin, begin + static_cast<std::ptrdiff_t>(surplus));
    return true;
}

bool AreCellsShifted(std::string_view text,
                     const std::vector<Field>& fields,
                     const std::vector<CellForm>& forms)
{
    constexpr std::size_t kMostFields = 512;
    constexpr std::size_t kMostMisfits = 1;
    if (fields.size() >= forms.size() || fields.size() < 2 || forms.size() > kMostFields) {
        return false;
    }
    const std::size_t missing = forms.size() - fields.size();
    std::size_t misfits = 0;
    std::size_t front = fields.size(); ///< cells before it fit from the left
    std::size_t back = 0;              ///< cells from here on fit when moved to the right
    for (std::size_t index = 0; index < fields.size(); ++index) {
        const std::string_view cell = fields[index].In(text);
        if (!forms[index].Fits(cell)) {
            ++misfits;
            front = std::min(front, index);
        }
        if (!forms[index + missing].Fits(cell)) {
            back = index + 1;
        }
    }
    return misfits > kMostMisfits || (misfits > 0 && back <= front);
}

} // namespace Orvane::Import::Scan
