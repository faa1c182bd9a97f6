// Appends rows to pages of columns: the slow path after the inlined one.
#include <Orvane/BFeatureAppender.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>

namespace Orvane {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Placeholders in rows that lack columns are accepted up to this many, up to this many for each
/// column, since a column of another page costs memory too, and up to this many for each value.
constexpr std::size_t kMaxPlaceholders = 8192;
constexpr std::size_t kPlaceholdersOfAColumn = 16;
constexpr std::size_t kPlaceholdersOfAValue = 4;

constexpr std::size_t CountPlaceholdersOfAPage(std::size_t columns)
{
    return std::max(kMaxPlaceholders, kPlaceholdersOfAColumn * columns);
}

/// A page ends early when one of its columns has this many bytes of text.
constexpr std::size_t kFullTextBytes = std::size_t{256} << 20;

/// A page that is to go to disk ends early when its values need this many bytes of memory.
constexpr std::size_t kFullDiskPageBytes = std::size_t{16} << 20;

/// Memory of the columns of a page while they are empty.
std::size_t CountBytesOfColumns(const BFeaturePage& page) noexcept
{
    return page.data.capacity() * sizeof(BColumnData);
}

/// With very many columns the values may need twice what the columns do: else pages would hold a
/// row or two and consist of columns.
std::size_t CountBytesOfADiskPage(const BFeaturePage& page) noexcept
{
    return std::max(kFullDiskPageBytes, 2 * CountBytesOfColumns(page));
}

constexpr std::size_t kMaxNumberDigits = 10;

using NumberText = std::array<char, kMaxNumberDigits>;

std::string_view WriteNumber(std::uint32_t number, NumberText& buffer)
{
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())};
}

/// Reads "0" or digits without a leading zero, up to the largest 32-bit number.
bool ReadCanonicalNumber(std::string_view bytes, std::uint32_t& number)
{
    if (bytes.empty() || bytes.size() > kMaxNumberDigits || (bytes[0] == '0' && bytes.size() > 1)) {
        return false;
    }
    std::uint64_t value = 0;
    for (const char byte : bytes) {
        if (byte < '0' || byte > '9') {
            return false;
        }
        value = value * 10 + static_cast<std::uint64_t>(byte - '0');
    }
    number = static_cast<std::uint32_t>(value);
    return value <= std::numeric_limits<std::uint32_t>::max();
}

/// The array that has one entry per row: the values, or where each text ends.
template <typename T>
BPageArray<T>& RowsOf(BPageArray<T>& values) noexcept
{
    return values;
}

BPageArray<std::uint32_t>& RowsOf(BTextArray& texts) noexcept
{
    return texts.ends;
}

template <typename T>
void FillRows(BPageArray<T>& values, std::size_t count)
{
    values.Resize(count, T());
}

void FillRows(BTextArray& texts, std::size_t count)
{
    texts.ends.Resize(count, static_cast<std::uint32_t>(texts.bytes.GetSize()));
}

/// Fills a column with 0 or empty texts up to `count` rows.
void FillColumn(BColumnData& column, std::size_t count)
{
    VisitColumn(column, [count](auto& array) { FillRows(array, count); });
}

void ReserveTexts(BTextArray& texts, const BTextArray& like)
{
    constexpr std::size_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();
    const std::size_t used = like.bytes.GetSize();
    texts.bytes.Reserve(std::min(used + used / 16, kMaxBytes));
    texts.ends.Reserve(like.ends.GetSize());
}

void ReserveColumn(BColumnData& column, std::size_t rows)
{
    VisitColumn(column, [rows](auto& array) { RowsOf(array).Reserve(rows); });
}

/// Reserves what a page that was filled before has used. @param rows of that page
void ReserveLike(BFeaturePage& page, const BFeaturePage& like, std::size_t rows)
{
    page.x.Reserve(rows);
    page.y.Reserve(rows);
    page.z.Reserve(like.z.GetSize());
    if (like.hasNameTexts) {
        ReserveTexts(page.nameTexts, like.nameTexts);
    }
    for (std::size_t i = 0; i < page.data.size(); ++i) {
        BColumnData& column = page.data[i];
        ReserveColumn(column, rows);
        if (i < like.data.size()) {
            column.validity.Reserve(like.data[i].validity.GetSize());
            if (column.storage == EColumnStorage::Text &&
                like.data[i].storage == EColumnStorage::Text) {
                ReserveTexts(column.texts, like.data[i].texts);
            }
        }
    }
}

