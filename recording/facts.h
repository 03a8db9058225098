/* What happened in a whole recording: the requests and their results, the signal over time, the cells that served the
 * box, and what failed. */
#ifndef FACTS_H
#define FACTS_H

#include "session.h"

#include <array>

/* A call or callback that takes this long or longer is slow, except a call that waits for the service. */
inline constexpr uint64_t FACTS_SLOW_US = 100000;

/* A time of this length or longer without any line is a gap. */
inline constexpr uint64_t FACTS_GAP_US = 10000000;

/* One of the signal values that the page shows as charts. */
struct facts_signal {
    uint32_t metric;   /* CPE_DM_METRIC_... */
    const char *label; /* for people, such as "LTE RSRP" */
};

inline constexpr size_t FACTS_SIGNALS = 6;
extern const std::array<facts_signal, FACTS_SIGNALS> facts_signals;

inline constexpr int32_t FACTS_NO_VALUE = INT32_MIN;

/* The signal values of one answer or indication, in counts: the integer steps in which the modem gives each value.
 * FACTS_NO_VALUE stands for a value that the message does not have. */
struct facts_sample {
    uint64_t us = 0;
    size_t line = 0; /* index in session::lines */
    std::array<int32_t, FACTS_SIGNALS> values = {};
};

/* A time during which a state lasted. */
struct facts_span {
    uint64_t from_us = 0;
    uint64_t to_us = 0;
    size_t line = 0;  /* index in session::lines of the line that began the state */
    std::string text; /* the name of the state */
    std::string more; /* further details of the state, such as the channel of a cell; may be empty */
};

/* What is known of all requests with one ID, or of all indications with one ID. */
struct facts_message {
    zeb_message_type type = ZEB_MESSAGE_REQUEST;
    uint32_t id = 0;
    size_t count = 0;
    size_t failed = 0;       /* requests that got no answer or were refused; indications whose decoding failed */
    size_t first_failed = 0; /* the first failed request or indication, as an index in session::lines */
    size_t undecoded = 0;    /* indications that the program did not try to decode */
    uint64_t slowest_us = 0; /* duration of the slowest request, or of the slowest callback of an indication */
    size_t slowest = 0;      /* the line of the slowest request or callback, as an index in session::lines */
};

struct facts {
    uint64_t from_us = 0;
    uint64_t to_us = 0;
    std::vector<facts_message> messages; /* sorted by type and ID */
    std::vector<facts_sample> samples;
    std::vector<facts_span> registration; /* `text` is the name of the registration status */
    std::vector<facts_span> lte_cells;
    std::vector<facts_span> nr5g_cells;
    std::vector<facts_span> outages;  /* times when no network served the box, or when the NAS service was absent */
    std::vector<facts_span> absences; /* times when the NAS service was absent */
    std::vector<facts_span> gaps;
    std::vector<size_t> failures; /* this vector and the next three hold indexes in session::lines */
    std::vector<size_t> slow;
    std::vector<size_t> unreturned; /* callbacks that did not return */
    std::vector<size_t> events;
    size_t restarts = 0;      /* how often the modem's service went and came back */
    size_t registrations = 0; /* how many clients were created */
};

facts facts_gather(const session &s);

/* Whether the line tells of a failure. A service list without the modem's service is no failure: the program is waiting
 * for the service. */
bool facts_failed(const session_line &line);
bool facts_slow(const session_line &line);

/* Whether the line is about a callback that never returned. False when the recording does not tell whether the callback
 * returned. */
bool facts_unreturned(const session_line &line);

#endif
