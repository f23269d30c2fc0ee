#include "UnixAddress.h"

#include <cstddef>
#include <cstring>

namespace smt2::detail {

std::string socketPathFromAddress(const std::string& address)
{
    static const std::string scheme = "smt2://";
    if (address.compare(0, scheme.size(), scheme) != 0)
        return address;
    std::string path = address.substr(scheme.size());
    // The query belongs to the receiver (its queue size), not to the socket path.
    const auto query = path.find('?');
    if (query != std::string::npos)
        path.erase(query);
    return path;
}

bool makeUnixAddress(const std::string& path, sockaddr_un* address, socklen_t* length,
                     std::string* error)
{
    std::memset(address, 0, sizeof *address);
    address->sun_family = AF_UNIX;
    if (path.empty()) {
        *error = "no socket path set";
        return false;
    }
    if (path.size() >= sizeof address->sun_path) {
        *error = "socket path longer than " + std::to_string(sizeof address->sun_path - 1) +
                 " bytes: " + path;
        return false;
    }
    if (path.find('\0') != std::string::npos) {
        *error = "socket path contains a zero byte";
        return false;
    }
    std::memcpy(address->sun_path, path.data(), path.size());
    *length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
    return true;
}

} // namespace smt2::detail
