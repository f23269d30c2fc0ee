#pragma once
// Thread contract: safe from any thread; meant for the library thread, whose operations set it
// and whose integrator reads it right after a failure.
//
// The text behind sxm_get_error: the last failure of an operation, "" when the last operation
// succeeded.

#include <mutex>
#include <string>

namespace sxmlib {

class LastError
{
public:
    void clear() { set(std::string()); }
    void set(const std::string& text);
    /// Valid until the next set() or clear(), i.e. until the next operation call.
    const char* text() const;

private:
    mutable std::mutex m_mutex; // guards m_text
    std::string m_text;
};

LastError& lastError();

} // namespace sxmlib
