// Which cells of a column are out of the ordinary, once the plan has decided the column's type.
#pragma once

#include "BareColumn.h"
#include "LintRules.h"
#include "plan/values/Cell.h"

#include <Orvane/Import/Plan.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// A column under watch. What cells it can have is known from the plan, so that most columns of
/// most files need no watch at all.
class ColumnWatch
{
public:
    /// @param column outlives the watch. @param sentinels extreme values of the column that may
    /// stand for none; the others of its cells are no sentinels
    ColumnWatch(const PlanColumn& column,
                BareColumn bare,
                std::vector<double> sentinels,
                bool isAscii);

    /// Whether a cell of the column can be out of the ordinary.
    [[nodiscard]] bool IsNeeded() const noexcept { return m_isNeeded; }

    [[nodiscard]] const PlanColumn& Column() const noexcept { return *m_column; }

    [[nodiscard]] const BareColumn& Bare() const noexcept { return m_bare; }

    /// What is out of the ordinary in a cell; none for most.
    [[nodiscard]] std::optional<ELint> Look(std::string_view cell) const;

    /// Whether the bare reader's value of a cell that Look gave a code for is another one.
    [[nodiscard]] bool IsChanged(ELint code, std::string_view cell) const;

    /// What the bare reader does with such a cell: "reads 9".
    [[nodiscard]] std::string DescribeBare(std::string_view cell) const;

private:
    [[nodiscard]] std::optional<ELint> LookAtNumber(std::string_view cell) const;
    [[nodiscard]] std::optional<ELint> LookAtText(std::string_view cell) const;
    [[nodiscard]] bool IsNumberColumn() const noexcept;
    [[nodiscard]] bool IsNull(std::string_view cell) const;

    const PlanColumn* m_column;
    BareColumn m_bare;
    std::vector<double> m_sentinels;
    bool m_isOddText = false; ///< text, but for a few cells numbers or dates
    bool m_hasUnits = false;  ///< text, with numbers with units or signs
    bool m_isNeeded = false;
};

/// The number that a cell is in a column of that spelling; none when it is no number.
[[nodiscard]] std::optional<double> ReadValue(std::string_view cell, const std::string& spelling);

} // namespace Orvane::Import
