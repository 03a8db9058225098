/* A program with the recorder in front of a platform that answers by rote. What it sees, with every way in which the
 * recorder can break, and what is recorded. */
#include "record_test.h"
#include "zeb_nas_v01.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
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

namespace fs = std::filesystem;
fs::path folder;

std::string contents(const char *name) {
    std::ostringstream text;
    text << std::ifstream(folder / name).rdbuf();
    return text.str();
}

std::string masked(const std::string &text) {
    const std::string timeless = std::regex_replace(text, std::regex("(^|\n)[0-9]+ "), "$1T ");
    return std::regex_replace(std::regex_replace(timeless, std::regex("took=[0-9]+"), "took=U"),
                              std::regex("start=\\S* machine=\\S*"), "start=S machine=M");
}

void fresh() {
    fs::remove_all(folder);
    fs::create_directory(folder);
}

/* Runs the body in a child that records; its output and recording are then in the folder. Returns how it ended. */
int run(const std::function<void()> &body) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        setenv("ZEB_RECORD", (folder / "rec").c_str(), 0);
        if (freopen((folder / "out").c_str(), "w", stdout) == nullptr ||
            freopen((folder / "err").c_str(), "w", stderr) == nullptr) {
            _exit(99);
        }
        body();
        fflush(stdout);
        _exit(record_fault.calls < record_fault.nth ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

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
    saw("no list", zeb_client_get_service_list(nullptr, nullptr, nullptr, nullptr));
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

/* Every call of the recorder's failing, alone or with all that follow. */
void play_faults(const std::string &transcript, const std::string &recording) {
    int points = 0;
    for (int onwards = 0; onwards < 2; onwards++) {
        for (int nth = 1, status = 0; status == 0; nth++, points++) {
            fresh();
            record_fault.nth = nth;
            record_fault.onwards = onwards != 0;
            status = run(session);
            const std::string said = contents("err"), recorded = masked(contents("rec"));
            if ((status != 0 && WEXITSTATUS(status) != 1) || contents("out") != transcript ||
                !recording.starts_with(recorded) || std::count(said.begin(), said.end(), '\n') > 1 ||
                (!said.empty() && !said.starts_with("zeb_record: "))) {
                printf("!! call %d%s: ended with %d, recorded\n%ssaid\n%s", nth, onwards ? " and on" : "", status,
                       recorded.c_str(), said.c_str());
            }
        }
    }
    record_fault.nth = record_fault.onwards = 0;
    fprintf(stderr, "recorder: %d points, one at a time and all from the nth on\n", points);
}

void play_limits(const std::string &recording, size_t size) {
    for (size_t limit = 208; limit < size + 100; limit += 23) {
        fresh();
        setenv("ZEB_RECORD_LIMIT", std::to_string(limit).c_str(), 1);
        run(session);
        const std::string recorded = contents("rec"), text = masked(recorded), mark = "T end reason=limit\n";
        if (recorded.size() > limit ||
            !(text == recording ||
              (text.ends_with(mark) && recording.starts_with(text.substr(0, text.size() - mark.size()))))) {
            printf("!! limit %zu: %zu bytes\n%s", limit, recorded.size(), text.c_str());
        }
    }
    for (const char *limit : {"207", "16M", "-1", "0x1000"}) {
        fresh();
        setenv("ZEB_RECORD_LIMIT", limit, 1);
        run(session);
        printf("limit %s: %s", limit, contents("err").substr(contents("err").find(": Z") + 2).c_str());
    }
    unsetenv("ZEB_RECORD_LIMIT");
}

/* Prints what is said of a file that cannot be written, and that the program has seen nothing of it. */
void play_file(const char *title, const std::string &transcript, const std::function<void()> &prepare) {
    fresh();
    const int status = run([&] {
        prepare();
        session();
    });
    const std::string said = std::regex_replace(contents("err"), std::regex(" /\\S*/"), " ");
    struct stat file = {};
    stat((folder / "rec").c_str(), &file);
    printf("%s: %s, mode %o: %s", title, status == 0 && contents("out") == transcript ? "as it was" : "disturbed",
           file.st_mode & 07777, said.empty() ? "\n" : said.c_str());
}

void play_files(const std::string &transcript) {
    const std::string rec = folder / "rec";
    play_file("no folder", transcript, [&] { setenv("ZEB_RECORD", (folder / "none/rec").c_str(), 1); });
    play_file("not empty", transcript, [&] { std::ofstream(rec) << "kept"; });
    play_file("empty", transcript, [&] { std::ofstream(rec).flush(); });
    play_file("pipe", transcript, [&] { mkfifo(rec.c_str(), 0600); });
    play_file("link", transcript, [&] { symlink("out", rec.c_str()) == 0 ? void() : abort(); });
    play_file("no standard error", transcript, [&] { std::ofstream(rec) << "kept", close(2); });
    play_file("file size limit", transcript, [&] {
        const rlimit small = {600, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &small);
    });
    play_file("file closed", transcript, [&] {
        nas_get_service_object_internal_v01(1, 0, 0);
        dup2(open("/dev/zero", O_WRONLY), 64);
    });
}

size_t lines(const std::string &text, const char *word) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; at++) {
        count++;
    }
    return count;
}

