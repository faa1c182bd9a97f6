// The columns of a file, as a look at its first two rows shows them.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>

#include <string>
#include <vector>

namespace Orvane::Import {

/// The first two rows by column. Header lines that the options name are not skipped.
struct FilePreview
{
    struct Column
    {
        BString first;  ///< the first row's text
        BString second; ///< the second row's text, empty when there is no second row
    };

    std::vector<Column> columns; ///< by index from 0
    bool hasColumnNames = false; ///< the reader considers the first row to be column names
};

/// Sorts a reader's answer to QUERY_COLUMNS by column. Columns that it lacks are empty.
[[nodiscard]] ORVANE_IMPORT_EXPORT FilePreview ParsePreview(const BParamList& answer);

/// Opens the file with a reader of its own and asks for the preview. Reads the first lines; all of
/// the file when AUTO_SCHEMA_ALL_ROWS is set.
/// @param file UTF-8
/// @return the reader's answer as it is
/// @throws ImportFailure as Session does
[[nodiscard]] ORVANE_IMPORT_EXPORT BParamList AskPreview(const BPluginModule& module,
                                                         const std::string& file,
                                                         const BParamList& options);

/// The names of all columns: those of the first row, trimmed, when `hasColumnNames`; "C1", "C2" and
/// so on for columns without one.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::vector<BString> NamesOfColumns(const FilePreview& preview,
                                                                       bool hasColumnNames);

} // namespace Orvane::Import
