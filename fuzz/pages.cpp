// The store of features: one sequence of operations on layers in memory, of large and of tiny
// pages, and on a disk-cached layer of tiny pages, against a plain list of rows.
#include "ArrowRows.h"
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BStringQt.h>
#include <Orvane/BVectorLayer.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Fuzz {

using Orvane::BAttributes;
using Orvane::BColumnInfo;
using Orvane::BFeature;
using Orvane::BFeatureAppender;
using Orvane::BFeatureCollection;
using Orvane::BMBB;
using Orvane::BPointGeo;
using Orvane::BSharedPtr;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::BVectorLayer;
using Orvane::EColumnStorage;
using Orvane::EPointKind;
using Orvane::ETextEncoding;
using Orvane::EVariantType;
using ReaderTraces::Bits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostRows = 400;

/// One row as it must be.
struct ModelRow
{
    BString name;
    std::optional<BPointGeo> point;
    BMBB box;
    BAttributes attributes;
};

/// A text in the encoding in which it is handed over.
struct EncodedText
{
    std::string bytes;
    ETextEncoding encoding = ETextEncoding::Ascii;
    BString text;
};

EncodedText ReadText(FuzzInput& input)
{
    EncodedText result;
    result.encoding = ETextEncoding{static_cast<std::uint8_t>(input.Below(4))};
    result.bytes = input.Text();
    switch (result.encoding) {
    case ETextEncoding::Ascii:
        for (char& byte : result.bytes) {
            byte = static_cast<char>(byte & 0x7F);
        }
        [[fallthrough]];
    case ETextEncoding::Latin1:
        result.text = BString::FromLatin1(result.bytes);
        break;
    case ETextEncoding::Utf8:
        result.text = BString::FromUtf8(result.bytes);
        result.bytes = result.text.ToUtf8();
        break;
    case ETextEncoding::Utf16: {
        std::u16string units;
        for (std::size_t i = 0; i + 1 < result.bytes.size(); i += 2) {
            units += static_cast<char16_t>(static_cast<unsigned char>(result.bytes[i]) |
                                           (static_cast<unsigned char>(result.bytes[i + 1]) << 8U));
        }
        result.text = BString(units);
        result.bytes.assign(reinterpret_cast<const char*>(units.data()), units.size() * 2);
        break;
    }
    }
    return result;
}

double ReadCoordinate(FuzzInput& input)
{
    const std::size_t kind = input.Below(8);
    return kind == 0 ? kNaN : kind == 1 ? input.Double() : input.Number<std::int8_t>() * 0.5;
}

std::string Describe(const std::optional<BPointGeo>& point)
{
    if (!point) {
        return "no point";
    }
    return Bits(point->GetX()) + " " + Bits(point->GetY()) + " " +
           (point->HasZ() ? Bits(point->GetZ()) : "no z");
}

std::string Describe(const BMBB& box)
{
    std::string text;
    for (const double value : {box.minX, box.maxX, box.minY, box.maxY, box.minZ, box.maxZ}) {
        // The sign of a 0 may come from either of two.
        text += Bits(value + 0.0) + " ";
    }
    return text;
}

std::string Describe(const BAttributes& attributes)
{
    std::string text;
    for (std::size_t i = 0; i < attributes.GetCount(); ++i) {
        const BVariant& value = attributes.GetValueAt(i);
        text += ReaderTraces::Quoted(attributes.GetNameAt(i)) + "=" +
                std::to_string(static_cast<int>(value.GetType()));
        for (const BString& part : value.GetStrings()) {
            text += ":" + ReaderTraces::Quoted(part);
        }
        text += " ";
    }
    return text;
}

std::string Describe(const ModelRow& row)
{
    return ReaderTraces::Quoted(row.name) + " " + Describe(row.point) + " box " +
           Describe(row.box) + Describe(row.attributes);
}

/// A feature's values, by its list of attributes or one by one.
std::string Describe(const BFeature& feature, bool asList)
{
    ModelRow row;
    row.name = feature.GetName();
    if (feature.GetPoint() != nullptr) {
        row.point = *feature.GetPoint();
    }
    row.box = feature.GetMBB();
    if (asList) {
        row.attributes = feature.GetAttributes();
    } else {
        for (std::size_t i = 0; i < feature.GetAttributeCount(); ++i) {
            row.attributes.Add(feature.GetAttributeName(i), feature.GetAttributeValue(i));
        }
    }
    return Describe(row);
}

