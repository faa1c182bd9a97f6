// Temporary files, option lists and expectations that the unit tests share.
#pragma once

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BProgress.h>
#include <Orvane/BString.h>
#include <Orvane/BVariant.h>
#include <Orvane/BVectorLayer.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane {

/// GoogleTest prints texts and values through these.
void PrintTo(const BString& text, std::ostream* stream);
void PrintTo(const BVariant& value, std::ostream* stream);
void PrintTo(EVariantType type, std::ostream* stream);

} // namespace Orvane

namespace TestSupport {

using Orvane::BString;

/// A list of texts, so that rows can be written down in a test.
using Texts = std::vector<BString>;

/// Names the instances of a table by their rows' names.
struct CaseName
{
    template <typename Case>
    std::string operator()(const testing::TestParamInfo<Case>& instance) const
    {
        return instance.param.name;
    }
};

/// A folder of its own, removed with all its files at the end.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return m_path; }

    /// The path of a name inside the folder; nothing is created.
    [[nodiscard]] BString Name(std::string_view name) const;
    /// Writes exactly these bytes. @return the file's path
    [[nodiscard]] BString File(std::string_view name, std::string_view bytes) const;

private:
    std::filesystem::path m_path;
};

/// An option list written as a chain: Options().Set(X_COLUMN, 0).Set(Y_COLUMN, 1).
class Options : public Orvane::BParamList
{
public:
    template <typename T>
    Options& Set(const BString& key, const T& value)
    {
        Add(key, value);
        return *this;
    }

    Options& XY(std::int32_t xIndex, std::int32_t yIndex);
    Options& XYZ(std::int32_t xIndex, std::int32_t yIndex, std::int32_t zIndex);
    /// FIRST_LINE_COLUMN_NAMES true.
    Options& Names();
};

/// What an action threw, as texts. `className` is empty when it threw nothing.
struct Failure
{
    std::string className;
    BString message;
    BString location;
    BString details;
    std::string what;
};

/// Runs the action and records what it throws: an exact SDK class, or a standard class.
[[nodiscard]] Failure CatchFailure(const std::function<void()>& action);

/// Expects a plain BException; the arguments in the order in which the exception takes them.
void ExpectBException(const std::function<void()>& action,
                      const BString& message,
                      const BString& location,
                      const BString& details = BString());

/// Expects one of the subclasses, whose details are its message and its what() too.
void ExpectSubclass(const std::function<void()>& action,
                    std::string_view className,
                    const BString& location,
                    const BString& details);

/// Expects the standard out-of-range error "invalid vector subscript".
void ExpectInvalidSubscript(const std::function<void()>& action);

/// One definition in one line: "name:type:length:precision".
[[nodiscard]] std::string Describe(const Orvane::BAttributeDef& def);
[[nodiscard]] std::vector<std::string> Describe(const Orvane::BAttributeDefs& schema);

/// One feature in one line: "name (x y z) attribute=type:value ...", "(-)" without geometry.
[[nodiscard]] std::string Describe(const Orvane::BFeature& feature);
[[nodiscard]] std::vector<std::string> Describe(Orvane::BVectorLayer& layer);

/// The value as "type:text"; numbers with their shortest exact digits, whatever the locale.
[[nodiscard]] std::string Describe(const Orvane::BVariant& value);

/// Names of the features of a layer, in order.
[[nodiscard]] std::vector<std::string> FeatureNames(Orvane::BVectorLayer& layer);

/// Number of this process's open descriptors of a file.
[[nodiscard]] std::size_t CountOpenDescriptors(const BString& path);

/// A progress object that records every call and can refuse one report.
class NotingProgress : public Orvane::BProgress
{
public:
    bool ShouldReport(unsigned done, unsigned total) override;
    bool Report(unsigned done, unsigned total) override;

    /// Whether reports are wanted.
    bool wantsReports = true;
    /// Position, from 1, of the report that is refused; 0 for none.
    std::size_t refusedReport = 0;
    std::vector<std::pair<unsigned, unsigned>> questions;
    std::vector<std::pair<unsigned, unsigned>> reports;
};

/// While it lives, memory that stays allocated by a stated rule does not count as a leak.
class LeaksByRule
{
public:
    LeaksByRule();
    ~LeaksByRule();
    LeaksByRule(const LeaksByRule&) = delete;
    LeaksByRule& operator=(const LeaksByRule&) = delete;
};

} // namespace TestSupport
