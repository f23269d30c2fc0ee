// The error codes the service puts in its JSON errors, for the client library to pass on.
// Constants only: safe from any thread.
#pragma once

namespace sxm::service::errors {

inline constexpr int kBadRequest = 1;
inline constexpr int kNotSignedIn = 2;
inline constexpr int kSessionExpired = 3;
inline constexpr int kAuthFailed = 4;
inline constexpr int kLoginRefused = 5;
inline constexpr int kNotFound = 6;
inline constexpr int kGeoRestricted = 7;
inline constexpr int kUnavailable = 8;
inline constexpr int kSegmentNotAvailable = 9;
inline constexpr int kInjectedFault = 10;
inline constexpr int kInternal = 11;
/// The code with which the service ends a playback; the client stops playing on exactly this one.
inline constexpr int kPlaybackEnded = 37;

} // namespace sxm::service::errors
