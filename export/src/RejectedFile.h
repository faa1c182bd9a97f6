// The file of bad rows of an output that is no file.
#pragma once

#include "OutputFile.h"

#include <Orvane/Import/Targets.h>

#include <memory>
#include <string>

namespace Orvane::Import {

/// Where the bad rows of an import into a database or to standard output go.
///
/// Order of calls: Add, writing of the work file, Prepare, Commit; without Commit nothing is left.
/// All operations throw ImportFailure, as OutputFile.
class RejectedFile
{
public:
    /// @param name of the file; relative names are of the working folder
    /// @param input the file that is read
    SideFile Add(std::string name, const std::string& input);

    /// Puts the file on the disk; hardly anything can keep Commit from placing it then.
    void Prepare();

    /// Moves the file to its place, when there is one.
    void Commit();

private:
    [[nodiscard]] bool IsThere() const;

    std::string m_name;
    std::unique_ptr<OutputFile> m_file;
};

} // namespace Orvane::Import
