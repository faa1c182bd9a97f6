// Shows how a host looks at a file before the import: the first two rows, column by column, and
// whether the first of them holds names.
//
// Usage: preview_columns MODULE FILE [KEY=VALUE]...
// Read first: list_layer.cpp.
#include "ExampleSupport.h"

#include <Orvane/BPluginModule.h>
#include <Orvane/Constants.h>

#include <cstdint>
#include <iostream>
#include <vector>

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 3) {
        std::cerr << "usage: preview_columns MODULE FILE [KEY=VALUE]...\n";
        return 2;
    }
    return Examples::Run([&] {
        const Orvane::BParamList options = Examples::ParseOptions(argumentCount, arguments, 3);
        const Orvane::BPluginModule module(arguments[1]);
        const Orvane::BReaderHandle reader = module.CreateReader(arguments[2], options);
        reader->Open(arguments[2], options);

        // A preview consumes the lines that it shows: reading all rows needs another reader.
        const Orvane::BParamList preview = reader->GetFilePreview(Orvane::QUERY_COLUMNS);
        const bool hasNames = preview.GetString(Orvane::FIRST_LINE_COLUMN_NAMES) == "1";
        std::cout << "first line: " << (hasNames ? "column names" : "data") << '\n';
        const std::int32_t columnCount = preview.GetInteger(Orvane::NUM_COLUMNS);
        for (std::int32_t column = 0; column < columnCount; ++column) {
            const std::vector<Orvane::BString> values =
                preview.GetStrings(Orvane::BString::FromInteger(column));
            std::cout << column << ": " << values[0].ToUtf8() << " | " << values[1].ToUtf8()
                      << '\n';
        }
        reader->Close();
    });
}
