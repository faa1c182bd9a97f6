// Signals: how Ctrl-C and a request to end stop the program cleanly.
#pragma once

#include <Orvane/Import/Progress.h>

namespace OrvaneHost::Interrupt {

/// What a signal does.
enum class EPhase {
    Immediate, ///< nothing is on the disk: the program says so and ends at once
    Reading,   ///< the first signal asks the reading to stop, a second one ends at once
    Looking,   ///< as Reading, of a command that never writes and has a status of its own
    Writing,   ///< signals only ask: what was begun on the disk is cleaned up first
    Written    ///< the output is in its place: the program says so and ends at once
};

/// Installs the handlers for SIGINT, SIGTERM and SIGHUP (one that is ignored stays ignored), makes
/// writing to a closed pipe and past a file size limit ordinary errors, and gives closed standard
/// streams a harmless file so that no data file gets their number.
/// @param phase what a signal does until another one is set
void Install(EPhase phase);

/// Requested by a signal.
[[nodiscard]] const Orvane::Import::CancelFlag& GetFlag() noexcept;

/// Sets the phase. Written stays to the program's end: neither this nor a scope leaves it.
void SetPhase(EPhase phase) noexcept;

/// Sets the phase for a scope.
class PhaseScope
{
public:
    explicit PhaseScope(EPhase phase) noexcept;
    ~PhaseScope();
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

private:
    int m_previous;
};

/// For a scope, a signal that ends the program at once writes the object of a failure, too.
class JsonScope
{
public:
    /// @param descriptor to write it to; -1: no object
    explicit JsonScope(int descriptor) noexcept;
    ~JsonScope();
    JsonScope(const JsonScope&) = delete;
    JsonScope& operator=(const JsonScope&) = delete;
};

} // namespace OrvaneHost::Interrupt
