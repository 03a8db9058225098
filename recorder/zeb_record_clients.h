/* The program's clients and notifiers: their numbers in the recording, and their callbacks. The recorder registers its
 * own callbacks instead of the program's callbacks. Every function may be called from any thread. Only
 * zeb_record_client_unrecorded can block, because it writes a line to the recording. */
#ifndef ZEB_RECORD_CLIENTS_H
#define ZEB_RECORD_CLIENTS_H

#include "zeb_cci.h"

#include <atomic>

enum {
    ZEB_RECORD_CLIENTS_MAX = 32,
};

/* An entry for a client, a notifier, or a notifier's callback. If the entry holds a callback of the program, the
 * platform calls the recorder's callback instead, and passes the entry's address to the recorder's callback. So the
 * entry must not be reused while the recorder's callback may still run. */
struct zeb_record_client {
    std::atomic<bool> used;
    std::atomic<zeb_client_handle> handle; /* null until the handle is known */
    std::atomic<uint32_t> number;
    bool own_number; /* false: the entry is for a notifier's callback and has the notifier's number */
    zeb_client_ind_cb ind_cb;
    zeb_client_notify_cb notify_cb;
    void *cb_data;
};

/* Takes a free entry and sets its number to `number`. If `number` is 0, the entry gets a new number of its own. Returns
 * null when no entry is free. */
zeb_record_client *zeb_record_client_add(uint32_t number);

/* Reports that a client, a notifier or a callback is not recorded because no entry is free. Every call writes a line to
 * the recording; the first call also prints a line on standard error. */
void zeb_record_client_unrecorded();

/* Frees an entry after the platform's call has failed. If the entry has a number of its own, and no newer number has
 * been given out, the number is taken back: the next entry that needs a number of its own gets it. A null entry is
 * allowed. */
void zeb_record_client_undo(zeb_record_client *entry);

/* Returns the number of a client or notifier, or 0 if the handle is not known. */
uint32_t zeb_record_client_number(zeb_client_handle handle);

/* zeb_record_client_entries returns the entries that have the handle, one bit for each entry. zeb_record_client_release
 * frees the entries whose bits are set. The caller calls zeb_record_client_entries before the platform releases the
 * handle, because right after the release the platform may give the same handle to a new client. */
uint32_t zeb_record_client_entries(zeb_client_handle handle);
void zeb_record_client_release(uint32_t entries);

#endif
