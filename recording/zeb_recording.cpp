/* zeb_recording: shows what happened in a recording, as text or as an HTML page. Also redacts recordings, and compares
 * two recordings. */
#include "diff.h"
#include "new_file.h"
#include "page.h"
#include "redact.h"
#include "show.h"
#include "times.h"

#include "cpe_dm.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <unistd.h>

namespace {

constexpr const char *USAGE =
    R"(usage: zeb_recording show FILE... [--from TIME] [--to TIME] [--only KIND]... [--json | --csv]
       zeb_recording page FILE... -o PAGE.html
       zeb_recording redact FILE -o FILE [--also FILE -o FILE]... [--blank]
       zeb_recording diff FILE FILE
)";

/* Exit statuses. */
enum { DONE = 0, DIFFERS = 1, TROUBLE = 2 };

struct arguments {
    std::vector<const char *> files;
    std::vector<const char *> outputs; /* the files to write; for `redact`, outputs[i] is the copy of files[i] */
    show_options show;
    std::string_view from;
    std::string_view to;
    bool blank = false;
};

int trouble(const std::string &text) {
    fprintf(stderr, "%s\n", text.c_str());
    return TROUBLE;
}

int misused(const std::string &text) {
    return trouble("zeb_recording: " + text + "; zeb_recording --help says how it is used");
}

int print(const std::string &text) {
    if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0) {
        return trouble("zeb_recording: standard output cannot be written: " + std::generic_category().message(errno));
    }
    return DONE;
}

bool load(const arguments &args, session &s, std::string &error) {
    std::vector<std::unique_ptr<session_file>> files;
    for (const char *name : args.files) {
        if (!session_read(name, *files.emplace_back(std::make_unique<session_file>()), error)) {
            return false;
        }
    }
    return session_make(std::move(files), s, error);
}

int run_show(const arguments &args) {
    session s;
    std::string error;
    show_options options = args.show;
    if (!load(args, s, error)) {
        return trouble(error);
    }
    for (const auto &[text, moment] : {std::pair{args.from, &options.from_us}, std::pair{args.to, &options.to_us}}) {
        if (!text.empty() && !(*moment = time_moment(text, s.start_us))) {
            return misused("no such time: " + std::string(text) + " (2026-11-23T02:17:00, 02:17:00, or seconds: 12.5)");
        }
    }
    return print(show_text(s, facts_gather(s), options));
}

int run_page(const arguments &args) {
    session s;
    std::string error;
    if (!load(args, s, error) || !page_write(args.outputs[0], page_text(s, facts_gather(s)), error)) {
        return trouble(error);
    }
    return DONE;
}

int run_redact(const arguments &args) {
    std::vector<redact_file> files(args.files.size());
    std::string report;
    std::string error;
    for (size_t i = 0; i < files.size(); i++) {
        files[i].name = args.files[i];
        if (!session_read_text(args.files[i], files[i].text, error)) {
            return trouble(error);
        }
    }
    if (!redact_texts(files, args.blank, report, error)) {
        return trouble(error);
    }
    for (size_t i = 0; i < files.size(); i++) {
        if (!new_file_write(args.outputs[i], files[i].result, "", error)) {
            std::for_each_n(args.outputs.begin(), i, unlink); // remove the outputs that are already written
            return trouble(error);
        }
        report += files[i].name + " -> " + args.outputs[i] + "\n";
        for (size_t at = 0, end; (end = files[i].report.find('\n', at)) != std::string::npos; at = end + 1) {
            report += "  " + files[i].report.substr(at, end + 1 - at);
        }
    }
    return print(report);
}

int run_diff(const arguments &args) {
    session_file a;
    session_file b;
    std::string error;
    if (!session_read(args.files[0], a, error) || !session_read(args.files[1], b, error)) {
        return trouble(error);
    }
    const std::string text = diff_text(a, b);
    const int status = print(text);
    return status != DONE ? status : text.empty() ? DONE : DIFFERS;
}

