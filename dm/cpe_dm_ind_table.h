/* The indication table: which indications the user has set with cpe_dm_set_ind_info, and their thresholds. */
#ifndef CPE_DM_IND_TABLE_H
#define CPE_DM_IND_TABLE_H

#include <cstdint>

/* The indication of one serving-cell metric: the user's threshold, and the value delivered last. */
struct cpe_dm_ind_threshold {
    uint8_t valid;      /* 1 when the user has set the indication */
    uint16_t delta;     /* threshold: the change of the metric after which the modem reports */
    int32_t last_value; /* value delivered to the user last; reset to 0 when the user sets or clears the indication */
};

/* The indication table: one entry for each indication that a user can set. */
struct cpe_dm_nas_ind_info {
    uint8_t reg_status; /* 1 when the user has set the registration status indication */
    cpe_dm_ind_threshold lte_rsrp;
    cpe_dm_ind_threshold lte_rsrq;
    cpe_dm_ind_threshold lte_sinr;
    cpe_dm_ind_threshold nr5g_rsrp;
    cpe_dm_ind_threshold nr5g_rsrq;
    cpe_dm_ind_threshold nr5g_sinr;
};

#endif
