/* Compares cpe_dm_get_info with the least work that the call has to do: to send the same requests and to format the
 * same log lines. The requests and the log lines are learnt from a call of cpe_dm_get_info. Each row of the table
 * measures one metric. */
#include "bench.h"
#include "cpe_dm.h"
#include "diag_msg.h"
#include "platform.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

enum {
    CALLS = 20000,
    LINE_ARGS_MAX = 4,
    LINE_SIZE = 512,
};

/* A log line of the module: the format string and its arguments. Each argument is an integer, or a pointer for %s or
 * %p. */
struct line {
    const char *fmt;
    int cnt;
    uint64_t args[LINE_ARGS_MAX];
};

struct exchange {
    uint32_t msg_id;
    uint32_t resp_len;
};

struct lesson {
    std::vector<exchange> exchanges;
    std::vector<line> lines;
};

lesson *learning;

void learn_exchange(uint32_t msg_id, uint32_t resp_len) {
    learning->exchanges.push_back({msg_id, resp_len});
}

void learn_line(const char *fmt, va_list args) {
    line l = {fmt, 0, {}};
    va_list own;
    va_copy(own, args);
    for (const char *c = fmt; *c != '\0'; c++) {
        if (*c != '%') {
            continue;
        }
        int longs = 0;
        for (c++; *c == 'h' || *c == 'l'; c++) {
            longs += *c == 'l';
        }
        if (l.cnt == LINE_ARGS_MAX) {
            fprintf(stderr, "bench: more arguments than room: %s\n", fmt);
            exit(1);
        }
        l.args[l.cnt++] = longs != 0 || *c == 's' || *c == 'p' ? va_arg(own, uint64_t) : va_arg(own, uint32_t);
    }
    va_end(own);
    learning->lines.push_back(l);
}

cpe_dm_hndl handle;

union {
    cpe_dm_lte_cqi_info cqi;
    cpe_dm_lte_cell_lock_list lock;
} result;

int32_t get(uint32_t id) {
    cpe_dm_info info = {};
    info.info_type = CPE_DM_INFO_TYPE_REQUEST;
    info.id = id;
    info.value.cqi_info = &result;
    return cpe_dm_get_info(handle, &info);
}

lesson learn(uint32_t id) {
    get(id); // the first call also does one-time work, which must not be learnt
    lesson l;
    learning = &l;
    bench_on_request = learn_exchange;
    if (get(id) != CPE_DM_SUCCESS || l.lines.empty()) {
        fprintf(stderr, "bench: metric %u cannot be got\n", id);
        exit(1);
    }
    learning = nullptr;
    bench_on_request = nullptr;
    return l;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the format strings are those of the module
void format(const line &l, char *text) {
    switch (l.cnt) {
    case 0:
        snprintf(text, LINE_SIZE, l.fmt, 0);
        break;
    case 1:
        snprintf(text, LINE_SIZE, l.fmt, l.args[0]);
        break;
    case 2:
        snprintf(text, LINE_SIZE, l.fmt, l.args[0], l.args[1]);
        break;
    default:
        snprintf(text, LINE_SIZE, l.fmt, l.args[0], l.args[1], l.args[2], l.args[3]);
        break;
    }
}
#pragma GCC diagnostic pop

double bare(const lesson &l) {
    static uint64_t buffer[4096];
    static const diag_msg_desc desc = {1, 65, DIAG_MSG_LEVEL_INFO, "%s", "bench"};
    const auto start = bench_clock::now();
    for (int i = 0; i < CALLS; i++) {
        for (const exchange &e : l.exchanges) {
            zeb_client_send_msg_sync(nullptr, e.msg_id, nullptr, 0, buffer, e.resp_len, 0);
        }
        for (const line &each : l.lines) {
            char text[LINE_SIZE];
            format(each, text);
            msg_sprintf(&desc, text);
        }
    }
    return bench_ns_since(start) / static_cast<double>(CALLS);
}

double module(uint32_t id) {
    const auto start = bench_clock::now();
    for (int i = 0; i < CALLS; i++) {
        get(id);
    }
    return bench_ns_since(start) / static_cast<double>(CALLS);
}

} // namespace

/* The linker redirects calls of vsnprintf and __vsnprintf_chk to the __wrap_ functions below, which learn the module's
 * log lines. The build options decide which of the two functions the module's log calls. */
extern "C" {
int __real_vsnprintf(char *text, size_t size, const char *fmt, va_list args);
int __real___vsnprintf_chk(char *text, size_t size, int flag, size_t room, const char *fmt, va_list args);

int __wrap_vsnprintf(char *text, size_t size, const char *fmt, va_list args) {
    if (learning != nullptr) {
        learn_line(fmt, args);
    }
    return __real_vsnprintf(text, size, fmt, args);
}

int __wrap___vsnprintf_chk(char *text, size_t size, int flag, size_t room, const char *fmt, va_list args) {
    if (learning != nullptr) {
        learn_line(fmt, args);
    }
    return __real___vsnprintf_chk(text, size, flag, room, fmt, args);
}
}

int main(int argc, char **argv) {
    if (cpe_dm_init(&handle, nullptr, [](cpe_dm_hndl, cpe_dm_info *info, void *) { free(info); }) != CPE_DM_SUCCESS) {
        fprintf(stderr, "bench: the module does not come up\n");
        return 1;
    }
    const struct {
        uint32_t id;
        const char *name;
    } metrics[] = {{CPE_DM_METRIC_REG_STATUS, "registration status"},
                   {CPE_DM_METRIC_LTE_EARFCN, "cell"},
                   {CPE_DM_METRIC_NR5G_PCI, "PCI"},
                   {CPE_DM_METRIC_LTE_RSRP, "signal"},
                   {CPE_DM_METRIC_LTE_CQI, "CQI"},
                   {CPE_DM_METRIC_LTE_TX_POWER, "transmit power"},
                   {CPE_DM_METRIC_LTE_CELL_LOCK_LIST, "cell locks"}};
    for (const auto &metric : metrics) {
        const lesson l = learn(metric.id);
        bench_compare(
            std::string("`cpe_dm_get_info`, ") + metric.name + ", " + std::to_string(l.exchanges.size()) +
                " requests, " + std::to_string(l.lines.size()) + " log lines",
            "the same requests and lines", BENCH_TIME, "at most 1.15", [id = metric.id] { return module(id); },
            [l] { return bare(l); }, 21);
    }
    return bench_run(argc, argv);
}
