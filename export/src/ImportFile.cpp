// A whole import: columns, layer, target.
#include "ProgressMeter.h"
#include "Wrap.h"

#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Module.h>
#include <Orvane/Import/Session.h>
#include <Orvane/Import/Targets.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>

namespace Orvane::Import {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

std::string DefaultOut(const std::string& file)
{
    return std::filesystem::path(file).replace_extension(".gpkg").native();
}

/// One import, step by step. The layer goes before the module.
class Importer
{
public:
    Importer(const BPluginModule& module, const ImportRequest& request, const Callbacks& callbacks)
        : m_module(module)
        , m_request(request)
        , m_callbacks(callbacks)
    {}

    ImportReport Run()
    {
        BeginPhase(EPhase::Preparing);
        m_report.out = m_request.out.empty() ? DefaultOut(m_request.file) : m_request.out;
        const std::unique_ptr<Target> target =
            OpenTarget({m_report.out, m_request.crs, m_request.file});
        m_report.format = target->GetFormat();
        const DiskCache diskCache(m_request.diskCache);
        m_report.columns =
            ChooseColumns(m_module, m_request.file, m_request.options, m_request.columns);
        const BParamList options = MakeReadOptions(m_request.options, m_report.columns);
        DiskCacheChoice cache = diskCache.Choose(m_module, m_request.file, options);
        if (cache.note) {
            Tell(*cache.note);
        }

        const Clock::time_point readBegin = Clock::now();
        const BSharedPtr<BVectorLayer> layer = Read(options, cache);
        m_report.readSeconds = SecondsSince(readBegin);

        const Clock::time_point writeBegin = Clock::now();
        BeginPhase(EPhase::Counting);
        m_report.read = CountLayer(*layer);
        m_report.written = target->Write(*layer, m_report.read, m_callbacks);
        target->Commit();
        BeginPhase(EPhase::Written);
        m_report.writeSeconds = SecondsSince(writeBegin);
        for (const Note& note : m_report.written.notes) {
            Tell(note);
        }
        return std::move(m_report);
    }

private:
    void BeginPhase(EPhase phase) const
    {
        // Rule: a cancel that comes when the output is in its place comes too late.
        const bool goesOn = !m_callbacks.progress || m_callbacks.progress({phase, 0, 0});
        const bool isCancelled = m_callbacks.cancel != nullptr && m_callbacks.cancel->IsRequested();
        if (phase != EPhase::Written && (!goesOn || isCancelled)) {
            ThrowCancelled();
        }
    }

    void Tell(const Note& note)
    {
        m_report.notes.push_back(note);
        if (m_callbacks.note) {
            m_callbacks.note(note);
        }
    }

    BSharedPtr<BVectorLayer> Read(const BParamList& options, const DiskCacheChoice& cache)
    {
        Session session(m_module, m_request.file, options);
        if (cache.isUsed) {
            session.UseDiskCache(cache.baseName);
        }
        session.Open();
        BSharedPtr<BVectorLayer> layer = session.GetLayer();
        session.Read(m_callbacks);
        m_report.recordsRead = session.GetRecordsRead();
        m_report.stoppedAtLimit = session.GetFailureFlag() != 0;
        session.Close();
        m_report.layerName = layer->GetName();
        m_report.schema = layer->GetSchema();
        m_report.extent = layer->GetMBB();
        return layer;
    }

    const BPluginModule& m_module;
    const ImportRequest& m_request;
    const Callbacks& m_callbacks;
    ImportReport m_report;
};

} // namespace

ImportReport
ImportFile(const BPluginModule& module, const ImportRequest& request, const Callbacks& callbacks)
{
    return Importer(module, request, callbacks).Run();
}

ImportReport ImportFile(const ImportRequest& request, const Callbacks& callbacks)
{
    std::vector<Note> notes;
    const BPluginModule module =
        LoadModuleFor(request.file, request.options, request.module, [&](const Note& note) {
            notes.push_back(note);
            if (callbacks.note) {
                callbacks.note(note);
            }
        });
    ImportReport report = ImportFile(module, request, callbacks);
    report.notes.insert(report.notes.begin(), notes.begin(), notes.end());
    return report;
}

} // namespace Orvane::Import