template <typename T>
constexpr std::size_t WidthOf(const BPageArray<T>& /*values*/) noexcept
{
    return sizeof(T);
}

constexpr std::size_t WidthOf(const BTextArray& /*texts*/) noexcept
{
    return sizeof(std::uint32_t);
}

/// Bytes of a row without its texts.
std::size_t RowWidth(const BFeaturePage& page) noexcept
{
    std::size_t width = 3 * sizeof(double);
    for (const BColumnData& column : page.data) {
        width += VisitColumn(column, [](const auto& array) { return WidthOf(array); });
    }
    return width;
}

std::shared_ptr<BFeaturePage>
MakePage(const std::shared_ptr<const std::vector<BColumnInfo>>& columns)
{
    auto page = std::make_shared<BFeaturePage>();
    page->columns = columns;
    page->data.resize(columns->size());
    for (std::size_t i = 0; i < columns->size(); ++i) {
        page->data[i].storage = StorageOf((*columns)[i].type);
    }
    return page;
}

} // namespace

BFeatureAppender::BFeatureAppender(BFeatureCollection& features, std::vector<BColumnInfo> columns)
    : BFeatureAppender(features,
                       std::make_shared<const std::vector<BColumnInfo>>(std::move(columns)),
                       ForCollection())
{
    features.m_adder.reset();
}

BFeatureAppender::BFeatureAppender(BFeatureCollection& features,
                                   std::shared_ptr<const std::vector<BColumnInfo>> columns,
                                   ForCollection /*tag*/)
    : m_features(features)
    , m_columns(std::move(columns))
{
    const bool hasOpenPage = !features.m_pages.empty() && features.m_pages.back().byteCount == 0;
    BFeaturePage* last = hasOpenPage ? features.m_pages.back().page.get() : nullptr;
    if (last != nullptr && last->rowCount < features.m_pageRows && *last->columns == *m_columns) {
        UsePage(*last);
    } else {
        m_newPage = MakePage(m_columns);
        UsePage(*m_newPage);
    }
}

BFeatureAppender::~BFeatureAppender()
{
    AbandonRow();
}

void BFeatureAppender::UsePage(BFeaturePage& page) noexcept
{
    m_page = &page;
    m_columnData = page.data.data();
    m_columnCount = page.data.size();
    m_nextColumn = 0;
    m_isPageFull = false;
    m_isPrepared = false;
    m_hasGrown = false;
    m_begunEnd = 0;
    m_values = 0;
    m_placeholders = 0;
    m_prefaulted.clear();
    UpdateRowLimit();
    UpdatePlain();
}

void BFeatureAppender::UpdateRowLimit() noexcept
{
    m_rowLimit = m_features.m_pageRows;
    if (m_features.m_file) {
        const std::size_t rows = CountBytesOfADiskPage(*m_page) / 2 / RowWidth(*m_page);
        m_rowLimit = std::clamp<std::size_t>(rows, 1, m_rowLimit);
    }
}

void BFeatureAppender::UpdatePlain() noexcept
{
    const bool isPlain = m_page->rowCount > 0 && m_page->pointKinds.IsEmpty() &&
                         m_page->attributeCounts.IsEmpty() && !m_isPageFull;
    m_plainKind = m_page->uniformPointKind;
    m_plainRows = isPlain ? m_rowLimit - 1 : 0;
    m_hasNameTexts = m_page->hasNameTexts;
    m_nextNameNumber = kNoNumber;
    if (!m_hasNameTexts && !m_page->nameRuns.empty()) {
        const BNameRun& run = m_page->nameRuns.back();
        m_nextNameNumber =
            std::uint64_t{run.firstNumber} + (m_page->rowCount - std::size_t{run.rowInPage});
    }
}

void BFeatureAppender::AddColumn(const BColumnInfo& column)
{
    AddColumns({&column, 1});
}

