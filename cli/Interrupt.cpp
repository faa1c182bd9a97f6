// Signal handlers that only set flags or leave at once.
#include "Interrupt.h"

#include "FailureWords.h"
#include "OpenFiles.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace OrvaneHost::Interrupt {

namespace {

Orvane::Import::CancelFlag flag;
volatile std::sig_atomic_t currentPhase = static_cast<int>(EPhase::Immediate);

volatile std::sig_atomic_t jsonDescriptor = -1;

/// As the object of any failure, since a signal handler can only copy bytes.
#define ORVANE_INTERRUPTED_JSON(words)                                                             \
    "{\"ok\":false,\"exception\":\"BException\",\"location\":\"orvane\",\"message\":\"" words      \
    "\",\"details\":\"\",\"code\":\"cancelled\",\"what\":\"" words                                 \
    "\",\"file\":\"\",\"line\":null,\"column\":null,\"cause\":\"\",\"advice\":\"\"}\n"
constexpr char kJson[] = ORVANE_INTERRUPTED_JSON("Interrupted; nothing was written.");
constexpr char kWrittenJson[] = ORVANE_INTERRUPTED_JSON("Interrupted; the output was written.");
#undef ORVANE_INTERRUPTED_JSON

constexpr char kLine[] = "orvane: Interrupted; nothing was written.\n";
constexpr char kLookingLine[] = "orvane: Interrupted.\n";
constexpr char kWrittenLine[] = "orvane: Interrupted; the output was written.\n";

/// Says how far the work has come, and ends the program; also in a signal handler.
[[noreturn]] void Leave()
{
    const auto isIn = [](EPhase phase) { return currentPhase == static_cast<int>(phase); };
    if (jsonDescriptor != -1) {
        const auto told = isIn(EPhase::Written)
                              ? write(jsonDescriptor, kWrittenJson, sizeof kWrittenJson - 1)
                              : write(jsonDescriptor, kJson, sizeof kJson - 1);
        static_cast<void>(told);
    }
    const auto written =
        isIn(EPhase::Written)   ? write(STDERR_FILENO, kWrittenLine, sizeof kWrittenLine - 1)
        : isIn(EPhase::Looking) ? write(STDERR_FILENO, kLookingLine, sizeof kLookingLine - 1)
                                : write(STDERR_FILENO, kLine, sizeof kLine - 1);
    static_cast<void>(written);
    _exit(isIn(EPhase::Looking) ? kExitWrongArguments : kExitDataFailed);
}

} // namespace

extern "C" {

static void OrvaneHostHandleSignal(int /*signal*/)
{
    const auto isIn = [](EPhase phase) { return currentPhase == static_cast<int>(phase); };
    const bool isFirst = !flag.IsRequested();
    const bool waits =
        isIn(EPhase::Writing) || ((isIn(EPhase::Reading) || isIn(EPhase::Looking)) && isFirst);
    flag.Request();
    if (waits) {
        if (isFirst && isIn(EPhase::Writing)) {
            HoldOpenFiles();
        }
        return;
    }
    Leave();
}

} // extern "C"

namespace {

void Handle(int signal)
{
    struct sigaction previous = {};
    if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = OrvaneHostHandleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

/// Opens /dev/null in place of a closed stream. Writing to standard output then fails as it would
/// on the closed descriptor, since the file is open for reading only.
void FillStream(int descriptor)
{
    if (fcntl(descriptor, F_GETFD) != -1) {
        return;
    }
    const int flags = descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY;
    const int opened = open("/dev/null", flags);
    if (opened != -1 && opened != descriptor) {
        dup2(opened, descriptor);
        close(opened);
    }
}

} // namespace

void Install(EPhase phase)
{
    currentPhase = static_cast<int>(phase);
    FillStream(STDIN_FILENO);
    FillStream(STDOUT_FILENO);
    FillStream(STDERR_FILENO);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Handle(SIGINT);
    Handle(SIGTERM);
    Handle(SIGHUP);
}

const Orvane::Import::CancelFlag& GetFlag() noexcept
{
    return flag;
}

void SetPhase(EPhase phase) noexcept
{
    if (currentPhase != static_cast<int>(EPhase::Written)) {
        currentPhase = static_cast<int>(phase);
        // A signal that came while the output went to its place has waited for this.
        if (phase == EPhase::Written && flag.IsRequested()) {
            Leave();
        }
    }
}

PhaseScope::PhaseScope(EPhase phase) noexcept
    : m_previous(currentPhase)
{
    currentPhase = static_cast<int>(phase);
}

PhaseScope::~PhaseScope()
{
    SetPhase(static_cast<EPhase>(m_previous));
}

JsonScope::JsonScope(int descriptor) noexcept
{
    jsonDescriptor = descriptor;
}

JsonScope::~JsonScope()
{
    jsonDescriptor = -1;
}

} // namespace OrvaneHost::Interrupt
