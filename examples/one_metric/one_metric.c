/* one_metric: registers, prints the RSRP of the LTE serving cell, and deregisters.
 *
 * Built by CMakeLists.txt, or: cc one_metric.c $(pkg-config --cflags --libs cpe_dm) -o one_metric */
#include "cpe_dm.h"
#include "cpe_dm_text.h"

#include <stdio.h>

/* cpe_dm_init requires a callback, and a callback has to release every record that it is given. The module never calls
 * this callback, because this program sets no indications and starts no scan. */
static void on_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data) {
    (void)hndl;
    (void)user_data;
    cpe_dm_release_info(info);
}

/* Returns whether the operation succeeded. If the operation failed, prints a message on standard error. */
static int worked(const char *what, int32_t status) {
    if (status != CPE_DM_SUCCESS) {
        fprintf(stderr, "one_metric: %s: %s\n", what, cpe_dm_strerror(status));
    }
    return status == CPE_DM_SUCCESS;
}

int main(void) {
    cpe_dm_hndl hndl;
    if (!worked("cannot register", cpe_dm_init(&hndl, NULL, on_event))) { // waits for the modem, without limit
        return 1;
    }
    const cpe_dm_metric_desc *metric = cpe_dm_metric_by_id(CPE_DM_METRIC_LTE_RSRP);
    cpe_dm_info info;
    cpe_dm_prepare_request(&info, metric->id, NULL);
    int good = worked(metric->key, cpe_dm_get_info(hndl, &info));
    if (good) {
        char text[CPE_DM_VALUE_TEXT_SIZE];
        printf("%s %s %s\n", metric->key, cpe_dm_value_text(text, sizeof(text), &info), metric->unit);
    }
    good &= worked("cannot deregister", cpe_dm_deinit(hndl));
    if (fflush(stdout) != 0) {
        perror("one_metric: standard output");
        good = 0;
    }
    return good ? 0 : 1;
}
