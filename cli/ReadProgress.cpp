// Draws progress and asks for cancelling.
#include "ReadProgress.h"

#include "Interrupt.h"

#include <cstdio>
#include <unistd.h>

namespace OrvaneHost {

ProgressLine::ProgressLine()
    : m_isShown(isatty(STDERR_FILENO) == 1)
    , m_begin(Clock::now())
    , m_lastDrawn(m_begin)
{}

ProgressLine::~ProgressLine()
{
    Clear();
}

void ProgressLine::Show(const char* verb, std::uint64_t done, std::uint64_t total)
{
    const Clock::time_point now = Clock::now();
    if (!m_isShown || now - m_lastDrawn < std::chrono::milliseconds(100)) {
        return;
    }
    m_lastDrawn = now;
    m_isDrawn = true;
    const double seconds = std::chrono::duration<double>(now - m_begin).count();
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
    m_lastDrawn = m_begin;
}

bool ReadProgress::ShouldReport(unsigned done, unsigned /*total*/)
{
    if (Interrupt::IsRequested()) {
        return true;
    }
    // The clock is asked now and then only; this runs once a row.
    constexpr unsigned kRowsBetween = 4096;
    return m_line != nullptr && m_line->IsShown() && done % kRowsBetween == 0;
}

bool ReadProgress::Report(unsigned done, unsigned /*total*/)
{
    m_lastCount = done;
    if (m_line != nullptr) {
        m_line->Show("Read", done, 0);
    }
    return !Interrupt::IsRequested();
}

} // namespace OrvaneHost