void BFeatureAppender::AddColumns(std::span<const BColumnInfo> added)
{
    auto columns = std::make_shared<std::vector<BColumnInfo>>();
    columns->reserve(m_columns->size() + added.size());
    *columns = *m_columns;
    columns->insert(columns->end(), added.begin(), added.end());
    WidenPage(columns);
    m_columns = std::move(columns);
}

void BFeatureAppender::BeginRow(std::size_t valueCount)
{
    if (valueCount > m_columnCount) {
        WidenPage(GetFirstColumns(valueCount));
    } else {
        m_placeholders += m_columnCount - valueCount;
        if (m_placeholders > CountPlaceholdersOfAPage(m_columnCount) &&
            m_placeholders > m_values * kPlaceholdersOfAValue && m_page->rowCount > 0) {
            BeginPage(GetFirstColumns(valueCount));
        }
    }
    m_values += valueCount;
}

std::shared_ptr<const std::vector<BColumnInfo>>
BFeatureAppender::GetFirstColumns(std::size_t count) const
{
    if (count >= m_columns->size()) {
        return m_columns;
    }
    return std::make_shared<const std::vector<BColumnInfo>>(
        m_columns->begin(), m_columns->begin() + static_cast<std::ptrdiff_t>(count));
}

void BFeatureAppender::BeginPage(const std::shared_ptr<const std::vector<BColumnInfo>>& columns)
{
    std::shared_ptr<BFeaturePage> page = MakePage(columns);
    m_page->ShrinkToFit();
    m_newPage = std::move(page);
    UsePage(*m_newPage);
}

/// @param columns those of the page, and more after them
void BFeatureAppender::WidenPage(const std::shared_ptr<const std::vector<BColumnInfo>>& columns)
{
    const std::size_t count = columns->size();
    const std::size_t rows = m_page->rowCount;
    if (m_nextColumn == 0 && rows > 0 &&
        rows * (count - m_columnCount) > CountPlaceholdersOfAPage(count)) {
        BeginPage(columns);
        return;
    }
    std::vector<BColumnData> data(count - m_columnCount);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i].storage = StorageOf((*columns)[m_columnCount + i].type);
        FillColumn(data[i], rows);
    }
    m_page->data.reserve(count);
    m_columnData = m_page->data.data();
    if (rows > 0 && m_page->attributeCounts.IsEmpty()) {
        m_page->attributeCounts.Resize(rows, static_cast<std::uint32_t>(m_columnCount));
    }
    m_placeholders += rows * data.size();
    std::move(data.begin(), data.end(), std::back_inserter(m_page->data));
    m_page->columns = columns;
    m_columnCount = count;
    UpdateRowLimit();
    UpdatePlain();
}

bool BFeatureAppender::IsFull() const noexcept
{
    return m_features.m_file &&
           m_page->GetByteSize() > CountBytesOfColumns(*m_page) + CountBytesOfADiskPage(*m_page);
}

void BFeatureAppender::GrowText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding)
{
    AppendText(texts, bytes, encoding);
    m_isPageFull = m_isPageFull || texts.bytes.GetSize() > kFullTextBytes;
    // The page's size, a sum over all columns, is checked once, when the row ends.
    m_hasGrown = m_hasGrown || m_features.m_file != nullptr;
    if (m_isPageFull || m_hasGrown) {
        m_plainRows = 0;
    }
}

void BFeatureAppender::EndIrregularRow(
    EPointKind kind, double x, double y, double z, std::uint32_t nameNumber)
{
    FillRow();
    AppendIrregularPoint(kind, x, y, z);
    if (m_page->hasNameTexts) {
        NumberText buffer;
        GrowText(m_page->nameTexts, WriteNumber(nameNumber, buffer), ETextEncoding::Ascii);
    } else if (nameNumber != m_nextNameNumber) {
        m_page->nameRuns.push_back({static_cast<std::uint32_t>(m_page->rowCount), nameNumber});
    }
    FinishIrregularRow();
}

void BFeatureAppender::EndIrregularRow(EPointKind kind,
                                       double x,
                                       double y,
                                       double z,
                                       std::string_view nameBytes,
                                       ETextEncoding nameEncoding)
{
    std::uint32_t nameNumber = 0;
    if (!m_page->hasNameTexts && nameEncoding != ETextEncoding::Utf16 &&
        ReadCanonicalNumber(nameBytes, nameNumber)) {
        EndRow(kind, x, y, z, nameNumber);
        return;
    }
    FillRow();
    AppendIrregularPoint(kind, x, y, z);
    if (!m_page->hasNameTexts) {
        SwitchToNameTexts();
    }
    GrowText(m_page->nameTexts, nameBytes, nameEncoding);
    FinishIrregularRow();
}

