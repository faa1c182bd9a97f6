// How a caller names a PostgreSQL database, and how that is shown.
#pragma once

#include <string>
#include <string_view>

namespace Orvane::Postgres {

/// The text as libpq reads it: without `PG:`.
[[nodiscard]] std::string ToConnectionInfo(std::string_view text);

/// The text as it may be shown: "PG:host=db dbname=survey user=ada", in libpq's order of keywords,
/// without passwords. A text that libpq cannot read is shown as "PG:" alone, since any part of it
/// may be a password.
[[nodiscard]] std::string ShowConnection(std::string_view text);

} // namespace Orvane::Postgres
