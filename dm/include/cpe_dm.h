/* CPE DM: diagnostic monitor of an LTE/5G modem.
 *
 * One user at a time registers with cpe_dm_init. The user asks for metrics of the serving and the neighbouring cells,
 * and sets the indications that it wants to get. Indications, and the results of scans for neighbours, come to the
 * user's callback.
 *
 * Calling order: cpe_dm_init first; every other operation between a successful cpe_dm_init and cpe_dm_deinit;
 * cpe_dm_init again only after cpe_dm_deinit.
 *
 * Threads: every operation may be called from any thread. The module does one thing at a time: it carries out one
 * operation, or it runs the callback. Operations are carried out in the order in which they were called. An operation
 * sends the modem up to three requests, and other operations and events wait until the requests are answered.
 * cpe_dm_get_info_list sends up to three requests for each record, and lets waiting operations and events run between
 * two records. The modem usually answers within milliseconds. An operation waits for an answer for 50 s at
 * most. But cpe_dm_init waits for the modem without limit, and other operations wait meanwhile. An event waits for one
 * operation at most, however many threads call operations. An operation waits for 16 events in a row at most. An
 * operation that is called while cpe_dm_deinit is in progress waits until cpe_dm_deinit has ended.
 *
 * The module has one thread of its own, the command thread, which runs the callback. All signals are blocked in this
 * thread except SIGABRT and the signals by which the kernel reports a fault of the thread itself, such as SIGSEGV. A
 * program that is started from the callback inherits this signal mask, and has to unblock the signals that it needs.
 *
 * Fork: a registration belongs to the process that made it. In a child process every operation returns
 * CPE_DM_ERR_NOT_INITIALIZED until cpe_dm_init is called there; a handle of 0, a null argument, a count below 1 or a
 * record of the wrong info type still gives CPE_DM_ERR_INVALID_PARAM. cpe_dm_init in the child leaves the parent's
 * registration alone and makes a new registration, provided that the platform's libraries work in a child. So a daemon
 * calls cpe_dm_init after daemon(), not before.
 *
 * Plug-ins: code that is going to be unloaded calls cpe_dm_deinit first. If dlclose unmaps the module while its command
 * thread still exists, the program crashes.
 *
 * Status: every operation returns a cpe_dm_status. Any operation but cpe_dm_init may return
 *   CPE_DM_ERR_INVALID_PARAM    the handle is 0 or not that of the current registration, or an argument does
 *                               not meet the requirements of the operation;
 *   CPE_DM_ERR_NOT_INITIALIZED  the handle is that of a registration whose cpe_dm_deinit failed half-way, or the
 *                               process is a child of fork;
 *   CPE_DM_ERR_FAILURE          a system primitive failed, or the operation was called from the callback.
 * Each operation lists the statuses that it may return besides these. What an operation stores for the caller is valid
 * only when the status is 0.
 *
 * Coverage: while neither LTE nor NR 5G is in service, a request for any metric but the registration status returns
 * CPE_DM_ERR_SERVICE_UNAVAILABLE. This is not an error: ask again later, or set the registration status indication and
 * wait for its event.
 *
 * Restart: a restart of the modem is not announced. While the modem is away, every operation that sends the modem a
 * request returns CPE_DM_ERR_FAILURE, at once or when the time limit of the request has passed. No event comes, and the
 * response of a scan that was outstanding never comes. The indications stay set in the module; whether they are still
 * set in the modem after its restart depends on the platform. So when operations keep returning CPE_DM_ERR_FAILURE:
 *   - call cpe_dm_deinit, then cpe_dm_init, which waits until the modem is back and gives a new handle;
 *   - read the registration status, because only later changes of it are delivered;
 *   - set the indications again.
 * When the modem restarts between two operations, no status tells of it. So a user that depends on events does two
 * things:
 *   - after any CPE_DM_ERR_FAILURE it sets its indications again;
 *   - from time to time it asks for the values themselves. When a value differs from the value delivered last by more
 *     than its threshold, the user sets the indications again.
 * A user may also set the indications from time to time without a look at the values. But this may hide slow changes:
 * at each setting the modem begins anew to measure changes, from the value of that moment on. A slow change may never
 * reach the threshold between two settings. */
