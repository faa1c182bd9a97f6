// The patterns and key texts that the whole plug-in shares.
#include "text/Constants.h"

#include "support/TestFiles.h"

#include <Orvane/Constants.h>

#include <QRegularExpression>
#include <QString>

#include <gtest/gtest.h>

namespace {

namespace Constants = AsciiReader::Constants;
using Orvane::BString;

TEST(AsciiReaderConstants, SplitPatternsLookForAnEvenNumberOfQuotesBehindTheSeparator)
{
    EXPECT_EQ(Constants::CommaSplit().pattern(),
              QStringLiteral(",(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(Constants::TabSplit().pattern(),
              QStringLiteral("\t(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(Constants::SpaceSplit().pattern(),
              QStringLiteral(" (?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(Constants::SeparatorTemplate(),
              QStringLiteral("%1(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
}

TEST(AsciiReaderConstants, SplitPatternsCompileWithDefaultOptions)
{
    for (const QRegularExpression& pattern :
         {Constants::CommaSplit(), Constants::TabSplit(), Constants::SpaceSplit()}) {
        EXPECT_TRUE(pattern.isValid());
        EXPECT_EQ(pattern.patternOptions(), QRegularExpression::NoPatternOption);
    }
}

TEST(AsciiReaderConstants, AreTheSameObjectsOnEveryUse)
{
    EXPECT_EQ(&Constants::CommaSplit(), &Constants::CommaSplit());
    EXPECT_EQ(&Constants::SeparatorTemplate(), &Constants::SeparatorTemplate());
}

TEST(AsciiReaderConstants, KeysOfThePlugInHaveTheirTexts)
{
    EXPECT_EQ(Constants::SampleSizeKey(), BString("SCHEMA_SAMPLE_SIZE"));
    EXPECT_EQ(Constants::CodecKey(), BString("CODEC"));
    EXPECT_EQ(Constants::LocaleCodecKey(), BString("CODECFORLOCALE"));
}

} // namespace
