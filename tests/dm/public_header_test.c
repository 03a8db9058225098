/* Compiles the public headers as C. Tests the layout of the records, which is the same on 32-bit and 64-bit machines,
 * calls every operation without a handle, and checks the names. */
#include "cpe_dm.h"
#include "cpe_dm_text.h"

#include <assert.h>
#include <stddef.h>
#include <string.h>

#define SIZE(type, bytes)          static_assert(sizeof(type) == (bytes), #type)
#define OFFSET(type, field, bytes) static_assert(offsetof(type, field) == (bytes), #type "." #field)

/* The values of the constants. The values of the metric and indication IDs are not tested here: the transcripts of the
 * module and the client show them. */
static_assert(CPE_DM_SUCCESS == 0 && CPE_DM_ERR_FAILURE == -1 && CPE_DM_ERR_INVALID_PARAM == -2 &&
                  CPE_DM_ERR_NO_MEMORY == -3 && CPE_DM_ERR_LIST_TOO_SMALL == -4 && CPE_DM_ERR_SCAN_ONGOING == -5 &&
                  CPE_DM_ERR_NOT_SUPPORTED == -7 && CPE_DM_ERR_NOT_INITIALIZED == -12 &&
                  CPE_DM_ERR_ALREADY_INITIALIZED == -13 && CPE_DM_ERR_SERVICE_UNAVAILABLE == -16 &&
                  CPE_DM_ERR_INFO_UNAVAILABLE == -17,
              "statuses");
static_assert(CPE_DM_INFO_TYPE_REQUEST == 1 && CPE_DM_INFO_TYPE_ASYNC_RSP == 2 && CPE_DM_INFO_TYPE_IND == 3, "types");
static_assert(CPE_DM_VALUE_NONE == 0 && CPE_DM_VALUE_INT64 == 2 && CPE_DM_VALUE_UINT32 == 4 &&
                  CPE_DM_VALUE_INT64_LIST == 6 && CPE_DM_VALUE_CQI_INFO == 7 && CPE_DM_VALUE_CELL_LOCK_LIST == 8 &&
                  CPE_DM_VALUE_LTE_NBR_INFO == 9 && CPE_DM_VALUE_NR5G_NBR_INFO == 10,
              "value types");

SIZE(cpe_dm_hndl, sizeof(void *));
SIZE(cpe_dm_info, 184);
OFFSET(cpe_dm_info, value_type, 8);
OFFSET(cpe_dm_info, value, 16);
OFFSET(cpe_dm_info, value_cnt, 176);
SIZE(cpe_dm_cw_cqi, 8);
SIZE(cpe_dm_lte_cqi_info, 8 + 7 * 8);
SIZE(cpe_dm_nr5g_cqi_info, 8 + 12 * 8);
SIZE(cpe_dm_lte_cell_lock_list, 2 + 60 * 4);
SIZE(cpe_dm_nr5g_cell_lock_list, 16 + 32 * 4);
OFFSET(cpe_dm_nr5g_cell_lock_list, arfcn_identity_valid, 8);
SIZE(cpe_dm_plmn, 6);
SIZE(cpe_dm_lte_nbr, 20 + 6 * 6);
OFFSET(cpe_dm_lte_nbr, plmn, 20);
SIZE(cpe_dm_lte_nbr_info, 8 + 5 * 56 + 20);
OFFSET(cpe_dm_lte_nbr_info, highest_sig_rsrq, 304);
SIZE(cpe_dm_nr5g_nbr, 192);
OFFSET(cpe_dm_nr5g_nbr, cgi, 96);
SIZE(cpe_dm_nr5g_nbr_info, 8 + 10 * 192);

static void on_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data) {
    (void)hndl;
    (void)info;
    (void)user_data;
}

int main(void) {
    const int32_t statuses[] = {cpe_dm_init(NULL, NULL, on_event),  cpe_dm_deinit(NULL),
                                cpe_dm_get_info(NULL, NULL),        cpe_dm_get_info_list(NULL, NULL, 0),
                                cpe_dm_set_ind_info(NULL, NULL),    cpe_dm_get_ind_cnt(NULL, NULL),
                                cpe_dm_get_ind_list(NULL, NULL, 0), cpe_dm_clr_ind_list(NULL, NULL, 0),
                                cpe_dm_set_ctrl_info(NULL, NULL)};
    int failed = cpe_dm_metric_name(CPE_DM_METRIC_CNT) != cpe_dm_metric_name(0) ||
                 cpe_dm_ind_name(CPE_DM_IND_CNT) != cpe_dm_ind_name(0) ||
                 cpe_dm_async_rsp_name(CPE_DM_ASYNC_RSP_CNT) != cpe_dm_async_rsp_name(0);
    int known = 0;
    for (int32_t status = -20; status <= 1; status++) {
        known += strcmp(cpe_dm_strerror(status), cpe_dm_strerror(INT32_MIN)) != 0;
    }
    failed |= known != 11 || strcmp(cpe_dm_strerror(CPE_DM_ERR_INFO_UNAVAILABLE), "not reported by the modem") != 0;
    for (size_t i = 0; i < sizeof(statuses) / sizeof(statuses[0]); i++) {
        failed |= statuses[i] != CPE_DM_ERR_INVALID_PARAM;
    }
    return failed;
}
