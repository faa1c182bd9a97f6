// Carries out the reader's rules step by step.
#include "LiteralReader.h"

#include "LiteralRules.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#include <QStringList>
#include <QTextCodec>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX's
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace LiteralReader {

using Orvane::BException;
using Orvane::BFileContentNotValidException;
using Orvane::BFileNotFoundException;
using Orvane::BIndexOutOfBoundsException;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::EVariantType;
using Orvane::MakeBString;
using Orvane::MakeQString;

namespace {

constexpr char16_t kQuote = u'"';
const QString kParity = QStringLiteral("(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))");
const BString kSampleSize(u"SCHEMA_SAMPLE_SIZE");
const BString kCodec(u"CODEC");
const BString kCodecForLocale(u"CODECFORLOCALE");

/// How lines are cut: a pattern, and the literal text when the pattern stands for one.
struct Separator
{
    QRegularExpression pattern;
    std::optional<QString> literal;
};

Separator MakeLiteralSeparator(const QString& text)
{
    const QString pattern =
        (QStringLiteral("%1") + kParity).arg(QRegularExpression::escape(text), 0, QLatin1Char(' '));
    return {QRegularExpression(pattern), text};
}

Separator CommaSeparator()
{
    return {QRegularExpression(QStringLiteral(",") + kParity), QStringLiteral(",")};
}

Separator TabSeparator()
{
    return {QRegularExpression(QStringLiteral("\t") + kParity), QStringLiteral("\t")};
}

Separator SpaceSeparator()
{
    return {QRegularExpression(QStringLiteral(" ") + kParity), QStringLiteral(" ")};
}

[[noreturn]] void ThrowSubscript()
{
    throw std::out_of_range("invalid vector subscript");
}

bool IsWhite(QChar unit)
{
    return unit == QLatin1Char(' ') || (unit.unicode() >= 9 && unit.unicode() <= 13);
}

QString TrimRight(QString text)
{
    while (!text.isEmpty() && IsWhite(text.back())) {
        text.chop(1);
    }
    return text;
}

QString Trim(QString text)
{
    text = TrimRight(text);
    while (!text.isEmpty() && IsWhite(text.front())) {
        text.remove(0, 1);
    }
    return text;
}

qsizetype CountQuotes(const QString& text)
{
    return text.count(QChar(kQuote));
}

bool HasUnbalancedQuotes(const QString& text)
{
    return CountQuotes(text) % 2 == 1;
}

locale_t PlainLocale()
{
    static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

std::string ToAscii(const QString& text)
{
    std::string result;
    for (const QChar unit : text) {
        result.push_back(unit.unicode() < 0x80 ? static_cast<char>(unit.unicode()) : '?');
    }
    return result;
}

std::wstring ToWide(const QString& text)
{
    std::wstring result;
    for (const QChar unit : text) {
        result.push_back(static_cast<wchar_t>(unit.unicode()));
    }
    return result;
}

int ToInteger(const QString& text)
{
    const long value = strtol_l(ToAscii(text).c_str(), nullptr, 10, PlainLocale());
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

double ToDouble(const QString& text)
{
    return strtod_l(ToAscii(text).c_str(), nullptr, PlainLocale());
}

/// The number of the whole text; nothing when the conversion stops before its end.
std::optional<double> WholeNumber(const QString& text)
{
    const std::wstring wide = ToWide(text);
    wchar_t* end = nullptr;
    const double value = wcstod_l(wide.c_str(), &end, PlainLocale());
    if (end != wide.c_str() + wide.size()) {
        return std::nullopt;
    }
    return value;
}

int DetectType(const QString& text)
{
    QString copy = text;
    copy.remove(QLatin1Char(','));
    const QRegularExpressionValidator validator(
        QRegularExpression(QStringLiteral("[-+]?[0-9]*\\.?[0-9]+([eE][-+]?[0-9]+)?")));
    QString validated = copy;
    int position = 0;
    if (validator.validate(validated, position) != QValidator::Acceptable) {
        return 11;
    }
    const std::optional<double> value = WholeNumber(copy);
    if (!value || std::isinf(*value)) {
        return 11;
    }
    if (text.contains(QLatin1Char('.'))) {
        return 9;
    }
    if (*value >= -2147483648.0 && *value <= 2147483647.0) {
        return 5;
    }
    if (*value >= -9223372036854775808.0 && *value <= 9223372036854775808.0) {
        return 7;
    }
    return 11;
}

int CountDigits(const QString& text)
{
    int count = static_cast<int>(text.size());
    if (text.contains(QLatin1Char('-')) || text.contains(QLatin1Char('+'))) {
        count -= 1;
    }
    if (text.contains(QLatin1Char('.'))) {
        count -= 1;
    }
    return count;
}

bool IsTrueWord(const QString& text)
{
    static const QStringList kWords = {QStringLiteral("1"),
                                       QStringLiteral("y"),
                                       QStringLiteral("t"),
                                       QStringLiteral("yes"),
                                       QStringLiteral("true")};
    return kWords.contains(text.toLower());
}

bool IsBooleanWord(const QString& text)
{
    static const QStringList kFalseWords = {QStringLiteral("0"),
                                            QStringLiteral("n"),
                                            QStringLiteral("f"),
                                            QStringLiteral("no"),
                                            QStringLiteral("false")};
    return IsTrueWord(text) || kFalseWords.contains(text.toLower());
}

/// Cuts between any two characters with an even number of quotes to their right.
QStringList SplitByEmptyParity(const QString& line)
{
    QStringList parts;
    qsizetype begin = 0;
    for (qsizetype at = 0; at <= line.size(); ++at) {
        const bool isInsidePair = at > 0 && at < line.size() && line[at - 1].isHighSurrogate() &&
                                  line[at].isLowSurrogate();
        if (!isInsidePair && !HasUnbalancedQuotes(line.mid(at))) {
            parts.append(line.mid(begin, at - begin));
            begin = at;
        }
    }
    parts.append(line.mid(begin));
    return parts;
}

/// Cuts wherever the literal stands with an even number of quotes to its right.
QStringList SplitByParity(const QString& line, const QString& literal)
{
    if (literal.isEmpty()) {
        return SplitByEmptyParity(line);
    }
    QStringList parts;
    qsizetype begin = 0;
    qsizetype from = 0;
    for (;;) {
        const qsizetype found = line.indexOf(literal, from);
        if (found < 0) {
            break;
        }
        if (HasUnbalancedQuotes(line.mid(found + literal.size()))) {
            from = found + 1;
            continue;
        }
        parts.append(line.mid(begin, found - begin));
        begin = from = found + literal.size();
    }
    parts.append(line.mid(begin));
    return parts;
}

/// Cuts at the pattern's matches; where the engine gives up a literal is cut by parity instead.
QStringList SplitByPattern(const QString& line, const Separator& separator)
{
    QStringList parts;
    qsizetype begin = 0;
    QRegularExpressionMatchIterator matches = separator.pattern.globalMatch(line);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        parts.append(line.mid(begin, match.capturedStart() - begin));
        begin = match.capturedEnd();
    }
    if (!matches.isValid() && separator.literal) {
        return SplitByParity(line, *separator.literal);
    }
    parts.append(line.mid(begin));
    return parts;
}

QStringList
SplitLine(const QString& line, const Separator& separator, const std::vector<int>& widths)
{
    QStringList fields;
    if (!separator.pattern.isValid()) {
        qsizetype position = 0;
        for (const int width : widths) {
            if (position < 0 || position >= line.size()) {
                break;
            }
            fields.append(line.mid(position, width));
            position += width;
        }
        return fields;
    }
    if (!widths.empty()) {
        return fields;
    }
    bool hasText = false;
    const QStringList parts = SplitByPattern(line, separator);
    for (const QString& raw : parts) {
        hasText = hasText || !raw.isEmpty();
        QString field = raw;
        if (field.indexOf(QChar(kQuote)) == 0) {
            field = field.mid(1);
            field.chop(1);
        }
        field.replace(QStringLiteral("\"\""), QStringLiteral("\""));
        field.replace(QStringLiteral("\\\""), QStringLiteral("\""));
        fields.append(field);
    }
    if (!hasText) {
        fields.clear();
    }
    return fields;
}

void RemoveAt(QStringList& row, int index)
{
    if (index < 0 || index >= row.size()) {
        // The location text goes first here, so that it ends as the message.
        throw BException("BAsciiFile::RemoveXYZ",
                         "Attempting to remove X/Y/Z columns failed. Possibly due to no X/Y/Z "
                         "columns being present.");
    }
    row.removeAt(index);
}

void RemoveXYZ(QStringList& row, int x, int y, int z)
{
    const QString count = QString::number(row.size());
    if (z < 0) {
        if (row.size() < 2) {
            throw BIndexOutOfBoundsException(
                "AsciiUtils::RemoveXYZ",
                MakeBString(QStringLiteral("Expected at least 2 (x, y) "
                                           "fields, but only ") +
                            count + QStringLiteral(" present.")));
        }
        RemoveAt(row, x >= y ? x : y);
        RemoveAt(row, x >= y ? y : x);
        return;
    }
    if (row.size() < 3) {
        throw BIndexOutOfBoundsException(
            "AsciiUtils::RemoveXYZ",
            MakeBString(QStringLiteral("Expected at least 3 fields (x, "
                                       "y, z), but only ") +
                        count + QStringLiteral(" present.")));
    }
    if (x == y || x == z || y == z) {
        return;
    }
    std::vector<int> indices = {x, y, z};
    std::sort(indices.begin(), indices.end());
    RemoveAt(row, indices[2]);
    RemoveAt(row, indices[1]);
    RemoveAt(row, indices[0]);
}

bool HasBothCoordinates(const BParamList& params)
{
    return params.HasProperty(Orvane::X_COLUMN) && params.HasProperty(Orvane::Y_COLUMN);
}

bool IsTrueOption(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) && params.GetBoolean(key, false);
}

int ColumnOf(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) ? params.GetInteger(key, 0) : -1;
}

void RemoveCoordinates(QStringList& row, const BParamList& params)
{
    if (HasBothCoordinates(params)) {
        RemoveXYZ(row,
                  params.GetInteger(Orvane::X_COLUMN, 0),
                  params.GetInteger(Orvane::Y_COLUMN, 0),
                  ColumnOf(params, Orvane::Z_COLUMN));
    }
}

std::vector<int> FieldWidths(const BParamList& params)
{
    std::vector<int> widths;
    if (params.HasProperty(Orvane::FIELD_LENGTH)) {
        for (const std::int32_t width : params.GetIntegers(Orvane::FIELD_LENGTH)) {
            widths.push_back(width);
        }
    }
    return widths;
}

/// Appends one definition a field and names it; false when the row held the names.
bool InitColumns(std::vector<Definition>& schema, const QStringList& row, const BParamList& params)
{
    const int x = ColumnOf(params, Orvane::X_COLUMN);
    const int y = ColumnOf(params, Orvane::Y_COLUMN);
    const int z = ColumnOf(params, Orvane::Z_COLUMN);
    int column = 0;
    if (IsTrueOption(params, Orvane::FIRST_LINE_COLUMN_NAMES)) {
        for (const QString& field : row) {
            QString name = Trim(field);
            while (column == x || column == y || column == z) {
                column += 1;
            }
            column += 1;
            if (name.isEmpty()) {
                name = QStringLiteral("C") + QString::number(column);
            }
            schema.push_back({name, 0, 0, 0});
        }
        return false;
    }
    qsizetype k = 0;
    while (k < row.size()) {
        if (column == x || column == y || column == z) {
            column += 1;
        } else {
            column += 1;
            schema.push_back({QStringLiteral("C") + QString::number(column), 0, 0, 0});
            k += 1;
        }
    }
    return true;
}

void UpdateTypes(std::vector<Definition>& schema, const QStringList& row, const BParamList& params)
{
    const bool preserve = IsTrueOption(params, Orvane::PRESERVE_NUMERIC_STRINGS);
    for (std::size_t i = 0; i < schema.size() && i < static_cast<std::size_t>(row.size()); ++i) {
        Definition& definition = schema[i];
        const QString& value = row[static_cast<qsizetype>(i)];
        const int current = definition.type;
        if (IsBooleanWord(value)) {
            if (current == 0) {
                definition.type = 13;
            }
            continue;
        }
        const int type = DetectType(value);
        if (type == 11 || preserve) {
            definition.type = 11;
            continue;
        }
        if (current == 0) {
            definition.type = type;
            continue;
        }
        if (type == 5) {
            if (current == 13) {
                definition.type = 5;
            }
        } else if (type == 7) {
            if (current == 5 || current == 13) {
                definition.type = 7;
            }
        } else if (type == 9) {
            if (current == 5 || current == 7 || current == 10 || current == 13) {
                definition.type = 9;
            }
            definition.precision = std::max(definition.precision, CountDigits(value));
        }
    }
}

std::vector<Definition> InferSchema(QList<QStringList> rows, const BParamList& params)
{
    std::vector<Definition> schema;
    if (rows.isEmpty()) {
        ThrowSubscript();
    }
    if (!InitColumns(schema, rows.first(), params)) {
        rows.removeFirst();
    }
    for (const QStringList& row : rows) {
        UpdateTypes(schema, row, params);
    }
    return schema;
}

std::vector<Definition> SetSchema(const BParamList& params, qsizetype columnCount)
{
    QStringList texts;
    for (const BString& text : params.GetStrings(Orvane::COLUMN_DEFINITION)) {
        texts.append(MakeQString(text));
    }
    std::vector<Definition> schema;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const QString key = QString::number(i);
        for (const QString& text : texts) {
            if (text.indexOf(key) != 0) {
                continue;
            }
            const QStringList tokens = text.split(QLatin1Char(','), Qt::KeepEmptyParts);
            if (tokens.size() != 5) {
                const QString tabs(9, QLatin1Char('\t'));
                throw BException(
                    MakeBString(
                        QStringLiteral("There was an error in the schema. The definition ") + tabs +
                        QStringLiteral(" does not have 5 values.\n ") + tabs +
                        QStringLiteral(" Each record definition should look like ") + tabs +
                        QStringLiteral(" ColNumber,ColName,ColType,ColLength,ColPrecision")),
                    "AsciiSchema::SetSchema");
            }
            schema.push_back(
                {tokens[1], ToInteger(tokens[2]), ToInteger(tokens[3]), ToInteger(tokens[4])});
        }
    }
    qsizetype expected = columnCount;
    for (const BString& key : {Orvane::X_COLUMN, Orvane::Y_COLUMN, Orvane::Z_COLUMN}) {
        if (params.HasProperty(key)) {
            expected -= 1;
        }
    }
    if (static_cast<qsizetype>(schema.size()) == expected) {
        return schema;
    }
    return InferSchema({}, params);
}

