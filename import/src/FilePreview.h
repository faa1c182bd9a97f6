// A reader's preview of a file's columns.
#pragma once

#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <string>
#include <vector>

namespace OrvaneHost {

/// The answer to QUERY_COLUMNS, taken apart.
struct FilePreview
{
    struct Column
    {
        Orvane::BString first;  ///< the first row's text
        Orvane::BString second; ///< the second row's text, empty when there is no second row
    };

    std::vector<Column> columns;
    bool hasColumnNames = false; ///< the reader takes the first row for column names
};

/// Takes the reader's answer apart.
[[nodiscard]] FilePreview ParsePreview(const Orvane::BParamList& answer);

/// Opens the file with a reader of its own and asks for the preview.
[[nodiscard]] Orvane::BParamList AskPreview(Orvane::BDataManagerProxy& proxy,
                                            const std::string& file,
                                            const Orvane::BParamList& params);

} // namespace OrvaneHost
