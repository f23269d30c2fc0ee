#include "Notifier.h"

#include "Log.h"

#include <mutex>

namespace sxmlib {

void Notifier::setCallbacks(const sxm_callbacks& callbacks)
{
    std::lock_guard<HookMutex> lock(m_mutex);
    m_callbacks = callbacks;
}

sxm_callbacks Notifier::callbacks() const
{
    std::lock_guard<HookMutex> lock(m_mutex);
    return m_callbacks;
}

void* Notifier::contextOf(const sxm_callbacks& callbacks, Caller caller)
{
    return caller == Caller::Operation ? callbacks.context : callbacks.eventContext;
}

void Notifier::error(Caller caller, const ErrorReport& report)
{
    SXMLIB_WARN("error " << report.code << " (HTTP " << report.responseCode
                         << (report.errorStop ? ", stopped" : "") << "): " << report.message);
    send(caller, report, bypass());
}

void Notifier::bypassSeen(Caller caller, const BypassFlags& flags)
{
    {
        std::lock_guard<HookMutex> lock(m_mutex);
        if (flags == m_bypass)
            return;
        m_bypass = flags;
    }
    SXMLIB_WARN("bypass status changed");
    send(caller, ErrorReport{}, flags);
}

void Notifier::reportBypass(Caller caller)
{
    send(caller, ErrorReport{}, bypass());
}

BypassFlags Notifier::bypass() const
{
    std::lock_guard<HookMutex> lock(m_mutex);
    return m_bypass;
}

void Notifier::send(Caller caller, const ErrorReport& report, const BypassFlags& flags)
{
    const sxm_callbacks record = callbacks();
    if (!record.onError)
        return;
    sxm_errorNotification notification{};
    notification.libraryErrorCode = report.code;
    notification.responseCode = static_cast<int32_t>(report.responseCode);
    notification.errorStop = report.errorStop ? SXM_TRUE : SXM_FALSE;
    flags.fill(notification);
    notification.errorString = report.message.empty() ? nullptr : report.message.c_str();
    record.onError(contextOf(record, caller), &notification);
}

} // namespace sxmlib
