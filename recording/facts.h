/* What happened in a whole recording: what was asked and with which results, the signal over time, where the box was
 * served, and what failed. */
#ifndef FACTS_H
#define FACTS_H

#include "session.h"

#include <array>

/* A call or callback that takes this long is slow; a wait is never slow. */
inline constexpr uint64_t FACTS_SLOW_US = 100000;

/* A time of this length without any line is a gap. */
inline constexpr uint64_t FACTS_GAP_US = 10000000;

/* One of the values that the charts show, by its metric. */
struct facts_signal {
    uint32_t metric;
    const char *label; /* "LTE RSRP" */
};

inline constexpr size_t FACTS_SIGNALS = 6;
extern const std::array<facts_signal, FACTS_SIGNALS> facts_signals;

inline constexpr int32_t FACTS_NO_VALUE = INT32_MIN;

/* The signal values of one answer or indication, as the modem counts them. FACTS_NO_VALUE stands for a value that the
 * message does not have. */
struct facts_sample {
    uint64_t us = 0;
    size_t line = 0; /* index of session::lines */
    std::array<int32_t, FACTS_SIGNALS> values = {};
};

/* A time during which a state lasted. */
struct facts_span {
    uint64_t from_us = 0;
    uint64_t to_us = 0;
    size_t line = 0; /* the line that began the state */
    std::string text;
    std::string more; /* details about the span */
};

/* All requests, or indications, of one ID. */
struct facts_message {
    zeb_message_type type = ZEB_MESSAGE_REQUEST;
    uint32_t id = 0;
    size_t count = 0;
    size_t failed = 0;       /* of a request: no answer, or a refusal; of an indication: it could not be decoded */
    size_t first_failed = 0; /* index of session::lines */
    size_t undecoded = 0;    /* of an indication: the program did not decode it */
    uint64_t slowest_us = 0; /* of an indication: its callback */
    size_t slowest = 0;      /* index of session::lines */
};

struct facts {
    uint64_t from_us = 0;
    uint64_t to_us = 0;
    std::vector<facts_message> messages; /* by type and ID */
    std::vector<facts_sample> samples;
    std::vector<facts_span> registration; /* text: the name of the status */
    std::vector<facts_span> lte_cells;
    std::vector<facts_span> nr5g_cells;
    std::vector<facts_span> outages;  /* times without a network's service, or without the modem's */
    std::vector<facts_span> absences; /* without the modem's service */
    std::vector<facts_span> gaps;
    std::vector<size_t> failures; /* lines */
    std::vector<size_t> slow;
    std::vector<size_t> unreturned; /* callbacks that did not return */
    std::vector<size_t> events;
    size_t restarts = 0;      /* the modem's service went and came back */
    size_t registrations = 0; /* clients that were created */
};

facts facts_gather(const session &s);

/* Whether the line tells of a failure. A service list without the modem's service is no failure: the program is waiting
 * for the service. */
bool facts_failed(const session_line &line);
bool facts_slow(const session_line &line);

/* Whether the line is that of a callback which never returned. */
bool facts_unreturned(const session_line &line);

#endif
