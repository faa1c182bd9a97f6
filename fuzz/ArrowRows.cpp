// Arrow streams back into rows.
#include "ArrowRows.h"

#include "Fuzz.h"
#include "ReaderTraces.h"

#include <Orvane/BArrowStream.h>

#include <cstdint>
#include <string_view>

namespace Fuzz {

namespace {

bool IsValid(const ArrowArray& array, std::size_t row)
{
    const auto* bits = static_cast<const unsigned char*>(array.buffers[0]);
    return bits == nullptr || ((unsigned{bits[row / 8]} >> (row % 8)) & 1U) != 0;
}

template <typename T>
T ValueAt(const ArrowArray& array, std::size_t row)
{
    return static_cast<const T*>(array.buffers[1])[row];
}

std::string TextAt(const ArrowArray& array, std::size_t row)
{
    const auto* ends = static_cast<const std::int32_t*>(array.buffers[1]);
    const auto* text = static_cast<const char*>(array.buffers[2]);
    return {text + ends[row], static_cast<std::size_t>(ends[row + 1] - ends[row])};
}

std::string DescribeAt(const ArrowSchema& schema, const ArrowArray& array, std::size_t row)
{
    if (!IsValid(array, row)) {
        return "null";
    }
    switch (schema.format[0]) {
    case 'i':
        return std::to_string(ValueAt<std::int32_t>(array, row));
    case 'l':
        return std::to_string(ValueAt<std::int64_t>(array, row));
    case 'f':
        return ReaderTraces::Bits(static_cast<double>(ValueAt<float>(array, row)));
    case 'g':
        return ReaderTraces::Bits(ValueAt<double>(array, row));
    case 'b':
        return std::to_string(
            (unsigned{static_cast<const unsigned char*>(array.buffers[1])[row / 8]} >> (row % 8)) &
            1U);
    case 'u':
        return Escaped(TextAt(array, row));
    default:
        Fail(std::string("a column has the format ") + schema.format);
    }
}

void ReadBatch(const ArrowSchema& schema, const ArrowArray& batch, ArrowRows& rows)
{
    if (batch.n_children != schema.n_children) {
        Fail("a batch has other columns than the schema");
    }
    const ArrowArray& geometry = *batch.children[1];
    const bool hasZ = schema.children[1]->n_children == 3;
    for (std::size_t row = 0; row < static_cast<std::size_t>(batch.length); ++row) {
        rows.names.push_back(TextAt(*batch.children[0], row));
        std::optional<Orvane::BPointGeo> point;
        if (IsValid(geometry, row)) {
            point.emplace(ValueAt<double>(*geometry.children[0], row),
                          ValueAt<double>(*geometry.children[1], row));
            if (hasZ && IsValid(*geometry.children[2], row)) {
                point->SetZ(ValueAt<double>(*geometry.children[2], row));
            }
        }
        rows.points.push_back(point);
        std::string values;
        for (std::int64_t i = 2; i < batch.n_children; ++i) {
            values += DescribeAt(*schema.children[i], *batch.children[i], row) + " ";
        }
        rows.values.push_back(values);
    }
}

} // namespace

ArrowRows ReadArrowRows(const Orvane::BSharedPtr<Orvane::BVectorLayer>& layer)
{
    ArrowRows rows;
    ArrowArrayStream stream{};
    Orvane::ExportArrowStream(layer, &stream);
    const auto note = [&](int code) {
        rows.errorCode = code;
        const char* error = stream.get_last_error(&stream);
        rows.error = error == nullptr || *error == '\0' ? "an error without a text" : error;
    };
    ArrowSchema schema{};
    if (const int code = stream.get_schema(&stream, &schema); code != 0) {
        note(code);
        stream.release(&stream);
        return rows;
    }
    for (std::int64_t i = 0; i < schema.n_children; ++i) {
        rows.schema += std::string(schema.children[i]->name) + ":" + schema.children[i]->format +
                       std::to_string(schema.children[i]->n_children) + " ";
    }
    for (;;) {
        ArrowArray batch{};
        if (const int code = stream.get_next(&stream, &batch); code != 0) {
            note(code);
            break;
        }
        if (batch.release == nullptr) {
            break;
        }
        ReadBatch(schema, batch, rows);
        batch.release(&batch);
    }
    schema.release(&schema);
    stream.release(&stream);
    return rows;
}

} // namespace Fuzz
