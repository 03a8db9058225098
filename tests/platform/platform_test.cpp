/* Tests that the stand-in does what the module relies on in a platform. */
#include "diag_msg.h"
#include "scenario.h"
#include "zeb_wire.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using text_list = std::vector<std::string>;

/* The allocation that is to fail: 1 is the next allocation; 0: none. */
std::atomic<int> failing_new;

} // namespace

[[gnu::noinline]] void *operator new(size_t size) {
    void *memory = failing_new > 0 && --failing_new == 0 ? nullptr : malloc(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void *memory) noexcept {
    free(memory);
}

[[gnu::noinline]] void operator delete(void *memory, size_t) noexcept {
    free(memory);
}

namespace {

const std::string LTE = "[lte]\nsrv_status = 'service'\nrsrp = -90\n";

void sleep_ms(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

/* Runs `body` in a child process that has the scenario `toml`: a process has one modem, which ends with the process. */
void with_scenario(const std::string &toml, const std::function<void()> &body) {
    const std::string path = testing::TempDir() + "platform_test_" + std::to_string(getpid());
    std::ofstream(path) << toml;
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // ends a case that hangs; the status then is not 0
        setenv("ZEB_SCENARIO", path.c_str(), 1);
        body();
        exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, WUNTRACED);
    if (WIFSTOPPED(status)) { // the case has stopped itself
        sleep_ms(6000);
        kill(child, SIGCONT);
        waitpid(child, &status, 0);
    }
    EXPECT_EQ(status, 0) << "in the scenario:\n" << toml;
    std::filesystem::remove(path);
}

zeb_service_object nas() {
    return nas_get_service_object_internal_v01(1, 342, 6);
}

/* What a client was told. Callbacks write this record, and a test reads it after the client's release. The record has
 * no lock on purpose: the release alone has to ensure that no callback writes to the record any more. */
struct told {
    text_list lines;
    bool released = false;
    int pause_ms = 0;
    sigset_t blocked = {}; // the signals that are blocked in the thread that called on_ind
};

template <typename T> T decoded(zeb_client_handle client, uint32_t id, const void *buf, uint32_t len, int32_t &status) {
    T message = {};
    status = zeb_client_message_decode(client, ZEB_MESSAGE_INDICATION, id, buf, len, &message, sizeof(message));
    return message;
}

void on_ind(zeb_client_handle client, uint32_t id, const void *buf, uint32_t len, void *data) {
    told &t = *static_cast<told *>(data);
    std::string line;
    int32_t status = -1;
    sleep_ms(t.pause_ms);
    EXPECT_FALSE(t.released);
    pthread_sigmask(SIG_BLOCK, nullptr, &t.blocked);
    if (id == ZEB_NAS_SCAN_RESULT_IND)
        line = "scan " + std::to_string(decoded<zeb_nas_scan_result_ind>(client, id, buf, len, status).scan_status);
    else if (id == ZEB_NAS_SYS_INFO_IND)
        line = "sys " + std::to_string(decoded<zeb_nas_sys_info>(client, id, buf, len, status).lte_srv_status);
    else if (id == ZEB_NAS_SIG_INFO_IND)
        line = "sig " + std::to_string(decoded<zeb_nas_sig_info>(client, id, buf, len, status).lte_sig.rsrp);
    t.lines.push_back(status == 0 ? line : "refused");
}

zeb_client_handle connect(told &t) {
    zeb_cci_os_params os = {};
    zeb_client_handle client = nullptr;
    EXPECT_EQ(zeb_client_init_instance(nas(), ZEB_INSTANCE_ANY, on_ind, &t, &os, 2000, &client), ZEB_NO_ERR);
    return client;
}

void release(told &t, zeb_client_handle client) {
    EXPECT_EQ(zeb_client_release(client), ZEB_NO_ERR);
    t.released = true;
}

/* Sends a request. Returns "result/error" of the response, or the status when the request fails. */
template <typename Req>
std::string send(zeb_client_handle c, uint32_t id, const Req &req,
                 std::vector<uint8_t> resp = std::vector<uint8_t>(8)) {
    const auto room = static_cast<uint32_t>(resp.size());
    const int32_t status = zeb_client_send_msg_sync(c, id, &req, sizeof(req), resp.data(), room, 300);
    zeb_nas_resp_header header;
    memcpy(&header, resp.data(), sizeof(header));
    return status != 0 ? std::to_string(status) : std::to_string(header.result) + "/" + std::to_string(header.error);
}

void watch(zeb_client_handle client, uint8_t sys_info, uint16_t lte_rsrp_delta) {
    zeb_nas_config_sig_info_req config = {};
    config.lte_rsrp = {1, lte_rsrp_delta};
    EXPECT_EQ(send(client, 0x03, zeb_nas_indication_register_req{1, sys_info, 1, 1, {}}), "0/0");
    EXPECT_EQ(send(client, 0x6C, config), "0/0");
}

/* Runs in a child of fork. Checks that the parent's handle is refused, that the parent's block is free, and that the
 * child gets indications and events. Exits with status 0 when all is right. */
[[noreturn]] void child_of_fork(zeb_cci_os_params &os, zeb_client_handle parents) {
    alarm(60);
    static std::atomic<int> events = 0;
    const auto count = [](zeb_client_handle, zeb_service_object, int32_t, void *) { events++; };
    zeb_client_handle notifier = nullptr;
    told t;
    bool right = zeb_client_release(parents) == ZEB_INVALID_ARG_ERR &&
                 zeb_client_notifier_init(nas(), &os, &notifier) == ZEB_NO_ERR &&
                 zeb_client_register_notify_cb(notifier, count, nullptr) == ZEB_NO_ERR;
    const zeb_client_handle client = connect(t);
    zeb_nas_config_sig_info_req config = {};
    config.lte_rsrp = {1, 1};
    while (send(client, 0x03, zeb_nas_indication_register_req{1, 1, 1, 1, {}}) != "0/0" ||
           send(client, 0x6C, config) != "0/0") {
        sleep_ms(1); // the scenario has taken the service away for a moment
    }
    while (events < 2) {
        sleep_ms(1);
    }
    right = right && zeb_client_release(client) == ZEB_NO_ERR && !t.lines.empty() &&
            zeb_client_release(notifier) == ZEB_NO_ERR;
    _exit(right && !testing::Test::HasFailure() ? 0 : 1);
}

} // namespace

TEST(Platform, DecodingIsStrict) {
    with_scenario(LTE, [] {
        told t;
        const zeb_client_handle client = connect(t);
        const zeb_nas_sys_info info = {};
        const auto sound = zeb_encode(ZEB_MESSAGE_INDICATION, 0x4E, &info, sizeof(info));
        const auto size = static_cast<uint32_t>(sound.size());
        const auto decode = [&](zeb_message_type type, uint32_t id, uint32_t length, uint32_t room, size_t damaged) {
            std::vector<uint8_t> buf = sound;
            std::vector<uint8_t> dst(room, 0xAA);
            buf.resize(length);
            buf.shrink_to_fit();
            if (damaged < length) {
                buf[damaged] ^= 1;
            }
            const int32_t status = zeb_client_message_decode(client, type, id, buf.data(), length, dst.data(), room);
            EXPECT_EQ(dst[0], status == 0 ? 0 : 0xAA);
            return status;
        };
        constexpr auto ind = ZEB_MESSAGE_INDICATION;
        EXPECT_EQ(decode(ind, 0x4E, size, 1320, SIZE_MAX), ZEB_NO_ERR);
        for (uint32_t length : {1u, size - 1, size + 1}) {
            EXPECT_EQ(decode(ind, 0x4E, length, 1320, SIZE_MAX), ZEB_MSG_LEN_ERR);
        }
        for (size_t damaged : {0u, 4u, 8u}) {
            EXPECT_EQ(decode(ind, 0x4E, size, 1320, damaged), ZEB_MSG_MALFORMED_ERR);
        }
        EXPECT_EQ(decode(ind, 0x4E, size, 1319, SIZE_MAX), ZEB_MSG_LEN_ERR);
        EXPECT_EQ(decode(ind, 0x4F, size, 1320, SIZE_MAX), ZEB_UNKNOWN_MSG_ERR);
        EXPECT_EQ(decode(ZEB_MESSAGE_REQUEST, 0x4E, size, 1320, SIZE_MAX), ZEB_UNKNOWN_MSG_ERR);
    });
}

TEST(Platform, ArgumentsAreChecked) {
    with_scenario(LTE, [] {
        told t;
        const zeb_client_handle stale = connect(t);
        release(t, stale);
        const zeb_client_handle client = connect(t);
        zeb_client_handle notifier = nullptr;
        zeb_client_handle none = nullptr;
        zeb_cci_os_params os = {};
        uint32_t n = 0;
        zeb_nas_sys_info_resp r = {};
        const auto request = [&r](zeb_client_handle c, uint32_t id, const void *req, uint32_t len) {
            return zeb_client_send_msg_sync(c, id, req, len, &r, sizeof(r), 100);
        };
        EXPECT_EQ(nas_get_service_object_internal_v01(1, 341, 6), nullptr);
        EXPECT_EQ(zeb_client_notifier_init(nas(), &os, &notifier), ZEB_NO_ERR) << "notifier";
        EXPECT_EQ(zeb_client_notifier_init(nas(), &os, &none), ZEB_INVALID_ARG_ERR) << "block in use";
        EXPECT_EQ(zeb_client_init_instance(nas(), 9, on_ind, &t, &os, 0, &none), ZEB_SERVICE_ERR) << "no such instance";
        EXPECT_EQ(request(client, 0x4D, &n, 1), ZEB_NO_ERR) << "request";
        EXPECT_EQ(request(client, 0x4E, &n, 1), ZEB_UNKNOWN_MSG_ERR) << "unknown message";
        EXPECT_EQ(request(notifier, 0x4D, &n, 1), ZEB_INVALID_ARG_ERR) << "request of a notifier";
        EXPECT_EQ(request(stale, 0x4D, &n, 1), ZEB_INVALID_ARG_ERR) << "request of a stale handle";
        EXPECT_EQ(none, nullptr);
    });
}

TEST(Platform, SignalRaisedBeforeTheWaitIsNotLost) {
    with_scenario("appear_ms = 500\n", [] {
        zeb_cci_os_params os = {};
        zeb_client_handle notifier = nullptr;
        uint32_t n = 0;
        ASSERT_EQ(zeb_client_notifier_init(nas(), &os, &notifier), ZEB_NO_ERR);
        EXPECT_EQ(zeb_client_get_service_list(nas(), nullptr, nullptr, &n), ZEB_SERVICE_ERR);
        sleep_ms(800);
        zeb_cci_os_signal_wait(&os, 0);
        EXPECT_EQ(zeb_client_get_service_list(nas(), nullptr, nullptr, &n), ZEB_NO_ERR);
        EXPECT_EQ(n, 1u);
        const auto before = std::chrono::steady_clock::now();
        zeb_cci_os_signal_wait(&os, 50); // the first wait has lowered the signal, so this wait times out
        EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(50));
        EXPECT_EQ(zeb_client_release(notifier), ZEB_NO_ERR);
    });
}

