// Words that are printed to be pasted into a shell come back from it unchanged.
#include "ShellWords.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace {

/// What a shell makes of the quoted word.
std::string ReadBack(const std::string& quoted)
{
    const std::string script = "printf %s " + quoted;
    const std::string command = "bash -c " + OrvaneHost::QuoteForShell(script);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"),
                                                               &pclose);
    std::string text;
    for (int byte = std::getc(pipe.get()); byte != EOF; byte = std::getc(pipe.get())) {
        text += static_cast<char>(byte);
    }
    return text;
}

} // namespace

TEST(QuoteForShell, LeavesPlainWordsAlone)
{
    EXPECT_EQ(OrvaneHost::QuoteForShell("data/a-1.csv"), "data/a-1.csv");
    EXPECT_EQ(OrvaneHost::QuoteForShell("CODEC=UTF-8"), "CODEC=UTF-8");
}

TEST(QuoteForShell, QuotesWhatAShellWouldChange)
{
    EXPECT_EQ(OrvaneHost::QuoteForShell(""), "''");
    EXPECT_EQ(OrvaneHost::QuoteForShell("my file.csv"), "'my file.csv'");
    EXPECT_EQ(OrvaneHost::QuoteForShell("it's"), "'it'\\''s'");
    EXPECT_EQ(OrvaneHost::QuoteForShell("a\nb"), "$'a\\x0Ab'");
}

TEST(QuoteForShell, GivesWordsThatAShellReadsBack)
{
    for (const std::string_view word : {"a b",
                                        "it's",
                                        "\"q\"",
                                        "$HOME",
                                        "a;b",
                                        "a\\b",
                                        "*",
                                        "~",
                                        "!x",
                                        "\xC3\xA9t\xC3\xA9",
                                        "tab\there",
                                        "line\nbreak",
                                        "\xFF\xFE",
                                        "'\n\\",
                                        "-x",
                                        "#a"}) {
        EXPECT_EQ(ReadBack(OrvaneHost::QuoteForShell(word)), word);
    }
}

TEST(MakeCommand, QuotesEachWord)
{
    EXPECT_EQ(OrvaneHost::MakeCommand({"import", "a b.csv"}), "orvane import 'a b.csv'");
}
