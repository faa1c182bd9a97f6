// Walks from feature to feature, and along the leaves of the index beside it.
#include "CountFeatures.h"

#include <Schema.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace Orvane::FlatGeobuf {

namespace {

constexpr const char* kCutShort = "The file is cut short.";

/// A file, read from some place on.
class Stream
{
public:
    Stream(const std::filesystem::path& path, std::uint64_t offset)
        : m_file(std::fopen(path.c_str(), "rb"))
        , m_position(offset)
    {
        constexpr std::size_t kBufferBytes = std::size_t{1} << 18U;
        if (!m_file || fseeko(m_file.get(), static_cast<off_t>(offset), SEEK_SET) != 0) {
            throw std::runtime_error(std::generic_category().message(errno));
        }
        static_cast<void>(std::setvbuf(m_file.get(), nullptr, _IOFBF, kBufferBytes));
        m_end = std::filesystem::file_size(path);
    }

    /// Reads all of that many bytes. @return false when none is left
    [[nodiscard]] bool Read(void* bytes, std::size_t byteCount)
    {
        const std::size_t count = std::fread(bytes, 1, byteCount, m_file.get());
        if (count < byteCount && std::ferror(m_file.get()) != 0) {
            throw std::runtime_error(std::generic_category().message(errno));
        }
        if (count > 0 && count < byteCount) {
            throw std::runtime_error(kCutShort);
        }
        m_position += count;
        return count == byteCount;
    }

    /// Reads a table with its size in 4 bytes first, and verifies it.
    /// @return null at the end of the file
    template <typename Table>
    [[nodiscard]] const Table* ReadTable(std::vector<std::uint8_t>& bytes)
    {
        std::uint32_t size = 0;
        if (!Read(&size, sizeof size)) {
            return nullptr;
        }
        const std::size_t whole = sizeof size + size;
        // A size that cannot be right costs no memory.
        if (size > GetRest()) {
            throw std::runtime_error(kCutShort);
        }
        if (bytes.size() < whole) {
            bytes.resize(whole);
        }
        std::memcpy(bytes.data(), &size, sizeof size);
        if (size > 0 && !Read(bytes.data() + sizeof size, size)) {
            throw std::runtime_error(kCutShort);
        }
        flatbuffers::Verifier verifier(bytes.data(), whole);
        if (!verifier.VerifySizePrefixedBuffer<Table>(nullptr)) {
            throw std::runtime_error("A part of the file is damaged.");
        }
        return flatbuffers::GetSizePrefixedRoot<Table>(bytes.data());
    }

    [[nodiscard]] std::uint64_t GetPosition() const noexcept { return m_position; }

    /// Bytes from the position to the end of the file.
    [[nodiscard]] std::uint64_t GetRest() const noexcept
    {
        return m_end - std::min(m_position, m_end);
    }

private:
    struct Closer
    {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    std::unique_ptr<std::FILE, Closer> m_file;
    std::uint64_t m_position;
    std::uint64_t m_end = 0;
};

/// A leaf of the index.
struct Leaf
{
    std::array<double, 4> box; ///< least X and Y, largest X and Y
    std::uint64_t offset;
};

constexpr std::uint64_t kNodeBytes = 40;
static_assert(sizeof(Leaf) == kNodeBytes);

/// Nodes of an index that stand before its leaves.
std::uint64_t CountNodesAboveLeaves(std::uint64_t features, std::uint64_t children)
{
    std::uint64_t above = 0;
    std::uint64_t level = features;
    do {
        level = (level + children - 1) / children;
        above += level;
    } while (level > 1);
    return above;
}

bool HasPoint(const Schema::Feature& feature)
{
    return feature.geometry() != nullptr && feature.geometry()->xy() != nullptr &&
           feature.geometry()->xy()->size() == 2;
}

void CheckLeaf(const Leaf& leaf, const Schema::Feature& feature, std::uint64_t offset)
{
    const auto& [minX, minY, maxX, maxY] = leaf.box;
    bool isRight = leaf.offset == offset;
    if (HasPoint(feature)) {
        const double x = feature.geometry()->xy()->Get(0);
        const double y = feature.geometry()->xy()->Get(1);
        isRight = isRight && minX <= x && x <= maxX && minY <= y && y <= maxY;
    } else {
        isRight = isRight && minX > maxX && minY > maxY;
    }
    if (!isRight) {
        throw std::runtime_error("The spatial index does not fit the features.");
    }
}

} // namespace

FeatureCounts CountFeatures(const std::filesystem::path& path,
                            const std::function<void(std::uint64_t features)>& follow)
{
    constexpr std::uint64_t kFeaturesPerCall = 4096;
    constexpr char kMagic[] = {'f', 'g', 'b', 3, 'f', 'g', 'b'};
    std::array<char, 8> magic{};
    std::vector<std::uint8_t> bytes;
    Stream head(path, 0);
    if (!head.Read(magic.data(), magic.size()) ||
        std::memcmp(magic.data(), kMagic, sizeof kMagic) != 0) {
        throw std::runtime_error("The file is no FlatGeobuf file.");
    }
    const auto* const header = head.ReadTable<Schema::Header>(bytes);
    if (header == nullptr) {
        throw std::runtime_error(kCutShort);
    }
    const std::uint64_t announced = header->features_count();
    const std::uint64_t children = header->index_node_size();
    std::uint64_t firstFeature = head.GetPosition();
    std::optional<Stream> leaves;
    if (announced > 0 && children > 1) {
        if (announced > head.GetRest() / kNodeBytes) {
            throw std::runtime_error(kCutShort);
        }
        leaves.emplace(path,
                       firstFeature + kNodeBytes * CountNodesAboveLeaves(announced, children));
        firstFeature = leaves->GetPosition() + kNodeBytes * announced;
    }

    FeatureCounts counts;
    Stream features(path, firstFeature);
    std::uint64_t offset = 0;
    while (const auto* const feature = features.ReadTable<Schema::Feature>(bytes)) {
        if (leaves && counts.features < announced) {
            Leaf leaf{};
            static_cast<void>(leaves->Read(&leaf, sizeof leaf));
            CheckLeaf(leaf, *feature, offset);
        }
        if (++counts.features % kFeaturesPerCall == 0 && follow) {
            follow(counts.features);
        }
        counts.points += HasPoint(*feature) ? 1U : 0U;
        offset += sizeof(std::uint32_t) + flatbuffers::GetPrefixedSize(bytes.data());
    }
    if (announced > 0 && counts.features != announced) {
        throw std::runtime_error("The header announces " + std::to_string(announced) +
                                 " features, and there are " + std::to_string(counts.features) +
                                 ".");
    }
    return counts;
}

} // namespace Orvane::FlatGeobuf
