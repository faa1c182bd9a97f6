// Decides the attribute schema of a file.
#include "schema/AsciiSchema.h"

#include "file/AsciiFile.h"
#include "layer/CoordinateColumns.h"
#include "layer/Separator.h"
#include "layer/ValueRules.h"
#include "reader/Constants.h"

#include <Orvane/BException.h>
#include <Orvane/BNumbers.h>
#include <Orvane/Constants.h>

#include <algorithm>
#include <utility>

namespace AsciiReader::AsciiSchema {

using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::EVariantType;

namespace {

constexpr std::size_t kDefinitionValues = 5;

constexpr const char* kDefinitionError =
    "There was an error in the schema. The definition \t\t\t\t\t\t\t\t\t does not have 5 values.\n "
    "\t\t\t\t\t\t\t\t\t Each record definition should look like \t\t\t\t\t\t\t\t\t "
    "ColNumber,ColName,ColType,ColLength,ColPrecision";

bool IsTrue(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) && params.GetBoolean(key, false);
}

/// The column numbers of the options, -1 for those that are absent.
struct CoordinateColumns
{
    explicit CoordinateColumns(const BParamList& params)
        : x(Get(params, Orvane::X_COLUMN))
        , y(Get(params, Orvane::Y_COLUMN))
        , z(Get(params, Orvane::Z_COLUMN))
        , areInRows(params.HasProperty(Orvane::X_COLUMN) && params.HasProperty(Orvane::Y_COLUMN))
    {}

    static std::int32_t Get(const BParamList& params, const BString& key)
    {
        return params.HasProperty(key) ? params.GetInteger(key, 0) : -1;
    }

    [[nodiscard]] bool Contains(std::int32_t column) const noexcept
    {
        return column == x || column == y || column == z;
    }

    std::int32_t x;
    std::int32_t y;
    std::int32_t z;
    bool areInRows;
};

/// Splits lines and takes the coordinate columns out.
class RowReader
{
public:
    RowReader(const BParamList& params, const QRegularExpression& separator)
        : m_columns(params)
        , m_separator(separator,
                      params.HasProperty(Orvane::FIELD_LENGTH)
                          ? params.GetIntegers(Orvane::FIELD_LENGTH)
                          : std::vector<std::int32_t>())
    {}

    /// @return fields of the line before the coordinate columns went
    std::size_t Split(const TextView& line)
    {
        m_separator.Split(line, m_row);
        return m_row.GetCount();
    }

    void RemoveCoordinates()
    {
        if (m_columns.areInRows) {
            m_row.VisitMutable([this](auto& fields) {
                RemoveCoordinateColumns(fields, m_columns.x, m_columns.y, m_columns.z);
            });
        }
    }

    [[nodiscard]] SplitRow& GetRow() noexcept { return m_row; }

    [[nodiscard]] Row MakeRow()
    {
        Row row;
        m_row.Visit([&row](const auto& fields, ETextUnit unit) {
            row.reserve(fields.size());
            for (const auto field : fields) {
                row.push_back(MakeString(field, unit));
            }
        });
        return row;
    }

private:
    CoordinateColumns m_columns;
    Separator m_separator;
    SplitRow m_row;
};

[[noreturn]] void RethrowWithLine(std::size_t lineNumber,
                                  const Orvane::BIndexOutOfBoundsException& error)
{
    throw Orvane::BIndexOutOfBoundsException(
        error.GetLocation(),
        BString::Format("Line %d of the data.  %ls", lineNumber, error.GetDetails()));
}

void RaisePrecision(BAttributeDef& def, std::int32_t digits)
{
    def.SetPrecision(std::max(def.GetPrecision(), digits));
}

/// Widens one column so that it fits one more value.
template <typename Unit>
void WidenType(BAttributeDef& def, std::basic_string_view<Unit> text, bool keepsText)
{
    const EVariantType current = def.GetType();
    const auto isOneOf = [current](auto... types) { return ((current == types) || ...); };
    // Rule: boolean words come first, so that 1 and 0 count as booleans and change no other type.
    if (ValueRules::IsBooleanWord(text)) {
        if (current == EVariantType::None) {
            def.SetType(EVariantType::Boolean);
        }
        return;
    }
    const auto type = keepsText ? EVariantType::String : EVariantType{ValueRules::DetectType(text)};
    if (type == EVariantType::String) {
        def.SetType(EVariantType::String);
    } else if (current == EVariantType::None) {
        // Rule: the value that gives a column its type does not count for the precision.
        def.SetType(type);
    } else if (type == EVariantType::Int32) {
        if (isOneOf(EVariantType::Boolean)) {
            def.SetType(type);
        }
    } else if (type == EVariantType::Int64) {
        if (isOneOf(EVariantType::Int32, EVariantType::Boolean)) {
            def.SetType(type);
        }
    } else {
        if (isOneOf(EVariantType::Int32,
                    EVariantType::Int64,
                    EVariantType::Float,
                    EVariantType::Boolean)) {
            def.SetType(type);
        }
        RaisePrecision(def, ValueRules::CountDigits(text));
    }
}

template <typename Fields>
void WidenTypes(BAttributeDefs& schema, const Fields& fields, bool keepsText)
{
    const std::size_t count = std::min(schema.GetCount(), fields.size());
    for (std::size_t index = 0; index < count; ++index) {
        WidenType(schema.GetAt(index), fields[index], keepsText);
    }
}

} // namespace

