// Cases from bytes and back.
#include "CaseBytes.h"

#include "FuzzInput.h"

#include <QStringList>

#include <algorithm>

namespace Fuzz {

using RandomFiles::Case;
using RandomFiles::EStep;

namespace {

constexpr std::size_t kMostSteps = 6;
constexpr std::size_t kSmallBlocks = 64;

const QStringList& Extensions()
{
    static const QStringList kExtensions = {QStringLiteral(".csv"),
                                            QStringLiteral(".txt"),
                                            QStringLiteral(".tsv"),
                                            QStringLiteral(".ssv"),
                                            QStringLiteral(".asc"),
                                            QStringLiteral(".dat"),
                                            QStringLiteral(".CSV"),
                                            QStringLiteral("")};
    return kExtensions;
}

constexpr std::size_t kHasProgress = 1;
constexpr std::size_t kKeepsOther = 2;
constexpr std::size_t kUsesDiskCache = 4;
/// The flags' remaining bits: rows of a page on disk, less 1.
constexpr std::size_t kCachePageShift = 3;
constexpr std::uint32_t kLargestCachePage = 32;

} // namespace

Case DecodeCase(std::string_view bytes)
{
    FuzzInput input(bytes);
    Case result;
    const auto extension =
        static_cast<qsizetype>(input.Below(static_cast<std::size_t>(Extensions().size())));
    result.fileName = QStringLiteral("points") + Extensions()[extension];
    const std::size_t flags = input.Byte();
    result.hasProgress = (flags & kHasProgress) != 0;
    if ((flags & kUsesDiskCache) != 0) {
        result.cachePageRows = 1 + static_cast<std::uint32_t>(flags >> kCachePageShift);
    }
    result.smallBlockSize = 1 + input.Below(kSmallBlocks);
    const std::uint32_t cancelLine = input.Byte();
    result.cancelLine = result.hasProgress ? cancelLine : 0;
    for (std::size_t left = input.Below(kMostSteps); left > 0; --left) {
        result.steps.push_back(input.Bit() ? EStep::Preview : EStep::Read);
    }
    result.opened = input.Options();
    result.kept = (flags & kKeepsOther) != 0 ? input.Options() : result.opened;
    const std::string_view rest = input.Rest();
    result.content = QByteArray(rest.data(), static_cast<qsizetype>(rest.size()));
    return result;
}

std::string EncodeCase(const Case& input)
{
    qsizetype extension = Extensions().size() - 1;
    for (qsizetype i = 0; i < Extensions().size() - 1; ++i) {
        if (input.fileName.endsWith(Extensions()[i])) {
            extension = i;
            break;
        }
    }
    FuzzOutput kept;
    kept.Options(input.kept);
    FuzzOutput opened;
    opened.Options(input.opened);
    const bool keepsOther = kept.Take() != opened.Take();
    const std::size_t stepCount = std::min(input.steps.size(), kMostSteps - 1);
    std::size_t flags = (input.hasProgress ? kHasProgress : 0) | (keepsOther ? kKeepsOther : 0);
    if (input.cachePageRows != 0) {
        const std::uint32_t rows = std::min(input.cachePageRows, kLargestCachePage);
        flags |= kUsesDiskCache | (std::size_t{rows - 1} << kCachePageShift);
    }
    FuzzOutput output;
    output.Byte(static_cast<std::size_t>(extension))
        .Byte(flags)
        .Byte(input.smallBlockSize - 1)
        .Byte(input.cancelLine)
        .Byte(stepCount);
    for (std::size_t i = 0; i < stepCount; ++i) {
        output.Byte(input.steps[i] == EStep::Preview ? 1 : 0);
    }
    output.Rest(opened.Take());
    if (keepsOther) {
        output.Rest(kept.Take());
    }
    output.Rest({input.content.constData(), static_cast<std::size_t>(input.content.size())});
    return output.Take();
}

Case MakeRandomCase(Dice& dice)
{
    const std::uint64_t seed = dice.Next();
    return RandomFiles::MakeCase(seed, dice.Next());
}

} // namespace Fuzz