[[noreturn]] void ThrowForLine(const BIndexOutOfBoundsException& caught, qsizetype lineNumber)
{
    throw BIndexOutOfBoundsException(
        caught.GetLocation(),
        MakeBString(QStringLiteral("Line ") + QString::number(lineNumber) +
                    QStringLiteral(" of the data.  ") + MakeQString(caught.GetDetails())));
}

std::vector<Definition>
Schema(const QStringList& lines, const BParamList& params, const Separator& separator)
{
    const int sampleSize = params.HasProperty(kSampleSize) ? params.GetInteger(kSampleSize, 0) : 5;
    if (lines.isEmpty()) {
        throw BFileContentNotValidException("AsciiSchema::Schema",
                                            "There was no readable data in the file.");
    }
    QStringList sample;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (static_cast<std::uint64_t>(i) <
            static_cast<std::uint64_t>(static_cast<std::int64_t>(sampleSize))) {
            sample.append(lines[i]);
        }
    }
    const std::vector<int> widths = FieldWidths(params);
    if (sample.isEmpty()) {
        ThrowSubscript();
    }
    const qsizetype columnCount = SplitLine(sample.first(), separator, widths).size();
    if (params.HasProperty(Orvane::AUTO_SCHEMA)) {
        QList<QStringList> rows;
        for (qsizetype i = 0; i < sample.size(); ++i) {
            try {
                QStringList row = SplitLine(sample[i], separator, widths);
                RemoveCoordinates(row, params);
                rows.append(row);
            } catch (const BIndexOutOfBoundsException& caught) {
                ThrowForLine(caught, i);
            }
        }
        return InferSchema(rows, params);
    }
    if (params.HasProperty(Orvane::COLUMN_DEFINITION)) {
        return SetSchema(params, columnCount);
    }
    return {};
}

