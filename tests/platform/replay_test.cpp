/* Recordings written by hand: which of them the reader refuses, and what a program sees when one is played. */
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
#include <mutex>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

const std::string HEAD = "zeb-recording 1\n";
const std::string HEAD_2 = "zeb-recording 2\n";
const std::string OBJECT = "0 object major=2 minor=7 library=1 found=1 took=0\n";
const std::string CLIENT = "100000 client status=0 instance=65535 timeout=1 client=1 took=0\n";

TEST(Recording, ReadsOrSaysWhereItIsNotRight) {
    const struct {
        std::string text;
        std::string outcome; // the number of entries, or the beginning of the error text
    } CASES[] = {
        {HEAD + OBJECT + "# a note\n" + "5 event notifier=1 event=-1\n5 wait timeou", "2"},
        {HEAD + "7 ind client=1 id=0x004e buf=0:\n9 end reason=limit\n", "1"},
        {"zeb-recording 1 machine=armv7l\n", "0"},
        {"", "r:1: is not a whole line"},
        {"zeb-recording 1", "r:1: is not a whole line"},
        {"zeb-recording 3\n", "r:1: is not the first line"},
        {"zeb-recording 2 part=0\n", "r:1: part= is not"},
        {HEAD + "1 lost lines=1\n", "r:2: no such kind"},
        {HEAD_2 + "1 kept ind client=1 id=0x4e buf=-\n", "r:2: no such kind"},
        {HEAD_2 + "1 ind client=1 id=0x4e buf=-\n1 returned handle=2 took=1\n", "r:3: no such callback"},
        {HEAD_2 + "1 ind client=1 id=0x4e buf=-\n2 returned handle=1 took=1\n", "r:3: no such callback"},
        {HEAD_2 + "1 lost lines=1\n1 returned handle=2 took=1\n", "1"},
        {HEAD + "x object\n", "r:2: does not begin"},
        {HEAD + "-1 object\n", "r:2: does not begin"},
        {HEAD + "1 objects\n", "r:2: no such kind"},
        {HEAD + "\n", "r:2: does not begin"},
        {HEAD + OBJECT + "1 wait took=1\n", "r:3: timeout= is missing"},
        {HEAD + "1 wait timeout=0 took=1 more=1\n", "r:2: goes on"},
        {HEAD + "1 wait timeout=0 took=1 \n", "r:2: goes on"},
        {HEAD + "1 wait timeout=4294967296 took=1\n", "r:2: timeout= is not"},
        {HEAD + "1 wait timeout=0 took=2678400000001\n", "r:2: took= is not"},
        {HEAD + "1 end reason=\n", "r:2: reason= is not"},
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
        recording read;
        std::string error;
        const bool ok = recording_parse(c.text, "r", read, error);
        EXPECT_EQ((ok ? std::to_string(read.entries.size()) : error).substr(0, c.outcome.size()), c.outcome)
            << c.text.substr(0, 100);
    }
}

TEST(Recording, TellsWhereItComesFromAndWhatItMisses) {
    recording r;
    std::string error;
    const std::string text = "zeb-recording 2 start=2026-11-23T02:16:57.123Z machine=armv7l program=p recorder=1.0.0 "
                             "part=3\n7 before lines=12\n7 kept client status=0 instance=9 timeout=8 client=1 took=5\n"
                             "9 ind client=1 id=0x4e buf=-\n9 event notifier=2 event=1\n9 returned handle=2 took=0\n"
                             "9 returned handle=1 took=70\n80 lost lines=4\n80 unrecorded handles=2\n90 lost lines=1\n"
                             "99 end reason=disk-full\n# cut";
    ASSERT_TRUE(recording_parse(text, "r", r, error)) << error;
    EXPECT_EQ(r.version, 2U);
    EXPECT_EQ(r.start_ms, 1795400217123);
    EXPECT_EQ(r.machine + " " + r.program + " " + r.recorder, "armv7l p 1.0.0");
    EXPECT_EQ(r.part, 3U);
    EXPECT_EQ(r.before_lines, 12U);
    EXPECT_EQ(r.lost_lines, 5U);
    EXPECT_EQ(r.unrecorded, 2U);
    EXPECT_EQ(r.end_reason, "disk-full");
    EXPECT_EQ(r.end_us, 99U);
    EXPECT_TRUE(r.cut);
    ASSERT_EQ(r.entries.size(), 6U);
    EXPECT_TRUE(r.entries[0].kept);
    EXPECT_EQ(r.entries[0].instance * 10 + r.entries[0].timeout_ms, 98U);
    EXPECT_TRUE(r.entries[1].returned);
    EXPECT_EQ(r.entries[1].took_us, 70U);
    EXPECT_EQ(r.entries[1].returned_line, 7U);
    EXPECT_EQ(r.entries[3].kind, recording_kind::LOST);
    for (const char *start :
         {"", "2026-02-30T00:00:00Z", "2026-02-20T24:00:00Z", "2026-02-20 04:00:00Z", "2026-02-20T04:00:00.1Z"}) {
        EXPECT_TRUE(recording_parse(std::string("zeb-recording 1 start=") + start + " machine=x\n", "r", r, error));
        EXPECT_EQ(r.start_ms, -1) << start;
    }
}

