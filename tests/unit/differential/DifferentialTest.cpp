// Compares the reader with a slow, literal second one on random files, options and calls.
#include "LiteralReader.h"
#include "RandomFiles.h"
#include "ReaderTraces.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

namespace {

using RandomFiles::Case;
using ReaderTraces::EReader;
using ReaderTraces::FirstDifference;
using ReaderTraces::Perform;
using ReaderTraces::Trace;
using ReaderTraces::WithoutEngine;

std::uint64_t NumberFromEnvironment(const char* name, std::uint64_t absent)
{
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : absent;
}

bool HasFeature(const Trace& trace)
{
    return std::any_of(trace.begin(), trace.end(), [](const std::string& line) {
        return line.starts_with("layer feature ");
    });
}

constexpr std::size_t kFullBlock = LiteralReader::Reader::kBlockSize;

/// Threads that share a read, in turn.
constexpr unsigned kThreads[] = {2, 3, 8};

/// Environment: ORVANE_DIFFERENTIAL_CASES (3000), ORVANE_DIFFERENTIAL_SEED (1),
/// ORVANE_DIFFERENTIAL_FIRST (0) is the number of the first case, ORVANE_DIFFERENTIAL_SHOWN (5)
/// limits the mismatches that are printed.
TEST(DifferentialReading, AgreesWithTheLiteralReaderOnRandomFiles)
{
    const std::uint64_t caseCount = NumberFromEnvironment("ORVANE_DIFFERENTIAL_CASES", 3000);
    const std::uint64_t seed = NumberFromEnvironment("ORVANE_DIFFERENTIAL_SEED", 1);
    const std::uint64_t first = NumberFromEnvironment("ORVANE_DIFFERENTIAL_FIRST", 0);
    const std::uint64_t mostShown = NumberFromEnvironment("ORVANE_DIFFERENTIAL_SHOWN", 5);

    const QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    std::uint64_t mismatches = 0;
    std::uint64_t withFeatures = 0;
    for (std::uint64_t number = first; number < first + caseCount; ++number) {
        const Case input = RandomFiles::MakeCase(seed, number);
        const QString path = folder.filePath(input.fileName);
        if (input.fileExists) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            ASSERT_EQ(file.write(input.content), input.content.size());
        }
        const auto compare = [&](const char* title, const Trace& expected, const Trace& actual) {
            const std::string difference = FirstDifference(expected, actual);
            if (!difference.empty()) {
                ++mismatches;
                if (mismatches <= mostShown) {
                    ADD_FAILURE() << title << "\n"
                                  << difference << RandomFiles::DescribeCase(input);
                }
            }
        };
        Case shared = input;
        shared.threads = kThreads[number % std::size(kThreads)];
        const Trace whole = Perform(EReader::Literal, path, input, kFullBlock);
        withFeatures += HasFeature(whole) ? 1U : 0U;
        compare("engine, full blocks", whole, Perform(EReader::Engine, path, input, kFullBlock));
        compare("reader",
                WithoutEngine(Perform(EReader::GuardedLiteral, path, input, kFullBlock)),
                WithoutEngine(Perform(EReader::Plugin, path, input, kFullBlock)));
        compare("engine of several threads, full blocks",
                whole,
                Perform(EReader::Engine, path, shared, kFullBlock));
        const Trace inParts = Perform(EReader::Literal, path, input, input.smallBlockSize);
        compare("engine, small blocks",
                inParts,
                Perform(EReader::Engine, path, input, input.smallBlockSize));
        compare("engine of several threads, small blocks",
                inParts,
                Perform(EReader::Engine, path, shared, input.smallBlockSize));
        QFile::remove(path);
    }
    EXPECT_EQ(mismatches, 0U) << "of " << caseCount << " cases";
    if (caseCount >= 100) {
        EXPECT_GT(withFeatures, caseCount / 3) << "the random files hardly reach the rows";
    }
}

TEST(RandomFilesMakeCase, MakesTheSameCaseAgain)
{
    for (std::uint64_t number = 0; number < 50; ++number) {
        EXPECT_EQ(RandomFiles::DescribeCase(RandomFiles::MakeCase(7, number)),
                  RandomFiles::DescribeCase(RandomFiles::MakeCase(7, number)));
    }
    EXPECT_NE(RandomFiles::DescribeCase(RandomFiles::MakeCase(7, 1)),
              RandomFiles::DescribeCase(RandomFiles::MakeCase(7, 2)));
}

} // namespace