TEST(Platform, NoCallbackAfterRelease) {
    with_scenario("tick_ms = 10\n" + LTE + "swing = { rsrp = 50, period_ms = 100 }\n", [] {
        size_t count = 0;
        for (int i = 0; i < 30; i++) {
            told t;
            t.pause_ms = i % 3 * 5;
            const zeb_client_handle client = connect(t);
            watch(client, 1, 1);
            sleep_ms(25 + i % 7);
            release(t, client);
            count += t.lines.size();
        }
        EXPECT_GT(count, 10u);
    });
}

TEST(Platform, IndicationsComeInOrderAndByThreshold) {
    const std::string timeline = R"(
change = [
    { at_ms = 1500, lte = { rsrp = -94 } },
    { at_ms = 1550, lte = { rsrp = -95, rsrq = -3 } },
    { at_ms = 1600, lte = { rsrp = -91, srv_status = 'limited' } },
    { at_ms = 1650, lte = { rsrp = -90, srv_status = 'service' }, nr5g = { attached = true } },
    { at_ms = 1700, nr5g = { attached = false } },
    { at_ms = 1750, lte = { srv_status = 'no_service' } }, { at_ms = 1800, lte = { srv_status = 'service' } },
]
fault = [{ message = 0x4E, nth = 2, damage = 'truncated' }]
)";
    with_scenario(timeline + LTE, [] {
        told all;
        told signal;
        all.pause_ms = 60; // longer than the time between indications
        const zeb_client_handle a = connect(all);
        const zeb_client_handle b = connect(signal);
        watch(a, 1, 5);
        watch(b, 0, 4);
        sleep_ms(2300);
        release(all, a);
        release(signal, b);
        EXPECT_EQ(signal.lines, (text_list{"sig -94", "sig -90", "sig -90"}));
        EXPECT_EQ(all.lines,
                  (text_list{"sig -95", "sys 1", "refused", "sig -90", "sys 2", "sys 0", "sys 2", "sig -90"}));
    });
}

