// The list of features: finds rows in pages, hands them out and keeps the changed ones.
#include "BFeatureValues.h"

#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <typeinfo>
#include <utility>

namespace Orvane {

namespace {

bool IsSame(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool IsSame(const BMBB& a, const BMBB& b)
{
    return IsSame(a.minX, b.minX) && IsSame(a.minY, b.minY) && IsSame(a.maxX, b.maxX) &&
           IsSame(a.maxY, b.maxY) && IsSame(a.minZ, b.minZ) && IsSame(a.maxZ, b.maxZ);
}

/// Whether a column of the value's own type gives the value back.
bool IsStorable(EVariantType type)
{
    return type == EVariantType::String || StorageOf(type) != EColumnStorage::Text;
}

/// Whether a column gives a value of that type back.
bool Fits(const BColumnInfo& column, const BString& name, EVariantType type)
{
    return IsStorable(type) && StorageOf(column.type) == StorageOf(type) && column.name == name;
}

EPointKind KindOf(bool hasPoint, const BPointGeo& point)
{
    if (!hasPoint) {
        return EPointKind::None;
    }
    return point.HasZ() ? EPointKind::XYZ : EPointKind::XY;
}

/// A text as the appender takes it: narrowed in `scratch` when it is ASCII.
struct StoredText
{
    StoredText(const BString& text, std::string& scratch)
    {
        const std::u16string_view units = text.View();
        char16_t all = 0;
        for (const char16_t unit : units) {
            all = static_cast<char16_t>(all | unit);
        }
        if (all < 0x80) {
            scratch.resize(units.size());
            std::transform(units.begin(), units.end(), scratch.begin(), [](char16_t unit) {
                return static_cast<char>(unit);
            });
            bytes = scratch;
            encoding = ETextEncoding::Ascii;
        } else {
            bytes = {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
        }
    }

    std::string_view bytes;
    ETextEncoding encoding = ETextEncoding::Utf16;
};

/// Without ownership, for features whose owner is not a shared pointer.
std::shared_ptr<BFeature> Borrowed(BFeature& feature)
{
    return {&feature, [](BFeature*) {}};
}

} // namespace

BFeatureCollection::BFeatureCollection(std::size_t pageRows)
    : m_pageRows(std::clamp<std::size_t>(pageRows, 1, std::numeric_limits<std::uint32_t>::max()))
{}

BFeatureCollection::~BFeatureCollection()
{
    try {
        Clear();
    } catch (...) {
        // Rule: features whose values can't be read any more stand free with what was read.
        DetachAll();
    }
}

std::size_t BFeatureCollection::FindPage(std::size_t row) const
{
    const auto endOf = [this](std::size_t pageIndex) {
        return pageIndex + 1 < m_pages.size() ? m_pages[pageIndex + 1].firstRow : m_count;
    };
    for (std::size_t i = m_pageHint; i < m_pages.size() && i < m_pageHint + 2; ++i) {
        if (row >= m_pages[i].firstRow && row < endOf(i)) {
            m_pageHint = i;
            return i;
        }
    }
    const auto next = std::upper_bound(
        m_pages.begin(), m_pages.end(), row, [](std::size_t wanted, const PageEntry& entry) {
            return wanted < entry.firstRow;
        });
    m_pageHint = static_cast<std::size_t>(next - m_pages.begin()) - 1;
    return m_pageHint;
}

const BFeaturePage& BFeatureCollection::GetPage(std::size_t pageIndex) const
{
    return *CheckedAt(m_pages, pageIndex).page;
}

std::size_t BFeatureCollection::GetFirstRow(std::size_t pageIndex) const
{
    return CheckedAt(m_pages, pageIndex).firstRow;
}

const BFeature* BFeatureCollection::GetObjectRow(std::size_t row) const
{
    CheckSubscript(row, m_count);
    if (m_objects.empty()) {
        return nullptr;
    }
    const auto found = m_objects.find(row);
    return found == m_objects.end() ? nullptr : found->second.get();
}

void BFeatureCollection::Bind(const BFeature& feature) const
{
    const std::size_t pageIndex = FindPage(feature.m_row);
    feature.m_page = &GetPage(pageIndex);
    feature.m_rowInPage = feature.m_row - m_pages[pageIndex].firstRow;
    feature.m_generation = m_generation;
}

BSharedPtr<BFeature> BFeatureCollection::GetAt(std::size_t row)
{
    CheckSubscript(row, m_count);
    std::shared_ptr<BFeature> feature = FindHandle(row);
    return feature ? std::move(feature) : MakeHandle(row);
}

std::shared_ptr<BFeature> BFeatureCollection::FindHandle(std::size_t row)
{
    for (const std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready && ready->m_row == row) {
            return ready;
        }
    }
    if (!m_objects.empty()) {
        const auto found = m_objects.find(row);
        if (found != m_objects.end()) {
            return found->second;
        }
    }
    if (!m_handles.empty()) {
        const auto found = m_handles.find(row);
        if (found != m_handles.end()) {
            std::shared_ptr<BFeature> feature = found->second->weak_from_this().lock();
            return feature ? feature : Borrowed(*found->second);
        }
    }
    return nullptr;
}

std::shared_ptr<BFeature> BFeatureCollection::MakeHandle(std::size_t row)
{
    for (std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready && ready->m_isHandle && ready.use_count() == 1) {
            BFeature& feature = *ready;
            feature.m_row = row;
            feature.m_generation = 0;
            if (feature.m_values) {
                feature.m_values->isPointRead = false;
                feature.m_values->areAttributesRead = false;
            }
            return ready;
        }
    }
    std::shared_ptr<BFeature> feature(new BFeature(*this, row));
    List(feature);
    return feature;
}

void BFeatureCollection::List(const std::shared_ptr<BFeature>& feature)
{
    for (std::shared_ptr<BFeature>& ready : m_ready) {
        if (!ready || ready.use_count() == 1) {
            if (ready) {
                ready->m_collection = nullptr;
                ready->m_isOwn = true;
            }
            ready = feature;
            return;
        }
    }
    std::shared_ptr<BFeature>& oldest = m_ready[m_nextReady];
    m_handles.emplace(oldest->m_row, oldest.get());
    oldest->m_isListed = true;
    oldest = feature;
    m_nextReady = (m_nextReady + 1) % kReadyHandles;
}

void BFeatureCollection::Unlist(BFeature& feature) noexcept
{
    if (feature.m_isListed) {
        m_handles.erase(feature.m_row);
        feature.m_isListed = false;
    }
    for (std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready.get() == &feature) {
            ready.reset();
        }
    }
}

