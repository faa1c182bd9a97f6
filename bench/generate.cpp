// The program `orvane_generate`: writes the data sets that speed is measured on.
#include "Datasets.h"

#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: orvane_generate SET OUT [--rows N] [--columns N] [--files N] [--bytes N]\n"
    "\n"
    "  A            id,x,y,z,intensity,count,flag; 2,000,000 rows\n"
    "  B            quoted names, UTF-8, numbers, empty cells; 1,000,000 rows\n"
    "  C            60 columns; 200,000 rows\n"
    "  D            OUT is a folder of 1,000 files (--files) of 200 rows as A\n"
    "  E            as B with line breaks inside quoted cells; 150,000 rows\n"
    "  quoted       as A, every cell in quotes\n"
    "  wide         doubles in --columns columns (10), 2,000,000 cells in all\n"
    "  separators   one line of commas     quotes  one line of quotes\n"
    "  breaks       one pair of quotes around line breaks     blanks  blank lines\n"
    "               16 MiB each (--bytes)\n";

struct Arguments
{
    std::string out;
    OrvaneBench::DatasetRequest request;
    std::size_t files = 1000;
};

std::size_t ParseCount(std::string_view text)
{
    std::size_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        throw std::invalid_argument("'" + std::string(text) + "' is not a count.");
    }
    return value;
}

Arguments Parse(const std::vector<std::string_view>& words)
{
    if (words.size() < 2 || words.size() % 2 != 0) {
        throw std::invalid_argument("A data set and a file are needed.");
    }
    Arguments arguments;
    arguments.request.dataset = OrvaneBench::FindDataset(words[0]);
    arguments.request.columns = 10;
    arguments.request.bytes = OrvaneBench::kWorstCaseBytes;
    arguments.out = words[1];
    bool hasRows = false;
    for (std::size_t index = 2; index < words.size(); index += 2) {
        const std::size_t count = ParseCount(words[index + 1]);
        if (words[index] == "--rows") {
            arguments.request.rows = count;
            hasRows = true;
        } else if (words[index] == "--columns") {
            arguments.request.columns = count;
        } else if (words[index] == "--files") {
            arguments.files = count;
        } else if (words[index] == "--bytes") {
            arguments.request.bytes = count;
        } else {
            throw std::invalid_argument("There is no argument '" + std::string(words[index]) +
                                        "'.");
        }
    }
    if (!hasRows) {
        arguments.request.rows =
            OrvaneBench::DefaultRows(arguments.request.dataset, arguments.request.columns);
    }
    return arguments;
}

void WriteFile(const std::filesystem::path& path, const OrvaneBench::DatasetRequest& request)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    OrvaneBench::Generate(request, [&file](std::string_view piece) {
        file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    });
    file.close();
    if (!file) {
        throw std::runtime_error("Could not write " + path.string() + ".");
    }
}

void WriteAll(Arguments arguments)
{
    if (arguments.request.dataset != OrvaneBench::EDataset::D) {
        WriteFile(arguments.out, arguments.request);
        return;
    }
    const std::filesystem::path folder = arguments.out;
    std::filesystem::create_directories(folder);
    for (std::size_t file = 0; file < arguments.files; ++file) {
        arguments.request.part = file;
        WriteFile(folder / ("part" + std::to_string(file) + ".csv"), arguments.request);
    }
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    try {
        WriteAll(Parse({argumentTexts + 1, argumentTexts + argumentCount}));
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << "\n\n" << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
