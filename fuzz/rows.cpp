// Rows into features: the conversion of single rows and the rows of a layer, in every encoding,
// against the literal rules.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"
#include "Samples.h"
#include "layer/AsciiLayer.h"
#include "layer/RowPlan.h"
#include "text/Separator.h"

#include <Orvane/BStringQt.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <iterator>

namespace Fuzz {

using AsciiReader::ETextUnit;
using AsciiReader::RowPlan;
using AsciiReader::TextView;
using LiteralReader::Definition;
using Orvane::BAttributeDefs;
using Orvane::BParamList;
using Orvane::BString;

namespace {

constexpr int kTypes[] = {5, 7, 9, 10, 11, 12, 13, 0, 99, 5, 9, 11};

std::vector<Definition>
ReadSchema(FuzzInput& input, const QStringList& lines, const BParamList& params)
{
    std::vector<Definition> schema(input.Below(8));
    for (Definition& definition : schema) {
        definition.name = Orvane::MakeQString(input.String());
        definition.type = kTypes[input.Below(std::size(kTypes))];
        definition.length = input.Below(4) == 1 ? 7 : 0;
    }
    if (schema.empty() && input.Below(4) != 1) {
        try {
            schema = LiteralReader::Rules::Schema(lines, params, CutOf(params));
        } catch (const std::exception&) {
            schema.clear();
        }
    }
    return schema;
}

BAttributeDefs ToDefs(const std::vector<Definition>& schema)
{
    BAttributeDefs defs;
    for (const Definition& definition : schema) {
        Orvane::BAttributeDef def;
        def.SetName(Orvane::MakeBString(definition.name));
        def.SetType(Orvane::EVariantType{definition.type});
        def.SetLength(definition.length);
        def.SetPrecision(definition.precision);
        defs.Add(def);
    }
    return defs;
}

template <typename Feature>
std::string Describe(const Feature& feature)
{
    ReaderTraces::Trace trace;
    ReaderTraces::DescribeFeature("", feature, trace);
    std::string text;
    for (const std::string& line : trace) {
        text += line + "\n    ";
    }
    return text;
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const bool isUtf8 = input.Bit();
    const std::uint32_t firstNumber = input.Bit() ? input.Number<std::uint32_t>() : 1;
    const BParamList params = input.Options();
    FuzzInput definitions(input.Text());
    const std::string_view rest = input.Rest();
    const QStringList lines = ToLines(rest, isUtf8);
    const LiteralReader::Rules::Cut cut = CutOf(params);

    std::vector<Definition> expectedSchema = ReadSchema(definitions, lines, params);
    const BParamList kept = Normalised(params);
    const BString xFormat = kept.GetString(Orvane::X_COORDINATE_FORMAT);
    const BString yFormat = kept.GetString(Orvane::Y_COORDINATE_FORMAT);
    const BString zFormat = kept.GetString(Orvane::Z_COORDINATE_FORMAT);
    BAttributeDefs singleSchema = ToDefs(expectedSchema);
    BAttributeDefs layerSchema = singleSchema;
    BAttributeDefs wideSchema = singleSchema;
    const RowPlan plan(layerSchema, kept);
    const RowPlan widePlan(wideSchema, kept);
    // The layer keeps few rows a page, so that pages change within an input.
    Orvane::BFeatureCollection features(3);
    Orvane::BFeatureCollection wideFeatures;
    Orvane::BFeatureAppender appender(features, plan.MakeColumns());
    Orvane::BFeatureAppender wideAppender(wideFeatures, widePlan.MakeColumns());
    const AsciiReader::Separator separator(cut.pattern, {});
    AsciiReader::SplitRow row;

    const auto append = [&row](const RowPlan& rows,
                               std::uint32_t number,
                               Orvane::BFeatureAppender& layer,
                               Orvane::BFeatureCollection& list) {
        const std::size_t count = list.GetCount();
        std::string result = Outcome([&] {
            rows.AppendRow(row, number, layer);
            return Describe(*list.GetAt(count));
        });
        return result;
    };
    std::uint32_t number = firstNumber;
    for (const QString& line : lines) {
        const QStringList fields = LiteralReader::Rules::SplitLine(line, cut, {});
        const std::string title = "row " + ReaderTraces::Quoted(line) + " ";
        const std::string expected = Outcome([&] {
            return Describe(LiteralReader::Rules::ParseRow(fields, expectedSchema, params, number));
        });
        AsciiReader::Row texts;
        for (const QString& field : fields) {
            texts.push_back(Orvane::MakeBString(field));
        }
        ExpectSame(title + "alone", expected, Outcome([&] {
                       return Describe(*AsciiReader::AsciiLayer::ParsedToFeature(
                           texts, singleSchema, kept, number, xFormat, yFormat, zFormat));
                   }));
        const std::string utf8 = line.toUtf8().toStdString();
        const std::string latin1 = line.toLatin1().toStdString();
        separator.Split(
            isUtf8 ? TextView(utf8, ETextUnit::Utf8) : TextView(latin1, ETextUnit::Latin1), row);
        ExpectSame(title + "as bytes", expected, append(plan, number, appender, features));
        separator.Split(
            TextView(std::u16string_view(reinterpret_cast<const char16_t*>(line.utf16()),
                                         static_cast<std::size_t>(line.size()))),
            row);
        ExpectSame(
            title + "as UTF-16", expected, append(widePlan, number, wideAppender, wideFeatures));
        const std::string schema = Describe(expectedSchema);
        ExpectSame(title + "schema", schema, Describe(singleSchema));
        ExpectSame(title + "schema of UTF-16", schema, Describe(wideSchema));
        ExpectSame(title + "schema of the layer", schema, Describe(layerSchema));
        ++number;
    }
}

std::string MakeInput(Dice& dice)
{
    const RandomFiles::Case random = MakeRandomCase(dice);
    FuzzOutput output;
    output.Byte(dice.Below(2));
    if (dice.Chance(20)) {
        output.Byte(1).Number(static_cast<std::uint32_t>(dice.Next()));
    } else {
        output.Byte(0);
    }
    output.Options(random.opened);
    FuzzOutput schema;
    const std::size_t columns = dice.Chance(50) ? 0 : dice.Below(8);
    schema.Byte(columns);
    for (std::size_t i = 0; i < columns; ++i) {
        schema.Text(dice.Pick<const char*>({"a", "b", "", "\xc3\xa9"}))
            .Byte(dice.Below(std::size(kTypes)))
            .Byte(dice.Below(4));
    }
    output.Text(schema.Take());
    const QByteArray& content = random.content;
    output.Rest({content.constData(), static_cast<std::size_t>(content.size())});
    return output.Take();
}

} // namespace Fuzz
