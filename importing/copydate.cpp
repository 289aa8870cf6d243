#include "importing/copydate.h"

#include <algorithm>
#include <tuple>

namespace importing {

CopyDate copyDate(std::span<const timespec> times, const std::optional<timespec> &lastMessage)
{
    constexpr time_t day = 24 * 60 * 60;
    const auto isEarlier = [](const timespec &a, const timespec &b) {
        return std::tie(a.tv_sec, a.tv_nsec) < std::tie(b.tv_sec, b.tv_nsec);
    };
    if (!lastMessage)
        return {*std::ranges::min_element(times, isEarlier)};
    std::optional<timespec> earliest;
    for (const timespec &time : times) {
        // Whole seconds: many file systems keep no parts of them.
        if (time.tv_sec >= lastMessage->tv_sec && (!earliest || isEarlier(time, *earliest)))
            earliest = time;
    }
    if (!earliest)
        return {*std::ranges::max_element(times, isEarlier)};
    if (isEarlier({lastMessage->tv_sec + day, lastMessage->tv_nsec}, *earliest))
        return {*lastMessage, true};
    return {*earliest};
}

} // namespace importing
