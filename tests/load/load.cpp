// The program `orvane_load`: does one thing very often or with very much data, checks the result,
// and prints the memory that it needed.

#include <Orvane/BException.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// The values of the generated row with that number, in files and in layers.
double XOf(std::uint64_t row)
{
    return static_cast<double>(row % 36000) / 100.0;
}

double YOf(std::uint64_t row)
{
    return static_cast<double>(row % 17000) / 100.0;
}

std::int32_t CountOf(std::uint64_t row)
{
    return static_cast<std::int32_t>(row % 1000003);
}

std::string_view WordOf(std::uint64_t row)
{
    constexpr std::string_view kWords[] = {"oak", "ash", "", "linden", "fir", "yew", "elm"};
    return kWords[row % std::size(kWords)];
}

/// Sums over the rows of a layer.
struct Totals
{
    std::uint64_t rows = 0;
    std::uint64_t points = 0;
    std::int64_t counts = 0;
    std::uint64_t letters = 0;
    double x = 0;
    double y = 0;

    void AddGenerated(std::uint64_t row)
    {
        ++rows;
        ++points;
        counts += CountOf(row);
        letters += WordOf(row).size();
        x += XOf(row);
        y += YOf(row);
    }

    /// Adds the next row of a page, with all columns of whole numbers and of texts.
    void AddPage(const Orvane::BFeaturePage& page)
    {
        rows += page.GetRowCount();
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            if (page.GetPointKind(row) != Orvane::EPointKind::None) {
                ++points;
                x += page.x[row];
                y += page.y[row];
            }
        }
        for (const Orvane::BColumnData& column : page.data) {
            for (const std::int32_t value : column.int32s.View()) {
                counts += value;
            }
            letters += column.texts.bytes.GetSize();
        }
    }

    [[nodiscard]] bool Equals(const Totals& other) const
    {
        const auto isNear = [](double left, double right) {
            return std::abs(left - right) <= 1e-9 * std::max(1.0, std::abs(right));
        };
        return rows == other.rows && points == other.points && counts == other.counts &&
               letters == other.letters && isNear(x, other.x) && isNear(y, other.y);
    }
};

void Require(bool isTrue, const std::string& what)
{
    if (!isTrue) {
        throw std::runtime_error(what);
    }
}

std::int64_t ResidentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::int64_t size = 0;
    std::int64_t resident = 0;
    file >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// The peak of resident memory. getrusage does not fit: it includes what the starting process had
/// before.
std::uint64_t PeakBytes()
{
    std::ifstream file("/proc/self/status");
    std::string word;
    std::uint64_t kibibytes = 0;
    while (file >> word && word != "VmHWM:") {
    }
    file >> kibibytes;
    return kibibytes * 1024;
}

void Print(const char* name, std::uint64_t value)
{
    std::printf("%s %llu\n", name, static_cast<unsigned long long>(value));
}

/// Repeats the work; prints the resident memory after a tenth of the repetitions and at the end.
template <typename Work>
void Repeat(std::uint64_t times, const Work& work)
{
    const std::uint64_t early = std::max<std::uint64_t>(times / 10, 1);
    for (std::uint64_t time = 1; time <= times; ++time) {
        work(time);
        if (time == early) {
            Print("resident_early", static_cast<std::uint64_t>(ResidentBytes()));
        }
    }
    Print("resident_end", static_cast<std::uint64_t>(ResidentBytes()));
}

struct Arguments
{
    std::vector<std::string> words;
    Orvane::BParamList options;
    std::string diskCache;

    [[nodiscard]] const std::string& At(std::size_t index) const
    {
        Require(index < words.size(), "An argument is missing.");
        return words[index];
    }

    [[nodiscard]] std::uint64_t NumberAt(std::size_t index) const
    {
        const std::string& word = At(index);
        std::uint64_t number = 0;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), number);
        Require(result.ec == std::errc() && result.ptr == word.data() + word.size(),
                "Not a number: " + word);
        return number;
    }
};

Orvane::BVariant ParseValue(std::string_view text)
{
    std::int32_t integer = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), integer);
    if (result.ec == std::errc() && result.ptr == text.data() + text.size()) {
        return Orvane::BVariant(integer);
    }
    if (text == "true" || text == "false") {
        return Orvane::BVariant(text == "true");
    }
    return Orvane::BVariant(Orvane::BString::FromUtf8(text));
}

Arguments Parse(const std::vector<std::string_view>& words)
{
    constexpr std::string_view kDiskCache = "--disk-cache=";
    Arguments arguments;
    for (const std::string_view word : words) {
        const std::size_t equals = word.find('=');
        if (word.substr(0, kDiskCache.size()) == kDiskCache) {
            arguments.diskCache = word.substr(kDiskCache.size());
        } else if (equals == std::string_view::npos) {
            arguments.words.emplace_back(word);
        } else {
            arguments.options.Add(Orvane::BString::FromUtf8(word.substr(0, equals)),
                                  ParseValue(word.substr(equals + 1)));
        }
    }
    return arguments;
}

