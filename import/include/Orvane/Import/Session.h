// One reader, driven step by step.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/Progress.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Orvane::Import {

/// A plug-in's reader of one file. Order of calls: UseDiskCache and UseThreads when they are
/// wanted, Open, then Preview or Read, then Close; the destructor ends what is left.
///
/// One thread at a time; several sessions may work at once on threads of their own. The layer may
/// outlive the session.
///
///     Session session(LoadModule(), "stations.csv", options);
///     session.Open();
///     session.Read({});
///     session.Close();
///     const LayerCounts counts = CountLayer(*session.GetLayer());
///
/// Every call throws ImportFailure or std::bad_alloc. The exact texts of the reader's exception are
/// in the failure's `underneath`.
class ORVANE_IMPORT_EXPORT Session
{
public:
    /// Asks the plug-in whether it reads the file (CanReadFile of Module.h), and has
    /// it make the reader. The options go to the making and to the opening.
    /// @param file UTF-8; relative to the process's working folder
    /// @throws ImportFailure `name-encoding`, `unsupported-type`, `module-failure`
    Session(const BPluginModule& module, const std::string& file, const BParamList& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// Has the layer keep its pages in a file that has no name once it is made, and goes with the
    /// layer. @param baseName of that file: folder and beginning of the name, UTF-8
    void UseDiskCache(const std::string& baseName);

    /// Has that many threads share the reading, the calling one included; the layer is the same
    /// with any number. Without a call the calling thread reads alone.
    /// @param threads 0: as many as the machine has processors
    void UseThreads(unsigned threads) noexcept;

    /// Opens the file and finds its columns; reads all of it when AUTO_SCHEMA_ALL_ROWS is set.
    void Open();

    /// The answer to QUERY_COLUMNS; ParsePreview sorts it by column.
    [[nodiscard]] BParamList Preview();

    /// Reads all rows into the layer, up to MAX_RECORDS. On a failure the layer keeps the rows
    /// before it.
    /// @param callbacks its `progress` gets the phase Reading only; `note` is not called
    /// @throws ImportFailure `cancelled` when the callbacks cancel
    void Read(const Callbacks& callbacks);

    void Close();

    /// The reader's last layer; there once the file is open. @throws ImportFailure `module-failure`
    [[nodiscard]] BSharedPtr<BVectorLayer> GetLayer() const;
    /// Lines that have been read, as the reader counts them.
    [[nodiscard]] std::uint64_t GetRecordsRead() const noexcept;
    /// Not 0 when reading has stopped at MAX_RECORDS.
    [[nodiscard]] std::uint8_t GetFailureFlag() const noexcept;
    [[nodiscard]] std::int32_t GetStatus() const noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state; ///< never null
};

} // namespace Orvane::Import
