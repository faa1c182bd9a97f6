// The program's commands and arguments.
#pragma once

namespace OrvaneHost {

/// Runs the program: parses the arguments, performs the command, reports a failure in one line on
/// standard error (with --json also as an object on standard output).
/// @return the exit status: 0 done, 1 data failed, 2 wrong arguments
int RunCommandLine(int argumentCount, char** arguments);

} // namespace OrvaneHost
