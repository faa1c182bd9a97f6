// Cuts lines into fields: the one splitter of every operation that splits.
#pragma once

#include "text/TextView.h"

#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace AsciiReader {

/// The fields of one line as views; reused from line to line so that nothing is allocated per row.
template <typename Unit>
struct FieldList
{
    std::vector<std::basic_string_view<Unit>> fields;
    /// Fields that had to lose quotes or backslashes inside; never more than the line's length.
    std::basic_string<Unit> unquoted;
};

/// How the lines of a file are cut into fields, worked out once per pattern and list of widths.
///
/// A pattern for a literal text outside quotes is matched by a linear scan: a separator splits when
/// the number of quotes after it in the line is even. Any other pattern is
/// given to the regular-expression engine.
class Separator
{
public:
    /// The rules of AsciiUtils::SplitLine for this pattern and these widths.
    Separator(const QRegularExpression& pattern, std::vector<std::int32_t> columnWidths);

    /// Cuts a line of any encoding. `row` says in which list the fields stand afterwards; they are
    /// views into the line and into the list, valid until either changes.
    void Split(const TextView& line, class SplitRow& row) const;

    /// The single byte that separates fields in every encoding that keeps ASCII, 0 when the fields
    /// are not cut at one such byte.
    [[nodiscard]] char GetSingleByte() const noexcept;

private:
    enum class Kind { NoFields, Widths, Literal, Empty, Pattern };

    /// @return false when a field cannot be expressed in the line's unit
    template <typename Unit>
    bool SplitLiteral(std::basic_string_view<Unit> line,
                      ETextUnit textUnit,
                      std::basic_string_view<Unit> separator,
                      FieldList<Unit>& out) const;
    void SplitEmpty(std::u16string_view line, FieldList<char16_t>& out) const;
    void SplitPattern(std::u16string_view line, FieldList<char16_t>& out) const;
    void SplitWidths(std::u16string_view line, FieldList<char16_t>& out) const;

    Kind m_kind = Kind::NoFields;
    std::u16string m_literal;
    std::string m_literalLatin1; ///< empty when the literal does not fit
    std::string m_literalUtf8;   ///< empty when the literal is not well-formed
    QRegularExpression m_pattern;
    std::vector<std::int32_t> m_widths;
};

/// One split row, in the units of its line where that is possible.
class SplitRow
{
public:
    /// The encoding of the fields: Latin1 and Utf8 stand in Bytes(), Utf16 in Wide().
    [[nodiscard]] ETextUnit GetUnit() const noexcept { return m_unit; }

    [[nodiscard]] std::size_t GetCount() const noexcept
    {
        return m_unit == ETextUnit::Utf16 ? m_wide.fields.size() : m_bytes.fields.size();
    }

    FieldList<char>& Bytes() noexcept { return m_bytes; }

    FieldList<char16_t>& Wide() noexcept { return m_wide; }

    /// Calls `use(fields, unit)` with the list of views that holds the row.
    template <typename Use>
    decltype(auto) Visit(Use&& use)
    {
        if (m_unit == ETextUnit::Utf16) {
            return use(m_wide.fields, m_unit);
        }
        return use(m_bytes.fields, m_unit);
    }

    /// Calls `use(fields)` with the list of views that holds the row, to change it.
    template <typename Use>
    void VisitMutable(Use&& use)
    {
        if (m_unit == ETextUnit::Utf16) {
            use(m_wide.fields);
        } else {
            use(m_bytes.fields);
        }
    }

    /// Makes the whole line the only field.
    void SetWhole(const TextView& line);
    void SetEmpty() noexcept;
    /// Uses ready fields; the texts must outlive the row.
    void SetFields(const std::vector<Orvane::BString>& fields);

private:
    friend class Separator;

    ETextUnit m_unit = ETextUnit::Latin1;
    FieldList<char> m_bytes;
    FieldList<char16_t> m_wide;
    std::u16string m_line; ///< the line, when it had to be widened
};

/// A part of a line without its first and last UTF-16 unit when it begins with a quote. Half of a
/// character of four UTF-8 bytes is left as the character's first byte.
std::string_view DropOuterQuotes(std::string_view part, ETextUnit unit);

/// Removes quotes and escapes of one part of a line: the rule of AsciiUtils::SplitLine.
/// @param scratch holds the result when it is no longer a piece of the part
/// @return false when the result is no valid text of that unit: half of a character is left over
bool Unquote(std::string_view part, ETextUnit unit, std::string& scratch, std::string_view& result);
/// The same on UTF-16.
std::u16string_view Unquote(std::u16string_view part, std::u16string& scratch);

} // namespace AsciiReader
