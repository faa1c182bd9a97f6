// Makes the data sets: a small random generator and number formatting of its own, so that the disk
// is the limit and not the formatting.
#include "Datasets.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace OrvaneBench {

namespace {

constexpr std::uint64_t kSeed = 0x5eedULL;
constexpr std::size_t kPieceSize = std::size_t{1} << 20U;

/// SplitMix64: small, fast, the same everywhere.
class Random
{
public:
    explicit Random(std::uint64_t seed)
        : m_state(seed)
    {}

    std::uint64_t Next() noexcept
    {
        m_state += 0x9e3779b97f4a7c15ULL;
        std::uint64_t value = m_state;
        value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9ULL;
        value = (value ^ (value >> 27U)) * 0x94d049bb133111ebULL;
        return value ^ (value >> 31U);
    }

    /// Below `bound`, which is small against 64 bits.
    std::uint64_t Below(std::uint64_t bound) noexcept { return Next() % bound; }

    std::int64_t Between(std::int64_t low, std::int64_t high) noexcept
    {
        return low + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(high - low) + 1));
    }

    template <typename T, std::size_t N>
    const T& Pick(const std::array<T, N>& choices) noexcept
    {
        return choices[Below(N)];
    }

private:
    std::uint64_t m_state;
};

/// Collects text and passes it on in large pieces.
class Text
{
public:
    explicit Text(const Sink& sink)
        : m_sink(sink)
    {
        m_piece.reserve(kPieceSize + 4096);
    }

    void Add(std::string_view text)
    {
        m_piece += text;
        if (m_piece.size() >= kPieceSize) {
            Flush();
        }
    }

    void Repeat(char unit, std::size_t count)
    {
        while (count > 0) {
            const std::size_t now = std::min(count, kPieceSize);
            m_piece.append(now, unit);
            Flush();
            count -= now;
        }
    }

    void Integer(std::int64_t value)
    {
        std::array<char, 24> buffer{};
        const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
        Add({buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())});
    }

    /// `scaled` / 10^decimals with exactly that many decimals.
    void Fixed(std::int64_t scaled, unsigned decimals)
    {
        std::int64_t power = 1;
        for (unsigned i = 0; i < decimals; ++i) {
            power *= 10;
        }
        if (scaled < 0) {
            Add("-");
            scaled = -scaled;
        }
        Integer(scaled / power);
        std::array<char, 24> buffer{};
        const std::int64_t fraction = scaled % power + power;
        const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), fraction);
        buffer[0] = '.'; // in the place of the leading 1
        Add({buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())});
    }

    void Flush()
    {
        m_sink(m_piece);
        m_piece.clear();
    }

private:
    const Sink& m_sink;
    std::string m_piece;
};

constexpr std::array<std::string_view, 12> kWords = {"alpha",
                                                     "granite",
                                                     "harbour",
                                                     "north",
                                                     "ridge",
                                                     "survey",
                                                     "sandstone",
                                                     "well",
                                                     "station",
                                                     "upper",
                                                     "east field",
                                                     "moor"};
constexpr std::array<std::string_view, 8> kNames = {"Zürich, Stadt",
                                                    "São Tomé",
                                                    "Harbour, east",
                                                    "Mount \"\"Blue\"\"",
                                                    "Łódź",
                                                    "Reykjavík, west",
                                                    "Point Barrow",
                                                    "東京, 港区"};

/// Positions are 9 decimals, as receivers write them.
constexpr std::int64_t kDegree = 1'000'000'000;

