// Writes pages of columns to an unlinked file and reads them back whole or not at all.
#include "BPageFile.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>

#include <QDir>
#include <QFile>
#include <QTemporaryFile>

#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace Orvane {

namespace {

constexpr std::uint64_t kMagic = 0x3145474150564F42U;
constexpr std::size_t kWordSize = sizeof(std::uint64_t);

/// A temporary file without a buffer: a full disk fails the write itself.
class PlainTemporaryFile : public QTemporaryFile
{
public:
    using QTemporaryFile::QTemporaryFile;

    bool Open() { return QTemporaryFile::open(QIODevice::ReadWrite | QIODevice::Unbuffered); }
};

/// A 64-bit sum over words of 8 bytes in four independent lanes. Each step is invertible, so that a
/// change within one word never goes unseen.
std::uint64_t ChecksumOf(const char* bytes, std::size_t count)
{
    constexpr std::uint64_t kFactor = 0x9FB21C651E98DF25U;
    constexpr int kTurn = 29;
    constexpr std::size_t kLanes = 4;
    std::array<std::uint64_t, kLanes> lanes = {1, 2, 3, 4};
    const auto step = [](std::uint64_t lane, std::uint64_t word) {
        return std::rotl((lane ^ word) * kFactor, kTurn);
    };
    std::size_t position = 0;
    std::array<std::uint64_t, kLanes> words = {};
    for (; count - position >= sizeof words; position += sizeof words) {
        std::memcpy(words.data(), bytes + position, sizeof words);
        for (std::size_t i = 0; i < kLanes; ++i) {
            lanes[i] = step(lanes[i], words[i]);
        }
    }
    words = {};
    std::memcpy(words.data(), bytes + position, count - position);
    std::uint64_t sum = count;
    for (std::size_t i = 0; i < kLanes; ++i) {
        sum = step(sum, step(lanes[i], words[i]));
    }
    return sum;
}

/// Writes values and arrays one after the other.
class Writer
{
public:
    explicit Writer(BPageArray<char>& buffer)
        : m_buffer(buffer)
    {
        m_buffer.Truncate(0);
    }

    void Put(std::uint64_t value)
    {
        m_buffer.ReserveMore(kWordSize);
        m_buffer.AppendReserved(reinterpret_cast<const char*>(&value), kWordSize);
    }

    /// The first `count` values.
    template <typename T>
    void Put(const T* values, std::size_t count)
    {
        Put(count);
        if (count > 0) {
            m_buffer.ReserveMore(count * sizeof(T));
            m_buffer.AppendReserved(reinterpret_cast<const char*>(values), count * sizeof(T));
        }
    }

    template <typename T>
    void Put(const BPageArray<T>& array)
    {
        Put(array.Data(), array.GetSize());
    }

    void Put(const BTextArray& texts)
    {
        Put(static_cast<std::uint64_t>(texts.encoding));
        Put(texts.ends);
        Put(texts.bytes);
    }

private:
    BPageArray<char>& m_buffer;
};

/// Reads values and arrays in the order in which they were written. Once something does not fit,
/// all that follows is empty and IsAtEnd is false.
class Reader
{
public:
    explicit Reader(std::span<const char> bytes)
        : m_bytes(bytes)
    {}

    [[nodiscard]] bool IsAtEnd() const { return m_isGood && m_bytes.empty(); }

    std::uint64_t Get()
    {
        std::uint64_t value = 0;
        if (Has(kWordSize)) {
            std::memcpy(&value, m_bytes.data(), kWordSize);
            m_bytes = m_bytes.subspan(kWordSize);
        }
        return value;
    }

    template <typename T>
    void Get(BPageArray<T>& array)
    {
        const std::uint64_t count = Get();
        if (count <= m_bytes.size() / sizeof(T) && Has(count * sizeof(T))) {
            array.Resize(count);
            if (count > 0) {
                std::memcpy(array.Data(), m_bytes.data(), count * sizeof(T));
            }
            m_bytes = m_bytes.subspan(count * sizeof(T));
        } else {
            m_isGood = false;
        }
    }

    void Get(std::vector<BNameRun>& runs)
    {
        BPageArray<BNameRun> array;
        Get(array);
        runs.assign(array.View().begin(), array.View().end());
    }

    void Get(BTextArray& texts)
    {
        texts.encoding = static_cast<ETextEncoding>(Get());
        Get(texts.ends);
        Get(texts.bytes);
    }

private:
    bool Has(std::uint64_t count)
    {
        m_isGood = m_isGood && count <= m_bytes.size();
        return m_isGood;
    }

    std::span<const char> m_bytes;
    bool m_isGood = true;
};

/// Writes all bytes. When the disk gets full the system writes some of them; only the next call
/// says why.
bool WriteAll(QFile& file, std::uint64_t offset, std::span<const char> bytes)
{
    bool isWritten = file.seek(static_cast<qint64>(offset));
    while (isWritten && !bytes.empty()) {
        const qint64 count = file.write(bytes.data(), static_cast<qint64>(bytes.size()));
        isWritten = count > 0;
        bytes = bytes.subspan(isWritten ? static_cast<std::size_t>(count) : 0);
    }
    return isWritten;
}

} // namespace