int64_t now_ms() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

struct heard {
    std::vector<std::pair<uint32_t, int64_t>> messages; // the ID of each message, and the time when it came
    std::string decoded;
    std::atomic<size_t> begun = 0;
    std::atomic<size_t> count = 0; // the size of `messages`, for other threads
    int pause_ms = 0;
};

/* Waits until `count` messages have come, and 200 ms more, in which a message too many would come. */
void wait_for_messages(const heard &h, size_t count) {
    while (h.count < count) {
        usleep(1000);
    }
    usleep(200000);
}

void on_ind(zeb_client_handle client, uint32_t id, const void *buf, uint32_t len, void *data) {
    auto &h = *static_cast<heard *>(data);
    char room[3] = "xx";
    h.begun++;
    usleep(static_cast<useconds_t>(h.pause_ms) * 1000);
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

/* Makes a request of one byte, with room for a response of three bytes. Returns the status and the response up to its
 * first zero. */
std::string ask(zeb_client_handle client, uint32_t id, uint8_t req) {
    char resp[4] = "...";
    const int32_t status = zeb_client_send_msg_sync(client, id, &req, 1, resp, 3, 1);
    return std::to_string(status) + resp;
}

/* Plays the recording `text` in a child that runs `body`. Returns what the child prints on standard error. Checks that
 * the child exits with 10 when it prints that the play was not exact, and with 0 otherwise. */
std::string play(const std::string &text, const char *speed, const std::function<void()> &body) {
    const std::string path = testing::TempDir() + "replay_test_" + std::to_string(getpid());
    std::ofstream(path) << text;
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60); // ends a case that hangs; the status then is neither 0 nor 10
        setenv("ZEB_RECORDING", path.c_str(), 1);
        setenv("ZEB_SPEED", speed, 1);
        setenv("ZEB_STRICT", "1", 1);
        if (freopen((path + ".err").c_str(), "w", stderr) == nullptr) {
            _exit(2);
        }
        body();
        if (testing::Test::HasFailure()) {
            _exit(1);
        }
        exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    std::stringstream said;
    said << std::ifstream(path + ".err").rdbuf();
    EXPECT_EQ(status, said.str().find("not exact: ") == std::string::npos ? 0 : 10 << 8) << said.str();
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".err");
    return said.str();
}

/* Replaces the name of the recording in `said` by FILE. Then expects `said` to contain each of `texts`. */
void expect_said(std::string said, std::initializer_list<const char *> texts) {
    const std::string file = testing::TempDir() + "replay_test_" + std::to_string(getpid());
    for (size_t at = said.find(file); at != std::string::npos; at = said.find(file)) {
        said.replace(at, file.size(), "FILE");
    }
    for (const char *text : texts) {
        EXPECT_NE(said.find(text), std::string::npos) << text << " is not in\n" << said;
    }
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
        EXPECT_EQ(ask(client, 0x22, 0), "0c"); // before its turn in the recording
        EXPECT_EQ(ask(client, 0x11, 7), "-3b");
        EXPECT_EQ(ask(client, 0x11, 7), "-3b"); // recorded only twice, so the last answer is repeated
        EXPECT_EQ(ask(client, 0x11, 8), "-8...");
        char room[4];
        EXPECT_EQ(zeb_client_send_msg_sync(client, 0x22, "", 1, room, 4, 1), ZEB_TRANSPORT_ERR);
    });
    expect_said(said,
                {":2: the first call that differs: service object 1.342.6, where service object 2.7.1 was recorded\n",
                 ":6: after this line: request 0x0011 was never recorded and is lost\n",
                 "requests: 1 as recorded, 2 out of order, 1 repeated, 2 never recorded; "
                 "other calls: 2 as recorded, 1 never recorded\n"});
}

