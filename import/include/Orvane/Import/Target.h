// Where an import writes to.
#pragma once

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/PageSource.h>
#include <Orvane/Import/Progress.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Values or rows that did not go into the target as they are.
struct Loss
{
    std::string code;        ///< that of the note: `not-an-integer`, `no-place` and so on
    std::uint64_t count = 0; ///< at least 1
    std::string field;       ///< its name in the target, UTF-8; empty when the loss is of no field
};

/// What was written.
struct WriteReport
{
    std::uint64_t rows = 0;        ///< rows in the target
    std::uint64_t points = 0;      ///< of these, rows with a point
    std::uint64_t rowsLeftOut = 0; ///< rows of the layer that are not in the target
    std::vector<Loss> losses;
    std::vector<Note> notes; ///< one for each loss and each changed name
};

/// What is in a target that was written, counted from it.
struct TargetCounts
{
    std::uint64_t rows = 0;
    std::uint64_t points = 0; ///< of these, rows with a point
};

/// A file that belongs to a target and stands beside it.
struct SideFile
{
    std::filesystem::path workFile; ///< to write; it goes into its place by Commit
    std::filesystem::path file;     ///< its place
    std::string name;               ///< of its place, as the caller would name it
};

/// A place that layers are written to, whole or not at all.
///
/// Order of calls: AddSideFile and AddTable if need be, Write, then Commit, then CountWritten if
/// wanted. Without Commit the destructor removes everything that was written, and the place is as
/// it was. One thread at a time. OpenTarget (Targets.h) makes those that this library has.
class ORVANE_IMPORT_EXPORT Target
{
public:
    Target() = default;
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    virtual ~Target();

    /// The place as the caller gave it.
    [[nodiscard]] virtual const std::string& GetName() const noexcept = 0;

    /// What is written there: the format's name, "GPKG" for example.
    [[nodiscard]] virtual const std::string& GetFormat() const noexcept = 0;

    /// Writes a layer. Rows without a point, and points whose X or Y is no finite number, have no
    /// geometry in the target.
    /// @param counts of that layer: CountLayer(layer)
    /// @param callbacks `progress` gets the phase Writing; `note` is not called
    /// @throws ImportFailure `output-write`, `too-many-columns`, `cancelled`, `cache-file`
    [[nodiscard]] WriteReport
    Write(const BVectorLayer& layer, const LayerCounts& counts, const Callbacks& callbacks);

    /// Writes the rows of pages, which may be made while they are written.
    /// @param layer has name and schema; its features are not looked at
    /// @param expected what the pages will hold: how many rows, for progress alone; whether there
    ///     are heights; fields beyond the schema; nulls per field, at least 1 where there may be
    ///     some; fields without offsets from UTC
    /// @throws as Write, and what `pages` throws
    [[nodiscard]] virtual WriteReport WritePages(const BVectorLayer& layer,
                                                 const LayerCounts& expected,
                                                 PageSource& pages,
                                                 const Callbacks& callbacks) = 0;

    /// Has a further file go into its place together with the output, whole or not at all.
    /// @param ending of its name, after the whole name of the output
    /// @throws ImportFailure as Write
    [[nodiscard]] virtual SideFile AddSideFile(const std::string& ending) = 0;

    /// Has a layer without points written as a further table, where the format holds several.
    /// Before Write, or before WritePages has got the end of the pages.
    /// @param table must stay as it is until Write or WritePages has returned
    /// @return the table's name in the output; empty when the format has no tables
    virtual std::string AddTable(const BVectorLayer& table) = 0;

    /// Puts what was written in its place, at once or not at all. @throws ImportFailure as Write,
    /// and `output-not-a-file`
    virtual void Commit() = 0;

    /// Reads the target back from its place and counts what is there, by code that has no part in
    /// writing it. After Commit. Costs reading all of it.
    /// @param callbacks `progress` gets the phase Written; what it says of cancelling is not heeded
    /// @throws ImportFailure `output-write` when it cannot be read
    [[nodiscard]] virtual TargetCounts CountWritten(const Callbacks& callbacks) = 0;
};

} // namespace Orvane::Import
