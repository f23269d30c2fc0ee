// The future type that smt2 operations return.
// Thread contract: see cf/future.h; smt2 completes its futures on the I/O event-loop thread.
#pragma once

#include <cf/future.h>

namespace smt2 {

template <class T>
using Future = cf::future<T>;

} // namespace smt2