[[noreturn]] void RefuseDegrees()
{
    throw Orvane::BKelvaCoordinateFormatException("degrees", "refused");
}

/// A part of an angle: digits, then perhaps a point with digits.
double AnglePart(const QString& part, bool mayHaveFraction)
{
    static const QRegularExpression kWhole(QStringLiteral("\\A[0-9]+\\z"));
    static const QRegularExpression kFraction(
        QStringLiteral("\\A(?:[0-9]+\\.?[0-9]*|\\.[0-9]+)\\z"));
    if (!(mayHaveFraction ? kFraction : kWhole).match(part).hasMatch()) {
        RefuseDegrees();
    }
    const double value = ToDouble(part);
    if (std::isinf(value)) {
        RefuseDegrees();
    }
    return value;
}

/// Takes what the pattern matches off the front of the text.
QString TakeFront(QString& text, const QString& pattern)
{
    const QRegularExpression expression(QStringLiteral("\\A(?:") + pattern + QLatin1Char(')'),
                                        QRegularExpression::CaseInsensitiveOption |
                                            QRegularExpression::UseUnicodePropertiesOption);
    const QString front = expression.match(text).captured();
    text.remove(0, front.size());
    return front;
}

/// The numbers of an angle whose parts stand apart; a mark must be the one of the part it closes.
QStringList PartsApart(QString rest)
{
    const QStringList marks = {QStringLiteral("[\u00b0\u00bad]"),
                               QStringLiteral("['\u2019\u2032m](?!['\u2019\u2032])"),
                               QStringLiteral("''|\u2019\u2019|\u2032\u2032|[\"\u201d\u2033s]")};
    QStringList parts;
    do {
        parts.append(TakeFront(rest, QStringLiteral("[0-9.]+")));
        if (parts.size() > marks.size()) {
            RefuseDegrees();
        }
        const QString closing =
            TakeFront(rest, QStringLiteral("\\s*(?:%1)?\\s*").arg(marks[parts.size() - 1]));
        if (rest.isEmpty()) {
            break;
        }
        // A minus after white space and before a digit would be a sign.
        const bool mayBeSign = !closing.isEmpty() && closing.back().isSpace();
        const QString between = TakeFront(
            rest, mayBeSign ? QStringLiteral(":\\s*|-\\s+") : QStringLiteral("[:\\-]\\s*"));
        if (closing.isEmpty() && between.isEmpty()) {
            RefuseDegrees();
        }
    } while (true);
    return parts;
}

/// Whether a final S that touches the digits of a third part closes the seconds: the minutes are
/// closed by m in the same case, or a leading sign leaves no room for a hemisphere and the s is
/// lower case or the minutes are closed by a sign or letter.
bool SClosesSeconds(const QString& text, bool hasLeadingSign)
{
    static const QRegularExpression kThreeParts(
        QStringLiteral("\\A[^0-9.]*[0-9.]+[^0-9.]+[0-9.]+([^0-9.]+)[0-9.]+([sS])\\z"));
    const QRegularExpressionMatch match = kThreeParts.match(text);
    if (!match.hasMatch()) {
        return false;
    }
    const QString closing = (QStringLiteral(" ") + match.captured(1)).trimmed().right(1);
    const bool isLowerCase = match.captured(2) == QLatin1String("s");
    if (closing == (isLowerCase ? QLatin1String("m") : QLatin1String("M"))) {
        return true;
    }
    const bool hasMark = !closing.isEmpty() && QStringLiteral("mM'\u2019\u2032").contains(closing);
    return hasLeadingSign && (isLowerCase || hasMark);
}

