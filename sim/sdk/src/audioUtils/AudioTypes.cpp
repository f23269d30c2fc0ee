#include "audioUtils/AudioTypes.h"

namespace audioUtils {

const std::string& opaqueAudioType()
{
    static const std::string type = "audio/x-opaque";
    return type;
}

} // namespace audioUtils
