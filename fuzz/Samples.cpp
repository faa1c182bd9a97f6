// Texts, options and descriptions that harnesses share.
#include "Samples.h"

#include "ReaderTraces.h"
#include "file/AsciiFile.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <stdexcept>

namespace Fuzz {

using Orvane::BString;

QString ToText(std::string_view bytes, bool isUtf8)
{
    return Orvane::MakeQString(isUtf8 ? BString::FromUtf8(bytes) : BString::FromLatin1(bytes));
}

QStringList ToLines(std::string_view bytes, bool isUtf8)
{
    return ToText(bytes, isUtf8).split(QLatin1Char('\n'), Qt::KeepEmptyParts);
}

Orvane::BParamList Normalised(const Orvane::BParamList& params)
{
    return AsciiReader::AsciiFile(BString(), AsciiReader::AsciiFile::kRead, params).GetParams();
}

LiteralReader::Rules::Cut CutOf(const Orvane::BParamList& params)
{
    return LiteralReader::Rules::CutAt(
        params.HasProperty(Orvane::ASCII_SEPARATOR)
            ? Orvane::MakeQString(params.GetString(Orvane::ASCII_SEPARATOR))
            : QStringLiteral(","));
}

std::string Describe(const Orvane::BAttributeDefs& schema)
{
    std::string text = std::to_string(schema.GetCount()) + " columns";
    for (std::size_t i = 0; i < schema.GetCount(); ++i) {
        const Orvane::BAttributeDef& def = schema.GetAt(i);
        text += "; " + ReaderTraces::DescribeDefinition(def.GetName(),
                                                        static_cast<int>(def.GetType()),
                                                        def.GetLength(),
                                                        def.GetPrecision());
    }
    return text;
}

std::string Describe(const std::vector<LiteralReader::Definition>& schema)
{
    std::string text = std::to_string(schema.size()) + " columns";
    for (const LiteralReader::Definition& def : schema) {
        text += "; " + ReaderTraces::DescribeDefinition(
                           Orvane::MakeBString(def.name), def.type, def.length, def.precision);
    }
    return text;
}

std::string Outcome(const std::function<std::string()>& action)
{
    try {
        return action();
    } catch (const Orvane::BException&) {
        return ReaderTraces::DescribeFailure(LiteralReader::DescribeCurrentException());
    } catch (const std::out_of_range&) {
        return ReaderTraces::DescribeFailure(LiteralReader::DescribeCurrentException());
    }
}

} // namespace Fuzz
