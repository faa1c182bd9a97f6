// Decides the attribute schema of a file.
#include "schema/AsciiSchema.h"

#include "schema/RowReader.h"
#include "text/OptionRules.h"
#include "text/TypeWidening.h"

#include <Orvane/BException.h>
#include <Orvane/BNumbers.h>

#include <algorithm>
#include <utility>

namespace AsciiReader::AsciiSchema {

using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::BString;
using Orvane::EVariantType;

namespace {

constexpr std::size_t kDefinitionValues = 5;

constexpr const char* kDefinitionError =
    "There was an error in the schema. The definition \t\t\t\t\t\t\t\t\t does not have 5 values.\n "
    "\t\t\t\t\t\t\t\t\t Each record definition should look like \t\t\t\t\t\t\t\t\t "
    "ColNumber,ColName,ColType,ColLength,ColPrecision";

/// A definition, by its index in the list, at one of its positions.
struct PlacedDefinition
{
    std::size_t position;
    std::size_t index;
};

/// Every position below the list's length with the definitions that belong to it, positions in
/// ascending order and the definitions of one in list order.
std::vector<PlacedDefinition> PlaceDefinitions(const std::vector<BString>& definitions)
{
    std::vector<PlacedDefinition> placed;
    placed.reserve(definitions.size());
    for (std::size_t index = 0; index < definitions.size(); ++index) {
        // Rule: a definition belongs to every position whose digits it begins with. Positions are
        // written without leading zeros.
        std::size_t position = 0;
        for (const char16_t unit : definitions[index].View()) {
            if (unit < u'0' || unit > u'9') {
                break;
            }
            position = position * 10 + (unit - u'0');
            if (position >= definitions.size()) {
                break;
            }
            placed.push_back({position, index});
            if (position == 0) {
                break;
            }
        }
    }
    std::stable_sort(placed.begin(), placed.end(), [](const auto& a, const auto& b) {
        return a.position < b.position;
    });
    return placed;
}

} // namespace

BAttributeDefs Schema(const std::vector<BString>& lines,
                      const ReadOptions& options,
                      const QRegularExpression& separator)
{
    if (lines.empty()) {
        throw Orvane::BFileContentNotValidException("AsciiSchema::Schema",
                                                    "There was no readable data in the file.");
    }
    // Rule: a negative sample size uses every line, 0 uses none.
    const std::size_t count =
        options.sampleSize < 0
            ? lines.size()
            : std::min(lines.size(), static_cast<std::size_t>(options.sampleSize));
    Orvane::CheckSubscript(0, count);
    RowReader reader(options, separator);
    std::vector<Row> rows;
    if (options.infersSchema) {
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
        return InferSchema(rows, options);
    }
    if (options.columnDefinitions) {
        const std::size_t columnCount = reader.Split(TextView(lines.front().View()));
        return SetSchema(options, static_cast<unsigned>(columnCount), rows);
    }
    return {};
}

BAttributeDefs InferSchema(std::vector<Row>& rows, const ReadOptions& options)
{
    BAttributeDefs schema;
    if (!InitColumns(schema, Orvane::CheckedAt(rows, 0), options)) {
        rows.erase(rows.begin());
    }
    for (const Row& row : rows) {
        UpdateTypes(schema, row, options);
    }
    return schema;
}

bool InitColumns(BAttributeDefs& schema, const Row& row, const ReadOptions& options)
{
    const auto isCoordinate = [&options](std::int32_t fieldIndex) {
        return fieldIndex == options.x.fieldIndex || fieldIndex == options.y.fieldIndex ||
               fieldIndex == options.z.fieldIndex;
    };
    const bool hasNames = options.hasColumnNames;
    schema.Reserve(schema.GetCount() + row.size());
    // Rule: default names count the file's columns from 1, coordinate columns included.
    std::int32_t column = 0;
    for (const BString& field : row) {
        while (isCoordinate(column)) {
            ++column;
        }
        ++column;
        BString name = hasNames ? field.Trim() : BString();
        if (name.IsEmpty()) {
            name = OptionRules::MakeColumnName(column);
        }
        BAttributeDef def;
        def.SetName(name);
        schema.Add(def);
    }
    return !hasNames;
}

void UpdateTypes(BAttributeDefs& schema, const Row& row, const ReadOptions& options)
{
    std::vector<std::u16string_view> fields;
    fields.reserve(row.size());
    for (const BString& field : row) {
        fields.push_back(field.View());
    }
    WidenTypes(schema, fields, options.keepsNumericTexts);
}

BAttributeDefs SetSchema(const ReadOptions& options, unsigned columnCount, std::vector<Row>& rows)
{
    const std::vector<BString> definitions =
        options.columnDefinitions.value_or(std::vector<BString>());
    BAttributeDefs schema;
    schema.Reserve(definitions.size());
    BAttributeDef def;
    std::vector<BString> values;
    for (const PlacedDefinition& placed : PlaceDefinitions(definitions)) {
        BString::Tokenize(definitions[placed.index], values, ",");
        if (values.size() != kDefinitionValues) {
            throw Orvane::BException(kDefinitionError, "AsciiSchema::SetSchema");
        }
        def.SetName(values[1]);
        def.SetType(EVariantType{Orvane::BNumbers::Atoi(values[2].Ascii())});
        def.SetLength(Orvane::BNumbers::Atoi(values[3].Ascii()));
        def.SetPrecision(Orvane::BNumbers::Atoi(values[4].Ascii()));
        schema.Add(def);
    }
    // Rule: each coordinate key that is there counts as a column, alone or not.
    if (schema.GetCount() + options.CountCoordinateKeys() == columnCount) {
        return schema;
    }
    // Rule: definitions that do not account for the columns are dropped for inference.
    return InferSchema(rows, options);
}

} // namespace AsciiReader::AsciiSchema
