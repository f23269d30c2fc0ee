// JSON forms of the service's records, as docs/service-api.md shows them. Pure functions: safe
// from any thread.
#pragma once

#include "Streams.h"
#include "sxmservice/Catalog.h"

#include <nlohmann/json.hpp>

#include <set>
#include <string>

namespace sxm::service {

/// Makes a service-relative image path ("/images/...") absolute; other texts stay as they are.
std::string absoluteUrl(const std::string& baseUrl, const std::string& pathOrUrl);

/// Every field of the record; isFavorite from the account's favorite keys.
nlohmann::json contentToJson(const Content& record, const std::string& baseUrl,
                             const std::set<std::string>& favoriteKeys);

/// Track metadata as the client library reports it: album, artist, track, trackDescription,
/// trackId and the album art.
nlohmann::json trackToJson(const Track& track, const std::string& baseUrl);

/// The timebar at a position: timestamps in seconds on the stream's axis, durations in ms.
nlohmann::json timebarToJson(const Catalog& catalog, const Stream& stream, std::int64_t positionMs,
                             std::int64_t nowMs, std::int64_t rewindMs);

} // namespace sxm::service
