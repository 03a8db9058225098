/* A signal is a flag in a caller's OS-parameter block: a notifier raises it, and other threads wait for it. In a child
 * of fork the signals of the parent count as closed, so that their blocks can be used again. */
#ifndef ZEB_SIGNAL_H
#define ZEB_SIGNAL_H

#include "zeb_service.h"

/* Turns the block into a signal that is not raised. If the block is a signal already, returns false and leaves the
 * block untouched. */
bool zeb_signal_open(zeb_cci_os_params *os_params);

/* Raises the signal. This ends a wait that is in progress. If no wait is in progress, the next wait ends at once. */
void zeb_signal_raise(zeb_cci_os_params *os_params);

/* Waits until the signal is raised or closed, or until timeout_ms have passed (0: no limit), and lowers the signal. */
void zeb_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms);

/* Ends all waits for the signal. Once the function has returned, no wait reads the block any more, and the caller may
 * free the block. */
void zeb_signal_close(zeb_cci_os_params *os_params);

/* To be called in a child of fork, before any other function. */
void zeb_signal_forget_parent();

#endif
