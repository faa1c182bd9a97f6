// A whole import by the reader's rules: columns, layer, target.
#include "BareImport.h"

#include "ImportPhases.h"

#include <Orvane/Import/Session.h>
#include <Orvane/Import/Targets.h>

#include <memory>
#include <utility>

namespace Orvane::Import {

namespace {

/// One import, step by step. The layer goes before the module.
class Importer
{
public:
    Importer(const BPluginModule& module, const ImportRequest& request, const Callbacks& callbacks)
        : m_module(module)
        , m_request(request)
        , m_phases(callbacks, m_report)
    {}

    ImportReport Run()
    {
        m_phases.Begin(EPhase::Preparing);
        m_report.out = OutputOf(m_request);
        m_report.crs = m_request.crs;
        TargetRequest place{m_report.out, m_request.crs, m_request.file};
        place.layer = m_request.layer;
        place.existing = m_request.existing;
        place.format = m_request.format;
        place.creationOptions = m_request.creationOptions;
        const std::unique_ptr<Target> target = OpenTarget(place);
        m_report.out = target->GetName();
        m_report.format = target->GetFormat();
        const DiskCache diskCache(m_request.diskCache);
        m_report.columns =
            ChooseColumns(m_module, m_request.file, m_request.options, m_request.columns);
        const BParamList options = MakeReadOptions(m_request.options, m_report.columns);
        DiskCacheChoice cache = diskCache.Choose(m_module, m_request.file, options);
        if (cache.note) {
            m_phases.Tell(*cache.note);
        }

        const Stopwatch reading;
        const BSharedPtr<BVectorLayer> layer = Read(options, cache);
        m_report.readSeconds = reading.GetSeconds();

        const Stopwatch writing;
        m_phases.Begin(EPhase::Counting);
        m_report.read = CountLayer(*layer);
        m_report.written = target->Write(*layer, m_report.read, m_phases.GetCallbacks());
        target->Commit();
        m_phases.Begin(EPhase::Written);
        m_report.writeSeconds = writing.GetSeconds();
        for (const Note& note : m_report.written.notes) {
            m_phases.Tell(note);
        }
        return std::move(m_report);
    }

private:
    BSharedPtr<BVectorLayer> Read(const BParamList& options, const DiskCacheChoice& cache)
    {
        Session session(m_module, m_request.file, options);
        if (cache.isUsed) {
            session.UseDiskCache(cache.baseName);
        }
        session.UseThreads(m_request.threads);
        session.Open();
        BSharedPtr<BVectorLayer> layer = session.GetLayer();
        session.Read(m_phases.GetCallbacks());
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
    ImportReport m_report;
    ImportPhases m_phases;
};

} // namespace

ImportReport ImportByReader(const BPluginModule& module,
                            const ImportRequest& request,
                            const Callbacks& callbacks)
{
    return Importer(module, request, callbacks).Run();
}

} // namespace Orvane::Import
