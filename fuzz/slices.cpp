// Reads in slices by a record limit: against the literal reader, and against the rows of a whole
// read where these tell what each slice must hold.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "FuzzInput.h"
#include "LiteralRules.h"
#include "ReaderTraces.h"
#include "file/AsciiFile.h"
#include "text/SplitPatterns.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace Fuzz {

using AsciiReader::AsciiFile;
using Orvane::BParamList;
using RandomFiles::Case;
using ReaderTraces::Trace;

namespace {

/// Values of a feature without its name, which counts lines from the slice's beginning.
std::string ValuesOf(const Orvane::BFeature& feature)
{
    Trace trace;
    ReaderTraces::DescribeFeature("", feature, trace);
    std::string text = trace[0].substr(trace[0].find("\" ") + 2);
    for (std::size_t i = 1; i < trace.size(); ++i) {
        text += "; " + trace[i];
    }
    return text;
}

/// An engine that is ready to read rows.
std::unique_ptr<AsciiFile> OpenEngine(const QString& path, const BParamList& params)
{
    auto file = std::make_unique<AsciiFile>(Orvane::MakeBString(path), AsciiFile::kRead, params);
    file->Open();
    file->Read();
    file->SetSeparator(AsciiReader::SplitPatterns::CommaSplit());
    file->BuildSchema();
    file->CreateLayer();
    return file;
}

/// Options whose reads can be foretold line by line.
bool IsForetold(const BParamList& params)
{
    const auto keys = {Orvane::FIRST_LINE_COLUMN_NAMES,
                       Orvane::NAME_COLUMN,
                       Orvane::ASCII_HEADER_IDENTIFIER,
                       Orvane::ASCII_HEADER_BLANK_LINE,
                       Orvane::ASCII_HEADER_COUNT,
                       Orvane::IGNORE_BLANK_ROWS};
    return std::none_of(keys.begin(), keys.end(), [&params](const Orvane::BString& key) {
        return params.HasProperty(key);
    });
}

/// What slices of these limits must hold, by the lines of the file and the features of a whole
/// read.
void CheckForetold(const QString& path, const BParamList& params, std::string_view limits)
{
    QStringList lines;
    std::unique_ptr<AsciiFile> whole;
    std::unique_ptr<AsciiFile> sliced;
    try {
        LiteralReader::Rules::ReadLines(path, params, LiteralReader::Reader::kBlockSize, lines);
        whole = OpenEngine(path, params);
        whole->BuildLayer(0);
        sliced = OpenEngine(path, params);
    } catch (const Orvane::BException&) {
        return;
    } catch (const std::out_of_range&) {
        return;
    }
    for (const QString& line : lines) {
        if (line.count(QLatin1Char('"')) % 2 != 0) {
            return;
        }
    }
    std::map<std::uint32_t, std::string> features;
    Orvane::BFeatureCollection& all = whole->GetLayer()->GetFeatures();
    for (std::size_t row = 0; row < all.GetCount(); ++row) {
        const Orvane::BSharedPtr<Orvane::BFeature> feature = all.GetAt(row);
        features[static_cast<std::uint32_t>(Orvane::MakeQString(feature->GetName()).toUInt())] =
            ValuesOf(*feature);
    }

    const auto lineCount = static_cast<std::uint32_t>(lines.size());
    Orvane::BFeatureCollection& rows = sliced->GetLayer()->GetFeatures();
    std::uint32_t line = 1;
    std::size_t row = 0;
    for (FuzzInput limit(limits); line <= lineCount;) {
        const std::int32_t most = limit.IsEmpty() ? 0 : limit.Number<std::int8_t>();
        const bool isWhole = sliced->BuildLayer(most);
        const std::uint32_t before = line - 1;
        std::int32_t added = 0;
        bool isLimited = false;
        for (; line <= lineCount; ++line) {
            if (most >= 1 && added >= most) {
                // The line read when the limit is reached is dropped.
                ++line;
                isLimited = true;
                break;
            }
            const auto found = features.find(line);
            if (found == features.end()) {
                continue;
            }
            const std::string title =
                "line " + std::to_string(line) + " in a slice of " + std::to_string(most);
            if (row >= rows.GetCount()) {
                Fail(title + " is missing");
            }
            const Orvane::BSharedPtr<Orvane::BFeature> feature = rows.GetAt(row);
            ExpectSame(title, found->second, ValuesOf(*feature));
            ExpectSame(
                title + ", name", std::to_string(line - before), feature->GetName().ToUtf8());
            ++row;
            ++added;
        }
        ExpectSame("whether a limit ended the slice", YesOrNo(isLimited), YesOrNo(!isWhole));
    }
    ExpectSame("rows of all slices", std::to_string(row), std::to_string(rows.GetCount()));
}

} // namespace

void RunInput(std::string_view bytes)
{
    using RandomFiles::EStep;
    using ReaderTraces::EReader;
    using ReaderTraces::Perform;
    FuzzInput front(bytes);
    const std::string_view limits = front.Text();
    Case input = DecodeCase(front.Rest());
    const auto contentSize = static_cast<std::size_t>(input.content.size());
    constexpr std::size_t kMostBlocks = 256;
    input.smallBlockSize = std::max(input.smallBlockSize, contentSize / kMostBlocks);
    const QString path = ScratchFile(input.fileName, input.content);

    const std::int32_t limit =
        1 + (limits.empty() ? 0 : static_cast<unsigned char>(limits.front()) % 7);
    input.kept.Add(Orvane::MAX_RECORDS, limit);
    input.steps.assign(6, EStep::Read);
    for (const std::size_t size : {LiteralReader::Reader::kBlockSize, input.smallBlockSize}) {
        const std::string difference =
            ReaderTraces::FirstDifference(Perform(EReader::Literal, path, input, size),
                                          Perform(EReader::Engine, path, input, size));
        if (!difference.empty()) {
            Fail("slices of " + std::to_string(limit) + "\n" + difference +
                 RandomFiles::DescribeCase(input));
        }
    }
    if (IsForetold(input.opened)) {
        CheckForetold(path, input.opened, limits);
    }
}

std::string MakeInput(Dice& dice)
{
    Case random = MakeRandomCase(dice);
    if (dice.Chance(60)) {
        // The result of a read with most options cannot be predicted.
        for (const Orvane::BString& key : {Orvane::FIRST_LINE_COLUMN_NAMES,
                                           Orvane::NAME_COLUMN,
                                           Orvane::ASCII_HEADER_IDENTIFIER,
                                           Orvane::ASCII_HEADER_BLANK_LINE,
                                           Orvane::ASCII_HEADER_COUNT,
                                           Orvane::IGNORE_BLANK_ROWS}) {
            random.opened.Remove(key);
        }
        random.kept = random.opened;
    }
    FuzzOutput output;
    std::string limits;
    for (std::size_t left = dice.Below(8); left > 0; --left) {
        limits += static_cast<char>(dice.Between(0, 5));
    }
    return output.Text(limits).Rest(EncodeCase(random)).Take();
}

} // namespace Fuzz
