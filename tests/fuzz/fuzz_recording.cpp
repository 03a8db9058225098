/* Feeds any bytes to the reader of recordings, and to everything that zeb_recording does with a recording. The same
 * bytes are also redacted as a log, unless they begin like a recording. */
#include "diff.h"
#include "page.h"
#include "redact.h"
#include "show.h"

#include <cstdlib>

static void check(bool holds) {
    if (!holds) {
        abort();
    }
}

/* Reads a recording into `file`. Returns whether the recording could be read. */
static bool read_entries(const std::string &text, session_file &file) {
    std::string error;
    const bool read = session_parse("fuzz", text, file, error);
    check(read || error.starts_with("fuzz:"));
    for (const recording_entry &entry : file.content.entries) {
        check(entry.in.head.size() <= entry.in.length && entry.out.head.size() <= entry.out.length);
    }
    return read;
}

static void show(const std::string &text) {
    std::vector<std::unique_ptr<session_file>> files;
    session s;
    std::string error;
    read_entries(text, *files.emplace_back(std::make_unique<session_file>()));
    check(session_make(std::move(files), s, error));
    const facts f = facts_gather(s);
    for (const show_form form : {show_form::TEXT, show_form::JSON, show_form::CSV}) {
        show_text(s, f, {.form = form});
    }
    check(page_text(s, f).ends_with("</html>\n"));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::string report;
    std::string error;
    session_file file;
    if (read_entries(text, file)) {
        show(text);
        check(diff_text(file, file).empty());
        std::vector<redact_file> files = {{.name = "fuzz", .text = text}};
        const bool blanked = redact_texts(files, true, report, error);
        check(blanked);
        session_file redacted;
        check(read_entries(files[0].result, redacted) &&
              redacted.content.entries.size() == file.content.entries.size());
        diff_text(file, redacted);
    }
    std::vector<redact_file> files = {{.name = "empty", .text = "zeb-recording 1\n"}, {.name = "log", .text = text}};
    if (!text.starts_with("zeb-recording ")) {
        check(redact_texts(files, false, report, error));
    }
    return 0;
}