/// An angle written by people, in decimal degrees.
double FormattedDegrees(const QString& format, const QString& text)
{
    const QString kind = format.toLower();
    const bool isPacked = kind == QLatin1String("ddmm.m") || kind == QLatin1String("ddmmss.s");
    qsizetype partCount = 0;
    if (kind == QLatin1String("d")) {
        partCount = 1;
    } else if (kind == QLatin1String("dm") || kind == QLatin1String("ddmm.m")) {
        partCount = 2;
    } else if (kind == QLatin1String("dms") || kind == QLatin1String("ddmmss.s")) {
        partCount = 3;
    } else {
        RefuseDegrees();
    }

    QString rest = text.trimmed();
    bool isSigned = false;
    bool isNegative = false;
    if (rest.startsWith(QLatin1Char('-')) || rest.startsWith(QLatin1Char('+'))) {
        isSigned = true;
        isNegative = rest.startsWith(QLatin1Char('-'));
        rest.remove(0, 1);
    }
    const auto isHemisphere = [](QChar unit) { return QStringLiteral("nsewNSEW").contains(unit); };
    int letters = 0;
    if (!rest.isEmpty() && isHemisphere(rest.front())) {
        letters += 1;
        isNegative = QStringLiteral("swSW").contains(rest.front());
        rest.remove(0, 1);
    }
    const bool closesSeconds = !isPacked && SClosesSeconds(rest, isSigned || letters > 0);
    if (!rest.isEmpty() && isHemisphere(rest.back()) && !closesSeconds) {
        letters += 1;
        isNegative = QStringLiteral("swSW").contains(rest.back());
        rest.chop(1);
    }
    if (letters > 1 || (letters == 1 && isSigned)) {
        RefuseDegrees();
    }

    QStringList parts;
    if (isPacked) {
        const QString packed = rest.trimmed();
        const QString digits = packed.section(QLatin1Char('.'), 0, 0);
        const QString fraction = packed.mid(digits.size());
        QString left = digits;
        for (qsizetype i = 1; i < partCount; ++i) {
            if (!left.isEmpty()) {
                parts.prepend(left.right(2));
                left.chop(2);
            } else {
                parts.prepend(QStringLiteral("0"));
            }
        }
        parts.prepend(left.isEmpty() ? QStringLiteral("0") : left);
        parts.last() = (digits.isEmpty() ? QString() : parts.last()) + fraction;
    } else {
        parts = PartsApart(rest.trimmed());
        if (parts.size() > partCount) {
            RefuseDegrees();
        }
    }
    double value = 0;
    double divisor = 1;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const double part = AnglePart(parts[i], i == parts.size() - 1);
        if (i > 0 && part >= 60) {
            RefuseDegrees();
        }
        value += part / divisor;
        divisor *= 60;
    }
    return isNegative ? -value : value;
}

