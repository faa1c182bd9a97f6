// Asks a throw-away reader for the columns of a file.
#include "FilePreview.h"

#include "ReaderSession.h"

#include <Orvane/Constants.h>

namespace OrvaneHost {

FilePreview ParsePreview(const Orvane::BParamList& answer)
{
    FilePreview preview;
    preview.hasColumnNames = answer.GetString(Orvane::FIRST_LINE_COLUMN_NAMES) == "1";
    const std::int32_t count = answer.GetInteger(Orvane::NUM_COLUMNS);
    for (std::int32_t index = 0; index < count; ++index) {
        std::vector<Orvane::BString> texts = answer.GetStrings(Orvane::BString::FromInteger(index));
        texts.resize(2);
        preview.columns.push_back({texts[0], texts[1]});
    }
    return preview;
}

Orvane::BParamList AskPreview(Orvane::BDataManagerProxy& proxy,
                              const std::string& file,
                              const Orvane::BParamList& params)
{
    ReaderSession session(proxy, file, params);
    session.Open();
    Orvane::BParamList answer = session.Preview();
    session.Close();
    return answer;
}

} // namespace OrvaneHost
