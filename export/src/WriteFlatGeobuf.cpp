// Hands a layer's pages to the writer of FlatGeobuf files.
#include "FieldNames.h"
#include "LayerWriter.h"
#include "Losses.h"
#include "WriteFailure.h"
#include "flatgeobuf/FeatureFormat.h"
#include "text/TextRows.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

using FlatGeobuf::FlatGeobufWriter;

FlatGeobuf::CoordinateSystem MakeSystem(const KnownSystem& system)
{
    FlatGeobuf::CoordinateSystem made;
    made.organization = system.authority;
    made.codeText = system.code;
    const char* const end = made.codeText.data() + made.codeText.size();
    const auto number = std::from_chars(made.codeText.data(), end, made.code);
    if (number.ec == std::errc() && number.ptr == end) {
        made.codeText.clear();
    } else {
        made.code = 0;
    }
    made.name = system.name;
    made.wkt = system.makeWkt(EWkt::Second2019);
    return made;
}

FlatGeobuf::LayerDefinition MakeDefinition(const WriteRequest& request, FileFields& names)
{
    FlatGeobuf::LayerDefinition definition;
    definition.name = NameLayer(request, names.notes);
    for (const FileField& field : names.fields) {
        definition.fields.push_back({field.name, field.type});
    }
    definition.hasGeometry = request.target.hasGeometry;
    definition.hasHeights = request.target.hasGeometry && request.counts.withHeight > 0;
    if (request.target.hasGeometry && request.coordSys != nullptr) {
        definition.coordinateSystem = MakeSystem(*request.coordSys);
    }
    return definition;
}

} // namespace

WriteReport WriteFlatGeobuf(const WriteRequest& request)
{
    FileFields names = NameFields(request.layer, request.counts, request.format);
    RequireFewFields(request, names.fields.size());
    ProgressMeter& meter = request.progress;
    std::uint64_t rowsDone = 0;
    const auto report = [&] {
        if (!meter.Report(rowsDone)) {
            ThrowCancelled();
        }
    };
    bool isIndexing = false;
    FlatGeobufWriter::Options options;
    options.step = report;
    options.progress = [&](std::uint64_t rows) {
        const bool isNew = !std::exchange(isIndexing, true);
        if (!(isNew ? meter.BeginPhase(EPhase::Indexing, rowsDone) : meter.Report(rows))) {
            ThrowCancelled();
        }
    };
    try {
        FlatGeobufWriter writer(request.file, MakeDefinition(request, names), std::move(options));
        FeatureFormat format(names.fields, writer);
        TextRows<FeatureFormat> rows(names.fields, request.target.hasGeometry, format, nullptr);
        const auto onRow = [&](std::uint64_t number) {
            rowsDone = number;
            if (meter.IsDue(number)) {
                report();
            }
        };
        for (SourcePage page; request.pages.Next(page);) {
            rows.WritePage(*page.page, page.features, page.firstRow, onRow);
        }
        writer.Finish();
        WriteReport made;
        made.rows = rows.GetRowCount();
        made.points = rows.GetPointCount();
        made.notes = names.notes;
        LossCounts& losses = rows.GetLosses();
        for (std::size_t index = 0; index < names.fields.size(); ++index) {
            losses.notOfType[index] += format.GetNotOfType()[index];
        }
        ReportLosses(losses, names.fields, made);
        return made;
    } catch (const WriteFailure& failure) {
        ThrowNotWritten(request, "output-write", failure.what());
    }
}

} // namespace Orvane::Import
