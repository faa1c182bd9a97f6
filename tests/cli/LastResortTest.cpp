// The line that is left when a library cannot go on.
#include <gtest/gtest.h>

#include <LastResort.h>
#include <exception>
#include <new>
#include <string>

namespace {

namespace LastResort = OrvaneHost::LastResort;

TEST(LastResort, ShowsOnlyPrintableCharactersOfTheReason)
{
    EXPECT_EXIT(LastResort::End("no \x1b[31mred\n of \xC3\xA9."),
                testing::ExitedWithCode(1),
                "^orvane: The program cannot go on: no \\?\\[31mred\\? of \\?\\?\\.\n$");
}

TEST(LastResort, CutsALongReason)
{
    EXPECT_EXIT(LastResort::End(std::string(10000, 'a')),
                testing::ExitedWithCode(1),
                "^orvane: The program cannot go on: a{500}\n$");
}

TEST(LastResort, TellsThatMemoryEnded)
{
    const auto end = [] {
        try {
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
            LastResort::End("not this");
        }
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(1), "^orvane: There is not enough memory\\.");
}

TEST(LastResort, IsWhatTerminateDoes)
{
    const auto end = [] {
        LastResort::Install();
        std::terminate();
    };
    EXPECT_EXIT(end(),
                testing::ExitedWithCode(1),
                "^orvane: The program cannot go on: a library gave up\\.\n$");
}

} // namespace
