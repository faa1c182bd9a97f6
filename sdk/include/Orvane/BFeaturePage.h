// Pages of columns: how a layer's features are stored, and how they are read by column.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Orvane {

/// Has the system provide memory at once that would otherwise come page by page as it is first
/// written, at several times the cost. Changes no byte; does nothing where the system can't, or for
/// less than 32 KiB.
ORVANE_SDK_EXPORT void PrefaultMemory(void* memory, std::size_t byteCount) noexcept;

/// A growable array of plain values that never initialises what it reserves.
///
/// Growth goes through the C allocator's realloc, which moves large arrays without copying them.
template <typename T>
class BPageArray
{
public:
    static_assert(std::is_trivially_copyable_v<T>);

    /// The least number of values that a growing array makes room for.
    static constexpr std::size_t kFirstCapacity = 8;

    BPageArray() noexcept = default;
    BPageArray(const BPageArray&) = delete;
    BPageArray& operator=(const BPageArray&) = delete;

    BPageArray(BPageArray&& other) noexcept { Swap(other); }

    BPageArray& operator=(BPageArray&& other) noexcept
    {
        Swap(other);
        return *this;
    }

    ~BPageArray() { std::free(m_data); }

    [[nodiscard]] T* Data() noexcept { return m_data; }

    [[nodiscard]] const T* Data() const noexcept { return m_data; }

    [[nodiscard]] std::size_t GetSize() const noexcept { return m_size; }

    [[nodiscard]] std::size_t GetCapacity() const noexcept { return m_capacity; }

    [[nodiscard]] bool IsEmpty() const noexcept { return m_size == 0; }

    T& operator[](std::size_t index) noexcept { return m_data[index]; }

    const T& operator[](std::size_t index) const noexcept { return m_data[index]; }

    [[nodiscard]] std::span<const T> View() const noexcept { return {m_data, m_size}; }

    /// @throws std::bad_alloc; the array is unchanged then.
    void Reserve(std::size_t capacity)
    {
        if (capacity > m_capacity) {
            Reallocate(capacity);
        }
    }

    /// Makes room for `extra` more values, at least doubling when it has to grow.
    void ReserveMore(std::size_t extra)
    {
        if (m_capacity - m_size < extra) {
            Reallocate(std::max({m_size + extra, m_capacity * 2, kFirstCapacity}));
        }
    }

    /// Prefaults the reserved values from index `first` up to `last`, exclusive.
    void Prefault(std::size_t first, std::size_t last) noexcept
    {
        PrefaultMemory(m_data + first, (last - first) * sizeof(T));
    }

    /// Values between the old and the new size are not initialised.
    void Resize(std::size_t size)
    {
        Reserve(size);
        m_size = size;
    }

    /// Appends copies of `value` until the array has `size` values, or cuts it to that size.
    void Resize(std::size_t size, T value)
    {
        if (size > m_size) {
            ReserveMore(size - m_size);
            std::fill(m_data + m_size, m_data + size, value);
        }
        m_size = size;
    }

    /// Cuts the array to `size` values when it is longer; the capacity stays.
    void Truncate(std::size_t size) noexcept { m_size = std::min(m_size, size); }

    void Append(T value)
    {
        if (m_size == m_capacity) {
            ReserveMore(1);
        }
        m_data[m_size++] = value;
    }

    void Append(const T* values, std::size_t count)
    {
        ReserveMore(count);
        std::copy(values, values + count, m_data + m_size);
        m_size += count;
    }

    /// Appends without a look at the capacity, which must be there.
    void AppendReserved(T value) noexcept { m_data[m_size++] = value; }

    void AppendReserved(const T* values, std::size_t count) noexcept
    {
        std::memcpy(m_data + m_size, values, count * sizeof(T));
        m_size += count;
    }

    /// Gives unused capacity back, as far as the allocator can.
    void ShrinkToFit() noexcept
    {
        if (m_size == 0) {
            Clear();
        } else if (m_size < m_capacity) {
            void* data = std::realloc(m_data, m_size * sizeof(T));
            if (data != nullptr) {
                m_data = static_cast<T*>(data);
                m_capacity = m_size;
            }
        }
    }

    /// Frees everything.
    void Clear() noexcept
    {
        std::free(m_data);
        m_data = nullptr;
        m_size = m_capacity = 0;
    }

