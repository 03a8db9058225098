/* Limits the length of a list from the modem to the list's capacity. */
#ifndef CPE_DM_BOUNDED_H
#define CPE_DM_BOUNDED_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

/* Returns the smallest of the three arguments. `count` is the length that the modem states for a list, and `room` is
 * the capacity of this list. When the entries are copied to another list, `room_of_copy` is the capacity of the other
 * list. */
inline uint32_t cpe_dm_bounded(uint32_t count, size_t room, size_t room_of_copy = SIZE_MAX) {
    return static_cast<uint32_t>(std::min<size_t>(count, std::min(room, room_of_copy)));
}

#endif
