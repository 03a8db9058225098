#include "cpe_dm_tool_commands.h"
#include "cpe_dm_tool_json.h"
#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_print.h"
#include "cpe_dm_tool_session.h"

#include <algorithm>
#include <cstring>
#include <poll.h>

/* How long the command waits, at most, before it asks the modem for the values again. */
static const int64_t step_ms = 500;

enum {
    EXPRESSION_MAX = 32,
};

/* After this many rounds of requests in a row without any answer, the command assumes that the modem has restarted, and
 * registers anew. */
enum {
    MODEM_GONE_LOOKS = 2,
};

/* An operator of expressions, and whether it holds for a value below, equal to, or above the wanted value. The short
 * texts are arrays and not pointers: each pointer would need a relocation entry for the loader, and the entry takes
 * more space in the program than the text. */
struct op_row {
    char symbol[3];
    char word[5]; /* another form of the symbol, which needs no quotes in a shell */
    bool below;
    bool equal;
    bool above;
};

/* The longer symbols stand first, so that "<=" is not read as "<". */
static const op_row ops[] = {
    {"!=", ":ne:", true, false, true}, {"<=", ":le:", true, true, false}, {">=", ":ge:", false, true, true},
    {"=", ":eq:", false, true, false}, {"<", ":lt:", true, false, false}, {">", ":gt:", false, false, true},
};

struct expression {
    const char *text; /* the whole expression, as it stands on the command line */
    cpe_dm_tool_key key;
    const op_row *op;
    const char *wanted; /* the text behind the operator, with which the value is compared */
    /* `wanted` in counts, the integer steps in which the modem gives the value. Used only for keys with numbers. */
    int64_t number;
};

static struct {
    const cpe_dm_tool_options *options;
    expression rows[EXPRESSION_MAX];
    int cnt;
    cpe_dm_tool_keys keys;
    cpe_dm_tool_values values;
} check;

static char out_data[8192];

static bool is_reg_name(const char *name) {
    for (uint32_t reg = CPE_DM_REG_NONE; reg <= CPE_DM_REG_NR5G; reg++) {
        if (strcmp(cpe_dm_reg_status_name(reg), name) == 0) {
            return true;
        }
    }
    return false;
}

/* Whether the text is a PLMN: MCC, hyphen and MNC, as in "123-45". The digits may be hexadecimal, in lower case. */
static bool is_plmn(const char *text) {
    const size_t len = strspn(text, "0123456789abcdef");
    const size_t rest = len == 3 && text[3] == '-' ? strspn(text + 4, "0123456789abcdef") : 0;
    return (rest == 2 || rest == 3) && text[4 + rest] == '\0';
}

/* Finds the first operator in an expression. *key_len becomes the length of the text before the operator, *op_len the
 * length of the operator. Returns null when there is no operator. */
static const op_row *find_op(const char *text, size_t *key_len, size_t *op_len) {
    const op_row *found = nullptr;
    for (const op_row &op : ops) {
        for (const char *form : {op.symbol, op.word}) {
            const char *at = strstr(text, form);
            if (at != nullptr && (found == nullptr || static_cast<size_t>(at - text) < *key_len)) {
                found = &op;
                *key_len = static_cast<size_t>(at - text);
                *op_len = strlen(form);
            }
        }
    }
    return found;
}

/* Reads the text behind the operator. False: the text is no value that the key can have, or values of this key cannot
 * be compared in this way; a message has been written. */
