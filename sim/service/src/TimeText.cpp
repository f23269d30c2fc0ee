#include "TimeText.h"

#include <cctype>
#include <cstdio>
#include <ctime>

namespace sxm::service {
namespace {

std::int64_t floorDiv(std::int64_t value, std::int64_t divisor)
{
    std::int64_t quotient = value / divisor;
    if ((value % divisor) != 0 && ((value < 0) != (divisor < 0))) {
        --quotient;
    }
    return quotient;
}

bool readDigits(std::string_view text, std::size_t at, std::size_t count, int& out)
{
    if (at + count > text.size()) {
        return false;
    }
    int value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
            return false;
        }
        value = value * 10 + (text[i] - '0');
    }
    out = value;
    return true;
}

std::string format(std::int64_t ms, const char* suffix)
{
    const std::int64_t seconds = floorDiv(ms, 1000);
    const int millis = static_cast<int>(ms - seconds * 1000);
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&t, &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d%s", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  millis, suffix);
    return text;
}

} // namespace

std::string formatUtcMs(std::int64_t msSinceEpoch)
{
    return format(msSinceEpoch, "");
}

std::string formatIsoUtc(std::int64_t msSinceEpoch)
{
    return format(msSinceEpoch, "Z");
}

std::optional<std::int64_t> parseUtc(std::string_view text)
{
    std::tm parts{};
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millis = 0;
    if (!readDigits(text, 0, 4, year) || text.size() < 19 || text[4] != '-' ||
        !readDigits(text, 5, 2, month) || text[7] != '-' || !readDigits(text, 8, 2, day) ||
        text[10] != 'T' || !readDigits(text, 11, 2, hour) || text[13] != ':' ||
        !readDigits(text, 14, 2, minute) || text[16] != ':' || !readDigits(text, 17, 2, second)) {
        return std::nullopt;
    }
    std::size_t at = 19;
    if (at < text.size() && text[at] == '.') {
        if (!readDigits(text, at + 1, 3, millis)) {
            return std::nullopt;
        }
        at += 4;
    }
    if (at < text.size() && text[at] == 'Z') {
        ++at;
    }
    if (at != text.size() || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 ||
        minute > 59 || second > 60) {
        return std::nullopt;
    }
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    const std::time_t seconds = timegm(&parts);
    return static_cast<std::int64_t>(seconds) * 1000 + millis;
}

} // namespace sxm::service
