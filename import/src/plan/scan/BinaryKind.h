// Files that are no text, told by their first bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Orvane::Import::Scan {

/// What a file is that is no text.
struct BinaryKind
{
    bool isPacked = false; ///< an archive or compressed data: what it holds may be text
    std::string what;      ///< "an Excel workbook", "zip" where isPacked
    std::string cure;      ///< one sentence
};

/// Tells files of other kinds by the bytes that these begin with: archives, workbooks, databases,
/// spatial data, pictures, documents. Gzip is none of these.
/// @param front the first bytes of the file, 64 KiB or all of it
[[nodiscard]] std::optional<BinaryKind> FindBinaryKind(std::string_view front);

/// Tells texts that are no tables by their first bytes: markup (KML, GPX, GML, HTML, XML) and JSON.
/// @param front the first bytes of the file, 64 KiB or all of it
[[nodiscard]] std::optional<BinaryKind> FindTextKind(std::string_view front);

/// Whether bytes hold so many control characters of so many kinds that they are no text in which
/// ASCII is ASCII. NULs do not count: a logger that lost its power writes blocks of them; nor does
/// one control character that separates fields.
[[nodiscard]] bool HasBinaryBytes(std::string_view front) noexcept;

} // namespace Orvane::Import::Scan
