// Tests of the shared names.
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <ostream>

namespace {

using Orvane::BString;

struct NameCase
{
    const char* name;
    const BString* constant;
};

void PrintTo(const NameCase& row, std::ostream* out)
{
    *out << row.name;
}

#define ORVANE_NAME(Name)                                                                          \
    NameCase                                                                                       \
    {                                                                                              \
#Name, &Orvane::Name                                                                       \
    }

const NameCase kNames[] = {ORVANE_NAME(ASCII_SEPARATOR),
                           ORVANE_NAME(FIELD_LENGTH),
                           ORVANE_NAME(USE_COMMA),
                           ORVANE_NAME(USE_TAB),
                           ORVANE_NAME(USE_SPACE),
                           ORVANE_NAME(MAX_RECORDS),
                           ORVANE_NAME(X_COLUMN),
                           ORVANE_NAME(Y_COLUMN),
                           ORVANE_NAME(Z_COLUMN),
                           ORVANE_NAME(NAME_COLUMN),
                           ORVANE_NAME(FIRST_LINE_COLUMN_NAMES),
                           ORVANE_NAME(X_COORDINATE_FORMAT),
                           ORVANE_NAME(Y_COORDINATE_FORMAT),
                           ORVANE_NAME(Z_COORDINATE_FORMAT),
                           ORVANE_NAME(X_MULTIPLIER),
                           ORVANE_NAME(Y_MULTIPLIER),
                           ORVANE_NAME(Z_MULTIPLIER),
                           ORVANE_NAME(AUTO_SCHEMA),
                           ORVANE_NAME(AUTO_SCHEMA_ALL_ROWS),
                           ORVANE_NAME(COLUMN_DEFINITION),
                           ORVANE_NAME(PRESERVE_NUMERIC_STRINGS),
                           ORVANE_NAME(IGNORE_BLANK_ROWS),
                           ORVANE_NAME(ASCII_HEADER_IDENTIFIER),
                           ORVANE_NAME(ASCII_HEADER_BLANK_LINE),
                           ORVANE_NAME(ASCII_HEADER_COUNT),
                           ORVANE_NAME(NUM_COLUMNS),
                           ORVANE_NAME(DS_CSV),
                           ORVANE_NAME(DS_TSV),
                           ORVANE_NAME(DS_SSV),
                           ORVANE_NAME(DS_TXT),
                           ORVANE_NAME(DS_GPX),
                           ORVANE_NAME(DS_SHP),
                           ORVANE_NAME(QUERY_COLUMNS)};

#undef ORVANE_NAME

class ConstantsText : public testing::TestWithParam<NameCase>
{};

TEST_P(ConstantsText, EqualsTheConstantsName)
{
    EXPECT_EQ(*GetParam().constant, BString(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(, ConstantsText, testing::ValuesIn(kNames), [](const auto& row) {
    return row.param.name;
});

} // namespace
