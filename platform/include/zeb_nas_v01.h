/* ZEB service definitions (libzebservices): the messages of the network access service (NAS) as decoded structures.
 *
 * Each structure names only the fields that are used here; the remainder of the message is reserved and zero. The
 * fields after a *_valid flag are present when the flag is 1. A field *_len is the number of valid entries in the list
 * that follows. */
#ifndef ZEB_NAS_V01_H
#define ZEB_NAS_V01_H

#include "zeb_cci.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the NAS service object for a client that was built against the given version of the service definition. The
 * object is valid until the process ends. Returns null if this library does not have the version, or if memory ran out;
 * after memory ran out a later call may succeed. Our stand-in also returns null if it refuses the scenario or the
 * recording that it was to play. */
zeb_service_object nas_get_service_object_internal_v01(int32_t idl_major_version, int32_t idl_minor_version,
                                                       int32_t library_version);

/* Message IDs. 0x0085 is the ID of a request, and also of the indication that brings its result. */
enum {
    ZEB_NAS_INDICATION_REGISTER = 0x0003,
    ZEB_NAS_GET_CELL_LOCATION_INFO = 0x0043,
    ZEB_NAS_GET_SYS_INFO = 0x004D,
    ZEB_NAS_SYS_INFO_IND = 0x004E,
    ZEB_NAS_GET_SIG_INFO = 0x004F,
    ZEB_NAS_SIG_INFO_IND = 0x0051,
    ZEB_NAS_GET_TX_RX_INFO = 0x005A,
    ZEB_NAS_CONFIG_SIG_INFO = 0x006C,
    ZEB_NAS_PERFORM_INCREMENTAL_SCAN = 0x0085,
    ZEB_NAS_SCAN_RESULT_IND = 0x0085,
    ZEB_NAS_GET_LTE_CELL_LOCK_LIST = 0x00D7,
    ZEB_NAS_GET_NR5G_CELL_LOCK_LIST = 0x010F,
    ZEB_NAS_GET_CQI_INFO = 0x0133,
};

/* Service status of one radio access technology. */
enum {
    ZEB_NAS_SRV_STATUS_NO_SRV = 0,
    ZEB_NAS_SRV_STATUS_LIMITED = 1,
    ZEB_NAS_SRV_STATUS_SRV = 2,
    ZEB_NAS_SRV_STATUS_LIMITED_REGIONAL = 3,
    ZEB_NAS_SRV_STATUS_PWR_SAVE = 4,
};

enum {
    ZEB_NAS_RADIO_IF_LTE = 8,
    ZEB_NAS_RADIO_IF_NR5G = 12,
};

enum {
    ZEB_NAS_CQI_NR5G = 0,
    ZEB_NAS_CQI_LTE = 1,
};

enum {
    ZEB_NAS_NETWORK_TYPE_LTE = 4,
    ZEB_NAS_NETWORK_TYPE_NR5G = 16,
    ZEB_NAS_SCAN_TYPE_INCREMENTAL = 5,
};

enum {
    ZEB_NAS_PLMN_BYTES = 3,
    ZEB_NAS_TAC_BYTES = 3,
    ZEB_NAS_INTRA_CELLS_MAX = 10,
    ZEB_NAS_LTE_CC_MAX = 7,
    ZEB_NAS_NR5G_CC_MAX = 12,
    ZEB_NAS_CW_MAX = 4,
    ZEB_NAS_LTE_LOCK_MAX = 60,
    ZEB_NAS_NR5G_LOCK_MAX = 32,
    ZEB_NAS_LTE_NBR_MAX = 5,
    ZEB_NAS_LTE_NBR_PLMN_MAX = 6,
    ZEB_NAS_NR5G_NBR_MAX = 10,
    ZEB_NAS_NR5G_NBR_PLMN_MAX = 12,
    ZEB_NAS_NR5G_NBR_CGI_MAX = 12,
};

/* Every response begins with this header. */
typedef struct {
    uint32_t result; /* 0: the service accepted the request */
    uint32_t error;  /* the service's error code when result is not 0 */
} zeb_nas_resp_header;

/* A request without fields. */
typedef struct {
    uint8_t reserved;
} zeb_nas_empty_req;

/* A response that consists of the header only. */
typedef struct {
    zeb_nas_resp_header header;
} zeb_nas_empty_resp;

/* Request 0x0003: which indications the client wants to get. */
typedef struct {
    uint8_t sys_info_valid;
    uint8_t sys_info; /* 1: send indication 0x004E */
    uint8_t sig_info_valid;
    uint8_t sig_info; /* 1: send indication 0x0051 */
    uint8_t reserved[139];
} zeb_nas_indication_register_req;

/* A threshold of request 0x006C. The service sends indication 0x0051 when the metric has changed by `delta` or more. If
 * the threshold is not valid, no change of the metric causes an indication. */
typedef struct {
    uint8_t valid;
    uint16_t delta; /* in the unit that the metric has in zeb_nas_sig_info */
} zeb_nas_threshold;

