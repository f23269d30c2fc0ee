// Owns one POSIX file descriptor and closes it exactly once.
// Thread contract: one owner at a time, like any value; no internal locking.
#pragma once

#include <unistd.h>
#include <utility>

namespace miscUtils {

class UniqueFd
{
public:
    UniqueFd() noexcept = default;
    explicit UniqueFd(int fd) noexcept
        : m_fd(fd)
    {}
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(other.release())
    {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return m_fd; }
    bool valid() const noexcept { return m_fd >= 0; }
    explicit operator bool() const noexcept { return valid(); }

    int release() noexcept { return std::exchange(m_fd, -1); }
    void reset(int fd = -1) noexcept
    {
        const int old = std::exchange(m_fd, fd);
        if (old >= 0)
            ::close(old);
    }

private:
    int m_fd = -1;
};

} // namespace miscUtils
