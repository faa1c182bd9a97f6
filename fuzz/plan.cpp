// Plans of any file: the plan as JSON gives itself back, records are cut alike wherever pieces of
// the text end, by the plan and by its JSON, and rows that are indexed count as rows that are cut.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "TextMaker.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <plan/PlanDialect.h>
#include <string>
#include <string_view>

namespace Fuzz {

namespace {

using Orvane::Import::Plan;

/// The whole text of a plan, as its positions count, with readable bytes after it.
std::string ReadText(const Plan& plan, std::size_t& size)
{
    std::string text;
    const auto source = Orvane::Import::OpenText(plan);
    std::string piece(65536, '\0');
    for (;;) {
        const std::size_t got = source->Read(piece.data(), piece.size());
        text.append(piece, 0, got);
        if (got < piece.size()) {
            break;
        }
    }
    size = text.size();
    text.append(64, '\0');
    return text;
}

/// Positions of all records and fields, as text.
std::string CutRecords(const Plan& plan, std::string_view text, std::size_t step)
{
    std::string result;
    Orvane::Import::Scan::RecordCutter cutter = Orvane::Import::CutterOf(plan);
    Orvane::Import::Scan::Record record;
    std::size_t at = std::min<std::size_t>(plan.shape.firstRowByte, text.size());
    std::size_t size = at;
    while (at < text.size()) {
        size = std::min(text.size(), size + step);
        while (at < size && cutter.Cut(text.substr(0, size),
                                       at,
                                       size == text.size(),
                                       plan.shape.columnCount.value,
                                       record)) {
            if (record.next <= at || record.next > text.size()) {
                Fail("a record does not end after its begin");
            }
            at = record.next;
            result += std::to_string(record.begin) + "-" + std::to_string(record.next) + " " +
                      std::to_string(record.lines);
            for (const auto& field : record.fields) {
                if (field.begin + field.size > record.next) {
                    Fail("a field ends after its record");
                }
                result += " " + std::to_string(field.begin) + "+" + std::to_string(field.size) +
                          (field.isQuoted ? "q" : "");
            }
            result += "\n";
        }
    }
    return result;
}

} // namespace

void RunInput(std::string_view bytes)
{
    // Longer inputs find nothing that shorter ones do not.
    constexpr std::size_t kMostBytes = 65536;
    if (bytes.empty() || bytes.size() > kMostBytes) {
        return;
    }
    const auto choice = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    Orvane::Import::PlanRequest request;
    request.hasNoPoints = (choice & 1U) != 0;
    request.isAllText = (choice & 2U) != 0;
    if ((choice & 4U) != 0) {
        request.skipLines = choice >> 5U;
    }
    if ((choice & 8U) != 0) {
        request.hasNames = (choice & 16U) != 0;
    }
    const QByteArray content(bytes.data(), static_cast<qsizetype>(bytes.size()));
    const std::string path = ScratchFile(QStringLiteral("plan.csv"), content).toStdString();
    try {
        const Plan plan = Orvane::Import::MakePlan(path, request);
        const std::string json = ToJson(plan);
        const Plan again = Orvane::Import::PlanFromJson(json);
        ExpectSame("the plan from its JSON", json, ToJson(again));
        ExpectSame("the plan once more", json, ToJson(Orvane::Import::MakePlan(path, request)));
        // A text that is null and stands nowhere keeps the scan from indexing.
        Orvane::Import::PlanRequest slow = request;
        slow.nullTexts = {"\x01 stands nowhere \x02"};
        Plan cut = Orvane::Import::MakePlan(path, slow);
        cut.nullTexts.clear();
        ExpectSame("the plan of records that are cut one by one", json, ToJson(cut));
        std::size_t size = 0;
        const std::string text = ReadText(plan, size);
        const std::string_view whole = std::string_view(text).substr(0, size);
        const std::string records = CutRecords(plan, whole, size + 1);
        ExpectSame("records in pieces", records, CutRecords(plan, whole, 1 + choice % 13U));
        ExpectSame("records by the JSON", records, CutRecords(again, whole, size + 1));
    } catch (const Orvane::Import::ImportFailure& failure) {
        if (failure.GetKind() == Orvane::Import::EFailureKind::Internal) {
            Fail(std::string("an internal failure: ") + failure.what());
        }
    }
}

std::string MakeInput(Dice& dice)
{
    const auto separator = dice.Pick<std::string>({",", ";", "\t", "|", " ", ", "});
    std::string bytes = dice.Bytes(1);
    if (dice.Chance(20)) {
        bytes +=
            dice.Pick<std::string>({"\xEF\xBB\xBF", "sep=;\n", "# made by hand\n", "Title\n\n"});
    }
    const int tables = dice.Chance(15) ? 2 : 1;
    for (int table = 0; table < tables; ++table) {
        const auto fields = static_cast<std::size_t>(dice.Between(1, 8));
        const auto end = dice.Pick<std::string>({"\n", "\r\n", "\r"});
        const int rows = dice.Between(0, 40);
        if (dice.Chance(70)) {
            for (std::size_t field = 0; field < fields; ++field) {
                bytes += (field == 0 ? "" : separator) + "c" + std::to_string(field);
            }
            bytes += end;
        }
        for (int row = 0; row < rows; ++row) {
            const bool isOdd = dice.Chance(5);
            std::string line = std::to_string(row);
            for (std::size_t field = 1; field < (isOdd ? dice.Below(9) + 1 : fields); ++field) {
                line += separator;
                line +=
                    MakeField(dice, field % 2 == 0 ? MakeNumber(dice) : MakeWord(dice), separator);
            }
            bytes += line + (dice.Chance(2) ? dice.Pick<std::string>({"\n", "\r"}) : end);
            bytes += dice.Chance(3) ? end : "";
        }
    }
    if (dice.Chance(30)) {
        Break(dice, bytes);
    }
    return bytes;
}

} // namespace Fuzz
