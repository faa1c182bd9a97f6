// Tables by their plans, of any bytes: runs column by column against rows one by one, and the walk
// over records against the file's lines. The plan is of these bytes, or of others.
#include "table/Table.h"

#include "Fuzz.h"
#include "FuzzInput.h"
#include "TextMaker.h"

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Failure.h>

#include <cstring>
#include <memory>
#include <string>

namespace Fuzz {

using namespace Orvane::Import;

namespace {

/// Puts rejected rows into one text.
class NotingSink : public BadRowSink
{
public:
    void Add(const TableRecord& record) override
    {
        text += std::string(NameOf(record.why)) + " " + std::to_string(record.line) + ":" +
                std::to_string(record.column) + " at " + std::to_string(record.byte) + " " +
                Escaped(record.raw) + "\n";
    }

    std::string text;
};

std::string BitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return std::to_string(bits);
}

std::string DescribeValue(const Orvane::BFeaturePage& page, std::size_t row, std::size_t column)
{
    const Orvane::BColumnData& data = page.data[column];
    if (column >= page.GetAttributeCount(row)) {
        return "-";
    }
    if (data.IsNull(row)) {
        return "null";
    }
    switch (data.storage) {
    case Orvane::EColumnStorage::Text:
        return Escaped(data.texts.GetBytes(row));
    case Orvane::EColumnStorage::Double:
        return BitsOf(data.doubles[row]);
    default:
        return page.GetValue(row, column).GetString().ToUtf8();
    }
}

std::string DescribeLayer(const Orvane::BVectorLayer& layer)
{
    std::string text;
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        const std::shared_ptr<const Orvane::BFeaturePage> page = features.LoadPage(index);
        for (std::size_t row = 0; row < page->GetRowCount(); ++row) {
            const Orvane::EPointKind kind = page->GetPointKind(row);
            text += page->GetName(row).ToUtf8() + " ";
            text += kind == Orvane::EPointKind::None
                        ? "none"
                        : BitsOf(page->x[row]) + " " + BitsOf(page->y[row]);
            text += kind == Orvane::EPointKind::XYZ ? " " + BitsOf(page->z[row]) : "";
            for (std::size_t column = 0; column < page->data.size(); ++column) {
                text += "|" + DescribeValue(*page, row, column);
            }
            text += "\n";
        }
    }
    return text;
}

std::string DescribeCounts(const TableCounts& counts)
{
    std::string text = std::to_string(counts.rows) + " rows " + std::to_string(counts.points) +
                       " points " + std::to_string(counts.outOfRange) + " out of range " +
                       std::to_string(counts.badRows) + " bad " + std::to_string(counts.shortRows) +
                       " short " + std::to_string(counts.trailingRows) + " trailing " +
                       std::to_string(counts.repairedRows) + " repaired";
    for (const ColumnCounts& column : counts.columns) {
        text += " " + std::to_string(column.values) + "+" + std::to_string(column.empties) + "+" +
                std::to_string(column.nullWords);
    }
    return text;
}

/// Reads by the plan in one of the ways. @return all that the reading gives, as a text
std::string ReadAll(const Plan& plan, const TableRequest& request, std::uint64_t& lines)
{
    Orvane::BVectorLayer layer;
    NotingSink sink;
    const TableCounts counts = ReadTable(plan, request, layer, sink, {});
    lines = counts.lines.Sum();
    return DescribeLayer(layer) + sink.text + DescribeCounts(counts);
}

std::uint64_t Walk(const Plan& plan, const TableRequest& request)
{
    TableWalk walk(plan, request);
    TableRecord record;
    std::uint64_t byte = 0;
    std::uint64_t line = 0;
    std::uint64_t records = 0;
    while (walk.Next(record)) {
        if (records > 0 && (record.byte <= byte || record.line <= line)) {
            Fail("The record at line " + std::to_string(record.line) + ", byte " +
                 std::to_string(record.byte) + " comes after line " + std::to_string(line) +
                 ", byte " + std::to_string(byte) + ".");
        }
        if (record.kind == ERecord::Row && walk.FindMisfit(record) > plan.columns.size()) {
            Fail("A cell past the columns does not fit.");
        }
        byte = record.byte;
        line = record.line;
        ++records;
    }
    return walk.Lines().Sum();
}

