/* CPE DM: values for people. The keys and units of the metrics, and the values as text.
 *
 * No function here keeps any state: each is callable at any time, without a registration, from any thread, and from the
 * callback. A program that links the static library and calls none of these functions does not contain them.
 *
 * A function with the parameters `text` and `size` writes at most `size` bytes to `text`, the ending null character
 * included, and returns `text`. A longer result is cut. The constants CPE_DM_..._TEXT_SIZE are sizes that always
 * suffice. Numbers are written with integer arithmetic, so a text is exact: 128 counts of 0.1 dB are "12.8". */
#ifndef CPE_DM_TEXT_H
#define CPE_DM_TEXT_H

#include "cpe_dm.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    CPE_DM_TECH_NONE = 0, /* belongs to no technology: the registration status, for example */
    CPE_DM_TECH_LTE = 1,
    CPE_DM_TECH_NR5G = 2,
} cpe_dm_tech;

/* Describes one metric. All texts are static. */
typedef struct {
    uint32_t id;              /* a cpe_dm_metric_id */
    uint32_t tech;            /* a cpe_dm_tech */
    uint32_t value_type;      /* the cpe_dm_value_type of a successful answer; CPE_DM_VALUE_NONE for a neighbour metric,
                                 whose request starts a scan and has no value */
    uint32_t counts_per_unit; /* counts of the value in one unit: 10 if the modem counts in tenths, otherwise 1 */
    uint32_t ind;             /* the cpe_dm_ind_id that reports changes of the metric, or CPE_DM_IND_INVALID */
    const char *key;          /* short name for people and scripts, such as "lte.rsrp"; no two metrics share one */
    const char *unit;         /* "dBm", "dB", or "" for a value without a unit */
    const char *meaning;      /* what the metric is, in a few words */
} cpe_dm_metric_desc;

/* The description of a metric, found by the metric's ID, by its key, or by the ID of the indication that reports its
 * changes. The unit and counts_per_unit of the metric hold for the value and the threshold of its indication too. Null:
 * there is no such metric, key or indication. */
const cpe_dm_metric_desc *cpe_dm_metric_by_id(uint32_t id);
const cpe_dm_metric_desc *cpe_dm_metric_by_key(const char *key);
const cpe_dm_metric_desc *cpe_dm_metric_by_ind(uint32_t ind);

/* The name of a registration status: "none", "power_save", "limited", "limited_regional", "lte", "lte_nr5g" or "nr5g";
 * "unknown" for a number that is no registration status. Static text. */
const char *cpe_dm_reg_status_name(uint32_t reg_status);

/* The name of a status as its constant is written, such as "CPE_DM_ERR_FAILURE"; "unknown" for a number that is no
 * status. Static text. cpe_dm_strerror says what the status means. */
const char *cpe_dm_status_name(int32_t status);

enum {
    CPE_DM_COUNT_TEXT_SIZE = 24,
    CPE_DM_MHZ_TEXT_SIZE = 12,
    CPE_DM_PLMN_TEXT_SIZE = 12,
    CPE_DM_VALUE_TEXT_SIZE = 768,
};

/* Writes a number of counts as a number of units. counts_per_unit is a power of ten from 1 to 1000, and the text has as
 * many decimals as counts_per_unit has zeros. With counts_per_unit 10, 128 is "12.8", -5 is "-0.5" and 120 is
 * "12.0". */
char *cpe_dm_count_text(char *text, size_t size, int64_t count, uint32_t counts_per_unit);

/* Writes a frequency, given in kHz, in MHz and without trailing zeros: "1815", "3603.84". */
char *cpe_dm_mhz_text(char *text, size_t size, uint32_t khz);

/* Writes the PLMN of a neighbour as MCC, hyphen, MNC: "123-45", "310-026". The MNC has three digits when the record
 * says so, and otherwise at least two. */
char *cpe_dm_plmn_text(char *text, size_t size, const cpe_dm_plmn *plmn);

/* Writes the PLMN of a serving cell in the form of cpe_dm_plmn_text. `bytes` is the i64_list of the answer: three
 * entries, of which only the low 8 bits count. A digit above 9, which no network has, is written as a hexadecimal
 * digit: "ff0-080". */
char *cpe_dm_plmn_bytes_text(char *text, size_t size, const int64_t *bytes);

