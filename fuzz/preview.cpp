// Detection of the separator and previews, before and after reads: the engine against the literal
// reader in blocks of several sizes.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "ReaderTraces.h"
#include "TextMaker.h"

#include <Orvane/Constants.h>

#include <algorithm>

namespace Fuzz {

void RunInput(std::string_view bytes)
{
    using RandomFiles::EStep;
    using ReaderTraces::EReader;
    using ReaderTraces::Perform;
    RandomFiles::Case input = DecodeCase(bytes);
    // One size is the rule's; the reader can be asked in that one only.
    const std::size_t fullBlock = LiteralReader::Reader::kBlockSize;
    const auto contentSize = static_cast<std::size_t>(input.content.size());
    if (std::find(input.steps.begin(), input.steps.end(), EStep::Preview) == input.steps.end()) {
        input.steps.insert(input.steps.begin(), EStep::Preview);
    }
    const QString path = ScratchFile(input.fileName, input.content);
    const auto compare = [&](const char* title, EReader literal, EReader reader, std::size_t size) {
        const std::string difference = ReaderTraces::FirstDifference(
            ReaderTraces::WithoutEngine(Perform(literal, path, input, size)),
            ReaderTraces::WithoutEngine(Perform(reader, path, input, size)));
        if (!difference.empty()) {
            Fail(std::string(title) + ", blocks of " + std::to_string(size) + "\n" + difference +
                 RandomFiles::DescribeCase(input));
        }
    };
    compare("reader", EReader::GuardedLiteral, EReader::Plugin, fullBlock);
    constexpr std::size_t kMostBlocks = 256;
    for (const std::size_t size :
         {input.smallBlockSize, std::size_t{3}, std::max<std::size_t>(contentSize / 2, 1)}) {
        compare(
            "engine", EReader::Literal, EReader::Engine, std::max(size, contentSize / kMostBlocks));
    }
}

std::string MakeInput(Dice& dice)
{
    using RandomFiles::EStep;
    RandomFiles::Case random = MakeRandomCase(dice);
    if (dice.Chance(70)) {
        // Files whose separator has to be found out, with few options in the way.
        const std::string separator = dice.Pick<const char*>({",", "\t", ",\t", "\t,", " ", ";"});
        std::string text;
        for (std::size_t left = dice.Below(4); left > 0; --left) {
            text += MakeLine(dice, dice.Below(4), separator.substr(0, 1));
            text += MakeLine(dice, dice.Below(4), separator.substr(separator.size() - 1));
            text += dice.Pick<const char*>({"\n", "\n", "\r\n", "\n\n", " \n", "\"\n"});
        }
        random.fileName = QStringLiteral("points.txt");
        random.content = QByteArray(text.data(), static_cast<qsizetype>(text.size()));
        random.kept.Remove(Orvane::ASCII_SEPARATOR);
        random.opened.Remove(Orvane::ASCII_SEPARATOR);
        random.kept.Remove(Orvane::FIELD_LENGTH);
        random.opened.Remove(Orvane::FIELD_LENGTH);
    }
    random.steps.clear();
    for (std::size_t left = dice.Below(4); left > 0; --left) {
        random.steps.push_back(dice.Chance(60) ? EStep::Preview : EStep::Read);
    }
    return EncodeCase(random);
}

} // namespace Fuzz
