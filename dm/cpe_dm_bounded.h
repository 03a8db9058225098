/* Counts that came from the modem. */
#ifndef CPE_DM_BOUNDED_H
#define CPE_DM_BOUNDED_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

/* A count of list entries that came from the modem, cut to the room of the modem's list. When the entries are copied,
 * also cut to the room of the copy. */
inline uint32_t cpe_dm_bounded(uint32_t count, size_t room, size_t room_of_copy = SIZE_MAX) {
    return static_cast<uint32_t>(std::min<size_t>(count, std::min(room, room_of_copy)));
}

#endif
