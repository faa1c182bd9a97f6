// The commands of the program, each with its arguments.
#pragma once

#include "DiskCache.h"

#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BKeyValuePairs.h>

#include <optional>
#include <string>

namespace OrvaneHost {

/// Arguments of `orvane read` and `orvane preview`.
struct ReadArguments
{
    std::string file; ///< as given, bytes
    Orvane::BParamList params;
    bool isJson = false;
    DiskCacheArguments diskCache; ///< for reading
};

/// Arguments of `orvane import`.
struct ImportArguments
{
    std::string file;
    std::string out; ///< empty: the input with the extension .gpkg
    Orvane::BParamList params;
    std::optional<std::string> x; ///< column name or index
    std::optional<std::string> y;
    std::optional<std::string> z;
    std::string crs; ///< "AUTHORITY:CODE", empty for none
    DiskCacheArguments diskCache;
};

/// Reads the file into a layer and prints the layer. @throws what reader and output throw.
void RunRead(Orvane::BDataManagerProxy& proxy, const ReadArguments& arguments);

/// Prints the first two rows of the file by column. @throws what reader and output throw.
void RunPreview(Orvane::BDataManagerProxy& proxy, const ReadArguments& arguments);

/// Reads the file and writes its layer to a file of another format.
/// @throws UsageError when columns can not be told, arguments do not fit; what reader, exporter and
///     output throw otherwise. Nothing is left of a file that could not be written whole.
void RunImport(Orvane::BDataManagerProxy& proxy, const ImportArguments& arguments);

} // namespace OrvaneHost