static bool parse_wanted(expression *row) {
    const cpe_dm_tool_kind kind = cpe_dm_tool_kind_of(row->key);
    const char *name = cpe_dm_tool_name(row->key);
    const uint32_t counts_per_unit = cpe_dm_tool_counts_per_unit(row->key);
    if (kind == CPE_DM_TOOL_NUMBER) {
        switch (cpe_dm_tool_parse_number(row->wanted, counts_per_unit, row->key == CPE_DM_TOOL_NR5G_CGI ? 64 : 63,
                                         &row->number)) {
        case CPE_DM_TOOL_PARSED:
            return true;
        case CPE_DM_TOOL_TOO_FINE:
            cpe_dm_tool_tell("%s: the modem counts %s in steps of %s %s", row->text, name,
                             counts_per_unit == 1    ? "1"
                             : counts_per_unit == 10 ? "0.1"
                                                     : "0.001",
                             cpe_dm_tool_unit(row->key));
            return false;
        default:
            cpe_dm_tool_tell("%s: \"%s\" is not a number", row->text, row->wanted);
            return false;
        }
    }
    if (kind == CPE_DM_TOOL_LIST) {
        cpe_dm_tool_tell("%s: %s is a list, which cannot be compared", row->text, name);
    } else if (row->op->below != row->op->above) {
        cpe_dm_tool_tell("%s: %s is compared with = and != alone", row->text, name);
    } else if (kind == CPE_DM_TOOL_NAME && !is_reg_name(row->wanted)) {
        cpe_dm_tool_tell("%s: reg is none, power_save, limited, limited_regional, lte, lte_nr5g or nr5g", row->text);
    } else if (kind == CPE_DM_TOOL_PLMN && !is_plmn(row->wanted)) {
        cpe_dm_tool_tell("%s: a PLMN reads like 123-45 or 123-045", row->text);
    } else {
        return true;
    }
    return false;
}

static bool parse_expression(const char *text, expression *row) {
    char name[32] = "";
    size_t key_len = 0;
    size_t op_len = 0;
    row->text = text;
    row->op = find_op(text, &key_len, &op_len);
    if (row->op == nullptr) {
        cpe_dm_tool_tell("%s: there is no operator; quote the expression: 'lte.rsrp>=-110', or write lte.rsrp:ge:-110",
                         text);
        return false;
    }
    memcpy(name, text, std::min(key_len, sizeof(name) - 1));
    if (!cpe_dm_tool_find_key(name, &row->key)) {
        cpe_dm_tool_tell("%s: there is no key \"%s\"; `cpe_dm metrics` lists them", text, name);
        return false;
    }
    row->wanted = text + key_len + op_len;
    return parse_wanted(row);
}

static bool holds(const expression &row) {
    int sign = 0;
    if (cpe_dm_tool_kind_of(row.key) == CPE_DM_TOOL_NUMBER) {
        const int64_t number = cpe_dm_tool_value_number(&check.values, row.key);
        const bool less = row.key == CPE_DM_TOOL_NR5G_CGI
                              ? static_cast<uint64_t>(number) < static_cast<uint64_t>(row.number)
                              : number < row.number;
        sign = number == row.number ? 0 : less ? -1 : 1;
    } else {
        char data[32];
        cpe_dm_tool_text value = {data, sizeof(data), 0};
        cpe_dm_tool_add_value(&value, &check.values, row.key);
        sign = strcmp(data, row.wanted);
    }
    return sign < 0 ? row.op->below : sign > 0 ? row.op->above : row.op->equal;
}

/* The exit status that follows from one expression and the newest values. */
static int judge(const expression &row) {
    const int32_t status = cpe_dm_tool_value_status(&check.values, row.key);
    if (status != CPE_DM_SUCCESS) {
        return cpe_dm_tool_exit_status(status);
    }
    return holds(row) ? CPE_DM_TOOL_DONE : CPE_DM_TOOL_NO;
}

/* Asks the modem for all values. Returns the worst of the exit statuses of the expressions. */
static int look() {
    int status = CPE_DM_TOOL_DONE;
    cpe_dm_tool_set_deadline(cpe_dm_tool_now_ms() + check.options->timeout_ms);
    cpe_dm_tool_clear_values(&check.values);
    cpe_dm_tool_ask_all(&check.values, cpe_dm_tool_metrics_of(&check.keys));
    for (int i = 0; i < check.cnt; i++) {
        status = cpe_dm_tool_worse(status, judge(check.rows[i]));
    }
    return status;
}

static bool modem_answered() {
    bool answered = false;
    for (const cpe_dm_tool_slot &slot : check.values.slot) {
        answered = answered || cpe_dm_tool_is_answer(slot.status);
    }
    return answered;
}