bool ParseCoordinate(const QString& text, const QString& format, double& value)
{
    if (text.isEmpty()) {
        return false;
    }
    if (format.isEmpty()) {
        const std::optional<double> number = WholeNumber(text);
        if (!number || std::isinf(*number)) {
            return false;
        }
        value = *number;
        return true;
    }
    try {
        value = FormattedDegrees(format, text);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

Attribute MakeAttribute(Definition& definition, const QString& text)
{
    QString withoutCommas = text;
    withoutCommas.remove(QLatin1Char(','));
    switch (definition.type) {
    case 5:
        return {definition.name, 5, {}, static_cast<double>(ToInteger(withoutCommas))};
    case 9:
        return {definition.name, 9, {}, ToDouble(withoutCommas)};
    case 10:
        return {definition.name,
                10,
                {},
                static_cast<double>(static_cast<float>(ToDouble(withoutCommas)))};
    case 13:
        return {definition.name, 13, {}, IsTrueWord(text) ? 1.0 : 0.0};
    case 11:
        definition.length = std::max(definition.length, static_cast<int>(text.size()));
        return {definition.name, 11, text, 0};
    default:
        return {definition.name, 11, text, 0};
    }
}

struct Coordinates
{
    int xColumn = -1;
    int yColumn = -1;
    int zColumn = -1;
    double xFactor = 1;
    double yFactor = 1;
    double zFactor = 1;
};

Coordinates ReadCoordinates(const BParamList& params)
{
    Coordinates result;
    if (HasBothCoordinates(params)) {
        result.xColumn = params.GetInteger(Orvane::X_COLUMN, 0);
        result.yColumn = params.GetInteger(Orvane::Y_COLUMN, 0);
        if (params.HasProperty(Orvane::Z_COLUMN)) {
            result.zColumn = params.GetInteger(Orvane::Z_COLUMN, 0);
        }
    }
    if (params.HasProperty(Orvane::X_MULTIPLIER) && params.HasProperty(Orvane::Y_MULTIPLIER)) {
        result.xFactor = params.GetDouble(Orvane::X_MULTIPLIER, 0.0);
        result.yFactor = params.GetDouble(Orvane::Y_MULTIPLIER, 0.0);
        if (params.HasProperty(Orvane::Z_MULTIPLIER)) {
            result.zFactor = params.GetDouble(Orvane::Z_MULTIPLIER, 0.0);
        }
    }
    return result;
}

} // namespace

bool IsSameNumber(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

Failure DescribeCurrentException()
{
    try {
        throw;
    } catch (const BException& caught) {
        return {QString::fromLatin1(caught.GetClassName()),
                MakeQString(caught.GetLocation()),
                MakeQString(caught.GetMessage()),
                MakeQString(caught.GetDetails())};
    } catch (const std::out_of_range& caught) {
        return {QStringLiteral("std::out_of_range"), {}, QString::fromUtf8(caught.what()), {}};
    } catch (const std::exception& caught) {
        return {QStringLiteral("std::exception"), {}, QString::fromUtf8(caught.what()), {}};
    }
}

/// The engine of one opened file.
class Engine
{
public:
    Engine(const QString& fileName, const BParamList& params, std::size_t blockSize);

    void Open();
    void GatherSamples();
    [[nodiscard]] QString GetFileExtension() const;
    void SetSeparator(Separator separator);
    void SetColumnWidths(std::vector<int> widths);
    void AutodetectSeparator();
    void BuildSchema();
    void CreateLayer();
    bool BuildLayer(int limit);
    BParamList ReadPreview();
    QString GetSafeLine();
    [[nodiscard]] bool AtEnd() const;
    bool IsHeaderLine(const QString& line);
    Feature ParseRow(const QStringList& fields, std::uint32_t recordNumber);

    [[nodiscard]] const BParamList& GetParams() const { return m_params; }

    std::shared_ptr<Layer> layer;
    std::vector<Definition> schema;
    std::uint32_t currentLine = 0;
    Orvane::BProgress* progress = nullptr;

private:
    void Refill();
    [[nodiscard]] QTextCodec* ChooseCodec() const;
    QString DecodeNext(const QTextCodec& codec, const QByteArray& bytes);
    void Rewind();
    void RequireReadMode(const char* location) const;
    std::vector<Definition> ScanAllRows();
    QStringList ReadPreviewLine(QString& trimmed);
    Feature WalkFields(const QStringList& fields, const QString& name);

    QString m_fileName;
    QString m_fullPath;
    BParamList m_params;
    qint64 m_blockSize;
    bool m_ignoreBlankRows = true;
    int m_mode = 1;
    Separator m_separator = CommaSeparator();
    std::vector<int> m_widths;
    QStringList m_samples;
    QString m_firstLine;
    QString m_xFormat;
    QString m_yFormat;
    QString m_zFormat;
    int m_headerLines = 0;
    bool m_headerEnded = false;

    std::unique_ptr<QFile> m_device;
    QStringList m_pending;
    QString m_carry;
    QByteArray m_bytesSoFar;
    qsizetype m_unitsSoFar = 0;
};

Engine::Engine(const QString& fileName, const BParamList& params, std::size_t blockSize)
    : m_fileName(fileName)
    , m_params(params)
    , m_blockSize(static_cast<qint64>(blockSize))
{
    if (!fileName.isEmpty()) {
        m_fullPath = QDir::cleanPath(QFileInfo(fileName).absoluteFilePath());
    }
    if (HasBothCoordinates(m_params)) {
        for (const BString& key : {Orvane::X_COLUMN, Orvane::Y_COLUMN, Orvane::Z_COLUMN}) {
            if (m_params.HasProperty(key) && m_params.GetValueType(key) == EVariantType::String) {
                const int value = ToInteger(MakeQString(m_params.GetString(key)));
                m_params.Remove(key);
                m_params.Add(key, value);
            }
        }
    }
    const BString& names = Orvane::FIRST_LINE_COLUMN_NAMES;
    if (m_params.HasProperty(names) && m_params.GetValueType(names) == EVariantType::String) {
        const bool isOne = ToInteger(MakeQString(m_params.GetString(names))) == 1;
        m_params.Remove(names);
        m_params.Add(names, isOne);
    }
    m_xFormat = MakeQString(m_params.GetString(Orvane::X_COORDINATE_FORMAT));
    m_yFormat = MakeQString(m_params.GetString(Orvane::Y_COORDINATE_FORMAT));
    m_zFormat = MakeQString(m_params.GetString(Orvane::Z_COORDINATE_FORMAT));
    if (!m_params.HasProperty(Orvane::AUTO_SCHEMA) &&
        !m_params.HasProperty(Orvane::COLUMN_DEFINITION)) {
        m_params.Add(Orvane::AUTO_SCHEMA, 1);
    }
    if (m_params.HasProperty(Orvane::IGNORE_BLANK_ROWS)) {
        m_ignoreBlankRows = m_params.GetBoolean(Orvane::IGNORE_BLANK_ROWS, false);
    }
}

void Engine::Open()
{
    if (!QFileInfo::exists(m_fullPath)) {
        m_mode = 0;
        throw BFileNotFoundException("BAsciiFile::Open", MakeBString(m_fullPath));
    }
    m_device = std::make_unique<QFile>(m_fullPath);
    const bool isOpen = m_device->open(QIODevice::ReadOnly);
    if (isOpen && m_device->atEnd()) {
        m_mode = 0;
        throw BException(MakeBString(QStringLiteral("Could not open a stream for <") + m_fullPath +
                                     QStringLiteral("> for reading.")),
                         "AsciiFile::Open");
    }
    if (!isOpen) {
        m_mode = 0;
        throw BException(MakeBString(QStringLiteral("Could not open the file <") + m_fullPath +
                                     QStringLiteral("> for reading.")),
                         "AsciiFile::Open");
    }
}

void Engine::RequireReadMode(const char* location) const
{
    if (m_mode != 1) {
        throw BException("The file is not in read mode.", location);
    }
}

bool Engine::AtEnd() const
{
    return m_device->atEnd() && m_pending.isEmpty();
}

void Engine::Rewind()
{
    m_device->seek(0);
    m_pending.clear();
    m_carry.clear();
    m_bytesSoFar.clear();
    m_unitsSoFar = 0;
}

QTextCodec* Engine::ChooseCodec() const
{
    if (m_params.HasProperty(kCodec)) {
        const QString name = MakeQString(m_params.GetString(kCodec));
        QTextCodec* codec = QTextCodec::codecForName(name.toLatin1());
        if (codec == nullptr) {
            throw BException(MakeBString(QStringLiteral("The text codec <") + name +
                                         QStringLiteral("> is not available.")),
                             "AsciiFile::GetSafeLine");
        }
        return codec;
    }
    if (m_params.HasProperty(kCodecForLocale)) {
        return QTextCodec::codecForLocale();
    }
    return QTextCodec::codecForName("ISO-8859-1");
}

/// The units that the bytes complete. The whole file's text decides; what the bytes read so far
/// have in common with it is what is decoded, and the last block brings all that is left.
QString Engine::DecodeNext(const QTextCodec& codec, const QByteArray& bytes)
{
    m_bytesSoFar.append(bytes);
    QFile again(m_fullPath);
    again.open(QIODevice::ReadOnly);
    const QString whole = codec.toUnicode(again.readAll());
    qsizetype end = whole.size();
    if (!m_device->atEnd()) {
        const QString text = codec.toUnicode(m_bytesSoFar);
        end = m_unitsSoFar;
        while (end < text.size() && end < whole.size() && text[end] == whole[end]) {
            end += 1;
        }
    }
    const QString result = whole.mid(m_unitsSoFar, end - m_unitsSoFar);
    m_unitsSoFar = end;
    return result;
}

void Engine::Refill()
{
    // Without a codec nothing is taken from the file, so that a later read fails alike.
    const QTextCodec* codec = ChooseCodec();
    const QByteArray bytes = m_device->read(std::min(m_blockSize, m_device->bytesAvailable()));
    const QString block = m_carry + DecodeNext(*codec, bytes);
    m_carry.clear();
    if (block.isEmpty()) {
        return;
    }
    QString ending;
    for (const char* candidate : {"\r\n", "\n", "\r"}) {
        if (block.contains(QLatin1String(candidate))) {
            ending = QLatin1String(candidate);
            break;
        }
    }
    QString cutPart;
    m_carry = block;
    if (!ending.isEmpty()) {
        const qsizetype cut = block.lastIndexOf(ending) + ending.size();
        cutPart = block.left(cut);
        m_carry = block.mid(cut);
    }
    const QStringList pieces =
        ending.isEmpty() ? QStringList() : cutPart.split(ending, Qt::KeepEmptyParts);
    if (cutPart.contains(QChar(kQuote))) {
        QString joined;
        for (const QString& piece : pieces) {
            if (!joined.isEmpty()) {
                joined += ending;
            }
            joined += piece;
            if (!HasUnbalancedQuotes(joined)) {
                m_pending.append(joined);
                joined.clear();
            }
        }
        if (!joined.isEmpty() && HasUnbalancedQuotes(joined)) {
            throw BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                "File contains an unmatched quote.");
        }
    } else {
        m_pending = pieces;
    }
    if (!m_device->atEnd()) {
        while (!m_pending.isEmpty() && m_pending.last().isEmpty()) {
            m_pending.removeLast();
        }
        return;
    }
    if (m_pending.isEmpty() || !m_pending.last().isEmpty()) {
        m_pending.append(QString());
    }
    if (!m_carry.isEmpty()) {
        m_pending.removeLast();
        m_pending.append(TrimRight(m_carry));
        m_pending.append(QString());
        m_carry.clear();
    }
}

QString Engine::GetSafeLine()
{
    for (;;) {
        // A block may bring no line at all: a part of a long line, or blank lines only.
        while (m_pending.isEmpty() && !m_device->atEnd()) {
            Refill();
        }
        if (m_pending.isEmpty()) {
            return {};
        }
        const QString line = m_pending.takeFirst();
        if (!line.isEmpty() || !m_ignoreBlankRows) {
            return line;
        }
    }
}

bool Engine::IsHeaderLine(const QString& line)
{
    if (m_headerEnded) {
        return false;
    }
    if (m_params.HasProperty(Orvane::ASCII_HEADER_IDENTIFIER)) {
        const std::vector<BString> identifiers =
            m_params.GetStrings(Orvane::ASCII_HEADER_IDENTIFIER);
        return std::any_of(identifiers.begin(), identifiers.end(), [&line](const BString& each) {
            const QString text = MakeQString(each);
            return line.left(text.size()) == text;
        });
    }
    if (IsTrueOption(m_params, Orvane::ASCII_HEADER_BLANK_LINE)) {
        if (line.isEmpty()) {
            m_headerEnded = true;
        }
        return true;
    }
    if (m_params.HasProperty(Orvane::ASCII_HEADER_COUNT)) {
        const bool isHeader = m_headerLines < m_params.GetInteger(Orvane::ASCII_HEADER_COUNT, 0);
        m_headerLines += 1;
        return isHeader;
    }
    return false;
}

void Engine::GatherSamples()
{
    RequireReadMode("AsciiFile::Read");
    m_samples.clear();
    m_headerLines = 0;
    m_headerEnded = false;
    const int count = m_params.HasProperty(kSampleSize) ? m_params.GetInteger(kSampleSize, 0) : 5;
    while (m_samples.size() < count) {
        const QString line = GetSafeLine();
        if (line.isEmpty() && m_pending.isEmpty()) {
            break;
        }
        if (!IsHeaderLine(line)) {
            m_samples.append(line);
        }
    }
    Rewind();
}

QString Engine::GetFileExtension() const
{
    const qsizetype dot = m_fileName.lastIndexOf(QLatin1Char('.'));
    if (dot < 0) {
        throw BException("AsciiFile::GetFileExtension", "There was no '.' in the filename.");
    }
    return m_fileName.mid(dot);
}

void Engine::SetSeparator(Separator separator)
{
    m_widths.clear();
    m_separator = std::move(separator);
}

void Engine::SetColumnWidths(std::vector<int> widths)
{
    m_separator = {QRegularExpression(QString()), std::nullopt};
    m_widths = std::move(widths);
}

void Engine::AutodetectSeparator()
{
    RequireReadMode("AsciiFile::AutodetectSeparator");
    const QString first = GetSafeLine();
    const QString second = GetSafeLine();
    m_pending.prepend(second);
    m_pending.prepend(first);
    const auto score = [&](const Separator& separator) -> qsizetype {
        const qsizetype firstCount = SplitLine(first, separator, m_widths).size();
        const qsizetype secondCount = SplitLine(second, separator, m_widths).size();
        return firstCount == secondCount && firstCount != 1 ? firstCount : 0;
    };
    const qsizetype commaScore = score(CommaSeparator());
    const qsizetype tabScore = score(TabSeparator());
    m_separator = tabScore >= 2 && commaScore == 0 ? TabSeparator() : CommaSeparator();
}

QStringList Engine::ReadPreviewLine(QString& trimmed)
{
    QString line;
    do {
        line = GetSafeLine();
        trimmed = Trim(line);
    } while (trimmed.isEmpty() && !m_pending.isEmpty());
    while (HasUnbalancedQuotes(trimmed) && !AtEnd()) {
        line = GetSafeLine();
        trimmed += QLatin1Char('\n') + line;
    }
    return SplitLine(line, m_separator, m_widths);
}

BParamList Engine::ReadPreview()
{
    RequireReadMode("AsciiFile::Read");
    m_samples.clear();
    QString firstText;
    const QStringList first = ReadPreviewLine(firstText);
    QString secondText;
    const QStringList second = ReadPreviewLine(secondText);
    const bool hasSecond = !secondText.isEmpty();
    bool hasNames = false;
    if (hasSecond) {
        if (first.size() != second.size()) {
            throw BFileContentNotValidException(
                "AsciiFile::ReadPreview",
                "The number of records on first and second line differs.");
        }
        for (qsizetype i = 0; i < first.size(); ++i) {
            hasNames = hasNames || DetectType(first[i]) != DetectType(second[i]);
        }
    }
    BParamList result;
    for (qsizetype i = 0; i < first.size(); ++i) {
        const std::vector<BString> pair = {MakeBString(first[i]),
                                           hasSecond ? MakeBString(second[i]) : BString()};
        result.Add(MakeBString(QString::number(i)), pair);
    }
    result.Add(Orvane::FIRST_LINE_COLUMN_NAMES, BString(hasNames ? u"1" : u"0"));
    result.Add(Orvane::NUM_COLUMNS, static_cast<std::int32_t>(first.size()));
    return result;
}

std::vector<Definition> Engine::ScanAllRows()
{
    std::vector<Definition> result;
    const std::vector<int> widths = FieldWidths(m_params);
    qsizetype lineNumber = 1;
    QString line = GetSafeLine();
    try {
        while (!AtEnd()) {
            QStringList row = SplitLine(line, m_separator, widths);
            RemoveCoordinates(row, m_params);
            const bool isData = lineNumber != 1 || InitColumns(result, row, m_params);
            if (isData) {
                UpdateTypes(result, row, m_params);
            }
            lineNumber += 1;
            line = GetSafeLine();
        }
    } catch (const BIndexOutOfBoundsException& caught) {
        ThrowForLine(caught, lineNumber);
    }
    return result;
}

void Engine::BuildSchema()
{
    if (IsTrueOption(m_params, Orvane::AUTO_SCHEMA_ALL_ROWS)) {
        schema = ScanAllRows();
        Rewind();
    } else {
        schema = Schema(m_samples, m_params, m_separator);
    }
}

void Engine::CreateLayer()
{
    layer = std::make_shared<Layer>();
    const qsizetype slash = std::max(m_fileName.lastIndexOf(QLatin1Char('/')),
                                     m_fileName.lastIndexOf(QLatin1Char('\\')));
    const QString baseName = m_fileName.mid(slash + 1);
    const qsizetype dot = baseName.lastIndexOf(QLatin1Char('.'));
    layer->name = dot < 0 ? baseName : baseName.left(dot);
    layer->schema = schema;
}

Feature Engine::WalkFields(const QStringList& fields, const QString& name)
{
    const Coordinates coordinates = ReadCoordinates(m_params);
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    Feature feature;
    feature.name = name;
    feature.x = feature.y = feature.z = kNaN;
    bool hasFailed = false;
    int coordinatesSeen = 0;
    int attributesAdded = 0;
    const auto dropPoint = [&] {
        hasFailed = true;
        feature.hasPoint = feature.hasZ = false;
        feature.x = feature.y = feature.z = kNaN;
    };
    for (int i = 0; i < fields.size(); ++i) {
        const QString& field = fields[i];
        double value = 0;
        if (i == coordinates.xColumn) {
            if (!hasFailed && !field.isEmpty() && ParseCoordinate(field, m_xFormat, value)) {
                feature.hasPoint = true;
                feature.x = value * coordinates.xFactor;
            } else {
                dropPoint();
            }
            coordinatesSeen += 1;
            continue;
        }
        if (i == coordinates.yColumn) {
            if (!hasFailed && !field.isEmpty() && ParseCoordinate(field, m_yFormat, value)) {
                feature.hasPoint = true;
                feature.y = value * coordinates.yFactor;
            } else {
                dropPoint();
            }
            coordinatesSeen += 1;
            continue;
        }
        if (i == coordinates.zColumn) {
            if (!hasFailed && !field.isEmpty() && ParseCoordinate(field, m_zFormat, value)) {
                // Z before X and Y creates the point as they do.
                feature.hasPoint = feature.hasZ = true;
                feature.z = value * coordinates.zFactor;
            } else {
                dropPoint();
            }
            coordinatesSeen += 1;
            continue;
        }
        if (schema.empty()) {
            feature.attributes.push_back(
                {QStringLiteral("attribute") + QString::number(attributesAdded), 11, field, 0});
        } else {
            const int k = i - coordinatesSeen;
            if (k >= static_cast<int>(schema.size())) {
                throw BIndexOutOfBoundsException(
                    "AsciiLayer::ParsedToFeature",
                    MakeBString(QStringLiteral("There are too many columns (") +
                                QString::number(k) + QStringLiteral(" > ") +
                                QString::number(schema.size()) + QStringLiteral(") for the row.")));
            }
            feature.attributes.push_back(MakeAttribute(schema[static_cast<std::size_t>(k)], field));
        }
        attributesAdded += 1;
    }
    return feature;
}

Feature Engine::ParseRow(const QStringList& fields, std::uint32_t recordNumber)
{
    QString name = QString::number(recordNumber);
    if (m_params.HasProperty(Orvane::NAME_COLUMN)) {
        const std::int64_t n =
            static_cast<std::int64_t>(m_params.GetInteger(Orvane::NAME_COLUMN, 0)) - 1;
        if (n < 0 || n > fields.size()) {
            throw BException("AsciiLayer::ParsedToFeature",
                             "The name column specified is out of bounds.");
        }
        if (n == fields.size()) {
            ThrowSubscript();
        }
        name = fields[static_cast<qsizetype>(n)];
    }
    try {
        return WalkFields(fields, name);
    } catch (const std::exception& caught) {
        throw BException("BAsciiFile::Read", caught.what());
    }
}

bool Engine::BuildLayer(int limit)
{
    RequireReadMode("AsciiFile::BuildLayer");
    if (layer != nullptr) {
        schema = layer->schema;
    } else {
        CreateLayer();
    }
    if (IsTrueOption(m_params, Orvane::FIRST_LINE_COLUMN_NAMES)) {
        m_firstLine = GetSafeLine();
    }
    if (!m_separator.pattern.isValid() && m_widths.empty()) {
        m_separator = CommaSeparator();
        if (m_params.HasProperty(Orvane::ASCII_SEPARATOR)) {
            m_separator = {
                QRegularExpression(MakeQString(m_params.GetString(Orvane::ASCII_SEPARATOR))),
                std::nullopt};
        }
    }
    m_headerLines = 0;
    m_headerEnded = false;
    int featuresAdded = 0;
    for (std::uint32_t lineNumber = 1;; ++lineNumber) {
        QString line = GetSafeLine();
        if (line.isEmpty() && m_pending.isEmpty()) {
            return true;
        }
        if (limit >= 1 && featuresAdded >= limit) {
            return false;
        }
        while (HasUnbalancedQuotes(line)) {
            if (AtEnd()) {
                throw BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                    "File contains an unmatched quote.");
            }
            line += QLatin1Char('\n') + GetSafeLine();
            lineNumber += 1;
        }
        QStringList fields;
        if (IsHeaderLine(line)) {
            fields = QStringList{line};
        } else if (!line.isEmpty()) {
            fields = SplitLine(line, m_separator, m_widths);
        }
        if (!fields.isEmpty()) {
            try {
                layer->features.push_back(ParseRow(fields, lineNumber));
            } catch (const std::exception&) {
                throw BException(
                    MakeBString(QStringLiteral("Failed to parse feature # ") +
                                QString::number(featuresAdded) + QStringLiteral(".")),
                    "AsciiFile::BuildLayer",
                    MakeBString(QStringLiteral("The following line may be formatted wrong.\n\t<") +
                                line + QStringLiteral(">.")));
            }
            featuresAdded += 1;
            if (progress != nullptr && progress->ShouldReport(lineNumber, 0) &&
                !progress->Report(lineNumber, 0)) {
                layer.reset();
                return true;
            }
        }
        currentLine = lineNumber;
    }
}

