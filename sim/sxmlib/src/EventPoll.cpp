#include "EventPoll.h"

#include "Log.h"

namespace sxmlib {

EventPoll::EventPoll(ServiceSession& session, Notifier& notifier, LibraryStatus& status,
                     PlaybackEnded playbackEnded)
    : m_session(session)
    , m_notifier(notifier)
    , m_status(status)
    , m_playbackEnded(std::move(playbackEnded))
{}

void EventPoll::tick(std::uint32_t elapsedMs)
{
    m_interval.setPeriod(m_session.config().eventsPollIntervalMs);
    if (!m_interval.advance(elapsedMs) || !m_status.signedIn())
        return;
    const ServiceReply reply = m_session.get(Caller::Event, "/events");
    if (!reply.ok()) {
        SXMLIB_WARN("events not fetched: " << reply.message);
        return;
    }
    for (const Json& event : jsonArray(reply.json, "events"))
        dispatch(event);
}

void EventPoll::dispatch(const Json& event)
{
    const std::string type = jsonText(event, "type");
    if (type == "refresh") {
        const int module = static_cast<int>(jsonInt(event, "module"));
        SXMLIB_INFO("refresh of module " << module);
        const sxm_callbacks callbacks = m_notifier.callbacks();
        if (callbacks.onRefresh)
            callbacks.onRefresh(callbacks.eventContext, module);
    } else if (type == "playbackEnded") {
        m_playbackEnded(jsonText(event, "message"));
    } else {
        SXMLIB_DEBUG("event of unknown type '" << type << "' ignored");
    }
}

} // namespace sxmlib
