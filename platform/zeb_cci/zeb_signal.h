/* The operating-system signal that lives in a caller's OS-parameter block. A child of fork has none of its parent's
 * signals: their blocks are free to be used again. */
#ifndef ZEB_SIGNAL_H
#define ZEB_SIGNAL_H

#include "zeb_service.h"

/* Makes the block a lowered signal. Returns false, with the block untouched, when it is a signal already. */
bool zeb_signal_open(zeb_cci_os_params *os_params);

/* Ends the wait that runs, or else the next one. */
void zeb_signal_raise(zeb_cci_os_params *os_params);

/* Ends all waits for the signal. When the function has returned, none of them reads the block any more: the caller may
 * free it. */
void zeb_signal_close(zeb_cci_os_params *os_params);

/* To be called in a child of fork, before any other function. */
void zeb_signal_forget_parent();

#endif