using Columns = std::vector<BColumnInfo>;

Columns ReadColumns(FuzzInput& input)
{
    constexpr EVariantType kTypes[] = {EVariantType::Int32,
                                       EVariantType::Int64,
                                       EVariantType::Double,
                                       EVariantType::Float,
                                       EVariantType::Boolean,
                                       EVariantType::String};
    constexpr const char* kNames[] = {"a", "b", "count", "caf\xC3\xA9"};
    Columns columns(input.Below(5));
    for (BColumnInfo& column : columns) {
        column.type = kTypes[input.Below(std::size(kTypes))];
        column.name = BString(kNames[input.Below(std::size(kNames))]);
    }
    return columns;
}

/// One value of a column and how it is appended; None for a null.
struct Cell
{
    BVariant value;
    EncodedText text;
};

Cell ReadCell(FuzzInput& input, EVariantType type)
{
    Cell cell;
    switch (Orvane::StorageOf(type)) {
    case EColumnStorage::Int32:
        cell.value = BVariant(input.Number<std::int32_t>());
        break;
    case EColumnStorage::Int64:
        cell.value = BVariant(input.Number<std::int64_t>());
        break;
    case EColumnStorage::Double:
        cell.value = BVariant(ReadCoordinate(input));
        break;
    case EColumnStorage::Float:
        cell.value = BVariant(static_cast<float>(ReadCoordinate(input)));
        break;
    case EColumnStorage::Boolean:
        cell.value = BVariant(input.Bit());
        break;
    case EColumnStorage::Text:
        cell.text = ReadText(input);
        cell.value = BVariant(cell.text.text);
        break;
    }
    return cell;
}

/// A row for an appender.
struct AppendedRow
{
    std::vector<Cell> cells;
    EPointKind kind = EPointKind::None;
    double x = kNaN;
    double y = kNaN;
    double z = kNaN;
    bool hasNameText = false;
    std::uint32_t nameNumber = 0;
    EncodedText name;
    bool isAbandoned = false;
};

void Append(BFeatureAppender& appender, const Cell& cell, EVariantType type)
{
    if (cell.value.IsEmpty()) {
        appender.AddNull();
        return;
    }
    switch (Orvane::StorageOf(type)) {
    case EColumnStorage::Int32:
        appender.AddInt32(cell.value.GetInteger());
        break;
    case EColumnStorage::Int64:
        appender.AddInt64(cell.value.GetInt64());
        break;
    case EColumnStorage::Double:
        appender.AddDouble(cell.value.GetDouble());
        break;
    case EColumnStorage::Float:
        appender.AddFloat(cell.value.GetFloat());
        break;
    case EColumnStorage::Boolean:
        appender.AddBoolean(cell.value.GetBoolean());
        break;
    case EColumnStorage::Text:
        appender.AddText(cell.text.bytes, cell.text.encoding);
        break;
    }
}

void Put(Orvane::BColumnData& column, std::size_t row, const Cell& cell)
{
    if (cell.value.IsEmpty()) {
        column.SetNull(row);
    }
    switch (column.storage) {
    case EColumnStorage::Int32:
        column.int32s[row] = cell.value.GetInteger();
        break;
    case EColumnStorage::Int64:
        column.int64s[row] = cell.value.GetInt64();
        break;
    case EColumnStorage::Double:
        column.doubles[row] = cell.value.GetDouble();
        break;
    case EColumnStorage::Float:
        column.floats[row] = cell.value.GetFloat();
        break;
    case EColumnStorage::Boolean:
        column.booleans[row] = static_cast<std::uint8_t>(cell.value.GetBoolean() ? 1 : 0);
        break;
    case EColumnStorage::Text:
        if (!TryAppendText(column.texts, cell.text.bytes, cell.text.encoding)) {
            AppendText(column.texts, cell.text.bytes, cell.text.encoding);
        }
        break;
    }
}

/// A layer and what is held of it.
struct Store
{
    explicit Store(const char* storeName, BSharedPtr<BVectorLayer> storeLayer)
        : name(storeName)
        , layer(std::move(storeLayer))
    {}

    [[nodiscard]] BFeatureCollection& Features() const { return layer->GetFeatures(); }

