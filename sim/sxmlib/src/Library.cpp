#include "Library.h"

#include "DeviceHooks.h"
#include "Log.h"

namespace sxmlib {

Library::Library()
    : m_session(m_status, m_notifier)
    , m_catalog(m_session, m_notifier, m_status)
    , m_personal(m_session, m_notifier)
    , m_programData(m_session, m_notifier, m_status)
    , m_playback(m_session, m_notifier, m_status)
    , m_events(m_session, m_notifier, m_status,
               [this](const std::string& message) { m_playback.endedByService(message); })
{
    m_status.initialized();
}

int Library::registerCallbacks(const sxm_callbacks& callbacks, std::string& error)
{
    if (!callbacks.onError || !callbacks.onChannel || !callbacks.onPdtCuts) {
        error = "The error, channel and cuts callbacks are required.";
        return SXM_RESULT_FAILED;
    }
    m_notifier.setCallbacks(callbacks);
    m_status.callbacksRegistered();
    return SXM_RESULT_OK;
}

bool Library::callbacksRegistered(std::string& error) const
{
    if (m_status.status() >= Status::SignedOut)
        return true;
    error = "Register the callbacks (sxm_registerCallbacks) before signing in.";
    return false;
}

void Library::tick(std::uint32_t elapsedMs)
{
    m_programData.tick(elapsedMs);
    m_events.tick(elapsedMs);
}

int Library::signIn(const std::string& user, const std::string& password, bool store,
                    std::string& error)
{
    AccountDetails account;
    const ServiceReply reply = m_session.signIn(Caller::Operation, user, password, account);
    switch (reply.outcome) {
    case ServiceReply::Outcome::Ok:
        break;
    case ServiceReply::Outcome::Refused:
        m_status.signInRefused();
        error = reply.message;
        return SXM_RESULT_FAILED;
    default:
        m_status.signInFailed();
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    if (store)
        storeAccount(account);
    m_status.signedInNow();
    m_events.restart();
    // The account's settings ("TuneStart") follow every sign-in; without them the sign-in still
    // stands.
    std::string settingsError;
    if (m_personal.reportGlobalSettings(settingsError) != SXM_RESULT_OK)
        SXMLIB_WARN("global settings not reported: " << settingsError);
    return SXM_RESULT_OK;
}

int Library::verifyAccount(const std::string& user, const std::string& password, std::string& error)
{
    if (!callbacksRegistered(error))
        return SXM_RESULT_FAILED;
    if (user.empty() || password.empty()) {
        error = "Enter your SiriusXM username and password.";
        return SXM_RESULT_FAILED;
    }
    return signIn(user, password, true, error);
}

int Library::configure(std::string& error)
{
    if (!callbacksRegistered(error))
        return SXM_RESULT_FAILED;
    const StoredAccount account = readStoredAccount();
    if (account.username.empty() || account.password.empty()) {
        m_status.signInFailed();
        error = "No SiriusXM account is stored. Please sign in.";
        return SXM_RESULT_FAILED;
    }
    return signIn(account.username, account.password, false, error);
}

int Library::bypassStatus(std::string& error)
{
    if (!callbacksRegistered(error))
        return SXM_RESULT_FAILED;
    m_notifier.reportBypass(Caller::Operation);
    return SXM_RESULT_OK;
}

} // namespace sxmlib
