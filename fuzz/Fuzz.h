// What every fuzz harness defines, and what it uses to say that two answers differ.
#pragma once

#include "Dice.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <string>
#include <string_view>

namespace Fuzz {

// A harness is one source file that defines these two; Replay.cpp and LibFuzzer.cpp drive it.

/// Runs the harness on any bytes. Returns when all answers agree; otherwise, as for an exception
/// that may not leave, the process is aborted.
void RunInput(std::string_view bytes);
/// Bytes for RunInput that mean something: sound ones, then broken here and there.
std::string MakeInput(Dice& dice);

/// Prints the message to standard error and aborts.
[[noreturn]] void Fail(const std::string& message);

/// Fails when the two are not the same. @param what names the answer that is compared
void ExpectSame(const std::string& what, const std::string& expected, const std::string& actual);

/// "yes" or "no".
std::string YesOrNo(bool value);

/// Bytes as in a C literal.
std::string Escaped(std::string_view bytes);

/// The path of a file of that name and content in a folder of this process, which goes with it.
/// The file is written anew by each call; a null content stands for a file that is not there.
QString ScratchFile(const QString& name, const QByteArray& content);
/// The path of a name in that folder; nothing is made.
QString ScratchName(const QString& name);

} // namespace Fuzz
