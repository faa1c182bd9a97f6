// The single rules of the literal reader, for tests that hold one operation against another.
#pragma once

#include "LiteralReader.h"

#include <Orvane/BKeyValuePairs.h>

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// Each function is one step of LiteralReader::Reader, on texts instead of a file. Failures are
/// the exceptions that the step throws there.
namespace LiteralReader::Rules {

/// How lines are cut: a pattern, and the literal text when the pattern stands for one.
struct Cut
{
    QRegularExpression pattern;
    std::optional<QString> literal;
};

/// The cut at a literal text outside quotes.
Cut CutAt(const QString& literal);

QStringList SplitLine(const QString& line, const Cut& cut, const std::vector<int>& widths);
void RemoveXYZ(QStringList& row, int x, int y, int z);
int DetectType(const QString& text);
int CountDigits(const QString& text);
bool IsBooleanWord(const QString& text);
bool IsTrueWord(const QString& text);
bool ParseCoordinate(const QString& text, const QString& format, double& value);
/// @throws BKelvaCoordinateFormatException with other texts than the SDK's
double FormattedDegrees(const QString& format, const QString& text);

/// The schema of sample lines. @param params as a host gives them
std::vector<Definition>
Schema(const QStringList& lines, const Orvane::BParamList& params, const Cut& cut);

/// The feature of one row; raises widths in the schema. @param params as a host gives them
Feature ParseRow(const QStringList& fields,
                 std::vector<Definition>& schema,
                 const Orvane::BParamList& params,
                 std::uint32_t recordNumber);

/// Which of the lines, asked in this order, belong to the header.
std::vector<bool> FindHeaderLines(const QStringList& lines, const Orvane::BParamList& params);

/// The logical lines that a file hands out until it is at its end or a refill fails; the
/// exception of the failure goes on when all lines before it are in the list.
void ReadLines(const QString& path,
               const Orvane::BParamList& params,
               std::size_t blockSize,
               QStringList& lines);

} // namespace LiteralReader::Rules
