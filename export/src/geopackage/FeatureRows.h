// The rows of a layer's pages as the values of a GeoPackage's table.
#pragma once

#include "GeoPackageLayer.h"
#include "LayerPoints.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::GeoPackage {

/// The RowProducer of a layer's table: column 0 is the geometry if the layer has one; the fields
/// follow.
///
/// Values go from a page's arrays to SQLite as they are: texts that are UTF-8 already are not
/// copied before they reach the record, and a geometry is built in place. Attributes belong to
/// fields by position; a row with fewer attributes than fields has nulls for the rest.
///
/// Rules, the same for every row:
/// - A point without a place (RowPoint) is no geometry.
/// - A null of the page is null.
/// - NaN in a field is null, as SQLite has no NaN; infinity is kept.
/// - A NUL inside a text is U+FFFD: texts end at a NUL for many programs.
/// - A text in a 64-bit field is a number when all of it is one, commas between digits left out;
///   otherwise it is null. The empty text is null, too, and not counted. The same holds for a text
///   in a date or time field that is none. Days and times go into the file as they stand, both
///   together with milliseconds at least.
/// - Values of other types than the field's are converted as BVariant does.
class FeatureRows
{
public:
    /// Called every few thousand rows with the rows given so far; throws to stop.
    using Progress = std::function<void(std::uint64_t rows)>;

    FeatureRows(const LayerDefinition& layer, Progress progress);

    /// Goes on with the rows of a page; it must stay until Next has given all of them.
    /// @param features the collection of the page when rows of it may stand as objects, or null
    /// @param firstRow the page's first row in that collection
    void
    SetPage(const BFeaturePage& page, const BFeatureCollection* features, std::size_t firstRow);

    bool Next();
    void SetColumn(sqlite3_context* context, int columnIndex);

    /// All but what is to be known of the points.
    [[nodiscard]] const LayerCounts& GetCounts() const noexcept { return m_counts; }

private:
    /// How a column of the page becomes a field.
    enum class EWay : std::uint8_t {
        Int32,
        Int64,
        Double,
        Float,
        Boolean,
        Text,        ///< UTF-8 without NUL
        Date,        ///< texts of a date or time field
        ConvertText, ///< other texts to a text field
        Convert      ///< by way of a variant
    };

    struct Source
    {
        const BColumnData* column = nullptr;
        EWay way = EWay::Convert;
        bool hasNulls = false;
    };

    [[nodiscard]] static EWay ChooseWay(const BColumnData& column, EVariantType type);
    void SetPoint(const std::optional<RowPoint>& point);
    void SetReal(sqlite3_context* context, double value);
    void SetInt64Text(sqlite3_context* context, std::size_t fieldIndex);
    void SetDateText(sqlite3_context* context, std::size_t fieldIndex, std::string_view text);
    /// m_text as a text without NUL.
    void SetText(sqlite3_context* context);
    void SetVariant(sqlite3_context* context, std::size_t fieldIndex, const BVariant& value);

    const LayerDefinition& m_layer;
    Progress m_progress;
    LayerCounts m_counts;

    const BFeaturePage* m_page = nullptr;
    const BFeatureCollection* m_features = nullptr; ///< null when no row stands as an object
    std::size_t m_firstRow = 0;
    std::vector<Source> m_sources; ///< by field, as many as the page has columns

    std::size_t m_nextRow = 0;          ///< in the page; the row at hand is the one before it
    const BFeature* m_object = nullptr; ///< the row at hand, when it stands as an object
    std::size_t m_attributeCount = 0;   ///< of the row at hand, at most the fields
    bool m_hasPoint = false;
    std::size_t m_firstField = 0; ///< number of the first field's column
    std::string m_geometry;       ///< the geometry of the row at hand
    std::string m_text;
    std::string m_dateText;
};

} // namespace Orvane::GeoPackage