    void Swap(BPageArray& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

private:
    void Reallocate(std::size_t capacity)
    {
        if (capacity > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_alloc();
        }
        void* data = std::realloc(m_data, capacity * sizeof(T));
        if (data == nullptr) {
            throw std::bad_alloc();
        }
        m_data = static_cast<T*>(data);
        m_capacity = capacity;
    }

    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// How the texts of one column of one page are stored.
enum class ETextEncoding : std::uint8_t {
    Ascii,  ///< one byte a character, all below 0x80: valid as Latin-1 and as UTF-8
    Latin1, ///< one byte a character, the code unit's number
    Utf8,   ///< valid UTF-8
    Utf16   ///< two bytes a code unit, the machine's byte order: texts with lone surrogates
};

/// Texts of one column of one page: all bytes in one array, and where each text ends.
struct BTextArray
{
    BPageArray<char> bytes;
    BPageArray<std::uint32_t> ends; ///< byte offset behind text i
    ETextEncoding encoding = ETextEncoding::Ascii;

    [[nodiscard]] std::size_t GetCount() const noexcept { return ends.GetSize(); }

    [[nodiscard]] std::string_view GetBytes(std::size_t index) const noexcept
    {
        const std::uint32_t begin = index == 0 ? 0 : ends[index - 1];
        return {bytes.Data() + begin, ends[index] - begin};
    }
};

/// The name and type of a stored column.
///
/// Types Int32, Int64, Double, Float and Boolean are stored in their own width; every other type
/// is stored as text.
struct BColumnInfo
{
    BString name;
    EVariantType type = EVariantType::None;

    friend bool operator==(const BColumnInfo&, const BColumnInfo&) noexcept = default;
};

/// The value types in which a column can be stored.
enum class EColumnStorage : std::uint8_t { Int32, Int64, Double, Float, Boolean, Text };

/// The storage of a column of that type.
ORVANE_SDK_EXPORT EColumnStorage StorageOf(EVariantType type) noexcept;

/// The values of one column of one page; the member that `storage` names holds them.
struct BColumnData
{
    EColumnStorage storage = EColumnStorage::Text;
    BPageArray<std::int32_t> int32s;
    BPageArray<std::int64_t> int64s;
    BPageArray<double> doubles;
    BPageArray<float> floats;
    BPageArray<std::uint8_t> booleans; ///< 0 or 1
    BTextArray texts;
};

/// A text of any encoding as a BString.
ORVANE_SDK_EXPORT BString TextToString(std::string_view bytes, ETextEncoding encoding);

/// Rows of one page whose names are consecutive numbers.
struct BNameRun
{
    std::uint32_t rowInPage;   ///< first row of the run
    std::uint32_t firstNumber; ///< its number; the next row has the next number
};

/// What one row of a page has for a geometry.
enum class EPointKind : std::uint8_t { None = 0, XY = 1, XYZ = 2 };

/// One page of a layer's features, column by column.
///
/// All arrays have one entry a row unless said otherwise; while an appender is in the middle of a
/// row they may have one more, so that `rowCount` alone says how many rows there are. Rows with
/// fewer attributes than columns have a prefix of them; the values behind the prefix are 0 or
/// empty. A row that was changed or that fits no column has placeholders here:
/// BFeatureCollection::GetObjectRow tells.
///
/// The box of a row is that of its point, empty without a point.
class ORVANE_SDK_EXPORT BFeaturePage
{
public:
    [[nodiscard]] std::size_t GetRowCount() const noexcept { return rowCount; }

    [[nodiscard]] EPointKind GetPointKind(std::size_t rowInPage) const noexcept
    {
        return pointKinds.IsEmpty() ? uniformPointKind : EPointKind{pointKinds[rowInPage]};
    }

    [[nodiscard]] std::size_t GetAttributeCount(std::size_t rowInPage) const noexcept
    {
        return attributeCounts.IsEmpty() ? columns->size() : attributeCounts[rowInPage];
    }

    /// The row's name: its text, or the decimal text of its number. The number's search is
    /// logarithmic in the page's name runs; one run is the usual case.
    [[nodiscard]] BString GetName(std::size_t rowInPage) const;
    /// The number of a row that is named by number.
    [[nodiscard]] std::uint32_t GetNameNumber(std::size_t rowInPage) const noexcept;

    [[nodiscard]] bool HasNameTexts() const noexcept { return hasNameTexts; }

    /// One value as a variant; the column must be within the row's attribute count.
    [[nodiscard]] inline BVariant GetValue(std::size_t rowInPage, std::size_t columnIndex) const;
    /// Bytes of memory that the page holds, what it has reserved included.
    [[nodiscard]] std::size_t GetByteSize() const noexcept;
    /// Gives back what the arrays have reserved for rows to come.
    void ShrinkToFit() noexcept;

    std::size_t rowCount = 0;
    std::shared_ptr<const std::vector<BColumnInfo>> columns;
    std::vector<BColumnData> data; ///< one a column
    BPageArray<double> x;          ///< NaN where the point has no X, or there is no point
    BPageArray<double> y;
    BPageArray<double> z;                           ///< empty while no row of the page has a Z
    EPointKind uniformPointKind = EPointKind::None; ///< of all rows while pointKinds is empty
    BPageArray<std::uint8_t> pointKinds;
    BPageArray<std::uint32_t> attributeCounts; ///< empty while every row has all columns
    bool hasNameTexts = false;
    std::vector<BNameRun> nameRuns; ///< names by number, when hasNameTexts is false
    BTextArray nameTexts;           ///< names by text, when hasNameTexts is true
};

inline BVariant BFeaturePage::GetValue(std::size_t rowInPage, std::size_t columnIndex) const
{
    const BColumnData& column = data[columnIndex];
    switch (column.storage) {
    case EColumnStorage::Int32:
        return BVariant(column.int32s[rowInPage]);
    case EColumnStorage::Int64:
        return BVariant(column.int64s[rowInPage]);
    case EColumnStorage::Double:
        return BVariant(column.doubles[rowInPage]);
    case EColumnStorage::Float:
        return BVariant(column.floats[rowInPage]);
    case EColumnStorage::Boolean:
        return BVariant(column.booleans[rowInPage] != 0);
    case EColumnStorage::Text:
        break;
    }
    return BVariant(TextToString(column.texts.GetBytes(rowInPage), column.texts.encoding));
}

/// A text of any encoding as UTF-8, appended to `out`; a lone surrogate becomes U+FFFD.
ORVANE_SDK_EXPORT void
AppendTextAsUtf8(std::string_view bytes, ETextEncoding encoding, std::string& out);

/// Appends a text to a column, changing the column's encoding when the text does not fit it: an
/// Ascii column takes the encoding of the first text that is not ASCII, Latin-1 and UTF-8 together
/// become UTF-8, and a lone surrogate makes the column UTF-16. UTF-16 texts without lone surrogates
/// are stored as UTF-8 in columns that are not UTF-16.
/// @param bytes a text of that encoding; what the encoding promises is not tested. UTF-16 texts are
///     given as their bytes.
/// @throws BIndexOutOfBoundsException("BFeaturePage::AppendText", "A page holds at most 4294967295
///     bytes of text in one column."), std::bad_alloc; the texts are as before then.
ORVANE_SDK_EXPORT void
AppendText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding);

/// Whether all bytes are below 0x80; eight bytes a step.
[[nodiscard]] inline bool IsAscii(std::string_view bytes) noexcept
{
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    const char* position = bytes.data();
    std::size_t left = bytes.size();
    std::uint64_t all = 0;
    std::uint64_t word = 0;
    for (; left >= sizeof word; left -= sizeof word, position += sizeof word) {
        std::memcpy(&word, position, sizeof word);
        all |= word;
    }
    for (; left > 0; --left, ++position) {
        all |= static_cast<unsigned char>(*position);
    }
    return (all & kHighBits) == 0;
}

/// The quick part of AppendText, made to be inlined: appends when the text fits the column's
/// encoding and the reserved room. @return false when nothing was done and AppendText is needed.
[[nodiscard]] inline bool
TryAppendText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding) noexcept
{
    const bool fits = encoding == texts.encoding ||
                      (encoding != ETextEncoding::Utf16 && texts.encoding != ETextEncoding::Utf16 &&
                       (encoding == ETextEncoding::Ascii || IsAscii(bytes)));
    const std::size_t oldSize = texts.bytes.GetSize();
    if (!fits || texts.bytes.GetCapacity() - oldSize < bytes.size() ||
        texts.ends.GetSize() == texts.ends.GetCapacity()) {
        return false;
    }
    if (!bytes.empty()) {
        texts.bytes.AppendReserved(bytes.data(), bytes.size());
    }
    texts.ends.AppendReserved(static_cast<std::uint32_t>(oldSize + bytes.size()));
    return true;
}

} // namespace Orvane
