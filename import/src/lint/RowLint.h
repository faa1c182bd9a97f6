// What a walk over the records of a file finds.
#pragma once

#include "BareColumn.h"
#include "ByteWalk.h"
#include "ColumnWatch.h"
#include "Findings.h"
#include "Place.h"
#include "ProgressMeter.h"
#include "table/Table.h"

#include <Orvane/Import/Plan.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The coordinates of a row under watch.
struct PointWatch
{
    bool isKnown = false;  ///< there are coordinates
    bool isNeeded = false; ///< so that a walk must be made
    std::size_t x = 0;
    std::size_t y = 0;
    bool isPlain = false;   ///< plain numbers, so that values can be read
    bool isDegrees = false; ///< then they have a range

    [[nodiscard]] bool Covers(std::size_t columnIndex) const
    {
        return isKnown && (columnIndex == x || columnIndex == y);
    }
};

/// Records of one kind in a row that make one finding.
struct LineGroup
{
    ERecord kind = ERecord::Row; ///< Row: none
    Place place;
    std::uint64_t lines = 0;
    std::string text;
};

/// Looks at rows, cells and bytes one by one where the plan says that there is something to find.
class RowLint
{
public:
    /// All of them outlive this object.
    RowLint(const Plan& plan, const LintRequest& request, Findings& findings, ProgressMeter& meter)
        : m_plan(plan)
        , m_request(request)
        , m_findings(findings)
        , m_meter(meter)
    {}

    /// @return whether the records were walked over
    bool Run();

private:
    /// The cells by which the bare reader decides its types.
    void SampleRows();

    [[nodiscard]] TableRequest MakeTableRequest() const;

    [[nodiscard]] bool HasBlankCoordinate(const TableRecord& record) const;

    static bool EndsInBlank(std::string_view cell);

    void WatchColumns();

    /// A column of nothing but 0 and 1.
    void FindDigits(const PlanColumn& column);

    void WatchPoints();

    [[nodiscard]] bool IsWalkNeeded() const;

    void Walk();

    void AddBytes(const OddBytes& odd);

    void LookAt(const TableRecord& record, const TableWalk& walk);

    void AddLine(ELint lint, const TableRecord& record);

    /// Reports lines of a footer or of a further table that have come to their end.
    void FlushGroup();

    /// The command that imports the further table alone, to a file of its own.
    [[nodiscard]] Words TableFix() const;

    void LookAtBad(const TableRecord& record);

    [[nodiscard]] std::string CountFields(const TableRecord& record) const;

    /// @param columnNumber from 1; 0: the record as a whole
    void PutRow(const TableRecord& record, std::size_t columnNumber, LintFinding& finding);

    void LookAtRow(const TableRecord& record, const TableWalk& walk);

    /// A row that was not read as it stands.
    void LookAtRepair(const TableRecord& record);

    void AddStrayQuote(const TableRecord& record, char quote);

    void AddMisfit(const TableRecord& record, std::size_t columnNumber);

    void LookAtBreaks(const TableRecord& record);

    void LookAtCell(const TableRecord& record, const ColumnWatch& watch);

    static std::string DescribeCell(ELint lint, const ColumnWatch& watch, std::string_view cell);

    /// @return whether something was found, so that the cells need no further look
    bool LookAtPoint(const TableRecord& record);

    void AddPoint(ELint lint, const TableRecord& record, std::size_t index, const char* what);

    const Plan& m_plan;
    const LintRequest& m_request;
    Findings& m_findings;
    ProgressMeter& m_meter;
    std::vector<BareColumn> m_bare; ///< of each column
    bool m_hasBlankCoordinates = false;
    bool m_hasForeignQuotes = false; ///< `"` may occur, and is no quote of the plan
    bool m_mayHaveInvalid = false;   ///< bytes may be no characters of the encoding
    std::vector<ColumnWatch> m_watches;
    PointWatch m_point;
    LineGroup m_group;
    std::unique_ptr<PlaceFinder> m_places;
    std::unique_ptr<ByteWalk> m_bytes; ///< null when no byte is odd
};

} // namespace Orvane::Import
