// Finds the names of a page's rows, and the memory that a page holds.
#include <Orvane/BFeaturePage.h>

#include <algorithm>
#include <cassert>

namespace Orvane {

BString BFeaturePage::GetName(std::size_t rowInPage) const
{
    return hasNameTexts ? TextToString(nameTexts.GetBytes(rowInPage), nameTexts.encoding)
                        : BString::FromInteger(GetNameNumber(rowInPage));
}

std::uint32_t BFeaturePage::GetNameNumber(std::size_t rowInPage) const noexcept
{
    auto run = nameRuns.end();
    if (nameRuns.size() > 1 && nameRuns.back().rowInPage > rowInPage) {
        run = std::upper_bound(
            nameRuns.begin(), run, rowInPage, [](std::size_t row, const BNameRun& candidate) {
                return row < candidate.rowInPage;
            });
    }
    assert(run != nameRuns.begin());
    --run;
    return run->firstNumber + static_cast<std::uint32_t>(rowInPage - run->rowInPage);
}

std::size_t BFeaturePage::GetByteSize() const noexcept
{
    std::size_t size = sizeof *this + data.capacity() * sizeof(BColumnData) + x.GetByteSize() +
                       y.GetByteSize() + z.GetByteSize() + pointKinds.GetByteSize() +
                       attributeCounts.GetByteSize() + nameRuns.capacity() * sizeof(BNameRun) +
                       nameTexts.GetByteSize();
    for (const BColumnData& column : data) {
        size += column.validity.GetByteSize() +
                VisitColumn(column, [](const auto& array) { return array.GetByteSize(); });
    }
    return size;
}

void BFeaturePage::ShrinkToFit() noexcept
{
    for (BColumnData& column : data) {
        VisitColumn(column, [](auto& array) { array.ShrinkToFit(); });
        column.validity.ShrinkToFit();
    }
    x.ShrinkToFit();
    y.ShrinkToFit();
    z.ShrinkToFit();
    pointKinds.ShrinkToFit();
    attributeCounts.ShrinkToFit();
    nameTexts.ShrinkToFit();
}

} // namespace Orvane
