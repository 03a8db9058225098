/* A program of somebody else: registers, gets one metric, deregisters. */
#include <cpe_dm.h>
#include <stdio.h>
#include <stdlib.h>

static void on_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data) {
    (void)hndl;
    (void)user_data;
    free(info);
}

int main(void) {
    cpe_dm_hndl hndl = NULL;
    cpe_dm_info info = {.info_type = CPE_DM_INFO_TYPE_REQUEST, .id = CPE_DM_METRIC_LTE_RSRP};
    if (cpe_dm_init(&hndl, NULL, on_event) != CPE_DM_SUCCESS || cpe_dm_get_info(hndl, &info) != CPE_DM_SUCCESS) {
        return 1;
    }
    printf("%s %lld\n", cpe_dm_metric_name(info.id), (long long)info.value.i64_val);
    return cpe_dm_deinit(hndl) != CPE_DM_SUCCESS;
}