/* The play names the first call that differs from the recording, and says how it differs. */
TEST(Replay, ARequestOfTheSameMessageNamesWhatDiffers) {
    const std::string recorded =
        HEAD + OBJECT + CLIENT + send_line("200000", "id=0x0011 status=0 timeout=1 req=3:070009 resp=3:61");
    const struct {
        std::string request;
        uint32_t room;
        const char *said;
    } CASES[] = {
        {{7, 0, 5}, 3, ": the first call that differs: request 0x0011 with 0x05 in byte 2 of 3, where it was 0x09\n"},
        {{7, 1, 9}, 3, ": the first call that differs: request 0x0011 with 0x01 in byte 1 of 3, where it was 0x00\n"},
        {{7, 0}, 3, ": the first call that differs: request 0x0011 of 2 bytes, where it had 3\n"},
        {{7, 0, 9}, 2, ": the first call that differs: request 0x0011 with room for 2 bytes, where it was for 3\n"},
    };
    for (const auto &c : CASES) {
        expect_said(play(recorded, "0",
                         [&c] {
                             heard h;
                             zeb_client_handle client = nullptr;
                             char resp[4];
                             ASSERT_EQ(open_client(h, client), 0);
                             EXPECT_EQ(zeb_client_send_msg_sync(client, 0x11, c.request.data(),
                                                                static_cast<uint32_t>(c.request.size()), resp, c.room,
                                                                1),
                                       ZEB_TRANSPORT_ERR);
                         }),
                    {c.said, "not exact: ", "1 never recorded, 1 not made"});
    }
}

/* The program makes all calls of `session` in every case. Further lines in most of the recordings make the play
 * inexact, and the play says why. */
TEST(Replay, APlayIsExactOrSaysWhyNot) {
    const std::string ask_line = " send client=1 id=0x0011 status=0 timeout=1 req=1:07 resp=3:61 took=0\n";
    const std::string session = OBJECT + CLIENT + "200000" + ask_line;
    const struct {
        std::string text;
        const char *said;
    } CASES[] = {
        {HEAD + session, "exact: FILE: requests: 1 as recorded; other calls: 2 as recorded\n"},
        {HEAD + session + "300000 wait timeo", "; the recording is cut short in line 5\n"},
        {HEAD + session + "300000 end reason=limit\n", "; the recording ended before the program: limit\n"},
        {HEAD_2 + session + "300000 lost lines=3\n", "; lines lost while recording: 3\n"},
        {HEAD_2 + session + "300000 unrecorded handles=1\n", "; clients, notifiers and callbacks not recorded: 1\n"},
        {HEAD + session + "300000 client status=0 instance=1 timeout=1 client=0 took=0\n",
         "other calls: 2 as recorded, 1 not made; clients, notifiers and callbacks not recorded: 1\n"},
        {HEAD_2 + "100000 before lines=9\n" + session, "; lines missing before this part: 9\n"},
        {HEAD + session + "300000 object major=2 minor=7 library=1 found=1 took=0\n", "2 as recorded, 1 not made\n"},
        {HEAD + session + "300000 release handle=0 status=-1 took=0\n", "2 as recorded, 1 not made\n"},
        {HEAD + session + "300000 release handle=0 status=-4 took=0\n", "exact: FILE: requests: 1 as"},
        {HEAD + session + "199900 ind client=1 id=0x0044 buf=5:01\n",
         "; calls at the moment of an indication or event: 1, the first at that of line 5"},
        {HEAD + session + "900000 ind client=1 id=0x0044 buf=5:01\n", "indications and events: 1 not delivered\n"},
    };
    for (const auto &c : CASES) {
        const std::string said = play(c.text, "0", [&c] {
            heard &h = *new heard; // never freed: an indication may still come while the child exits
            zeb_client_handle client = nullptr;
            ASSERT_EQ(open_client(h, client), 0);
            EXPECT_EQ(ask(client, 0x11, 7), "0a");
            if (c.text.find("199900") != std::string::npos) {
                wait_for_messages(h, 1);
            }
        });
        expect_said(said, {c.said});
        EXPECT_EQ(std::string(c.said).starts_with("exact: "), said.starts_with("exact: ")) << said;
    }
}

