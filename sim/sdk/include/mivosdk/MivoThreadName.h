// Naming of operating-system threads, so that they can be told apart in /proc, top and debuggers.
// Thread contract: safe from any thread; it names the calling thread only.
#pragma once

#include <QString>

// Names the calling thread. The kernel keeps at most 15 bytes of a name; a longer name is cut to
// fit, at a UTF-8 character boundary, rather than refused.
void mivoSetThreadName(const QString& name);