namespace Rules {

Cut CutAt(const QString& literal)
{
    Separator separator = MakeLiteralSeparator(literal);
    return {std::move(separator.pattern), std::move(separator.literal)};
}

QStringList SplitLine(const QString& line, const Cut& cut, const std::vector<int>& widths)
{
    return LiteralReader::SplitLine(line, {cut.pattern, cut.literal}, widths);
}

void RemoveXYZ(QStringList& row, int x, int y, int z)
{
    LiteralReader::RemoveXYZ(row, x, y, z);
}

int DetectType(const QString& text)
{
    return LiteralReader::DetectType(text);
}

int CountDigits(const QString& text)
{
    return LiteralReader::CountDigits(text);
}

bool IsBooleanWord(const QString& text)
{
    return LiteralReader::IsBooleanWord(text);
}

bool IsTrueWord(const QString& text)
{
    return LiteralReader::IsTrueWord(text);
}

bool ParseCoordinate(const QString& text, const QString& format, double& value)
{
    return LiteralReader::ParseCoordinate(text, format, value);
}

double FormattedDegrees(const QString& format, const QString& text)
{
    return LiteralReader::FormattedDegrees(format, text);
}

std::vector<Definition> Schema(const QStringList& lines, const BParamList& params, const Cut& cut)
{
    const Engine engine({}, params, Reader::kBlockSize);
    return LiteralReader::Schema(lines, engine.GetParams(), {cut.pattern, cut.literal});
}

Feature ParseRow(const QStringList& fields,
                 std::vector<Definition>& schema,
                 const BParamList& params,
                 std::uint32_t recordNumber)
{
    Engine engine({}, params, Reader::kBlockSize);
    engine.schema.swap(schema);
    try {
        Feature feature = engine.ParseRow(fields, recordNumber);
        engine.schema.swap(schema);
        return feature;
    } catch (...) {
        engine.schema.swap(schema);
        throw;
    }
}

std::vector<bool> FindHeaderLines(const QStringList& lines, const BParamList& params)
{
    Engine engine({}, params, Reader::kBlockSize);
    std::vector<bool> result;
    for (const QString& line : lines) {
        result.push_back(engine.IsHeaderLine(line));
    }
    return result;
}

void ReadLines(const QString& path,
               const BParamList& params,
               std::size_t blockSize,
               QStringList& lines)
{
    Engine engine(path, params, blockSize);
    engine.Open();
    for (;;) {
        const QString line = engine.GetSafeLine();
        if (line.isEmpty() && engine.AtEnd()) {
            return;
        }
        lines.append(line);
    }
}

} // namespace Rules

