// The findings of `orvane lint` as text for people, as JSON and as SARIF, written as they come.
#pragma once

#include "TextOutput.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Lint.h>

#include <memory>
#include <string>

namespace OrvaneHost {

/// A document of findings.
///
/// Use: Add any number of times, then End once, or Fail once when the file cannot be read to its
/// end. Until the first of them nothing is written. The output is the caller's, as is its Flush.
/// All operations throw what TextOutput throws.
class LintWriter
{
public:
    LintWriter() = default;
    virtual ~LintWriter() = default;
    LintWriter(const LintWriter&) = delete;
    LintWriter& operator=(const LintWriter&) = delete;

    virtual void Add(const Orvane::Import::LintFinding& finding) = 0;
    virtual void End(const Orvane::Import::LintReport& report) = 0;
    virtual void Fail(const Orvane::Import::ImportFailure& failure) = 0;
};

enum class ELintFormat {
    Text,
    Json,
    Sarif,
};

/// @param file as the caller gave it
[[nodiscard]] std::unique_ptr<LintWriter>
MakeLintWriter(ELintFormat format, const std::string& file, TextOutput& output);

} // namespace OrvaneHost
