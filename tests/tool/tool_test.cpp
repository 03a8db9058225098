/* The tool as its users run it: processes, pipes, files, signals and a terminal. The transcripts test the texts that
 * the tool prints. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <memory>
#include <poll.h>
#include <pty.h>
#include <regex.h>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using words = std::vector<std::string>;

/* How long a test waits at most; long enough for any machine. */
constexpr auto patience = 60s;

const std::string steady = PLATFORM_SCENARIOS "/steady.toml";

std::string temporary(const std::string &name) {
    return testing::TempDir() + "tool_test_" + std::to_string(getpid()) + "_" + name;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

void write_file(const std::string &path, const std::string &text) {
    std::ofstream(path) << text;
}

/* Writes a scenario into a file, and returns the file's path. */
std::string scenario(const std::string &name, const std::string &text) {
    const std::string path = temporary(name + ".toml");
    write_file(path, text);
    return path;
}

const std::string lte = "lte = { srv_status = \"service\", rsrp = -90, cgi = 256, pci = 1 }\n";

/* Whether an extended regular expression matches somewhere in the text. */
bool matches(const std::string &text, const std::string &pattern) {
    regex_t expression;
    EXPECT_EQ(regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB), 0) << pattern;
    const bool found = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    return found;
}

/* The lines without their first `cnt` columns. */
std::string cut(const std::string &text, char separator, int cnt) {
    std::istringstream lines(text);
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        size_t at = 0;
        for (int i = 0; i < cnt; i++) {
            at = line.find(separator, at) + 1;
        }
        rest += line.substr(at) + "\n";
    }
    return rest;
}

/* Waits until the condition holds. Returns false when this takes too long. */
bool eventually(const std::function<bool()> &condition) {
    for (const auto start = std::chrono::steady_clock::now(); std::chrono::steady_clock::now() - start < patience;) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(5ms);
    }
    return false;
}

/* A run of the tool. `prepare` runs in the child, before the tool is started. */
struct run {
    run(
        const std::string &scenario, const words &arguments, const std::function<void()> &prepare = [] {}) {
        EXPECT_TRUE(pipe2(out, O_CLOEXEC) == 0 && pipe2(err, O_CLOEXEC) == 0);
        words command = {TOOL_COMMAND};
        command.insert(command.end(), arguments.begin(), arguments.end());
        std::vector<char *> argv;
        for (std::string &word : command) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        pid = fork();
        if (pid == 0) {
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            close(out[0]);
            setenv("ZEB_SCENARIO", scenario.c_str(), 1);
            prepare();
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(out[1]);
        close(err[1]);
    }
    run(const run &) = delete;
    ~run() {
        if (!ended) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
        }
        close(out[0]);
        close(err[0]);
    }

    /* Adds to `text` what can be read from `fd` now. Returns false at the end of the input. */
    static bool take(int fd, std::string &text) {
        char block[4096];
        pollfd readable = {fd, POLLIN, 0};
        if (poll(&readable, 1, 0) <= 0) {
            return true;
        }
        const ssize_t len = read(fd, block, sizeof(block));
        text.append(block, static_cast<size_t>(std::max<ssize_t>(len, 0)));
        return len > 0;
    }

    /* Waits until `cnt` lines of output have come or the output has ended. Returns false when this takes too long. */
    bool lines(long cnt) {
        return eventually([&] {
            take(err[0], messages);
            return !take(out[0], output) || std::count(output.begin(), output.end(), '\n') >= cnt;
        });
    }

    bool told(const std::string &text) {
        return eventually([&] { return !take(err[0], messages) || messages.find(text) != std::string::npos; }) &&
               messages.find(text) != std::string::npos;
    }

