#include "CatalogLists.h"

#include "ContentRecords.h"
#include "Log.h"

#include <vector>

namespace sxmlib {
namespace {

constexpr Caller kCaller = Caller::Operation;

bool failed(const ServiceReply& reply, std::string& error)
{
    if (reply.ok())
        return false;
    error = reply.message;
    return true;
}

} // namespace

int failureStatus(const ServiceReply& reply)
{
    switch (reply.outcome) {
    case ServiceReply::Outcome::Ok:
        return 1;
    case ServiceReply::Outcome::NoSession:
        return -401;
    case ServiceReply::Outcome::Refused:
        return reply.status > 0 ? -static_cast<int>(reply.status) : -1;
    case ServiceReply::Outcome::Unreachable:
    case ServiceReply::Outcome::Malformed:
        break;
    }
    return -1;
}

CatalogLists::CatalogLists(ServiceSession& session, Notifier& notifier, LibraryStatus& status)
    : m_session(session)
    , m_notifier(notifier)
    , m_status(status)
{}

int CatalogLists::channelList(std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/lineup");
    if (failed(reply, error))
        return SXM_RESULT_FAILED;
    const sxm_callbacks callbacks = m_notifier.callbacks();
    const Json& items = jsonArray(reply.json, "items");
    for (const Json& item : items) {
        if (!callbacks.onChannel)
            break;
        RecordArena arena;
        sxm_content channel = toContent(item, arena);
        callbacks.onChannel(callbacks.context, &channel);
    }
    SXMLIB_INFO("line-up: " << items.size() << " records");
    m_status.lineupListed();
    return SXM_RESULT_OK;
}

int CatalogLists::shows(const std::string& genreKey, const std::string& channelId,
                        std::string& error)
{
    const sxm_callbacks callbacks = m_notifier.callbacks();
    const auto report = [&](sxm_content* show, int status, int index) {
        if (callbacks.onShows)
            callbacks.onShows(callbacks.context, show, status, index);
    };
    if (genreKey.empty() == channelId.empty()) {
        error = "Shows are listed by genre or by channel: give exactly one of the two.";
        report(nullptr, -400, 0);
        return -400;
    }
    const std::string query =
        genreKey.empty() ? "channelId=" + urlEncode(channelId) : "genre=" + urlEncode(genreKey);
    const ServiceReply reply = m_session.get(kCaller, "/shows?" + query);
    if (failed(reply, error)) {
        const int status = failureStatus(reply);
        report(nullptr, status, 0);
        return status;
    }
    int index = 0;
    for (const Json& item : jsonArray(reply.json, "items")) {
        RecordArena arena;
        sxm_content show = toContent(item, arena);
        report(&show, 1, index++);
    }
    report(nullptr, 0, index);
    return SXM_RESULT_OK;
}

int CatalogLists::episodes(const std::string& showGuid, std::string& error)
{
    if (showGuid.empty()) {
        error = "Episodes need a show.";
        return -400;
    }
    const ServiceReply reply = m_session.get(kCaller, "/episodes?showId=" + urlEncode(showGuid));
    if (failed(reply, error))
        return failureStatus(reply);
    const Json& items = jsonArray(reply.json, "items");
    RecordArena arena;
    sxm_content* episodes = arena.array<sxm_content>(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        episodes[i] = toContent(items[i], arena);
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (callbacks.onEpisodes)
        callbacks.onEpisodes(callbacks.context, showGuid.c_str(), episodes,
                             static_cast<int>(items.size()));
    return SXM_RESULT_OK;
}

int CatalogLists::forYou(std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/foryou");
    if (failed(reply, error))
        return SXM_RESULT_FAILED;
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (!callbacks.onForYou)
        return SXM_RESULT_OK;
    const Json& items = jsonArray(reply.json, "items");
    if (items.empty()) {
        callbacks.onForYou(callbacks.context, nullptr, SXM_FALSE);
        return SXM_RESULT_OK;
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        RecordArena arena;
        sxm_content item = toContent(items[i], arena);
        callbacks.onForYou(callbacks.context, &item, i + 1 < items.size() ? SXM_TRUE : SXM_FALSE);
    }
    return SXM_RESULT_OK;
}

int CatalogLists::search(const std::string& text, std::string& error)
{
    const ServiceReply reply = m_session.get(kCaller, "/search?q=" + urlEncode(text));
    if (failed(reply, error))
        return SXM_RESULT_FAILED;
    const sxm_callbacks callbacks = m_notifier.callbacks();
    if (!callbacks.onSearch)
        return SXM_RESULT_OK;
    const Json& items = jsonArray(reply.json, "items");
    if (items.empty()) {
        callbacks.onSearch(callbacks.context, nullptr, -1);
        return SXM_RESULT_OK;
    }
    int index = 0;
    for (const Json& item : items) {
        RecordArena arena;
        sxm_content result = toContent(item, arena);
        callbacks.onSearch(callbacks.context, &result, index++);
    }
    return SXM_RESULT_OK;
}

int CatalogLists::geoRestricted(const std::string& channelId, std::string& error)
{
    constexpr int kCannotTell = 2;
    if (channelId.empty()) {
        error = "Which channel? The channel id is empty.";
        return kCannotTell;
    }
    const ServiceReply reply = m_session.get(kCaller, "/channels/" + urlEncode(channelId) + "/geo");
    if (failed(reply, error))
        return kCannotTell;
    return jsonBool(reply.json, "restricted") ? 1 : 0;
}

} // namespace sxmlib
