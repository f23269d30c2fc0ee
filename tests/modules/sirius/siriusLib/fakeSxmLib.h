#pragma once
// Thread contract: the fake's state is guarded by its mutex; the library functions may be called
// from any thread, as the bridge calls them from its library thread.
//
// A scripted stand-in of the client library's operations for the bridge's unit tests: results
// are set per test, calls are recorded, and list operations call the registered callbacks during
// the call the way the library does.

#include <sxmlib.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace fake {

/// What the tests script and what the fake records; reset() starts it afresh.
struct State
{
    int status = SXM_STATUS_SIGNED_OUT;
    std::string error;
    std::map<std::string, int> results;                      ///< per operation; missing: 1
    std::vector<std::string> calls;                          ///< "name" or "name(args)"
    std::vector<std::pair<std::thread::id, uint32_t>> ticks; ///< calling thread, elapsed ms
    sxm_callbacks callbacks{};
    /// Run during the named list operation (to call callbacks), before it returns.
    std::map<std::string, std::function<void(const sxm_callbacks&)>> during;
};

struct Library : State
{
    std::mutex mutex;
    std::condition_variable ticked; ///< notified under `mutex` at every clock tick
    std::vector<std::string> callsSnapshot();
};

Library& library();
/// Forgets everything (between tests).
void reset();

/// What the named operation does during the call, before it returns.
void script(const std::string& operation, std::function<void(const sxm_callbacks&)> during);
/// What the named operation answers.
void result(const std::string& operation, int value);
/// How often the library was called so: "name" or "name(args)".
int calls(const std::string& call);

/// A record as the library lists it: `title` is its asset guid too; genre "Pop", category "Music".
sxm_content record(const char* channelId, int assetType, const char* title,
                   const char* category = "Music");
/// Scripts a list operation (recents, favorites, search, For You, shows) to hand `records` to its
/// callback one call each, as the library does; the shows' list ends with a call without one.
void deliver(const std::string& operation, const std::vector<sxm_content>& records);

} // namespace fake
