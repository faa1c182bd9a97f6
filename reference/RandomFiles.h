// Makes random delimited files, options and sequences of calls from a seed.
#pragma once

#include <Orvane/BKeyValuePairs.h>

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Random input for tests that compare two readers. The same seed and number always make the same
/// case, on every machine; any case can be made without those before it.
namespace RandomFiles {

/// What a host does with a reader after Open.
enum class EStep { Read, Preview };

/// One file, the options it is opened with and what is done with it.
struct Case
{
    std::uint64_t seed = 0;
    std::uint64_t number = 0;
    QString fileName; ///< without a folder
    bool fileExists = true;
    QByteArray content;
    Orvane::BParamList kept;   ///< the options that the reader is made with
    Orvane::BParamList opened; ///< the options that it is opened with
    std::vector<EStep> steps;
    std::size_t smallBlockSize = 1; ///< 1 to 64 bytes
    bool hasProgress = false;
    std::uint32_t cancelLine = 0;    ///< the progress object refuses from this line on; 0: never
    std::uint32_t cachePageRows = 0; ///< the product's layers are on disk, in pages of so many
                                     ///< rows; 0: they are in memory
    unsigned threads = 1; ///< that share the reads of the product's engine; MakeCase leaves it
};

Case MakeCase(std::uint64_t seed, std::uint64_t number);

/// Seed, number, names, options as JSON and the file's bytes escaped as in a C literal.
std::string DescribeCase(const Case& input);

} // namespace RandomFiles
