// Runs a harness without libFuzzer: on files, and on inputs of its generator.
#include "Fuzz.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: fuzz_NAME [--executions N] [--seed S] [--first F] [--write FOLDER] "
    "[FILE or FOLDER]...\n"
    "Runs files, those of folders, and N inputs made from the seed, from number F on (0); with\n"
    "--write the inputs are written to a folder instead of run. The input that fails is left in\n"
    "the file finding-NAME.\n";

// Made before signals are handled: a handler must not allocate.
std::string findingName;
std::string findingLine;

struct Arguments
{
    std::uint64_t executions = 0;
    std::uint64_t seed = 1;
    std::uint64_t first = 0;
    std::string writeFolder;
    std::vector<std::filesystem::path> paths;
};

// What the signal handler writes: the input that is being run.
const char* currentData = nullptr;
std::size_t currentSize = 0;

void WriteFinding(int signalNumber)
{
    const int file = open(findingName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file >= 0) {
        std::size_t written = 0;
        while (written < currentSize) {
            const ssize_t count = write(file, currentData + written, currentSize - written);
            if (count <= 0) {
                break;
            }
            written += static_cast<std::size_t>(count);
        }
        close(file);
        const ssize_t ignored = write(STDERR_FILENO, findingLine.data(), findingLine.size());
        static_cast<void>(ignored);
    }
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

void Run(const std::string& bytes)
{
    // A copy of exactly that size, so that reading past it shows.
    const std::vector<char> copy(bytes.begin(), bytes.end());
    currentData = copy.data();
    currentSize = copy.size();
    Fuzz::RunInput({copy.data(), copy.size()});
    currentData = nullptr;
    currentSize = 0;
}

std::optional<std::uint64_t> ParseNumber(std::string_view text)
{
    std::uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

bool ParseArguments(int argumentCount, char** arguments, Arguments& result)
{
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view argument = arguments[i];
        if (!argument.starts_with("--")) {
            result.paths.emplace_back(argument);
            continue;
        }
        if (i + 1 == argumentCount) {
            return false;
        }
        const std::string_view value = arguments[++i];
        if (argument == "--write") {
            result.writeFolder = value;
            continue;
        }
        const std::optional<std::uint64_t> number = ParseNumber(value);
        if (!number) {
            return false;
        }
        if (argument == "--executions") {
            result.executions = *number;
        } else if (argument == "--seed") {
            result.seed = *number;
        } else if (argument == "--first") {
            result.first = *number;
        } else {
            return false;
        }
    }
    return true;
}

/// The files, folders taken apart, in an order that does not depend on the file system.
std::vector<std::filesystem::path> ListFiles(const std::vector<std::filesystem::path>& paths)
{
    std::vector<std::filesystem::path> files;
    for (const std::filesystem::path& path : paths) {
        if (!std::filesystem::is_directory(path)) {
            files.push_back(path);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string MakeNumbered(std::uint64_t seed, std::uint64_t number)
{
    Fuzz::Dice dice(seed * 0x9E3779B97F4A7C15ULL + number * 0xBF58476D1CE4E5B9ULL + 1);
    return Fuzz::MakeInput(dice);
}

} // namespace

// The process is to end by a signal, which leaves the input after.
extern "C" const char* __asan_default_options() // NOLINT
{
    return "abort_on_error=1:handle_abort=0";
}

extern "C" const char* __ubsan_default_options() // NOLINT
{
    return "abort_on_error=1:print_stacktrace=1";
}

int main(int argumentCount, char** arguments)
{
    Arguments given;
    if (!ParseArguments(argumentCount, arguments, given)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string program = std::filesystem::path(arguments[0]).filename();
    findingName = "finding-" + program.substr(program.starts_with("fuzz_") ? 5 : 0);
    findingLine = program + ": the input is left in " + findingName + "\n";
    for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(number, WriteFinding);
    }
    std::uint64_t runs = 0;
    for (const std::filesystem::path& path : ListFiles(given.paths)) {
        std::ifstream stream(path, std::ios::binary);
        if (!stream) {
            std::fprintf(stderr, "%s cannot be read\n", path.c_str());
            return 1;
        }
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        Run(bytes);
        ++runs;
    }
    for (std::uint64_t number = given.first; number < given.first + given.executions; ++number) {
        const std::string bytes = MakeNumbered(given.seed, number);
        if (given.writeFolder.empty()) {
            Run(bytes);
        } else {
            std::ofstream stream(std::filesystem::path(given.writeFolder) /
                                     (std::to_string(given.seed) + "-" + std::to_string(number)),
                                 std::ios::binary);
            stream << bytes;
        }
        ++runs;
    }
    std::printf("%s: %llu inputs\n", program.c_str(), static_cast<unsigned long long>(runs));
    return 0;
}