/* A client is told of the steps of a ramp, and of the first value again when the timeline starts anew. The thread that
 * calls on_ind blocks all signals except those of a fault, such as SIGSEGV. */
TEST(Platform, ARampIsTold) {
    with_scenario(
        "tick_ms = 50\nrepeat_ms = 1500\nchange = [{ at_ms = 500, lte = { rsrp = { to = -120, over_ms = 500 } } }]\n" +
            LTE,
        [] {
            told t;
            const zeb_client_handle client = connect(t);
            watch(client, 0, 5);
            sleep_ms(1900);
            release(t, client);
            ASSERT_GE(t.lines.size(), 5U);
            EXPECT_EQ(t.lines.back(), "sig -90");
            t.lines.pop_back();
            EXPECT_TRUE(std::is_sorted(t.lines.begin(), t.lines.end(), [](auto &a, auto &b) {
                return a.size() != b.size() ? a.size() < b.size() : a < b;
            }));
            EXPECT_EQ(t.lines.back(), "sig -120");
            for (int signal = 1; signal < 32; signal++) {
                const bool of_a_fault = strchr("\4\5\6\7\10\13\37", signal) != nullptr;
                EXPECT_EQ(sigismember(&t.blocked, signal), !of_a_fault && signal != SIGKILL && signal != SIGSTOP)
                    << signal;
            }
        });
    const struct {
        scenario_value value;
        uint64_t round_ms;
        int32_t expected;
    } cases[] = {{{-90}, 0, -90},
                 {{-90, -120, 100, 300}, 100, -90},
                 {{-90, -120, 100, 300}, 250, -105},
                 {{-90, -120, 100, 300}, 400, -120},
                 {{-90, -120, 100, 300}, 9999, -120},
                 {{5, 9, 0, 4}, 3, 8}};
    for (const auto &c : cases) {
        EXPECT_EQ(scenario_value_at(c.value, c.round_ms), c.expected) << c.round_ms;
    }
    // A ramp that begins before another ramp has ended begins at the value that the other ramp has reached.
    scenario plan;
    std::string error;
    const char *const toml =
        "lte = { rsrp = -90 }\n[[change]]\nat_ms = 100\nlte = { rsrp = { to = -120, over_ms = 300 } }\n"
        "[[change]]\nat_ms = 200\nlte = { rsrp = { to = -80, over_ms = 100 } }\n";
    ASSERT_TRUE(scenario_parse(toml, "f", plan, error)) << error;
    EXPECT_EQ(scenario_value_at(plan.states[2].lte.rsrp, 200), -100);
    EXPECT_EQ(scenario_value_at(plan.states[2].lte.rsrp, 250), -90);
}

