#include "Library.h"

#include "DeviceHooks.h"
#include "Log.h"

namespace sxmlib {

Library::Library()
    : session_(status_, notifier_)
    , catalog_(session_, notifier_, status_)
    , personal_(session_, notifier_)
    , programData_(session_, notifier_, status_)
    , playback_(session_, notifier_, status_)
    , events_(session_, notifier_, status_,
              [this](const std::string& message) { playback_.endedByService(message); })
{
    status_.initialized();
}

int Library::registerCallbacks(const sxm_callbacks& callbacks, std::string& error)
{
    if (!callbacks.onError || !callbacks.onChannel || !callbacks.onPdtCuts) {
        error = "The error, channel and cuts callbacks are required.";
        return SXM_RESULT_FAILED;
    }
    notifier_.setCallbacks(callbacks);
    status_.callbacksRegistered();
    return SXM_RESULT_OK;
}

bool Library::callbacksRegistered(std::string& error) const
{
    if (status_.status() >= Status::SignedOut)
        return true;
    error = "Register the callbacks (sxm_registerCallbacks) before signing in.";
    return false;
}

void Library::tick(std::uint32_t elapsedMs)
{
    programData_.tick(elapsedMs);
    events_.tick(elapsedMs);
}

int Library::signIn(const std::string& user, const std::string& password, bool store,
                    std::string& error)
{
    AccountDetails account;
    const ServiceReply reply = session_.signIn(Caller::Operation, user, password, account);
    switch (reply.outcome) {
    case ServiceReply::Outcome::Ok:
        break;
    case ServiceReply::Outcome::Refused:
        status_.signInRefused();
        error = reply.message;
        return SXM_RESULT_FAILED;
    default:
        status_.signInFailed();
        error = reply.message;
        return SXM_RESULT_FAILED;
    }
    if (store)
        storeAccount(account);
    status_.signedInNow();
    events_.restart();
    // The account's settings ("TuneStart") follow every sign-in; without them the sign-in still
    // stands.
    std::string settingsError;
    if (personal_.reportGlobalSettings(settingsError) != SXM_RESULT_OK)
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
        status_.signInFailed();
        error = "No SiriusXM account is stored. Please sign in.";
        return SXM_RESULT_FAILED;
    }
    return signIn(account.username, account.password, false, error);
}

int Library::bypassStatus(std::string& error)
{
    if (!callbacksRegistered(error))
        return SXM_RESULT_FAILED;
    notifier_.reportBypass(Caller::Operation);
    return SXM_RESULT_OK;
}

} // namespace sxmlib