typedef struct {
    zeb_nas_threshold lte_rsrp;
    zeb_nas_threshold lte_rsrq;
    zeb_nas_threshold lte_snr;
    zeb_nas_threshold nr5g_rsrp;
    zeb_nas_threshold nr5g_rsrq;
    zeb_nas_threshold nr5g_snr;
    uint32_t reserved[577];
} zeb_nas_config_sig_info_req;

/* Response 0x0043: one entry of the list `cells`. The entry is the LTE serving cell, or another cell on the same
 * frequency. */
typedef struct {
    uint16_t pci;
    int16_t rsrq; /* dB */
    int16_t rsrp; /* dBm */
    int16_t reserved[2];
} zeb_nas_intra_cell;

typedef struct {
    zeb_nas_resp_header header;
    uint8_t lte_intra_valid;
    struct {
        uint8_t plmn_id[ZEB_NAS_PLMN_BYTES];
        uint16_t tac;
        uint32_t cgi;
        uint16_t earfcn;
        uint16_t serving_cell_id; /* PCI of the serving cell */
        uint32_t cells_len;
        zeb_nas_intra_cell cells[ZEB_NAS_INTRA_CELLS_MAX];
    } lte_intra;
    uint8_t nr5g_serving_cell_info_valid;
    struct {
        uint8_t plmn_id[ZEB_NAS_PLMN_BYTES];
        uint8_t tac[ZEB_NAS_TAC_BYTES];
        uint64_t cgi;
        uint16_t pci;
        int16_t rsrq; /* dB */
        int16_t rsrp; /* dBm */
        int16_t snr;  /* dB */
    } nr5g_serving;
    uint8_t nr5g_arfcn_valid;
    uint32_t nr5g_arfcn;
    uint32_t reserved[904];
} zeb_nas_cell_location_info_resp;

/* Indication 0x004E. Response 0x004D has the same fields after its header. */
typedef struct {
    uint8_t nr5g_srv_status_valid;
    uint32_t nr5g_srv_status;
    uint32_t nr5g_srv_domain;
    uint32_t nr5g_srv_capability;
    uint8_t lte_srv_status_valid;
    uint32_t lte_srv_status;
    uint32_t lte_srv_domain;
    uint32_t lte_srv_capability;
    uint8_t nr5g_pci_valid; /* 1: an NR 5G cell is attached to the LTE cell */
    uint16_t nr5g_pci;
    uint32_t reserved[321];
} zeb_nas_sys_info;

typedef struct {
    zeb_nas_resp_header header;
    zeb_nas_sys_info info;
} zeb_nas_sys_info_resp;

/* Indication 0x0051. Response 0x004F has the same fields after its header. */
typedef struct {
    uint8_t lte_sig_info_valid;
    struct {
        int8_t rssi;  /* dBm */
        int8_t rsrq;  /* dB */
        int16_t rsrp; /* dBm */
        int16_t snr;  /* 0.1 dB */
    } lte_sig;
    uint8_t nr5g_sig_info_valid;
    struct {
        int16_t rsrp; /* dBm */
        int16_t snr;  /* 0.1 dB */
    } nr5g_sig;
    uint8_t nr5g_rsrq_valid;
    int16_t nr5g_rsrq; /* dB */
    uint32_t reserved[15];
} zeb_nas_sig_info;

typedef struct {
    zeb_nas_resp_header header;
    zeb_nas_sig_info info;
} zeb_nas_sig_info_resp;

/* Request and response 0x005A: transmit power. */
typedef struct {
    uint32_t radio_if; /* ZEB_NAS_RADIO_IF_LTE or ZEB_NAS_RADIO_IF_NR5G */
    uint32_t reserved[2];
} zeb_nas_tx_rx_info_req;

typedef struct {
    zeb_nas_resp_header header;
    uint8_t tx_valid;
    int32_t tx_pwr; /* 0.1 dBm */
    uint32_t reserved[45];
} zeb_nas_tx_rx_info_resp;

/* Request and response 0x0133: the CQI of each component carrier (cc) and codeword (cw). */
typedef struct {
    uint8_t technology_valid;
    uint32_t technology; /* ZEB_NAS_CQI_LTE or ZEB_NAS_CQI_NR5G */
} zeb_nas_cqi_info_req;

typedef struct {
    uint32_t cw_cqi_len;
    uint8_t cw_cqi[ZEB_NAS_CW_MAX];
} zeb_nas_cc_cqi;

typedef struct {
    zeb_nas_resp_header header;
    uint8_t lte_cc_cqi_valid;
    uint32_t lte_cc_cqi_len;
    zeb_nas_cc_cqi lte_cc_cqi[ZEB_NAS_LTE_CC_MAX];
    uint8_t nr5g_cc_cqi_valid;
    uint32_t nr5g_cc_cqi_len;
    zeb_nas_cc_cqi nr5g_cc_cqi[ZEB_NAS_NR5G_CC_MAX];
} zeb_nas_cqi_info_resp;

/* Response 0x00D7: one entry of the list `lte_cell_list`, an LTE cell to which the modem is locked. */
typedef struct {
    uint16_t pci;
    uint16_t freq; /* EARFCN */
} zeb_nas_lte_lock;

