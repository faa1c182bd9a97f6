// The program `orvane_bench_from_chars`: what std::from_chars alone takes for the numbers with a
// decimal point of a plain file. Their places are found before the clock starts.
#include "Measure.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

using OrvaneBench::CpuSeconds;

std::string ReadText(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("Could not read " + std::string(path) + ".");
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The fields that hold a decimal point, after the line of column names.
std::vector<std::string_view> FindDoubles(std::string_view text)
{
    std::vector<std::string_view> fields;
    std::size_t begin = text.find('\n') + 1;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find_first_of(",\n", begin), text.size());
        const std::string_view field = text.substr(begin, end - begin);
        if (field.find('.') != std::string_view::npos) {
            fields.push_back(field);
        }
        begin = end + 1;
    }
    return fields;
}

void Run(const char* path)
{
    const std::string text = ReadText(path);
    const std::vector<std::string_view> fields = FindDoubles(text);
    double sum = 0;
    std::size_t failures = 0;
    const double before = CpuSeconds();
    for (const std::string_view field : fields) {
        double value = 0;
        const auto result = std::from_chars(field.data(), field.data() + field.size(), value);
        if (result.ec != std::errc() || result.ptr != field.data() + field.size()) {
            ++failures;
        }
        sum += value;
    }
    const double cpu = CpuSeconds() - before;
    if (failures > 0) {
        throw std::runtime_error("Not every field with a decimal point is a number.");
    }
    std::printf("numbers %zu\nsum %.17g\ncpu_s %.6f\n", fields.size(), sum, cpu);
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    if (argumentCount != 2) {
        std::cerr << "usage: orvane_bench_from_chars FILE\n";
        return 2;
    }
    try {
        Run(argumentTexts[1]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
