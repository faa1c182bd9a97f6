// The patterns that cut a line into fields outside quotes.
#include "text/SplitPatterns.h"

namespace AsciiReader::SplitPatterns {

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

QRegularExpression MakeSeparatorPattern(const QString& literal)
{
    return QRegularExpression(
        SeparatorTemplate().arg(QRegularExpression::escape(literal), 0, QLatin1Char(' ')));
}

} // namespace AsciiReader::SplitPatterns
