/* The indications that the user has set. */
#ifndef CPE_DM_IND_TABLE_H
#define CPE_DM_IND_TABLE_H

#include <cstdint>

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

#endif
