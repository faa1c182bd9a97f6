// The texts and patterns that the whole plug-in shares.
#include "text/Constants.h"

namespace AsciiReader::Constants {

namespace {

QRegularExpression MakeSplit(QChar separator)
{
    return QRegularExpression(SeparatorTemplate().arg(separator));
}

} // namespace

const QString& SeparatorTemplate()
{
    static const QString text = QStringLiteral(R"RE(%1(?=(?:[^"]*"[^"]*")*(?![^"]*")))RE");
    return text;
}

const QRegularExpression& CommaSplit()
{
    static const QRegularExpression pattern = MakeSplit(QLatin1Char(','));
    return pattern;
}

const QRegularExpression& TabSplit()
{
    static const QRegularExpression pattern = MakeSplit(QLatin1Char('\t'));
    return pattern;
}

const QRegularExpression& SpaceSplit()
{
    static const QRegularExpression pattern = MakeSplit(QLatin1Char(' '));
    return pattern;
}

const Orvane::BString& SampleSizeKey()
{
    static const Orvane::BString key(u"SCHEMA_SAMPLE_SIZE");
    return key;
}

const Orvane::BString& CodecKey()
{
    static const Orvane::BString key(u"CODEC");
    return key;
}

const Orvane::BString& LocaleCodecKey()
{
    static const Orvane::BString key(u"CODECFORLOCALE");
    return key;
}

} // namespace AsciiReader::Constants
