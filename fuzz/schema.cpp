// The schema of sample lines, inferred or given, and the removal of coordinate columns: the plug-in
// against the literal rules.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "FuzzInput.h"
#include "Samples.h"
#include "schema/AsciiSchema.h"

#include <Orvane/BStringQt.h>

#include <vector>

namespace Fuzz {

using Orvane::BString;

namespace {

std::string Join(const QStringList& fields)
{
    return fields.join(QLatin1Char('|')).toStdString();
}

void CheckRemoval(FuzzInput& input, const QStringList& fields)
{
    const auto x = input.Number<std::int8_t>();
    const auto y = input.Number<std::int8_t>();
    const auto z = input.Number<std::int8_t>();
    QStringList literal = fields;
    const std::string expected = Outcome([&] {
        LiteralReader::Rules::RemoveXYZ(literal, x, y, z);
        return std::string("removed");
    });
    AsciiReader::Row row;
    for (const QString& field : fields) {
        row.push_back(Orvane::MakeBString(field));
    }
    const std::string actual = Outcome([&] {
        AsciiReader::AsciiUtils::RemoveXYZ(row, x, y, z);
        return std::string("removed");
    });
    QStringList left;
    for (const BString& field : row) {
        left.append(Orvane::MakeQString(field));
    }
    ExpectSame("removal", expected + " " + Join(literal), actual + " " + Join(left));
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const bool isUtf8 = input.Bit();
    FuzzInput removal(input.Text());
    const Orvane::BParamList params = input.Options();
    const QStringList lines = ToLines(input.Rest(), isUtf8);
    const LiteralReader::Rules::Cut cut = CutOf(params);

    const std::string expected =
        Outcome([&] { return Describe(LiteralReader::Rules::Schema(lines, params, cut)); });
    std::vector<BString> texts;
    for (const QString& line : lines) {
        texts.push_back(Orvane::MakeBString(line));
    }
    const std::string actual = Outcome([&] {
        return Describe(AsciiReader::AsciiSchema::Schema(texts, Normalised(params), cut.pattern));
    });
    ExpectSame("schema", expected, actual);
    CheckRemoval(removal, LiteralReader::Rules::SplitLine(lines.first(), cut, {}));
}

std::string MakeInput(Dice& dice)
{
    const RandomFiles::Case random = MakeRandomCase(dice);
    FuzzOutput output;
    output.Byte(dice.Below(2)).Byte(3);
    for (int i = 0; i < 3; ++i) {
        output.Byte(static_cast<std::size_t>(dice.Between(-1, 6)));
    }
    output.Options(random.opened);
    const QByteArray& content = random.content;
    output.Rest({content.constData(), static_cast<std::size_t>(content.size())});
    return output.Take();
}

} // namespace Fuzz