/* A call that was recorded after an indication, but comes before it, is too early. Typing ahead leads to such calls. */
TEST(Replay, CallsThatComeTooEarlyAreSaid) {
    const std::string recorded = HEAD + OBJECT + CLIENT + "400000 ind client=1 id=0x0044 buf=5:01\n" +
                                 send_line("420000", "id=0x0011 status=0 timeout=1 req=1:07 resp=3:61");
    const struct {
        const char *speed;
        const char *said;
    } CASES[] = {{"0", "requests: 1 as recorded;"}, {"1", "requests: 1 out of order;"}};
    for (const auto &c : CASES) {
        const std::string said = play(recorded, c.speed, [] {
            heard h;
            zeb_client_handle client = nullptr;
            ASSERT_EQ(open_client(h, client), 0);
            EXPECT_EQ(ask(client, 0x11, 7), "0a");
            wait_for_messages(h, 1);
            zeb_client_release(client);
        });
        expect_said(said, {":5: the first call that comes too early: request 0x0011, before the indication of line 4\n",
                           "; calls too early: 1, the first that of line 5\n", c.said});
    }
}

/* In the recording, a call comes well after the program has dealt with an indication. When this call comes earlier in
 * the play, while the program still deals with the indication, the call is reported as too early. */
TEST(Replay, CallsBeforeTheProgramHasDealtWithAnIndicationAreSaid) {
    const std::string recorded = HEAD_2 + OBJECT + CLIENT + "200000 ind client=1 id=0x0044 buf=5:01\n" +
                                 "200010 decode client=1 type=2 id=0x0044 status=-7 buf=5:01 dst=2: took=1\n" +
                                 "200000 returned handle=1 took=50\n" +
                                 send_line("400000", "id=0x0011 status=0 timeout=1 req=1:07 resp=3:61");
    const char *early = ":7: the first call that comes too early: request 0x0011, before the program had dealt "
                        "with the indication of line 4\n";
    enum class other { IDLE, WORKS, WAITS_FOR_LOCK }; // what another thread does until the call has been answered
    const struct {
        int callback_ms, pause_ms; // duration of the callback, and time from its beginning to the call
        other thread;
        const char *said;
    } CASES[] = {{1000, 300, other::IDLE, early},
                 {0, 10, other::WORKS, early},
                 {0, 10, other::WAITS_FOR_LOCK, early},
                 {0, 300, other::IDLE, "; indications and events: 1 delivered\n"}};
    for (const auto &c : CASES) {
        const auto body = [&c] {
            heard h;
            zeb_client_handle client = nullptr;
            std::atomic<bool> works = c.thread == other::WORKS;
            std::mutex held; // locked by the thread that makes the call, until it has its answer
            std::unique_lock hold(held);
            std::thread worker([&] {
                while (works) {
                }
                if (c.thread == other::WAITS_FOR_LOCK) {
                    std::lock_guard wait(held);
                }
            });
            h.pause_ms = c.callback_ms;
            EXPECT_EQ(open_client(h, client), 0);
            while (h.begun == 0) {
                usleep(1000);
            }
            usleep(static_cast<useconds_t>(c.pause_ms) * 1000);
            EXPECT_EQ(ask(client, 0x11, 7), "0a");
            works = false;
            hold.unlock();
            worker.join();
        };
        // On a busy machine the pauses may be longer than asked for, so a case may be tried again.
        std::string said;
        for (int tries = 0; tries < 20 && said.find(c.said) == std::string::npos; tries++) {
            said = play(recorded, "0", body);
        }
        expect_said(said, {c.said});
    }
}