void BFeatureAppender::FillRow()
{
    const std::size_t rows = m_page->rowCount;
    BPageArray<std::uint32_t>& counts = m_page->attributeCounts;
    if (m_nextColumn < m_columnCount || !counts.IsEmpty()) {
        counts.Resize(rows, static_cast<std::uint32_t>(m_columnCount));
        counts.Append(static_cast<std::uint32_t>(m_nextColumn));
    }
    for (std::size_t i = m_nextColumn; i < m_columnCount; ++i) {
        FillColumn(m_columnData[i], rows + 1);
    }
}

void BFeatureAppender::AppendIrregularPoint(EPointKind kind, double x, double y, double z)
{
    const std::size_t rows = m_page->rowCount;
    if (rows == 0) {
        m_page->uniformPointKind = kind;
    } else if (kind != m_page->uniformPointKind || !m_page->pointKinds.IsEmpty()) {
        m_page->pointKinds.Resize(rows, static_cast<std::uint8_t>(m_page->uniformPointKind));
        m_page->pointKinds.Append(static_cast<std::uint8_t>(kind));
    }
    m_page->x.Append(kind == EPointKind::None ? kNaN : x);
    m_page->y.Append(kind == EPointKind::None ? kNaN : y);
    if (kind == EPointKind::XYZ || !m_page->z.IsEmpty()) {
        m_page->z.Resize(rows, kNaN);
        m_page->z.Append(kind == EPointKind::XYZ ? z : kNaN);
    }
}

void BFeatureAppender::SwitchToNameTexts()
{
    BTextArray texts;
    NumberText buffer;
    for (std::size_t i = 0; i < m_page->rowCount; ++i) {
        AppendText(texts, WriteNumber(m_page->GetNameNumber(i), buffer), ETextEncoding::Ascii);
    }
    m_page->nameTexts = std::move(texts);
    m_page->nameRuns = {};
    m_page->hasNameTexts = true;
}

void BFeatureAppender::FinishIrregularRow(std::size_t rows)
{
    if (m_hasGrown) {
        m_isPageFull = m_isPageFull || IsFull();
        m_hasGrown = false;
    }
    // Everything that can fail comes before the rows are counted. Rows that were begun and not
    // ended yet keep their page.
    const std::size_t end = m_page->rowCount + rows;
    const bool isLast = end >= m_begunEnd && (m_isPageFull || end >= m_rowLimit);
    std::shared_ptr<BFeaturePage> nextPage;
    const bool isPrepared = m_preparedPage != nullptr && m_preparedPage->columns == m_page->columns;
    if (isLast && isPrepared) {
        nextPage = std::move(m_preparedPage);
    } else if (isLast) {
        nextPage = MakePage(m_page->columns);
        ReserveLike(*nextPage, *m_page, end);
    }
    if (m_page->rowCount == 0) {
        m_features.EndLastPage();
        m_features.m_pages.emplace_back();
        m_features.m_pages.back().firstRow = m_features.m_count;
        m_features.m_pages.back().page = std::move(m_newPage);
    }
    m_page->rowCount += rows;
    m_features.m_count += rows;
    m_nextColumn = 0;
    if (isLast) {
        m_page->ShrinkToFit();
        m_newPage = std::move(nextPage);
        UsePage(*m_newPage);
        m_isPrepared = isPrepared;
    } else {
        UpdatePlain();
    }
}

void BFeatureAppender::AbandonRow() noexcept
{
    const std::size_t rows = m_page->rowCount;
    for (BColumnData& column : m_page->data) {
        VisitColumn(column, [rows](auto& array) { array.Truncate(rows); });
        column.TruncateValidity(rows);
    }
    m_page->x.Truncate(rows);
    m_page->y.Truncate(rows);
    m_page->z.Truncate(rows);
    m_page->pointKinds.Truncate(rows);
    m_page->attributeCounts.Truncate(rows);
    if (m_page->hasNameTexts) {
        m_page->nameTexts.Truncate(rows);
    }
    while (!m_page->nameRuns.empty() && m_page->nameRuns.back().rowInPage >= rows) {
        m_page->nameRuns.pop_back();
    }
    m_nextColumn = 0;
    m_begunEnd = 0;
    UpdatePlain();
}

