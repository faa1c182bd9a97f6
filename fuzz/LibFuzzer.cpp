// Ties a harness to libFuzzer.
#include "Fuzz.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

/// The beginnings of real files, from the folder that ORVANE_FUZZ_TEXTS names; none without it.
std::vector<std::string> ReadTexts()
{
    constexpr std::size_t kLongest = 65536;
    std::vector<std::string> texts;
    const char* folder = std::getenv("ORVANE_FUZZ_TEXTS");
    if (folder == nullptr) {
        return texts;
    }
    std::error_code error;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    if (error) {
        std::fprintf(stderr, "ORVANE_FUZZ_TEXTS: %s: %s\n", folder, error.message().c_str());
        std::exit(2);
    }
    std::sort(paths.begin(), paths.end());
    for (const std::filesystem::path& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        std::string text(kLongest, '\0');
        stream.read(text.data(), static_cast<std::streamsize>(kLongest));
        text.resize(static_cast<std::size_t>(stream.gcount()));
        if (!text.empty()) {
            texts.push_back(std::move(text));
        }
    }
    return texts;
}

const std::vector<std::string>& Texts()
{
    static const std::vector<std::string> kTexts = ReadTexts();
    return kTexts;
}

/// A part of a real file; half of them from its beginning, the others from any byte on.
std::string_view PickText(Fuzz::Dice& dice)
{
    std::string_view text = Texts()[dice.Below(Texts().size())];
    if (dice.Chance(50)) {
        text.remove_prefix(dice.Below(text.size()));
    }
    return text.substr(0, 1 + dice.Below(text.size()));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/)
{
    Texts();
    return 0;
}

extern "C" std::size_t
LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t largestSize);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::RunInput({reinterpret_cast<const char*>(data), size});
    return 0;
}

/// Now and then a new input of the generator, or a part of a real file in place of an input's end,
/// where harnesses have their data; else what libFuzzer makes of the input it has.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                               std::size_t size,
                                               std::size_t largestSize,
                                               unsigned seed)
{
    constexpr unsigned kRounds = 16;
    constexpr unsigned kMade = 0;
    constexpr unsigned kReal = 1;
    Fuzz::Dice dice(seed);
    std::string made;
    if (seed % kRounds == kMade) {
        made = Fuzz::MakeInput(dice);
    } else if (seed % kRounds == kReal && !Texts().empty()) {
        made.assign(reinterpret_cast<const char*>(data), dice.Below(size + 1));
        made += PickText(dice);
    } else {
        return LLVMFuzzerMutate(data, size, largestSize);
    }
    const std::size_t madeSize = std::min(made.size(), largestSize);
    std::copy_n(made.data(), madeSize, reinterpret_cast<char*>(data));
    return madeSize;
}