TEST(Replay, EachClientGetsItsOwnAnswers) {
    const std::string recorded = HEAD + OBJECT + CLIENT +
                                 "150000 client status=0 instance=1 timeout=1 client=2 took=0\n" +
                                 "200000 send client=1 id=0x0011 status=0 timeout=1 req=1:07 resp=3:61 took=0\n" +
                                 "300000 send client=2 id=0x0011 status=0 timeout=1 req=1:07 resp=3:62 took=0\n";
    expect_said(play(recorded, "0",
                     [] {
                         heard h[2];
                         zeb_client_handle clients[2] = {};
                         ASSERT_EQ(open_client(h[0], clients[0]), 0);
                         ASSERT_EQ(open_client(h[1], clients[1]), 0);
                         EXPECT_EQ(ask(clients[1], 0x11, 7), "0b");
                         EXPECT_EQ(ask(clients[0], 0x11, 7), "0a");
                     }),
                {"not exact: FILE: requests: 2 out of order; other calls: 3 as recorded, 1 repeated\n"});
}

/* An answer takes as long as on the box, divided by the speed. A call that was recorded after the return of a slow
 * callback is not answered before the callback has returned in the play. */
TEST(Replay, CallsAndCallbacksTakeTheirTime) {
    const std::string recorded = HEAD_2 + OBJECT + CLIENT + "200000 ind client=1 id=0x0044 buf=5:01\n" +
                                 "200010 decode client=1 type=2 id=0x0044 status=-7 buf=5:01 dst=2: took=1\n" +
                                 "300000 send client=1 id=0x0011 status=0 timeout=1 req=1:07 resp=3:61 took=400000\n" +
                                 "200000 returned handle=1 took=1900000\n" +
                                 "2200000 send client=1 id=0x0022 status=-3 timeout=1 req=1:07 resp=3: took=0\n";
    const std::string said = play(recorded, "2", [] {
        heard h;
        zeb_client_handle client = nullptr;
        h.pause_ms = 1500;
        ASSERT_EQ(open_client(h, client), 0);
        while (h.begun == 0) {
            usleep(1000);
        }
        const int64_t start = now_ms();
        EXPECT_EQ(ask(client, 0x11, 7), "0a");
        EXPECT_GE(now_ms() - start, 200);
        EXPECT_EQ(h.count, 0U);
        EXPECT_EQ(ask(client, 0x22, 7), "-3...") << "a response that failed stays as it is";
        EXPECT_EQ(h.count, 1U);
        EXPECT_EQ(h.decoded, "-7xx") << "and so does a message that cannot be decoded";
    });
    expect_said(said, {"requests: 2 as recorded; decodings: 1 as recorded; other calls: 2 as recorded;"});
}

/* Version 1 of the format does not tell how long a callback took. The play waits for a second, goes on, and says so. */
TEST(Replay, ACallbackThatIsNotWaitedForIsSaid) {
    const std::string recorded = HEAD + OBJECT + CLIENT + "200000 ind client=1 id=0x0044 buf=5:01\n" +
                                 send_line("300000", "id=0x0011 status=0 timeout=1 req=1:07 resp=3:61");
    const std::string said = play(recorded, "0", [] {
        heard h;
        zeb_client_handle client = nullptr;
        h.pause_ms = 1500;
        ASSERT_EQ(open_client(h, client), 0);
        while (h.begun == 0) {
            usleep(1000);
        }
        EXPECT_EQ(ask(client, 0x11, 7), "0a");
        EXPECT_EQ(h.count, 0U);
        zeb_client_release(client);
    });
    expect_said(said, {"FILE:5: goes on although the callback for line 4 has not returned\n",
                       "; lines played before a callback had returned: 1, the first before that of line 4\n"});
}

/* The last part of a recording can be played by itself. Each of its kept lines answers a call of the program, as often
 * as the program makes this call, until the part's own lines are played. */
