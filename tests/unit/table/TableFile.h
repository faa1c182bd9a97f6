// Small files for tests of tables: written, planned, read.
#pragma once

#include "support/TestFiles.h"
#include "table/Table.h"

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace TableTest {

/// A bad row, copied.
struct BadRow
{
    Orvane::Import::EBadRow why = Orvane::Import::EBadRow::None;
    std::uint64_t line = 0;
    std::uint64_t lines = 0;
    std::uint64_t byte = 0;
    std::size_t column = 0;
    std::string raw;
};

/// Keeps what it is given.
class KeepingSink : public Orvane::Import::BadRowSink
{
public:
    void Add(const Orvane::Import::TableRecord& record) override
    {
        rows.push_back({record.why,
                        record.line,
                        record.lines,
                        record.byte,
                        record.column,
                        std::string(record.raw)});
    }

    std::vector<BadRow> rows;
};

/// A table that was read.
struct ReadFile
{
    Orvane::Import::Plan plan;
    Orvane::Import::TableCounts counts;
    std::vector<BadRow> bad;
    std::unique_ptr<Orvane::BVectorLayer> layer = std::make_unique<Orvane::BVectorLayer>();
};

/// Reads the file at a path by a plan.
inline ReadFile ReadPlanned(const Orvane::Import::Plan& plan,
                            const Orvane::Import::TableRequest& request)
{
    ReadFile file;
    KeepingSink sink;
    file.plan = plan;
    file.counts = Orvane::Import::ReadTable(plan, request, *file.layer, sink, {});
    file.bad = std::move(sink.rows);
    return file;
}

/// Writes the bytes to a file, plans it and reads it.
inline ReadFile Read(std::string_view bytes,
                     const Orvane::Import::PlanRequest& planRequest = {},
                     const Orvane::Import::TableRequest& request = {})
{
    const TestSupport::TemporaryFolder folder;
    const std::string path = folder.File("table.csv", bytes).ToUtf8();
    return ReadPlanned(Orvane::Import::MakePlan(path, planRequest), request);
}

/// "why@line:column" of each bad row.
inline std::vector<std::string> BadWords(const std::vector<BadRow>& rows)
{
    std::vector<std::string> words;
    for (const BadRow& row : rows) {
        words.push_back(std::string(Orvane::Import::NameOf(row.why)) + "@" +
                        std::to_string(row.line) + ":" + std::to_string(row.column));
    }
    return words;
}

/// One value as text: "null", or the value's shortest text, of texts in quotes.
inline std::string ValueText(const Orvane::BFeaturePage& page, std::size_t row, std::size_t column)
{
    if (column >= page.GetAttributeCount(row)) {
        return "none";
    }
    if (page.data[column].IsNull(row)) {
        return "null";
    }
    const Orvane::BVariant value = page.GetValue(row, column);
    if (page.data[column].storage == Orvane::EColumnStorage::Text) {
        return "'" + value.GetString().ToUtf8() + "'";
    }
    if (page.data[column].storage == Orvane::EColumnStorage::Boolean) {
        return value.GetBoolean() ? "true" : "false";
    }
    const std::string text = TestSupport::Describe(value);
    return text.substr(text.find(':') + 1);
}

/// The rows of a layer: "(x y z) value, value".
inline std::vector<std::string> Rows(const Orvane::BVectorLayer& layer)
{
    std::vector<std::string> rows;
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    const auto number = [](double value) {
        const std::string text = TestSupport::Describe(Orvane::BVariant(value));
        return text.substr(text.find(':') + 1);
    };
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        const std::shared_ptr<const Orvane::BFeaturePage> page = features.LoadPage(index);
        for (std::size_t row = 0; row < page->GetRowCount(); ++row) {
            std::string text;
            const Orvane::EPointKind kind = page->GetPointKind(row);
            if (kind != Orvane::EPointKind::None) {
                text += "(" + number(page->x[row]) + " " + number(page->y[row]);
                text += kind == Orvane::EPointKind::XYZ ? " " + number(page->z[row]) : "";
                text += ") ";
            }
            for (std::size_t column = 0; column < page->data.size(); ++column) {
                text += column == 0 ? "" : ", ";
                text += ValueText(*page, row, column);
            }
            rows.push_back(text);
        }
    }
    return rows;
}

} // namespace TableTest
