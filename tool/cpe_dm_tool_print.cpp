#include "cpe_dm_tool_print.h"

#include "cpe_dm_tool_out.h"

const char *cpe_dm_tool_reg_words(uint32_t reg_status) {
    switch (reg_status) {
    case CPE_DM_REG_POWER_SAVE:
        return "no service (power save)";
    case CPE_DM_REG_LIMITED:
        return "limited service";
    case CPE_DM_REG_LIMITED_REG:
        return "limited regional service";
    case CPE_DM_REG_LTE:
        return "LTE";
    case CPE_DM_REG_LTE_NR5G:
        return "LTE with NR 5G attached";
    case CPE_DM_REG_NR5G:
        return "NR 5G";
    default:
        return "no service";
    }
}

bool cpe_dm_tool_serves(uint32_t reg_status, uint32_t tech) {
    const uint32_t alone = tech == CPE_DM_TECH_LTE ? CPE_DM_REG_LTE : CPE_DM_REG_NR5G;
    return reg_status == alone || reg_status == CPE_DM_REG_LTE_NR5G;
}

const char *cpe_dm_tool_tech_name(uint32_t tech) {
    return tech == CPE_DM_TECH_LTE ? "LTE" : "NR 5G";
}

/* Adds one item to a list that begins at the offset `start` of the text. The item consists of `separator` (except in
 * the first item), `words`, and the value of the key with its unit. Adds nothing when the key has no value. */
static void add_item(cpe_dm_tool_text *text, size_t start, const char *separator, const char *words,
                     const cpe_dm_tool_values *values, cpe_dm_tool_key key) {
    if (cpe_dm_tool_value_status(values, key) == CPE_DM_SUCCESS) {
        cpe_dm_tool_add(text, "%s%s", text->used > start ? separator : "", words);
        cpe_dm_tool_add_value_unit(text, values, key);
    }
}

void cpe_dm_tool_add_cell_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech) {
    const size_t start = text->used;
    if (tech == CPE_DM_TECH_LTE) {
        add_item(text, start, ", ", "base station ", values, CPE_DM_TOOL_LTE_ENB);
        add_item(text, start, ", ", "cell ", values, CPE_DM_TOOL_LTE_CELL);
        add_item(text, start, ", ", "PCI ", values, CPE_DM_TOOL_LTE_PCI);
    } else {
        add_item(text, start, ", ", "CGI ", values, CPE_DM_TOOL_NR5G_CGI);
        add_item(text, start, ", ", "PCI ", values, CPE_DM_TOOL_NR5G_PCI);
    }
}

void cpe_dm_tool_add_channel_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech) {
    const size_t start = text->used;
    if (tech == CPE_DM_TECH_NR5G) {
        add_item(text, start, "", "", values, CPE_DM_TOOL_NR5G_ARFCN);
        add_item(text, start, ": ", "", values, CPE_DM_TOOL_NR5G_MHZ);
        return;
    }
    add_item(text, start, "", "", values, CPE_DM_TOOL_LTE_EARFCN);
    add_item(text, start, ": ", "band ", values, CPE_DM_TOOL_LTE_BAND);
    add_item(text, start, ", ", "", values, CPE_DM_TOOL_LTE_MHZ);
    if (cpe_dm_tool_value_status(values, CPE_DM_TOOL_LTE_BAND_ALT) == CPE_DM_SUCCESS) {
        const auto earfcn = static_cast<unsigned>(values->slot[CPE_DM_METRIC_LTE_EARFCN].number[0]);
        cpe_dm_tool_add(text, "; or %u", earfcn + CPE_DM_LTE_EARFCN_CUT);
        add_item(text, start, ": ", "band ", values, CPE_DM_TOOL_LTE_BAND_ALT);
        add_item(text, start, ", ", "", values, CPE_DM_TOOL_LTE_MHZ_ALT);
    }
}

void cpe_dm_tool_add_network_words(cpe_dm_tool_text *text, const cpe_dm_tool_values *values, uint32_t tech) {
    const size_t start = text->used;
    const bool lte = tech == CPE_DM_TECH_LTE;
    add_item(text, start, ", ", "", values, lte ? CPE_DM_TOOL_LTE_PLMN : CPE_DM_TOOL_NR5G_PLMN);
    add_item(text, start, ", ", "tracking area ", values, lte ? CPE_DM_TOOL_LTE_TAC : CPE_DM_TOOL_NR5G_TAC);
}

void cpe_dm_tool_tell_missing(const char *name, int32_t status) {
    switch (status) {
    case CPE_DM_ERR_INFO_UNAVAILABLE:
        cpe_dm_tool_tell("%s: the modem does not report it; `cpe_dm status` tells which technology serves", name);
        break;
    case CPE_DM_ERR_SERVICE_UNAVAILABLE:
        cpe_dm_tool_tell("%s: out of service; try again later, or wait with `cpe_dm check --within`", name);
        break;
    case CPE_DM_TOOL_NO_CHANNEL:
        cpe_dm_tool_tell("%s: the number that the modem reports is no channel of that kind", name);
        break;
    default:
        cpe_dm_tool_tell("%s: %s (%s); try again", name, cpe_dm_strerror(status), cpe_dm_status_name(status));
        break;
    }
}

int cpe_dm_tool_tell_failures(const cpe_dm_tool_values *values, uint64_t metrics) {
    int status = CPE_DM_TOOL_DONE;
    for (uint32_t metric = 0; metric < CPE_DM_METRIC_CNT; metric++) {
        const int32_t answer = values->slot[metric].status;
        if ((metrics >> metric & 1) != 0 && answer != CPE_DM_SUCCESS && answer != CPE_DM_ERR_INFO_UNAVAILABLE &&
            answer != CPE_DM_ERR_SERVICE_UNAVAILABLE) {
            cpe_dm_tool_tell_missing(cpe_dm_metric_by_id(metric)->key, answer);
            status = CPE_DM_TOOL_FAILED;
        }
    }
    return status;
}
