// Makes random delimited files and options: mostly sound ones, with every known irregularity mixed
// in.
#include "RandomFiles.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QStringList>
#include <QTextCodec>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <random>
#include <utility>

namespace RandomFiles {

using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;
using Orvane::MakeBString;
using Orvane::MakeQString;

namespace {

/// Random choices that come out the same with every standard library.
class Dice
{
public:
    explicit Dice(std::uint64_t seed)
        : m_engine(seed)
    {}

    /// 0 to count - 1.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(m_engine() % count); }

    int Between(int least, int most)
    {
        return least + static_cast<int>(Below(static_cast<std::size_t>(most) -
                                              static_cast<std::size_t>(least) + 1));
    }

    bool Chance(int perCent) { return Between(0, 99) < perCent; }

    template <typename T>
    T Pick(std::initializer_list<T> values)
    {
        return *(values.begin() + Below(values.size()));
    }

    QString Pick(const QStringList& values)
    {
        return values[static_cast<qsizetype>(Below(static_cast<std::size_t>(values.size())))];
    }

private:
    std::mt19937_64 m_engine;
};

enum class EColumn { Whole, Real, Truth, Word, Angle, Anything };

const char* const kWholes[] = {"0",
                               "1",
                               "2",
                               "12",
                               "-5",
                               "+3",
                               "-0",
                               "007",
                               "1,234",
                               "2147483647",
                               "2147483648",
                               "-2147483648",
                               "-2147483649",
                               "3000000000",
                               "9223372036854775807",
                               "9223372036854775808",
                               "9223372036854777856",
                               "-9223372036854775808",
                               "-9223372036854777856",
                               "99999999999999999999",
                               "1e5",
                               "1E3",
                               "4294967297",
                               "12345678901"};
const char* const kReals[] = {"1.5",
                              "22.75",
                              "-12.5",
                              "+7.0",
                              ".5",
                              "-.5",
                              "1.",
                              "-0.0",
                              "1,234.5",
                              "1.5e3",
                              "1.5E-3",
                              "1e400",
                              "-1e400",
                              "1.0e400",
                              "1e-400",
                              "1.7976931348623157e308",
                              "1.7976931348623159e308",
                              "4.9e-324",
                              "2.4703282292062327e-324",
                              "2.2250738585072011e-308",
                              "0.1000000000000000055511151231257827",
                              "123456789.12345678901234567890",
                              "9007199254740993.0",
                              "9007199254740992.9999999999999999999999",
                              "0.30000000000000004",
                              "3.4028236e38",
                              "1.17549435e-38",
                              "16777217.0",
                              "1e23",
                              "8.5e22"};
const char* const kTruths[] = {"0",
                               "1",
                               "y",
                               "n",
                               "Y",
                               "N",
                               "t",
                               "f",
                               "T",
                               "F",
                               "yes",
                               "no",
                               "YES",
                               "No",
                               "true",
                               "false",
                               "TRUE",
                               "False"};
const char* const kWords[] = {
    "abc",          "a b",        "Station",    "x",      "",          " ",
    " lead",        "trail ",     "\t",         "it's",   "back\\",    "a\\\"b",
    "#note",        "//",         "%1",         "a|b",    "a;b",       "a,b",
    "a\tb",         "say \"hi\"", "\"",         "\"\"",   "\"\"\"\"",  "two\nlines",
    "two\r\nlines", "cr\rinside", "null",       "C3",     "caf\u00e9", "\u4e2d\u6587",
    "\ud55c\uae00", "\u20ac",     "\U0001F600", "\u00a0", "\u212a",    "\u0130"};
const char* const kIrregular[] = {"0x10",
                                  "0x1.8p3",
                                  "inf",
                                  "-inf",
                                  "INFINITY",
                                  "nan",
                                  "-nan",
                                  "nan(12)",
                                  "nan(",
                                  "0x",
                                  "1e",
                                  "1e+",
                                  "--1",
                                  "1_000",
                                  "1.5.2",
                                  " 12",
                                  "12 ",
                                  "\t12",
                                  "12\t",
                                  "\v7",
                                  "1 2",
                                  "+",
                                  "-",
                                  ".",
                                  "e5",
                                  "+-3",
                                  "1d5",
                                  "0b1",
                                  "1,,2",
                                  ",",
                                  "\u0661",
                                  "12\u00a0",
                                  "1e99999999999",
                                  "0e99999999999",
                                  "1e5.0",
                                  "1.e5",
                                  "000000000000000000000000001.5"};
const char* const kAngles[] = {"12",
                               "12.5",
                               "-12.5",
                               "12 30",
                               "12 30 15",
                               "-12 30 15.5",
                               "12:30:15",
                               "12\u00b030'15\"",
                               "12\u00b030\u203215\u2033",
                               "N 12.5",
                               "12.5 S",
                               "w12 30",
                               "12 30 E",
                               "1230.5",
                               "123015.25",
                               "-0730",
                               "12 60",
                               "12 30 60",
                               "12.5 30",
                               "12 30 15 1",
                               "abc",
                               "1e2",
                               "0x10",
                               "inf",
                               "nan",
                               "12 59.999",
                               "-0 30",
                               "+7 15",
                               "12d30m"};

template <std::size_t Count>
QString PickText(Dice& dice, const char* const (&texts)[Count])
{
    return QString::fromUtf8(texts[dice.Below(Count)]);
}

QString RandomDigits(Dice& dice, int count)
{
    QString digits;
    for (int i = 0; i < count; ++i) {
        digits += QLatin1Char(static_cast<char>('0' + dice.Between(0, 9)));
    }
    return digits;
}

QString RandomReal(Dice& dice)
{
    QString text = dice.Pick(
        {QStringLiteral(""), QStringLiteral(""), QStringLiteral("-"), QStringLiteral("+")});
    text += RandomDigits(dice, dice.Between(0, dice.Chance(10) ? 25 : 6));
    text += QLatin1Char('.');
    text += RandomDigits(dice, dice.Between(1, dice.Chance(20) ? 25 : 8));
    if (dice.Chance(10)) {
        text += QLatin1Char('e') + QString::number(dice.Between(-340, 320));
    }
    return text;
}

QString RandomValue(Dice& dice, EColumn column, bool isCalm)
{
    if (!isCalm && dice.Chance(4)) {
        return {};
    }
    if (!isCalm && dice.Chance(4)) {
        return PickText(dice, kIrregular);
    }
    switch (column) {
    case EColumn::Whole:
        return dice.Chance(60) ? QString::number(dice.Between(-20000, 20000))
                               : PickText(dice, kWholes);
    case EColumn::Real:
        return dice.Chance(60) ? RandomReal(dice) : PickText(dice, kReals);
    case EColumn::Truth:
        return PickText(dice, kTruths);
    case EColumn::Word:
        return PickText(dice, kWords);
    case EColumn::Angle:
        return PickText(dice, kAngles);
    case EColumn::Anything:
        break;
    }
    switch (dice.Below(5)) {
    case 0:
        return PickText(dice, kWholes);
    case 1:
        return PickText(dice, kReals);
    case 2:
        return PickText(dice, kTruths);
    case 3:
        return PickText(dice, kWords);
    default:
        return PickText(dice, kIrregular);
    }
}

/// The value as a field: quoted where it must be, and sometimes where it need not or not at all.
QString MakeField(Dice& dice, const QString& value, const QString& separator, bool breaksQuotes)
{
    const bool mustQuote = value.contains(QLatin1Char('"')) || value.contains(QLatin1Char('\n')) ||
                           value.contains(QLatin1Char('\r')) ||
                           (!separator.isEmpty() && value.contains(separator));
    const bool quotes = mustQuote ? !(breaksQuotes && dice.Chance(10)) : dice.Chance(12);
    if (!quotes) {
        return value;
    }
    QString inner = value;
    inner.replace(QLatin1Char('"'),
                  dice.Chance(breaksQuotes ? 70 : 97) ? QStringLiteral("\"\"")
                                                      : QStringLiteral("\\\""));
    QString field = QLatin1Char('"') + inner + QLatin1Char('"');
    if (dice.Chance(3)) {
        field.prepend(QLatin1Char(' '));
    }
    if (dice.Chance(3)) {
        field.append(QLatin1Char(' '));
    }
    if (breaksQuotes && dice.Chance(4)) {
        field.chop(1);
    }
    return field;
}

void AddInteger(Dice& dice, BParamList& options, const BString& key, int value)
{
    const std::size_t kind = dice.Below(20);
    if (kind < 12) {
        options.Add(key, static_cast<std::int32_t>(value));
    } else if (kind < 17) {
        const QString decoration = dice.Pick(
            {QStringLiteral(""), QStringLiteral(" "), QStringLiteral("x"), QStringLiteral(".9")});
        options.Add(key, MakeBString(QString::number(value) + decoration));
    } else if (kind == 17) {
        options.Add(key, static_cast<double>(value) + dice.Pick({0.0, 0.0, 0.75}));
    } else if (kind == 18) {
        options.Add(key, static_cast<std::int64_t>(value));
    } else {
        options.Add(key, value != 0);
    }
}

void AddBoolean(Dice& dice, BParamList& options, const BString& key, bool value)
{
    const std::size_t kind = dice.Below(10);
    if (kind < 6) {
        options.Add(key, value);
    } else if (kind < 8) {
        options.Add(key, static_cast<std::int32_t>(value ? dice.Pick({1, 1, 2, -1}) : 0));
    } else {
        options.Add(key,
                    MakeBString(value ? dice.Pick({QStringLiteral("1"),
                                                   QStringLiteral("1 "),
                                                   QStringLiteral("true"),
                                                   QStringLiteral("2")})
                                      : dice.Pick({QStringLiteral("0"),
                                                   QStringLiteral("false"),
                                                   QStringLiteral("")})));
    }
}

void AddFactor(Dice& dice, BParamList& options, const BString& key)
{
    switch (dice.Below(4)) {
    case 0:
        options.Add(key, static_cast<std::int32_t>(dice.Between(-2, 3)));
        break;
    case 1:
        options.Add(key, BString(dice.Pick({u"2", u"0.5", u"-1e3", u"abc", u"0x10", u"nan"})));
        break;
    default:
        options.Add(key, dice.Pick({2.0, 0.5, -1.0, 0.1, 1e300, 0.0, 1.0 / 3.0}));
        break;
    }
}

void AddTexts(BParamList& options, const BString& key, const QStringList& texts)
{
    std::vector<BString> list;
    for (const QString& text : texts) {
        list.push_back(MakeBString(text));
    }
    options.Add(key, list);
}

/// What the file looks like, so that most options fit it.
struct Shape
{
    int columnCount = 1;
    QString separator;
    QString codec; ///< empty: Latin-1 without an option
    bool hasNames = false;
    bool isCalm = false; ///< hardly any irregular values, so that the rows are reached
    bool breaksQuotes = false;
    bool isWide = false; ///< so many columns of numbers that the reader takes them together
};

void AddCoordinateOptions(Dice& dice, BParamList& options, const Shape& shape)
{
    const auto anyColumn = [&] {
        if (shape.isWide) {
            return dice.Between(0, 3);
        }
        return dice.Chance(shape.isCalm ? 100 : 90)
                   ? dice.Between(0, shape.columnCount - 1)
                   : dice.Pick({-1, -7, shape.columnCount, shape.columnCount + 3, 0});
    };
    if (shape.columnCount == 1 ? dice.Chance(5) : dice.Chance(72)) {
        const int x = anyColumn();
        int y = anyColumn();
        if (x == y && dice.Chance(85)) {
            y = (x + 1) % std::max(shape.columnCount, 1);
        }
        AddInteger(dice, options, Orvane::X_COLUMN, x);
        AddInteger(dice, options, Orvane::Y_COLUMN, y);
        if (shape.columnCount == 2 ? dice.Chance(5) : dice.Chance(35)) {
            int z = anyColumn();
            for (int tries = 0; (z == x || z == y) && tries < 4 && dice.Chance(90); ++tries) {
                z = anyColumn();
            }
            AddInteger(dice, options, Orvane::Z_COLUMN, z);
        }
    } else if (dice.Chance(25)) {
        const BString& key = dice.Chance(50) ? Orvane::X_COLUMN : Orvane::Y_COLUMN;
        AddInteger(dice, options, key, anyColumn());
        if (dice.Chance(30)) {
            AddInteger(dice, options, Orvane::Z_COLUMN, anyColumn());
        }
    }
    const QStringList formats = {QStringLiteral("D"),
                                 QStringLiteral("dm"),
                                 QStringLiteral("DMS"),
                                 QStringLiteral("DDMM.m"),
                                 QStringLiteral("ddmmss.s"),
                                 QStringLiteral("nonsense"),
                                 QString()};
    if (dice.Chance(12)) {
        for (const BString& key : {Orvane::X_COORDINATE_FORMAT,
                                   Orvane::Y_COORDINATE_FORMAT,
                                   Orvane::Z_COORDINATE_FORMAT}) {
            if (dice.Chance(70)) {
                options.Add(key, MakeBString(dice.Pick(formats)));
            }
        }
    }
    if (dice.Chance(15)) {
        for (const BString& key :
             {Orvane::X_MULTIPLIER, Orvane::Y_MULTIPLIER, Orvane::Z_MULTIPLIER}) {
            if (dice.Chance(80)) {
                AddFactor(dice, options, key);
            }
        }
    }
}

void AddDefinitions(Dice& dice, BParamList& options, const Shape& shape)
{
    int count = shape.columnCount;
    for (const BString& key : {Orvane::X_COLUMN, Orvane::Y_COLUMN, Orvane::Z_COLUMN}) {
        count -= options.HasProperty(key) ? 1 : 0;
    }
    if (dice.Chance(12)) {
        count += dice.Pick({-1, 1, 9});
    }
    const QStringList kNames = {QStringLiteral("Depth"),
                                QStringLiteral("a b"),
                                QStringLiteral("\u00e9t\u00e9"),
                                QStringLiteral(""),
                                QStringLiteral("\"q\"")};
    const QStringList kTypes =
        QStringLiteral("5 5 7 9 9 10 11 12 13 13 9x abc 0 6 8 -4 99 14").split(QLatin1Char(' '));
    const QStringList kLengths = QStringLiteral("0 20 -3 2").split(QLatin1Char(' '));
    const QStringList kPrecisions = QStringLiteral("0 3 x").split(QLatin1Char(' '));
    QStringList definitions;
    for (int i = 0; i < count; ++i) {
        // One choice a statement: the order of choices within one expression is the compiler's.
        QString text = QString::number(i);
        text += QLatin1Char(',');
        text += dice.Pick(kNames);
        text += QLatin1Char(',');
        text += dice.Pick(kTypes);
        text += QLatin1Char(',');
        text += dice.Pick(kLengths);
        text += QLatin1Char(',');
        text += dice.Pick(kPrecisions);
        if (dice.Chance(2)) {
            text += QStringLiteral(",more");
        } else if (dice.Chance(1)) {
            text.prepend(QLatin1Char(' '));
        }
        definitions.append(text);
    }
    if (dice.Chance(15)) {
        std::reverse(definitions.begin(), definitions.end());
    }
    AddTexts(options, Orvane::COLUMN_DEFINITION, definitions);
}

void AddHeaderOptions(Dice& dice, BParamList& options)
{
    if (dice.Chance(8)) {
        AddTexts(options,
                 Orvane::ASCII_HEADER_IDENTIFIER,
                 dice.Pick({QStringList{QStringLiteral("#")},
                            QStringList{QStringLiteral("//"), QStringLiteral("%")},
                            QStringList{QString()},
                            QStringList{}}));
    }
    if (dice.Chance(6)) {
        AddBoolean(dice, options, Orvane::ASCII_HEADER_BLANK_LINE, dice.Chance(80));
    }
    if (dice.Chance(10)) {
        AddInteger(dice, options, Orvane::ASCII_HEADER_COUNT, dice.Pick({0, 1, 1, 2, 3, -1, 50}));
    }
}

BParamList MakeOptions(Dice& dice, const Shape& shape, bool needsSeparator)
{
    BParamList options;
    if (needsSeparator ? dice.Chance(90) : dice.Chance(8)) {
        options.Add(Orvane::ASCII_SEPARATOR, MakeBString(shape.separator));
    }
    if (dice.Chance(3)) {
        options.Add(Orvane::FIELD_LENGTH,
                    dice.Pick({std::vector<std::int32_t>{3, 2, 5},
                               std::vector<std::int32_t>{1},
                               std::vector<std::int32_t>{}}));
    }
    for (const BString& key : {Orvane::USE_COMMA, Orvane::USE_TAB, Orvane::USE_SPACE}) {
        if (dice.Chance(4)) {
            AddBoolean(dice, options, key, dice.Chance(50));
        }
    }
    if (dice.Chance(20)) {
        AddInteger(dice, options, Orvane::MAX_RECORDS, dice.Pick({0, 1, 2, 3, 5, -1, 100}));
    }
    AddCoordinateOptions(dice, options, shape);
    if (dice.Chance(12)) {
        const int least = dice.Chance(90) ? 1 : -1;
        const int most = shape.columnCount + (dice.Chance(90) ? 0 : 2);
        AddInteger(dice, options, Orvane::NAME_COLUMN, dice.Between(least, most));
    }
    if (shape.hasNames ? dice.Chance(85) : dice.Chance(15)) {
        AddBoolean(dice, options, Orvane::FIRST_LINE_COLUMN_NAMES, dice.Chance(92));
    }
    if (dice.Chance(10)) {
        AddBoolean(dice, options, Orvane::AUTO_SCHEMA, dice.Chance(60));
    }
    if (dice.Chance(20)) {
        AddBoolean(dice, options, Orvane::AUTO_SCHEMA_ALL_ROWS, dice.Chance(85));
    }
    if (dice.Chance(25)) {
        AddInteger(dice,
                   options,
                   "SCHEMA_SAMPLE_SIZE",
                   dice.Pick({-1, 0, 1, 1, 2, 2, 3, 3, 10, 10, 1000, 1000, 1000, 1000}));
    }
    if (dice.Chance(22)) {
        AddDefinitions(dice, options, shape);
    }
    if (dice.Chance(10)) {
        AddBoolean(dice, options, Orvane::PRESERVE_NUMERIC_STRINGS, dice.Chance(80));
    }
    if (dice.Chance(25)) {
        AddBoolean(dice, options, Orvane::IGNORE_BLANK_ROWS, dice.Chance(30));
    }
    AddHeaderOptions(dice, options);
    if (shape.codec.isEmpty() ? dice.Chance(3) : dice.Chance(94)) {
        options.Add("CODEC",
                    MakeBString(shape.codec.isEmpty() ? QStringLiteral("UTF-8") : shape.codec));
    } else if (dice.Chance(2)) {
        options.Add("CODEC", BString(dice.Pick({u"no-such-codec", u"", u"utf8", u"latin1"})));
    }
    if (dice.Chance(3)) {
        AddBoolean(dice, options, "CODECFORLOCALE", dice.Chance(50));
    }
    return options;
}

/// Numbers side by side; other values only where they do not make their column one of texts.
QString MakeWideField(Dice& dice, const Shape& shape, int row)
{
    constexpr int kSampleRows = 5;
    if (row >= kSampleRows && dice.Chance(4)) {
        const EColumn kind = dice.Chance(50) ? EColumn::Real : EColumn::Anything;
        return MakeField(dice, RandomValue(dice, kind, false), shape.separator, shape.breaksQuotes);
    }
    QString text = dice.Chance(20) ? QStringLiteral("-") : QString();
    text += RandomDigits(dice, dice.Between(1, 5));
    text += QLatin1Char('.');
    text += RandomDigits(dice, dice.Between(1, 6));
    return text;
}

QString MakeText(Dice& dice, const Shape& shape)
{
    std::vector<EColumn> columns;
    for (int i = 0; i < shape.columnCount; ++i) {
        if (shape.isCalm && dice.Chance(70)) {
            columns.push_back(EColumn::Real);
            continue;
        }
        columns.push_back(dice.Pick({EColumn::Whole,
                                     EColumn::Whole,
                                     EColumn::Real,
                                     EColumn::Real,
                                     EColumn::Real,
                                     EColumn::Truth,
                                     EColumn::Word,
                                     EColumn::Word,
                                     EColumn::Angle,
                                     EColumn::Anything}));
    }
    const QString ending = dice.Pick(
        {QStringLiteral("\n"), QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\r")});
    const bool mixesEndings = dice.Chance(8);
    const bool hasHeader = dice.Chance(12);
    const bool hasBlankRows = dice.Chance(20);
    const bool hasUnevenRows = !shape.isCalm && dice.Chance(20);
    const int rowCount = dice.Chance(3)   ? dice.Between(60, 200)
                         : dice.Chance(4) ? 0
                                          : dice.Between(1, 14);

    QString text;
    const auto endLine = [&] {
        text +=
            mixesEndings
                ? dice.Pick({QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\r")})
                : ending;
    };
    const auto maybeBlank = [&] {
        while (hasBlankRows && dice.Chance(25)) {
            text += dice.Pick({QString(),
                               QString(),
                               QString(),
                               QStringLiteral("  "),
                               QStringLiteral("\t"),
                               shape.separator});
            endLine();
        }
    };
    if (hasHeader) {
        for (int i = dice.Between(1, 3); i > 0; --i) {
            text += dice.Pick({QStringLiteral("# made by hand"),
                               QStringLiteral("// one, two"),
                               QStringLiteral("%"),
                               QStringLiteral("title")});
            endLine();
        }
        if (dice.Chance(50)) {
            endLine();
        }
    }
    maybeBlank();
    if (shape.hasNames) {
        QStringList names;
        for (int i = 0; i < shape.columnCount; ++i) {
            names.append(MakeField(dice,
                                   dice.Pick({QStringLiteral("x"),
                                              QStringLiteral("y"),
                                              QStringLiteral(" Name "),
                                              QStringLiteral(""),
                                              QStringLiteral("Depth"),
                                              QStringLiteral("a,b"),
                                              QStringLiteral("\u00e9"),
                                              QStringLiteral(" ")}),
                                   shape.separator,
                                   shape.breaksQuotes));
        }
        text += names.join(shape.separator);
        endLine();
    }
    for (int row = 0; row < rowCount; ++row) {
        maybeBlank();
        int fieldCount = shape.columnCount;
        if (hasUnevenRows && dice.Chance(30)) {
            fieldCount = std::max(0, fieldCount + dice.Pick({-2, -1, 1, 2}));
        }
        QStringList fields;
        for (int i = 0; i < fieldCount; ++i) {
            if (shape.isWide) {
                fields.append(MakeWideField(dice, shape, row));
                continue;
            }
            const std::size_t column = static_cast<std::size_t>(std::min(i, shape.columnCount - 1));
            fields.append(MakeField(dice,
                                    RandomValue(dice, columns[column], shape.isCalm),
                                    shape.separator,
                                    shape.breaksQuotes));
        }
        text += fields.join(shape.separator);
        if (dice.Chance(3)) {
            text += dice.Pick({QStringLiteral(" "), QStringLiteral("\t"), QStringLiteral("\v ")});
        }
        if (row + 1 < rowCount || dice.Chance(60)) {
            endLine();
        }
    }
    maybeBlank();
    if (dice.Chance(1)) {
        // Long lines with many quotes are where a regular-expression engine gives up.
        for (int i = dice.Between(500, 1500); i > 0; --i) {
            text +=
                dice.Pick(
                    {QStringLiteral("\"a\""), QStringLiteral("12"), QStringLiteral("\"x,y\"")}) +
                shape.separator;
        }
        endLine();
    }
    return text;
}

void Damage(Dice& dice, QByteArray& bytes)
{
    for (int i = dice.Between(1, 4); i > 0; --i) {
        const auto at =
            static_cast<qsizetype>(dice.Below(static_cast<std::size_t>(bytes.size()) + 1));
        switch (dice.Below(8)) {
        case 0:
            bytes.insert(at, '\0');
            break;
        case 1:
            bytes.insert(at, '"');
            break;
        case 2:
            bytes.insert(at, dice.Pick({"\r", "\n", "\r\n", "\n\n", "\r\r\n"}));
            break;
        case 3:
            bytes.insert(at, dice.Pick({" ", "\t", "\v", "\f", "  "}));
            break;
        case 4:
            bytes.insert(at,
                         dice.Pick({"\xff",
                                    "\xc3",
                                    "\xe4\xbd",
                                    "\xed\xa0\x80",
                                    "\xf0\x9f\x98",
                                    "\x80",
                                    "\xc0\xaf",
                                    "\xef\xbb\xbf",
                                    "\xef\xbf\xbf"}));
            break;
        case 5:
            bytes.remove(at, dice.Between(1, 3));
            break;
        case 6:
            bytes.insert(at, bytes.mid(at, dice.Between(1, 10)));
            break;
        default:
            bytes.insert(at, dice.Pick({",", ";", "|", "\\\"", "\"\"", "\"\n\"", "\xa0", "\x85"}));
            break;
        }
    }
}

QString JsonText(const BString& text)
{
    QString result = QStringLiteral("\"");
    for (const QChar unit : MakeQString(text)) {
        if (unit == QLatin1Char('"') || unit == QLatin1Char('\\')) {
            result += QLatin1Char('\\') + QString(unit);
        } else if (unit.unicode() < 0x20 || unit.unicode() > 0x7e) {
            result += QStringLiteral("\\u") +
                      QString::number(unit.unicode(), 16).rightJustified(4, QLatin1Char('0'));
        } else {
            result += unit;
        }
    }
    return result + QLatin1Char('"');
}

QString JsonValue(const BVariant& value)
{
    switch (value.GetType()) {
    case EVariantType::Boolean:
        return value.GetBoolean() ? QStringLiteral("true") : QStringLiteral("false");
    case EVariantType::String:
        return JsonText(value.GetString());
    case EVariantType::Strings: {
        QStringList parts;
        for (const BString& text : value.GetStrings()) {
            parts.append(JsonText(text));
        }
        return QStringLiteral("[") + parts.join(QStringLiteral(", ")) + QStringLiteral("]");
    }
    case EVariantType::Integers: {
        QStringList parts;
        for (const std::int32_t number : value.GetIntegers()) {
            parts.append(QString::number(number));
        }
        return QStringLiteral("[") + parts.join(QStringLiteral(", ")) + QStringLiteral("]");
    }
    case EVariantType::Double: {
        const QString text = QString::number(value.GetDouble(), 'g', 17);
        return text.contains(QLatin1Char('.')) || text.contains(QLatin1Char('e'))
                   ? text
                   : text + QStringLiteral(".0");
    }
    default:
        return QString::number(value.GetInt64());
    }
}

std::string JsonOptions(const BParamList& options)
{
    QStringList entries;
    for (std::size_t i = 0; i < options.GetCount(); ++i) {
        entries.append(JsonText(options.GetKeyAt(i)) + QStringLiteral(": ") +
                       JsonValue(options.GetValueAt(i)));
    }
    return "{" + entries.join(QStringLiteral(", ")).toStdString() + "}";
}

std::string Escaped(const QByteArray& bytes)
{
    std::string result = "\"";
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        char buffer[8];
        if (byte == '\n') {
            result += "\\n";
        } else if (byte == '\r') {
            result += "\\r";
        } else if (byte == '"' || byte == '\\') {
            result += '\\';
            result += byte;
        } else if (code < 0x20 || code > 0x7e) {
            // Octal escapes end after three digits, whatever follows.
            std::snprintf(buffer, sizeof buffer, "\\%03o", code);
            result += buffer;
        } else {
            result += byte;
        }
    }
    return result + "\"";
}

} // namespace

Case MakeCase(std::uint64_t seed, std::uint64_t number)
{
    Dice dice(seed * 0x9E3779B97F4A7C15ULL + number * 0xBF58476D1CE4E5B9ULL + 1);
    Case result;
    result.seed = seed;
    result.number = number;

    Shape shape;
    shape.columnCount = dice.Between(1, dice.Chance(5) ? 14 : 6);
    shape.hasNames = dice.Chance(40);
    shape.isCalm = dice.Chance(50);
    shape.breaksQuotes = !shape.isCalm && dice.Chance(40);
    if (dice.Chance(3)) {
        shape.isWide = true;
        shape.isCalm = true;
        shape.breaksQuotes = false;
        shape.columnCount = dice.Between(66, 90);
    }
    bool needsSeparator = false;
    QString baseName = dice.Pick({QStringLiteral("points"),
                                  QStringLiteral("a.b"),
                                  QStringLiteral("caf\u00e9 1"),
                                  QStringLiteral(".x")});
    switch (dice.Below(6)) {
    case 0:
    case 1:
        shape.separator = QStringLiteral(",");
        result.fileName = baseName + dice.Pick({QStringLiteral(".csv"),
                                                QStringLiteral(".CSV"),
                                                QStringLiteral(".asc"),
                                                QStringLiteral(".txt")});
        break;
    case 2:
        shape.separator = QStringLiteral("\t");
        result.fileName =
            baseName +
            dice.Pick({QStringLiteral(".tsv"), QStringLiteral(".txt"), QStringLiteral(".Txt")});
        break;
    case 3:
        shape.separator = QStringLiteral(" ");
        result.fileName = baseName + QStringLiteral(".ssv");
        break;
    default:
        needsSeparator = true;
        shape.separator = dice.Pick(
            {QStringLiteral(";"),      QStringLiteral("|"),          QStringLiteral("||"),
             QStringLiteral("::"),     QStringLiteral(", "),         QStringLiteral("."),
             QStringLiteral("*"),      QStringLiteral("("),          QStringLiteral("[a]"),
             QStringLiteral("$^"),     QStringLiteral("\\"),         QStringLiteral("\\E"),
             QStringLiteral("%1"),     QStringLiteral("1"),          QStringLiteral("aa"),
             QStringLiteral("aba"),    QStringLiteral("e"),          QStringLiteral("\""),
             QStringLiteral("\",\""),  QStringLiteral("\"\""),       QStringLiteral("\u00e9"),
             QStringLiteral("\u00b7"), QStringLiteral("\U0001F600"), QStringLiteral("\n"),
             QStringLiteral("\r"),     QStringLiteral(","),          QStringLiteral("\t"),
             QStringLiteral(" "),      QString(1, QChar(u'\0')),     QString()});
        result.fileName = baseName + dice.Pick({QStringLiteral(".dat"),
                                                QStringLiteral(".csv"),
                                                QStringLiteral(".txt"),
                                                QStringLiteral(""),
                                                QStringLiteral(".")});
        break;
    }
    if (dice.Chance(45)) {
        shape.codec = dice.Pick({QStringLiteral("UTF-8"),
                                 QStringLiteral("UTF-8"),
                                 QStringLiteral("UTF-16"),
                                 QStringLiteral("UTF-16LE"),
                                 QStringLiteral("UTF-16BE"),
                                 QStringLiteral("CP949"),
                                 QStringLiteral("windows-1252"),
                                 QStringLiteral("ISO-8859-1"),
                                 QStringLiteral("Shift_JIS"),
                                 QStringLiteral("GB18030")});
    }

    const QTextCodec* codec = QTextCodec::codecForName(
        shape.codec.isEmpty() ? QByteArray("ISO-8859-1") : shape.codec.toLatin1());
    if (codec == nullptr) {
        codec = QTextCodec::codecForName("ISO-8859-1");
    }
    result.content = codec->fromUnicode(MakeText(dice, shape));
    if (shape.codec == QStringLiteral("UTF-8") && dice.Chance(25)) {
        result.content.prepend("\xef\xbb\xbf");
    }
    if (dice.Chance(18)) {
        Damage(dice, result.content);
    }
    if (dice.Chance(1)) {
        result.content = dice.Pick({QByteArray(),
                                    QByteArray("\n"),
                                    QByteArray("\r\n\r\n"),
                                    QByteArray("   "),
                                    QByteArray("\""),
                                    QByteArray("\xef\xbb\xbf"),
                                    QByteArray("\0", 1),
                                    QByteArray(","),
                                    QByteArray("a")});
    }
    result.fileExists = !dice.Chance(1);

    result.opened = MakeOptions(dice, shape, needsSeparator);
    result.kept = dice.Chance(92) ? result.opened : MakeOptions(dice, shape, needsSeparator);

    result.steps =
        dice.Pick({std::vector<EStep>{EStep::Read},
                   std::vector<EStep>{EStep::Read},
                   std::vector<EStep>{EStep::Read},
                   std::vector<EStep>{EStep::Preview},
                   std::vector<EStep>{EStep::Preview, EStep::Read},
                   std::vector<EStep>{EStep::Read, EStep::Read},
                   std::vector<EStep>{EStep::Read, EStep::Preview},
                   std::vector<EStep>{EStep::Read, EStep::Read, EStep::Preview, EStep::Read},
                   std::vector<EStep>{EStep::Preview, EStep::Preview, EStep::Read}});
    result.smallBlockSize = static_cast<std::size_t>(dice.Between(1, 64));
    result.hasProgress = dice.Chance(20);
    if (result.hasProgress && dice.Chance(50)) {
        result.cancelLine = static_cast<std::uint32_t>(dice.Between(1, 12));
    }
    if (dice.Chance(25)) {
        result.cachePageRows = static_cast<std::uint32_t>(dice.Between(1, 8));
    }
    return result;
}

std::string DescribeCase(const Case& input)
{
    std::string text =
        "seed " + std::to_string(input.seed) + ", case " + std::to_string(input.number) +
        "\nfile name: " + input.fileName.toStdString() + (input.fileExists ? "" : " (not there)") +
        "\nopened with: " + JsonOptions(input.opened) +
        "\nmade with:   " + JsonOptions(input.kept) + "\nsteps: open";
    for (const EStep step : input.steps) {
        text += step == EStep::Read ? ", read" : ", preview";
    }
    text +=
        "\nsmall block: " + std::to_string(input.smallBlockSize) + " bytes, progress: " +
        (input.hasProgress ? "cancels at " + std::to_string(input.cancelLine) : "none") +
        ", layers: " +
        (input.cachePageRows == 0 ? "in memory"
                                  : "on disk in pages of " + std::to_string(input.cachePageRows)) +
        "\nbytes: " + Escaped(input.content) + "\n";
    return text;
}

} // namespace RandomFiles
