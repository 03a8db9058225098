/* The service object that plays a recording in the place of the virtual modem. */
#ifndef REPLAY_H
#define REPLAY_H

#include "zeb_service.h"

#include <array>

/* Returns whether the environment variable ZEB_RECORDING names a recording to play. */
bool replay_wanted();

/* Returns the service object that the recording gives for these versions (major, minor, library), or null when the
 * recording gives none. The first call of this function reads the recording. If the recording or the value of ZEB_SPEED
 * is not valid, the first call says so on standard error, and every call returns null. In a child of fork whose parent
 * plays a recording, every call returns null too. Never throws; returns null when out of memory or of threads. */
zeb_service_object replay_service_object(const std::array<uint32_t, 3> &versions);

#endif