BPageFile::BPageFile(const BString& baseName)
    : m_path(baseName.IsEmpty()
                 ? MakeBString(QDir(QDir::tempPath()).filePath(QStringLiteral("orvane-layer")))
                 : baseName)
{}

BPageFile::~BPageFile() = default;

void BPageFile::Create()
{
    auto file =
        std::make_unique<PlainTemporaryFile>(MakeQString(m_path) + QStringLiteral(".XXXXXX"));
    if (!file->Open()) {
        throw BException("Could not create the disk cache file.",
                         "BFeatureCollection::WritePage",
                         BString::Format("%ls: %ls", m_path, MakeBString(file->errorString())));
    }
    const QString path = file->fileName();
    if (QFile::remove(path)) {
        file->setAutoRemove(false);
    }
    m_path = MakeBString(path);
    m_file = std::move(file);
}

BString BPageFile::Describe(std::size_t pageIndex) const
{
    return BString::Format("%ls: page %d", m_path, pageIndex);
}

std::size_t BPageFile::IndexOf(const std::shared_ptr<const std::vector<BColumnInfo>>& columns)
{
    if (m_columnLists.empty() ||
        (m_columnLists.back() != columns && *m_columnLists.back() != *columns)) {
        m_columnLists.push_back(columns);
    }
    return m_columnLists.size() - 1;
}

BPagePlace BPageFile::Write(const BFeaturePage& page, std::size_t pageIndex)
{
    if (!m_file) {
        Create();
    }
    Writer writer(m_buffer);
    writer.Put(kMagic);
    writer.Put(pageIndex);
    writer.Put(page.rowCount);
    writer.Put(IndexOf(page.columns));
    writer.Put(static_cast<std::uint64_t>(page.uniformPointKind));
    writer.Put(page.x);
    writer.Put(page.y);
    writer.Put(page.z);
    writer.Put(page.pointKinds);
    writer.Put(page.attributeCounts);
    writer.Put(std::uint64_t{page.hasNameTexts ? 1U : 0U});
    writer.Put(page.nameRuns.data(), page.nameRuns.size());
    writer.Put(page.nameTexts);
    for (const BColumnData& column : page.data) {
        VisitColumn(column, [&writer](const auto& array) { writer.Put(array); });
        writer.Put(column.validity);
    }

    if (!WriteAll(*m_file, m_end, m_buffer.View())) {
        throw BException("Could not write the disk cache file.",
                         "BFeatureCollection::WritePage",
                         BString::Format("%ls: %ls", m_path, MakeBString(m_file->errorString())));
    }
    const BPagePlace place = {
        m_end, m_buffer.GetSize(), ChecksumOf(m_buffer.Data(), m_buffer.GetSize())};
    m_end += place.byteCount;
    return place;
}

std::shared_ptr<BFeaturePage> BPageFile::Read(const BPagePlace& place, std::size_t pageIndex)
{
    m_buffer.Resize(place.byteCount);
    std::uint64_t done = 0;
    bool isRead = m_file->seek(static_cast<qint64>(place.offset));
    while (isRead && done < place.byteCount) {
        const qint64 count =
            m_file->read(m_buffer.Data() + done, static_cast<qint64>(place.byteCount - done));
        if (count == 0) {
            throw BException("The disk cache file is cut short.",
                             "BFeatureCollection::LoadPage",
                             Describe(pageIndex));
        }
        isRead = count > 0;
        done += isRead ? static_cast<std::uint64_t>(count) : 0;
    }
    if (!isRead) {
        throw BException(
            "Could not read the disk cache file.",
            "BFeatureCollection::LoadPage",
            BString::Format("%ls: %ls", Describe(pageIndex), MakeBString(m_file->errorString())));
    }
    const auto damaged = [this, pageIndex] {
        return BException(
            "The disk cache file is damaged.", "BFeatureCollection::LoadPage", Describe(pageIndex));
    };
    if (ChecksumOf(m_buffer.Data(), m_buffer.GetSize()) != place.checksum) {
        throw damaged();
    }

    Reader reader(m_buffer.View());
    const bool isThisPage = reader.Get() == kMagic && reader.Get() == pageIndex;
    auto page = std::make_shared<BFeaturePage>();
    page->rowCount = reader.Get();
    const std::uint64_t columnsIndex = reader.Get();
    if (!isThisPage || columnsIndex >= m_columnLists.size()) {
        throw damaged();
    }
    page->columns = m_columnLists[columnsIndex];
    page->uniformPointKind = static_cast<EPointKind>(reader.Get());
    reader.Get(page->x);
    reader.Get(page->y);
    reader.Get(page->z);
    reader.Get(page->pointKinds);
    reader.Get(page->attributeCounts);
    page->hasNameTexts = reader.Get() != 0;
    reader.Get(page->nameRuns);
    reader.Get(page->nameTexts);
    page->data.resize(page->columns->size());
    for (std::size_t i = 0; i < page->data.size(); ++i) {
        page->data[i].storage = StorageOf((*page->columns)[i].type);
        VisitColumn(page->data[i], [&reader](auto& array) { reader.Get(array); });
        reader.Get(page->data[i].validity);
    }
    if (!reader.IsAtEnd()) {
        throw damaged();
    }
    return page;
}

} // namespace Orvane
