/* A program with the recorder in front of a platform with fixed answers. Its first argument says what it does. It
 * prints what it gets from the platform. */
#include "fault.h"
#include "record_fault.h"
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

/* Without this option ThreadSanitizer lets each of the hundreds of child processes sleep for a second at its end. */
extern "C" const char *__tsan_default_options();
extern "C" const char *__tsan_default_options() {
    return "atexit_sleep_ms=0";
}

namespace {

unsigned pause_ms = 20; // duration of the wait in session(), and of the callback for events

void saw(const char *what, int64_t value) {
    const int error = errno;
    int state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &state);
    printf("%s %lld, errno %d%s\n", what, static_cast<long long>(value), error,
           state == PTHREAD_CANCEL_ENABLE ? "" : ", cannot be cancelled");
    errno = 1;
}

void on_ind(zeb_client_handle client, uint32_t id, const void *buf, uint32_t len, void *data) {
    uint8_t dst[6] = {};
    saw("indication", static_cast<int64_t>(id + len) + *static_cast<int *>(data));
    saw("decode", zeb_client_message_decode(client, ZEB_MESSAGE_INDICATION, id, buf, len, dst, sizeof(dst)));
    saw("decoded", dst[1]);
}

void on_event(zeb_client_handle, zeb_service_object service, int32_t event, void *data) {
    saw("event", event + (service != nullptr) + *static_cast<int *>(data));
    usleep(pause_ms * 1000);
}

void ask_object() {
    nas_get_service_object_internal_v01(1, 0, 0);
}

/* The buffers `infos` and `secret` are filled with the byte 5a, which no call returns. So it must not be recorded. */
void session() {
    int cookie = 1000;
    zeb_cci_os_params params = {};
    zeb_client_handle notifier = nullptr, client = nullptr;
    zeb_service_info infos[2];
    uint32_t entries = 2, services = 0;
    uint8_t req[3] = {0, 0x1F, 0}, resp[6] = {}, secret[6];
    memset(infos, 0x5A, sizeof(infos));
    memset(secret, 0x5A, sizeof(secret));
    saw("no object", nas_get_service_object_internal_v01(2, 0, 0) == nullptr);
    zeb_service_object nas = nas_get_service_object_internal_v01(1, 342, 6);
    saw("no notifier", zeb_client_notifier_init(nullptr, &params, &notifier));
    saw("notifier", zeb_client_notifier_init(nas, &params, &notifier));
    saw("no list", zeb_client_get_service_list(nas, nullptr, nullptr, nullptr));
    saw("no list", zeb_client_get_service_list(nullptr, infos, &entries, &services));
    zeb_cci_os_signal_wait(&params, pause_ms);
    saw("list", zeb_client_get_service_list(nas, infos, &entries, &services));
    saw("listed", entries + services + infos[0].instance);
    saw("watch", zeb_client_register_notify_cb(notifier, on_event, &cookie));
    saw("no client", zeb_client_init_instance(nas, 7, on_ind, &cookie, &params, 500, &client));
    saw("client", zeb_client_init_instance(nas, 0xFFFF, on_ind, &cookie, &params, 500, &client));
    saw("send", zeb_client_send_msg_sync(client, 0x4D, req, sizeof(req), resp, sizeof(resp), 50));
    saw("lost", zeb_client_send_msg_sync(client, 0x99, req, 0, nullptr, UINT32_MAX, 50));
    saw("lost", zeb_client_send_msg_sync(client, 0x99, req, 0, secret, sizeof(secret), 50));
    saw("no decode", zeb_client_message_decode(client, ZEB_MESSAGE_INDICATION, 0x4E, req, 3, secret, 2));
    saw("answered", resp[2] + resp[3]);
    saw("release", zeb_client_release(client));
    saw("no release", zeb_client_release(nullptr));
    saw("release", zeb_client_release(notifier));
}

/* Creates two clients and releases one of them. Makes requests of twelve kinds in turn, again and again. The timeout of
 * each request is the request's number, from 1 upwards. */
void long_session(uint32_t requests) {
    int cookie = 1000;
    zeb_cci_os_params params = {};
    zeb_client_handle notifier = nullptr, client = nullptr, other = nullptr;
    zeb_service_info info = {};
    uint32_t entries = 1, services = 0;
    zeb_service_object nas = nas_get_service_object_internal_v01(1, 342, 6);
    zeb_client_notifier_init(nas, &params, &notifier);
    zeb_client_get_service_list(nas, &info, &entries, &services);
    zeb_client_register_notify_cb(notifier, on_event, &cookie);
    zeb_client_init_instance(nas, 0xFFFF, on_ind, &cookie, &params, 0, &client);
    zeb_client_init_instance(nas, 0xFFFF, on_ind, &cookie, &params, 0, &other);
    for (uint32_t n = 1; n <= requests; n++) {
        uint8_t req[2] = {0x77, static_cast<uint8_t>(n % 12)}, resp[800] = {};
        zeb_client_send_msg_sync(n == 3 ? other : client, n % 4 == 3 ? 0x99 : 0x11, req, sizeof(req), resp,
                                 sizeof(resp), n);
        if (n == 3) {
            zeb_client_release(other);
        }
    }
}

