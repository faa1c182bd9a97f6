// File-system questions that data managers ask.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

namespace Orvane::BFileUtilities {

/// The absolute, cleaned path: relative to the current folder, "." and ".." and doubled slashes
/// resolved by text (links are not followed), "/" as separator. The empty path stays empty.
ORVANE_SDK_EXPORT BString CompletePath(const BString& path);

/// Whether something exists at the path: a file, a folder, a device, what a link points to.
ORVANE_SDK_EXPORT bool Exists(const BString& path);

} // namespace Orvane::BFileUtilities
