#pragma once
// Thread contract: the fake's state is guarded by its mutex; the library functions may be called
// from any thread, as the bridge calls them from its library thread.
//
// A scripted stand-in of the client library's operations for the bridge's unit tests: results
// are set per test, calls are recorded, and list operations call the registered callbacks during
// the call the way the library does.

#include <sxmlib.h>

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
    int version[3] = {3, 0, 0};
    int status = SXM_STATUS_SIGNED_OUT;
    std::string error;
    std::map<std::string, int> results;                      ///< per operation; missing: 1
    std::vector<std::string> calls;                          ///< "name" or "name(args)"
    std::vector<std::pair<std::thread::id, uint32_t>> ticks; ///< calling thread, elapsed ms
    sxm_callbacks callbacks{};
    std::string segmentText; ///< written by the segment-time calls
    /// Run during the named list operation (to call callbacks), before it returns.
    std::map<std::string, std::function<void(const sxm_callbacks&)>> during;
};

struct Library : State
{
    std::mutex mutex;

    int result(const std::string& name);
    void record(const std::string& call);
    std::vector<std::string> callsSnapshot();
};

Library& library();
/// Forgets everything (between tests).
void reset();

} // namespace fake
