// The texts of `--help`, made from the rules of the arguments.
#pragma once

#include "Arguments.h"

#include <cstddef>
#include <string>

namespace OrvaneHost {

/// Characters of a line of help: what COLUMNS says, else the width of the terminal on standard
/// output, else 80; 40 at least and 120 at most.
[[nodiscard]] std::size_t GetHelpWidth();

/// The help of the program (its commands and examples) or of one of its commands (its arguments,
/// text and examples), ending with a line ending. Lines have at most `width` characters, unless one
/// word is longer; examples go on after a backslash, as a shell reads them.
[[nodiscard]] std::string
MakeHelp(const ProgramRule& program, const CommandRule& command, std::size_t width);

} // namespace OrvaneHost
