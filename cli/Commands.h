// The commands of the program, each with its arguments.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/Import/DiskCache.h>
#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Plan.h>

#include <string>

namespace OrvaneHost {

/// Arguments of `orvane read` and `orvane preview`.
struct ReadArguments
{
    std::string file;   ///< as given, bytes
    std::string plugin; ///< empty for the one that reads the file
    Orvane::BParamList params;
    bool isJson = false;
    Orvane::Import::DiskCacheRequest diskCache; ///< for reading
    unsigned threads = 0; ///< that share the reading; 0: as many as there are processors
};

/// Reads the file into a layer and prints the layer. @throws ImportFailure, what the output throws
void RunRead(const ReadArguments& arguments);

/// Prints the first two rows of the file by column. @throws as RunRead
void RunPreview(const ReadArguments& arguments);

/// Arguments of `orvane plan`.
struct PlanArguments
{
    std::string file; ///< as given, bytes
    bool isJson = false;
    Orvane::Import::PlanRequest request; ///< what the caller decides
};

/// Scans the file and prints what was decided. @throws as RunRead
void RunPlan(const PlanArguments& arguments);

/// Arguments of `orvane lint`.
struct LintArguments
{
    std::string file; ///< as given, bytes
    bool isJson = false;
    bool isSarif = false;
    bool showsAll = false;               ///< every finding, not the first ones of each kind
    Orvane::Import::PlanRequest request; ///< what the caller decides
};

/// Looks for what is out of the ordinary in the file and prints it.
/// @return whether nothing but notes was found
/// @throws as RunRead; with JSON and SARIF the failure is said in the document, too
[[nodiscard]] bool RunLint(const LintArguments& arguments);

/// Prints the table of reader options. @throws what the output throws
void RunOptions();

/// `orvane formats`
void RunFormats();

/// Arguments of `orvane import`.
struct ImportArguments
{
    Orvane::Import::ImportRequest request;
    bool isJson = false;
};

/// Reads the file and writes its layer to a file of another format; prints what was done.
/// @return whether the output holds all of the file, so far as the import has announced nothing
///     else; what it lacks is printed on standard error
/// @throws as RunRead. Nothing is left of a file that could not be written whole.
[[nodiscard]] bool RunImport(const ImportArguments& arguments);

} // namespace OrvaneHost
