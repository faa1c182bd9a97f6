// Writes a layer of points into a new FlatGeobuf file.
#pragma once

#include "FlatGeobufLayer.h"
#include "Record.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

namespace Orvane::FlatGeobuf {

/// A new FlatGeobuf file, version 3, that is written once.
///
/// Order of calls: construct (makes the file), Add for each row, Finish. Without Finish, and after
/// any exception, the file is not usable and nothing but the destructor may be called.
///
/// Points stand in the file along a Hilbert curve, with an index before them; rows without a point
/// come after all others. Rule: each row is in the index, those without a point with an empty box,
/// which no query meets; so one such row does not cost the index. A layer without geometry is
/// written as its rows come, without an index, and so is one without rows.
///
/// Memory does not grow with the rows: beyond Options::memory rows wait for Finish in nameless
/// files beside the output.
///
/// Used by one thread at a time. Failures of the disk and the system are WriteFailure, with the
/// step before the reason; std::bad_alloc leaves as it is, and so does every exception of the
/// functions given, which is how a caller cancels.
///
///     FlatGeobufWriter writer("/data/.work/points.fgb", definition, {});
///     for (const Row& row : rows) {
///         writer.AddPoint({row.x, row.y}, row.properties);
///     }
///     writer.Finish();
class FlatGeobufWriter
{
public:
    struct Options
    {
        std::size_t memory = std::size_t{64} << 20U; ///< bytes for rows
        /// Called every few milliseconds while rows are put aside.
        std::function<void()> step;
        /// Called by Finish at its begin and every few milliseconds from then on.
        std::function<void(std::uint64_t rowsDone)> progress;
    };

    /// @param file absolute; must not exist. Its folder is used for temporary files
    FlatGeobufWriter(std::filesystem::path file, LayerDefinition layer, Options options);
    ~FlatGeobufWriter();
    FlatGeobufWriter(const FlatGeobufWriter&) = delete;
    FlatGeobufWriter& operator=(const FlatGeobufWriter&) = delete;

    /// Adds a row of a layer with geometry. @param place with finite X and Y
    /// @param properties of the row, see Schema.fbs
    void AddPoint(const Place& place, std::string_view properties);
    /// Adds a row that has no point.
    void AddWithoutPoint(std::string_view properties);

    void Finish();

private:
    class Parts;

    /// Names the step of a failed call.
    template <typename Work>
    void Do(const char* step, const Work& work);

    std::unique_ptr<Parts> m_parts;
};

} // namespace Orvane::FlatGeobuf
