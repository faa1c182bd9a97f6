// What the bare reader makes of a column's cells.
#pragma once

#include <Orvane/BAttributeDefs.h>

#include <optional>
#include <string>
#include <string_view>

namespace Orvane::Import {

/// A column as the bare reader sees it: its type by the cells of the sample, by the reader's own
/// rules, and the value that it gives to any cell.
///
/// Use: AddSample for each row of the sample, then the rest.
class BareColumn
{
public:
    /// A cell of the sample.
    void AddSample(std::string_view cell);

    [[nodiscard]] EVariantType Type() const noexcept { return m_def.GetType(); }

    /// Whether cells become numbers of 32 bits, doubles or truth values; texts and numbers of 64
    /// bits stay as they are.
    [[nodiscard]] bool Converts() const noexcept;

    /// The value that the reader gives to a cell, as a text: "9", "-3.5", "false"; the cell itself
    /// when it stays as it is.
    [[nodiscard]] std::string Convert(std::string_view cell) const;

private:
    BAttributeDef m_def;
};

/// Whether the reader makes a coordinate of the cell as it stands.
[[nodiscard]] bool IsBareCoordinate(std::string_view cell);

/// The character that the reader splits at by the extension of a file alone, in lower case or not;
/// 0 for .txt, where the first lines decide, and '\n' where it refuses the file.
[[nodiscard]] char BareSeparator(const std::string& path);

} // namespace Orvane::Import
