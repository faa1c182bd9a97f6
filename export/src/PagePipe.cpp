// One mutex, one condition: pages are few and large.
#include "PagePipe.h"

#include <utility>

namespace Orvane::Import {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsBetween(Clock::time_point begin, Clock::time_point end)
{
    return std::chrono::duration<double>(end - begin).count();
}

} // namespace

PagePipe::PagePipe(std::function<void(const Push&)> make,
                   std::function<void()> stop,
                   std::function<void()> waiting)
    : m_stop(std::move(stop))
    , m_whileWaiting(std::move(waiting))
    , m_thread([this, make = std::move(make)] { Run(make); })
{}

PagePipe::~PagePipe()
{
    bool isEnded = false;
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
        isEnded = m_isEnded;
    }
    m_changed.notify_all();
    if (!isEnded) {
        m_stop();
    }
    m_thread.join();
}

void PagePipe::Run(const std::function<void(const Push&)>& make)
{
    std::exception_ptr failure;
    try {
        make([this](std::shared_ptr<const BFeaturePage> page, std::size_t firstRow) {
            return Add(std::move(page), firstRow);
        });
    } catch (...) {
        failure = std::current_exception();
    }
    {
        const std::lock_guard lock(m_mutex);
        m_failure = std::move(failure);
        m_isEnded = true;
        m_end = Clock::now();
    }
    m_changed.notify_all();
}

bool PagePipe::Add(std::shared_ptr<const BFeaturePage> page, std::size_t firstRow)
{
    std::unique_lock lock(m_mutex);
    const Clock::time_point begin = Clock::now();
    m_changed.wait(lock, [this] { return m_isStopped || m_waiting.size() < kMostWaiting; });
    m_waitedSeconds += SecondsBetween(begin, Clock::now());
    if (m_isStopped) {
        return false;
    }
    m_waiting.push_back({std::move(page), firstRow});
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void PagePipe::WaitForPage(std::unique_lock<std::mutex>& lock)
{
    constexpr std::chrono::milliseconds kBetween{100};
    while (
        !m_changed.wait_for(lock, kBetween, [this] { return m_isEnded || !m_waiting.empty(); })) {
        lock.unlock();
        m_whileWaiting();
        lock.lock();
    }
}

void PagePipe::WaitForFirst()
{
    std::unique_lock lock(m_mutex);
    WaitForPage(lock);
}

double PagePipe::GetMakingSeconds()
{
    const std::lock_guard lock(m_mutex);
    return SecondsBetween(m_begin, m_isEnded ? m_end : Clock::now()) - m_waitedSeconds;
}

bool PagePipe::Next(SourcePage& page)
{
    page = {};
    std::unique_lock lock(m_mutex);
    WaitForPage(lock);
    if (!m_waiting.empty()) {
        page.page = std::move(m_waiting.front().page);
        page.firstRow = m_waiting.front().firstRow;
        m_waiting.pop_front();
        lock.unlock();
        m_changed.notify_all();
        return true;
    }
    if (m_failure) {
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    }
    return false;
}

} // namespace Orvane::Import
