// Fills GDAL features from the rows of a layer.
#pragma once

#include "FieldNames.h"
#include "Formats.h"
#include "Losses.h"

#include <Orvane/BFeature.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BVariant.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class OGRFeature;

namespace Orvane::Import {

/// Fills one reused feature from rows, and counts what it cannot hold.
class FeatureFiller
{
public:
    /// @param feature has `fields`; not owned, like the other references
    /// @param hasGeometry points go into the feature; else they go nowhere
    /// @param firstField number of the feature's field that stands for the first of `fields`
    FeatureFiller(OGRFeature& feature,
                  const ExportFormat& format,
                  const std::vector<FileField>& fields,
                  bool hasGeometry,
                  bool hasHeights,
                  int firstField);

    [[nodiscard]] const LossCounts& GetLosses() const noexcept { return m_losses; }

    /// Whether the row that was filled last has a point in the file.
    [[nodiscard]] bool HasPoint() const noexcept { return m_hasPoint; }

    void FillPageRow(const Orvane::BFeaturePage& page, std::size_t row);
    void FillObject(const Orvane::BFeature& object);

private:
    [[nodiscard]] int FieldNumber(std::size_t index) const noexcept
    {
        return m_firstField + static_cast<int>(index);
    }

    void SetNoPoint();
    void SetPoint(double x, double y, bool hasZ, double z);
    void SetNull(std::size_t index);
    void SetNulls(std::size_t from);
    /// Counts a number that the format may cut.
    void CheckDigits(double value);
    void SetValue(std::size_t index, std::int32_t value);
    void SetValue(std::size_t index, bool value);
    void SetValue(std::size_t index, double value);
    void SetValue(std::size_t index, float value);
    void SetValue(std::size_t index, std::int64_t value);
    /// @param text UTF-8
    void SetText(std::size_t index, std::string& text);
    /// A text of a date field.
    void SetDate(std::size_t index, const std::string& text);
    void SetColumnValue(std::size_t index, const Orvane::BColumnData& column, std::size_t row);
    /// m_text as a value of the field's type.
    void SetTextAs(std::size_t index, EVariantType type);
    /// A value of any type as a value of the field's type, as the variant converts it.
    void SetVariant(std::size_t index, const Orvane::BVariant& value);

    OGRFeature& m_feature;
    const ExportFormat& m_format;
    const std::vector<FileField>& m_fields;
    bool m_hasGeometry;
    bool m_hasHeights;
    bool m_holdsHeights;
    bool m_holdsMissingHeights;
    int m_firstField;
    bool m_hasPoint = false;
    std::string m_text;
    LossCounts m_losses;
};

} // namespace Orvane::Import