namespace {

/// Bytes that are prefaulted ahead of their use, over all columns of a page.
constexpr std::size_t kPrefaultBytes = std::size_t{1} << 19;

/// Lengthens the columns of a page, and prefaults the memory that they are about to use.
class ColumnGrowth
{
public:
    /// @param isPrepared another has prefaulted what is reserved, or is about to
    ColumnGrowth(std::vector<std::size_t>& prefaulted, std::size_t columns, bool isPrepared)
        : m_prefaulted(prefaulted)
        , m_step(isPrepared ? 0 : kPrefaultBytes / (3 + columns))
    {
        // Positions have three, texts two.
        m_prefaulted.resize(3 + 2 * columns);
    }

    template <typename T>
    T* Lengthen(BPageArray<T>& array, std::size_t first, std::size_t count)
    {
        array.ReserveMore(count);
        array.Resize(first + count);
        Prefault(array, first + count);
        return array.Data() + first;
    }

    void LengthenColumn(BColumnData& column, std::size_t first, std::size_t count)
    {
        VisitColumn(column, [this, first, count](auto& array) {
            if constexpr (std::is_same_v<decltype(array), BTextArray&>) {
                array.ends.ReserveMore(count);
                Prefault(array.ends, first + count);
                Prefault(array.bytes, array.bytes.GetSize() + m_step / 2);
            } else {
                Lengthen(array, first, count);
            }
        });
    }

private:
    /// The arrays come in the same order each time.
    template <typename T>
    void Prefault(BPageArray<T>& array, std::size_t usedEnd)
    {
        std::size_t& ready = m_prefaulted[m_nextArray++];
        const std::size_t end = std::min(array.GetCapacity(), ready + m_step / sizeof(T));
        if (usedEnd > ready && end > ready) {
            array.Prefault(ready, end);
            ready = end;
        }
    }

    std::vector<std::size_t>& m_prefaulted;
    std::size_t m_step;
    std::size_t m_nextArray = 0;
};

} // namespace

void BFeatureAppender::ReserveRows(std::size_t rows, bool hasZ)
{
    BeginRow(m_columns->size());
    const std::size_t first = m_page->rowCount;
    const std::size_t last = std::min(first + rows, std::max(m_rowLimit, first));
    m_page->x.Reserve(last);
    m_page->y.Reserve(last);
    if (hasZ) {
        m_page->z.Reserve(last);
    }
    for (std::size_t i = 0; i < m_columnCount; ++i) {
        ReserveColumn(m_columnData[i], last);
    }
}

std::vector<std::span<std::byte>> BFeatureAppender::PrepareNextPage(std::size_t rows)
{
    const std::size_t filled = m_page->rowCount;
    const std::size_t room = m_rowLimit - std::min(m_rowLimit, filled);
    if (rows <= room || m_preparedPage != nullptr || m_features.m_file || filled < room) {
        return {};
    }
    std::shared_ptr<BFeaturePage> page = MakePage(m_page->columns);
    const std::size_t count = std::min(rows - room, m_rowLimit);
    std::vector<std::span<std::byte>> memory;
    const auto reserve = [&memory](auto& array, std::size_t values) {
        array.Reserve(values);
        memory.push_back(std::as_writable_bytes(std::span(array.Data(), values)));
    };
    reserve(page->x, count);
    reserve(page->y, count);
    reserve(page->z, m_page->z.IsEmpty() ? 0 : count);
    for (std::size_t i = 0; i < page->data.size(); ++i) {
        VisitColumn(page->data[i], [&](auto& array) { reserve(RowsOf(array), count); });
        // Texts that are as long as those of the current page.
        const std::size_t bytes = m_columnData[i].texts.bytes.GetSize();
        reserve(page->data[i].texts.bytes, std::min(bytes / filled * count, kFullTextBytes));
    }
    m_preparedPage = std::move(page);
    return memory;
}