static void tell_what_does_not_hold() {
    for (int i = 0; i < check.cnt; i++) {
        const expression &row = check.rows[i];
        const int32_t status = cpe_dm_tool_value_status(&check.values, row.key);
        const char *name = cpe_dm_tool_name(row.key);
        if (status != CPE_DM_SUCCESS) {
            cpe_dm_tool_tell_missing(name, status);
        } else if (!holds(row)) {
            char data[64];
            cpe_dm_tool_text value = {data, sizeof(data), 0};
            cpe_dm_tool_add_value_unit(&value, &check.values, row.key);
            cpe_dm_tool_tell("%s does not hold: %s is %s", row.text, name, data);
        }
    }
}

static int print_json(int status) {
    cpe_dm_tool_text text = {out_data, sizeof(out_data), 0};
    const cpe_dm_tool_moment now = cpe_dm_tool_now();
    cpe_dm_tool_add_json_moment(&text, &now);
    cpe_dm_tool_add(&text, "\"holds\":%s,\"expressions\":[", status == CPE_DM_TOOL_DONE ? "true" : "false");
    for (int i = 0; i < check.cnt; i++) {
        const int judged = judge(check.rows[i]);
        cpe_dm_tool_add(&text, "%s{\"expression\":", i > 0 ? "," : "");
        cpe_dm_tool_add_json_string(&text, check.rows[i].text);
        cpe_dm_tool_add(&text, ",\"holds\":%s,\"value\":",
                        judged == CPE_DM_TOOL_DONE ? "true"
                        : judged == CPE_DM_TOOL_NO ? "false"
                                                   : "null");
        cpe_dm_tool_add_json_value(&text, &check.values, check.rows[i].key);
        cpe_dm_tool_add(&text, "}");
    }
    cpe_dm_tool_add(&text, "]}\n");
    return cpe_dm_tool_print(&text);
}

/* Deregisters, and registers with the restarted modem. False: the registration failed; a message has been written. */
static bool register_anew(int64_t until_ms) {
    cpe_dm_tool_set_deadline(until_ms);
    cpe_dm_tool_deregister();
    const int32_t status = cpe_dm_tool_register(cpe_dm_tool_drop_event);
    if (status != CPE_DM_SUCCESS) {
        cpe_dm_tool_tell_unregistered(status);
    }
    return status == CPE_DM_SUCCESS;
}

static int check_all() {
    const int64_t within_ms = cpe_dm_tool_now_ms() + check.options->within_ms;
    int64_t since_ms = -1; // since when all expressions hold; -1: at least one does not hold
    int unanswered = 0;
    for (;;) {
        const int64_t look_ms = cpe_dm_tool_now_ms();
        const int status = look();
        const int64_t now_ms = cpe_dm_tool_now_ms();
        since_ms = status != CPE_DM_TOOL_DONE ? -1 : since_ms < 0 ? look_ms : since_ms;
        const bool done = since_ms >= 0 && now_ms - since_ms >= check.options->for_ms;
        if (done || (since_ms < 0 && now_ms >= within_ms)) {
            const int printed =
                (check.options->given & CPE_DM_TOOL_JSON) != 0 ? print_json(status) : int{CPE_DM_TOOL_DONE};
            tell_what_does_not_hold();
            return cpe_dm_tool_worse(status, printed);
        }
        unanswered = modem_answered() ? 0 : unanswered + 1;
        if (unanswered == MODEM_GONE_LOOKS) {
            unanswered = 0;
            if (!register_anew(within_ms)) {
                return CPE_DM_TOOL_FAILED;
            }
        }
        const int64_t end_ms = since_ms >= 0 ? since_ms + check.options->for_ms : within_ms;
        poll(nullptr, 0, static_cast<int>(std::clamp<int64_t>(end_ms - now_ms, 1, step_ms)));
    }
}

int cpe_dm_tool_check(const cpe_dm_tool_options *options) {
    check.options = options;
    if (options->arg_cnt > EXPRESSION_MAX) {
        cpe_dm_tool_tell("there are more than %d expressions", int{EXPRESSION_MAX});
        return CPE_DM_TOOL_USAGE;
    }
    for (; check.cnt < options->arg_cnt; check.cnt++) {
        if (!parse_expression(options->args[check.cnt], &check.rows[check.cnt])) {
            return CPE_DM_TOOL_USAGE;
        }
        cpe_dm_tool_add_key(&check.keys, check.rows[check.cnt].key);
    }
    return cpe_dm_tool_run_session(options->timeout_ms, cpe_dm_tool_drop_event, check_all);
}