#ifndef CPE_DM_H
#define CPE_DM_H

#include <stdint.h>

#define CPE_DM_VERSION_MAJOR  1
#define CPE_DM_VERSION_MINOR  1
#define CPE_DM_VERSION_PATCH  0
#define CPE_DM_VERSION_STRING "1.1.0"

#ifdef __cplusplus
extern "C" {
#endif

/* Identifies one registration of a user. A valid handle is never null. */
typedef void *cpe_dm_hndl;

typedef enum {
    CPE_DM_SUCCESS = 0,
    CPE_DM_ERR_FAILURE = -1,              /* a lower layer failed */
    CPE_DM_ERR_INVALID_PARAM = -2,        /* null or wrong handle, null record or list, zero count, wrong info type,
                                             missing result record, missing or too small threshold */
    CPE_DM_ERR_NO_MEMORY = -3,            /* a memory allocation failed */
    CPE_DM_ERR_LIST_TOO_SMALL = -4,       /* more indications are set than the list has entries */
    CPE_DM_ERR_SCAN_ONGOING = -5,         /* a neighbour scan is in progress; wait for its response. A scan whose
                                             response never comes blocks further scans until cpe_dm_deinit */
    CPE_DM_ERR_NOT_SUPPORTED = -7,        /* no such metric or indication. cpe_dm_set_ctrl_info has nothing
                                             to set, and returns this status for every ID */
    CPE_DM_ERR_NOT_INITIALIZED = -12,     /* cpe_dm_deinit failed half-way, or the process is a child of fork */
    CPE_DM_ERR_ALREADY_INITIALIZED = -13, /* a user is registered already */
    CPE_DM_ERR_SERVICE_UNAVAILABLE = -16, /* neither LTE nor NR 5G is in service; try again later */
    CPE_DM_ERR_INFO_UNAVAILABLE = -17,    /* the modem answered without the value asked for */
} cpe_dm_status;

/* What a cpe_dm_info record is used for. */
typedef enum {
    CPE_DM_INFO_TYPE_REQUEST = 1,   /* a metric request and its answer */
    CPE_DM_INFO_TYPE_ASYNC_RSP = 2, /* the response to a neighbour scan, given to the callback */
    CPE_DM_INFO_TYPE_IND = 3,       /* an indication that the user sets, or one given to the callback */
} cpe_dm_info_type;

/* Metrics. The comment behind a metric names the value type (CPE_DM_VALUE_...) and the range of the value that a
 * successful request stores in the record. RSRP is in dBm, RSRQ in dB, SINR in 0.1 dB (125 is 12.5 dB) and TX power in
 * 0.1 dBm, as the modem's network access service reports them.
 *
 * The modem may report an NR 5G cell and leave out some of the cell's values. A request for a value that was left out
 * succeeds with the value 0. So an NR ARFCN, CGI, PLMN or TAC of 0 was not reported. A PCI of 0 was not reported if the
 * CGI is 0 as well. The exception is registration status CPE_DM_REG_LTE_NR5G: in this status the PCI comes from another
 * message of the modem, and a PCI of 0 is a valid PCI.
 *
 * A neighbour metric (CPE_DM_METRIC_..._NBR_...) gives no value: its request starts a network scan. The response to the
 * scan comes to the callback and holds the neighbour metrics that were asked for. */
typedef enum {
    CPE_DM_METRIC_INVALID = 0,
    CPE_DM_METRIC_REG_STATUS = 1,       /* UINT32: a cpe_dm_reg_status */
    CPE_DM_METRIC_LTE_EARFCN = 2,       /* INT64, 0 to 65535 */
    CPE_DM_METRIC_NR5G_EARFCN = 3,      /* INT64, range of uint32_t; the NR ARFCN, or 0 when it was not reported */
    CPE_DM_METRIC_LTE_PCI = 4,          /* INT64, range of uint16_t */
    CPE_DM_METRIC_NR5G_PCI = 5,         /* INT64, range of uint16_t */
    CPE_DM_METRIC_LTE_CGI = 6,          /* INT64, range of uint32_t */
    CPE_DM_METRIC_NR5G_CGI = 7,         /* INT64: the bits of a uint64_t; cast the value to uint64_t */
    CPE_DM_METRIC_LTE_PLMN = 8,         /* INT64_LIST, 3 entries: the bytes of the PLMN ID in order, 0 to 255 each */
    CPE_DM_METRIC_NR5G_PLMN = 9,        /* INT64_LIST, 3 entries, as for the LTE PLMN */
    CPE_DM_METRIC_LTE_RSRP = 10,        /* INT64, range of int16_t, dBm */
    CPE_DM_METRIC_NR5G_RSRP = 11,       /* INT64, range of int16_t, dBm */
    CPE_DM_METRIC_LTE_RSRQ = 12,        /* INT64, range of int8_t, dB */
    CPE_DM_METRIC_NR5G_RSRQ = 13,       /* INT64, range of int16_t, dB */
    CPE_DM_METRIC_LTE_SINR = 14,        /* INT64, range of int16_t, 0.1 dB */
    CPE_DM_METRIC_NR5G_SINR = 15,       /* INT64, range of int16_t, 0.1 dB */
    CPE_DM_METRIC_LTE_CQI = 16,         /* CQI_INFO: fills the caller's cpe_dm_lte_cqi_info */
    CPE_DM_METRIC_NR5G_CQI = 17,        /* CQI_INFO: fills the caller's cpe_dm_nr5g_cqi_info */
    CPE_DM_METRIC_LTE_TAC = 18,         /* INT64, range of uint16_t */
    CPE_DM_METRIC_NR5G_TAC = 19,        /* INT64_LIST, 3 entries: the bytes of the TAC in order, 0 to 255 each */
    CPE_DM_METRIC_LTE_TX_POWER = 20,    /* INT64, range of int32_t, 0.1 dBm */
    CPE_DM_METRIC_NR5G_TX_POWER = 21,   /* INT64, range of int32_t, 0.1 dBm */
    CPE_DM_METRIC_LTE_NBR_EARFCN = 22,  /* the values of all LTE_NBR metrics come in CPE_DM_ASYNC_RSP_LTE_NBR */
    CPE_DM_METRIC_NR5G_NBR_EARFCN = 23, /* the values of all NR5G_NBR metrics come in CPE_DM_ASYNC_RSP_NR5G_NBR */
    CPE_DM_METRIC_LTE_NBR_PCI = 24,
    CPE_DM_METRIC_NR5G_NBR_PCI = 25,
    CPE_DM_METRIC_LTE_NBR_CGI = 26,
    CPE_DM_METRIC_NR5G_NBR_CGI = 27,
    CPE_DM_METRIC_LTE_NBR_PLMN = 28,
    CPE_DM_METRIC_NR5G_NBR_PLMN = 29,
    CPE_DM_METRIC_LTE_NBR_RSRP = 30,
    CPE_DM_METRIC_NR5G_NBR_RSRP = 31,
    CPE_DM_METRIC_LTE_NBR_RSRQ = 32,
    CPE_DM_METRIC_LTE_CELL_LOCK_LIST = 33,  /* CELL_LOCK_LIST: fills the caller's cpe_dm_lte_cell_lock_list */
    CPE_DM_METRIC_NR5G_CELL_LOCK_LIST = 34, /* CELL_LOCK_LIST: fills the caller's cpe_dm_nr5g_cell_lock_list */
    CPE_DM_METRIC_CNT,
} cpe_dm_metric_id;

/* Indications. The registration status indication is set without a value, and is delivered with a value of type UINT32:
 * the new cpe_dm_reg_status. Every other indication is set with a threshold (INT64, at least 1): the change of the
 * metric after which the modem reports. The indication is delivered with a value of type INT64: the new value of the
 * metric. Threshold and value have the unit of the metric of the same name.
 *
 * A threshold only decides when the modem reports. A report carries all signal values that the modem has at that
 * moment. From each report the module delivers every indication that is set and whose value differs from the value
 * delivered last, even if it differs by less than the threshold. Setting an indication, for the first time or again,
 * resets the value delivered last to 0. So the next report delivers the indication, changed or not, unless its value is
 * 0. */
typedef enum {
    CPE_DM_IND_INVALID = 0,
    CPE_DM_IND_REG_STATUS = 1,
    CPE_DM_IND_LTE_RSRP = 2,
    CPE_DM_IND_NR5G_RSRP = 3,
    CPE_DM_IND_LTE_RSRQ = 4,
    CPE_DM_IND_NR5G_RSRQ = 5,
    CPE_DM_IND_LTE_SINR = 6,
    CPE_DM_IND_NR5G_SINR = 7,
    CPE_DM_IND_CNT,
} cpe_dm_ind_id;

/* Asynchronous responses: the results of neighbour scans, given to the callback. The comment behind an ID names the
 * value type of a response with data. */
typedef enum {
    CPE_DM_ASYNC_RSP_INVALID = 0,
    CPE_DM_ASYNC_RSP_LTE_NBR = 1,  /* CPE_DM_VALUE_LTE_NBR_INFO */
    CPE_DM_ASYNC_RSP_NR5G_NBR = 2, /* CPE_DM_VALUE_NR5G_NBR_INFO */
    CPE_DM_ASYNC_RSP_CNT,
} cpe_dm_async_rsp_id;

/* Which member of the union cpe_dm_info.value is in use. The meaning of the member follows from the record's ID. */
typedef enum {
    CPE_DM_VALUE_NONE = 0,           /* no member; in a record given to the callback: an event without data */
    CPE_DM_VALUE_INT64 = 2,          /* i64_val */
    CPE_DM_VALUE_UINT32 = 4,         /* u32_val */
    CPE_DM_VALUE_INT64_LIST = 6,     /* i64_list, with value_cnt entries */
    CPE_DM_VALUE_CQI_INFO = 7,       /* cqi_info, pointing to the caller's record */
    CPE_DM_VALUE_CELL_LOCK_LIST = 8, /* lte_cell_lock_list or nr5g_cell_lock_list, pointing to the caller's record */
    CPE_DM_VALUE_LTE_NBR_INFO = 9,   /* lte_nbr_info, pointing to a record allocated by the module */
    CPE_DM_VALUE_NR5G_NBR_INFO = 10, /* nr5g_nbr_info, pointing to a record allocated by the module */
} cpe_dm_value_type;

/* Registration status. In CPE_DM_REG_LTE, CPE_DM_REG_LTE_NR5G and CPE_DM_REG_NR5G all metrics can be requested. In any
 * other status only the registration status itself can be requested. */
typedef enum {
    CPE_DM_REG_NONE = 1,        /* no service; none of the next three values applies */
    CPE_DM_REG_POWER_SAVE = 2,  /* no service; the modem reports service status 4, power save */
    CPE_DM_REG_LIMITED = 3,     /* no service; the modem reports service status 1, limited */
    CPE_DM_REG_LIMITED_REG = 4, /* no service; the modem reports service status 3, limited regional */
    CPE_DM_REG_LTE = 5,         /* LTE in service */
    CPE_DM_REG_LTE_NR5G = 6,    /* LTE in service with an NR 5G cell attached (EN-DC) */
    CPE_DM_REG_NR5G = 7,        /* NR 5G in service */
} cpe_dm_reg_status;

/* Capacities of the lists in the records below. A list never holds more entries than its capacity. The count of a
 * list says how many of its entries are valid. */
enum {
    CPE_DM_I64_LIST_MAX = 20,
    CPE_DM_LTE_CC_MAX = 7,
    CPE_DM_NR5G_CC_MAX = 12,
    CPE_DM_CW_MAX = 4,
    CPE_DM_LTE_CELL_LOCK_MAX = 60,
    CPE_DM_NR5G_ARFCN_LOCK_MAX = 32,
    CPE_DM_LTE_NBR_MAX = 5,
    CPE_DM_LTE_NBR_PLMN_MAX = 6,
    CPE_DM_NR5G_NBR_MAX = 10,
    CPE_DM_NR5G_NBR_PLMN_MAX = 12,
    CPE_DM_NR5G_NBR_CGI_MAX = 12,
};

/* CQI of the codewords of one component carrier. */
typedef struct {
    uint32_t cw_cqi_len;           /* valid entries of cw_cqi */
    uint8_t cw_cqi[CPE_DM_CW_MAX]; /* CQI index of each codeword, in order */
} cpe_dm_cw_cqi;

/* CQI of the LTE serving cells, one entry for each component carrier. */
typedef struct {
    uint8_t cc_cqi_valid; /* 1 when the module filled the record */
    uint32_t cc_cqi_len;  /* valid entries of cc_cqi */
    cpe_dm_cw_cqi cc_cqi[CPE_DM_LTE_CC_MAX];
} cpe_dm_lte_cqi_info;

/* CQI of the NR 5G serving cells. The fields have the same meanings as in cpe_dm_lte_cqi_info. */
typedef struct {
    uint8_t cc_cqi_valid;
    uint32_t cc_cqi_len;
    cpe_dm_cw_cqi cc_cqi[CPE_DM_NR5G_CC_MAX];
} cpe_dm_nr5g_cqi_info;

typedef struct {
    uint16_t pci;
    uint16_t freq; /* EARFCN */
} cpe_dm_lte_cell_lock;

/* The LTE cells to which the modem is locked. */
typedef struct {
    uint8_t lte_cell_list_valid; /* not 0: the modem reported a list */
    uint8_t lte_cell_list_len;   /* valid entries of lte_cell_list; 0: there is no lock */
    cpe_dm_lte_cell_lock lte_cell_list[CPE_DM_LTE_CELL_LOCK_MAX];
} cpe_dm_lte_cell_lock_list;

/* The NR 5G cell or the NR 5G channels to which the modem is locked. */
typedef struct {
    uint8_t cell_identity_valid; /* 1: the modem is locked to the cell with pci and arfcn below */
    uint16_t pci;
    uint32_t arfcn;               /* NR ARFCN */
    uint8_t arfcn_identity_valid; /* 1: the modem is locked to the channels in arfcn_list */
    uint32_t arfcn_list_len;      /* valid entries of arfcn_list */
    uint32_t arfcn_list[CPE_DM_NR5G_ARFCN_LOCK_MAX];
} cpe_dm_nr5g_cell_lock_list;

typedef struct {
    uint16_t plmn_mcc;
    uint16_t plmn_mnc;
    uint8_t plmn_mnc_includes_pcs_digit; /* 1: the MNC has three digits */
} cpe_dm_plmn;

/* One LTE neighbour. CGI and PLMNs are filled only when the caller asked for these metrics. */
typedef struct {
    uint32_t earfcn;
    uint16_t pci;
    uint8_t cgi_valid;
    uint32_t cgi;
    uint8_t plmn_valid;
    uint32_t plmn_len; /* valid entries of plmn */
    cpe_dm_plmn plmn[CPE_DM_LTE_NBR_PLMN_MAX];
} cpe_dm_lte_nbr;

/* Payload of CPE_DM_ASYNC_RSP_LTE_NBR. The neighbour list is filled when EARFCN, PCI, CGI or PLMN was asked for and the
 * scan found a neighbour. The highest_sig fields describe the neighbour with the strongest signal, and are filled when
 * RSRP or RSRQ was asked for. The modem reports the RSRP and RSRQ of this neighbour apart from its list of neighbours.
 * The EARFCN and PCI are those of the first neighbour in this list; both are 0 when the scan found no neighbour. */
typedef struct {
    uint8_t nbr_valid; /* 1: the neighbour list was filled */
    uint32_t nbr_len;  /* valid entries of nbr */
    cpe_dm_lte_nbr nbr[CPE_DM_LTE_NBR_MAX];
    uint8_t highest_sig_valid;   /* 1: RSRP or RSRQ was asked for */
    uint32_t highest_sig_earfcn; /* 0 when the scan found no neighbour */
    uint16_t highest_sig_pci;
    uint8_t highest_sig_rsrp_valid;
    int16_t highest_sig_rsrp; /* dBm */
    uint8_t highest_sig_rsrq_valid;
    int16_t highest_sig_rsrq; /* dB */
} cpe_dm_lte_nbr_info;

/* One NR 5G neighbour. RSRP, PLMNs and CGIs are filled only when the caller asked for these metrics. */
typedef struct {
    uint32_t earfcn; /* NR ARFCN */
    uint16_t pci;
    uint8_t rsrp_valid;
    int16_t rsrp; /* dBm */
    uint8_t plmn_valid;
    uint32_t plmn_len; /* valid entries of plmn */
    cpe_dm_plmn plmn[CPE_DM_NR5G_NBR_PLMN_MAX];
    uint8_t cgi_valid;
    uint32_t cgi_len; /* valid entries of cgi */
    uint64_t cgi[CPE_DM_NR5G_NBR_CGI_MAX];
} cpe_dm_nr5g_nbr;

/* Payload of CPE_DM_ASYNC_RSP_NR5G_NBR. */
typedef struct {
    uint8_t nbr_valid; /* 1: the neighbour list was filled */
    uint32_t nbr_len;  /* valid entries of nbr */
    cpe_dm_nr5g_nbr nbr[CPE_DM_NR5G_NBR_MAX];
} cpe_dm_nr5g_nbr_info;

/* The record that carries requests, answers, indications and responses. The caller of an operation zeroes the whole
 * record, and then fills in the fields that the comment of the operation names. */
typedef struct {
    uint32_t info_type;  /* a cpe_dm_info_type */
    uint32_t id;         /* a cpe_dm_metric_id, cpe_dm_async_rsp_id or cpe_dm_ind_id, as info_type says */
    uint32_t value_type; /* a cpe_dm_value_type; set by the module. For a threshold it is set by the caller */
    union {
        uint32_t u32_val;
        int64_t i64_val;
        int64_t i64_list[CPE_DM_I64_LIST_MAX];
        void *cqi_info; /* a cpe_dm_lte_cqi_info or a cpe_dm_nr5g_cqi_info, as the ID says */
        cpe_dm_lte_cell_lock_list *lte_cell_lock_list;
        cpe_dm_nr5g_cell_lock_list *nr5g_cell_lock_list;
        cpe_dm_lte_nbr_info *lte_nbr_info;
        cpe_dm_nr5g_nbr_info *nr5g_nbr_info;
    } value;
    uint32_t value_cnt; /* valid entries of i64_list */
} cpe_dm_info;

/* The user's callback. hndl is the handle of the current registration. info is a record of type
 * CPE_DM_INFO_TYPE_ASYNC_RSP or CPE_DM_INFO_TYPE_IND. user_data is the pointer that was given to cpe_dm_init.
 *
 * Threading: the callback runs on the module's command thread, for one event after the other. No operation is
 * carried out while the callback runs, so the callback should return quickly. The callback must not call any
 * operation of the module: such a call is refused with CPE_DM_ERR_FAILURE. Nor may it wait for another thread that
 * calls an operation: both threads would wait for ever. The callback must not throw.
 *
 * Ownership: the record now belongs to the callback, which releases it with free. If the record is a response with
 * data, its value points to a neighbour record, which the callback releases with free as well. Both records were
 * allocated with calloc for this call of the callback alone.
 *
 * A record whose value type is CPE_DM_VALUE_NONE reports an event without data. A response without data means that the
 * scan did not succeed. */
typedef void (*cpe_dm_user_cb)(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

/* Registers the user and connects to the modem. Only one user can be registered at a time. Waits without limit until
 * the modem's network access service is present. This wait cannot be cancelled, and other operations wait meanwhile. On
 * success stores the new handle in *hndl. user_data may be null; every call of the callback gets it.
 *
 *   CPE_DM_ERR_INVALID_PARAM        hndl or user_cb_fn is null
 *   CPE_DM_ERR_ALREADY_INITIALIZED  a user is registered already, and stays registered
 *   CPE_DM_ERR_FAILURE              the connection, the first system information query, the command thread or a system
 *                                   primitive failed, or the operation was called from the callback
 *   CPE_DM_ERR_NO_MEMORY            a memory allocation failed
 * A call that fails registers nothing. */
int32_t cpe_dm_init(cpe_dm_hndl *hndl, void *user_data, cpe_dm_user_cb user_cb_fn);

/* Ends the registration. Once the operation has returned 0, no callback is running or will run, and the handle is
 * invalid. Events that were still queued have been released without delivery. The indications that were set and an
 * outstanding scan are forgotten.
 *
 *   CPE_DM_ERR_FAILURE  the modem connection or the command queue could not be taken down. From then on operations with
 *                       this handle return CPE_DM_ERR_NOT_INITIALIZED, and the next cpe_dm_init cleans up before it
 *                       starts anew. When the operation was called from the callback, or could not take the
 *                       module's lock at its beginning, nothing has changed */
int32_t cpe_dm_deinit(cpe_dm_hndl hndl);

/* Retrieves one metric. The caller sets `info_type` to CPE_DM_INFO_TYPE_REQUEST and `id` to a cpe_dm_metric_id. For CQI
 * and cell lock lists the caller also stores in `value` a pointer to a zeroed record of its own; the module does not
 * keep this pointer. The module sets `value_type` and `value`. For a neighbour metric the module starts a scan instead
 * and leaves the record unchanged. While a scan is outstanding, further requests for neighbour metrics are refused.
 *
 *   CPE_DM_ERR_INVALID_PARAM        wrong handle, dm_info is null or not a request, or its result record is missing
 *   CPE_DM_ERR_SERVICE_UNAVAILABLE  neither LTE nor NR 5G is in service (any metric but the registration status)
 *   CPE_DM_ERR_NOT_SUPPORTED        no such metric
 *   CPE_DM_ERR_INFO_UNAVAILABLE     the modem did not report the metric, or the metric's technology is not in service;
 *                                   value_type is CPE_DM_VALUE_NONE
 *   CPE_DM_ERR_SCAN_ONGOING         a neighbour metric was asked for while a scan is outstanding
 *   CPE_DM_ERR_FAILURE              the modem did not answer or refused a request; or CQI was asked for, and the modem
 *                                   went out of service during the call
 *   CPE_DM_ERR_NO_MEMORY            a memory allocation failed; in the query for EARFCN, PCI, CGI, PLMN and TAC the
 *                                   status is CPE_DM_ERR_FAILURE instead */
int32_t cpe_dm_get_info(cpe_dm_hndl hndl, cpe_dm_info *dm_info);

/* Retrieves dm_info_list_cnt (at least 1) metrics, in the order of the list. The caller prepares each record as for
 * cpe_dm_get_info. Other operations and callbacks may run between two records.
 *
 * The first record that fails ends the operation with that record's status. The records before it keep their values,
 * and no scan is started. A metric that does not exist is skipped and is no failure, with one exception: if it is the
 * last of the list, and the list has no neighbour metric, the operation returns CPE_DM_ERR_NOT_SUPPORTED.
 *
 * The neighbour metrics of the list are requested together after the other records. When the list has both LTE and
 * NR 5G neighbour metrics, LTE is scanned first, and NR 5G after the response of the LTE scan. For neighbour metrics
 * the operation tests neither whether the modem is in service nor the info_type of the record.
 *
 * The statuses are those of cpe_dm_get_info. CPE_DM_ERR_SCAN_ONGOING means that the list has a neighbour metric while a
 * scan is outstanding. In this case no record has been processed, unless another thread started the scan while the list
 * was being processed. */
int32_t cpe_dm_get_info_list(cpe_dm_hndl hndl, cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt);

/* Sets one indication, or replaces its threshold. The caller sets info_type to CPE_DM_INFO_TYPE_IND and id to a
 * cpe_dm_ind_id. For all indications but the registration status the caller also sets value_type to CPE_DM_VALUE_INT64
 * and i64_val to the threshold, of which the low 16 bits are used. On failure the module's indications are as before,
 * but the modem may hold part of the failed change until a later change succeeds.
 *
 *   CPE_DM_ERR_INVALID_PARAM  wrong handle, dm_ind_info is null or not an indication, or its threshold is missing or
 *                             below 1
 *   CPE_DM_ERR_NOT_SUPPORTED  no such indication
 *   CPE_DM_ERR_FAILURE        the modem did not answer, or refused the change. The thresholds are sent in a second
 *                             request; the module does not notice when the modem refuses this one
 *   CPE_DM_ERR_NO_MEMORY      a memory allocation failed */
int32_t cpe_dm_set_ind_info(cpe_dm_hndl hndl, const cpe_dm_info *dm_ind_info);

/* Stores in *dm_ind_cnt the number of indications that are set, 0 to 7.
 *
 *   CPE_DM_ERR_INVALID_PARAM  wrong handle, or dm_ind_cnt is null */
int32_t cpe_dm_get_ind_cnt(cpe_dm_hndl hndl, uint32_t *dm_ind_cnt);

/* Stores in dm_ind_list the IDs of the indications that are set, in the order 1, 2, 4, 6, 3, 5, 7. The list has
 * dm_ind_list_cnt entries; unused entries become 0. A list of 7 entries always suffices.
 *
 *   CPE_DM_ERR_INVALID_PARAM   wrong handle, dm_ind_list is null, or dm_ind_list_cnt is 0
 *   CPE_DM_ERR_LIST_TOO_SMALL  more indications are set than the list has entries; the list is not written */
int32_t cpe_dm_get_ind_list(cpe_dm_hndl hndl, uint32_t *dm_ind_list, uint32_t dm_ind_list_cnt);

/* Clears the indications whose IDs are in the list of dm_clr_ind_list_cnt entries. The list may name indications that
 * are not set. On failure no indication is cleared in the module, but the modem may hold part of the failed change
 * until a later change succeeds.
 *
 *   CPE_DM_ERR_INVALID_PARAM  wrong handle, dm_clr_ind_list is null, or dm_clr_ind_list_cnt is 0
 *   CPE_DM_ERR_NOT_SUPPORTED  the list names an indication that does not exist
 *   CPE_DM_ERR_FAILURE        the modem did not answer, or refused the change. The thresholds are sent in a second
 *                             request; the module does not notice when the modem refuses this one
 *   CPE_DM_ERR_NO_MEMORY      a memory allocation failed */
int32_t cpe_dm_clr_ind_list(cpe_dm_hndl hndl, const int32_t *dm_clr_ind_list, uint32_t dm_clr_ind_list_cnt);

/* The module has no control settings: this operation only checks its arguments.
 *
 *   CPE_DM_ERR_INVALID_PARAM  wrong handle, or dm_ctrl_info is null
 *   CPE_DM_ERR_NOT_SUPPORTED  the arguments are valid */
int32_t cpe_dm_set_ctrl_info(cpe_dm_hndl hndl, const cpe_dm_info *dm_ctrl_info);

/* The display name of a metric, an indication or a response, as a static text. An ID that does not exist gets the name
 * of ID 0. Callable at any time, from any thread, also from the callback. */
const char *cpe_dm_metric_name(uint32_t id);
const char *cpe_dm_ind_name(uint32_t id);
const char *cpe_dm_async_rsp_name(uint32_t id);

/* Says in a few words what a status means. The text is static and has no newline. A number that is no status gets a
 * text too. Callable at any time, from any thread, also from the callback. */
const char *cpe_dm_strerror(int32_t status);

#ifdef __cplusplus
}
#endif

#endif
