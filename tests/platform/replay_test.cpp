// Recordings written by hand: what the reader refuses, and what a program sees of those that are played.
#include "recording.h"
#include "zeb_nas_v01.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

const std::string HEAD = "zeb-recording 1\n";
const std::string OBJECT = "0 object major=2 minor=7 library=1 found=1 took=0\n";
const std::string CLIENT = "100000 client status=0 instance=65535 timeout=1 client=1 took=0\n";

TEST(Recording, ReadsOrSaysWhereItIsNotRight) {
    const struct {
        std::string text;
        std::string outcome; // the number of entries, or what the refusal begins with
    } CASES[] = {
        {HEAD + OBJECT + "# a note\n" + "5 event notifier=1 event=-1\n5 wait timeou", "2"},
        {HEAD + "7 ind client=1 id=0x004e buf=0:\n9 end reason=limit\n", "1"},
        {"zeb-recording 1 machine=armv7l\n", "0"},
        {"", "r:1: is not a whole line"},
        {"zeb-recording 1", "r:1: is not a whole line"},
        {"zeb-recording 2 part=3\n1 before lines=9\n1 kept " + OBJECT.substr(OBJECT.find("object")) +
             "2 returned handle=1 took=3\n4 lost lines=1\n",
         "1"},
        {"zeb-recording 3\n", "r:1: is not the first line"},
        {"zeb-recording 21\n", "r:1: is not the first line"},
        {HEAD + "x object\n", "r:2: does not begin"},
        {HEAD + "-1 object\n", "r:2: does not begin"},
        {HEAD + "1 objects\n", "r:2: no such kind"},
        {HEAD + "\n", "r:2: does not begin"},
        {HEAD + OBJECT + "1 wait took=1\n", "r:3: timeout= is missing"},
        {HEAD + "1 wait timeout=0 took=1 more=1\n", "r:2: goes on"},
        {HEAD + "1 wait timeout=0 took=1 \n", "r:2: goes on"},
        {HEAD + "1 wait timeout=4294967296 took=1\n", "r:2: timeout= is not"},
        {HEAD + "1 ind client=1 id=4e buf=-\n", "r:2: id= is not"},
        {HEAD + "1 ind client=1 id=0x4e buf=1:0g\n", "r:2: buf= is not"},
        {HEAD + "1 ind client=1 id=0x4e buf=1:0\n", "r:2: buf= is not"},
        {HEAD + "1 ind client=1 id=0x4e buf=1:0102\n", "r:2: buf= is not"},
        {HEAD + "1 ind client=1 id=0x4e buf=1048577:\n", "r:2: buf= is not"},
        {HEAD + "9 end reason=limit\n" + OBJECT, "r:3: comes after"},
        {HEAD + "#" + std::string(RECORDING_LINE_MAX, ' ') + "\n", "r:2: longer than"},
        {HEAD + std::string(RECORDING_FILE_MAX, '#'), "r:0: longer than"},
    };
    for (const auto &c : CASES) {
        std::vector<recording_entry> entries;
        std::string error;
        const bool ok = recording_parse(c.text, "r", entries, error);
        EXPECT_EQ((ok ? std::to_string(entries.size()) : error).substr(0, c.outcome.size()), c.outcome)
            << c.text.substr(0, 100);
    }
}

int64_t now_ms() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

struct heard {
    std::vector<std::pair<uint32_t, int64_t>> messages; // ID, and when it came
    std::string decoded;
    std::atomic<size_t> count; // of the messages
};

// Until so many messages have come, and then for as long as one more would take that must not come.
void wait_for_messages(const heard &h, size_t count) {
    while (h.count < count) {
        usleep(1000);
    }
    usleep(200000);
}

void on_ind(zeb_client_handle client, uint32_t id, const void *buf, uint32_t len, void *data) {
    auto &h = *static_cast<heard *>(data);
    char room[3] = "xx";
    const int32_t status = zeb_client_message_decode(client, ZEB_MESSAGE_INDICATION, id, buf, len, room, 2);
    h.messages.emplace_back(id, now_ms());
    h.decoded += std::to_string(status) + room;
    h.count++;
}

zeb_service_object service() {
    return nas_get_service_object_internal_v01(2, 7, 1);
}

int32_t open_client(heard &h, zeb_client_handle &client) {
    zeb_cci_os_params params = {};
    return zeb_client_init_instance(service(), ZEB_INSTANCE_ANY, on_ind, &h, &params, 1, &client);
}

// Status and first byte of the response of three bytes to a request of one.
std::string ask(zeb_client_handle client, uint32_t id, uint8_t req) {
    char resp[4] = "...";
    const int32_t status = zeb_client_send_msg_sync(client, id, &req, 1, resp, 3, 1);
    return std::to_string(status) + resp;
}

// Plays a recording in a child, and returns what the child says on standard error.
std::string play(const std::string &recording, const char *speed, const std::function<void()> &body) {
    const std::string path = testing::TempDir() + "replay_test_" + std::to_string(getpid());
    std::ofstream(path) << recording;
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // a case that hangs fails
        setenv("ZEB_RECORDING", path.c_str(), 1);
        setenv("ZEB_SPEED", speed, 1);
        if (freopen((path + ".err").c_str(), "w", stderr) == nullptr) {
            _exit(2);
        }
        body();
        exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    std::stringstream said;
    said << std::ifstream(path + ".err").rdbuf();
    EXPECT_EQ(status, 0) << said.str();
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".err");
    return said.str();
}

std::string send_line(const std::string &time, const std::string &rest) {
    return time + " send client=1 " + rest + " took=0\n";
}

