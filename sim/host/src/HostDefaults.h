#pragma once
// Thread contract: call on the main thread at start-up, before the worker exists.

class HostRoot;

/// The values a fresh device starts with: device make and model, the fixed key, the Sirius
/// settings (full-featured, bitrate, TuneStart) and the state values (idle time, network MAC).
/// Values already loaded from the settings file are kept.
void applyHostDefaults(HostRoot& root);

/// The fixed key of a fresh device: the simulated service's demo device key ("SXM-DEMO-FIXED-K"
/// in ASCII as 32 hex digits), so that the defaults work against it.
const char* defaultFixedKeyHex();
