#include "EventPoll.h"

#include "Log.h"

namespace sxmlib {

EventPoll::EventPoll(ServiceSession& session, Notifier& notifier, LibraryStatus& status,
                     PlaybackEnded playbackEnded)
    : session_(session)
    , notifier_(notifier)
    , status_(status)
    , playbackEnded_(std::move(playbackEnded))
{}

void EventPoll::tick(std::uint32_t elapsedMs)
{
    interval_.setPeriod(session_.config().eventsPollIntervalMs);
    if (!interval_.advance(elapsedMs) || !status_.signedIn())
        return;
    const ServiceReply reply = session_.get(Caller::Event, "/events");
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
        const sxm_callbacks callbacks = notifier_.callbacks();
        if (callbacks.onRefresh)
            callbacks.onRefresh(callbacks.eventContext, module);
    } else if (type == "playbackEnded") {
        playbackEnded_(jsonText(event, "message"));
    } else {
        SXMLIB_DEBUG("event of unknown type '" << type << "' ignored");
    }
}

} // namespace sxmlib
