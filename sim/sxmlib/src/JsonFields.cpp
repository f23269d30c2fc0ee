#include "JsonFields.h"

#include <cmath>

namespace sxmlib {
namespace {

const Json* member(const Json& object, const char* name)
{
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

} // namespace

std::string jsonText(const Json& object, const char* name)
{
    const Json* value = member(object, name);
    return value && value->is_string() ? value->get<std::string>() : std::string();
}

std::int64_t jsonInt(const Json& object, const char* name, std::int64_t fallback)
{
    const Json* value = member(object, name);
    if (!value)
        return fallback;
    if (value->is_number_integer())
        return value->get<std::int64_t>();
    if (value->is_number_float()) {
        const double number = value->get<double>();
        if (std::isfinite(number) && std::fabs(number) < 9.0e18)
            return static_cast<std::int64_t>(number);
    }
    if (value->is_boolean())
        return value->get<bool>() ? 1 : 0;
    return fallback;
}

bool jsonBool(const Json& object, const char* name)
{
    const Json* value = member(object, name);
    if (!value)
        return false;
    if (value->is_boolean())
        return value->get<bool>();
    if (value->is_number())
        return value->get<double>() != 0.0;
    return false;
}

const Json& jsonArray(const Json& object, const char* name)
{
    static const Json empty = Json::array();
    const Json* value = member(object, name);
    return value && value->is_array() ? *value : empty;
}

const Json& jsonObject(const Json& object, const char* name)
{
    static const Json empty = Json::object();
    const Json* value = member(object, name);
    return value && value->is_object() ? *value : empty;
}

} // namespace sxmlib
