/* A program with the recorder in front of a platform that answers by rote: by its first argument, what it does. Prints
 * what it sees. */
#include "fault.h"
#include "zeb_nas_v01.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

/* ThreadSanitizer would have each of the hundreds of children sleep for a second at its end. */
extern "C" const char *__tsan_default_options();
extern "C" const char *__tsan_default_options() {
    return "atexit_sleep_ms=0";
}

namespace {

void saw(const char *what, int64_t value) {
    printf("%s %lld, errno %d\n", what, static_cast<long long>(value), errno);
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
}

void session() {
    int cookie = 1000;
    zeb_cci_os_params params = {};
    zeb_client_handle notifier = nullptr, client = nullptr;
    zeb_service_info infos[2] = {};
    uint32_t entries = 2, services = 0;
    uint8_t req[3] = {0, 0x1F, 0}, resp[6] = {};
    saw("no object", nas_get_service_object_internal_v01(2, 0, 0) == nullptr);
    zeb_service_object nas = nas_get_service_object_internal_v01(1, 342, 6);
    saw("no notifier", zeb_client_notifier_init(nullptr, &params, &notifier));
    saw("notifier", zeb_client_notifier_init(nas, &params, &notifier));
    saw("no list", zeb_client_get_service_list(nas, nullptr, nullptr, nullptr));
    zeb_cci_os_signal_wait(&params, 20);
    saw("list", zeb_client_get_service_list(nas, infos, &entries, &services));
    saw("listed", entries + services + infos[0].instance);
    saw("watch", zeb_client_register_notify_cb(notifier, on_event, &cookie));
    saw("no client", zeb_client_init_instance(nas, 7, on_ind, &cookie, &params, 500, &client));
    saw("client", zeb_client_init_instance(nas, 0xFFFF, on_ind, &cookie, &params, 500, &client));
    saw("send", zeb_client_send_msg_sync(client, 0x4D, req, sizeof(req), resp, sizeof(resp), 50));
    saw("lost", zeb_client_send_msg_sync(client, 0x99, req, 0, nullptr, UINT32_MAX, 50));
    saw("answered", resp[2] + resp[3]);
    saw("release", zeb_client_release(client));
    saw("no release", zeb_client_release(nullptr));
    saw("release", zeb_client_release(notifier));
}

std::string contents(const std::string &name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

/* A recording without what differs from run to run. */
std::string timeless(const std::string &recording) {
    std::string text;
    std::istringstream lines(recording);
    for (std::string line; std::getline(lines, line);) {
        text += line.substr(line.find(' '), line.find(" start=") - line.find(' '));
        text.resize(std::min(text.size(), text.rfind(" took=")));
        text += '\n';
    }
    return text;
}

/* Runs the session in a child with a call of the recorder's failing, and all that follow if they are to. Returns how it
 * ended: 0, or 256 when there was no such call. */
int play_fault(const std::string &name, int nth, bool onwards) {
    unlink(name.c_str());
    const pid_t child = fork();
    if (child == 0) {
        fault_arm(nullptr, nth, onwards);
        if (freopen((name + ".out").c_str(), "w", stdout) == nullptr ||
            freopen((name + ".err").c_str(), "w", stderr) == nullptr) {
            _exit(2);
        }
        session();
        fflush(stdout);
        _exit(fault_fired().empty() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

void play_faults() {
    const std::string name = getenv("ZEB_RECORD");
    play_fault(name, 0, false);
    const std::string transcript = contents(name + ".out"), recording = timeless(contents(name));
    int points = 0;
    for (bool onwards : {false, true}) {
        for (int nth = 1, status = 0; status == 0; nth++, points++) {
            status = play_fault(name, nth, onwards);
            const std::string said = contents(name + ".err"), recorded = contents(name);
            if ((status != 0 && status != 256) || contents(name + ".out") != transcript ||
                !recording.starts_with(timeless(recorded)) || std::count(said.begin(), said.end(), '\n') > 1 ||
                !(said.empty() || said.starts_with("zeb_record: "))) {
                printf("!! call %d%s: ended with %d, recorded\n%ssaid\n%s", nth, onwards ? " and on" : "", status,
                       recorded.c_str(), said.c_str());
            }
        }
    }
    fprintf(stderr, "recorder: %d points, one at a time and all from the nth on\n", points);
}

/* More clients than the recorder can tell apart, twice; then threads that all have lines at the same time. */
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

/* Each way to go on or to end after lines that must stay. */
void play_end(const std::string &way) {
    for (int i = 0; i < 50; i++) {
        nas_get_service_object_internal_v01(1, 0, 0);
    }
    if (way == "fork" && fork() == 0) {
        session();
        _exit(0);
    } else if (way == "fork") {
        wait(nullptr);
    } else if (way == "close") {
        dup2(open("/dev/zero", O_WRONLY), 64);
        session();
    } else if (way == "stuck") {
        fault_slow_writes(1500000);
        std::thread other([] { nas_get_service_object_internal_v01(1, 0, 0); });
        usleep(100000);
        fault_slow_writes(0);
        const auto start = std::chrono::steady_clock::now();
        session();
        fprintf(stderr, "zeb_record: calls beside a stuck one %s\n",
                std::chrono::steady_clock::now() - start < std::chrono::seconds(1) ? "go on" : "wait");
        other.join();
        usleep(200000);
    } else {
        kill(getpid(), way == "segv" ? SIGSEGV : SIGKILL);
    }
}

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "session";
    fault_slow_writes(what == "slow" ? 150000 : 0);
    if (what == "faults") {
        play_faults();
    } else if (what == "crowd") {
        crowd();
    } else if (what == "session" || what == "slow") {
        session();
    } else {
        play_end(what);
    }
    if (what == "slow") {
        usleep(600000);
        printf("calls that wait for a slow disk: %d\n", fault_slow_writes(0));
    }
    return 0;
}