struct command {
    const char *name;
    int (*run)(const arguments &args);
    size_t files_min;
    size_t files_max;
    const char *options; /* the options that the command takes, each with a blank before and after it */
};

constexpr size_t MANY = 1000;

constexpr command COMMANDS[] = {
    {"show", run_show, 1, MANY, " --from --to --only --json --csv "},
    {"page", run_page, 1, MANY, " -o "},
    {"redact", run_redact, 1, MANY, " -o --also --blank "},
    {"diff", run_diff, 2, 2, " "},
};

/* Stores an option and its value in `args`. `value` is null when the option takes no value, and when the value is
 * missing. Returns a message when the option is wrong, and otherwise "". */
std::string take_option(const std::string &option, const char *value, arguments &args) {
    if (option == "--json" || option == "--csv") {
        args.show.form = option == "--json" ? show_form::JSON : show_form::CSV;
        return "";
    }
    if (option == "--blank") {
        args.blank = true;
        return "";
    }
    if (value == nullptr) {
        return option + " lacks its value";
    }
    if (option == "--from" || option == "--to") {
        (option == "--from" ? args.from : args.to) = value;
    } else if (option == "-o") {
        args.outputs.push_back(value);
    } else if (option == "--also") {
        args.files.push_back(value);
    } else if (!show_is_kind(value)) {
        return std::string("no such kind: ") + value + " (" + show_kinds() + ")";
    } else {
        args.show.only.emplace_back(value);
    }
    return "";
}

/* Reads the words behind the command's name into `args`. Returns a message when a word is wrong, and otherwise "". */
std::string take_words(const command &c, int argc, char **argv, arguments &args) {
    bool options_end = false;
    for (int i = 2; i < argc; i++) {
        const std::string word = argv[i];
        if (options_end || word.size() < 2 || word[0] != '-') {
            args.files.push_back(argv[i]);
        } else if (word == "--") {
            options_end = true;
        } else if (strstr(c.options, (" " + word + " ").c_str()) == nullptr) {
            return "no such option of " + std::string(c.name) + ": " + word;
        } else {
            const bool alone = word == "--json" || word == "--csv" || word == "--blank";
            const char *value = alone || i + 1 == argc ? nullptr : argv[++i];
            if (std::string wrong = take_option(word, value, args); !wrong.empty()) {
                return wrong;
            }
        }
    }
    return "";
}

/* Returns a message when the number of files or of -o options is wrong for the command, and otherwise "". */
std::string wrong_count(const command &c, const arguments &args) {
    if (args.files.size() < c.files_min || args.files.size() > c.files_max) {
        return std::string(c.name) + (c.files_max == 2 ? " takes two recordings" : " takes a recording");
    }
    const bool writes = strstr(c.options, " -o ") != nullptr;
    const size_t outputs = !writes ? 0 : c.run == run_redact ? args.files.size() : 1;
    if (args.outputs.size() != outputs) {
        return std::string(c.name) + " takes one -o FILE" + (outputs == 1 ? "" : " for each file");
    }
    return "";
}

int run(const command &c, int argc, char **argv) {
    arguments args;
    std::string wrong = take_words(c, argc, argv, args);
    if (wrong.empty()) {
        wrong = wrong_count(c, args);
    }
    return wrong.empty() ? c.run(args) : misused(wrong);
}

} // namespace

int main(int argc, char **argv) {
    const std::string_view name = argc > 1 ? argv[1] : "";
    if (name == "--help" || name == "-h") {
        return print(USAGE);
    }
    if (name == "--version") {
        return print("zeb_recording " CPE_DM_VERSION_STRING "\n");
    }
    const auto *found =
        std::find_if(std::begin(COMMANDS), std::end(COMMANDS), [=](const command &c) { return c.name == name; });
    if (found == std::end(COMMANDS)) {
        return misused(name.empty() ? "which command?" : "no such command: " + std::string(name));
    }
    try {
        return run(*found, argc, argv);
    } catch (const std::bad_alloc &) {
        return trouble("zeb_recording: out of memory");
    }
}
