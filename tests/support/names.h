/* Names for what a transcript shows and its input says. Of numbers without a name, the number. */
#ifndef NAMES_H
#define NAMES_H

#include "cpe_dm.h"

#include <string>

/* A metric or an indication as one word: lte_rsrp, nr5g_nbr_pci, registration_status. */
std::string metric_word(uint32_t id);
std::string ind_word(uint32_t id);

/* NONE, LTE, LTE_NR5G ...; and what the modem reports of one technology: none, service ... */
std::string reg_status_word(uint32_t reg_status);
std::string srv_status_word(uint32_t srv_status);

/* 0, INFO_UNAVAILABLE ... */
std::string status_word(int32_t status);

/* SYS_INFO, INDICATION_REGISTER ...: a message of the modem's */
std::string message_word(uint32_t msg_id);

/* Which event a record delivers: event LTE RSRP, response NR 5G Neighbor Info ... */
std::string event_name(const cpe_dm_info &info);

#endif
