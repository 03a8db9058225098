/* The service object that plays a recording in the place of the virtual modem. */
#ifndef REPLAY_H
#define REPLAY_H

#include "zeb_service.h"

#include <array>

/* Whether ZEB_RECORDING names a recording. */
bool replay_wanted();

/* The answer of the recording to a call for a service object of these versions: an object, or null. The first call
 * reads the recording. When the recording or ZEB_SPEED is not right, the first call says so on standard error, and
 * every call returns null. In a child of fork whose parent plays, every call returns null too. Never throws; returns
 * null when out of memory or of threads. */
zeb_service_object replay_service_object(const std::array<uint32_t, 3> &versions);

#endif
