// Names of databases, and what of them may be shown.
#include "ConnectionText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Orvane::Postgres::ShowConnection;
using Orvane::Postgres::ToConnectionInfo;

TEST(ConnectionText, LosesItsPrefixForLibpq)
{
    EXPECT_EQ(ToConnectionInfo("PG:host=db dbname=survey"), "host=db dbname=survey");
    EXPECT_EQ(ToConnectionInfo("pg:dbname=survey"), "dbname=survey");
    EXPECT_EQ(ToConnectionInfo("postgresql://ada@db/survey"), "postgresql://ada@db/survey");
}

TEST(ConnectionText, IsShownWithoutPasswords)
{
    const char* const texts[] = {
        "PG:host=db user=ada password=secret dbname=survey",
        "PG:host=db user=ada password = 'secret' dbname=survey",
        "postgresql://ada:secret@db/survey",
        "postgres://ada@db/survey?password=secret",
        "PG:postgresql://ada:secret@db/survey",
    };
    for (const char* const text : texts) {
        const std::string shown = ShowConnection(text);
        EXPECT_EQ(shown.find("secret"), std::string::npos) << text;
        EXPECT_NE(shown.find("host=db"), std::string::npos) << shown;
        EXPECT_NE(shown.find("dbname=survey"), std::string::npos) << shown;
        EXPECT_NE(shown.find("user=ada"), std::string::npos) << shown;
    }
}

TEST(ConnectionText, ShowsNothingOfWhatLibpqCannotRead)
{
    EXPECT_EQ(ShowConnection("PG:host=db secret"), "PG:");
    EXPECT_EQ(ShowConnection("PG:password='secret"), "PG:");
    EXPECT_EQ(ShowConnection("PG:nonsense=secret"), "PG:");
}

TEST(ConnectionText, QuotesValues)
{
    EXPECT_EQ(ShowConnection(R"(PG:dbname='a b\'c')"), R"(PG:dbname='a b\'c')");
}

} // namespace
