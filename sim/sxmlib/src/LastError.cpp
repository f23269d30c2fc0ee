#include "LastError.h"

#include "Log.h"

#include <sxmlib.h>

namespace sxmlib {

void LastError::set(const std::string& text)
{
    if (!text.empty())
        SXMLIB_DEBUG("failure: " << text);
    std::lock_guard<std::mutex> lock(mutex_);
    text_ = text;
}

const char* LastError::text() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return text_.c_str();
}

LastError& lastError()
{
    // Never destroyed: the integrator may ask for the text from its own static destructors.
    static LastError* const error = new LastError;
    return *error;
}

} // namespace sxmlib
