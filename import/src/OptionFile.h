// Reader options from a JSON file.
#pragma once

#include <Orvane/BKeyValuePairs.h>

#include <string>

namespace OrvaneHost {

/// Reads an object of reader options; every value keeps its JSON type: texts, integers (64 bits
/// when 32 are too few), numbers, booleans, lists of texts and lists of integers. An empty list has
/// the type that its key needs. Presence-only keys take any of these.
/// @throws UsageError when the file can not be read, is larger than 16 MiB, is no such object, has
///     an unknown or repeated key, a null, an object, a mixed list, a list where one value is
///     needed or one value where a list is needed.
[[nodiscard]] Orvane::BParamList ReadOptionFile(const std::string& path);

} // namespace OrvaneHost
