// Asks a reader of its own for the columns of a file.
#include "Wrap.h"

#include <Orvane/Constants.h>
#include <Orvane/Import/Preview.h>
#include <Orvane/Import/Session.h>

#include <text/OptionRules.h>

namespace Orvane::Import {

FilePreview ParsePreview(const BParamList& answer)
{
    return WrapFailures({}, [&] {
        FilePreview preview;
        preview.hasColumnNames = answer.GetString(FIRST_LINE_COLUMN_NAMES) == "1";
        const std::int32_t count = answer.GetInteger(NUM_COLUMNS);
        for (std::int32_t index = 0; index < count; ++index) {
            std::vector<BString> texts = answer.GetStrings(BString::FromInteger(index));
            texts.resize(2);
            preview.columns.push_back({texts[0], texts[1]});
        }
        return preview;
    });
}

BParamList
AskPreview(const BPluginModule& module, const std::string& file, const BParamList& options)
{
    Session session(module, file, options);
    session.Open();
    BParamList answer = session.Preview();
    session.Close();
    return answer;
}

std::vector<BString> NamesOfColumns(const FilePreview& preview, bool hasColumnNames)
{
    return WrapFailures({}, [&] {
        std::vector<BString> names;
        for (const FilePreview::Column& column : preview.columns) {
            BString name = hasColumnNames ? column.first.Trim() : BString();
            if (name.IsEmpty()) {
                name = AsciiReader::OptionRules::MakeColumnName(
                    static_cast<std::int64_t>(names.size()) + 1);
            }
            names.push_back(name);
        }
        return names;
    });
}

} // namespace Orvane::Import