BFeatureAppender::Rows BFeatureAppender::BeginRows(std::size_t wanted, bool hasZ)
{
    BeginRow(m_columns->size());
    const std::size_t first = m_page->rowCount;
    Rows rows{};
    rows.firstRow = first;
    rows.count = std::min(wanted, m_rowLimit > first ? m_rowLimit - first : 1);
    ColumnGrowth growth(m_prefaulted, m_columnCount, m_isPrepared);
    rows.x = growth.Lengthen(m_page->x, first, rows.count);
    rows.y = growth.Lengthen(m_page->y, first, rows.count);
    if (hasZ) {
        if (m_page->z.GetSize() < first) {
            m_page->z.Resize(first, kNaN);
        }
        rows.z = growth.Lengthen(m_page->z, first, rows.count);
    } else if (!m_page->z.IsEmpty()) {
        m_page->z.Resize(first + rows.count, kNaN);
    }
    for (std::size_t i = 0; i < m_columnCount; ++i) {
        growth.LengthenColumn(m_columnData[i], first, rows.count);
        m_isPageFull = m_isPageFull || m_columnData[i].texts.bytes.GetSize() > kFullTextBytes;
    }
    m_isPageFull = m_isPageFull || IsFull();
    if (m_isPageFull) {
        m_plainRows = 0;
    }
    rows.columns = m_columnData;
    m_values += rows.count * m_columnCount;
    m_begunEnd = first + rows.count;
    return rows;
}

BFeatureAppender::Rows
BFeatureAppender::FindRoom(std::size_t skip, std::size_t count, bool hasZ) noexcept
{
    const std::size_t first = m_page->rowCount + skip;
    const auto hasRoom = [end = first + count](const auto& array) {
        return array.GetCapacity() >= end;
    };
    bool isFound = !m_features.m_file && !m_isPageFull && m_columnCount == m_columns->size() &&
                   first + count <= m_rowLimit && hasRoom(m_page->x) && hasRoom(m_page->y) &&
                   (!hasZ || hasRoom(m_page->z));
    for (std::size_t i = 0; i < m_columnCount && isFound; ++i) {
        isFound = VisitColumn(m_columnData[i], [&hasRoom](const auto& array) {
            if constexpr (std::is_same_v<decltype(array), const BTextArray&>) {
                // Longer ones might end the page before its rows are all there.
                return array.bytes.GetSize() <= kFullTextBytes / 4;
            } else {
                return hasRoom(array);
            }
        });
    }
    Rows rows{};
    if (isFound) {
        rows = {count,
                first,
                m_page->x.Data() + first,
                m_page->y.Data() + first,
                nullptr,
                m_columnData};
        rows.z = hasZ ? m_page->z.Data() + first : nullptr;
    }
    return rows;
}

void BFeatureAppender::EndIrregularRows(std::size_t count,
                                        const std::uint8_t* kinds,
                                        std::uint32_t firstNameNumber)
{
    if (count == 0) {
        return;
    }
    const std::size_t rows = m_page->rowCount;
    if (!m_page->attributeCounts.IsEmpty()) {
        m_page->attributeCounts.Resize(rows + count, static_cast<std::uint32_t>(m_columnCount));
    }
    const bool isUniform =
        std::all_of(kinds, kinds + count, [kinds](std::uint8_t kind) { return kind == kinds[0]; });
    if (rows == 0) {
        m_page->uniformPointKind = EPointKind{kinds[0]};
    }
    if (!isUniform || EPointKind{kinds[0]} != m_page->uniformPointKind ||
        !m_page->pointKinds.IsEmpty()) {
        m_page->pointKinds.Resize(rows, static_cast<std::uint8_t>(m_page->uniformPointKind));
        m_page->pointKinds.Append(kinds, count);
    }
    if (m_page->hasNameTexts) {
        NumberText buffer;
        for (std::size_t row = 0; row < count; ++row) {
            const auto number = firstNameNumber + static_cast<std::uint32_t>(row);
            AppendText(m_page->nameTexts, WriteNumber(number, buffer), ETextEncoding::Ascii);
        }
    } else if (firstNameNumber != m_nextNameNumber) {
        m_page->nameRuns.push_back({static_cast<std::uint32_t>(rows), firstNameNumber});
    }
    FinishIrregularRow(count);
}

} // namespace Orvane
