// Rules on the options of a read that the reader and those who prepare a read share.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <cstdint>

/// Stateless; nothing is thrown but std::bad_alloc. Key texts are built on first use.
namespace AsciiReader::OptionRules {

// Option keys that belong to this reader alone.

/// "SCHEMA_SAMPLE_SIZE": data lines sampled for schema inference.
const Orvane::BString& SampleSizeKey();
/// "CODEC": name of the file's text codec.
const Orvane::BString& CodecKey();
/// "CODECFORLOCALE": presence selects the locale's codec.
const Orvane::BString& LocaleCodecKey();

/// Lines sampled when SCHEMA_SAMPLE_SIZE is absent.
inline constexpr std::int32_t kDefaultSampleSize = 5;

/// The options as the engine keeps them: column numbers given as text become integers when X and Y
/// are both there, a text of FIRST_LINE_COLUMN_NAMES becomes a boolean, and AUTO_SCHEMA is added
/// when neither it nor COLUMN_DEFINITION is there.
Orvane::BParamList Normalise(Orvane::BParamList params);

/// Whether FIRST_LINE_COLUMN_NAMES says that the first data line holds the column names; false when
/// it is absent. A text says so only when its integer value is 1. Normalised or not, a list gives
/// the same answer.
bool HasColumnNames(const Orvane::BParamList& params);

/// Name of a column that has none: "C" and its number in the file, counted from 1, coordinate
/// columns included.
Orvane::BString MakeColumnName(std::int64_t columnNumber);

} // namespace AsciiReader::OptionRules