    std::string name;
    BSharedPtr<BVectorLayer> layer;
    std::vector<std::pair<std::size_t, BSharedPtr<BFeature>>> held; ///< row and feature
    std::vector<std::shared_ptr<const Orvane::BFeaturePage>> pages;
};

/// The stores, and the rows that each must hold.
class Session
{
public:
    explicit Session(FuzzInput& input)
        : m_input(input)
    {
        const std::uint32_t pageSize = 1 + static_cast<std::uint32_t>(input.Below(7));
        const BString baseName = Orvane::MakeBString(ScratchName(QStringLiteral("cache")));
        m_stores.emplace_back("in memory", Orvane::MakeShared<BVectorLayer>());
        m_stores.emplace_back("on disk", Orvane::MakeShared<BVectorLayer>(baseName, pageSize));
        // Other tiny pages fall out of step with the disk's.
        m_stores.emplace_back("on disk, other pages",
                              Orvane::MakeShared<BVectorLayer>(baseName, pageSize + 3));
    }

    void Run()
    {
        while (!m_input.IsEmpty()) {
            Step();
        }
        Walk();
        CheckBoxes();
        CheckStreams();
        Finish();
    }

private:
    void Step()
    {
        switch (m_input.Below(12)) {
        case 0:
        case 1:
            AppendRows();
            break;
        case 2:
            AppendColumns();
            break;
        case 3:
            AddFeature();
            break;
        case 4:
        case 5:
            Change();
            break;
        case 6:
            Hold();
            break;
        case 7:
            Walk();
            break;
        case 8:
            CheckBoxes();
            break;
        case 9:
            LetGo();
            break;
        case 10:
            CheckStreams();
            break;
        default:
            switch (m_input.Below(8)) {
            case 6:
                AppendRaggedRows();
                break;
            case 7:
                Clear();
                break;
            default:
                break;
            }
            break;
        }
    }

    /// Every third value of a column named "count" is null.
    Cell ReadCellOf(const BColumnInfo& column)
    {
        Cell cell = ReadCell(m_input, column.type);
        if (column.name == BString("count") && ++m_counts % 3 == 2) {
            cell = Cell();
        }
        return cell;
    }

    AppendedRow ReadRow(const Columns& columns, bool hasAll)
    {
        AppendedRow row;
        const std::size_t count =
            hasAll || m_input.Below(8) != 0 ? columns.size() : m_input.Below(columns.size() + 1);
        for (std::size_t i = 0; i < count; ++i) {
            row.cells.push_back(ReadCellOf(columns[i]));
        }
        row.kind = EPointKind{static_cast<std::uint8_t>(m_input.Below(3))};
        if (row.kind != EPointKind::None) {
            row.x = ReadCoordinate(m_input);
            row.y = ReadCoordinate(m_input);
        }
        if (row.kind == EPointKind::XYZ) {
            row.z = ReadCoordinate(m_input);
        }
        return row;
    }

