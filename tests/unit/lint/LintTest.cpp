// What lint finds in small files, and how a caller limits, follows and stops it.
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Lint.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Orvane::Import::Callbacks;
using Orvane::Import::CancelFlag;
using Orvane::Import::EPhase;
using Orvane::Import::ImportFailure;
using Orvane::Import::Lint;
using Orvane::Import::LintFinding;
using Orvane::Import::LintReport;
using Orvane::Import::LintRequest;
using Orvane::Import::ProgressState;

/// A file that goes with the object.
class ScratchFile
{
public:
    explicit ScratchFile(const std::string& content, const std::string& extension = ".csv")
        : m_path((std::filesystem::temp_directory_path() /
                  ("orvane-lint-" + std::to_string(getpid()) + extension))
                     .string())
    {
        std::ofstream(m_path, std::ios::binary) << content;
    }

    ~ScratchFile() { std::remove(m_path.c_str()); }

    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

struct Found
{
    LintReport report;
    std::vector<LintFinding> findings;
};

Found LintText(const std::string& content, const LintRequest& request = {})
{
    const ScratchFile file(content);
    Found found;
    found.report = Lint(file.Path(), request, [&](const LintFinding& finding) {
        found.findings.push_back(finding);
    });
    return found;
}

/// "late-decimal 6:10 [9.75] reads 9": the findings with that code, or all without one.
std::vector<std::string> Show(const Found& found, const std::string& code)
{
    std::vector<std::string> lines;
    for (const LintFinding& finding : found.findings) {
        if (finding.code == code) {
            lines.push_back(std::to_string(finding.line) + ":" + std::to_string(finding.character) +
                            " [" + finding.text + "] " + finding.bareReader);
        }
    }
    return lines;
}

using Lines = std::vector<std::string>;

constexpr const char* kWhole = "lon,lat,n\n8.5,47.4,5\n7.4,46.9,6\n7.5,46.8,7\n7.6,46.7,8\n";

/// What the bare reader makes of a cell after four rows of whole numbers.
struct CellCase
{
    const char* name;
    const char* cell;
    const char* code;
    const char* text;
    const char* bareReader;
};

void PrintTo(const CellCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr CellCase kCells[] = {
    {"DropsDecimals", "9.75", "late-decimal", "9.75", "reads 9"},
    {"DropsTheDecimalsOfANegativeNumber", "-3.5", "late-decimal", "-3.5", "reads -3"},
    {"StopsAtAnExponent", "1e3", "exponent", "1e3", "reads 1"},
    {"MakesAnEmptyCellZero", "", "gap", "", "reads 0"},
    {"MakesBlanksZero", "  ", "gap", "  ", "reads 0"},
    {"MakesATextZero", "abc", "late-text", "abc", "reads 0"},
    {"MakesANullWordZero", "NA", "null-word", "NA", "reads 0"},
    {"MakesNanZero", "NaN", "null-word", "NaN", "reads 0"},
    {"KeepsTheLow32Bits", "99999999999", "big-integer", "99999999999", "reads 1215752191"},
    {"DropsALeadingZero", "0800", "leading-zero", "0800", "reads 800"},
    {"StopsAtAThousandsSign", "1'234.5", "thousands", "1'234.5", "reads 1"},
    {"DoesNotKnowTheMinusOfMathematics",
     "\xE2\x88\x92"
     "9",
     "unicode-minus",
     "\xE2\x88\x92"
     "9",
     "reads 0"},
};

class LintCell : public testing::TestWithParam<CellCase>
{};

TEST_P(LintCell, IsReadByTheBareReader)
{
    const CellCase& row = GetParam();
    const Found found = LintText(std::string(kWhole) + "7.7,46.6," + row.cell + "\n");
    EXPECT_EQ(Show(found, row.code),
              Lines{"6:10 [" + std::string(row.text) + "] " + row.bareReader});
    EXPECT_EQ(found.report.warnings, found.findings.size() - found.report.notes);
}

INSTANTIATE_TEST_SUITE_P(, LintCell, testing::ValuesIn(kCells), [](const auto& row) {
    return row.param.name;
});

TEST(Lint, WalksOnlyWhereThePlanSaysThatSomethingIsThere)
{
    EXPECT_FALSE(LintText(kWhole).report.isWalked);
    EXPECT_TRUE(LintText(std::string(kWhole) + "7.7,46.6,\n").report.isWalked);
}

TEST(Lint, HandsOverTheFirstFindingsOfAKindAndCountsTheOthers)
{
    std::string content = kWhole;
    for (int row = 0; row < 100; ++row) {
        for (int sound = 0; sound < 20; ++sound) {
            content += "7.6,46.5,3\n";
        }
        content += "7.7,46.6,9.75\n7.7,46.6,1,2\n";
    }
    LintRequest request;
    request.mostPerCode = 3;
    const Found found = LintText(content, request);
    EXPECT_EQ(found.findings.size(), 6U);
    EXPECT_EQ(found.report.warnings, 100U);
    EXPECT_EQ(found.report.errors, 100U);
    ASSERT_EQ(found.report.counts.size(), 2U);
    EXPECT_EQ(found.report.counts[0].code, "long-row");
    EXPECT_EQ(found.report.counts[0].count, 100U);
    EXPECT_EQ(found.report.counts[0].shown, 3U);
    request.mostPerCode = 0;
    EXPECT_EQ(LintText(content, request).findings.size(), 200U);
}

TEST(Lint, KeepsWhatTheCallerHasDecidedInItsCommands)
{
    LintRequest request;
    request.plan.separator = ";";
    request.plan.hasNames = true;
    request.plan.nullTexts = {"-1"};
    const ScratchFile file("lon;lat;n\n8.5;47.4;a\n7.4;46.9;b;c\n");
    std::vector<std::vector<std::string>> fixes;
    Lint(file.Path(), request, [&](const LintFinding& finding) {
        if (finding.code == "long-row") {
            fixes = finding.fixes;
        }
    });
    EXPECT_EQ(fixes,
              (std::vector<std::vector<std::string>>{{"import",
                                                      file.Path(),
                                                      "--separator",
                                                      ";",
                                                      "--names",
                                                      "yes",
                                                      "--null",
                                                      "-1",
                                                      "--on-bad",
                                                      "quarantine"}}));
}

TEST(Lint, FindsCellsThatDoNotFitAGivenType)
{
    LintRequest request;
    request.plan.types = {{"n", Orvane::Import::EPlanType::Integer32}};
    const Found found = LintText("lon,lat,n\n8.5,47.4,5\n7.4,46.9,x\n", request);
    EXPECT_EQ(Show(found, "bad-value"), Lines{"3:10 [x] makes the column text"});
    EXPECT_EQ(found.report.errors, 1U);
}

TEST(Lint, LetsAnExceptionOfTheCallerPass)
{
    const ScratchFile file(std::string(kWhole) + "7.7,46.6,\n");
    EXPECT_THROW(Lint(file.Path(), {}, [](const LintFinding&) { throw std::logic_error("mine"); }),
                 std::logic_error);
}

TEST(Lint, StopsWhenItIsCancelled)
{
    const ScratchFile file(std::string(kWhole) + "7.7,46.6,\n");
    CancelFlag cancel;
    cancel.Request();
    Callbacks callbacks;
    callbacks.cancel = &cancel;
    try {
        Lint(
            file.Path(), {}, [](const LintFinding&) {}, callbacks);
        FAIL() << "not cancelled";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("cancelled"));
    }
}

TEST(Lint, TellsHowFarTheWalkIs)
{
    std::string content = kWhole;
    for (int row = 0; row < 20000; ++row) {
        content += "7.7,46.6,\n";
    }
    const ScratchFile file(content);
    std::vector<EPhase> phases;
    std::uint64_t most = 0;
    Callbacks callbacks;
    callbacks.interval = std::chrono::milliseconds(0);
    callbacks.progress = [&](const ProgressState& state) {
        if (phases.empty() || phases.back() != state.phase) {
            phases.push_back(state.phase);
        }
        EXPECT_GE(state.rowsDone, state.phase == EPhase::Reading ? most : 0);
        most = state.rowsDone;
        return true;
    };
    Lint(
        file.Path(), {}, [](const LintFinding&) {}, callbacks);
    EXPECT_EQ(phases, (std::vector<EPhase>{EPhase::Preparing, EPhase::Reading}));
    EXPECT_GT(most, 16000U);
}

TEST(Lint, FailsForAFileThatIsNotThere)
{
    try {
        Lint("/nowhere/none.csv", {}, [](const LintFinding&) {});
        FAIL() << "no failure";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("no-such-file"));
        EXPECT_EQ(failure.GetFields().file, "/nowhere/none.csv");
    }
}

TEST(Lint, HasARuleForEachCode)
{
    for (const Orvane::Import::LintRule& rule : Orvane::Import::GetLintRules()) {
        EXPECT_FALSE(rule.code.empty());
        EXPECT_TRUE(rule.summary.ends_with('.')) << rule.code;
        EXPECT_FALSE(rule.bareReader.ends_with('.')) << rule.code;
    }
}

} // namespace
