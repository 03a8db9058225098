// Plays a recording in the place of the virtual modem. One for the process.
#pragma once

#include "zeb_service.h"

// ZEB_RECORDING names a recording.
bool replay_wanted();

// What the recording gave for a service of these versions: an object, or null. The first call reads the recording; when
// that or the speed is not right, it says so on standard error, and the service of the object stays absent. Never
// throws; null when there is no memory.
zeb_service_object replay_service_object(const std::array<uint32_t, 3> &versions);