    static ModelRow ToModel(const AppendedRow& row, const Columns& columns)
    {
        ModelRow result;
        result.name = row.hasNameText ? row.name.text : BString(std::to_string(row.nameNumber));
        if (row.kind == EPointKind::XYZ) {
            result.point.emplace(row.x, row.y, row.z);
        } else if (row.kind == EPointKind::XY) {
            result.point.emplace(row.x, row.y);
        }
        if (result.point) {
            result.box = result.point->GetMBB();
        }
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            result.attributes.Add(columns[i].name, row.cells[i].value);
        }
        return result;
    }

    /// Rows by an appender, value by value; columns are added on the way.
    void AppendRows()
    {
        Columns columns = ReadColumns(m_input);
        const std::size_t columnsFirst = columns.size();
        const Columns more = ReadColumns(m_input);
        const std::size_t addAt = m_input.Below(16);
        std::vector<AppendedRow> rows(m_input.Below(40));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (i == addAt) {
                columns.insert(columns.end(), more.begin(), more.end());
            }
            rows[i] = ReadRow(columns, false);
            rows[i].hasNameText = m_input.Below(8) == 0;
            if (rows[i].hasNameText) {
                rows[i].name = ReadText(m_input);
            } else {
                rows[i].nameNumber =
                    m_input.Below(16) == 0 ? m_input.Number<std::uint32_t>() : m_nextName++;
            }
            rows[i].isAbandoned = m_input.Below(16) == 1;
        }
        if (m_rows.size() + rows.size() > kMostRows) {
            return;
        }
        for (const Store& store : m_stores) {
            BFeatureAppender appender(
                store.Features(),
                {columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(columnsFirst)});
            for (std::size_t i = 0; i < rows.size(); ++i) {
                for (std::size_t c = 0; i == addAt && c < more.size(); ++c) {
                    appender.AddColumn(more[c]);
                }
                // Whether it is said or not must not show.
                if (rows.size() % 2 == 0) {
                    appender.BeginRow(rows[i].cells.size());
                }
                AppendOne(appender, rows[i], columns);
            }
        }
        for (const AppendedRow& row : rows) {
            if (!row.isAbandoned) {
                m_rows.push_back(ToModel(row, columns));
            }
        }
    }

    /// Rows of very different lengths by an appender; a few bytes make many values.
    void AppendRaggedRows()
    {
        constexpr std::size_t kMostColumns = 800;
        constexpr std::size_t kMostCells = 3000;
        const bool saysCounts = m_input.Bit();
        const bool addsColumns = m_input.Bit();
        std::vector<std::size_t> lengths;
        std::size_t cellCount = 0;
        for (std::size_t left = m_input.Below(8); left > 0; --left) {
            const std::size_t length =
                m_input.Bit() ? m_input.Below(4) : m_input.Number<std::uint16_t>() % kMostColumns;
            const std::size_t count = 1 + m_input.Below(80);
            lengths.insert(lengths.end(), count, length);
            cellCount += count * length;
        }
        if (lengths.empty() || cellCount > kMostCells ||
            m_rows.size() + lengths.size() > kMostRows) {
            return;
        }
        Columns columns(*std::max_element(lengths.begin(), lengths.end()));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            columns[i].name = BString(std::to_string(i));
            columns[i].type = i % 3 == 0 ? EVariantType::String : EVariantType::Int32;
        }
        std::vector<AppendedRow> rows(lengths.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i].nameNumber = m_nextName++;
            rows[i].cells.resize(lengths[i]);
            for (std::size_t c = 0; c < lengths[i]; ++c) {
                const auto number = static_cast<std::int32_t>(i * 7 + c);
                EncodedText text;
                text.bytes = std::to_string(number);
                text.text = BString(text.bytes);
                rows[i].cells[c].value = c % 3 == 0 ? BVariant(text.text) : BVariant(number);
                rows[i].cells[c].text = text;
            }
        }
        for (const Store& store : m_stores) {
            std::size_t known = addsColumns ? 0 : columns.size();
            const auto upTo = [&columns](std::size_t count) {
                return columns.begin() + static_cast<std::ptrdiff_t>(count);
            };
            BFeatureAppender appender(store.Features(), {columns.begin(), upTo(known)});
            for (const AppendedRow& row : rows) {
                if (row.cells.size() > known) {
                    appender.AddColumns({upTo(known), upTo(row.cells.size())});
                    known = row.cells.size();
                }
                if (saysCounts) {
                    appender.BeginRow(row.cells.size());
                }
                AppendOne(appender, row, columns);
            }
        }
        for (const AppendedRow& row : rows) {
            m_rows.push_back(ToModel(row, columns));
        }
    }

    static void
    AppendOne(BFeatureAppender& appender, const AppendedRow& row, const Columns& columns)
    {
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            Append(appender, row.cells[i], columns[i].type);
        }
        if (row.isAbandoned) {
            appender.AbandonRow();
        } else if (row.hasNameText) {
            appender.EndRow(row.kind, row.x, row.y, row.z, row.name.bytes, row.name.encoding);
        } else {
            appender.EndRow(row.kind, row.x, row.y, row.z, row.nameNumber);
        }
    }

    /// Rows by an appender, column by column.
    void AppendColumns()
    {
        const Columns columns = ReadColumns(m_input);
        std::vector<AppendedRow> rows(m_input.Below(40));
        const std::uint32_t firstName =
            m_input.Bit() ? m_nextName : m_input.Number<std::uint16_t>();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i] = ReadRow(columns, true);
            rows[i].nameNumber = firstName + static_cast<std::uint32_t>(i);
        }
        const std::size_t ended = m_input.Below(8);
        if (rows.empty() || m_rows.size() + rows.size() > kMostRows) {
            return;
        }
        m_nextName = firstName + static_cast<std::uint32_t>(rows.size());
        for (const Store& store : m_stores) {
            BFeatureAppender appender(store.Features(), columns);
            FillRows(appender, rows, ended);
        }
        for (const AppendedRow& row : rows) {
            m_rows.push_back(ToModel(row, columns));
        }
    }

    static void FillRows(BFeatureAppender& appender,
                         const std::vector<AppendedRow>& rows,
                         std::size_t endedFirst)
    {
        for (std::size_t next = 0; next < rows.size();) {
            const bool hasZ = std::any_of(rows.begin(), rows.end(), [](const AppendedRow& row) {
                return row.kind == EPointKind::XYZ;
            });
            const BFeatureAppender::Rows target = appender.BeginRows(rows.size() - next, hasZ);
            if (target.count == 0 || target.count > rows.size() - next) {
                Fail("room for " + std::to_string(target.count) + " rows is given");
            }
            std::vector<std::uint8_t> kinds;
            for (std::size_t i = 0; i < target.count; ++i) {
                const AppendedRow& row = rows[next + i];
                kinds.push_back(static_cast<std::uint8_t>(row.kind));
                target.x[i] = row.x;
                target.y[i] = row.y;
                if (target.z != nullptr) {
                    target.z[i] = row.z;
                }
            }
            for (std::size_t c = 0; c < appender.GetColumnCount(); ++c) {
                for (std::size_t i = 0; i < target.count; ++i) {
                    Put(target.columns[c], target.firstRow + i, rows[next + i].cells[c]);
                }
            }
            // In two parts, where the first may be empty.
            const std::size_t first = std::min(endedFirst, target.count);
            appender.EndRows(first, kinds.data(), rows[next].nameNumber);
            appender.EndRows(target.count - first,
                             kinds.data() + first,
                             rows[next].nameNumber + static_cast<std::uint32_t>(first));
            next += target.count;
        }
    }

    std::optional<BPointGeo> ReadPoint()
    {
        const std::size_t kind = m_input.Below(3);
        if (kind == 0) {
            return std::nullopt;
        }
        BPointGeo point(ReadCoordinate(m_input), ReadCoordinate(m_input));
        if (kind == 2) {
            point.SetZ(ReadCoordinate(m_input));
        }
        return point;
    }

    BAttributes ReadAttributes()
    {
        BAttributes attributes;
        if (m_input.Bit()) {
            for (const BColumnInfo& column : ReadColumns(m_input)) {
                attributes.Add(column.name, ReadCellOf(column).value);
            }
        } else {
            for (std::size_t left = m_input.Below(4); left > 0; --left) {
                const BString name = m_input.String();
                attributes.Add(name, m_input.Below(8) == 0 ? BVariant() : m_input.Value());
            }
        }
        return attributes;
    }

    static void SetPoint(BFeature& feature, const std::optional<BPointGeo>& point)
    {
        feature.SetGeometry(
            point ? BSharedPtr<Orvane::BGeometry>(Orvane::MakeShared<BPointGeo>(*point))
                  : BSharedPtr<Orvane::BGeometry>());
    }

    void AddFeature()
    {
        ModelRow row;
        row.name = ReadText(m_input).text;
        row.point = ReadPoint();
        if (row.point && m_input.Below(8) != 0) {
            row.box = row.point->GetMBB();
        }
        row.attributes = ReadAttributes();
        const bool isHeld = m_input.Bit();
        if (m_rows.size() >= kMostRows) {
            return;
        }
        for (Store& store : m_stores) {
            const auto feature = Orvane::MakeShared<BFeature>();
            feature->SetName(row.name);
            SetPoint(*feature, row.point);
            feature->SetMBR(row.box);
            feature->SetAttributes(row.attributes);
            store.Features().Add(feature);
            if (isHeld) {
                store.held.emplace_back(m_rows.size(), feature);
            }
        }
        m_rows.push_back(row);
    }

    void Change()
    {
        if (m_rows.empty()) {
            return;
        }
        const std::size_t row = m_input.Number<std::uint16_t>() % m_rows.size();
        ModelRow& model = m_rows[row];
        std::function<void(BFeature&)> change;
        switch (m_input.Below(5)) {
        case 0:
            model.name = ReadText(m_input).text;
            change = [&model](BFeature& feature) { feature.SetName(model.name); };
            break;
        case 1:
            model.point = ReadPoint();
            change = [&model](BFeature& feature) { SetPoint(feature, model.point); };
            break;
        case 2:
            model.box = BMBB();
            model.box.Include(m_input.Double(), ReadCoordinate(m_input), ReadCoordinate(m_input));
            change = [&model](BFeature& feature) { feature.SetMBR(model.box); };
            break;
        case 3:
            model.attributes = ReadAttributes();
            change = [&model](BFeature& feature) { feature.SetAttributes(model.attributes); };
            break;
        default: {
            const std::size_t count = model.attributes.GetCount();
            const std::size_t index = m_input.Below(6);
            const BVariant value = m_input.Value();
            if (index >= count) {
                ExpectOutOfRange(row, index, value);
                return;
            }
            model.attributes.SetValueAt(index, value);
            change = [index, value](BFeature& feature) { feature.SetAttributeValue(index, value); };
            break;
        }
        }
        for (const Store& store : m_stores) {
            change(*store.Features().GetAt(row));
            Check(store, row, *store.Features().GetAt(row));
        }
    }

    void ExpectOutOfRange(std::size_t row, std::size_t index, const BVariant& value)
    {
        for (const Store& store : m_stores) {
            try {
                store.Features().GetAt(row)->SetAttributeValue(index, value);
            } catch (const std::out_of_range&) {
                continue;
            }
            Fail(store.name + ": an attribute is set that is not there");
        }
    }

    void Hold()
    {
        if (m_rows.empty()) {
            return;
        }
        const std::size_t row = m_input.Number<std::uint16_t>() % m_rows.size();
        const std::size_t page = m_input.Byte();
        for (Store& store : m_stores) {
            store.held.emplace_back(row, store.Features().GetAt(row));
            if (store.held.back().second.Get() != store.Features().GetAt(row).Get()) {
                Fail(store.name + ": a row in use is another object now");
            }
            store.pages.push_back(
                store.Features().LoadPage(page % store.Features().GetPageCount()));
        }
    }

    void LetGo()
    {
        const std::size_t kind = m_input.Below(4);
        for (Store& store : m_stores) {
            if (kind == 0) {
                store.Features().ShrinkToFit();
            } else if (kind == 1) {
                store.pages.clear();
            } else if (!store.held.empty()) {
                Check(store, store.held.front().first, *store.held.front().second);
                store.held.erase(store.held.begin());
            }
            if (store.Features().GetByteSize() == 0 && !m_rows.empty()) {
                Fail(store.name + ": rows take no memory");
            }
        }
    }

    void Clear()
    {
        for (Store& store : m_stores) {
            store.Features().Clear();
            CheckFree(store);
        }
        m_rows.clear();
    }

    /// The features in use stand free now with the values that they had.
    void CheckFree(Store& store)
    {
        for (const auto& [row, feature] : store.held) {
            if (feature->IsAttached()) {
                Fail(store.name + ": a feature is attached to a layer that let go of it");
            }
            Check(store, row, *feature);
        }
        store.held.clear();
        store.pages.clear();
    }

    void Check(const Store& store, std::size_t row, const BFeature& feature)
    {
        ExpectSame(store.name + ", row " + std::to_string(row),
                   Describe(m_rows[row]),
                   Describe(feature, (++m_checks & 1U) != 0));
    }

    void Walk()
    {
        for (Store& store : m_stores) {
            BFeatureCollection& features = store.Features();
            ExpectSame(store.name + ", number of rows",
                       std::to_string(m_rows.size()),
                       std::to_string(features.GetCount()));
            for (std::size_t row = 0; row < m_rows.size(); ++row) {
                Check(store, row, *features.GetAt(row));
            }
            for (const auto& [row, feature] : store.held) {
                Check(store, row, *feature);
            }
            CheckPages(store);
        }
    }

    /// The rows by page, where they are not kept as objects.
    void CheckPages(const Store& store)
    {
        const BFeatureCollection& features = store.Features();
        std::size_t row = 0;
        for (std::size_t i = 0; i < features.GetPageCount(); ++i) {
            const std::shared_ptr<const Orvane::BFeaturePage> page = features.LoadPage(i);
            ExpectSame(store.name + ", first row of a page",
                       std::to_string(row),
                       std::to_string(features.GetFirstRow(i)));
            for (std::size_t r = 0; r < page->GetRowCount(); ++r, ++row) {
                if (features.GetObjectRow(row) != nullptr) {
                    continue;
                }
                ModelRow found;
                found.name = page->GetName(r);
                const EPointKind kind = page->GetPointKind(r);
                if (kind == EPointKind::XYZ) {
                    found.point.emplace(page->x[r], page->y[r], page->z[r]);
                } else if (kind == EPointKind::XY) {
                    found.point.emplace(page->x[r], page->y[r]);
                }
                found.box = found.point ? found.point->GetMBB() : BMBB();
                for (std::size_t c = 0; c < page->GetAttributeCount(r); ++c) {
                    found.attributes.Add((*page->columns)[c].name, page->GetValue(r, c));
                }
                ExpectSame(store.name + ", row " + std::to_string(row) + " of a page",
                           Describe(m_rows[row]),
                           Describe(found));
            }
        }
        ExpectSame(
            store.name + ", rows of pages", std::to_string(m_rows.size()), std::to_string(row));
    }

    void CheckBoxes()
    {
        BMBB box;
        for (const ModelRow& row : m_rows) {
            box.Include(row.box);
        }
        for (const Store& store : m_stores) {
            ExpectSame(store.name + ", box", Describe(box), Describe(store.layer->GetMBB()));
        }
    }

    /// Names and points of the Arrow streams, and their values where two streams can be had.
    void CheckStreams()
    {
        std::optional<ArrowRows> first;
        for (const Store& store : m_stores) {
            const ArrowRows rows = ReadArrowRows(store.layer);
            if (!rows.error.empty()) {
                if (rows.errorCode != EINVAL) {
                    Fail(store.name + ", stream: " + rows.error);
                }
                continue;
            }
            ExpectSame(store.name + ", rows of the stream",
                       std::to_string(m_rows.size()),
                       std::to_string(rows.names.size()));
            for (std::size_t row = 0; row < m_rows.size(); ++row) {
                const std::string title = store.name + ", stream, row " + std::to_string(row);
                ExpectSame(title, Escaped(m_rows[row].name.ToUtf8()), Escaped(rows.names[row]));
                ExpectSame(title, Describe(m_rows[row].point), Describe(rows.points[row]));
                if (first && first->schema == rows.schema) {
                    ExpectSame(title, first->values[row], rows.values[row]);
                }
            }
            if (!first) {
                first = rows;
            }
        }
    }

    /// Takes the layers down; features in use keep their values.
    void Finish()
    {
        for (Store& store : m_stores) {
            store.layer.Reset();
            CheckFree(store);
        }
    }

    std::size_t m_counts = 0; ///< values of columns named "count"
    FuzzInput& m_input;
    std::vector<Store> m_stores;
    std::vector<ModelRow> m_rows;
    std::uint32_t m_nextName = 1;
    std::size_t m_checks = 0;
};

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    Session(input).Run();
}

std::string MakeInput(Dice& dice)
{
    // Bytes of any value make every operation; most choices are a byte each, and runs of zeros make
    // plain rows.
    FuzzOutput output;
    output.Byte(dice.Below(7));
    for (std::size_t left = dice.Below(25); left > 0; --left) {
        if (dice.Chance(8)) {
            // Rows of very different lengths: a long one and many short ones, in any order.
            output.Byte(11).Byte(6).Byte(dice.Below(2)).Byte(dice.Below(2));
            const std::size_t parts = 1 + dice.Below(5);
            output.Byte(parts);
            for (std::size_t part = 0; part < parts; ++part) {
                if (dice.Chance(50)) {
                    output.Byte(1).Byte(dice.Below(4)).Byte(dice.Below(80));
                } else {
                    output.Byte(0)
                        .Number(static_cast<std::uint16_t>(dice.Below(800)))
                        .Byte(dice.Below(3));
                }
            }
            continue;
        }
        output.Byte(dice.Below(12));
        for (std::size_t bytes = dice.Below(dice.Chance(20) ? 300 : 30); bytes > 0; --bytes) {
            output.Byte(dice.Chance(50) ? dice.Below(8) : dice.Below(256));
        }
    }
    return output.Take();
}

} // namespace Fuzz
