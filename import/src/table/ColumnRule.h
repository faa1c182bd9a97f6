// What the cells of one column become.
#pragma once

#include "../plan/Types.h"
#include "../plan/values/Numbers.h"
#include "IsoText.h"
#include "Table.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Table {

/// What a cell is to its column.
enum class ECellState : std::uint8_t {
    Value,
    Empty,
    NullWord,
    Misfit, ///< no value of the column's type
};

/// The texts that are null in every column: those of the plan and of the request.
[[nodiscard]] std::vector<std::string> NullTextsOf(const Plan& plan, const TableRequest& request);

/// The words `true`, `false`, `yes` and `no` in any case: 1 or 0; -1 for all else.
[[nodiscard]] inline int ReadPlainWord(std::string_view cell) noexcept
{
    constexpr std::uint32_t kLowerCase = 0x20202020U;
    const auto isWord = [&](const char* word, std::size_t size) {
        std::uint32_t units = 0;
        std::uint32_t wanted = 0;
        std::memcpy(&units, cell.data(), size);
        std::memcpy(&wanted, word, size);
        return ((units | kLowerCase) ^ (wanted | kLowerCase)) == 0;
    };
    switch (cell.size()) {
    case 2:
        return isWord("no", 2) ? 0 : -1;
    case 3:
        return isWord("yes", 3) ? 1 : -1;
    case 4:
        return isWord("true", 4) ? 1 : -1;
    case 5:
        return isWord("fals", 4) && (cell[4] == 'e' || cell[4] == 'E') ? 0 : -1;
    default:
        return -1;
    }
}

/// Converts the cells of one column by the type and the spelling that the plan says. Cells are
/// UTF-8 without quotes. Values are set for ECellState::Value alone. No locale, no allocation.
class ColumnRule
{
public:
    /// @param nullTexts must outlive this object
    /// @param isAllText see TableRequest
    ColumnRule(const PlanColumn& column, const std::vector<std::string>& nullTexts, bool isAllText);

    /// The type that the column has in the layer.
    [[nodiscard]] EPlanType Type() const noexcept { return m_type; }

    /// Whether cells are stored as the texts that they are.
    [[nodiscard]] bool IsText() const noexcept
    {
        return m_type == EPlanType::Text || m_type == EPlanType::Angle;
    }

    [[nodiscard]] bool IsTime() const noexcept
    {
        return m_type == EPlanType::Date || m_type == EPlanType::Time ||
               m_type == EPlanType::DateTime;
    }

    /// Whether a plain number without blanks, signs and zeros before it is the value that the
    /// reader's kernels make of it, and is not null.
    [[nodiscard]] bool IsPlainNumber() const noexcept { return m_isPlainNumber; }

    /// Whether zeros before a number are no obstacle.
    [[nodiscard]] bool AllowsLeadingZeros() const noexcept { return m_isGiven; }

    /// Whether a text may be null for another reason than being empty.
    [[nodiscard]] bool HasNullTexts() const noexcept { return m_hasNullTexts; }

    [[nodiscard]] ECellState ReadInt32(std::string_view cell, std::int32_t& value) const noexcept;
    [[nodiscard]] ECellState ReadInt64(std::string_view cell, std::int64_t& value) const noexcept;
    [[nodiscard]] ECellState ReadDouble(std::string_view cell, double& value) const noexcept;
    [[nodiscard]] ECellState ReadBoolean(std::string_view cell, bool& value) const noexcept;
    /// @param text in `buffer`, which is not always used
    [[nodiscard]] ECellState
    ReadTime(std::string_view cell, IsoBuffer& buffer, std::string_view& text) const noexcept;
    /// Of a column of texts: a Value unless it is null.
    [[nodiscard]] ECellState ReadText(std::string_view cell) const noexcept;

    /// What a cell is, whatever the type.
    [[nodiscard]] ECellState Read(std::string_view cell) const noexcept;

private:
    [[nodiscard]] bool IsNullText(std::string_view cell) const noexcept;
    /// Empty, NullWord or Misfit: for cells that are no values.
    [[nodiscard]] ECellState ReadNull(std::string_view cell) const noexcept;

    EPlanType m_type;
    bool m_isGiven;
    bool m_hasNullTexts;
    bool m_isPlainNumber = false;
    Values::Notation m_notation;
    EIsoKind m_isoKind = EIsoKind::Date;
    std::uint32_t m_dateForms = 0;
    const std::vector<std::string>* m_nullTexts;
};

} // namespace Orvane::Import::Table
