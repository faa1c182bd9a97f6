// The library of its own that all code over GDAL, PROJ and libpq is in.
#pragma once

namespace Orvane::Import {

/// What liborvanegdal.so exports by that name. Loads it at the first call: GDAL alone brings a
/// hundred libraries, which cost more time than a plan of a hundred thousand rows. It stays as long
/// as the program. Any thread.
///
/// It lies beside this library, and has its version in its name: both are of one build.
/// @throws ImportFailure `library-load`; the next call tries again
[[nodiscard]] const void* FindInGdalLibrary(const char* name);

} // namespace Orvane::Import