void BFeatureCollection::KeepObject(BFeature& feature)
{
    std::shared_ptr<BFeature> object = feature.weak_from_this().lock();
    m_objects.emplace(feature.m_row, object ? std::move(object) : Borrowed(feature));
    Unlist(feature);
}

void BFeatureCollection::Forget(BFeature& feature) noexcept
{
    Unlist(feature);
    const auto found = m_objects.find(feature.m_row);
    if (found != m_objects.end() && found->second.get() == &feature) {
        m_objects.erase(found);
    }
}

void BFeatureCollection::Clear()
{
    for (const std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready && ready.use_count() > 1) {
            ready->ReadAll();
        }
    }
    for (const auto& handle : m_handles) {
        handle.second->ReadAll();
    }
    m_adder.reset();
    DetachAll();
    m_pages.clear();
    m_pages.shrink_to_fit();
    m_pageHint = 0;
    m_count = 0;
    m_misfits = 0;
    ++m_generation;
}

void BFeatureCollection::DetachAll() noexcept
{
    const auto detach = [](BFeature& feature) {
        feature.m_collection = nullptr;
        feature.m_isOwn = true;
        feature.m_isListed = false;
        feature.m_isHandle = false;
    };
    for (std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready) {
            detach(*ready);
            ready.reset();
        }
    }
    for (const auto& handle : m_handles) {
        detach(*handle.second);
    }
    m_handles.clear();
    for (const auto& object : m_objects) {
        detach(*object.second);
    }
    m_objects.clear();
}

