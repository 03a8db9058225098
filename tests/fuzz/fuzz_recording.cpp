/* Recordings of any content through the reader. */
#include "recording.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    recording read;
    std::string error;
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    if (!recording_parse(text, "fuzz", read, error) && !error.starts_with("fuzz:")) {
        abort();
    }
    for (const recording_entry &entry : read.entries) {
        if (entry.in.head.size() > entry.in.length || entry.out.head.size() > entry.out.length) {
            abort();
        }
    }
    return 0;
}
