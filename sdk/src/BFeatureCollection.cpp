// The list of features: finds rows in pages, hands them out and keeps the changed ones.
#include "BFeatureValues.h"
#include "BPageFile.h"
#include "PointRanges.h"

#include <Orvane/BException.h>
#include <Orvane/BFeatureAppender.h>
#include <Orvane/BFeatureCollection.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <exception>
#include <limits>
#include <optional>
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

/// Whether a column gives a value of that type back; every column gives back that there is none.
bool Fits(const BColumnInfo& column, const BString& name, EVariantType type)
{
    const bool isFitting = type == EVariantType::None ||
                           (IsStorable(type) && StorageOf(column.type) == StorageOf(type));
    return isFitting && column.name == name;
}

EPointKind KindOf(bool hasPoint, const BPointGeo& point)
{
    if (!hasPoint) {
        return EPointKind::None;
    }
    return point.HasZ() ? EPointKind::XYZ : EPointKind::XY;
}

/// A text as the appender stores it: narrowed in `scratch` when it is ASCII.
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

BFeatureCollection::BFeatureCollection(const BString& diskCacheBaseName, std::size_t pageRows)
    : BFeatureCollection(pageRows)
{
    m_diskCacheBaseName = diskCacheBaseName;
    m_file = std::make_unique<BPageFile>(diskCacheBaseName);
}

BFeatureCollection::~BFeatureCollection()
{
    try {
        ReadHeld(m_count);
    } catch (...) {
        // Rule: a feature whose values cannot be read any more stands free with what was read.
    }
    m_adder.reset();
    Detach(m_count);
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
    const PageEntry& entry = CheckedAt(m_pages, pageIndex);
    return entry.page && !m_file ? *entry.page : *LoadPage(pageIndex);
}

std::shared_ptr<const BFeaturePage> BFeatureCollection::LoadPage(std::size_t pageIndex) const
{
    PageEntry& entry = CheckedAt(m_pages, pageIndex);
    if (!entry.page) {
        MakeRoom(entry.byteCount);
        KeepResident(pageIndex,
                     m_file->Read({entry.offset, entry.byteCount, entry.checksum}, pageIndex));
    }
    entry.lastUse = ++m_clock;
    return entry.page;
}

void BFeatureCollection::CheckRow(std::size_t row) const
{
    CheckSubscript(row < m_handedRows ? m_count : row, m_count);
}

void BFeatureCollection::SetPageConsumer(PageConsumer consumer)
{
    if (m_count > 0) {
        throw BDataManagerException("BFeatureCollection::SetPageConsumer",
                                    "The collection has features already.");
    }
    m_pageConsumer = std::move(consumer);
}

void BFeatureCollection::FlushPages()
{
    if (m_pageConsumer && !m_pages.empty()) {
        m_adder.reset();
        m_pages.back().page->ShrinkToFit();
        HandOverLastPage();
    }
}

void BFeatureCollection::EndLastPage()
{
    if (m_pages.empty()) {
        return;
    }
    if (m_pageConsumer) {
        HandOverLastPage();
    } else if (m_file && m_pages.back().byteCount == 0) {
        WriteLastPage();
    }
}

void BFeatureCollection::HandOverLastPage()
{
    const PageEntry& entry = m_pages.back();
    ReadHeld(m_count);
    BMBB box = m_writtenBox;
    IncludePage(m_pages.size() - 1, *entry.page, box);
    for (const auto& object : m_objects) {
        if (object.first < m_count) {
            box.Include(object.second->GetMBB());
        }
    }
    m_pageConsumer(entry.page, entry.firstRow);
    // The page is the consumer's now: nothing below may fail.
    m_writtenBox = box;
    Detach(m_count);
    m_pages.pop_back();
    m_pageHint = 0;
    m_handedRows = m_count;
    ++m_generation;
}

void BFeatureCollection::WriteLastPage()
{
    const std::size_t pageIndex = m_pages.size() - 1;
    PageEntry& entry = m_pages.back();
    MakeRoom(entry.page->GetByteSize());
    m_residents.reserve(kCachePages);
    const BPagePlace place = m_file->Write(*entry.page, pageIndex);
    entry.offset = place.offset;
    entry.byteCount = place.byteCount;
    entry.checksum = place.checksum;
    entry.lastUse = ++m_clock;
    IncludePage(pageIndex, *entry.page, m_writtenBox);
    KeepResident(pageIndex, entry.page);
}

