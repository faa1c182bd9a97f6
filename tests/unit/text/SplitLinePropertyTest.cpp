// Compares the splitting of random lines with the regular-expression engine.
#include "support/TestFiles.h"
#include "text/AsciiUtils.h"
#include "text/SplitPatterns.h"

#include <Orvane/BStringQt.h>

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace {

using AsciiReader::Row;

/// The fields by the regular-expression engine and plain text replacement.
Row FieldsByEngine(const QString& line, const QRegularExpression& pattern)
{
    Row row;
    bool hasText = false;
    const QStringList parts = line.split(pattern, Qt::KeepEmptyParts);
    for (QString part : parts) {
        hasText = hasText || !part.isEmpty();
        if (part.startsWith(QLatin1Char('"'))) {
            part = part.mid(1, part.size() - 2);
        }
        part.replace(QStringLiteral("\"\""), QStringLiteral("\""));
        part.replace(QStringLiteral("\\\""), QStringLiteral("\""));
        row.push_back(Orvane::MakeBString(part));
    }
    if (!hasText) {
        row.clear();
    }
    return row;
}

struct PropertyCase
{
    const char* name;
    const char16_t* separator;
    const char16_t* alphabet;
};

void PrintTo(const PropertyCase& propertyCase, std::ostream* stream)
{
    *stream << propertyCase.name;
}

constexpr PropertyCase kCases[] = {
    {"Comma", u",", u",\"\\a \t"},
    {"Tab", u"\t", u"\t\"\\a, "},
    {"Blank", u" ", u" \"\\a,"},
    {"Pipe", u"|", u"|\"\\a,"},
    {"TwoCharacters", u"ab", u"ab\"\\,"},
    {"TwoEqualCharacters", u";;", u";\"\\a,"},
    {"ThreeCharactersThatRepeat", u"aba", u"ab\"\\"},
    {"FiveCharacters", u"<-*->", u"<-*>\"\\"},
    {"PatternCharacters", u".*", u".*\"\\a"},
    {"AQuoteItself", u"\"", u"\"\\a,"},
    {"AQuoteAndAComma", u"\",", u"\",\\a"},
    {"ACommaAndAQuote", u",\"", u"\",\\a"},
    {"ABackslash", u"\\", u"\"\\a,"},
    {"LettersAndAQuoteBetween", u"a\"a", u"a\"\\,"},
    {"OutsideOfAscii", u"\u20ac", u"\u20ac\"\\\u00e9"},
    {"ASurrogatePair", u"\U0001F600", u"\U0001F600\"\\a"},
    {"APercentPlaceholder", u"%1", u"%1\"\\a"},
};

class AsciiUtilsSplitLineProperty : public testing::TestWithParam<PropertyCase>
{};

TEST_P(AsciiUtilsSplitLineProperty, GivesTheFieldsOfTheRegularExpression)
{
    const QString separator = QString::fromUtf16(GetParam().separator);
    // Whole characters: the engine fails on a line with a lone surrogate.
    const auto alphabet = QString::fromUtf16(GetParam().alphabet).toUcs4();
    const QRegularExpression pattern(AsciiReader::SplitPatterns::SeparatorTemplate().arg(
        QRegularExpression::escape(separator), 0, QLatin1Char(' ')));
    ASSERT_TRUE(pattern.isValid());

    std::mt19937 random(20240229U);
    constexpr int kLines = 4000;
    for (int i = 0; i < kLines; ++i) {
        const unsigned longest = i % 100 == 0 ? 400U : 24U;
        const auto length = static_cast<unsigned>(random() % (longest + 1U));
        QString line;
        while (static_cast<unsigned>(line.size()) < length) {
            const auto choice = random();
            if (choice % 5U == 0U) {
                line += separator;
            } else {
                const auto count = static_cast<std::size_t>(alphabet.size());
                const char32_t character = alphabet.at(static_cast<qsizetype>(choice / 5U % count));
                line += QString::fromUcs4(&character, 1);
            }
        }
        ASSERT_EQ(AsciiReader::AsciiUtils::SplitLine(line, pattern, {}),
                  FieldsByEngine(line, pattern))
            << "line " << i << ": " << line.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(,
                         AsciiUtilsSplitLineProperty,
                         testing::ValuesIn(kCases),
                         TestSupport::CaseName());

} // namespace
