// The patterns that cut a line into fields outside quotes.
#pragma once

#include <QRegularExpression>
#include <QString>

/// Read-only values, built on first use.
namespace AsciiReader::SplitPatterns {

/// Matches a comma, tab or blank with an even number of double quotes after it in the line.
const QRegularExpression& CommaSplit();
const QRegularExpression& TabSplit();
const QRegularExpression& SpaceSplit();

/// The split pattern with "%1" in the separator's place.
const QString& SeparatorTemplate();

/// The pattern of any literal separator outside quotes.
QRegularExpression MakeSeparatorPattern(const QString& literal);

} // namespace AsciiReader::SplitPatterns
