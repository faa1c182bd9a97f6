// What a layer holds, in words for people.
#pragma once

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BGeometry.h>
#include <Orvane/BVariant.h>

#include <string>

namespace OrvaneHost {

/// "integer", "double", "text" and so on; "type N" for numbers without a name.
[[nodiscard]] std::string NameOfType(Orvane::EVariantType type);

/// Lines of the schema, one column each: number from 1, name, type, precision when there is one.
[[nodiscard]] std::string DescribeSchema(const Orvane::BAttributeDefs& schema);

/// "X -10.5 to 20, Y 3 to 4, Z 0 to 9", or "none".
[[nodiscard]] std::string DescribeExtent(const Orvane::BMBB& box);

/// The shortest exact digits of a number.
[[nodiscard]] std::string FormatNumber(double value);

/// A value as text for people, escaped.
[[nodiscard]] std::string FormatValue(const Orvane::BVariant& value);

} // namespace OrvaneHost
