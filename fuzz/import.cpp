// Whole reads from options and bytes: the plug-in against the literal reader, in blocks of full and
// of small size, with layers in memory and on disk.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "ReaderTraces.h"

#include <algorithm>

namespace Fuzz {

void RunInput(std::string_view bytes)
{
    using ReaderTraces::EReader;
    using ReaderTraces::Perform;
    using ReaderTraces::Trace;
    constexpr std::size_t kFullBlock = LiteralReader::Reader::kBlockSize;
    // The literal reader decodes the file anew for each block.
    constexpr std::size_t kMostBlocks = 256;

    RandomFiles::Case input = DecodeCase(bytes);
    input.smallBlockSize = std::max(input.smallBlockSize,
                                    static_cast<std::size_t>(input.content.size()) / kMostBlocks);
    const QString path = ScratchFile(input.fileName, input.content);
    const auto compare = [&](const char* title, const Trace& expected, const Trace& actual) {
        const std::string difference = ReaderTraces::FirstDifference(expected, actual);
        if (!difference.empty()) {
            Fail(std::string(title) + "\n" + difference + RandomFiles::DescribeCase(input));
        }
    };
    compare("engine, full blocks",
            Perform(EReader::Literal, path, input, kFullBlock),
            Perform(EReader::Engine, path, input, kFullBlock));
    compare("reader",
            ReaderTraces::WithoutEngine(Perform(EReader::GuardedLiteral, path, input, kFullBlock)),
            ReaderTraces::WithoutEngine(Perform(EReader::Plugin, path, input, kFullBlock)));
    compare("engine, small blocks",
            Perform(EReader::Literal, path, input, input.smallBlockSize),
            Perform(EReader::Engine, path, input, input.smallBlockSize));
}

std::string MakeInput(Dice& dice)
{
    return EncodeCase(MakeRandomCase(dice));
}

} // namespace Fuzz
