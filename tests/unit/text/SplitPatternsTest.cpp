// The patterns that cut a line into fields.
#include "text/SplitPatterns.h"

#include <QRegularExpression>
#include <QString>

#include <gtest/gtest.h>

namespace {

namespace SplitPatterns = AsciiReader::SplitPatterns;

TEST(SplitPatterns, LookForAnEvenNumberOfQuotesAfterTheSeparator)
{
    EXPECT_EQ(SplitPatterns::CommaSplit().pattern(),
              QStringLiteral(",(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(SplitPatterns::TabSplit().pattern(),
              QStringLiteral("\t(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(SplitPatterns::SpaceSplit().pattern(),
              QStringLiteral(" (?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
    EXPECT_EQ(SplitPatterns::SeparatorTemplate(),
              QStringLiteral("%1(?=(?:[^\"]*\"[^\"]*\")*(?![^\"]*\"))"));
}

TEST(SplitPatterns, CompileWithDefaultOptions)
{
    for (const QRegularExpression& pattern :
         {SplitPatterns::CommaSplit(), SplitPatterns::TabSplit(), SplitPatterns::SpaceSplit()}) {
        EXPECT_TRUE(pattern.isValid());
        EXPECT_EQ(pattern.patternOptions(), QRegularExpression::NoPatternOption);
    }
}

TEST(SplitPatterns, AreTheSameObjectsOnEveryUse)
{
    EXPECT_EQ(&SplitPatterns::CommaSplit(), &SplitPatterns::CommaSplit());
    EXPECT_EQ(&SplitPatterns::SeparatorTemplate(), &SplitPatterns::SeparatorTemplate());
}

} // namespace