BAttributeDefs Schema(const std::vector<BString>& lines,
                      const BParamList& params,
                      const QRegularExpression& separator)
{
    const std::int64_t sampleSize = params.HasProperty(Constants::SampleSizeKey())
                                        ? params.GetInteger(Constants::SampleSizeKey(), 0)
                                        : Constants::kDefaultSampleSize;
    if (lines.empty()) {
        throw Orvane::BFileContentNotValidException("AsciiSchema::Schema",
                                                    "There was no readable data in the file.");
    }
    // Rule: a negative sample size takes every line, 0 takes none.
    const std::size_t count = sampleSize < 0
                                  ? lines.size()
                                  : std::min(lines.size(), static_cast<std::size_t>(sampleSize));
    Orvane::CheckSubscript(0, count);
    RowReader reader(params, separator);
    const std::size_t columnCount = reader.Split(TextView(lines.front().View()));
    std::vector<Row> rows;
    if (params.HasProperty(Orvane::AUTO_SCHEMA)) {
        rows.reserve(count);
        for (std::size_t index = 0; index < count; ++index) {
            try {
                reader.Split(TextView(lines[index].View()));
                reader.RemoveCoordinates();
                rows.push_back(reader.MakeRow());
            } catch (const Orvane::BIndexOutOfBoundsException& error) {
                // Rule: lines of the sample are counted from 0.
                RethrowWithLine(index, error);
            }
        }
        return InferSchema(rows, params);
    }
    if (params.HasProperty(Orvane::COLUMN_DEFINITION)) {
        return SetSchema(params, static_cast<unsigned>(columnCount), rows);
    }
    return {};
}

BAttributeDefs
ScanAllRows(AsciiFile& file, const BParamList& params, const QRegularExpression& separator)
{
    BAttributeDefs schema;
    RowReader reader(params, separator);
    const bool keepsText = IsTrue(params, Orvane::PRESERVE_NUMERIC_STRINGS);
    // Rule: lines of the file are counted from 1.
    std::size_t lineNumber = 1;
    SourceLine line;
    file.NextLine(line);
    try {
        for (; !file.AtEnd(); ++lineNumber) {
            reader.Split(line.text);
            reader.RemoveCoordinates();
            const bool isData = lineNumber != 1 || InitColumns(schema, reader.MakeRow(), params);
            if (isData) {
                reader.GetRow().Visit([&schema, keepsText](const auto& fields, ETextUnit) {
                    WidenTypes(schema, fields, keepsText);
                });
            }
            file.NextLine(line);
        }
    } catch (const Orvane::BIndexOutOfBoundsException& error) {
        RethrowWithLine(lineNumber, error);
    }
    return schema;
}

BAttributeDefs InferSchema(std::vector<Row>& rows, const BParamList& params)
{
    BAttributeDefs schema;
    if (!InitColumns(schema, Orvane::CheckedAt(rows, 0), params)) {
        rows.erase(rows.begin());
    }
    for (const Row& row : rows) {
        UpdateTypes(schema, row, params);
    }
    return schema;
}

bool InitColumns(BAttributeDefs& schema, const Row& row, const BParamList& params)
{
    const CoordinateColumns columns(params);
    const bool hasNames = IsTrue(params, Orvane::FIRST_LINE_COLUMN_NAMES);
    schema.Reserve(schema.GetCount() + row.size());
    // Rule: default names count the file's columns from 1, coordinate columns included.
    std::int32_t column = 0;
    for (const BString& field : row) {
        while (columns.Contains(column)) {
            ++column;
        }
        ++column;
        BString name = hasNames ? field.Trim() : BString();
        if (name.IsEmpty()) {
            name = BString::Format("C%i", column);
        }
        BAttributeDef def;
        def.SetName(name);
        schema.Add(def);
    }
    return !hasNames;
}

void UpdateTypes(BAttributeDefs& schema, const Row& row, const BParamList& params)
{
    std::vector<std::u16string_view> fields;
    fields.reserve(row.size());
    for (const BString& field : row) {
        fields.push_back(field.View());
    }
    WidenTypes(schema, fields, IsTrue(params, Orvane::PRESERVE_NUMERIC_STRINGS));
}

BAttributeDefs SetSchema(const BParamList& params, unsigned columnCount, std::vector<Row>& rows)
{
    const std::vector<BString> definitions = params.GetStrings(Orvane::COLUMN_DEFINITION);
    BAttributeDefs schema;
    schema.Reserve(definitions.size());
    BAttributeDef def;
    std::vector<BString> values;
    for (std::size_t position = 0; position < definitions.size(); ++position) {
        const BString key = BString::FromInteger(static_cast<std::int64_t>(position));
        for (const BString& definition : definitions) {
            // Rule: a definition belongs to every position whose digits it begins with.
            if (!definition.StartsWith(key.View())) {
                continue;
            }
            BString::Tokenize(definition, values, ",");
            if (values.size() != kDefinitionValues) {
                throw Orvane::BException(kDefinitionError, "AsciiSchema::SetSchema");
            }
            def.SetName(values[1]);
            def.SetType(EVariantType{Orvane::BNumbers::Atoi(values[2].Ascii())});
            def.SetLength(Orvane::BNumbers::Atoi(values[3].Ascii()));
            def.SetPrecision(Orvane::BNumbers::Atoi(values[4].Ascii()));
            schema.Add(def);
        }
    }
    std::int64_t expected = columnCount;
    for (const BString* key : {&Orvane::X_COLUMN, &Orvane::Y_COLUMN, &Orvane::Z_COLUMN}) {
        expected -= params.HasProperty(*key) ? 1 : 0;
    }
    if (static_cast<std::int64_t>(schema.GetCount()) == expected) {
        return schema;
    }
    // Rule: definitions that do not account for the columns are dropped for inference.
    return InferSchema(rows, params);
}

} // namespace AsciiReader::AsciiSchema
