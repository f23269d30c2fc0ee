#pragma once
// Thread contract: pure functions, safe from any thread.
//
// Tolerant reads of the service's JSON: a missing member or one of the wrong type reads as
// empty, 0 or false, so that one odd field never loses a whole list.

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace sxmlib {

using Json = nlohmann::json;

std::string jsonText(const Json& object, const char* name);
std::int64_t jsonInt(const Json& object, const char* name, std::int64_t fallback = 0);
bool jsonBool(const Json& object, const char* name);
/// The member if it is an array, else an empty array.
const Json& jsonArray(const Json& object, const char* name);
/// The member if it is an object, else an empty object.
const Json& jsonObject(const Json& object, const char* name);

} // namespace sxmlib