/* Makes each allocation in the first call of nas() fail once. The call returns null, and a later call succeeds. */
TEST(Platform, RunningOutOfMemoryAtFirstIsNotForEver) {
    with_scenario(LTE, [] {
        const auto open_files = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
        const auto before = open_files();
        int failed = 0;
        uint32_t n = 0;
        for (bool found = false; !found; failed++) {
            failing_new = failed + 1;
            found = nas() != nullptr;
            failing_new = 0;
            ASSERT_EQ(open_files(), before);
        }
        EXPECT_GT(failed, 10);
        EXPECT_EQ(zeb_client_get_service_list(nas(), nullptr, nullptr, &n), ZEB_NO_ERR);
    });
}

/* A notifier's block may be freed right after the release, even if a thread was waiting for the signal in the block. */
TEST(Platform, AReleasedSignalIsItsOwnersAgain) {
    with_scenario(LTE, [] {
        for (int i = 0; i < 5; i++) {
            auto os = std::make_unique<zeb_cci_os_params>();
            zeb_client_handle notifier = nullptr;
            ASSERT_EQ(zeb_client_notifier_init(nas(), os.get(), &notifier), ZEB_NO_ERR);
            std::thread waiting(zeb_cci_os_signal_wait, os.get(), 0);
            sleep_ms(100);
            EXPECT_EQ(zeb_client_release(notifier), ZEB_NO_ERR);
            memset(os.get(), 0xFF, sizeof(*os));
            os.reset();
            waiting.join();
        }
    });
}