void BFeatureCollection::MakeRoom(std::size_t byteCount) const
{
    while (!m_residents.empty() &&
           (m_residents.size() >= kCachePages || m_residentBytes + byteCount > kCacheBytes)) {
        const auto oldest = std::min_element(
            m_residents.begin(), m_residents.end(), [this](std::size_t a, std::size_t b) {
                return m_pages[a].lastUse < m_pages[b].lastUse;
            });
        PageEntry& entry = m_pages[*oldest];
        m_residentBytes -= std::min<std::size_t>(m_residentBytes, entry.byteCount);
        entry.page.reset();
        m_residents.erase(oldest);
        ++m_generation;
    }
}

void BFeatureCollection::KeepResident(std::size_t pageIndex,
                                      std::shared_ptr<BFeaturePage> page) const
{
    m_residents.push_back(pageIndex);
    m_pages[pageIndex].page = std::move(page);
    m_residentBytes += m_pages[pageIndex].byteCount;
}

std::size_t BFeatureCollection::GetFirstRow(std::size_t pageIndex) const
{
    return CheckedAt(m_pages, pageIndex).firstRow;
}

const BFeature* BFeatureCollection::GetObjectRow(std::size_t row) const
{
    CheckRow(row);
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
    CheckRow(row);
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
            feature.m_attributeCount = BFeature::kUnknownCount;
            // A visit usually stays on one page: no search is needed there.
            const PageEntry& hint = m_pages[m_pageHint];
            if (hint.page && row - hint.firstRow < hint.page->rowCount) {
                feature.m_page = hint.page.get();
                feature.m_rowInPage = row - hint.firstRow;
                feature.m_generation = m_generation;
                feature.m_attributeCount = hint.page->GetAttributeCount(feature.m_rowInPage);
            }
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
                ready->m_attributeCount = BFeature::kUnknownCount;
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
    if (m_pages[FindPage(feature.m_row)].byteCount > 0) {
        m_isWrittenBoxKnown = false;
    }
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

void BFeatureCollection::ReadHeld(std::size_t endRow)
{
    std::exception_ptr failure;
    const auto read = [&failure, endRow](BFeature& feature) {
        if (feature.m_row >= endRow) {
            return;
        }
        try {
            feature.ReadAll();
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    };
    for (const std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready && ready.use_count() > 1) {
            read(*ready);
        }
    }
    for (const auto& handle : m_handles) {
        read(*handle.second);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void BFeatureCollection::Clear()
{
    ReadHeld(m_count);
    std::unique_ptr<BPageFile> file =
        m_file ? std::make_unique<BPageFile>(m_diskCacheBaseName) : nullptr;
    m_adder.reset();
    Detach(m_count);
    m_pages = {};
    m_residents.clear();
    m_residentBytes = 0;
    m_writtenBox = BMBB();
    m_isWrittenBoxKnown = true;
    m_file = std::move(file);
    m_pageHint = 0;
    m_count = 0;
    m_handedRows = 0;
    m_misfits = 0;
    ++m_generation;
}

void BFeatureCollection::Detach(std::size_t endRow) noexcept
{
    const auto detach = [](BFeature& feature) {
        feature.m_collection = nullptr;
        feature.m_isOwn = true;
        feature.m_attributeCount = BFeature::kUnknownCount;
        feature.m_isListed = false;
        feature.m_isHandle = false;
    };
    for (std::shared_ptr<BFeature>& ready : m_ready) {
        if (ready && ready->m_row < endRow) {
            detach(*ready);
            ready.reset();
        }
    }
    std::erase_if(m_handles, [&detach, endRow](const auto& handle) {
        const bool isBefore = handle.first < endRow;
        if (isBefore) {
            detach(*handle.second);
        }
        return isBefore;
    });
    std::erase_if(m_objects, [&detach, endRow](const auto& object) {
        const bool isBefore = object.first < endRow;
        if (isBefore) {
            detach(*object.second);
        }
        return isBefore;
    });
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
    added.m_attributeCount = BFeature::kUnknownCount;
    added.m_isOwn = !fits;
}

bool BFeatureCollection::PrepareColumns(const BFeature& feature)
{
    const BAttributes& attributes = feature.m_values->attributes;
    const std::size_t count = attributes.GetCount();
    if (!m_adder) {
        const auto columns = m_pages.empty() ? std::make_shared<const std::vector<BColumnInfo>>()
                                             : LoadPage(m_pages.size() - 1)->columns;
        m_adder.reset(new BFeatureAppender(*this, columns, BFeatureAppender::ForCollection()));
    }
    const std::vector<BColumnInfo>& columns = *m_adder->m_columns;
    bool isStorable = true;
    bool isPrefix = true;
    bool hasNulls = false;
    for (std::size_t i = 0; i < count; ++i) {
        const EVariantType type = attributes.GetValueAt(i).GetType();
        const bool isNull = type == EVariantType::None;
        // No value says which type a new column should have.
        isStorable = isStorable && (isNull ? i < columns.size() : IsStorable(type));
        hasNulls = hasNulls || isNull;
        isPrefix =
            isPrefix && (i >= columns.size() || Fits(columns[i], attributes.GetNameAt(i), type));
    }
    if (isStorable && !hasNulls && !isPrefix &&
        (m_adder->m_page->rowCount == 0 || m_misfits >= kMaxMisfits)) {
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
    m_adder->BeginRow(count);
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
        if (value.IsEmpty()) {
            adder.AddNull();
            continue;
        }
        VisitStorage(StorageOf(value.GetType()), [this, &adder, &value](auto kind) {
            if constexpr (kind.kIsText) {
                const BString string = value.GetString();
                const StoredText text(string, m_scratch);
                adder.AddText(text.bytes, text.encoding);
            } else {
                adder.AddValue(kind, kind.Convert(value));
            }
        });
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
        VisitStorage(column.storage, [&adder](auto kind) {
            if constexpr (kind.kIsText) {
                adder.AddText({}, ETextEncoding::Ascii);
            } else {
                adder.AddValue(kind, {});
            }
        });
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

namespace {

/// Widens the box by all points of a page at once.
/// @return false when each must be looked at by itself
bool IncludeAll(const BFeaturePage& page, std::size_t count, BMBB& box)
{
    if (!page.pointKinds.IsEmpty() || page.uniformPointKind == EPointKind::None) {
        return false;
    }
    const bool hasZ = page.uniformPointKind == EPointKind::XYZ;
    const std::optional<PointRanges> ranges =
        FindRanges(page.x.Data(), page.y.Data(), hasZ ? page.z.Data() : nullptr, count);
    if (!ranges) {
        return false;
    }
    const auto& [x, y, z] = *ranges;
    if (hasZ) {
        box.Include(x.lowest, y.lowest, z.lowest);
        box.Include(x.highest, y.highest, z.highest);
    } else {
        box.Include(x.lowest, y.lowest);
        box.Include(x.highest, y.highest);
    }
    return true;
}

} // namespace

void BFeatureCollection::IncludePage(std::size_t pageIndex,
                                     const BFeaturePage& page,
                                     BMBB& box) const
{
    const std::size_t firstRow = m_pages[pageIndex].firstRow;
    const bool hasObjects = !m_objects.empty();
    if (!hasObjects && IncludeAll(page, page.rowCount, box)) {
        return;
    }
    for (std::size_t rowInPage = 0; rowInPage < page.rowCount; ++rowInPage) {
        if (hasObjects && m_objects.find(firstRow + rowInPage) != m_objects.end()) {
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

BMBB BFeatureCollection::GetMBB() const
{
    if (!m_isWrittenBoxKnown) {
        BMBB written;
        for (std::size_t i = 0; i < m_pages.size() && m_pages[i].byteCount > 0; ++i) {
            IncludePage(i, GetPage(i), written);
        }
        m_writtenBox = written;
        m_isWrittenBoxKnown = true;
    }
    BMBB box = m_writtenBox;
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (m_pages[i].byteCount == 0) {
            IncludePage(i, *m_pages[i].page, box);
        }
    }
    for (const auto& object : m_objects) {
        box.Include(object.second->GetMBB());
    }
    return box;
}

std::size_t BFeatureCollection::GetByteSize() const
{
    constexpr std::size_t kBytesOfAnAttribute = 64;
    std::size_t size = sizeof *this + m_pages.capacity() * sizeof(PageEntry) +
                       (m_file ? m_file->GetByteSize() : 0);
    for (const PageEntry& entry : m_pages) {
        size += entry.page ? entry.page->GetByteSize() : 0;
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
