// The tree of boxes, against all boxes one by one.
#include "PackedIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Orvane::FlatGeobuf::Box;
using Orvane::FlatGeobuf::PackedIndex;

constexpr std::uint64_t kPlace = 100; ///< of the index in the file

struct Node
{
    Box box;
    std::uint64_t offset;
};

/// An index over points on a row of squares; each feature is 10 bytes long.
std::string MakeIndex(const std::vector<Box>& boxes)
{
    std::string bytes;
    const auto write = [&bytes](const void* block, std::size_t byteCount, std::uint64_t offset) {
        ASSERT_GE(offset, kPlace);
        const std::size_t place = offset - kPlace;
        bytes.resize(std::max(bytes.size(), place + byteCount), '?');
        std::memcpy(bytes.data() + place, block, byteCount);
    };
    PackedIndex index(write, kPlace, boxes.size());
    Box all;
    for (std::size_t number = 0; number < boxes.size(); ++number) {
        index.Add(boxes[number], 10 * number);
        all.Include(boxes[number]);
    }
    index.Finish();
    EXPECT_EQ(index.GetBox().minX, all.minX);
    EXPECT_EQ(index.GetBox().maxY, all.maxY);
    return bytes;
}

Node NodeAt(const std::string& bytes, std::uint64_t number)
{
    Node node{};
    std::memcpy(&node, bytes.data() + number * sizeof node, sizeof node);
    return node;
}

bool Meets(const Box& a, const Box& b)
{
    return a.minX <= b.maxX && b.minX <= a.maxX && a.minY <= b.maxY && b.minY <= a.maxY;
}

/// Offsets of the features whose boxes meet a box, found from the root down.
std::vector<std::uint64_t> Query(const std::string& bytes, std::uint64_t count, const Box& box)
{
    // The first node of each level, from the root: what the format derives from the count alone.
    std::vector<std::uint64_t> counts{count};
    do {
        counts.insert(counts.begin(), (counts.front() + 15) / 16);
    } while (counts.front() > 1);
    std::vector<std::uint64_t> begins{0};
    for (const std::uint64_t level : counts) {
        begins.push_back(begins.back() + level);
    }
    EXPECT_EQ(bytes.size(), begins.back() * sizeof(Node));
    std::vector<std::uint64_t> found;
    std::vector<std::pair<std::size_t, std::uint64_t>> open{{0, 0}};
    while (!open.empty()) {
        const auto [level, first] = open.back();
        open.pop_back();
        for (std::uint64_t number = first; number < std::min(first + 16, begins[level + 1]);
             ++number) {
            const Node node = NodeAt(bytes, number);
            if (!Meets(node.box, box)) {
                continue;
            }
            if (level + 2 == begins.size()) {
                found.push_back(node.offset);
            } else {
                open.emplace_back(level + 1, node.offset);
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

class PackedIndexOf : public testing::TestWithParam<std::uint64_t>
{};

INSTANTIATE_TEST_SUITE_P(,
                         PackedIndexOf,
                         testing::Values(1, 2, 15, 16, 17, 255, 256, 257, 4096, 4097, 70000));

TEST_P(PackedIndexOf, PointsIsSearchedFromTheRootDownAsAllPointsOneByOne)
{
    const std::uint64_t count = GetParam();
    std::mt19937_64 dice(count);
    std::uniform_real_distribution<double> any(-100, 100);
    std::vector<Box> boxes;
    for (std::uint64_t number = 0; number < count; ++number) {
        const double x = static_cast<double>(number) * 200 / static_cast<double>(count) - 100;
        const double y = any(dice);
        boxes.push_back(number % 7 == 3 ? Box() : Box{x, y, x, y});
    }
    const std::string bytes = MakeIndex(boxes);
    ASSERT_EQ(bytes.size(), PackedIndex::GetByteCount(count));
    for (int number = 0; number < 50; ++number) {
        const double x = any(dice);
        const double y = any(dice);
        const double side = number % 5 == 0 ? 200 : 20;
        const Box box{x, y, x + side, y + side};
        std::vector<std::uint64_t> expected;
        for (std::uint64_t index = 0; index < count; ++index) {
            if (Meets(boxes[index], box)) {
                expected.push_back(10 * index);
            }
        }
        ASSERT_EQ(Query(bytes, count, box), expected);
    }
    const Box everything{-1e300, -1e300, 1e300, 1e300};
    EXPECT_EQ(Query(bytes, count, everything).size(), count - (count + 3) / 7);
}

TEST(PackedIndex, HasAnEmptyBoxForWhatHasNoPlace)
{
    const std::string bytes = MakeIndex({Box()});
    for (const std::uint64_t number : {0U, 1U}) {
        const Node node = NodeAt(bytes, number);
        EXPECT_TRUE(node.box.IsEmpty());
        EXPECT_GT(node.box.minY, node.box.maxY);
    }
    EXPECT_EQ(NodeAt(bytes, 0).offset, 1U) << "the root's first child";
}

} // namespace