/* A stopped process is not told of the changes that it missed. A scan that was due to end meanwhile has ended. */
TEST(Platform, WhatNobodySawGoesBy) {
    with_scenario("tick_ms = 10\nscan_delay_ms = 2000\n" + LTE + "swing = { rsrp = 50, period_ms = 100 }\n", [] {
        told t;
        const zeb_client_handle client = connect(t);
        watch(client, 1, 1);
        EXPECT_EQ(send(client, 0x85, zeb_nas_incremental_scan_req{1, 4, 1, 5, {}}), "0/0");
        raise(SIGSTOP);
        sleep_ms(200);
        EXPECT_EQ(send(client, 0x85, zeb_nas_incremental_scan_req{1, 4, 1, 5, {}}), "0/0") << "another scan may begin";
        release(t, client);
        EXPECT_EQ(std::count(t.lines.begin(), t.lines.end(), "scan 0"), 1);
        EXPECT_GT(t.lines.size(), 2U);
        EXPECT_LT(t.lines.size(), 100U);
    });
}

TEST(Platform, RequestsThatMakeNoSenseAreRejected) {
    with_scenario("scan_delay_ms = 60000\n" + LTE, [] {
        told t;
        const zeb_client_handle client = connect(t);
        const auto registered = [client](uint8_t a, uint8_t b, uint8_t c, uint8_t d) {
            return send(client, 0x03, zeb_nas_indication_register_req{a, b, c, d, {}});
        };
        const auto configured = [client](int flag) {
            std::array<uint16_t, sizeof(zeb_nas_config_sig_info_req) / 2> config = {};
            config[static_cast<size_t>(flag) * 2] = 2;
            return send(client, 0x6C, config);
        };
        const auto tx_rx = [client](uint32_t radio_if) {
            return send(client, 0x5A, zeb_nas_tx_rx_info_req{radio_if, {}}, std::vector<uint8_t>(196));
        };
        const auto cqi = [client](uint8_t valid, uint32_t technology) {
            return send(client, 0x133, zeb_nas_cqi_info_req{valid, technology}, std::vector<uint8_t>(176));
        };
        const auto scan = [client](uint8_t valid, uint8_t network, uint8_t valid_too, uint32_t type) {
            return send(client, 0x85, zeb_nas_incremental_scan_req{valid, network, valid_too, type, {}});
        };
        EXPECT_EQ((text_list{registered(0, 1, 0, 1), registered(2, 1, 0, 0), registered(1, 2, 0, 0),
                             registered(1, 1, 2, 0), registered(1, 1, 1, 2)}),
                  (text_list{"1/1", "1/2", "1/2", "1/2", "1/2"}));
        EXPECT_EQ((text_list{configured(0), configured(1), configured(2), configured(3), configured(4), configured(5)}),
                  text_list(6, "1/2"));
        EXPECT_EQ((text_list{tx_rx(7), tx_rx(8), tx_rx(12)}), (text_list{"1/2", "0/0", "0/0"}));
        EXPECT_EQ((text_list{cqi(0, 0), cqi(2, 0), cqi(1, 2), cqi(1, 0), cqi(1, 1)}),
                  (text_list{"1/1", "1/2", "1/2", "0/0", "0/0"}));
        EXPECT_EQ((text_list{scan(0, 4, 1, 5), scan(1, 4, 0, 5), scan(2, 4, 1, 5), scan(1, 4, 2, 5), scan(1, 5, 1, 5),
                             scan(1, 4, 1, 4), scan(1, 16, 1, 5), scan(1, 4, 1, 5)}),
                  (text_list{"1/1", "1/1", "1/2", "1/2", "1/2", "1/2", "0/0", "1/3"}));
    });
}

