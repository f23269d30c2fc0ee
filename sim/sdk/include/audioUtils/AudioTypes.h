// Audio-type texts that describe a stream's format to the streamer.
// Thread contract: safe from any thread.
#pragma once

#include <string>

namespace audioUtils {

// Still-encoded audio that is passed through unchanged; the receiving side decodes it itself.
const std::string& opaqueAudioType();

} // namespace audioUtils
