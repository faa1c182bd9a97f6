// The options of one read, looked up once.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace AsciiReader {

/// The options of one coordinate.
struct CoordinateOptions
{
    /// No column: no row has a field of this index.
    static constexpr std::int32_t kNoField = -1;

    bool hasColumn = false;             ///< whether the key of the column is there
    std::int32_t fieldIndex = kNoField; ///< its value; may lie outside every row
    double multiplier = 1.0;
    Orvane::BString format; ///< empty for plain numbers
};

/// Every option that engine, schema and row conversion read, with the rules on which of them count.
/// A list is read as it stands; the engine reads its normalised copy (OptionRules::Normalise).
/// What a key means is said in docs/options.md.
struct ReadOptions
{
    enum class HeaderMode { None, Identifiers, BlankLine, Count };

    ReadOptions() = default;
    /// Implicit, so that whatever works with options accepts a list of them.
    ReadOptions(const Orvane::BParamList& params); // NOLINT(google-explicit-constructor)

    /// Rule: X and Y count only together, and Z only with both. Multipliers follow the same rule
    /// among themselves, and are 1 here where they do not count.
    /// Rule: default column names skip the number of every coordinate column that is there, alone
    /// or not; `fieldIndex` of each is its own.
    [[nodiscard]] bool HasCoordinates() const noexcept { return x.hasColumn && y.hasColumn; }

    /// How many of the three keys are there, whatever their values.
    [[nodiscard]] std::size_t CountCoordinateKeys() const noexcept;

    CoordinateOptions x;
    CoordinateOptions y;
    CoordinateOptions z;
    std::optional<std::int32_t> nameColumn; ///< counted from 1

    bool ignoresBlankRows = true;
    bool hasColumnNames = false; ///< the first data line holds them
    bool infersSchema = false;   ///< AUTO_SCHEMA is there, whatever its value
    bool scansAllRows = false;
    bool keepsNumericTexts = false;
    std::int32_t sampleSize = 0; ///< lines; negative: all that were sampled
    std::optional<std::vector<Orvane::BString>> columnDefinitions;
    std::vector<std::int32_t> fieldLengths;
    std::optional<Orvane::BString> separator;

    HeaderMode headerMode = HeaderMode::None;
    std::vector<Orvane::BString> headerIdentifiers;
    std::int32_t headerCount = 0;

    std::optional<Orvane::BString> codecName;
    bool usesLocaleCodec = false; ///< counts where there is no name
};

} // namespace AsciiReader
