// What to do with each column of a row, worked out once per read; turns rows into features.
#pragma once

#include "text/ReadOptions.h"
#include "text/TextView.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BFeature.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {
class BFeatureAppender;
}

namespace AsciiReader {

class SplitRow;

/// What one field of a regular row becomes.
struct RegularField
{
    enum class Kind : std::uint8_t { X, Y, Z, Int32, Double, Float, Boolean, Text };

    Kind kind;
    std::size_t columnIndex; ///< column of an attribute, 0 for coordinates
};

/// The options and the schema of a read, resolved: column numbers, multipliers, formats, and the
/// type of each attribute. The rules are those of AsciiLayer::ParsedToFeature.
class RowPlan
{
public:
    /// @param schema kept by reference: the widths of its string columns are raised
    RowPlan(Orvane::BAttributeDefs& schema, const ReadOptions& options);

    /// The columns in which a layer stores the rows: those of the schema; none for an empty one,
    /// whose columns "attribute0", "attribute1", ... are added as rows need them.
    [[nodiscard]] std::vector<Orvane::BColumnInfo> MakeColumns() const;

    /// The fields of a row that has one for each coordinate and each definition, for conversion
    /// column by column; empty when rows have to be converted one by one (no schema, a name column,
    /// coordinate formats, coordinate columns outside such a row or used twice).
    [[nodiscard]] const std::vector<RegularField>& GetRegularRow() const noexcept
    {
        return m_regularRow;
    }

    [[nodiscard]] double GetMultiplier(RegularField::Kind coordinate) const noexcept;
    /// Raises the width of a string column to a length in UTF-16 units; other columns keep theirs.
    void RaiseWidth(std::size_t columnIndex, std::size_t length) const;
    [[nodiscard]] std::size_t GetWidth(std::size_t columnIndex) const;

    /// What a row has beside its attributes.
    struct RowEnd
    {
        Orvane::EPointKind kind;
        double x;
        double y;
        double z;
        std::int64_t nameField; ///< -1: named by number
    };

    /// Converts a row: its attributes become the values of the layer's next row.
    /// @throws as AsciiLayer::ParsedToFeature; the layer is unchanged then.
    RowEnd ConvertRow(SplitRow& row, Orvane::BFeatureAppender& layer) const;
    /// Ends the row that was converted last. @throws as BFeatureAppender::EndRow.
    static void EndRow(SplitRow& row,
                       const RowEnd& end,
                       std::uint32_t recordNumber,
                       Orvane::BFeatureAppender& layer);

    /// Appends the feature of a row to a layer: both of these.
    void AppendRow(SplitRow& row, std::uint32_t recordNumber, Orvane::BFeatureAppender& layer) const
    {
        EndRow(row, ConvertRow(row, layer), recordNumber, layer);
    }

    /// The feature of a row as an object.
    Orvane::BSharedPtr<Orvane::BFeature> MakeFeature(SplitRow& row,
                                                     std::uint32_t recordNumber) const;

    /// Reads one coordinate by the rule of AsciiLayer::ParseCoordinate.
    template <typename Unit>
    static bool ParseCoordinate(std::basic_string_view<Unit> text,
                                ETextUnit unit,
                                const Orvane::BString& format,
                                double& value);

private:
    /// No column: no row has a field of this index.
    static constexpr std::int64_t kNoField = CoordinateOptions::kNoField;

    struct Coordinate
    {
        std::int64_t fieldIndex = kNoField;
        double multiplier = 1.0;
        Orvane::BString format;
    };

    template <typename Fields, typename Sink>
    void Convert(const Fields& fields, ETextUnit unit, Sink& sink) const;
    template <typename Unit, typename Sink>
    void ConvertAttribute(std::basic_string_view<Unit> text,
                          ETextUnit unit,
                          std::size_t definitionIndex,
                          Sink& sink) const;
    /// Fields that are coordinates, of a row of that many.
    [[nodiscard]] std::size_t CountCoordinates(std::size_t fieldCount) const noexcept;
    /// Field that names the row, -1 without a name column. @throws the name-column errors.
    [[nodiscard]] std::int64_t FindNameField(std::size_t fieldCount) const;

    void PlanRegularRow();

    Orvane::BAttributeDefs& m_schema;
    std::vector<RegularField> m_regularRow;
    Coordinate m_x;
    Coordinate m_y;
    Coordinate m_z;
    bool m_hasNameColumn = false;
    std::int64_t m_nameFieldIndex = -1;
};

/// Name of the attribute number `attributeIndex` of a row without a schema.
Orvane::BString MakeAttributeName(std::size_t attributeIndex);

} // namespace AsciiReader
