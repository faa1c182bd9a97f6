// The pages of a layer, one after the other, wherever they come from.
#pragma once

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/Import/Api.h>

#include <cstddef>
#include <memory>

namespace Orvane::Import {

/// A page, and where its rows stand.
struct SourcePage
{
    std::shared_ptr<const BFeaturePage> page; ///< never null after Next
    std::size_t firstRow = 0;                 ///< its first row in the layer, from 0
    /// The collection in which rows of the page may stand as objects; null: none does.
    const BFeatureCollection* features = nullptr;
};

/// Gives the pages of a layer in order, each once. One thread at a time.
///
///     for (SourcePage page; pages.Next(page);) {
///         UseRows(*page.page, page.firstRow);
///     }
class ORVANE_IMPORT_EXPORT PageSource
{
public:
    PageSource() = default;
    PageSource(const PageSource&) = delete;
    PageSource& operator=(const PageSource&) = delete;
    virtual ~PageSource();

    /// The next page. @return false after the last one; may wait for a page that is being made
    /// @throws what making or loading the page throws
    [[nodiscard]] virtual bool Next(SourcePage& page) = 0;
};

/// The pages of a layer that is there. Holds one page at a time; the layer must outlive it and must
/// not be changed meanwhile.
class ORVANE_IMPORT_EXPORT LayerPages : public PageSource
{
public:
    explicit LayerPages(const BFeatureCollection& features)
        : m_features(features)
        , m_walk(features)
    {}

    ~LayerPages() override;

    /// @throws as BFeatureCollection::LoadPage
    [[nodiscard]] bool Next(SourcePage& page) override;

private:
    const BFeatureCollection& m_features;
    BRowWalk m_walk;
};

/// Visits all rows in order, as Orvane::VisitRows does with those of a collection.
template <typename OnPageRow, typename OnObject>
void VisitRows(PageSource& pages, OnPageRow&& onPageRow, OnObject&& onObject)
{
    for (SourcePage page; pages.Next(page);) {
        const std::size_t count = page.page->GetRowCount();
        for (std::size_t row = 0; row < count; ++row) {
            const BFeature* const object = page.features != nullptr
                                               ? page.features->GetObjectRow(page.firstRow + row)
                                               : nullptr;
            if (object != nullptr) {
                onObject(*object);
            } else {
                onPageRow(*page.page, row);
            }
        }
    }
}

} // namespace Orvane::Import