std::string contents(const std::string &name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

std::string recording() {
    return contents(getenv("ZEB_RECORD"));
}

void wait_until(const std::function<bool()> &done) {
    while (!done()) {
        usleep(1000);
    }
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        lines.push_back(text.substr(at, end - at));
    }
    return lines;
}

size_t number_after(const std::string &line, const char *key) {
    const size_t at = line.find(key);
    return at == std::string::npos ? 0 : strtoul(line.c_str() + at + strlen(key), nullptr, 10);
}

/* The lines of a recording without what differs from run to run: the times, and the end of the first line. */
std::vector<std::string> timeless(const std::string &text) {
    std::vector<std::string> lines = lines_of(text);
    for (std::string &line : lines) {
        line = line.substr(line.find(' '), line.find(" start=") - line.find(' '));
        line.resize(std::min(line.size(), line.rfind(" took=")));
    }
    return lines;
}

/* Whether `lines` are the first lines of `whole`. Lines may be missing when a `lost` line counts them. When the line of
 * a callback is missing, its `returned` line may be missing too. */
bool is_part_of(const std::vector<std::string> &lines, const std::vector<std::string> &whole) {
    std::set<std::string> unseen; // for each lost `ind` or `event` line, the `returned` line of its callback
    size_t at = 0;
    for (const std::string &line : lines) {
        for (size_t lost = number_after(line, " lost lines="); lost > 0 && at < whole.size(); at++) {
            if (whole[at].starts_with(" ind ") || whole[at].starts_with(" event ")) {
                unseen.insert(" returned handle=" + whole[at].substr(whole[at].find('=') + 1, 1));
            }
            if (unseen.erase(whole[at]) == 0) {
                lost--;
            }
        }
        while (at < whole.size() && unseen.erase(whole[at]) != 0) {
            at++;
        }
        if (line.starts_with(" end reason=")) {
            return &line == &lines.back();
        }
        if (!line.starts_with(" lost ") && (at == whole.size() || line != whole[at++])) {
            return false;
        }
    }
    return true;
}

/* Checks the parts of a recording of long_session, and prints a part that is wrong. Each part must have a first line
 * and whole lines, and must count all lines before it. With `ended`, the program may have ended at any moment, and the
 * last line may be cut short. Returns how many parts there are. */
int check_parts(const std::string &name, bool ended) {
    int parts = 0;
    size_t number = 0, so_far = 0, last = 0;
    for (const std::string &file : {name + ".1", name}) {
        const std::string text = contents(file);
        const std::vector<std::string> lines = lines_of(text);
        if (lines.empty()) { // the file has no whole line, and the reader of recordings refuses it
            continue;
        }
        const size_t part = number_after(lines.at(0), " part=");
        const size_t before = part > 1 ? number_after(lines.at(1), " before lines=") : 0;
        bool right = lines[0].starts_with("zeb-recording 2 start=") && (number == 0 || part == number + 1) &&
                     (part > 1) == (before > 0) && (so_far == 0 || before == so_far) &&
                     (text.ends_with('\n') || (ended && file == name));
        number = part;
        so_far = before;
        for (size_t i = part > 1 ? 2 : 1; i < lines.size(); i++) {
            const bool kept = lines[i].find(" kept ") != std::string::npos;
            const size_t lost = number_after(lines[i], " lost lines=");
            const size_t request = kept ? 0 : number_after(lines[i], " timeout=");
            so_far += kept ? 0 : std::max<size_t>(lost, 1);
            right = right && (!kept || so_far == before) && (request == 0 || last == 0 || request == last + 1);
            last = lost != 0 ? 0 : request != 0 ? request : last;
        }
        if (!right) {
            printf("!! not right: %s\n%s", file.c_str(), text.c_str());
        }
        parts++;
    }
    return parts;
}

/* Runs a session in a child in which the recorder's `nth` call of libc fails, and with `onwards` all later calls too.
 * Returns the child's status as waitpid gives it: 0, or 256 when there was no such call. */
