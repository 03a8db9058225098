/* Counts that came from the modem. */
#ifndef CPE_DM_BOUNDED_H
#define CPE_DM_BOUNDED_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

/* A count that came from the modem, cut to the room of its own list and of the list that it is copied to. */
inline uint32_t cpe_dm_bounded(uint32_t count, size_t room, size_t room_of_copy = SIZE_MAX) {
    return static_cast<uint32_t>(std::min<size_t>(count, std::min(room, room_of_copy)));
}

#endif
