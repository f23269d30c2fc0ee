// Word lists that give the generated catalog readable names. Pure functions over an Rng or an
// index: safe from any thread.
#pragma once

#include "Determinism.h"

#include <string>

namespace sxm::service::names {

std::string musicArtist(Rng& rng);
std::string musicTitle(Rng& rng);
std::string albumTitle(Rng& rng);
std::string talkHost(Rng& rng);
std::string talkTopic(Rng& rng);

/// A channel name for the n-th channel of a genre (0-based); names repeat with a number suffix.
std::string channelName(const std::string& genreKey, int n);
/// A one-line channel description for a genre.
std::string channelDescription(const std::string& genreKey, Rng& rng);
/// An Xtra channel name for the n-th Xtra channel of a music genre.
std::string xtraName(const std::string& genreName, int n);

std::string showTitle(Rng& rng, bool talk);
std::string episodeTitle(Rng& rng, int number, bool talk);

} // namespace sxm::service::names
