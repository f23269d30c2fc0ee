#pragma once
// Thread contract: safe from any thread (reads the environment, which nobody changes while the
// library runs).
//
// The simulator's test controls, read from the environment when they matter (see
// docs/simulator.md): another version number, and failures of sxm_init or
// sxm_registerCallbacks.

namespace sxmlib {

struct Version
{
    int major = 3;
    int minor = 0;
    int patch = 0;
};

/// SXMLIB_SIM_VERSION ("MAJOR.MINOR.PATCH"), or 3.0.0 when unset or malformed.
Version simulatedVersion();
/// SXMLIB_SIM_FAIL=init.
bool initShouldFail();
/// SXMLIB_SIM_FAIL=register.
bool registerShouldFail();

} // namespace sxmlib