TEST(Replay, APartAnswersFromKeptCalls) {
    const std::string recorded = "zeb-recording 2 part=2\n900000 before lines=50\n"
                                 "900000 kept object major=2 minor=7 library=1 found=1 took=0\n"
                                 "900000 kept client status=0 instance=65535 timeout=1 client=7 took=0\n"
                                 "900000 kept send client=7 id=0x0011 status=0 timeout=1 req=1:07 resp=3:61 took=0\n"
                                 "900000 kept send client=7 id=0x0022 status=0 timeout=1 req=1:07 resp=3:62 took=0\n"
                                 "950000 ind client=7 id=0x0044 buf=5:01\n950010 decode client=7 type=2 id=0x0044 "
                                 "status=0 buf=5:01 dst=2:79 took=1\n"
                                 "950000 returned handle=7 took=50\n"
                                 "960000 send client=7 id=0x0033 status=0 timeout=1 req=1:07 resp=3:63 took=0\n"
                                 "970000 send client=7 id=0x0011 status=0 timeout=1 req=1:07 resp=3:64 took=0\n";
    const std::string said = play(recorded, "1", [] {
        heard h;
        zeb_client_handle client = nullptr;
        EXPECT_NE(service(), nullptr);
        ASSERT_EQ(open_client(h, client), 0);
        EXPECT_EQ(ask(client, 0x11, 7) + ask(client, 0x11, 7), "0a0a");
        wait_for_messages(h, 1);
        EXPECT_EQ(h.decoded, "0y");
        EXPECT_EQ(ask(client, 0x33, 7), "0c");
        EXPECT_EQ(ask(client, 0x11, 7), "0d");
    });
    expect_said(said, {"not exact: FILE: requests: 2 as recorded; decodings: 1 as recorded; "
                       "indications and events: 1 delivered; lines missing before this part: 50\n"});
}

TEST(Replay, AWaitThatNothingEndsEndsAStrictProgram) {
    const std::string said = play(HEAD + OBJECT + "5 notifier status=0 notifier=1 took=0\n" + CLIENT, "0", [] {
        zeb_cci_os_params params = {};
        zeb_client_handle notifier = nullptr;
        EXPECT_EQ(zeb_client_notifier_init(service(), &params, &notifier), 0);
        zeb_cci_os_signal_wait(&params, 0);
        ADD_FAILURE() << "goes on";
    });
    expect_said(said, {"FILE:3: after this line: waits for the service, which does not come any more\n",
                       "not exact: FILE: other calls: 2 as recorded, 1 not made\n"});
}

TEST(Replay, AChildOfForkHasNoPartInIt) {
    const std::string said = play(REQUESTS, "0", [] {
        heard h;
        zeb_client_handle client = nullptr;
        const zeb_service_object parents = service();
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            zeb_cci_os_params params = {};
            setvbuf(stderr, nullptr, _IONBF, 0);
            _exit(service() == nullptr && service() == nullptr &&
                          zeb_client_init_instance(parents, 1, on_ind, &h, &params, 1, &client) != ZEB_NO_ERR
                      ? 0
                      : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        ASSERT_EQ(open_client(h, client), 0);
    });
    expect_said(said, {"FILE: is played by the parent process, not by its child of fork\n"});
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
        int pause_ms;          // ms, before the request
        int64_t first, second; // ms from the creation of the client to each indication
        bool asks;
    } CASES[] = {
        {"1", 0, 300, 600, true},                                    // request early: indications at their times
        {"0.5", 1000, 600, 1200, true},                              // request before the second indication is due
        {"10", 300, 30, 320, true},                                  // request late: the second indication waits
        {"0", 100, 20, 120, true},      {"10", 0, 30, 10060, false}, // no request: the second indication waits 10 s
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
            ASSERT_EQ(open_client(h3, third), 0); // this client was never recorded
            wait_for_messages(h2, 1);
            EXPECT_EQ(zeb_client_release(client) + zeb_client_release(third), 0);
            EXPECT_EQ(h2.messages.size(), 1U);
            EXPECT_EQ(h3.messages.size(), 0U);
        };
        // On a busy machine an indication may come late, so a case may be tried again.
        int tries = 0;
        while (play(INDICATIONS, c.speed, meet).find("late\n") != std::string::npos && tries < 20) {
            tries++;
        }
        EXPECT_LT(tries, 20) << c.speed;
    }
}

TEST(Replay, WhatCannotBePlayedIsRefusedAtOnce) {
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
            EXPECT_EQ(service(), nullptr);
            EXPECT_EQ(service(), nullptr);
        });
        expect_said(said, {c.said, "not exact: FILE: is refused\n"});
    }
}

} // namespace
