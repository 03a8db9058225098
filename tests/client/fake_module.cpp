/* The client under test: the client's code with a fake module that prints every call and gives fixed answers. The
 * program's argument is the auto-test file. */
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <string>
#include <unistd.h>

#include "cpe_dm.h"
#include "cpe_dm_client.h"

static char registered;
static cpe_dm_user_cb user_cb;

/* Prints the call of an operation without a line end, because more text may follow on the line. Returns `status` when
 * the client is registered and passes its own handle, and an error otherwise. */
static int32_t reached(const char *operation, cpe_dm_hndl hndl, int32_t status = 0) {
    printf(" MODULE: %s hndl[%s]", operation, hndl == &registered ? "registered" : hndl ? "unknown" : "0");
    return user_cb && hndl == &registered ? status : CPE_DM_ERR_INVALID_PARAM;
}

static int32_t ended(int32_t status) {
    printf("\n");
    return status;
}

/* Copies `answer` into a record of the client. Before that, prints whether the record was zeroed or filled. It is
 * filled when the client has used the same record for an earlier request. */
template <typename T> static void fill(void *record, const T &answer) {
    const char *bytes = static_cast<const char *>(record);
    const bool zeroed = std::all_of(bytes, bytes + sizeof(T), [](char byte) { return byte == 0; });
    printf(zeroed ? "(zeroed)" : "(filled)");
    *static_cast<T *>(record) = answer;
}

template <typename T> static void fill_cqi(void *record, uint32_t cnt) {
    T cqi = {1, cnt, {}};
    for (uint8_t i = 0; i < std::size(cqi.cc_cqi); i++) {
        cqi.cc_cqi[i] = {2u + i, {static_cast<uint8_t>(10 + i), static_cast<uint8_t>(255 - i), 98, 99}};
    }
    fill(record, cqi);
}

/* Answers one request. A metric with a record (CQI, cell locks) is answered in three ways in turn: without a list,
 * with some entries, and with more entries than a list can have. */