const std::string REQUESTS = HEAD + OBJECT + CLIENT +
                             send_line("110000", "id=0x0011 status=0 timeout=1 req=1:07 resp=3:61") +
                             send_line("120000", "id=0x0011 status=-3 timeout=1 req=1:07 resp=3:62") +
                             send_line("130000", "id=0x0022 status=0 timeout=1 req=1: resp=3:63");

TEST(Replay, RequestsAreAnsweredAsRecordedOrSaidToDiffer) {
    const std::string said = play(REQUESTS, "0", [] {
        heard h;
        zeb_client_handle client = nullptr;
        EXPECT_EQ(nas_get_service_object_internal_v01(1, 342, 6), nullptr);
        ASSERT_EQ(open_client(h, client), 0);
        EXPECT_EQ(ask(client, 0x11, 7), "0a");
        EXPECT_EQ(ask(client, 0x22, 0), "0c"); // too early
        EXPECT_EQ(ask(client, 0x11, 7), "-3b");
        EXPECT_EQ(ask(client, 0x11, 7), "-3b"); // once more
        EXPECT_EQ(ask(client, 0x11, 8), "-8...");
        char room[4];
        EXPECT_EQ(zeb_client_send_msg_sync(client, 0x22, "", 1, room, 4, 1), ZEB_TRANSPORT_ERR);
    });
    for (const char *text : {":5: the first request that differs: 0x0022, where 0x0011 was recorded\n",
                             ":6: after this line: request, message 0x0011, was never recorded and is lost\n",
                             "1 as recorded, 2 out of order, 1 repeated, 2 never recorded, 0 not made;"}) {
        EXPECT_NE(said.find(text), std::string::npos) << text << " is not in\n" << said;
    }
}

const std::string INDICATIONS =
    HEAD + OBJECT + CLIENT + "400000 ind client=1 id=0x0044 buf=5:01\n" +
    "400010 decode client=1 type=2 id=0x0044 status=-7 buf=5:01 dst=2:79 took=1\n" +
    send_line("500000", "id=0x0011 status=0 timeout=1 req=1:07 resp=3:61") +
    "700000 ind client=1 id=0x0055 buf=5:02\n" +
    "1100000 client status=0 instance=65535 timeout=1 client=2 took=0\n1200000 ind client=2 id=0x0066 buf=1:\n";

TEST(Replay, IndicationsComeAtTheirTimesButNotBeforeWhatCausedThem) {
    const struct {
        const char *speed;
        int pause_ms;          // before the request
        int64_t first, second; // when the indications come after the registration
        bool asks;
    } CASES[] = {
        {"1", 0, 300, 600, true},                                   // early: its time decides
        {"0.5", 1000, 600, 1200, true},                             // in time
        {"10", 300, 30, 320, true},                                 // late: the rest follows it
        {"0", 100, 20, 120, true},      {"10", 0, 30, 1060, false}, // does not come at all: the rest goes on
    };
    for (const auto &c : CASES) {
        const auto meet = [&c] {
            heard h;
            heard h2;
            heard h3;
            zeb_client_handle client = nullptr;
            usleep(50000);
            const int64_t start = now_ms();
            ASSERT_EQ(open_client(h, client), 0);
            usleep(static_cast<useconds_t>(c.pause_ms) * 1000);
            if (c.asks) {
                EXPECT_EQ(ask(client, 0x11, 7), "0a");
            }
            wait_for_messages(h, 2);
            EXPECT_EQ(zeb_client_release(client), 0);
            ASSERT_EQ(h.messages.size(), 2U) << c.speed;
            EXPECT_EQ(h.decoded, "-7y-8xx");
            const int64_t first = h.messages[0].second - start;
            const int64_t second = h.messages[1].second - start;
            EXPECT_TRUE(first >= c.first - 2 && second >= c.second - 2) << c.speed << ": " << first << ", " << second;
            fprintf(stderr, first > c.first + 200 || second > c.second + 200 ? "late\n" : "");
            zeb_client_handle third = nullptr;
            ASSERT_EQ(open_client(h2, client), 0);
            ASSERT_EQ(open_client(h3, third), 0); // never recorded
            wait_for_messages(h2, 1);
            EXPECT_EQ(zeb_client_release(client) + zeb_client_release(third), 0);
            EXPECT_EQ(h2.messages.size(), 1U);
            EXPECT_EQ(h3.messages.size(), 0U);
        };
        // A busy machine makes them late now and then, but not each time.
        int tries = 0;
        while (play(INDICATIONS, c.speed, meet).find("late\n") != std::string::npos && tries < 20) {
            tries++;
        }
        EXPECT_LT(tries, 20) << c.speed;
    }
}

TEST(Replay, WhatCannotBePlayedIsAnAbsentService) {
    const struct {
        std::string recording;
        const char *speed;
        const char *said;
    } CASES[] = {
        {HEAD + "1 nothing\n", "1", ":2: no such kind of event: nothing\n"},
        {REQUESTS, "fast", "ZEB_SPEED: not a speed: fast\n"},
        {REQUESTS, "-1", "ZEB_SPEED: not a speed: -1\n"},
        {REQUESTS, "inf", "ZEB_SPEED: not a speed: inf\n"},
    };
    for (const auto &c : CASES) {
        const std::string said = play(c.recording, c.speed, [] {
            uint32_t services = 0;
            heard h;
            zeb_client_handle client = nullptr;
            EXPECT_EQ(zeb_client_get_service_list(service(), nullptr, nullptr, &services), ZEB_SERVICE_ERR);
            EXPECT_EQ(open_client(h, client), ZEB_SERVICE_ERR);
        });
        EXPECT_NE(said.find(c.said), std::string::npos) << said;
    }
}

} // namespace
