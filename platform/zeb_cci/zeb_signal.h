// The operating-system signal that lives in a caller's OS-parameter block.
#pragma once

#include "zeb_service.h"

// Makes the block a lowered signal. False, and the block untouched, when it is one already.
bool zeb_signal_open(zeb_cci_os_params *os_params);

// Ends the next wait, or the running one.
void zeb_signal_raise(zeb_cci_os_params *os_params);

// Ends the waits for it. When it returns, none of them reads the block any more, which is its owner's again.
void zeb_signal_close(zeb_cci_os_params *os_params);