static int32_t answer(cpe_dm_info *info) {
    static uint32_t calls[CPE_DM_METRIC_CNT + 1];
    const uint32_t id = std::min<uint32_t>(info->id, CPE_DM_METRIC_CNT);
    const uint32_t call = calls[id]++ % 3;
    printf(" %u", info->id);
    const bool record = id == CPE_DM_METRIC_LTE_CQI || id == CPE_DM_METRIC_NR5G_CQI ||
                        id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST || id == CPE_DM_METRIC_NR5G_CELL_LOCK_LIST;
    if (info->info_type != CPE_DM_INFO_TYPE_REQUEST || info->value_type != CPE_DM_VALUE_NONE || info->value_cnt != 0 ||
        record != (info->value.cqi_info != nullptr)) {
        printf("(no proper request)");
        return CPE_DM_ERR_INVALID_PARAM;
    }
    if (id == CPE_DM_METRIC_INVALID || id == CPE_DM_METRIC_CNT) {
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    if (id == CPE_DM_METRIC_LTE_CQI) {
        fill_cqi<cpe_dm_lte_cqi_info>(info->value.cqi_info, call * 4);
    } else if (id == CPE_DM_METRIC_NR5G_CQI) {
        fill_cqi<cpe_dm_nr5g_cqi_info>(info->value.cqi_info, call * 7);
    } else if (id == CPE_DM_METRIC_LTE_CELL_LOCK_LIST) {
        cpe_dm_lte_cell_lock_list locks = {1, static_cast<uint8_t>(call == 2 ? 61 : call * 2), {}};
        for (uint16_t i = 0; i < CPE_DM_LTE_CELL_LOCK_MAX; i++) {
            locks.lte_cell_list[i] = {i, static_cast<uint16_t>(65535 - i)};
        }
        fill(info->value.lte_cell_lock_list, locks);
    } else if (id == CPE_DM_METRIC_NR5G_CELL_LOCK_LIST) {
        cpe_dm_nr5g_cell_lock_list locks = {1, 500, 600000, call != 0, call == 2 ? 33 : 2u, {}};
        for (uint32_t i = 0; i < CPE_DM_NR5G_ARFCN_LOCK_MAX; i++) {
            locks.arfcn_list[i] = 4294967295 - i;
        }
        fill(info->value.nr5g_cell_lock_list, locks);
    } else if (id == CPE_DM_METRIC_REG_STATUS) {
        info->value.u32_val = 4294967295;
    } else {
        for (int64_t i = 0; i < 3; i++) {
            info->value.i64_list[i] = (id % 2 ? -10000000000 : 10000000000) + 10 * id + i;
        }
    }
    return 0;
}

/* Calls the client's callback with a new event. The callback has to free the event and its payload `record`. */
static void deliver(uint32_t info_type, uint32_t id, uint32_t value_type, int64_t value, void *record = nullptr) {
    auto *info = static_cast<cpe_dm_info *>(calloc(1, sizeof(cpe_dm_info)));
    info->info_type = info_type;
    info->id = id;
    info->value_type = value_type;
    info->value.i64_val = value;
    if (record != nullptr) {
        info->value.cqi_info = record;
    }
    user_cb(&registered, info, nullptr);
}

static void deliver_rsp(uint32_t id, uint32_t value_type, void *record) {
    deliver(CPE_DM_INFO_TYPE_ASYNC_RSP, id, value_type, 0, record);
}

template <typename T> static T *payload(const T &values) {
    auto *copy = static_cast<T *>(calloc(1, sizeof(values)));
    *copy = values;
    return copy;
}

static void deliver_events() {
    user_cb(&registered, nullptr, nullptr);
    deliver(CPE_DM_INFO_TYPE_IND, CPE_DM_IND_REG_STATUS, CPE_DM_VALUE_UINT32, 4294967295);
    for (uint32_t id = CPE_DM_IND_LTE_RSRP; id <= CPE_DM_IND_CNT + 1; id++) {
        deliver(CPE_DM_INFO_TYPE_IND, id % (CPE_DM_IND_CNT + 1), CPE_DM_VALUE_INT64, -10000000000 - id);
    }
    for (uint32_t id : {0u, 1u, 7u, 1000u}) {
        deliver(CPE_DM_INFO_TYPE_IND, id, CPE_DM_VALUE_NONE, 1);
    }
    for (uint32_t id = 0; id <= CPE_DM_ASYNC_RSP_CNT; id++) {
        for (uint32_t value_type : {CPE_DM_VALUE_NONE, CPE_DM_VALUE_LTE_NBR_INFO}) {
            deliver_rsp(id, value_type, nullptr);
        }
    }
    // The responses differ in which values they leave out. Some lengths are larger than their arrays.
    const cpe_dm_lte_nbr nbr = {4294967290, 65535, 1, 4294967200, 1, 2, {{65535, 7, 1}, {1, 2, 0}}};
    const cpe_dm_lte_nbr long_nbr = {1300, 2, 0, 3, 1, 7, {}};
    for (const cpe_dm_lte_nbr_info &values :
         {cpe_dm_lte_nbr_info{1, 6, {nbr, long_nbr}, 1, 4294967295, 65535, 1, -32768, 1, -20},
          cpe_dm_lte_nbr_info{0, 2, {nbr}, 1, 1300, 7, 0, -90, 0, -11},
          cpe_dm_lte_nbr_info{1, 1, {{1, 2, 0, 3, 0, 1, {}}}, 0, 1300, 7, 1, -90, 1, -11},
          cpe_dm_lte_nbr_info{1, 0, {nbr}, 1, 1300, 7, 1, -90, 0, -11}}) {
        deliver_rsp(CPE_DM_ASYNC_RSP_LTE_NBR, CPE_DM_VALUE_LTE_NBR_INFO, payload(values));
    }
    const cpe_dm_nr5g_nbr full = {4294967280, 65535, 1, -156, 1, 2, {{65535, 7, 1}}, 1, 2, {18446744073709551615u, 5}};
    const cpe_dm_nr5g_nbr long_full = {1, 2, 0, -3, 1, 13, {}, 1, 13, {}};
    for (const cpe_dm_nr5g_nbr_info &values :
         {cpe_dm_nr5g_nbr_info{1, 11, {full, long_full}},
          cpe_dm_nr5g_nbr_info{1, 1, {{1, 2, 0, -3, 0, 1, {}, 0, 1, {}}}}, cpe_dm_nr5g_nbr_info{0, 2, {full}},
          cpe_dm_nr5g_nbr_info{1, 0, {full}}}) {
        deliver_rsp(CPE_DM_ASYNC_RSP_NR5G_NBR, CPE_DM_VALUE_NR5G_NBR_INFO, payload(values));
    }
    // The callback has to free a payload even if it does not print the payload. It must not free a value of another
    // type.
    deliver_rsp(CPE_DM_ASYNC_RSP_LTE_NBR, CPE_DM_VALUE_NR5G_NBR_INFO, payload(cpe_dm_nr5g_nbr_info{1, 1, {}}));
    deliver_rsp(CPE_DM_ASYNC_RSP_NR5G_NBR, CPE_DM_VALUE_INT64, &registered);
    for (uint32_t info_type = 0; info_type < 5; info_type++) {
        info_type % 2 ? deliver(info_type, 9, CPE_DM_VALUE_LTE_NBR_INFO, 0, payload(cpe_dm_lte_nbr_info{}))
                      : deliver(info_type, 9, CPE_DM_VALUE_NR5G_NBR_INFO, 0, payload(cpe_dm_nr5g_nbr_info{1, 1, {}}));
    }
}

int32_t cpe_dm_init(cpe_dm_hndl *hndl, void *user_data, cpe_dm_user_cb user_cb_fn) {
    printf(" MODULE: init user_data[%s]\n", user_data ? "set" : "0");
    if (user_cb) {
        return CPE_DM_ERR_ALREADY_INITIALIZED;
    }
    user_cb = user_cb_fn;
    *hndl = &registered;
    return 0;
}

int32_t cpe_dm_deinit(cpe_dm_hndl hndl) {
    const int32_t status = ended(reached("deinit", hndl));
    user_cb = nullptr;
    return status;
}

int32_t cpe_dm_get_info_list(cpe_dm_hndl hndl, cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    int32_t status = reached("get_info_list", hndl);
    for (int32_t i = 0; i < dm_info_list_cnt && status == 0; i++) {
        status = answer(&dm_info_list[i]);
    }
    return ended(status);
}

int32_t cpe_dm_get_info(cpe_dm_hndl hndl, cpe_dm_info *dm_info) {
    const int32_t status = reached("get_info", hndl);
    return ended(status != 0 ? status : answer(dm_info));
}

int32_t cpe_dm_set_ind_info(cpe_dm_hndl hndl, const cpe_dm_info *dm_ind_info) {
    const int32_t status =
        reached("set_ind_info", hndl, dm_ind_info->id >= CPE_DM_IND_CNT ? CPE_DM_ERR_NOT_SUPPORTED : 0);
    printf(" info_type[%u] id[%u] value_type[%u] value[%lld]", dm_ind_info->info_type, dm_ind_info->id,
           dm_ind_info->value_type, static_cast<long long>(dm_ind_info->value.i64_val));
    return ended(status);
}

/* The fake module delivers all its events during this call. */
int32_t cpe_dm_get_ind_cnt(cpe_dm_hndl hndl, uint32_t *dm_ind_cnt) {
    const int32_t status = ended(reached("get_ind_cnt", hndl));
    if (status != 0) {
        return status;
    }
    deliver_events();
    *dm_ind_cnt += 4294967295;
    return 0;
}

int32_t cpe_dm_get_ind_list(cpe_dm_hndl hndl, uint32_t *dm_ind_list, uint32_t dm_ind_list_cnt) {
    const int32_t status = reached("get_ind_list", hndl, dm_ind_list_cnt < 2 ? CPE_DM_ERR_LIST_TOO_SMALL : 0);
    printf(" list[%s] cnt[%u]", dm_ind_list ? "set" : "0", dm_ind_list_cnt);
    for (uint32_t i = 0; i < dm_ind_list_cnt && status == 0; i++) {
        dm_ind_list[i] = i < 2 ? 2 + 5 * i : 0;
    }
    return ended(status);
}

int32_t cpe_dm_clr_ind_list(cpe_dm_hndl hndl, const int32_t *dm_clr_ind_list, uint32_t dm_clr_ind_list_cnt) {
    const int32_t status = reached("clr_ind_list", hndl);
    for (uint32_t i = 0; i < dm_clr_ind_list_cnt; i++) {
        printf(" %d", dm_clr_ind_list[i]);
    }
    return ended(status);
}

/* _exit does not write the counts of a coverage build, so they are written before. */
extern "C" [[gnu::weak]] void __gcov_dump();
extern "C" [[noreturn]] void __real__exit(int status);
extern "C" [[noreturn]] void __wrap__exit(int status);

void __wrap__exit(int status) {
    if (__gcov_dump != nullptr) {
        __gcov_dump();
    }
    __real__exit(status);
}

extern "C" void *__real_calloc(size_t cnt, size_t size);

/* Fails for an allocation of 13 elements. Aborts for more than INT32_MAX bytes, which the client must never ask for. */
extern "C" void *__wrap_calloc(size_t cnt, size_t size) {
    if (cnt > INT32_MAX / size) {
        abort();
    }
    return cnt == 13 ? nullptr : __real_calloc(cnt, size);
}

extern "C" ssize_t __real_read(int fd, void *bytes, size_t len);
extern "C" size_t __real_fwrite(const void *bytes, size_t size, size_t cnt, FILE *file);

/* Appends a line to the file that the test has named in CLIENT_MARKS, if it has named one. */
static void mark(const std::string &text) {
    const char *name = getenv("CLIENT_MARKS");
    const int fd = name != nullptr ? open(name, O_WRONLY | O_CREAT | O_APPEND, 0600) : -1;
    if (fd >= 0) {
        dprintf(fd, "%s\n", text.c_str());
        close(fd);
    }
}

static void mark_failed(const char *call) {
    const int error = errno;
    if (error == EAGAIN || error == EINTR) {
        mark(std::string(call) + (error == EAGAIN ? " would block" : " was interrupted"));
    }
    errno = error;
}

extern "C" ssize_t __wrap_read(int fd, void *bytes, size_t len) {
    const ssize_t result = __real_read(fd, bytes, len);
    if (result < 0) {
        mark_failed("read");
    }
    return result;
}

extern "C" size_t __wrap_fwrite(const void *bytes, size_t size, size_t cnt, FILE *file) {
    const size_t result = __real_fwrite(bytes, size, cnt, file);
    if (result < cnt) {
        mark_failed("write");
    }
    return result;
}

int main(int, char **argv) {
    struct sigaction action = {};
    action.sa_handler = [](int) {}; /* so that the signal interrupts reads and writes */
    sigaction(SIGUSR1, &action, nullptr);
    setvbuf(stdout, nullptr, _IONBF, 0); // so that the module's lines keep their order with the client's lines
    mark("started");
    return cpe_dm_client_run(argv[1]);
}