    /* Waits until the tool ends. Returns its exit status, or the negative number of the signal that ended it. */
    int end(bool with_output = true) {
        bool out_open = with_output;
        ended = eventually([&] {
            out_open = out_open && take(out[0], output);
            take(err[0], messages);
            return waitpid(pid, &status, WNOHANG) == pid;
        });
        EXPECT_TRUE(ended) << "hangs: " << output << messages;
        while (with_output && out_open && take(out[0], output) && poll_in(out[0])) {
        }
        while (take(err[0], messages) && poll_in(err[0])) {
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    static bool poll_in(int fd) {
        pollfd readable = {fd, POLLIN, 0};
        return poll(&readable, 1, 0) > 0;
    }

    int out[2];
    int err[2];
    pid_t pid;
    int status = 0;
    bool ended = false;
    std::string output;
    std::string messages;
};

TEST(Tool, ModemThatNeverAppears) {
    const std::string away = scenario("away", "appear_ms = 86400000\n");
    for (const words &arguments : {words{"status"}, words{"get", "all"}, words{"scan"}, words{"watch"},
                                   words{"check", "reg=lte", "--within", "3600"}, words{"selftest"}}) {
        words limited = arguments;
        limited.insert(limited.end(), {"--timeout", "0.2"});
        run tool(away, limited);
        EXPECT_EQ(tool.end(), 4) << arguments[0];
        EXPECT_EQ(tool.messages,
                  "cpe_dm: the modem did not appear in time; is it on? --timeout SECONDS waits longer\n");
    }
    const std::string file = temporary("never.csv");
    run tool(away, {"watch", "--timeout", "0.2", "-o", file});
    EXPECT_EQ(tool.end(), 4);
    EXPECT_NE(access(file.c_str(), F_OK), 0) << "the next try finds the place taken";
}

TEST(Tool, ModemThatDoesNotAnswer) {
    const std::string mute = scenario("mute", lte + "[[fault]]\nmessage = 0x004F\ncount = 0\ndelay_ms = 3600000\n");
    run get(mute, {"get", "lte.pci", "lte.rsrp", "--timeout", "2"});
    EXPECT_EQ(get.end(), 4);
    EXPECT_EQ(get.messages, "cpe_dm: the modem did not answer in time; --timeout SECONDS waits longer\n");
    // This modem does not answer. watch writes its rows all the same, and then ends.
    run watch(mute, {"watch", "-i", "0.1", "-n", "5", "reg", "lte.rsrp"});
    EXPECT_EQ(watch.end(), 0);
    EXPECT_EQ(std::count(watch.output.begin(), watch.output.end(), '\n'), 6) << watch.output;
}

TEST(Tool, OutputThatCannotBeWritten) {
    const auto full = [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    for (const words &arguments : {words{"status"}, words{"get", "reg", "--json"}, words{"metrics"}, words{"--help"},
                                   words{"scan"}, words{"watch"}, words{"watch", "--json"}}) {
        run tool(steady, arguments, full);
        EXPECT_EQ(tool.end(), 4) << arguments[0];
        EXPECT_EQ(tool.messages, "cpe_dm: standard output cannot be written: No space left on device\n");
        run closed(steady, arguments, [] { close(STDOUT_FILENO); });
        EXPECT_EQ(closed.end(), 4) << arguments[0];
    }
    run deaf(steady, {"get", "reg"}, [] {
        close(STDIN_FILENO);
        close(STDERR_FILENO);
    });
    EXPECT_EQ(deaf.end(), 0);
    EXPECT_EQ(deaf.output, "reg lte_nr5g\n");
    run textfile(steady, {"watch", "--textfile", "/nowhere/x.prom"});
    EXPECT_EQ(textfile.end(), 4);
    // When the file has no room for a whole row, no part of the row is written.
    const std::string file = temporary("limited.csv");
    run limited(steady, {"watch", "-i", "0.1", "-o", file, "all"}, [] {
        const rlimit limit = {2000, 2000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
    });
    EXPECT_EQ(limited.end(), 4);
    EXPECT_EQ(read_file(file).back(), '\n');
    EXPECT_GT(read_file(file).size(), 500U);
}

TEST(Tool, ReaderThatHasGone) {
    for (const words &arguments : {words{"watch", "-i", "0.1", "reg"}, words{"get", "all"}}) {
        run tool(steady, arguments, [] {
            signal(SIGPIPE, SIG_IGN);
            pollfd reader = {STDOUT_FILENO, 0, 0};
            poll(&reader, 1, 60000); // ends when the reader has gone
        });
        close(tool.out[0]);
        EXPECT_EQ(tool.end(false), -SIGPIPE);
        EXPECT_EQ(tool.messages, "");
        tool.out[0] = -1;
    }
}

TEST(Tool, ReaderThatDoesNotRead) {
    run tool(steady, {"watch", "--json", "-i", "0.1", "all"});
    fcntl(tool.out[0], F_SETPIPE_SZ, 4096);
    ASSERT_TRUE(tool.told("nobody reads the rows"));
    const auto whole_rows = [&] {
        std::istringstream rows(tool.output);
        bool whole = tool.output.ends_with("}\n");
        for (std::string row; std::getline(rows, row);) {
            whole = whole && row.starts_with("{\"time\"") && row.ends_with("}}");
        }
        return whole;
    };
    ASSERT_TRUE(tool.lines(12)); // the rows go on when they are read
    EXPECT_TRUE(whole_rows()) << tool.output;
    kill(tool.pid, SIGTERM);
    EXPECT_EQ(tool.end(), 0);
    EXPECT_TRUE(whole_rows());
    EXPECT_TRUE(matches(tool.messages, "[0-9]+ rows were dropped, as nobody read them\n$"));
    run stuck(steady, {"watch", "--json", "-i", "0.1", "all"});
    fcntl(stuck.out[0], F_SETPIPE_SZ, 4096);
    ASSERT_TRUE(stuck.told("nobody reads the rows"));
    kill(stuck.pid, SIGTERM);
    EXPECT_EQ(stuck.end(false), 0);
}

TEST(Tool, SignalsAtEveryMoment) {
    const std::string late = PLATFORM_SCENARIOS "/late_service.toml";
    for (int i = 0; i < 30; i++) {
        run tool(i % 2 == 0 ? steady : late, {"watch", "-i", "0.1", "reg", "lte.rsrp"});
        std::this_thread::sleep_for(std::chrono::milliseconds(i * i));
        kill(tool.pid, i % 3 == 0 ? SIGINT : SIGTERM);
        const int status = tool.end();
        const bool before_main = status == -SIGTERM || status == -SIGINT;
        EXPECT_TRUE(status == 0 || (before_main && tool.output.empty())) << status << tool.messages;
        EXPECT_TRUE(tool.output.empty() || tool.output.ends_with('\n'));
    }
}

/* The rows without their two columns of times. */
std::string rows_of(const std::string &csv) {
    return cut(csv, ',', 2);
}

TEST(Tool, RestartsHolesAndOtherCells) {
    const std::string path = scenario("restart", lte + R"([[change]]
at_ms = 1000
present = false
[[change]]
at_ms = 2000
present = true
lte = { cgi = 513, pci = 2 }
[[change]]
at_ms = 4000
lte = { srv_status = "no_service" }
[[change]]
at_ms = 5000
lte = { srv_status = "service" }
)");
    run tool(path, {"watch", "-i", "0.1", "reg", "lte.cgi", "lte.pci"});
    ASSERT_TRUE(tool.told("registration: lte, was none"));
    ASSERT_TRUE(tool.lines(55));
    kill(tool.pid, SIGTERM);
    ASSERT_EQ(tool.end(), 0);
    // The rows show these states one after the other: served, modem away, served by another cell, no service, served.
    // Any row may lack answers that came too late, or may mix values from before and after a change.
    const std::string rows = rows_of(tool.output);
    const std::string one = "((lte)?,(256)?,1?\n)*";
    const std::string other = "((lte)?,(513)?,2?\n)*";
    EXPECT_TRUE(matches(rows, "^reg,lte.cgi,lte.pci\n" + one + "lte,256,1\n" + one + ",,\n" + other + "lte,513,2\n" +
                                  other + "none,,\n(none,,\n|,,\n)*" + other + "lte,513,2\n" + other + "$"))
        << rows;
    const std::string told = cut(tool.messages, ' ', 2);
    EXPECT_EQ(told,
              "the modem does not answer\nthe modem is back: registered anew\n"
              "LTE cell: base station 2, cell 1, PCI 2\nregistration: none, was lte\nregistration: lte, was none\n");
}

TEST(Tool, LateAnswersLeaveValuesEmpty) {
    const std::string slow = scenario("slow", lte + "[[fault]]\nmessage = 0x004F\ncount = 0\ndelay_ms = 1200\n");
    run tool(slow, {"watch", "-i", "0.4", "-n", "8", "reg", "lte.pci", "lte.rsrp"});
    ASSERT_EQ(tool.end(), 0);
    const std::string rows = rows_of(tool.output);
    EXPECT_TRUE(matches(rows, "\n(lte|),1?,\n")) << rows; // lte.rsrp has not been answered yet
    EXPECT_TRUE(matches(rows, "\n,,-90\n")) << rows;      // only lte.rsrp has been answered, late
    EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 9);
}

TEST(Tool, FilesGoOn) {
    const std::string file = temporary("rows.csv");
    const auto watch = [&](const words &arguments) {
        words all = {"watch", "-n", "1", "-i", "10", "-o", file};
        all.insert(all.end(), arguments.begin(), arguments.end());
        run tool(steady, all);
        const int status = tool.end();
        return std::to_string(status) + tool.messages + rows_of(read_file(file));
    };
    EXPECT_EQ(watch({"reg", "lte.rsrp"}), "0reg,lte.rsrp\nlte_nr5g,-93\n");
    EXPECT_EQ(watch({"reg", "lte.rsrp"}).substr(0, 8), "2cpe_dm:");
    EXPECT_EQ(watch({"--append", "reg", "lte.rsrp"}), "0reg,lte.rsrp\nlte_nr5g,-93\nlte_nr5g,-93\n");
    EXPECT_EQ(watch({"--append", "lte.rsrp", "reg"}).substr(0, 8), "2cpe_dm:");
    const std::string rows = read_file(file);
    write_file(file, rows.substr(0, rows.size() - 3)); // as after a power failure
    EXPECT_EQ(watch({"--append", "reg", "lte.rsrp"}), "0cpe_dm: " + file +
                                                          " ends in the middle of a row, which is removed\n" +
                                                          "reg,lte.rsrp\nlte_nr5g,-93\nlte_nr5g,-93\n");
}

TEST(Tool, TextFileForPrometheus) {
    const std::string file = temporary("values.prom");
    const auto has = [&](const std::string &line) {
        return eventually([&] { return read_file(file).find(line + "\n") != std::string::npos; });
    };
    run tool(scenario("textfile", "appear_ms = 1000\n" + lte + "nr5g = { tx_power = 105, cqi = [[12, 11]] }\n"),
             {"watch", "--textfile", file, "--label", "site=a \"b\"\\c\nd"}, [] { umask(077); });
    EXPECT_TRUE(has(R"(cpe_dm_up{site="a \"b\"\\c\nd"} 0)"));
    EXPECT_TRUE(has(R"(cpe_dm_up{site="a \"b\"\\c\nd"} 1)"));
    EXPECT_TRUE(has(R"(cpe_dm_rsrp_dbm{technology="lte",site="a \"b\"\\c\nd"} -90)"));
    EXPECT_TRUE(
        has(R"(cpe_dm_cell_info{technology="lte",site="a \"b\"\\c\nd",plmn="000-000",tac="0",cgi="256",pci="1",)"
            R"(channel="0"} 1)"));
    EXPECT_EQ(read_file(file).find("cpe_dm_rsrp_dbm{technology=\"nr5g\""), std::string::npos); // no value, no sample
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644U);
    kill(tool.pid, SIGTERM);
    EXPECT_EQ(tool.end(), 0);
    EXPECT_EQ(tool.output, "");
    EXPECT_NE(access(file.c_str(), F_OK), 0);
    EXPECT_NE(access((file + ".tmp").c_str(), F_OK), 0);
}

/* Does what a shell does between a terminal and the tool. The calling process leads the session. Its child returns from
 * this function, becomes the tool, and is the job in the foreground. */
void lead_session() {
    setsid();
    ioctl(STDIN_FILENO, TIOCSCTTY, 0);
    signal(SIGTTOU, SIG_IGN);
    const pid_t job = fork();
    if (job == 0) {
        setpgid(0, 0);
        tcsetpgrp(STDIN_FILENO, getpid());
        signal(SIGTTOU, SIG_DFL);
        return;
    }
    int status = 0;
    waitpid(job, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

/* Runs the tool on a terminal. */
struct terminal_run {
    terminal_run(const std::string &path, const words &arguments) {
        const winsize size = {24, 80, 0, 0};
        openpty(&master, &slave, nullptr, nullptr, &size);
        tcgetattr(slave, &before);
        tool = std::make_unique<run>(path, arguments, [this] {
            for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                dup2(slave, fd);
            }
            close(master);
            setenv("TERM", "vt100", 1);
            lead_session();
        });
    }
    ~terminal_run() {
        tool.reset();
        close(master);
        close(slave);
    }

    /* Waits until the screen shows the text. Text that was shown before the call does not count. */
    bool shows(const std::string &text) {
        screen.clear();
        return eventually([&] {
            run::take(master, screen);
            return screen.find(text) != std::string::npos;
        });
    }

    bool is_as_before() {
        termios now = {};
        tcgetattr(slave, &now);
        while (run::poll_in(master) && run::take(master, screen)) {
        }
        const size_t entered = screen.rfind("\033[?1049h");
        const size_t left = screen.rfind("\033[?25h\033[?1049l");
        return now.c_lflag == before.c_lflag && left != std::string::npos &&
               (entered == std::string::npos || entered < left);
    }

    /* The ID of the tool's process, valid once the tool has shown something. state() returns its state as a letter. */
    pid_t job() const {
        return tcgetpgrp(master);
    }

    char state() const {
        const std::string stat = read_file("/proc/" + std::to_string(job()) + "/stat");
        return stat.size() > 2 ? stat[stat.rfind(')') + 2] : 'X';
    }

    int end() {
        int status = 0;
        const bool ended = eventually([&] {
            run::take(master, screen);
            return waitpid(tool->pid, &status, WNOHANG) == tool->pid;
        });
        tool->ended = ended;
        EXPECT_TRUE(ended) << screen;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    int master = -1;
    int slave = -1;
    termios before = {};
    std::unique_ptr<run> tool;
    std::string screen;
};

TEST(Tool, LiveViewGivesTheTerminalBack) {
    for (const int number : {0, SIGINT, SIGTERM, SIGHUP}) {
        terminal_run terminal(steady, {"watch", "-i", "0.2", "reg", "lte.rsrp"});
        ASSERT_TRUE(terminal.shows("\033[?1049h"));
        ASSERT_TRUE(terminal.shows("rsrp   -93 dBm"));
        if (number == 0) {
            EXPECT_EQ(write(terminal.master, "xq", 2), 2);
        } else {
            kill(terminal.job(), number);
        }
        EXPECT_EQ(terminal.end(), 0);
        EXPECT_TRUE(terminal.is_as_before()) << number;
    }
}

TEST(Tool, LiveViewIsSuspendedAndResized) {
    terminal_run terminal(steady, {"watch", "-i", "0.2", "reg", "lte.rsrp"});
    ASSERT_TRUE(terminal.shows("\033[32m▄"));
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(write(terminal.master, "\032", 1), 1); // Ctrl-Z
        ASSERT_TRUE(eventually([&] {
            run::take(terminal.master, terminal.screen);
            return terminal.state() == 'T';
        }));
        EXPECT_TRUE(terminal.is_as_before());
        kill(terminal.job(), SIGCONT);
        ASSERT_TRUE(terminal.shows("\033[?1049h"));
        ASSERT_TRUE(terminal.shows("rsrp   -93 dBm"));
    }
    const winsize size = {5, 20, 0, 0};
    ioctl(terminal.master, TIOCSWINSZ, &size);
    ASSERT_TRUE(terminal.shows("registration: LTE wi\033[K")); // cut where the screen ends
    EXPECT_EQ(write(terminal.master, "\003", 1), 1);           // Ctrl-C
    EXPECT_EQ(terminal.end(), 0);
    EXPECT_TRUE(terminal.is_as_before());
}

TEST(Tool, LiveViewOfAModemThatGoes) {
    terminal_run terminal(scenario("gone", lte + "[[change]]\nat_ms = 1500\npresent = false\n"), {"watch"});
    EXPECT_TRUE(terminal.shows("registration: LTE\033[K"));
    EXPECT_TRUE(terminal.shows("registration: the modem does not answer"));
    EXPECT_TRUE(terminal.shows("Z the modem does not answer")); // the list of events has it too
    kill(terminal.job(), SIGTERM);
    EXPECT_EQ(terminal.end(), 0);
}

} // namespace
