// A bounded queue of pages between the thread that reads and the thread that writes.
#pragma once

#include <Orvane/BFeaturePage.h>
#include <Orvane/Import/PageSource.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace Orvane::Import {

/// Has pages made on a thread of its own, a few ahead of whoever asks for them.
///
/// Memory: the pages that wait, the one that is being made, and the one that was given last.
/// A failure of either side stops both: what the maker throws leaves Next; when this object goes
/// before the last page was asked for, the maker is told to stop and waited for.
///
///     PagePipe pipe([&](const PagePipe::Push& push) { MakePages(push); },
///                   [&] { cancel.Request(); },
///                   [&] { AskTheCaller(); });
///     for (SourcePage page; pipe.Next(page);) {
///         Write(page);
///     }
class PagePipe : public PageSource
{
public:
    /// Hands a page on; waits while enough pages wait already.
    /// @return false when nobody wants pages any more: the maker should end soon
    using Push =
        std::function<bool(std::shared_ptr<const BFeaturePage> page, std::size_t firstRow)>;

    /// Pages that may wait.
    static constexpr std::size_t kMostWaiting = 3;

    /// Starts the maker's thread.
    /// @param make called once there; the end of the call is the end of the pages
    /// @param stop tells the maker to end soon; called at most once, on the caller's thread, while
    ///     the maker may be at work
    /// @param waiting called about ten times a second, on the caller's thread, while Next or
    ///     WaitForFirst waits; may throw, which leaves them
    PagePipe(std::function<void(const Push&)> make,
             std::function<void()> stop,
             std::function<void()> waiting);
    ~PagePipe() override;

    /// Waits until there is a page, or until there will be none. What the maker has done before its
    /// first page has been done then.
    void WaitForFirst();

    /// Wall time that the maker has spent on pages so far, less what it has waited for room.
    [[nodiscard]] double GetMakingSeconds();

    /// @throws what the maker has thrown, when all pages before were given
    [[nodiscard]] bool Next(SourcePage& page) override;

private:
    struct Entry
    {
        std::shared_ptr<const BFeaturePage> page;
        std::size_t firstRow = 0;
    };

    void Run(const std::function<void(const Push&)>& make);
    void WaitForPage(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] bool Add(std::shared_ptr<const BFeaturePage> page, std::size_t firstRow);

    std::function<void()> m_stop;
    std::function<void()> m_whileWaiting;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Entry> m_waiting;
    double m_waitedSeconds = 0; ///< by the maker
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_end;
    bool m_isEnded = false;   ///< the maker has ended
    bool m_isStopped = false; ///< nobody asks any more
    std::exception_ptr m_failure;
    std::thread m_thread; ///< last: it uses all of the above
};

} // namespace Orvane::Import
