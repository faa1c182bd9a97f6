// Draws progress.
#include "ProgressLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace OrvaneHost {

namespace {

using Orvane::Import::EPhase;
using Orvane::Import::ProgressState;

const char* WordFor(EPhase phase)
{
    switch (phase) {
    case EPhase::Preparing:
        return "Planning";
    case EPhase::Reading:
        return "Reading";
    case EPhase::Counting:
        return "Counting";
    case EPhase::Writing:
        return "Writing";
    case EPhase::Indexing:
        return "Indexing";
    case EPhase::Written:
        break;
    }
    return "Checking";
}

double ShareOf(std::uint64_t done, std::uint64_t total)
{
    return total == 0 ? 0 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
}

std::string DescribeTimeLeft(double seconds)
{
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    const auto whole = [](double number) { return std::to_string(std::llround(number)); };
    if (seconds < 2 * kMinute) {
        return whole(std::max(1.0, seconds)) + " s left";
    }
    return seconds < 2 * kHour ? whole(seconds / kMinute) + " min left"
                               : whole(seconds / kHour) + " h left";
}

std::string DescribeAmount(std::uint64_t done, std::uint64_t total, const char* unit)
{
    return std::to_string(done) + (total > 0 ? " of " + std::to_string(total) : "") + " " + unit;
}

std::size_t TerminalWidth()
{
    constexpr std::size_t kUsualWidth = 80;
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col
                                                                           : kUsualWidth;
}

/// The text of the line. @param seconds since the command began @param phaseSeconds since the phase
/// began @param width most characters
std::string
DescribeProgress(const ProgressState& state, double seconds, double phaseSeconds, std::size_t width)
{
    constexpr std::uint64_t kMegabyte = 1000000;
    constexpr double kLeastSeconds = 1; // earlier, the time left would be a guess
    constexpr double kLeastShare = 0.03;
    const bool isOfAll = state.fraction > 0;
    const double share = isOfAll               ? state.fraction
                         : state.rowsTotal > 0 ? ShareOf(state.rowsDone, state.rowsTotal)
                                               : ShareOf(state.bytesDone, state.bytesTotal);
    const double elapsed = isOfAll ? seconds : phaseSeconds;
    std::string text = WordFor(state.phase);
    if (share > 0) {
        text += " " + std::to_string(static_cast<int>(share * 100)) + " %";
    }
    if (share > kLeastShare && elapsed > kLeastSeconds) {
        text += ", " + DescribeTimeLeft(elapsed * (1 - share) / share);
    }
    // Rule: of a phase that has no rows, bytes are shown at its rate.
    const char* separator = ": ";
    if (state.rowsDone > 0) {
        text += separator + DescribeAmount(state.rowsDone, state.rowsTotal, "rows");
        separator = ", ";
        if (phaseSeconds > 0) {
            const double rate = static_cast<double>(state.rowsDone) / phaseSeconds;
            text += ", " + std::to_string(static_cast<std::uint64_t>(rate)) + " rows/s";
        }
    }
    if (state.bytesTotal >= kMegabyte) {
        text += separator +
                DescribeAmount(state.bytesDone / kMegabyte, state.bytesTotal / kMegabyte, "MB");
        if (state.rowsDone == 0 && phaseSeconds > 0) {
            const double rate = static_cast<double>(state.bytesDone) / kMegabyte / phaseSeconds;
            text += ", " + std::to_string(static_cast<std::uint64_t>(rate)) + " MB/s";
        }
    }
    return text.substr(0, width);
}

} // namespace

ProgressLine::ProgressLine()
    : m_isShown(isatty(STDERR_FILENO) == 1)
    , m_begin(Clock::now())
    , m_phaseBegin(m_begin)
{}

ProgressLine::~ProgressLine()
{
    Clear();
}

void ProgressLine::Show(const ProgressState& state)
{
    if (!m_isShown) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (state.phase != m_phase) {
        m_phase = state.phase;
        m_phaseBegin = now;
    }
    const auto since = [now](Clock::time_point begin) {
        return std::chrono::duration<double>(now - begin).count();
    };
    m_isDrawn = true;
    // The last place of a line is left free: some terminals go on to the next line there.
    const std::string line =
        "\r\x1b[K" +
        DescribeProgress(state, since(m_begin), since(m_phaseBegin), TerminalWidth() - 1);
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
}

void ProgressLine::Clear()
{
    if (m_isDrawn) {
        std::fputs("\r\x1b[K", stderr);
        std::fflush(stderr);
        m_isDrawn = false;
    }
}

} // namespace OrvaneHost
