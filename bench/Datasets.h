// The generated data sets that speed is measured on; the same bytes on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace OrvaneBench {

/// Takes the next bytes of a data set.
using Sink = std::function<void(std::string_view)>;

/// The data sets. Every one starts from the same seed, so that the first rows of a small one are
/// those of a large one.
enum class EDataset {
    A,      ///< id,x,y,z,intensity,count,flag; no quotes
    B,      ///< quoted names with commas and doubled quotes, UTF-8, numbers, one cell in five empty
    C,      ///< 60 columns: 30 doubles, 17 whole numbers, 8 words, 5 booleans
    D,      ///< as A; meant for many small files, each begun with another `part`
    E,      ///< as B, with line breaks inside some quoted cells
    Quoted, ///< as A, every cell in quotes
    Wide,   ///< doubles in as many columns as asked for
    Separators, ///< two rows, then one line of commas
    Quotes,     ///< two rows, then one line of quotes
    Breaks,     ///< two rows, then line breaks inside one pair of quotes
    Blanks      ///< two rows, then blank lines
};

/// What to make.
struct DatasetRequest
{
    EDataset dataset = EDataset::A;
    std::size_t rows = 0;    ///< data rows; the worst cases are as large as `bytes` instead
    std::size_t columns = 0; ///< of Wide, at least 2
    std::uint64_t part = 0;  ///< changes the values; for the files of D
    std::size_t bytes = 0;   ///< of the worst cases: the whole file
};

/// Rows of a data set when none are asked for; of D: rows a file.
std::size_t DefaultRows(EDataset dataset, std::size_t columns);

/// The data set of that name, case ignored. @throws std::invalid_argument for other names.
EDataset FindDataset(std::string_view name);

/// Makes the data set and hands it out in pieces. Worst cases have no column names, all others have
/// them in the first line.
void Generate(const DatasetRequest& request, const Sink& sink);

/// The data set as one text.
std::string GenerateText(const DatasetRequest& request);

/// Bytes of a worst case: one block of the reader.
inline constexpr std::size_t kWorstCaseBytes = 16777216;

} // namespace OrvaneBench
