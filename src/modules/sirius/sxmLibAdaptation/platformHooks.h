#pragma once
// Thread contract: safe from any thread.
//
// Time, memory and sleep hooks of the client library (declared in sxmlib.h); the plain
// function below is what sxm_platform_ms_since_epoch forwards to.

#include <cstdint>

/// The wall-clock time as milliseconds since 1970-01-01 UTC.
int64_t platform_ms_since_epoch();
