// Makes the texts of generators: numbers, words, angles and fields, then breaks some of them.
#pragma once

#include "Dice.h"

#include <string>
#include <string_view>

namespace Fuzz {

/// A number as people and programs write them, in plain and in unusual ways.
std::string MakeNumber(Dice& dice);
/// An angle in one of the ways that formats of degrees take, or nearly.
std::string MakeAngle(Dice& dice);
/// A word: of the booleans, plain, with characters beyond ASCII, or with quotes and separators.
std::string MakeWord(Dice& dice);
/// Any of the three, or nothing.
std::string MakeValue(Dice& dice);

/// A text as a field: quoted where it must be, sometimes where it need not be, sometimes wrongly.
std::string MakeField(Dice& dice, std::string_view value, std::string_view separator);
/// Fields and separators; no line ending.
std::string MakeLine(Dice& dice, std::size_t fieldCount, std::string_view separator);
/// Lines with endings of one kind, or mixed, with blank lines and open quotes among them.
std::string MakeLines(Dice& dice, std::size_t lineCount, std::string_view separator);

/// Changes a few bytes: inserts, removes, repeats, swaps.
void Break(Dice& dice, std::string& bytes);

} // namespace Fuzz