/* The tracking area code of an NR 5G serving cell, 0 to 16777215. `bytes` is the i64_list of the answer: three entries,
 * of which only the low 8 bits count. */
uint32_t cpe_dm_nr5g_tac(const int64_t *bytes);

/* The two parts of the cell global identity of an LTE cell: the number of the base station, and the number of the cell
 * in the base station (0 to 255). The identity has 28 bits, so the number of the base station has 20 bits. An identity
 * with more bits gives a base station number with more bits. */
uint32_t cpe_dm_lte_cgi_enb(uint32_t cgi);
uint32_t cpe_dm_lte_cgi_cell(uint32_t cgi);

/* The operating band of an LTE downlink channel number (EARFCN), and the frequency of the channel in kHz. A channel
 * number belongs to one band at most. Both functions return 0 for a number that is no channel.
 *
 * CPE_DM_METRIC_LTE_EARFCN and the LTE cell locks have only 16 bits. For a channel of band 65 or above, these bits are
 * the channel number less CPE_DM_LTE_EARFCN_CUT. The answer 1300 may be channel 1300 of band 3 or channel 66836 of band
 * 66, and nothing tells which of the two. So when the answer plus CPE_DM_LTE_EARFCN_CUT is a channel too, both channels
 * are possible. The EARFCN of a neighbour is complete. */
uint32_t cpe_dm_lte_band(uint32_t earfcn);
uint32_t cpe_dm_lte_khz(uint32_t earfcn);
enum { CPE_DM_LTE_EARFCN_CUT = 65536 };

/* The frequency of an NR 5G channel number (NR ARFCN) in kHz. The bands of NR 5G overlap, so the number does not tell
 * the band. Returns 0 for a number that is no channel, and for the number 0, which stands for "not reported". */
uint32_t cpe_dm_nr5g_khz(uint32_t arfcn);

/* Room for the result record of any CQI or cell lock request. */
typedef union {
    cpe_dm_lte_cqi_info lte_cqi;
    cpe_dm_nr5g_cqi_info nr5g_cqi;
    cpe_dm_lte_cell_lock_list lte_locks;
    cpe_dm_nr5g_cell_lock_list nr5g_locks;
} cpe_dm_metric_record;

/* Prepares *info for cpe_dm_get_info: zeroes it, and sets info_type and id. A CQI or cell lock metric needs a result
 * record: for such a metric the function also zeroes *record and points the value of *info at it. For any other metric
 * *record is not changed, and record may be null. */
void cpe_dm_prepare_request(cpe_dm_info *info, uint32_t id, cpe_dm_metric_record *record);

/* Tells whether the modem reported the value in `info`, an answer of cpe_dm_get_info with status CPE_DM_SUCCESS.
 * Returns 1 for a reported value. Returns 0 when the modem left the value out, and the answer has a 0 in its place.
 * Only values of an NR 5G cell can be left out:
 *   ARFCN, CGI, TAC, PLMN  a value of 0 was left out;
 *   PCI                    a value of 0 was left out if the CGI is 0 as well. In CPE_DM_REG_LTE_NR5G a PCI is always
 *                          reported.
 * reg_status and nr5g_cgi (the value of CPE_DM_METRIC_NR5G_CGI) are used for the PCI only. */
int cpe_dm_is_reported(const cpe_dm_info *info, uint32_t reg_status, int64_t nr5g_cgi);

/* Writes the value of an answered request, without its unit:
 *   registration status  the name: "lte_nr5g"
 *   PLMN                 "123-45"
 *   NR 5G TAC            the number
 *   NR 5G CGI            the number, unsigned
 *   CQI                  the carriers with the CQI of each codeword: "12/11 9"; "-" for a carrier without codewords
 *   LTE cell locks       the cells, each as CHANNEL/PCI: "1300/301 2850/42"
 *   NR 5G cell locks     one cell as CHANNEL/PCI, or the channels: "640000 632628"
 *   any other metric     the number in units, as cpe_dm_count_text writes it
 * CQI and locks without any entry give "none". For a record that is no answer, or an answer without a value, the
 * text is "". */
char *cpe_dm_value_text(char *text, size_t size, const cpe_dm_info *info);

/* Releases the record that the callback was given. If its value points to a neighbour record, releases the neighbour
 * record too. info may be null. */
void cpe_dm_release_info(cpe_dm_info *info);

#ifdef __cplusplus
}
#endif

#endif
