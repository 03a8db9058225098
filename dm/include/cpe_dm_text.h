/* CPE DM: values for people. What the keys and units of the metrics are, and how their values read.
 *
 * Everything here is a pure function without state: callable at any time, without a registration, from any thread, and
 * from the callback. A program that calls none of it carries none of it.
 *
 * A function with the parameters text and size writes a text there and returns text. The text is ended by a null
 * character and cut to size - 1 characters; the constants CPE_DM_..._TEXT_SIZE are sizes that always suffice. Numbers
 * are written with integer arithmetic, so a text is exact: 128 counts of 0.1 dB are "12.8". */
#ifndef CPE_DM_TEXT_H
#define CPE_DM_TEXT_H

#include "cpe_dm.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    CPE_DM_TECH_NONE = 0, /* belongs to no technology, as the registration status */
    CPE_DM_TECH_LTE = 1,
    CPE_DM_TECH_NR5G = 2,
} cpe_dm_tech;

/* Describes one metric. All texts are static. */
typedef struct {
    uint32_t id;         /* a cpe_dm_metric_id */
    uint32_t tech;       /* a cpe_dm_tech */
    uint32_t value_type; /* a cpe_dm_value_type: that of a successful answer; CPE_DM_VALUE_NONE for a neighbour
                            metric, whose request starts a scan and has no value of its own */
    uint32_t
        counts_per_unit; /* how many counts of the value make one unit: 1, or 10 where the modem counts in tenths */
    uint32_t ind;        /* the cpe_dm_ind_id that reports changes of the metric; CPE_DM_IND_INVALID: none does */
    const char *key;     /* short name for people and scripts, such as "lte.rsrp"; no two metrics share one */
    const char *unit;    /* "dBm", "dB", or "" for a value without a unit */
    const char *meaning; /* what the metric is, in a few words */
} cpe_dm_metric_desc;

/* The description of a metric by its ID, by its key, or by the indication that reports its changes (the description of
 * the indication, whose value and threshold have the same unit). Null: there is no such metric, key or indication. */
const cpe_dm_metric_desc *cpe_dm_metric_by_id(uint32_t id);
const cpe_dm_metric_desc *cpe_dm_metric_by_key(const char *key);
const cpe_dm_metric_desc *cpe_dm_metric_by_ind(uint32_t ind);

/* The name of a registration status: "none", "power_save", "limited", "limited_regional", "lte", "lte_nr5g" or "nr5g";
 * "unknown" for a number that is none. Static text. */
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

/* A number of counts in units: as many decimals as counts_per_unit has zeros. counts_per_unit is a power of ten from 1
 * to 1000. 128 counts at 10 a unit are "12.8", -5 are "-0.5", 120 are "12.0". */
char *cpe_dm_count_text(char *text, size_t size, int64_t count, uint32_t counts_per_unit);

/* A frequency of so many kHz in MHz, without zeros at its end: "1815", "3603.84". */
char *cpe_dm_mhz_text(char *text, size_t size, uint32_t khz);

/* The PLMN of a neighbour as MCC, hyphen, MNC: "123-45", "310-026". The MNC has three digits where the record says so
 * and at least two otherwise. */
char *cpe_dm_plmn_text(char *text, size_t size, const cpe_dm_plmn *plmn);

/* The three bytes of a serving cell's PLMN (the i64_list of the answer, of which the low 8 bits of each entry count) as
 * the same text. A digit that is not a decimal one, which no network has, is written as a hexadecimal one: "ff0-080".
 */
char *cpe_dm_plmn_bytes_text(char *text, size_t size, const int64_t *bytes);

/* The tracking area code of an NR 5G serving cell, from its three bytes (as above): 0 to 16777215. */
uint32_t cpe_dm_nr5g_tac(const int64_t *bytes);

/* The two parts of the cell global identity of an LTE cell: the base station, and the cell of the base station (0 to
 * 255). An identity has 28 bits, so the base station's number has 20; from a larger number it has more. */
uint32_t cpe_dm_lte_cgi_enb(uint32_t cgi);
uint32_t cpe_dm_lte_cgi_cell(uint32_t cgi);

/* The operating band of an LTE channel number (EARFCN) of the downlink, and the frequency of the channel in kHz. A
 * number belongs to one band at most; 0: it is no channel.
 *
 * CPE_DM_METRIC_LTE_EARFCN and the LTE cell locks have 16 bits, so a channel of band 65 or above arrives less 65536:
 * the answer 1300 is channel 1300 of band 3 or channel 66836 of band 66, and nothing tells which. Where the number plus
 * CPE_DM_LTE_EARFCN_CUT is a channel, it is the alternative. Neighbours have the whole number. */
uint32_t cpe_dm_lte_band(uint32_t earfcn);
uint32_t cpe_dm_lte_khz(uint32_t earfcn);
enum { CPE_DM_LTE_EARFCN_CUT = 65536 };

/* The frequency of an NR 5G channel number (NR ARFCN) in kHz. The bands of NR 5G overlap, so the number does not tell
 * the band. 0: there is no such channel; 0 is none, as it stands for a number that the modem did not report. */
uint32_t cpe_dm_nr5g_khz(uint32_t arfcn);

/* Room for the record that a CQI or cell lock request fills, whichever it is. */
typedef union {
    cpe_dm_lte_cqi_info lte_cqi;
    cpe_dm_nr5g_cqi_info nr5g_cqi;
    cpe_dm_lte_cell_lock_list lte_locks;
    cpe_dm_nr5g_cell_lock_list nr5g_locks;
} cpe_dm_metric_record;

/* Prepares info for cpe_dm_get_info: zeroes it, and sets info_type and id. For a metric that fills a record, zeroes
 * *record as well and points the value at it; record may be null for the others, which leave *record alone. */
void cpe_dm_prepare_request(cpe_dm_info *info, uint32_t id, cpe_dm_metric_record *record);

/* Whether an answer of cpe_dm_get_info with status CPE_DM_SUCCESS holds what the modem reported: 1, or 0 where the
 * value only stands for what the modem left out. That happens to NR 5G cell values, which then read 0: an ARFCN, CGI,
 * TAC or PLMN of 0 was left out, and so was a PCI of 0 where the CGI is 0 too, except in CPE_DM_REG_LTE_NR5G, where the
 * PCI comes from elsewhere. reg_status and nr5g_cgi (the value of CPE_DM_METRIC_NR5G_CGI) matter for the PCI alone. */
int cpe_dm_is_reported(const cpe_dm_info *info, uint32_t reg_status, int64_t nr5g_cgi);

/* The value of an answered request as text, without its unit:
 *   registration status   its name, "lte_nr5g"
 *   PLMN                  "123-45"
 *   NR 5G TAC             the number
 *   CQI                   the carriers, separated by blanks, with the CQI of each codeword: "12/11 9"; "-" for a
 * carrier without codewords; "none" when there is no carrier cell locks            the locks, separated by blanks, a
 * cell as CHANNEL/PCI and a frequency as CHANNEL: "1300/301 2850/42", "640000 632628"; "none" when nothing is locked NR
 * 5G CGI             the number, unsigned any other metric      the number in units, as cpe_dm_count_text writes it An
 * info that is not an answer with a value gives "". */
char *cpe_dm_value_text(char *text, size_t size, const cpe_dm_info *info);

/* Releases what the callback was given: the record and, where it has one, the neighbour record that its value points
 * to. info may be null. */
void cpe_dm_release_info(cpe_dm_info *info);

#ifdef __cplusplus
}
#endif

#endif
