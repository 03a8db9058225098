/* The module's inside: its state, its lock, and what the files of the interface share. */
#ifndef CPE_DM_INTERFACE_H
#define CPE_DM_INTERFACE_H

#include "cpe_dm.h"
#include "cpe_dm_cmdq.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <pthread.h>

/* A threshold that the user set for one serving-cell metric. */
struct cpe_dm_ind_threshold {
    uint8_t valid;      /* the indication is set */
    uint16_t delta;     /* change after which the modem reports the metric */
    int32_t last_value; /* last value given to the user; 0 when the entry is set or cleared */
};

/* The indication table. */
struct cpe_dm_nas_ind_info {
    uint8_t reg_status; /* the registration status indication is set */
    cpe_dm_ind_threshold lte_rsrp;
    cpe_dm_ind_threshold lte_rsrq;
    cpe_dm_ind_threshold lte_sinr;
    cpe_dm_ind_threshold nr5g_rsrp;
    cpe_dm_ind_threshold nr5g_rsrq;
    cpe_dm_ind_threshold nr5g_sinr;
};

/* The one state record. Guarded by cpe_dm_lock, but for `initialized`, which is atomic, and for the queue, which guards
 * itself while it is up. */
struct cpe_dm_state_record {
    cpe_dm_hndl hndl; /* handle of the registered client; 0 while there is none */
    cpe_dm_cmdq cmdq;
    uint8_t initialized; /* atomic; 1 from the end of cpe_dm_init to the start of cpe_dm_deinit */
    void *user_data;
    cpe_dm_user_cb user_cb_fn;
    cpe_dm_nas_ind_info ind_info;
    uint8_t lte_scan_request; /* a scan was asked for and its result not delivered yet */
    uint8_t lte_scan_ongoing; /* the modem accepted it */
    uint8_t lte_nbr_earfcn;   /* what it was asked for: */
    uint8_t lte_nbr_pci;
    uint8_t lte_nbr_cgi;
    uint8_t lte_nbr_plmn;
    uint8_t lte_nbr_rsrp;
    uint8_t lte_nbr_rsrq;
    uint8_t nr5g_scan_request; /* as for LTE */
    uint8_t nr5g_scan_ongoing;
    uint8_t nr5g_nbr_earfcn;
    uint8_t nr5g_nbr_pci;
    uint8_t nr5g_nbr_cgi;
    uint8_t nr5g_nbr_plmn;
    uint8_t nr5g_nbr_rsrp;
};

enum {
    CPE_DM_CMDQ_MAX = 100,
};

/* The row of a table whose first column is the ID, or null. */
template <typename Row, size_t N> const Row *cpe_dm_find_row(const Row (&rows)[N], uint32_t id) {
    const Row *row = std::find_if(std::begin(rows), std::end(rows), [id](const Row &r) { return r.id == id; });
    return row != std::end(rows) ? row : nullptr;
}

extern cpe_dm_state_record cpe_dm_state;
extern pthread_mutex_t cpe_dm_lock;

/* Holds cpe_dm_lock from cpe_dm_enter (or cpe_dm_guard_take) to the end of the scope. */
struct cpe_dm_guard {
    bool held = false;
    cpe_dm_guard() = default;
    cpe_dm_guard(const cpe_dm_guard &) = delete;
    cpe_dm_guard &operator=(const cpe_dm_guard &) = delete;
    ~cpe_dm_guard();
};

/* Take and give back the lock. They return 0, or -1 with the lock as it was; a release that fails is tried twice. */
int32_t cpe_dm_guard_take(cpe_dm_guard &guard);
int32_t cpe_dm_guard_give(cpe_dm_guard &guard);

/* The entry check of every public operation but cpe_dm_init. Takes the lock, having waited for a de-initialisation in
 * progress, and returns
 *   CPE_DM_SUCCESS              the caller may go on;
 *   CPE_DM_ERR_INVALID_PARAM    hndl is not the current handle, or args_valid is false; the caller logs its line;
 *   CPE_DM_ERR_NOT_INITIALIZED  logged;
 *   CPE_DM_ERR_FAILURE          the lock could not be taken; logged. */
int32_t cpe_dm_enter(cpe_dm_guard &guard, cpe_dm_hndl hndl, bool args_valid);

/* `initialized`, read from any thread. */
bool cpe_dm_is_initialized();

/* Fields of the modem's records are named by offset and type, so that tables can list them. */
enum cpe_dm_field_type : uint8_t {
    CPE_DM_FIELD_U8,
    CPE_DM_FIELD_I8,
    CPE_DM_FIELD_U16,
    CPE_DM_FIELD_I16,
    CPE_DM_FIELD_U32,
    CPE_DM_FIELD_I32,
    CPE_DM_FIELD_U64, /* the 64 bits as they are */
};

struct cpe_dm_field {
    uint16_t offset;
    cpe_dm_field_type type;
};

/* The field of a record, widened with its sign. */
int64_t cpe_dm_read_field(const void *record, cpe_dm_field field);

/* A count that came from the modem, cut to the room of its own list and of the list that it is copied to. */
inline uint32_t cpe_dm_bounded(uint32_t count, size_t room, size_t room_of_copy = SIZE_MAX) {
    return static_cast<uint32_t>(std::min({static_cast<size_t>(count), room, room_of_copy}));
}

/* Copies into the caller's record the metric of its id from the record that the modem's answer filled, which is of the
 * type that holds this metric. For CQI and cell lock lists the value points to the caller's record. Returns
 * CPE_DM_ERR_INFO_UNAVAILABLE (logged) when the answer lacks it, with value_type CPE_DM_VALUE_NONE;
 * CPE_DM_ERR_NOT_SUPPORTED for an ID that no answer serves. */
int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record);

/* Notes in the state, under the lock, that a neighbour metric was asked for. Returns 0, or CPE_DM_ERR_NOT_SUPPORTED
 * when the ID is not that of a neighbour metric. */
int32_t cpe_dm_mark_nbr_metric(uint32_t id);

/* The indications with a threshold, in the order in which they are listed and reported. */
struct cpe_dm_threshold_row {
    uint32_t id; /* cpe_dm_ind_id */
    cpe_dm_ind_threshold cpe_dm_nas_ind_info::*entry;
    cpe_dm_field valid; /* of a zeb_nas_sig_info */
    cpe_dm_field value;
};

enum {
    CPE_DM_THRESHOLD_CNT = 6,
};

extern const cpe_dm_threshold_row cpe_dm_threshold_rows[CPE_DM_THRESHOLD_CNT];

/* Data of the commands that carry an indication of the modem to the command thread. */
struct zeb_async_data {
    uint32_t zeb_msg_id;
    void *zeb_msg_data; /* u32 registration status, zeb_nas_sig_info or zeb_nas_scan_result_ind, by ID */
};

/* Hands an indication to the command thread; called on the framework's thread. zeb_msg_data, from calloc, belongs to
 * this call, unless it returns CPE_DM_ERR_INVALID_PARAM: it travels with the command, and on failure it has been
 * released. CPE_DM_ERR_NO_MEMORY: no memory for the command; CPE_DM_ERR_FAILURE: no memory for its data, the module is
 * not initialised, or the queue refused. */
int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data);

/* Waits until no thread is inside cpe_dm_post_nas_msg's use of the queue. Called with `initialized` clear, so that none
 * can enter it again. */
void cpe_dm_wait_for_posters();

/* The routines of such a command; data is its zeb_async_data. */
void cpe_dm_process_nas_msg(cpe_dm_cmd *cmd, void *data);
void cpe_dm_free_nas_msg(cpe_dm_cmd *cmd, void *data);

#endif