Reader::Reader(QString path, BParamList kept, std::size_t blockSize)
    : m_path(std::move(path))
    , m_kept(std::move(kept))
    , m_blockSize(blockSize)
{}

Reader::~Reader() = default;

void Reader::ConfigureSeparator()
{
    if (m_kept.HasProperty(Orvane::ASCII_SEPARATOR)) {
        m_engine->SetSeparator(
            MakeLiteralSeparator(MakeQString(m_kept.GetString(Orvane::ASCII_SEPARATOR))));
        return;
    }
    if (m_kept.HasProperty(Orvane::FIELD_LENGTH)) {
        m_engine->SetColumnWidths(FieldWidths(m_kept));
        return;
    }
    const QString extension = m_engine->GetFileExtension().toLower();
    if (extension == QLatin1String(".csv") || m_kept.HasProperty(Orvane::USE_COMMA)) {
        m_engine->SetSeparator(CommaSeparator());
    } else if (extension == QLatin1String(".tsv") || m_kept.HasProperty(Orvane::USE_TAB)) {
        m_engine->SetSeparator(TabSeparator());
    } else if (extension == QLatin1String(".ssv") || m_kept.HasProperty(Orvane::USE_SPACE)) {
        m_engine->SetSeparator(SpaceSeparator());
    } else if (extension == QLatin1String(".txt")) {
        m_engine->AutodetectSeparator();
    } else if (extension == QLatin1String(".asc")) {
        m_engine->SetSeparator(CommaSeparator());
    } else {
        throw BException("BAsciiReader::Read", "Separator could not be determined automatically.");
    }
}

