// What all data managers share: options, layers, progress, disk cache.
#include <Orvane/BDataManager.h>

namespace Orvane {

namespace {

constexpr std::uint32_t kDefaultDiskCachePageSize = 1024;

template <typename Box>
Box BoxAround(const BLayers& layers)
{
    Box box;
    for (std::size_t layerIndex = 0; layerIndex < layers.GetCount(); ++layerIndex) {
        if (const BSharedPtr<BVectorLayer>& layer = layers.GetAt(layerIndex)) {
            box.Include(layer->GetMBB());
        }
    }
    return box;
}

} // namespace

BDataManager::BDataManager(const BString& path, const BParamList& params)
    : m_path(path)
    , m_params(params)
{}

BDataManager::~BDataManager() = default;

bool BDataManager::SupportsQuery(const BString& /*query*/)
{
    return false;
}

BParamList BDataManager::GetFilePreview(const BString& /*query*/)
{
    return {};
}

BMBR BDataManager::GetMBR()
{
    return BoxAround<BMBR>(m_layers);
}

BMBB BDataManager::GetMBB()
{
    return BoxAround<BMBB>(m_layers);
}

bool BDataManager::UsingDiskCache()
{
    return m_usesDiskCache;
}

BString BDataManager::GetDiskCacheBaseName()
{
    return m_diskCacheBaseName;
}

std::uint32_t BDataManager::GetDiskCachePageSize()
{
    return m_diskCachePageSize;
}

bool BDataManager::ReportProgress(unsigned done, unsigned total)
{
    if (m_progress == nullptr || !m_progress->ShouldReport(done, total)) {
        return true;
    }
    return m_progress->Report(done, total);
}

void BDataManager::SetDiskCache(bool use, const BString& baseName, std::uint32_t pageSize)
{
    m_usesDiskCache = use;
    m_diskCacheBaseName = baseName;
    m_diskCachePageSize = pageSize == 0 ? kDefaultDiskCachePageSize : pageSize;
}

} // namespace Orvane
