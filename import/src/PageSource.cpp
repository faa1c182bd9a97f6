// Pages of a layer by its walk.
#include <Orvane/Import/PageSource.h>

namespace Orvane::Import {

PageSource::~PageSource() = default;

LayerPages::~LayerPages() = default;

bool LayerPages::Next(SourcePage& page)
{
    page.page.reset();
    if (!m_walk.NextPage()) {
        return false;
    }
    page.page = m_walk.SharePage();
    page.firstRow = m_walk.GetFirstRow();
    page.features = m_walk.MayHaveObjects() ? &m_features : nullptr;
    return true;
}

} // namespace Orvane::Import