void Reader::Open(const BParamList& params)
{
    m_engine = std::make_unique<Engine>(m_path, params, m_blockSize);
    m_engine->Open();
    m_engine->GatherSamples();
    ConfigureSeparator();
    m_engine->BuildSchema();
    m_engine->CreateLayer();
    m_layers.push_back(m_engine->layer);
    m_isOpen = true;
}

void Reader::Read()
{
    m_failureFlag = false;
    m_status = 0;
    if (m_progress != nullptr) {
        m_engine->progress = m_progress;
    }
    const int limit =
        m_kept.HasProperty(Orvane::MAX_RECORDS) ? m_kept.GetInteger(Orvane::MAX_RECORDS, 0) : 0;
    if (!m_engine->BuildLayer(limit)) {
        m_failureFlag = true;
    }
    if (m_progress != nullptr && !m_progress->Report(m_engine->currentLine, 0)) {
        m_status = 3;
    }
}

BParamList Reader::Preview()
{
    if (!m_isOpen) {
        throw BException("File is not open and can not be read.", "BAsciiReader::GetFilePreview");
    }
    ConfigureSeparator();
    return m_engine->ReadPreview();
}

void Reader::Close()
{
    m_engine.reset();
    m_kept.Clear();
    m_isOpen = false;
}

std::uint32_t Reader::GetRecordsRead() const
{
    return m_engine != nullptr ? m_engine->currentLine : 0;
}

std::shared_ptr<Layer> Reader::GetEngineLayer() const
{
    return m_engine != nullptr ? m_engine->layer : nullptr;
}

std::vector<Definition> Reader::GetEngineSchema() const
{
    return m_engine != nullptr ? m_engine->schema : std::vector<Definition>();
}

} // namespace LiteralReader