/// A reader that is opened, and the sums of what it read.
class Reader
{
public:
    Reader(const Orvane::BPluginModule& module, const std::string& file, const Arguments& arguments)
        : m_reader(module.CreateReader(Orvane::BString::FromUtf8(file), arguments.options))
    {
        if (!arguments.diskCache.empty()) {
            m_reader->SetDiskCache(
                true, Orvane::BString::FromUtf8(arguments.diskCache + "/orvane-load"), 16384);
        }
        m_reader->Open(Orvane::BString::FromUtf8(file), arguments.options);
    }

    Orvane::BDataReader* operator->() const { return m_reader.Get(); }

    [[nodiscard]] Totals Sum() const
    {
        Totals totals;
        const Orvane::BFeatureCollection& features = m_reader->GetLayers().GetAt(0)->GetFeatures();
        for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
            totals.AddPage(*features.LoadPage(page));
        }
        return totals;
    }

private:
    Orvane::BReaderHandle m_reader;
};

void PrintTotals(const Totals& totals)
{
    Print("rows", totals.rows);
    Print("points", totals.points);
    Print("letters", totals.letters);
    std::printf("counts %lld\nsum_x %.17g\nsum_y %.17g\n",
                static_cast<long long>(totals.counts),
                totals.x,
                totals.y);
}

/// pages ROWS FOLDER: writes rows to a layer whose pages are in that folder, and reads them back.
void RunPages(const Arguments& arguments)
{
    constexpr std::size_t kPageRows = 16384;
    const std::uint64_t rows = arguments.NumberAt(1);
    Orvane::BFeatureCollection features(Orvane::BString::FromUtf8(arguments.At(2) + "/orvane-load"),
                                        kPageRows);
    Totals expected;
    {
        Orvane::BFeatureAppender appender(
            features,
            {{"count", Orvane::EVariantType::Int32}, {"word", Orvane::EVariantType::String}});
        const std::vector<std::uint8_t> kinds(kPageRows,
                                              static_cast<std::uint8_t>(Orvane::EPointKind::XY));
        while (expected.rows < rows) {
            const std::size_t wanted = std::min<std::uint64_t>(kPageRows, rows - expected.rows);
            const auto first = static_cast<std::uint32_t>(expected.rows + 1);
            const Orvane::BFeatureAppender::Rows begun = appender.BeginRows(wanted, false);
            for (std::size_t row = 0; row < begun.count; ++row) {
                const std::uint64_t number = expected.rows;
                begun.x[row] = XOf(number);
                begun.y[row] = YOf(number);
                begun.columns[0].int32s[begun.firstRow + row] = CountOf(number);
                Orvane::AppendText(
                    begun.columns[1].texts, WordOf(number), Orvane::ETextEncoding::Ascii);
                expected.AddGenerated(number);
            }
            appender.EndRows(begun.count, kinds.data(), first);
        }
    }
    Totals found;
    for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
        found.AddPage(*features.LoadPage(page));
    }
    Require(found.Equals(expected), "The pages do not give back what went into them.");
    PrintTotals(found);
    Print("pages", features.GetPageCount());
}

/// generate ROWS FILE: writes a line of column names and the rows "x,y,count,word".
void RunGenerate(const Arguments& arguments)
{
    const std::uint64_t rows = arguments.NumberAt(1);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(arguments.At(2).c_str(), "wb"),
                                                         &std::fclose);
    Require(file != nullptr, "The file cannot be created.");
    bool isWritten = std::fputs("x,y,count,word\n", file.get()) >= 0;
    for (std::uint64_t row = 0; row < rows && isWritten; ++row) {
        const std::string_view word = WordOf(row);
        isWritten = std::fprintf(file.get(),
                                 "%u.%02u,%u.%02u,%d,%.*s\n",
                                 static_cast<unsigned>(row % 36000 / 100),
                                 static_cast<unsigned>(row % 100),
                                 static_cast<unsigned>(row % 17000 / 100),
                                 static_cast<unsigned>(row % 100),
                                 CountOf(row),
                                 static_cast<int>(word.size()),
                                 word.data()) > 0;
    }
    Require(isWritten && std::fclose(file.release()) == 0, "The file cannot be written.");
}

