// What all writers of layers do alike.
#include "LayerWriter.h"

#include "flatgeobuf/FlatGeobufLayer.h"

#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

/// Whether a text begins with another one that is written in small letters, ASCII case ignored.
bool BeginsWith(std::string_view text, std::string_view begin)
{
    return text.size() >= begin.size() &&
           std::equal(begin.begin(), begin.end(), text.begin(), [](char wanted, char byte) {
               return wanted == (byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
           });
}

} // namespace

std::string NameLayer(const WriteRequest& request, std::vector<Note>& notes)
{
    const std::string_view driver = request.format.driver;
    if (driver == "ESRI Shapefile" || driver == "CSV") {
        return request.file.stem().native();
    }
    std::string name =
        request.target.layer.empty() ? request.layer.GetName().ToUtf8() : request.target.layer;
    name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
    // Names that SQLite and the standard of GeoPackages keep for themselves.
    const bool isReserved =
        driver == "GPKG" && (BeginsWith(name, "gpkg") || BeginsWith(name, "sqlite_"));
    if (name.empty() || isReserved) {
        std::string free = name.empty() ? "layer" : "layer_" + name;
        notes.push_back(
            {"layer-name", "the layer '" + name + "' is named '" + free + "' in the output"});
        return free;
    }
    return name;
}

void ThrowNotWritten(const WriteRequest& request, const char* code, const std::string& reason)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = code;
    fields.what = "The output cannot be written.";
    fields.file = request.target.out;
    fields.cause = reason;
    fields.underneath = {"BException",
                         "Exporter",
                         BString::Format("Could not write <%s>.", request.file.filename().c_str()),
                         BString::FromUtf8(reason)};
    throw ImportFailure(std::move(fields));
}

void ThrowLayerExists(const TargetRequest& target, const std::string& reason)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = "layer-exists";
    fields.what = reason;
    fields.file = target.out;
    fields.advice = "Name another one, append to it, or have it replaced.";
    throw ImportFailure(std::move(fields));
}

void RequireFewFields(const WriteRequest& request, std::size_t fieldCount)
{
    const std::size_t most = request.format.mostFields;
    if (most != 0 && fieldCount > most) {
        ThrowNotWritten(request,
                        "too-many-columns",
                        "The format holds at most " + std::to_string(most) +
                            " columns, and there are " + std::to_string(fieldCount) +
                            (most < FlatGeobuf::kMostFields ? "; .fgb holds more." : "."));
    }
}

} // namespace Orvane::Import
