// The kinds of findings, by index.
#pragma once

#include <Orvane/Import/Lint.h>

#include <cstddef>
#include <cstdint>

namespace Orvane::Import {

/// Indices of GetLintRules.
enum class ELint : std::uint8_t {
    Compressed,
    Encoding,
    EncodingDoubt,
    ByteOrderMark,
    MixedLineEnds,
    Nul,
    InvalidUtf8,
    InvalidUtf16,
    InvalidCharacter,
    ControlZ,
    CutRow,
    LineTooLong,
    Separator,
    OtherQuote,
    SeparatorStatement,
    Preamble,
    CommentLine,
    BlankLine,
    NamesLines,
    UnitsLine,
    RuleLine,
    RepeatedNames,
    Footer,
    FurtherTable,
    TotalRow,
    NamesDoubt,
    NamesShort,
    NamesLong,
    DuplicateName,
    EmptyName,
    TrailingSeparator,
    ShortRow,
    LongRow,
    StrayQuote,
    UnclosedQuote,
    RepairedQuote,
    RepairedSeparator,
    RepairedShift,
    RepairedLineEnd,
    LooseSeparator,
    QuotedLineBreak,
    Gap,
    NullWord,
    LateDecimal,
    LateText,
    OddCell,
    BigInteger,
    LeadingZero,
    LongNumber,
    Exponent,
    DecimalComma,
    Thousands,
    UnicodeMinus,
    BooleanDigits,
    MixedUnits,
    QualifiedNumber,
    Sentinel,
    AmbiguousDate,
    AmbiguousNumber,
    BadValue,
    NoCoordinates,
    CoordinatesDoubt,
    CoordinateFormat,
    NoPoint,
    OutOfRange,
    ZeroPoint,
    SwappedAxes,
    LongitudePast180,
    SeveralZones,
    LetterO,
    ProjectionFile,
    QuotedLines,
    EncodingDoubtful,
};

inline constexpr std::size_t kLintRules = static_cast<std::size_t>(ELint::EncodingDoubtful) + 1;

[[nodiscard]] const LintRule& RuleOf(ELint lint);

} // namespace Orvane::Import
