// Hands a layer's pages to the writers of text formats.
#include "../FieldNames.h"
#include "../LayerWriter.h"
#include "../Losses.h"
#include "CsvFormat.h"
#include "GeoJsonFormat.h"
#include "OutputBuffer.h"
#include "TextRows.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

/// Writes all rows of the request. @return what was written, without the fields' notes
template <typename Format>
WriteReport WriteRows(const WriteRequest& request,
                      FileFields& names,
                      Format& format,
                      const PointTransform* transform,
                      LossCounts& losses)
{
    TextRows<Format> rows(names.fields, request.target.hasGeometry, format, transform);
    if (request.target.copiedNames) {
        rows.LeaveMissingCellsOut();
    }
    const auto check = [&request](std::uint64_t rowsDone) {
        if (request.progress.IsDue(rowsDone) && !request.progress.Report(rowsDone)) {
            ThrowCancelled();
        }
    };
    for (SourcePage page; request.pages.Next(page);) {
        rows.WritePage(*page.page, page.features, page.firstRow, check);
    }
    WriteReport report;
    report.rows = rows.GetRowCount();
    report.points = rows.GetPointCount();
    losses = rows.GetLosses();
    if (!request.progress.Report(report.rows)) {
        ThrowCancelled();
    }
    return report;
}

/// Makes the file, or goes to the stream, and calls `write` with it; names what has failed.
template <typename Write>
void WriteFile(const WriteRequest& request, const Write& write)
{
    try {
        std::optional<OutputBuffer> out;
        if (request.stream != nullptr) {
            out.emplace(request.stream->descriptor, request.stream->onBytes);
        } else {
            out.emplace(request.file);
        }
        write(*out);
        out->Close();
    } catch (const std::system_error& error) {
        // Rule: a stream whose reader has had enough is no failure of the disk.
        if (request.stream != nullptr && error.code().value() == EPIPE) {
            ThrowNotWritten(request, "output-closed", "Whoever read the output has ended.");
        }
        ThrowNotWritten(request, "output-write", "Writing the file: " + error.code().message());
    }
}

/// The URN by which GeoJSON texts name a system; empty for WGS 84, which needs no name.
std::string NameSystem(const KnownSystem* system)
{
    if (system == nullptr || system->isWgs84 || system->authority.empty() || system->code.empty()) {
        return {};
    }
    return "urn:ogc:def:crs:" + system->authority + "::" + system->code;
}

GeoJsonFormat::EKind KindOf(const ExportFormat& format)
{
    if (std::string_view(format.driver) == "GeoJSON") {
        return GeoJsonFormat::EKind::Collection;
    }
    return std::string_view(format.extension) == ".geojsons" ? GeoJsonFormat::EKind::MarkedSequence
                                                             : GeoJsonFormat::EKind::Sequence;
}

} // namespace

WriteReport WriteCsv(const WriteRequest& request)
{
    FileFields names = NameFields(request.layer, request.counts, request.format);
    if (request.target.copiedNames) {
        // The names given to the columns are not those of the file.
        names.notes.clear();
    }
    LossCounts losses;
    WriteReport report;
    WriteFile(request, [&](OutputBuffer& out) {
        std::vector<bool> hasNulls;
        for (const std::uint64_t nulls : request.counts.nulls) {
            hasNulls.push_back(nulls > 0);
        }
        hasNulls.resize(names.fields.size());
        CsvFormat format(out,
                         std::move(hasNulls),
                         request.target.hasGeometry,
                         request.target.hasGeometry && request.counts.withHeight > 0);
        if (request.target.hasNames && request.target.copiedNames) {
            format.CopyNames(*request.target.copiedNames);
        } else if (request.target.hasNames) {
            format.WriteNames(names.fields);
        }
        report = WriteRows(request, names, format, nullptr, losses);
    });
    report.notes = names.notes;
    ReportLosses(losses, names.fields, report);
    return report;
}

WriteReport WriteGeoJson(const WriteRequest& request)
{
    FileFields names = NameFields(request.layer, request.counts, request.format);
    const std::string layerName = NameLayer(request, names.notes);
    const GeoJsonFormat::EKind kind = KindOf(request.format);
    PointTransform transform;
    const KnownSystem* const system = request.coordSys.get();
    // Rule: a sequence of features has no place for the name of a system: its points are in WGS 84.
    if (kind != GeoJsonFormat::EKind::Collection && request.target.hasGeometry &&
        system != nullptr && !system->isWgs84) {
        try {
            transform = system->makeTransform();
        } catch (const std::runtime_error& error) {
            ThrowNotWritten(
                request, "output-write", std::string("Transforming to WGS 84: ") + error.what());
        }
    }
    LossCounts losses;
    WriteReport report;
    WriteFile(request, [&](OutputBuffer& out) {
        GeoJsonFormat format(out, kind, names.fields);
        format.Begin(layerName, request.target.hasGeometry ? NameSystem(system) : std::string());
        report = WriteRows(request, names, format, transform ? &transform : nullptr, losses);
        format.End();
        losses.notFinite = format.GetNotFiniteCount();
    });
    report.notes = names.notes;
    ReportLosses(losses, names.fields, report);
    return report;
}

} // namespace Orvane::Import
