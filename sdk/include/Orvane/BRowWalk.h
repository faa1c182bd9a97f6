// The one way through all rows of a layer, whether pages hold them or objects.
#pragma once

#include <Orvane/BFeature.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace Orvane {

/// A walk over the rows of a collection, page by page, in row order.
///
/// One page is held at a time, loaded as BFeatureCollection::LoadPage does. Of a page's rows some
/// may stand as objects beside it: GetObject tells, and the page's own values of such a row are
/// placeholders. The walk can stop after any page and go on later. The collection must outlive the
/// walk and must not be changed meanwhile. Used by one thread at a time together with the
/// collection.
///
///     for (BRowWalk walk(features); walk.NextPage();) {
///         for (std::size_t row = 0; row < walk.GetRowCount(); ++row) {
///             if (const BFeature* object = walk.GetObject(row)) {
///                 UseObject(*object);
///             } else {
///                 UseRow(walk.GetPage(), row);
///             }
///         }
///     }
class BRowWalk
{
public:
    explicit BRowWalk(const BFeatureCollection& features) noexcept
        : m_features(&features)
    {}

    /// Goes to the next page, the first one at first, and lets go of the one before.
    /// @return false after the last page; no page is held then.
    /// @throws as BFeatureCollection::LoadPage; no page is held then, and the next call goes to the
    ///     page after the one that could not be loaded.
    bool NextPage()
    {
        m_page.reset();
        if (m_nextPage >= m_features->GetPageCount()) {
            return false;
        }
        const std::size_t pageIndex = m_nextPage++;
        m_page = m_features->LoadPage(pageIndex);
        m_firstRow = m_features->GetFirstRow(pageIndex);
        m_hasObjects = m_features->GetObjectRowCount() > 0;
        return true;
    }

    // The following are about the page at hand, which must be there.

    [[nodiscard]] const BFeaturePage& GetPage() const noexcept { return *m_page; }

    /// The page as a handle that keeps it whole after the walk has gone on.
    [[nodiscard]] const std::shared_ptr<const BFeaturePage>& SharePage() const noexcept
    {
        return m_page;
    }

    [[nodiscard]] std::size_t GetRowCount() const noexcept { return m_page->rowCount; }

    /// Row of the page's first feature, counted from 0 over the whole collection.
    [[nodiscard]] std::size_t GetFirstRow() const noexcept { return m_firstRow; }

    /// Whether rows of the page may stand as objects. False: GetObject is null for all of them.
    [[nodiscard]] bool MayHaveObjects() const noexcept { return m_hasObjects; }

    /// The object of a row of the page; null when the page holds the row itself.
    [[nodiscard]] const BFeature* GetObject(std::size_t rowInPage) const
    {
        return m_hasObjects ? m_features->GetObjectRow(m_firstRow + rowInPage) : nullptr;
    }

private:
    const BFeatureCollection* m_features;
    std::shared_ptr<const BFeaturePage> m_page;
    std::size_t m_nextPage = 0;
    std::size_t m_firstRow = 0;
    bool m_hasObjects = false;
};

/// Visits all rows in order: `onPageRow(page, rowInPage)` for a row that its page holds,
/// `onObject(feature)` for one that stands beside it. What a visitor throws leaves unchanged and
/// ends the walk.
/// @throws as BFeatureCollection::LoadPage.
template <typename OnPageRow, typename OnObject>
void VisitRows(const BFeatureCollection& features, OnPageRow&& onPageRow, OnObject&& onObject)
{
    for (BRowWalk walk(features); walk.NextPage();) {
        const BFeaturePage& page = walk.GetPage();
        const std::size_t count = walk.GetRowCount();
        if (!walk.MayHaveObjects()) {
            for (std::size_t row = 0; row < count; ++row) {
                onPageRow(page, row);
            }
            continue;
        }
        for (std::size_t row = 0; row < count; ++row) {
            if (const BFeature* object = walk.GetObject(row)) {
                onObject(*object);
            } else {
                onPageRow(page, row);
            }
        }
    }
}

} // namespace Orvane
