/* The program's clients and notifiers: their numbers in the recording, and the callbacks that the recorder's own stand
 * in for. Every function may be called from any thread; none of them waits. */
#ifndef ZEB_RECORD_CLIENTS_H
#define ZEB_RECORD_CLIENTS_H

#include "zeb_cci.h"

#include <atomic>

enum {
    ZEB_RECORD_CLIENTS_MAX = 32,
};

/* A client, a notifier, or a notifier's callback. The platform has its address for as long as the callback may run. */
struct zeb_record_client {
    std::atomic<bool> used;
    std::atomic<zeb_client_handle> handle; /* null until it is known */
    std::atomic<uint32_t> number;
    bool own_number; /* false: the number of the notifier that this is the callback of */
    zeb_client_ind_cb ind_cb;
    zeb_client_notify_cb notify_cb;
    void *cb_data;
};

/* Takes a free entry, with the number given or, when that is 0, the next. Returns null when there is none. */
zeb_record_client *zeb_record_client_add(uint32_t number);

/* A client, a notifier or a callback goes unrecorded for want of an entry: says so, once on standard error and each
 * time in the recording. */
void zeb_record_client_unrecorded();

/* Gives an entry back that the platform did not take, and its number if it came with one of its own and no later client
 * has the next. entry may be null. */
void zeb_record_client_undo(zeb_record_client *entry);

/* The number of a client or notifier; 0: unknown. */
uint32_t zeb_record_client_number(zeb_client_handle handle);

/* The entries of a handle at this moment, a bit each, and their release. */
uint32_t zeb_record_client_entries(zeb_client_handle handle);
void zeb_record_client_release(uint32_t entries);

#endif
