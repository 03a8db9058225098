/* Words for the numbers in a transcript and in its input. A number that has no word is written as a number. */
#ifndef NAMES_H
#define NAMES_H

#include "cpe_dm.h"

#include <string>

/* A metric or an indication as one word: lte_rsrp, nr5g_nbr_pci, registration_status. */
std::string metric_word(uint32_t id);
std::string ind_word(uint32_t id);

/* The first returns the word for a registration status: NONE, LTE, LTE_NR5G ... The second returns the word for the
 * service status that the modem reports for one technology: none, service ... */
std::string reg_status_word(uint32_t reg_status);
std::string srv_status_word(uint32_t srv_status);

/* The status of an operation: 0, INFO_UNAVAILABLE ... */
std::string status_word(int32_t status);

/* A message of the modem: SYS_INFO, INDICATION_REGISTER ... */
std::string message_word(uint32_t msg_id);

/* The event in a record, such as "event LTE RSRP" or "response NR 5G Neighbor Info". */
std::string event_name(const cpe_dm_info &info);

#endif