/* What was recorded before a sudden end stays. */
void play_ends() {
    for (int signal : {SIGTERM, SIGSEGV, SIGKILL, 0}) {
        fresh();
        run([signal] {
            for (int i = 0; i < 50; i++) {
                nas_get_service_object_internal_v01(1, 0, 0);
            }
            signal != 0 ? (void)kill(getpid(), signal) : _exit(0);
        });
        printf("ended by signal %d: %zu of 50 lines\n", signal, lines(contents("rec"), "object"));
    }
    fresh();
    run([] {
        record_fault.slow_us = 150000;
        session();
        usleep(600000);
        printf("%d", record_fault.slow_calls.load());
    });
    const std::string out = contents("out"), recorded = masked(contents("rec"));
    printf("slow disk: %s calls wait for it, and the last line is\n%s", out.substr(out.rfind('\n') + 1).c_str(),
           recorded.substr(recorded.rfind("T ")).c_str());
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
            uint8_t req[2000], resp[1000];
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

void play_crowd() {
    fresh();
    run(crowd);
    const std::string recorded = contents("rec");
    std::string sent = " id=0x00c0 status=0 timeout=0 req=2000:" + std::string(4000, 'e') + " resp=1000:";
    for (int i = 0; i < 500; i++) {
        sent += "c0";
    }
    printf("crowd: %zu and %zu of 80 clients unrecorded; %zu sends of 1200\n%s", lines(recorded, "timeout=0 client=0"),
           84 - lines(recorded, " ind client"), lines(recorded, (sent + " took=").c_str()), contents("err").c_str());
    fresh();
    run([] {
        nas_get_service_object_internal_v01(1, 0, 0);
        if (fork() == 0) {
            nas_get_service_object_internal_v01(2, 0, 0);
            _exit(0);
        }
        wait(nullptr);
        nas_get_service_object_internal_v01(3, 0, 0);
    });
    printf("forked child:\n%s", masked(contents("rec")).c_str());
}

} // namespace

int main() {
    std::string name = fs::temp_directory_path() / "record_session_XXXXXX";
    folder = fs::path(mkdtemp(name.data())) / "case";
    fresh();
    setenv("ZEB_RECORD", "", 1);
    run(session);
    const std::string transcript = contents("out");
    printf("#### what the program sees\n%s", transcript.c_str());
    unsetenv("ZEB_RECORD");
    fresh();
    run(session);
    const std::string recorded = contents("rec"), recording = masked(recorded);
    printf("#### recorded, and %s\n%s",
           contents("out") == transcript ? "the program sees the same" : "the program sees other things",
           recording.c_str());
    printf("#### faults\n");
    play_faults(transcript, recording);
    play_limits(recording, recorded.size());
    play_files(transcript);
    play_ends();
    play_crowd();
    fs::remove_all(folder.parent_path());
    return 0;
}
