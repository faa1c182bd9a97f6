// Many lines before a table that are none of it.
#pragma once

#include "scan/Shape.h"
#include "scan/TextSource.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvane::Import {

/// Lines at the begin of a text that are passed over before the table's shape is looked for, as
/// they are more than a head is looked through for.
struct Lead
{
    /// Longer ones are not passed over: the head of a table is kept in memory.
    static constexpr std::uint64_t kMostBytes = std::uint64_t{8} << 20U;

    std::uint64_t bytes = 0;
    std::uint64_t lines = 0;
    Scan::ELineKind kind = Scan::ELineKind::Comment;
    std::string text; ///< of the first line, cut to 4 KiB
};

/// The comment lines that a text begins with, where these are many. The last ones of them are left
/// for the head, as one may hold the names.
/// @throws ImportFailure as TextSource::Read
[[nodiscard]] Lead FindLeadingComments(Scan::TextSource& source, Scan::ELineEnds lineEnds);

/// The lines before the first ten lines after each other that have so many fields; nothing when
/// these are few, or when there are no such ten lines.
/// @throws ImportFailure as TextSource::Read
[[nodiscard]] Lead FindLeadingText(Scan::TextSource& source,
                                   Scan::ELineEnds lineEnds,
                                   char separator,
                                   std::size_t fields);

/// Moves what is known of a table's head to where it stands in the whole text.
void MoveAfter(const Lead& lead, Scan::TableHead& head);

} // namespace Orvane::Import