PlanRequest ReadRequest(FuzzInput& input)
{
    PlanRequest request;
    switch (input.Below(4)) {
    case 1:
        request.hasNames = true;
        break;
    case 2:
        request.hasNames = false;
        break;
    default:
        break;
    }
    const std::size_t separator = input.Below(8);
    if (separator < 3) {
        request.separator = std::string(1, ",;|"[separator]);
    } else if (separator == 3) {
        request.separator = "blanks";
    }
    request.encoding = input.Below(8) == 1 ? "WINDOWS-1252" : "";
    request.hasNoPoints = input.Bit();
    return request;
}

void Check(const Plan& plan, const TableRequest& given, bool isOwn)
{
    TableRequest request = given;
    std::uint64_t fastLines = 0;
    std::uint64_t slowLines = 0;
    request.isOneByOne = true;
    const std::string slow = ReadAll(plan, request, slowLines);
    request.isOneByOne = false;
    ExpectSame("rows one by one and column by column", slow, ReadAll(plan, request, fastLines));
    const std::uint64_t walked = Walk(plan, request);
    ExpectSame("lines", std::to_string(slowLines), std::to_string(fastLines));
    ExpectSame("lines of the walk", std::to_string(slowLines), std::to_string(walked));
    if (isOwn) {
        ExpectSame("lines of the file", std::to_string(plan.bytes.lines), std::to_string(walked));
    }
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const PlanRequest planRequest = ReadRequest(input);
    TableRequest request;
    request.isAllText = input.Below(4) == 1;
    request.makesPoints = input.Bit();
    if (input.Below(4) == 1) {
        request.nullTexts = {"-9999", "7"};
    }
    const bool isOther = input.Below(4) == 1;
    const std::string planned(isOther ? input.Text() : std::string_view());
    const std::string_view rest = input.Rest();
    const auto write = [](std::string_view content) {
        return ScratchFile(QStringLiteral("table.csv"),
                           QByteArray(content.data(), static_cast<qsizetype>(content.size())))
            .toStdString();
    };
    try {
        const Plan plan = MakePlan(write(isOther ? std::string_view(planned) : rest), planRequest);
        if (isOther) {
            write(rest);
        }
        Check(plan, request, !isOther);
    } catch (const ImportFailure&) {
        // A file that cannot be read is refused.
    }
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    output.Byte(dice.Byte()).Byte(dice.Byte()).Byte(dice.Byte()).Byte(dice.Byte());
    output.Byte(dice.Byte()).Byte(dice.Byte()).Byte(dice.Byte());
    const bool isOther = dice.Chance(25);
    output.Byte(isOther ? 1 : 0);
    const auto separator = dice.Pick<std::string>({",", ";", "|", "\t", " "});
    const auto columns = static_cast<std::size_t>(dice.Between(1, 6));
    const auto makeText = [&](int most) {
        const auto rows = static_cast<std::size_t>(dice.Between(1, most));
        std::string text;
        if (dice.Chance(60)) {
            for (std::size_t column = 0; column < columns; ++column) {
                text += column == 0 ? "" : separator;
                text += dice.Pick<std::string>({"id", "lat", "lon", "name", "depth", "x", "y"});
            }
            text += "\n";
        }
        for (std::size_t row = 0; row < rows; ++row) {
            text += dice.Chance(97)
                        ? MakeLine(dice, columns, separator) + dice.Pick({"\n", "\n", "\r\n"})
                        : MakeLines(dice, 2, separator);
        }
        if (dice.Chance(50)) {
            Break(dice, text);
        }
        return text;
    };
    if (isOther) {
        output.Text(makeText(8));
    }
    output.Rest(makeText(60));
    return output.Take();
}

} // namespace Fuzz
