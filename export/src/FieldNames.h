// Which fields a layer has in a file, and how they are named there.
#pragma once

#include "Formats.h"

#include <Orvane/BVariant.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Progress.h>

#include <string>
#include <vector>

namespace Orvane::Import {

/// One field of the file; stands for the attribute of the same position.
struct FileField
{
    std::string name; ///< UTF-8, unique as far as the format needs it
    EVariantType type;
};

/// The fields of a layer: those of its schema, then those that rows have beyond it.
struct FileFields
{
    std::vector<FileField> fields;
    std::vector<Note> notes; ///< `field-name`, one for each name that was changed
};

/// @param counts of that layer
[[nodiscard]] FileFields
NameFields(const BVectorLayer& layer, const LayerCounts& counts, const ExportFormat& format);

/// A name that none of the fields has, ASCII case ignored: `wanted`, or it with a number.
[[nodiscard]] std::string FindFreeName(const std::vector<FileField>& fields,
                                       const std::string& wanted);

} // namespace Orvane::Import