/// generated ROWS MODULE FILE: imports a file of `generate` and checks every sum.
void RunGenerated(const Arguments& arguments)
{
    const std::uint64_t rows = arguments.NumberAt(1);
    const Orvane::BPluginModule module(arguments.At(2));
    const Reader reader(module, arguments.At(3), arguments);
    reader->Read();
    reader->Close();
    Totals expected;
    for (std::uint64_t row = 0; row < rows; ++row) {
        expected.AddGenerated(row);
    }
    const Totals found = reader.Sum();
    PrintTotals(found);
    Require(found.Equals(expected), "The layer is not what the file holds.");
}

/// imports TIMES MODULE FILE: imports one file again and again in one process.
void RunImports(const Arguments& arguments)
{
    const Orvane::BPluginModule module(arguments.At(2));
    Totals first;
    Repeat(arguments.NumberAt(1), [&](std::uint64_t time) {
        const Reader reader(module, arguments.At(3), arguments);
        reader->Read();
        reader->Close();
        const Totals totals = reader.Sum();
        if (time == 1) {
            first = totals;
            PrintTotals(first);
        }
        Require(totals.Equals(first), "An import is not like the first one.");
    });
}

/// readers TIMES MODULE FILE: opens and destroys readers, every third one after a read, every fifth
/// one without closing it.
void RunReaders(const Arguments& arguments)
{
    const Orvane::BPluginModule module(arguments.At(2));
    Repeat(arguments.NumberAt(1), [&](std::uint64_t time) {
        const Reader reader(module, arguments.At(3), arguments);
        if (time % 3 == 0) {
            reader->Read();
        }
        if (time % 5 != 0) {
            reader->Close();
        }
    });
}

/// modules TIMES MODULE FILE: loads the module, imports once and unloads it.
void RunModules(const Arguments& arguments)
{
    std::uint64_t gone = 0;
    Repeat(arguments.NumberAt(1), [&](std::uint64_t /*time*/) {
        {
            const Orvane::BPluginModule module(arguments.At(2));
            const Reader reader(module, arguments.At(3), arguments);
            reader->Read();
            reader->Close();
        }
        void* const left = dlopen(arguments.At(2).c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (left == nullptr) {
            ++gone;
        } else {
            dlclose(left);
        }
    });
    Print("unloaded", gone);
}

/// threads TIMES MODULE FILE: imports in four threads at once, each with its own reader.
void RunThreads(const Arguments& arguments)
{
    constexpr std::size_t kThreads = 4;
    const Orvane::BPluginModule module(arguments.At(2));
    const auto import = [&] {
        const Reader reader(module, arguments.At(3), arguments);
        reader->Read();
        reader->Close();
        return reader.Sum();
    };
    const std::uint64_t times = arguments.NumberAt(1);
    std::atomic<std::uint64_t> good = 0;
    std::array<std::optional<Totals>, kThreads> first;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
        // All threads start with a first import, so they race for what the module makes once.
        threads.emplace_back([&, number] {
            first[number] = import();
            for (std::uint64_t time = 0; time < times; ++time) {
                good += import().Equals(*first[number]) ? 1U : 0U;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::optional<Totals>& totals : first) {
        Require(totals->Equals(*first.front()), "Two threads read different layers.");
    }
    Require(good == times * kThreads, "An import is not like the first one.");
    PrintTotals(*first.front());
    Print("imports", good);
}

int Run(const Arguments& arguments)
{
    struct Command
    {
        std::string_view name;
        void (*run)(const Arguments& arguments);
    };

    constexpr Command kCommands[] = {{"pages", &RunPages},
                                     {"generate", &RunGenerate},
                                     {"generated", &RunGenerated},
                                     {"imports", &RunImports},
                                     {"readers", &RunReaders},
                                     {"modules", &RunModules},
                                     {"threads", &RunThreads}};
    for (const Command& command : kCommands) {
        if (!arguments.words.empty() && command.name == arguments.words.front()) {
            command.run(arguments);
            Print("peak_bytes", PeakBytes());
            return 0;
        }
    }
    std::cerr
        << "usage: orvane_load pages ROWS FOLDER\n"
           "       orvane_load generate ROWS FILE\n"
           "       orvane_load generated ROWS MODULE FILE [KEY=VALUE]...\n"
           "       orvane_load imports|readers|modules|threads TIMES MODULE FILE [KEY=VALUE]...\n"
           "\n"
           "  --disk-cache=FOLDER  keeps the pages of layers in that folder\n";
    return 2;
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    try {
        return Run(Parse({argumentTexts + 1, argumentTexts + argumentCount}));
    } catch (const Orvane::BException& error) {
        std::cerr << "orvane_load: " << error.GetMessage().ToUtf8() << " ("
                  << error.GetLocation().ToUtf8() << ") " << error.GetDetails().ToUtf8() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "orvane_load: " << error.what() << '\n';
    }
    return 1;
}