void AddRowA(Text& text, Random& random, std::size_t row, std::string_view quote)
{
    const std::string between = std::string(quote) + "," + std::string(quote);
    text.Add(quote);
    text.Integer(static_cast<std::int64_t>(row) + 1);
    text.Add(between);
    text.Fixed(random.Between(-180 * kDegree, 180 * kDegree), 9);
    text.Add(between);
    text.Fixed(random.Between(-90 * kDegree, 90 * kDegree), 9);
    text.Add(between);
    text.Fixed(random.Between(-500'000, 4'000'000), 3);
    text.Add(between);
    text.Fixed(random.Between(0, 1'000'000'000), 6);
    text.Add(between);
    text.Integer(random.Between(0, 99'999));
    text.Add(between);
    text.Add(random.Below(2) == 0 ? "true" : "false");
    text.Add(quote);
    text.Add("\n");
}

void AddRowB(Text& text, Random& random, std::size_t row, bool hasBreaks)
{
    const auto isFilled = [&random] { return random.Below(5) != 0; };
    text.Integer(static_cast<std::int64_t>(row) + 1);
    text.Add(",\"");
    text.Add(random.Pick(kNames));
    text.Add(hasBreaks && random.Below(4) == 0 ? "\n" : " ");
    text.Integer(random.Between(1, 9999));
    text.Add("\",");
    text.Fixed(random.Between(-180'000'000, 180'000'000), 6);
    text.Add(",");
    text.Fixed(random.Between(-90'000'000, 90'000'000), 6);
    text.Add(",");
    if (isFilled()) {
        text.Integer(random.Between(0, 20'000'000));
    }
    text.Add(",");
    if (isFilled()) {
        text.Fixed(random.Between(-10'000, 880'000), 2);
    }
    text.Add(",");
    if (isFilled()) {
        text.Add(random.Pick(kWords));
    }
    text.Add(",");
    if (isFilled()) {
        text.Add("\"");
        text.Add(random.Pick(kWords));
        text.Add(", ");
        text.Add(random.Pick(kWords));
        text.Add("\"");
    }
    text.Add(",");
    text.Fixed(random.Between(0, 99'999'999), 4);
    text.Add("\n");
}

constexpr std::size_t kColumnsC = 60;

/// The kinds of C's columns, mixed: doubles, whole numbers, words, booleans.
char KindOfColumnC(std::size_t column)
{
    constexpr std::string_view kKinds =
        "ddidbddddidddwddiiddidbbidwddidwwdiwiddiibwddidwdwdbiiiddiid";
    static_assert(kKinds.size() == kColumnsC);
    static_assert(std::count(kKinds.begin(), kKinds.end(), 'd') == 30);
    static_assert(std::count(kKinds.begin(), kKinds.end(), 'i') == 17);
    return kKinds[column];
}

void AddRowC(Text& text, Random& random)
{
    for (std::size_t column = 0; column < kColumnsC; ++column) {
        text.Add(column == 0 ? "" : ",");
        switch (KindOfColumnC(column)) {
        case 'd':
            text.Fixed(random.Between(-100'000'000, 100'000'000), 4);
            break;
        case 'i':
            text.Integer(random.Between(2, 999'999));
            break;
        case 'w':
            text.Add(random.Pick(kWords));
            break;
        default:
            text.Add(random.Below(2) == 0 ? "yes" : "no");
            break;
        }
    }
    text.Add("\n");
}

void AddRowWide(Text& text, Random& random, std::size_t columns)
{
    for (std::size_t column = 0; column < columns; ++column) {
        text.Add(column == 0 ? "" : ",");
        text.Fixed(random.Between(-180'000'000, 180'000'000), 6);
    }
    text.Add("\n");
}

void AddNumberedNames(Text& text, std::size_t columns)
{
    for (std::size_t column = 0; column < columns; ++column) {
        text.Add(column == 0 ? "c" : ",c");
        text.Integer(static_cast<std::int64_t>(column));
    }
    text.Add("\n");
}

void AddWorstCase(Text& text, const DatasetRequest& request)
{
    constexpr std::string_view kRows = "1,2,3\n4,5,6\n";
    const std::size_t size = std::max(request.bytes, kRows.size() + 8);
    const std::size_t rest = size - kRows.size();
    text.Add(kRows);
    switch (request.dataset) {
    case EDataset::Separators:
        text.Repeat(',', rest - 1);
        text.Add("\n");
        break;
    case EDataset::Quotes:
        // An even number: the line is closed.
        text.Repeat('"', (rest - 1) / 2 * 2);
        text.Add("\n");
        break;
    case EDataset::Breaks:
        text.Add("7,8,\"");
        text.Repeat('\n', rest - 7);
        text.Add("\"\n");
        break;
    default:
        text.Repeat('\n', rest);
        break;
    }
}

void AddNames(Text& text, const DatasetRequest& request)
{
    switch (request.dataset) {
    case EDataset::Quoted:
        text.Add("\"id\",\"x\",\"y\",\"z\",\"intensity\",\"count\",\"flag\"\n");
        break;
    case EDataset::B:
    case EDataset::E:
        text.Add("id,name,x,y,population,elevation,kind,remark,score\n");
        break;
    case EDataset::C:
        AddNumberedNames(text, kColumnsC);
        break;
    case EDataset::Wide:
        AddNumberedNames(text, request.columns);
        break;
    default:
        text.Add("id,x,y,z,intensity,count,flag\n");
        break;
    }
}

void AddRow(Text& text, Random& random, const DatasetRequest& request, std::size_t row)
{
    switch (request.dataset) {
    case EDataset::Quoted:
        AddRowA(text, random, row, "\"");
        break;
    case EDataset::B:
        AddRowB(text, random, row, false);
        break;
    case EDataset::E:
        AddRowB(text, random, row, true);
        break;
    case EDataset::C:
        AddRowC(text, random);
        break;
    case EDataset::Wide:
        AddRowWide(text, random, request.columns);
        break;
    default:
        AddRowA(text, random, row, "");
        break;
    }
}

bool IsWorstCase(EDataset dataset)
{
    return dataset == EDataset::Separators || dataset == EDataset::Quotes ||
           dataset == EDataset::Breaks || dataset == EDataset::Blanks;
}

} // namespace

std::size_t DefaultRows(EDataset dataset, std::size_t columns)
{
    constexpr std::size_t kWideCells = 2'000'000;
    switch (dataset) {
    case EDataset::B:
        return 1'000'000;
    case EDataset::C:
        return 200'000;
    case EDataset::D:
        return 200;
    case EDataset::E:
        return 150'000;
    case EDataset::Wide:
        return kWideCells / std::max<std::size_t>(columns, 1);
    default:
        return 2'000'000;
    }
}

EDataset FindDataset(std::string_view name)
{
    constexpr std::array<std::pair<std::string_view, EDataset>, 11> kDatasets = {
        {{"a", EDataset::A},
         {"b", EDataset::B},
         {"c", EDataset::C},
         {"d", EDataset::D},
         {"e", EDataset::E},
         {"quoted", EDataset::Quoted},
         {"wide", EDataset::Wide},
         {"separators", EDataset::Separators},
         {"quotes", EDataset::Quotes},
         {"breaks", EDataset::Breaks},
         {"blanks", EDataset::Blanks}}};
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](unsigned char unit) {
        return static_cast<char>(std::tolower(unit));
    });
    for (const auto& [known, dataset] : kDatasets) {
        if (folded == known) {
            return dataset;
        }
    }
    throw std::invalid_argument("There is no data set '" + std::string(name) + "'.");
}

void Generate(const DatasetRequest& request, const Sink& sink)
{
    if (request.dataset == EDataset::Wide && request.columns < 2) {
        throw std::invalid_argument("The data set 'wide' needs at least 2 columns.");
    }
    Text text(sink);
    if (IsWorstCase(request.dataset)) {
        AddWorstCase(text, request);
    } else {
        Random random(kSeed + request.part);
        AddNames(text, request);
        for (std::size_t row = 0; row < request.rows; ++row) {
            AddRow(text, random, request, row);
        }
    }
    text.Flush();
}

std::string GenerateText(const DatasetRequest& request)
{
    std::string text;
    Generate(request, [&text](std::string_view piece) { text += piece; });
    return text;
}

} // namespace OrvaneBench
