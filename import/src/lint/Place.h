// Where a cell of a record stands in the file.
#pragma once

#include "plan/scan/Records.h"
#include "table/Table.h"

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Orvane::Import {

/// A place in the file.
struct Place
{
    std::uint64_t line = 0;      ///< physical line from 1
    std::uint64_t character = 0; ///< in the line, from 1
    std::uint64_t byte = 0;      ///< as the plan's positions say
};

/// Finds places inside records.
class PlaceFinder
{
public:
    explicit PlaceFinder(const Plan& plan);

    /// Where a field begins, its quote aside. @param fieldIndex from 0; one past the last field is
    /// the record's end, as is any further one
    [[nodiscard]] Place OfField(const TableRecord& record, std::size_t fieldIndex);

    /// Where a quote stands inside a field that it neither opens nor closes; the record's begin
    /// when there is none. @param fieldIndex gets the field, from 0
    [[nodiscard]] Place
    OfStrayQuote(const TableRecord& record, char quote, std::size_t& fieldIndex);

    /// How a record was read that the plain rules cut into another count of fields.
    [[nodiscard]] Scan::ERepair RepairOf(const TableRecord& record);

    /// A position in a record's text. @param offset bytes into TableRecord::raw
    [[nodiscard]] Place At(const TableRecord& record, std::size_t offset) const;

private:
    void Cut(const TableRecord& record);

    Scan::RecordCutter m_cutter;
    Scan::Record m_record;
    std::size_t m_columns;
    std::string m_encoding; ///< of the bytes that places count; empty where they are UTF-8
};

} // namespace Orvane::Import
