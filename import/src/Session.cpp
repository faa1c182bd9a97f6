// The reader protocol, step by step.
#include "DiskCacheEstimate.h"
#include "ModuleFolder.h"
#include "ProgressMeter.h"
#include "Wrap.h"
#include "diagnose/Diagnose.h"

#include <Orvane/BCoordSysRepository.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BLogger.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Module.h>
#include <Orvane/Import/Session.h>

#include <thread>
#include <utility>

namespace Orvane::Import {

namespace {

[[noreturn]] void Fail(EFailureKind kind,
                       const char* code,
                       const std::string& file,
                       const BString& message,
                       const char* location)
{
    FailureFields fields;
    fields.kind = kind;
    fields.code = code;
    fields.what = message.ToUtf8();
    fields.file = file;
    fields.underneath = {"BException", location, message, BString()};
    throw ImportFailure(std::move(fields));
}

} // namespace

/// What a session holds. The reader is given back before the module can go.
struct Session::State
{
    State(const BPluginModule& module, const std::string& givenFile, const BParamList& givenOptions)
        : file(givenFile)
        , options(givenOptions)
    {
        constexpr const char* kLocation = "ReaderSession::Create";
        if (!DisplayText::IsUtf8(file)) {
            Fail(EFailureKind::Input,
                 "name-encoding",
                 file,
                 BString::Format("The file name <%s> is not valid UTF-8.",
                                 DisplayText::Escape(file).c_str()),
                 kLocation);
        }
        if (!CanReadFile(module, file, options)) {
            FailUnsupportedType(file);
        }
        path = BString::FromUtf8(file);
        reader = module.CreateReader(path, options, &coordSysRepository, &logger);
    }

    std::string file; ///< as given
    BString path;
    BParamList options;
    BCoordSysRepository coordSysRepository;
    BLogger logger;
    BReaderHandle reader; ///< goes before what it uses
    std::uint64_t recordsRead = 0;
};

namespace {

/// Runs a call of the reader. A failure is looked into: the file says more than the exception.
template <typename State, typename Action>
auto CallReader(State& state, Action&& action)
{
    try {
        return WrapFailures(state.file, action);
    } catch (const ImportFailure& failure) {
        FailureFields fields = failure.GetFields();
        try {
            const BLayers& layers = state.reader->GetLayers();
            const std::size_t columns =
                layers.GetCount() == 0 ? 0 : layers.GetAt(0)->GetSchema().GetCount();
            Diagnose({state.options, columns}, fields);
        } catch (const std::exception&) {
            // Rule: what goes wrong while a failure is looked into leaves it as it is.
            throw failure;
        }
        throw ImportFailure(std::move(fields));
    }
}

} // namespace

Session::Session(const BPluginModule& module, const std::string& file, const BParamList& options)
    : m_state(WrapFailures(file, [&] { return std::make_unique<State>(module, file, options); }))
{}

Session::~Session() = default;

void Session::UseDiskCache(const std::string& baseName)
{
    WrapFailures(m_state->file, [&] {
        m_state->reader->SetDiskCache(true, BString::FromUtf8(baseName), kDiskCachePageSize);
    });
}

void Session::UseThreads(unsigned threads) noexcept
{
    // A system that does not tell says 0, which stands for 1.
    m_state->reader->SetThreadCount(threads == 0 ? std::thread::hardware_concurrency() : threads);
}

void Session::Open()
{
    CallReader(*m_state, [&] { m_state->reader->Open(m_state->path, m_state->options); });
}

BParamList Session::Preview()
{
    return CallReader(*m_state, [&] { return m_state->reader->GetFilePreview(QUERY_COLUMNS); });
}

void Session::Read(const Callbacks& callbacks)
{
    ProgressMeter meter(callbacks, EPhase::Reading, 0);
    ReadProgress progress(meter);
    BDataReader& reader = *m_state->reader;
    try {
        CallReader(*m_state, [&] {
            reader.SetProgress(&progress);
            reader.Read();
        });
    } catch (...) {
        reader.SetProgress(nullptr);
        meter.RethrowIfThrown();
        throw;
    }
    reader.SetProgress(nullptr);
    m_state->recordsRead = progress.GetLastCount();
    meter.RethrowIfThrown();
    if (progress.IsCancelled()) {
        ThrowCancelled();
    }
}

void Session::Close()
{
    WrapFailures(m_state->file, [&] { m_state->reader->Close(); });
}

BSharedPtr<BVectorLayer> Session::GetLayer() const
{
    return WrapFailures(m_state->file, [&] {
        const BLayers& layers = m_state->reader->GetLayers();
        if (layers.GetCount() == 0 || !layers.GetAt(layers.GetCount() - 1)) {
            Fail(EFailureKind::Module,
                 "module-failure",
                 m_state->file,
                 "The reader has made no layer.",
                 "ReaderSession::GetLayer");
        }
        return m_state->reader.GetLayer(layers.GetCount() - 1);
    });
}

std::uint64_t Session::GetRecordsRead() const noexcept
{
    return m_state->recordsRead;
}

std::uint8_t Session::GetFailureFlag() const noexcept
{
    return m_state->reader->GetFailureFlag();
}

std::int32_t Session::GetStatus() const noexcept
{
    return m_state->reader->GetStatus();
}

} // namespace Orvane::Import