/* A scenario may have nine other LTE cells. In the list of cells the serving cell comes after them. */
TEST(Platform, TheListOfCellsHasRoomForTheServingCell) {
    std::string others;
    for (int i = 1; i <= 9; i++) {
        others += "{ pci = " + std::to_string(i) + " }, ";
    }
    with_scenario(LTE + "pci = 77\nintra = [" + others + "]\n", [] {
        told t;
        zeb_nas_cell_location_info_resp resp = {};
        const zeb_client_handle client = connect(t);
        EXPECT_EQ(zeb_client_send_msg_sync(client, 0x43, "", 1, &resp, sizeof(resp), 300), ZEB_NO_ERR);
        EXPECT_EQ(resp.lte_intra.cells_len, 10U);
        EXPECT_EQ(resp.lte_intra.cells[8].pci, 9U);
        EXPECT_EQ(resp.lte_intra.cells[9].pci, 77U);
    });
    scenario out;
    std::string error;
    EXPECT_FALSE(scenario_parse(LTE + "intra = [" + others + "{ pci = 10 }]\n", "f", out, error));
    EXPECT_EQ(error, "f:4: intra: more than 9 entries");
}

/* A client is told nothing at first. It is told when its metric moves by the threshold, or comes back after a gap. */
TEST(Platform, EachMetricHasItsThreshold) {
    std::string changes = "change = [";
    for (int i = 0; i < 6; i++) {
        changes += "{ at_ms = " + std::to_string(1500 + 50 * i) + (i < 3 ? ", lte" : ", nr5g") + " = { " +
                   (i % 3 == 0   ? "rsrp"
                    : i % 3 == 1 ? "rsrq"
                                 : "snr") +
                   " = " + std::to_string(-20 - i) + " } }, ";
    }
    changes += "{ at_ms = 1850, nr5g = { attached = false } }, { at_ms = 1900, nr5g = { attached = true } }]\n";
    with_scenario(changes + "[lte]\nsrv_status = 'service'\n[nr5g]\nattached = true\n", [] {
        told t[6];
        zeb_client_handle clients[6];
        for (size_t i = 0; i < 6; i++) {
            std::array<zeb_nas_threshold, sizeof(zeb_nas_config_sig_info_req) / 4> config = {};
            clients[i] = connect(t[i]);
            config[i] = {1, 10};
            EXPECT_EQ(send(clients[i], 0x03, zeb_nas_indication_register_req{0, 0, 1, 1, {}}), "0/0");
            EXPECT_EQ(send(clients[i], 0x6C, config), "0/0");
        }
        sleep_ms(2300);
        for (size_t i = 0; i < 6; i++) {
            release(t[i], clients[i]);
            EXPECT_EQ(t[i].lines.size(), i < 3 ? 1U : 2U) << i;
        }
    });
}

/* At the limit on the size of files the log loses lines, but the program goes on. Only the owner can read the log. */
TEST(Platform, TheLogEndsAsOnAFullDisk) {
    with_scenario(LTE, [] {
        const std::string log = testing::TempDir() + "platform_test_log_" + std::to_string(getpid());
        setenv("DIAG_LOG", log.c_str(), 1);
        const rlimit limit = {5000, 5000};
        setrlimit(RLIMIT_FSIZE, &limit);
        for (int i = 0; i < 300; i++) {
            static const diag_msg_desc desc = {1, 65, DIAG_MSG_LEVEL_INFO, "%d", "file.cpp"};
            msg_sprintf(&desc, i);
        }
        struct stat status = {};
        EXPECT_EQ(stat(log.c_str(), &status), 0);
        EXPECT_EQ(status.st_size, 5000);
        EXPECT_EQ(status.st_mode & 0777, 0600U);
        std::filesystem::remove(log);
    });
}