typedef struct {
    zeb_nas_resp_header header;
    uint8_t lte_cell_list_valid;
    uint32_t lte_cell_list_len;
    zeb_nas_lte_lock lte_cell_list[ZEB_NAS_LTE_LOCK_MAX];
} zeb_nas_lte_cell_lock_list_resp;

/* Response 0x010F: one entry of the list `arfcn_list`, an NR 5G channel to which the modem is locked. */
typedef struct {
    uint32_t arfcn;
    uint32_t reserved;
} zeb_nas_nr5g_arfcn_lock;

/* Response 0x010F: the NR 5G cell or the channels to which the modem is locked. */
typedef struct {
    zeb_nas_resp_header header;
    uint8_t type_valid;
    uint32_t type;
    uint8_t cell_identity_valid;
    uint16_t pci;
    uint32_t arfcn;
    uint8_t arfcn_identity_valid;
    uint32_t arfcn_list_len;
    zeb_nas_nr5g_arfcn_lock arfcn_list[ZEB_NAS_NR5G_LOCK_MAX];
    uint32_t reserved[20];
} zeb_nas_nr5g_cell_lock_list_resp;

/* Request 0x0085: starts a scan for neighbours. */
typedef struct {
    uint8_t network_type_valid;
    uint8_t network_type; /* ZEB_NAS_NETWORK_TYPE_LTE or ZEB_NAS_NETWORK_TYPE_NR5G */
    uint8_t scan_type_valid;
    uint32_t scan_type;
    uint32_t reserved[138];
} zeb_nas_incremental_scan_req;

/* Indication 0x0085: a PLMN of a neighbour. */
typedef struct {
    uint16_t plmn_mcc;
    uint16_t plmn_mnc;
    uint8_t plmn_mnc_includes_pcs_digit;
} zeb_nas_plmn;

typedef struct {
    uint32_t earfcn;
    uint16_t pci;
    uint32_t cgi;
    uint32_t plmn_len;
    zeb_nas_plmn plmn[ZEB_NAS_LTE_NBR_PLMN_MAX];
} zeb_nas_lte_nbr;

typedef struct {
    uint32_t earfcn; /* NR ARFCN */
    uint16_t pci;
    int16_t rsrp; /* dBm */
    uint32_t plmn_len;
    zeb_nas_plmn plmn[ZEB_NAS_NR5G_NBR_PLMN_MAX];
    uint32_t cgi_len;
    uint64_t cgi[ZEB_NAS_NR5G_NBR_CGI_MAX];
} zeb_nas_nr5g_nbr;

/* Indication 0x0085: the result of the scan that was requested last. */
typedef struct {
    uint32_t scan_status; /* 0: success */
    uint8_t lte_valid;
    struct {
        uint32_t nbr_len;
        zeb_nas_lte_nbr nbr[ZEB_NAS_LTE_NBR_MAX];
        int16_t highest_sig_rsrp; /* dBm */
        int16_t highest_sig_rsrq; /* dB */
    } lte;
    uint8_t nr5g_valid;
    struct {
        uint32_t nbr_len;
        zeb_nas_nr5g_nbr nbr[ZEB_NAS_NR5G_NBR_MAX];
    } nr5g;
    uint64_t reserved[1962];
} zeb_nas_scan_result_ind;

static_assert(sizeof(zeb_nas_resp_header) == 8, "size of the response header");
static_assert(sizeof(zeb_nas_empty_req) == 1, "size of an empty request");
static_assert(sizeof(zeb_nas_empty_resp) == 8, "size of an empty response");
static_assert(sizeof(zeb_nas_indication_register_req) == 143, "size of 0x0003's request");
static_assert(sizeof(zeb_nas_config_sig_info_req) == 2332, "size of 0x006C's request");
static_assert(sizeof(zeb_nas_cell_location_info_resp) == 3784, "size of 0x0043's response");
static_assert(sizeof(zeb_nas_sys_info) == 1320, "size of 0x004E");
static_assert(sizeof(zeb_nas_sys_info_resp) == 1328, "size of 0x004D's response");
static_assert(sizeof(zeb_nas_sig_info) == 80, "size of 0x0051");
static_assert(sizeof(zeb_nas_sig_info_resp) == 88, "size of 0x004F's response");
static_assert(sizeof(zeb_nas_tx_rx_info_req) == 12, "size of 0x005A's request");
static_assert(sizeof(zeb_nas_tx_rx_info_resp) == 196, "size of 0x005A's response");
static_assert(sizeof(zeb_nas_cqi_info_req) == 8, "size of 0x0133's request");
static_assert(sizeof(zeb_nas_cqi_info_resp) == 176, "size of 0x0133's response");
static_assert(sizeof(zeb_nas_lte_cell_lock_list_resp) == 256, "size of 0x00D7's response");
static_assert(sizeof(zeb_nas_nr5g_cell_lock_list_resp) == 368, "size of 0x010F's response");
static_assert(sizeof(zeb_nas_incremental_scan_req) == 560, "size of 0x0085's request");
static_assert(sizeof(zeb_nas_scan_result_ind) == 17824, "size of 0x0085's indication");

#ifdef __cplusplus
}
#endif

#endif
