/* CPE DM: values for people. The keys and units of the metrics, and the values as text.
 *
 * No function here keeps any state: each is callable at any time, without a registration, from any thread, and from the
 * callback. A program that links the static library and calls none of these functions does not contain them.
 *
 * A function with the parameters `text` and `size` writes at most `size` bytes to `text`, the ending null character
 * included, and returns `text`. A longer result is cut. The constants CPE_DM_..._TEXT_SIZE are sizes that always
 * suffice. Numbers are written with integer arithmetic, so a text is exact: a value of 128 tenths of a dB is "12.8". */
#ifndef CPE_DM_TEXT_H
#define CPE_DM_TEXT_H

#include "cpe_dm.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    CPE_DM_TECH_NONE = 0, /* for a metric that belongs to neither technology, such as the registration status */
    CPE_DM_TECH_LTE = 1,
    CPE_DM_TECH_NR5G = 2,
} cpe_dm_tech;

/* Describes one metric. All texts are static. */
typedef struct {
    uint32_t id;              /* a cpe_dm_metric_id */
    uint32_t tech;            /* a cpe_dm_tech */
    uint32_t value_type;      /* the cpe_dm_value_type of a successful answer; CPE_DM_VALUE_NONE for a neighbour metric,
                                 whose request starts a scan and has no value */
    uint32_t counts_per_unit; /* how many steps of the value make one unit: 10 if the modem reports tenths of the unit,
                                 otherwise 1 */
    uint32_t ind;             /* the cpe_dm_ind_id that reports changes of the metric, or CPE_DM_IND_INVALID */
    const char *key;          /* short name for people and scripts, such as "lte.rsrp"; different for each metric */
    const char *unit;         /* "dBm", "dB", or "" for a value without a unit */
    const char *meaning;      /* what the metric is, in a few words */
} cpe_dm_metric_desc;

/* The description of a metric, found by the metric's ID, by its key, or by the ID of the indication that reports its
 * changes. The unit and counts_per_unit of the metric hold for the value and the threshold of its indication too.
 * Returns null if there is no such metric, key or indication. */
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

/* Writes `count` divided by `counts_per_unit` as a decimal number. `counts_per_unit` is 1, 10, 100 or 1000, and the
 * text has 0, 1, 2 or 3 decimals accordingly. With a `counts_per_unit` of 10, the count 128 is "12.8", -5 is "-0.5" and
 * 120 is "12.0". */
char *cpe_dm_count_text(char *text, size_t size, int64_t count, uint32_t counts_per_unit);

/* Converts `khz`, a frequency in kHz, to MHz and writes the MHz without trailing zeros: 1815000 is "1815", 3603840 is
 * "3603.84". */
char *cpe_dm_mhz_text(char *text, size_t size, uint32_t khz);

/* Writes the PLMN of a neighbour as MCC, hyphen, MNC: "123-45", "310-026". The MNC has three digits when
 * plmn_mnc_includes_pcs_digit is not 0, and otherwise at least two. */
char *cpe_dm_plmn_text(char *text, size_t size, const cpe_dm_plmn *plmn);

/* Writes the PLMN of a serving cell in the form of cpe_dm_plmn_text. `bytes` is the i64_list of the answer: three
 * entries. Only the low 8 bits of each entry are used. A digit above 9, which no network has, is written as a
 * hexadecimal digit: "ff0-080". */
char *cpe_dm_plmn_bytes_text(char *text, size_t size, const int64_t *bytes);

/* Returns the tracking area code of an NR 5G serving cell, 0 to 16777215. `bytes` is the i64_list of the answer: three
 * entries. Only the low 8 bits of each entry are used. */
uint32_t cpe_dm_nr5g_tac(const int64_t *bytes);

/* The two parts of the cell global identity of an LTE cell: the number of the base station, and the number of the cell
 * in the base station (0 to 255). The identity has 28 bits, so the number of the base station has 20 bits. An identity
 * with more bits gives a base station number with more bits. */
uint32_t cpe_dm_lte_cgi_enb(uint32_t cgi);
uint32_t cpe_dm_lte_cgi_cell(uint32_t cgi);

/* The operating band of an LTE downlink channel number (EARFCN), and the frequency of the channel in kHz. A channel
 * number belongs to one band at most. Both functions return 0 for a number that is no channel.
 *
 * CPE_DM_METRIC_LTE_EARFCN and the LTE cell locks hold only the low 16 bits of a channel number. For a channel of band
 * 65 or above, these bits are the channel number minus CPE_DM_LTE_EARFCN_CUT. So the answer 1300 may mean channel 1300
 * of band 3 or channel 66836 of band 66, and the modem does not tell which. In general: if the answer plus
 * CPE_DM_LTE_EARFCN_CUT is a channel too, both channels are possible. The EARFCN of a neighbour is complete. */
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

/* Tells whether the modem reported the value in `info`. `info` is a record for which cpe_dm_get_info returned
 * CPE_DM_SUCCESS. Returns 1 if the modem reported the value. Returns 0 if the modem left the value out: the record
 * holds 0 in this case. Only values of an NR 5G cell can be left out:
 *   ARFCN, CGI, TAC, PLMN  were left out if the value is 0;
 *   PCI                    was left out if the value is 0 and the CGI is 0 as well. With the registration status
 *                          CPE_DM_REG_LTE_NR5G the PCI is always reported.
 * `reg_status` (a cpe_dm_reg_status) and `nr5g_cgi` (the value of CPE_DM_METRIC_NR5G_CGI) are used for the PCI only. */
int cpe_dm_is_reported(const cpe_dm_info *info, uint32_t reg_status, int64_t nr5g_cgi);

/* Writes the value of an answered request, without its unit:
 *   registration status  its name: "lte_nr5g"
 *   PLMN                 MCC and MNC: "123-45"
 *   NR 5G TAC            the number
 *   NR 5G CGI            the number, unsigned
 *   CQI                  for each carrier, the CQIs of its codewords: "12/11 9" for a carrier with two codewords and
 *                        a carrier with one; "-" for a carrier without codewords
 *   LTE cell locks       the cells, each as CHANNEL/PCI: "1300/301 2850/42"
 *   NR 5G cell locks     one cell as CHANNEL/PCI, or the channels: "640000 632628"
 *   any other metric     the number in units, as cpe_dm_count_text writes it
 * For a CQI without carriers, and for a lock list without entries, the text is "none". For a record that is not an
 * answer, and for an answer without a value, the text is "". */
char *cpe_dm_value_text(char *text, size_t size, const cpe_dm_info *info);

/* Releases `info`, a record that the callback was given. If the value of the record points to a neighbour record,
 * releases the neighbour record too. `info` may be null. */
void cpe_dm_release_info(cpe_dm_info *info);

#ifdef __cplusplus
}
#endif

#endif
