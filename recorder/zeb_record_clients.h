/* The program's clients and notifiers: their numbers in the recording, and their callbacks. The recorder registers
 * callbacks of its own in the place of the program's. Every function may be called from any thread; none of them
 * waits. */
#ifndef ZEB_RECORD_CLIENTS_H
#define ZEB_RECORD_CLIENTS_H

#include "zeb_cci.h"

#include <atomic>

enum {
    ZEB_RECORD_CLIENTS_MAX = 32,
};

/* An entry for a client, a notifier, or a notifier's callback. The platform holds the address of an entry with a
 * callback for as long as the callback may run. */
struct zeb_record_client {
    std::atomic<bool> used;
    std::atomic<zeb_client_handle> handle; /* null until the handle is known */
    std::atomic<uint32_t> number;
    bool own_number; /* false: the entry of a callback, with the number of the callback's notifier */
    zeb_client_ind_cb ind_cb;
    zeb_client_notify_cb notify_cb;
    void *cb_data;
};

/* Takes a free entry and gives it the number `number`, or the next number that was not used yet when `number` is 0.
 * Returns null when no entry is free. */
zeb_record_client *zeb_record_client_add(uint32_t number);

/* Says that a client, a notifier or a callback is not recorded because no entry is free: once on standard error, and
 * each time in the recording. */
void zeb_record_client_unrecorded();

/* Gives an entry back after the platform's call failed. If the entry has a number of its own, the number is given back
 * too, unless a later entry already has the next number. A null entry is allowed. */
void zeb_record_client_undo(zeb_record_client *entry);

/* The number of a client or notifier; 0: unknown. */
uint32_t zeb_record_client_number(zeb_client_handle handle);

/* The first returns the entries that have the handle at this moment, one bit for each entry. The second releases such
 * entries. */
uint32_t zeb_record_client_entries(zeb_client_handle handle);
void zeb_record_client_release(uint32_t entries);

#endif
