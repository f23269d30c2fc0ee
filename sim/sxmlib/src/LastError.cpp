#include "LastError.h"

#include "Log.h"

#include <sxmlib.h>

namespace sxmlib {

void LastError::set(const std::string& text)
{
    if (!text.empty())
        SXMLIB_DEBUG("failure: " << text);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_text = text;
}

const char* LastError::text() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_text.c_str();
}

LastError& lastError()
{
    // Never destroyed: the integrator may ask for the text from its own static destructors.
    static LastError* const error = new LastError;
    return *error;
}

} // namespace sxmlib