void BFeatureCollection::Add(const BSharedPtr<BFeature>& feature)
{
    if (!feature) {
        throw BDataManagerException("BFeatureCollection::Add", "There is no feature to add.");
    }
    if (feature->IsAttached()) {
        throw BDataManagerException("BFeatureCollection::Add",
                                    "The feature belongs to a layer already.");
    }
    BFeature& added = *feature;
    added.Any();
    const bool fits = PrepareColumns(added) && FitsRow(added);
    const std::size_t row = m_count;
    added.m_row = row;
    if (!fits) {
        m_objects.emplace(row, feature.Share());
    } else if (feature.IsOwner()) {
        List(feature.Share());
    } else {
        m_handles.emplace(row, feature.Get());
        added.m_isListed = true;
    }
    try {
        if (fits) {
            AppendValues(added);
        } else {
            AppendPlaceholder(added);
        }
    } catch (...) {
        m_adder->AbandonRow();
        Unlist(added);
        m_objects.erase(row);
        throw;
    }
    added.m_values->isPointRead = true;
    added.m_values->areAttributesRead = true;
    added.m_collection = this;
    added.m_generation = 0;
    added.m_isOwn = !fits;
}

bool BFeatureCollection::PrepareColumns(const BFeature& feature)
{
    const BAttributes& attributes = feature.m_values->attributes;
    const std::size_t count = attributes.GetCount();
    if (!m_adder) {
        const auto columns = m_pages.empty() ? std::make_shared<const std::vector<BColumnInfo>>()
                                             : m_pages.back().page->columns;
        m_adder.reset(new BFeatureAppender(*this, columns, BFeatureAppender::ForCollection()));
    }
    const std::vector<BColumnInfo>& columns = *m_adder->m_columns;
    bool isStorable = true;
    bool isPrefix = true;
    for (std::size_t i = 0; i < count; ++i) {
        const EVariantType type = attributes.GetValueAt(i).GetType();
        isStorable = isStorable && IsStorable(type);
        isPrefix =
            isPrefix && (i >= columns.size() || Fits(columns[i], attributes.GetNameAt(i), type));
    }
    if (isStorable && !isPrefix && (m_adder->m_page->rowCount == 0 || m_misfits >= kMaxMisfits)) {
        const auto none = std::make_shared<const std::vector<BColumnInfo>>();
        m_adder.reset(new BFeatureAppender(*this, none, BFeatureAppender::ForCollection()));
        isPrefix = m_adder->m_page->rowCount == 0;
    }
    if (!isStorable || !isPrefix) {
        ++m_misfits;
        return false;
    }
    for (std::size_t i = m_adder->GetColumnCount(); i < count; ++i) {
        m_adder->AddColumn({attributes.GetNameAt(i), attributes.GetValueAt(i).GetType()});
    }
    m_misfits = 0;
    return true;
}

bool BFeatureCollection::FitsRow(const BFeature& feature)
{
    const BFeature::Values& values = *feature.m_values;
    const BMBB box = values.hasPoint ? values.point.GetMBB() : BMBB();
    return typeid(feature) == typeid(BFeature) && !values.geometry && IsSame(values.box, box);
}

