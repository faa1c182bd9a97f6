// Which fields a layer has in a file, and how they are named there.
#pragma once

#include "Exporter.h"

#include <Orvane/BVariant.h>
#include <Orvane/BVectorLayer.h>

#include <string>
#include <vector>

namespace OrvaneHost {

/// One field of the file; stands for the attribute of the same position.
struct PlannedField
{
    std::string name; ///< UTF-8, unique as far as the format needs it
    Orvane::EVariantType type;
};

/// The fields of a layer: those of its schema, then those that rows have beyond it.
struct FieldPlan
{
    std::vector<PlannedField> fields;
    std::vector<std::string> notes; ///< one line for each name that was changed
};

/// @param counts of that layer
[[nodiscard]] FieldPlan PlanFields(const Orvane::BVectorLayer& layer,
                                   const LayerCounts& counts,
                                   const ExportFormat& format);

/// A name that none of the fields has, ASCII case ignored: `wanted`, or it with a number.
[[nodiscard]] std::string FindFreeName(const std::vector<PlannedField>& fields,
                                       const std::string& wanted);

} // namespace OrvaneHost
