// Unix-domain socket addresses from smt2 address texts.
// Thread contract: pure functions; safe from any thread.
#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace smt2::detail {

// "smt2:///run/x.sock?queueSizeInBytes=1" and "/run/x.sock" both give "/run/x.sock".
std::string socketPathFromAddress(const std::string& address);

// False (with *error set) for an empty path or one longer than sun_path holds.
bool makeUnixAddress(const std::string& path, sockaddr_un* address, socklen_t* length,
                     std::string* error);

} // namespace smt2::detail