void BFeatureCollection::AppendValues(const BFeature& feature)
{
    const BFeature::Values& values = *feature.m_values;
    BFeatureAppender& adder = *m_adder;
    for (std::size_t i = 0; i < values.attributes.GetCount(); ++i) {
        const BVariant& value = values.attributes.GetValueAt(i);
        switch (value.GetType()) {
        case EVariantType::Int32:
            adder.AddInt32(value.GetInteger());
            break;
        case EVariantType::Int64:
            adder.AddInt64(value.GetInt64());
            break;
        case EVariantType::Double:
            adder.AddDouble(value.GetDouble());
            break;
        case EVariantType::Float:
            adder.AddFloat(value.GetFloat());
            break;
        case EVariantType::Boolean:
            adder.AddBoolean(value.GetBoolean());
            break;
        default: {
            const BString string = value.GetString();
            const StoredText text(string, m_scratch);
            adder.AddText(text.bytes, text.encoding);
            break;
        }
        }
    }
    const StoredText name(values.name, m_scratch);
    adder.EndRow(KindOf(values.hasPoint, values.point),
                 values.point.GetX(),
                 values.point.GetY(),
                 values.point.GetZ(),
                 name.bytes,
                 name.encoding);
}

void BFeatureCollection::AppendPlaceholder(const BFeature& feature)
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    BFeatureAppender& adder = *m_adder;
    const BFeaturePage& page = *adder.m_page;
    for (const BColumnData& column : page.data) {
        switch (column.storage) {
        case EColumnStorage::Int32:
            adder.AddInt32(0);
            break;
        case EColumnStorage::Int64:
            adder.AddInt64(0);
            break;
        case EColumnStorage::Double:
            adder.AddDouble(0);
            break;
        case EColumnStorage::Float:
            adder.AddFloat(0);
            break;
        case EColumnStorage::Boolean:
            adder.AddBoolean(false);
            break;
        case EColumnStorage::Text:
            adder.AddText({}, ETextEncoding::Ascii);
            break;
        }
    }
    // The page's usual kind and the next number keep a page of regular rows regular.
    const BFeature::Values& values = *feature.m_values;
    const EPointKind kind =
        page.rowCount == 0 ? KindOf(values.hasPoint, values.point) : page.uniformPointKind;
    if (page.hasNameTexts) {
        adder.EndRow(kind, kNaN, kNaN, kNaN, std::string_view(), ETextEncoding::Ascii);
    } else {
        const std::uint64_t next = adder.m_nextNameNumber;
        const bool hasNext = next <= std::numeric_limits<std::uint32_t>::max();
        adder.EndRow(
            kind, kNaN, kNaN, kNaN, hasNext ? static_cast<std::uint32_t>(next) : std::uint32_t{0});
    }
}

BMBB BFeatureCollection::GetMBB() const
{
    BMBB box;
    std::vector<std::size_t> objectRows;
    objectRows.reserve(m_objects.size());
    for (const auto& object : m_objects) {
        objectRows.push_back(object.first);
        box.Include(object.second->GetMBB());
    }
    std::sort(objectRows.begin(), objectRows.end());
    auto nextObject = objectRows.cbegin();
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        const BFeaturePage& page = GetPage(i);
        for (std::size_t rowInPage = 0; rowInPage < page.rowCount; ++rowInPage) {
            if (nextObject != objectRows.cend() && *nextObject == m_pages[i].firstRow + rowInPage) {
                ++nextObject;
                continue;
            }
            switch (page.GetPointKind(rowInPage)) {
            case EPointKind::None:
                break;
            case EPointKind::XY:
                box.Include(page.x[rowInPage], page.y[rowInPage]);
                break;
            case EPointKind::XYZ:
                box.Include(page.x[rowInPage], page.y[rowInPage], page.z[rowInPage]);
                break;
            }
        }
    }
    return box;
}

std::size_t BFeatureCollection::GetByteSize() const
{
    constexpr std::size_t kBytesOfAnAttribute = 64;
    std::size_t size = sizeof *this + m_pages.capacity() * sizeof(PageEntry);
    for (const PageEntry& entry : m_pages) {
        size += entry.page->GetByteSize();
    }
    for (const auto& object : m_objects) {
        size += sizeof(BFeature) + sizeof(BFeature::Values) +
                object.second->GetAttributeCount() * kBytesOfAnAttribute;
    }
    return size;
}

void BFeatureCollection::ShrinkToFit()
{
    m_adder.reset();
    if (!m_pages.empty()) {
        m_pages.back().page->ShrinkToFit();
    }
}

} // namespace Orvane
