#pragma once
// Thread contract: the choice is made by operations and the polls run in sxm_externalTimerTick,
// both on the library thread; the choice is guarded anyway so that a tick from another thread
// stays safe.
//
// Program-data notifications: which channels' cuts the integrator wants, and their polling on
// the library's clock. Cuts are delivered through the cuts callback on the ticking thread.

#include "LibraryClock.h"
#include "ServiceSession.h"

#include <mutex>
#include <string>
#include <vector>

namespace sxmlib {

class ProgramData
{
public:
    /// How often the cuts are fetched, in library time: often enough that a cut is at hand
    /// long before the program-data delay lets the integrator show it.
    static constexpr std::int64_t kPollIntervalMs = 5000;

    ProgramData(ServiceSession& session, Notifier& notifier, LibraryStatus& status);

    int forChannels(const sxm_channelIdList* channelIds, std::string& error);
    int forGenre(const std::string& genreKey, std::string& error);
    int forAll(std::string& error);
    int stop();

    /// Polls when due and delivers the cuts through the cuts callback.
    void tick(std::uint32_t elapsedMs);

private:
    enum class Selection
    {
        None,
        Channels,
        Genre,
        All,
    };

    int choose(Selection selection, std::vector<std::string> queries, std::string& error);
    bool fetch(const std::vector<std::string>& queries, Json& cuts);

    ServiceSession& m_session;
    Notifier& m_notifier;
    LibraryStatus& m_status;
    std::mutex m_mutex; // guards m_selection, m_queries and m_interval
    Selection m_selection = Selection::None;
    /// One or more query strings whose answers together hold the chosen channels' cuts.
    std::vector<std::string> m_queries;
    Interval m_interval{kPollIntervalMs};
};

} // namespace sxmlib