/* A child of fork is served and gets events, whatever the parent's threads were doing at the time of the fork. */
TEST(Platform, AChildOfForkIsServed) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' own locks and threads do not outlive a fork";
#endif
    const char *const outages = "tick_ms = 10\nrepeat_ms = 500\n[[change]]\nat_ms = 300\npresent = false\n";
    with_scenario(outages + LTE + "swing = { rsrp = 50, period_ms = 100 }\n", [] {
        told t;
        zeb_cci_os_params os = {};
        zeb_client_handle notifier = nullptr;
        const zeb_client_handle client = connect(t);
        ASSERT_EQ(zeb_client_notifier_init(nas(), &os, &notifier), ZEB_NO_ERR);
        std::atomic<bool> over = false;
        std::thread busy[2]; // these threads use the platform's locks all the time
        for (std::thread &thread : busy) {
            thread = std::thread([&over, service = nas()] {
                zeb_cci_os_params unused = {};
                for (uint32_t n = 0; !over; zeb_cci_os_signal_wait(&unused, 0)) {
                    zeb_client_get_service_list(service, nullptr, nullptr, &n);
                }
            });
        }
        std::vector<pid_t> children;
        for (int i = 0; i < 12; i++) {
            sleep_ms(11);
            children.push_back(fork());
            if (children.back() == 0) {
                child_of_fork(os, client);
            }
        }
        for (const pid_t child : children) {
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        over = true;
        for (std::thread &thread : busy) {
            thread.join();
        }
        release(t, client);
    });
}

TEST(Platform, ScenariosAreReadStrictly) {
    scenario out;
    std::string error;
    for (const auto &entry : std::filesystem::directory_iterator(PLATFORM_SCENARIOS)) {
        std::stringstream text;
        text << std::ifstream(entry.path()).rdbuf();
        EXPECT_TRUE(scenario_parse(text.str(), entry.path().c_str(), out, error)) << error;
    }
    const struct {
        const char *toml;
        const char *error;
    } cases[] = {
        {"[lte\n", "f:1: "},
        {"\x80[lte]\n", "f:1: a byte that is not a printable ASCII character"},
        {"[lte]\nz = 1\na = 1\n", "f:2: unknown key \"z\""}, // the first error of the file is reported
        {"[lte]\nearfcn = 65536\n", "f:2: earfcn: value out of range 0 to 65535"},
        {"[lte]\nswing = {}\nrsrp = -90.0\n", "f:3: rsrp: an integer is expected"},
        {"[lte]\nrsrp = { to = -9, over_ms = 9 }\n", "f:2: rsrp: a ramp stands in a change, and has to and over_ms"},
        {"[[change]]\nat_ms = 5\nlte = { rsrp = { to = -9 } }\n", "f:3: rsrp: a ramp stands in a change"},
        {"[[change]]\nat_ms = 5\nlte = { snr = { to = 501 } }\n", "f:3: snr: value out of range -500 to 500"},
        {"[[change]]\nat_ms = 5\nlte = { snr = { for = 5 } }\n", "f:3: unknown key \"for\""},
        {"[[change]]\nat_ms = '500'\n", "f:2: at_ms: an integer is expected"}, // the wrong type, not a missing at_ms
        {"[[fault]]\nmessage = '0x004D'\nstatus = -8\n", "f:2: message: an integer is expected"},
        {"change = 5\n", "f:1: change: a list is expected"},
        {"change = [{ at_ms = 5 },\n{ at_ms = 5 }]\n", "f:2: a change needs an at_ms later"},
        {"repeat_ms = 10\nchange = [{ at_ms = 10 }]\n", "f:1: repeat_ms must come after"},
        {"[[fault]]\nmessage = 0x4D\nscan_lost = true\n", "f:1: only message 0x0085"},
        {"[[fault]]\nmessage = 0x4D\ndamage = 'id'\nerror = 0\n", "f:1: a fault strikes either"},
        {"[[fault]]\nmessage = 0x4E\nstatus = -8\n", "f:1: the service has no such request"},
        {"[[fault]]\nmessage = 0x4D\nstatus = -8\nresult = 1\n", "f:1: a request with a status"},
    };
    for (const auto &c : cases) {
        EXPECT_FALSE(scenario_parse(c.toml, "f", out, error)) << c.toml;
        EXPECT_EQ(error.substr(0, strlen(c.error)), c.error);
    }
    with_scenario("lte = 5\n", [] {
        EXPECT_EQ(nas(), nullptr);
        EXPECT_EQ(nas(), nullptr);
    });
}
