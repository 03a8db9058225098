/* The operating-system signal that lives in a caller's OS-parameter block. A child of fork has none of its parent's
 * signals: their blocks are free to be used again. */
#ifndef ZEB_SIGNAL_H
#define ZEB_SIGNAL_H

#include "zeb_service.h"

/* Makes the block a signal that is not raised. Returns false, with the block untouched, when the block is a signal
 * already. */
bool zeb_signal_open(zeb_cci_os_params *os_params);

/* Raises the signal: this ends a wait that is under way, or else the next wait. */
void zeb_signal_raise(zeb_cci_os_params *os_params);

/* Waits until the signal is raised or closed, or until timeout_ms have passed (0: no limit), and lowers the signal. */
void zeb_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms);

/* Ends all waits for the signal. Once the function has returned, no wait reads the block any more, and the caller may
 * free the block. */
void zeb_signal_close(zeb_cci_os_params *os_params);

/* To be called in a child of fork, before any other function. */
void zeb_signal_forget_parent();

#endif