int play_fault(const std::string &name, bool in_parts, int nth, bool onwards) {
    for (const char *suffix : {"", ".1", ".next"}) {
        unlink((name + suffix).c_str());
    }
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        fault_arm(nullptr, nth, onwards);
        if (freopen((name + ".out").c_str(), "w", stdout) == nullptr ||
            freopen((name + ".err").c_str(), "w", stderr) == nullptr) {
            _exit(2);
        }
        in_parts ? long_session(16) : session();
        fflush(stdout);
        const bool fired = !fault_fired().empty();
        const std::vector<std::string> points = fault_points();
        std::ofstream all(name + ".points", std::ios::app);
        std::copy(points.begin(), points.end(), std::ostream_iterator<std::string>(all, "\n"));
        all.close();
        _exit(fired ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

/* Runs a session again and again, and makes calls fail in it. In a first series of runs only the nth call fails, in a
 * second series the nth call and all later calls. From run to run n grows by FAULT_STEP, which is more than 1 where
 * programs are slow, until no call is left to fail. In each run the recorder may print one line on standard error; with
 * `in_parts` it may go on after that and print a second line. */
void play_faults(bool in_parts) {
    const std::string name = getenv("ZEB_RECORD");
    pause_ms = 0;
    play_fault(name, in_parts, 0, false);
    const std::string transcript = contents(name + ".out");
    const std::vector<std::string> whole = timeless(contents(name));
    int runs = 0;
    for (bool onwards : {false, true}) {
        for (int nth = 1, status = 0; status == 0; nth += FAULT_STEP, runs++) {
            status = play_fault(name, in_parts, nth, onwards);
            const std::string said = contents(name + ".err");
            const size_t lines = lines_of(said).size();
            const bool right = (status == 0 || status == 256) && contents(name + ".out") == transcript &&
                               (onwards || contents(name + ".1").empty() || !contents(name).empty()) &&
                               lines <= (in_parts ? 2 : 1) && (said.empty() || said.starts_with("zeb_record: ")) &&
                               (in_parts || is_part_of(timeless(contents(name)), whole));
            if (!right || (in_parts && check_parts(name, true) > 2)) {
                printf("!! call %d%s: ended with %d, recorded\n%ssaid\n%s", nth, onwards ? " and on" : "", status,
                       contents(name).c_str(), said.c_str());
            }
        }
    }
    fprintf(stderr, "recorder: %d runs, a call failing in each, one at a time and all from the nth on\n", runs);
    printf("%s of runs, in each of which a call fails\n", runs * FAULT_STEP > 200 ? "hundreds" : "few");
}

/* Twice creates more clients than the recorder can tell apart. Then four threads make requests at the same time. */
void crowd() {
    zeb_client_handle clients[40];
    int cookie = 1;
    zeb_cci_os_params params = {};
    for (int round = 0; round < 2; round++) {
        for (zeb_client_handle &client : clients) {
            zeb_client_init_instance(nullptr, 0, on_ind, &cookie, &params, 0, &client);
        }
        for (zeb_client_handle client : clients) {
            zeb_client_release(client);
        }
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++) {
        threads.emplace_back([&params, &cookie] {
            uint8_t req[2000], resp[1000] = {};
            zeb_client_handle client = nullptr;
            memset(req, 0xEE, sizeof(req));
            zeb_client_init_instance(nullptr, 0, on_ind, &cookie, &params, 0, &client);
            for (int n = 0; n < 300; n++) {
                zeb_client_send_msg_sync(client, 0xC0, req, sizeof(req), resp, sizeof(resp), 0);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

/* Starts another thread, and returns when the new thread is in the middle of a write. */
std::thread in_a_write(record_writes how) {
    const int begun = record_fault_begun();
    record_fault_writes(how);
    std::thread other(ask_object);
    wait_until([begun] { return record_fault_begun() != begun; });
    return other;
}

/* A write of one thread hangs. The other threads go on, and only lines that find no room in memory are lost. */
void play_stuck(bool beyond_room) {
    std::thread other = in_a_write(RECORD_WRITES_HANG);
    if (beyond_room) {
        static uint8_t req[65536];
        memset(req, 1, sizeof(req));
        for (uint32_t n = 1; n <= 30; n++) {
            zeb_client_send_msg_sync(nullptr, 0x11, req, sizeof(req), req, 2, n);
        }
    } else {
        session();
    }
    record_fault_writes(RECORD_WRITES_GO);
    other.join();
    wait_until(
        [=] { return recording().find(beyond_room ? " lost lines=" : "release handle=1 ") != std::string::npos; });
    for (const std::string &line : lines_of(recording())) {
        const size_t lost = number_after(line, " lost lines=");
        if (lost > 0) {
            const size_t kept = timeless(recording()).size() - 53;
            printf("%s, of 30 in all\n", lost > 15 && kept + lost == 30 ? "most lines are lost" : line.c_str());
        }
    }
}

/* A thread loses its processor during a write. Other threads wait for this thread, and do not leave their lines in
 * memory. */
void play_preempted() {
    std::thread other = in_a_write(RECORD_WRITES_SPIN);
    record_fault_writes(RECORD_WRITES_GO);
    for (uint32_t n = 1; n <= 3; n++) {
        zeb_client_send_msg_sync(nullptr, 0x99, "", 1, nullptr, 0, n);
        const bool there = recording().find(" timeout=" + std::to_string(n) + " ") != std::string::npos;
        printf("line %u %s\n", n, there ? "is with the kernel" : "is only in memory");
    }
    other.join();
}

/* A slow disk holds up one call. After that the recorder's own thread writes, and the calls do not wait. */
void play_slow() {
    record_fault_writes(RECORD_WRITES_SLEEP);
    session();
    wait_until([] { return recording().find("release handle=1 ") != std::string::npos; });
    printf("calls that wait for a slow disk: %d\n", record_fault_begun_by_main());
}

/* AddressSanitizer believes that the stack of a thread that was cancelled asynchronously is still in use. */
#ifdef __SANITIZE_ADDRESS__
constexpr int CANCEL_TYPE = PTHREAD_CANCEL_DEFERRED;
#else
constexpr int CANCEL_TYPE = PTHREAD_CANCEL_ASYNCHRONOUS;
#endif

/* Cancels threads at any instruction, also while they hold the recorder's lock. */
void play_cancel() {
    for (int i = 0; i < 100; i++) {
        std::atomic<bool> runs = false;
        pthread_t thread;
        const auto ask = [](void *at_work) -> void * {
            pthread_setcanceltype(CANCEL_TYPE, nullptr);
            for (;; pthread_testcancel()) {
                ask_object();
                *static_cast<std::atomic<bool> *>(at_work) = true;
            }
        };
        pthread_create(&thread, nullptr, ask, &runs);
        wait_until([&runs] { return runs.load(); });
        pthread_cancel(thread);
        pthread_join(thread, nullptr);
    }
    session();
}

/* The program blocks a signal in order to wait for it. The recorder's thread must not take this signal. */
void play_signal() {
    sigset_t signals;
    int taken = 0;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ask_object();
    kill(getpid(), SIGUSR1);
    sigwait(&signals, &taken);
    printf("signal %s\n", taken == SIGUSR1 ? "kept" : "lost");
}

/* Records 50 lines, which must stay in the recording, and then goes on or ends in the given way. */
void play_end(const std::string &way) {
    for (int i = 0; i < 50; i++) {
        ask_object();
    }
    if (way == "fork" && fork() == 0) {
        session();
        _exit(0);
    } else if (way == "fork") {
        wait(nullptr);
    } else if (way == "close") {
        dup2(open("/dev/zero", O_WRONLY), 64);
        session();
    } else if (way == "stuck" || way == "room") {
        play_stuck(way == "room");
    } else if (way == "preempted") {
        play_preempted();
    } else if (way == "slow") {
        play_slow();
    } else if (way == "cancel") {
        play_cancel();
    } else {
        kill(getpid(), way == "segv" ? SIGSEGV : SIGKILL);
    }
}

/* Plays a session under a limit on file sizes. clock_gettime fails, so that every recording has the same bytes. */
void play_still(rlim_t file_size) {
    const rlimit limit = {file_size, RLIM_INFINITY};
    signal(SIGXFSZ, SIG_DFL);
    setrlimit(RLIMIT_FSIZE, &limit);
    fault_arm("clock_gettime", 1, true);
    session();
}

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "session";
    const char *argument = argc > 2 ? argv[2] : "";
    if (what == "faults") {
        play_faults(*argument != '\0');
    } else if (what == "crowd") {
        crowd();
    } else if (what == "session") {
        session();
    } else if (what == "elsewhere" && chdir("/") == 0) {
        unsetenv("ZEB_RECORD");
        session();
    } else if (what == "input") {
        close(STDIN_FILENO);
        ask_object();
        printf("descriptor %d is free\n", open("/dev/null", O_RDONLY));
    } else if (what == "signal") {
        play_signal();
    } else if (what == "still") {
        play_still(*argument != '\0' ? strtoul(argument, nullptr, 10) : RLIM_INFINITY);
    } else if (what == "long") {
        pause_ms = 0;
        long_session(static_cast<uint32_t>(strtoul(argument, nullptr, 10)));
    } else if (what == "parts") {
        printf("%d parts\n", check_parts(argument, true));
    } else {
        play_end(what);
    }
    return 0;
}
