#include "ProgramData.h"

#include "ContentRecords.h"
#include "Log.h"

namespace sxmlib {
namespace {

// The service refuses request lines longer than about 8 KiB: a long channel list is asked for
// in several requests.
constexpr std::size_t kMaxQueryLength = 6000;

std::vector<std::string> channelQueries(const sxm_channelIdList* channelIds)
{
    std::vector<std::string> queries;
    std::string query;
    for (const sxm_channelIdList* node = channelIds; node; node = node->next) {
        if (!node->channelId || !*node->channelId)
            continue;
        const std::string id = urlEncode(node->channelId);
        if (!query.empty() && query.size() + id.size() + 1 > kMaxQueryLength) {
            queries.push_back("channelIds=" + query);
            query.clear();
        }
        query += (query.empty() ? "" : ",") + id;
    }
    if (!query.empty())
        queries.push_back("channelIds=" + query);
    return queries;
}

} // namespace

ProgramData::ProgramData(ServiceSession& session, Notifier& notifier, LibraryStatus& status)
    : m_session(session)
    , m_notifier(notifier)
    , m_status(status)
{}

int ProgramData::choose(Selection selection, std::vector<std::string> queries, std::string& error)
{
    if (!m_status.signedIn()) {
        error = m_status.notSignedInText();
        return SXM_RESULT_FAILED;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_selection = queries.empty() ? Selection::None : selection;
    m_queries = std::move(queries);
    // A new choice is fetched at the next tick rather than after a whole period.
    m_interval.dueNow();
    return SXM_RESULT_OK;
}

int ProgramData::forChannels(const sxm_channelIdList* channelIds, std::string& error)
{
    return choose(Selection::Channels, channelQueries(channelIds), error);
}

int ProgramData::forGenre(const std::string& genreKey, std::string& error)
{
    if (genreKey.empty()) {
        error = "Program data by genre needs a genre key.";
        return SXM_RESULT_FAILED;
    }
    return choose(Selection::Genre, {"genre=" + urlEncode(genreKey)}, error);
}

int ProgramData::forAll(std::string& error)
{
    // An empty query asks the service for every live channel.
    return choose(Selection::All, {std::string()}, error);
}

int ProgramData::stop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_selection = Selection::None;
    m_queries.clear();
    return SXM_RESULT_OK;
}

bool ProgramData::fetch(const std::vector<std::string>& queries, Json& cuts)
{
    cuts = Json::array();
    for (const std::string& query : queries) {
        const ServiceReply reply = m_session.get(Caller::Event, "/pdt/cuts?" + query);
        if (!reply.ok()) {
            SXMLIB_WARN("program data not fetched: " << reply.message);
            return false;
        }
        for (const Json& cut : jsonArray(reply.json, "cuts"))
            cuts.push_back(cut);
    }
    return true;
}

void ProgramData::tick(std::uint32_t elapsedMs)
{
    std::vector<std::string> queries;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const bool due = m_interval.advance(elapsedMs);
        if (!due || m_selection == Selection::None)
            return;
        queries = m_queries;
    }
    if (!m_status.signedIn())
        return;
    Json cuts;
    if (!fetch(queries, cuts))
        return;
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (!callbacks.onPdtCuts)
        return;
    RecordArena arena;
    sxm_pdt_cuts* records = arena.array<sxm_pdt_cuts>(cuts.size());
    for (std::size_t i = 0; i < cuts.size(); ++i)
        records[i] = toCut(cuts[i], arena);
    SXMLIB_DEBUG("program data: " << cuts.size() << " cuts");
    callbacks.onPdtCuts(callbacks.eventContext, records, static_cast<int>(cuts.size()));
}

} // namespace sxmlib
