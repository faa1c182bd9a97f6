// Texts and options that several harnesses make and describe in the same way.
#pragma once

#include "LiteralReader.h"
#include "LiteralRules.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <QString>
#include <QStringList>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Fuzz {

/// Bytes as a text: UTF-8, or one character per byte.
QString ToText(std::string_view bytes, bool isUtf8);

/// The bytes between the line feeds, as texts.
QStringList ToLines(std::string_view bytes, bool isUtf8);

/// The options as the engine keeps them.
Orvane::BParamList Normalised(const Orvane::BParamList& params);

/// The cut at ASCII_SEPARATOR, else at commas.
LiteralReader::Rules::Cut CutOf(const Orvane::BParamList& params);

/// All columns in one line.
std::string Describe(const Orvane::BAttributeDefs& schema);
std::string Describe(const std::vector<LiteralReader::Definition>& schema);

/// What the action returns, or class and texts of the SDK exception or std::out_of_range that it
/// throws. Any other exception leaves.
std::string Outcome(const std::function<std::string()>& action);

} // namespace Fuzz
