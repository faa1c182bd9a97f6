// Draws progress.
#include "ProgressLine.h"

#include <cstdio>
#include <unistd.h>

namespace OrvaneHost {

ProgressLine::ProgressLine()
    : m_isShown(isatty(STDERR_FILENO) == 1)
    , m_begin(Clock::now())
{}

ProgressLine::~ProgressLine()
{
    Clear();
}

void ProgressLine::Show(const char* verb, std::uint64_t done, std::uint64_t total)
{
    if (!m_isShown) {
        return;
    }
    m_isDrawn = true;
    const double seconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    std::string line = "\r\x1b[K";
    line += verb;
    line += " " + std::to_string(done);
    if (total > 0) {
        line += " of " + std::to_string(total);
    }
    line += " rows, " + std::to_string(static_cast<std::uint64_t>(rate)) + " rows/s";
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
    m_begin = Clock::now();
}

} // namespace OrvaneHost
