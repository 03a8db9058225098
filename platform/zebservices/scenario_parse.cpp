#include "nas_messages.h"
#include "scenario.h"
#include "zeb_file.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>

/* Values of a scenario are not nested deeply. This limit on nested values, together with the limit on the length of a
 * line, bounds how deep the parser recurses, and how deep the tables that it returns are nested. */
#define TOML_MAX_NESTED_VALUES 8
#define TOML_ENABLE_FORMATTERS 0
/* Some malformed texts make an assertion of toml++ fail. In a build without assertions, toml++ would go on although
 * the asserted condition is false. So in every build a failed assertion throws, and the text is refused. */
#undef NDEBUG
#define TOML_ASSERT(expr) ((expr) ? void() : refuse_malformed())
[[noreturn]] static void refuse_malformed() {
    throw std::invalid_argument("the text is malformed");
}
#include <toml++/toml.h>

namespace {

constexpr size_t TEXT_MAX = 65536;
constexpr size_t LINE_MAX_BYTES = 500;
constexpr int64_t MS_MAX = 86400000;
constexpr int64_t U16_MAX = 0xFFFF;
constexpr int64_t U32_MAX = 0xFFFFFFFF;
constexpr size_t CHANGES_MAX = 256;
constexpr size_t FAULTS_MAX = 64;

/* Marks a new ramp: `from_ms` has this value until start_ramp stores the time at which the ramp starts. */
constexpr uint64_t RAMP_STARTS_HERE = UINT64_MAX;

/* The state of reading a scenario. If several things are refused, `line` and `reason` are about the one that comes
 * first in the file. */
struct reader {
    size_t line = SIZE_MAX;
    std::string reason;
    size_t refusals = 0;
    std::string_view key; /* the key whose value is being read */
    bool in_change = false;
};

void refuse(reader &r, size_t line, std::string reason) {
    r.refusals++;
    if (line < r.line) {
        r.line = line;
        r.reason = std::move(reason);
    }
}

size_t line_of(const toml::node &node) {
    return node.source().begin.line;
}

std::string printable(std::string_view name) {
    std::string out;
    for (const char c : name.substr(0, 40)) {
        out += c >= 0x20 && c < 0x7F ? c : '?';
    }
    return out;
}

/* Refuses a value that is not right for its key. */
void refuse_value(reader &r, const toml::node &node, const std::string &reason) {
    refuse(r, line_of(node), r.key.empty() ? reason : std::string(r.key) + ": " + reason);
}

/* A key of a TOML table, and the function that reads the key's value into a record of type T. */
template <typename T> struct key {
    const char *name;
    void (*read)(reader &r, const toml::node &node, T &out);
};

/* Reads a table. For each key in the table, calls the function that `keys` has for this key. Refuses a key that is not
 * in `keys`. */
template <typename T> void read_table(reader &r, const toml::node &node, std::span<const key<T>> keys, T &out) {
    const toml::table *table = node.as_table();
    if (table == nullptr) {
        return refuse_value(r, node, "a table is expected");
    }
    for (auto &&[name, value] : *table) {
        const std::string_view word = name.str();
        const auto found = std::find_if(keys.begin(), keys.end(), [word](const key<T> &k) { return word == k.name; });
        if (found == keys.end()) {
            refuse(r, name.source().begin.line, "unknown key \"" + printable(word) + "\"");
        } else {
            const std::string_view outer = std::exchange(r.key, found->name);
            found->read(r, value, out);
            r.key = outer;
        }
    }
}

template <typename T> void read_integer(reader &r, const toml::node &node, int64_t min, int64_t max, T &out) {
    const auto *value = node.as_integer();
    if (value == nullptr) {
        return refuse_value(r, node, "an integer is expected");
    }
    if (value->get() < min || value->get() > max) {
        return refuse_value(r, node, "value out of range " + std::to_string(min) + " to " + std::to_string(max));
    }
    out = static_cast<T>(value->get());
}

/* Reads a measured value: a number or, in a change, a ramp. The start of a ramp is filled in later, by start_ramp. */
void read_value(reader &r, const toml::node &node, int64_t min, int64_t max, scenario_value &out) {
    const toml::table *ramp = node.as_table();
    if (ramp == nullptr) {
        int32_t value = 0;
        read_integer(r, node, min, max, value);
        out = {value};
        return;
    }
    const size_t before = r.refusals;
    out.over_ms = 0;
    for (auto &&[name, value] : *ramp) {
        const std::string_view word = name.str();
        if (word == "to") {
            read_integer(r, value, min, max, out.to);
        } else if (word == "over_ms") {
            read_integer(r, value, 1, MS_MAX, out.over_ms);
        } else {
            refuse(r, name.source().begin.line, "unknown key \"" + printable(word) + "\"");
        }
    }
    if (r.refusals == before && !(r.in_change && ramp->contains("to") && ramp->contains("over_ms"))) {
        refuse_value(r, node, "a ramp stands in a change, and has to and over_ms");
    }
    out.from_ms = RAMP_STARTS_HERE;
}

void read_bool(reader &r, const toml::node &node, bool &out) {
    const auto *value = node.as_boolean();
    if (value == nullptr) {
        return refuse_value(r, node, "true or false is expected");
    }
    out = value->get();
}

/* Reads a 64-bit identity: an integer, or a string with 0x and hexadecimal digits. The string is for identities above
 * INT64_MAX, which a TOML integer cannot hold. */
void read_u64(reader &r, const toml::node &node, uint64_t &out) {
    const auto *text = node.as_string();
    if (text == nullptr) {
        return read_integer(r, node, 0, INT64_MAX, out);
    }
    const std::string &digits = text->get();
    const char *end = digits.data() + digits.size();
    if (digits.size() < 3 || digits.size() > 18 || !digits.starts_with("0x") ||
        std::from_chars(digits.data() + 2, end, out, 16).ptr != end) {
        refuse_value(r, node, "hexadecimal digits after 0x are expected");
    }
}

/* Reads one of the given words. The first word gives the value `first`, the second `first` + 1, and so on. */
template <typename T>
void read_word(reader &r, const toml::node &node, std::span<const char *const> words, int first, T &out) {
    const auto *value = node.as_string();
    const auto found = value == nullptr ? words.end() : std::find(words.begin(), words.end(), value->get());
    if (found != words.end()) {
        out = static_cast<T>(first + (found - words.begin()));
        return;
    }
    std::string reason = "one of these words is expected:";
    for (const char *word : words) {
        reason += std::string(" ") + word;
    }
    refuse_value(r, node, reason);
}

/* Returns the list that the node holds. If the node is not a list, or if the list has more than `max` elements, refuses
 * the node and returns null. */
const toml::array *list_of(reader &r, const toml::node &node, size_t max) {
    const toml::array *list = node.as_array();
    if (list == nullptr) {
        refuse_value(r, node, "a list is expected");
    } else if (list->size() > max) {
        refuse_value(r, node, "more than " + std::to_string(max) + " entries");
        return nullptr;
    }
    return list;
}

/* The tables of keys use the function templates `one`, `number`, `measured`, `list`, `counted` and `bytes`. Each of
 * these templates reads a node into the member MEMBER of T. If the member is an empty std::optional, the template first
 * gives the member a value. */

template <typename V> V &member(V &value) {
    return value;
}

template <typename V> V &member(std::optional<V> &value) {
    return value ? *value : value.emplace();
}

template <auto MEMBER, auto READ, typename T> void one(reader &r, const toml::node &node, T &out) {
    READ(r, node, member(out.*MEMBER));
}

template <auto MEMBER, int64_t MIN, int64_t MAX, typename T> void number(reader &r, const toml::node &node, T &out) {
    read_integer(r, node, MIN, MAX, member(out.*MEMBER));
}

template <auto MEMBER, int64_t MIN, int64_t MAX, typename T> void measured(reader &r, const toml::node &node, T &out) {
    read_value(r, node, MIN, MAX, out.*MEMBER);
}

template <auto MEMBER, size_t MAX, auto READ, typename T> void list(reader &r, const toml::node &node, T &out) {
    auto &entries = member(out.*MEMBER);
    const toml::array *elements = list_of(r, node, MAX);
    entries.clear();
    for (size_t i = 0; elements != nullptr && i < elements->size(); i++) {
        READ(r, (*elements)[i], entries.emplace_back());
    }
}

/* Reads a list into the array MEMBER of a message, and stores the number of entries in the member COUNT. */
template <auto MEMBER, auto COUNT, auto READ, typename T> void counted(reader &r, const toml::node &node, T &out) {
    const toml::array *elements = list_of(r, node, std::size(out.*MEMBER));
    for (size_t i = 0; elements != nullptr && i < elements->size(); i++) {
        READ(r, (*elements)[i], (out.*MEMBER)[(out.*COUNT)++]);
    }
}

template <auto MEMBER, typename T> void bytes(reader &r, const toml::node &node, T &out) {
    const size_t count = std::size(out.*MEMBER);
    const toml::array *elements = list_of(r, node, count);
    if (elements != nullptr && elements->size() != count) {
        refuse_value(r, node, std::to_string(count) + " bytes are expected");
    }
    for (size_t i = 0; elements != nullptr && i < elements->size(); i++) {
        read_integer(r, (*elements)[i], 0, 255, (out.*MEMBER)[i]);
    }
}

void read_srv_status(reader &r, const toml::node &node, int32_t &out) {
    static constexpr const char *WORDS[] = {"absent",  "no_service",       "limited",
                                            "service", "limited_regional", "power_save"};
    read_word(r, node, WORDS, SCENARIO_ABSENT, out);
}

void read_damage(reader &r, const toml::node &node, scenario_damage &out) {
    static constexpr const char *WORDS[] = {"truncated", "length", "id", "type"};
    read_word(r, node, WORDS, static_cast<int>(scenario_damage::TRUNCATED), out);
}

void read_codeword(reader &r, const toml::node &node, uint8_t &out) {
    read_integer(r, node, 0, 15, out);
}

void read_arfcn(reader &r, const toml::node &node, uint32_t &out) {
    read_integer(r, node, 0, U32_MAX, out);
}

void read_swing(reader &r, const toml::node &node, scenario_swing &out) {
    using T = scenario_swing;
    static constexpr key<T> KEYS[] = {
        {"rsrp", number<&T::rsrp, 0, 50>},
        {"rsrq", number<&T::rsrq, 0, 20>},
        {"snr", number<&T::snr, 0, 300>},
        {"period_ms", number<&T::period_ms, 100, MS_MAX>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_carrier(reader &r, const toml::node &node, zeb_nas_cc_cqi &out) {
    using T = zeb_nas_cc_cqi;
    counted<&T::cw_cqi, &T::cw_cqi_len, read_codeword>(r, node, out);
}

void read_plmn(reader &r, const toml::node &node, zeb_nas_plmn &out) {
    using T = zeb_nas_plmn;
    static constexpr key<T> KEYS[] = {
        {"mcc", number<&T::plmn_mcc, 0, 999>},
        {"mnc", number<&T::plmn_mnc, 0, 999>},
        {"pcs_digit", number<&T::plmn_mnc_includes_pcs_digit, 0, 1>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_intra_cell(reader &r, const toml::node &node, zeb_nas_intra_cell &out) {
    using T = zeb_nas_intra_cell;
    static constexpr key<T> KEYS[] = {
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"rsrq", number<&T::rsrq, -60, 20>},
        {"rsrp", number<&T::rsrp, -200, 0>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_lte_lock(reader &r, const toml::node &node, zeb_nas_lte_lock &out) {
    using T = zeb_nas_lte_lock;
    static constexpr key<T> KEYS[] = {
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"earfcn", number<&T::freq, 0, U16_MAX>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_nr5g_lock(reader &r, const toml::node &node, scenario_nr5g_cell_lock &out) {
    using T = scenario_nr5g_cell_lock;
    static constexpr key<T> KEYS[] = {
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"arfcn", number<&T::arfcn, 0, U32_MAX>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_lte_neighbour(reader &r, const toml::node &node, scenario_lte_neighbour &out) {
    using T = scenario_lte_neighbour;
    static constexpr key<T> KEYS[] = {
        {"earfcn", number<&T::earfcn, 0, U32_MAX>}, {"pci", number<&T::pci, 0, U16_MAX>},
        {"cgi", number<&T::cgi, 0, U32_MAX>},       {"plmn", counted<&T::plmn, &T::plmn_len, read_plmn>},
        {"rsrp", number<&T::rsrp, -200, 0>},        {"rsrq", number<&T::rsrq, -60, 20>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_nr5g_neighbour(reader &r, const toml::node &node, zeb_nas_nr5g_nbr &out) {
    using T = zeb_nas_nr5g_nbr;
    static constexpr key<T> KEYS[] = {
        {"arfcn", number<&T::earfcn, 0, U32_MAX>},
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"rsrp", number<&T::rsrp, -200, 0>},
        {"plmn", counted<&T::plmn, &T::plmn_len, read_plmn>},
        {"cgi", counted<&T::cgi, &T::cgi_len, read_u64>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_lte(reader &r, const toml::node &node, scenario_lte &out) {
    using T = scenario_lte;
    static constexpr key<T> KEYS[] = {
        {"srv_status", one<&T::srv_status, read_srv_status>},
        {"srv_domain", number<&T::srv_domain, 0, U32_MAX>},
        {"srv_capability", number<&T::srv_capability, 0, U32_MAX>},
        {"plmn", bytes<&T::plmn>},
        {"tac", number<&T::tac, 0, U16_MAX>},
        {"cgi", number<&T::cgi, 0, U32_MAX>},
        {"earfcn", number<&T::earfcn, 0, U16_MAX>},
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"rssi", number<&T::rssi, -128, 0>},
        {"rsrq", measured<&T::rsrq, -60, 20>},
        {"rsrp", measured<&T::rsrp, -200, 0>},
        {"snr", measured<&T::snr, -500, 500>},
        {"swing", one<&T::swing, read_swing>},
        {"tx_power", number<&T::tx_power, -1000, 1000>},
        {"cqi", list<&T::cqi, ZEB_NAS_LTE_CC_MAX, read_carrier>},
        {"lock", list<&T::lock, ZEB_NAS_LTE_LOCK_MAX, read_lte_lock>},
        {"intra", list<&T::intra, ZEB_NAS_INTRA_CELLS_MAX - 1, read_intra_cell>},
        {"neighbour", list<&T::neighbours, ZEB_NAS_LTE_NBR_MAX, read_lte_neighbour>},
    };
    read_table<T>(r, node, KEYS, out);
}

void read_nr5g(reader &r, const toml::node &node, scenario_nr5g &out) {
    using T = scenario_nr5g;
    static constexpr key<T> KEYS[] = {
        {"srv_status", one<&T::srv_status, read_srv_status>},
        {"srv_domain", number<&T::srv_domain, 0, U32_MAX>},
        {"srv_capability", number<&T::srv_capability, 0, U32_MAX>},
        {"attached", one<&T::attached, read_bool>},
        {"plmn", bytes<&T::plmn>},
        {"tac", bytes<&T::tac>},
        {"cgi", one<&T::cgi, read_u64>},
        {"arfcn", one<&T::arfcn, read_arfcn>},
        {"pci", number<&T::pci, 0, U16_MAX>},
        {"rsrp", measured<&T::rsrp, -200, 0>},
        {"rsrq", measured<&T::rsrq, -60, 20>},
        {"rsrq_reported", one<&T::rsrq_reported, read_bool>},
        {"snr", measured<&T::snr, -500, 500>},
        {"swing", one<&T::swing, read_swing>},
        {"tx_power", number<&T::tx_power, -1000, 1000>},
        {"cqi", list<&T::cqi, ZEB_NAS_NR5G_CC_MAX, read_carrier>},
        {"lock_cell", one<&T::lock_cell, read_nr5g_lock>},
        {"lock_arfcns", list<&T::lock_arfcns, ZEB_NAS_NR5G_LOCK_MAX, read_arfcn>},
        {"neighbour", list<&T::neighbours, ZEB_NAS_NR5G_NBR_MAX, read_nr5g_neighbour>},
    };
    read_table<T>(r, node, KEYS, out);
}

/* If `value` is a new ramp, sets the start of the ramp. The ramp starts at `at_ms`, the time of the change, with the
 * number that `before` has at that time. `before` is the same measured value in the state before the change. */
void start_ramp(scenario_value &value, const scenario_value &before, uint64_t at_ms) {
    if (value.from_ms == RAMP_STARTS_HERE) {
        value.from = scenario_value_at(before, at_ms);
        value.from_ms = at_ms;
    }
}

template <typename T> void start_ramps(T &cell, const T &before, uint64_t at_ms) {
    start_ramp(cell.rsrp, before.rsrp, at_ms);
    start_ramp(cell.rsrq, before.rsrq, at_ms);
    start_ramp(cell.snr, before.snr, at_ms);
}

/* Reads the changes. A change names only what is new, so each change is read into a copy of the state before it. */
void read_changes(reader &r, const toml::node &node, std::vector<scenario_state> &states) {
    using T = scenario_state;
    static constexpr key<T> KEYS[] = {
        {"at_ms", number<&T::at_ms, 1, MS_MAX>},
        {"present", one<&T::present, read_bool>},
        {"lte", one<&T::lte, read_lte>},
        {"nr5g", one<&T::nr5g, read_nr5g>},
    };
    const toml::array *changes = list_of(r, node, CHANGES_MAX);
    for (size_t i = 0; changes != nullptr && i < changes->size(); i++) {
        const toml::node &change = (*changes)[i];
        const size_t before = r.refusals;
        T state = states.back();
        read_table<T>(r, change, KEYS, state);
        start_ramps(state.lte, states.back().lte, state.at_ms);
        start_ramps(state.nr5g, states.back().nr5g, state.at_ms);
        if (r.refusals == before && state.at_ms <= states.back().at_ms) {
            refuse(r, line_of(change), "a change needs an at_ms later than the one before it");
        }
        states.push_back(std::move(state));
    }
}

bool in_service(zeb_message_type type, uint32_t id) {
    return std::any_of(std::begin(NAS_MESSAGES), std::end(NAS_MESSAGES),
                       [=](const zeb_message &message) { return message.type == type && message.id == id; });
}

/* Returns why the keys of a fault do not fit together, although each single key is valid. Returns null when they
 * fit. */
const char *fault_reason(const toml::table &keys, const scenario_fault &fault) {
    const bool request = fault.moment == fault_moment::REQUEST;
    const bool indication = fault.moment == fault_moment::INDICATION;
    if (request && !in_service(ZEB_MESSAGE_REQUEST, fault.message)) {
        return "the service has no such request";
    }
    if (indication && !in_service(ZEB_MESSAGE_INDICATION, fault.message)) {
        return "the service has no such indication";
    }
    if (fault.moment == fault_moment::SCAN && fault.message != ZEB_NAS_PERFORM_INCREMENTAL_SCAN) {
        return "only message 0x0085 starts a scan";
    }
    if (keys.contains("error") && !keys.contains("result")) {
        return "error needs a result";
    }
    if (keys.contains("status") && (keys.contains("result") || keys.contains("delay_ms"))) {
        return "a request with a status is lost and has neither result nor delay_ms";
    }
    if (keys.contains("scan_lost") && (!fault.scan_lost || keys.contains("scan_status"))) {
        return "scan_lost is true and stands without scan_status";
    }
    return nullptr;
}

void read_fault(reader &r, const toml::node &node, scenario_fault &out) {
    using T = scenario_fault;
    static constexpr key<T> KEYS[] = {
        {"message", number<&T::message, 1, U16_MAX>},
        {"nth", number<&T::nth, 1, 1000000>},
        {"count", number<&T::count, 0, 1000000>},
        {"status", number<&T::status, ZEB_TRANSPORT_ERR, ZEB_INTERNAL_ERR>},
        {"result", number<&T::result, 1, U32_MAX>},
        {"error", number<&T::error, 0, U32_MAX>},
        {"delay_ms", number<&T::delay_ms, 1, MS_MAX>},
        {"scan_status", number<&T::scan_status, 1, U32_MAX>},
        {"scan_lost", one<&T::scan_lost, read_bool>},
        {"damage", one<&T::damage, read_damage>},
    };
    const size_t before = r.refusals;
    read_table<T>(r, node, KEYS, out);
    if (r.refusals != before) {
        return;
    }
    const toml::table *keys = node.as_table();
    const bool request =
        keys->contains("status") || keys->contains("result") || keys->contains("error") || keys->contains("delay_ms");
    const bool scan = keys->contains("scan_status") || keys->contains("scan_lost");
    const bool indication = keys->contains("damage");
    out.moment = request ? fault_moment::REQUEST : scan ? fault_moment::SCAN : fault_moment::INDICATION;
    if (!keys->contains("message")) {
        refuse(r, line_of(node), "a fault needs a message");
    } else if (request + scan + indication != 1) {
        refuse(r, line_of(node), "a fault strikes either a request, a scan or an indication");
    } else if (const char *reason = fault_reason(*keys, out)) {
        refuse(r, line_of(node), reason);
    }
}

void read_scenario(reader &r, const toml::table &root, scenario &out) {
    using T = scenario;
    static constexpr key<T> KEYS[] = {
        {"tick_ms", number<&T::tick_ms, 10, 60000>},
        {"appear_ms", number<&T::appear_ms, 0, MS_MAX>},
        {"scan_delay_ms", number<&T::scan_delay_ms, 1, MS_MAX>},
        {"repeat_ms", number<&T::repeat_ms, 10, MS_MAX>},
        {"lte", [](reader &r2, const toml::node &n, T &o) { read_lte(r2, n, o.states.front().lte); }},
        {"nr5g", [](reader &r2, const toml::node &n, T &o) { read_nr5g(r2, n, o.states.front().nr5g); }},
        {"change", [](reader &, const toml::node &, T &) {}}, // read_scenario reads it after all other keys
        {"fault", list<&T::faults, FAULTS_MAX, read_fault>},
    };
    out = {};
    out.states.emplace_back();
    read_table<T>(r, root, KEYS, out);
    if (const toml::node *changes = root.get("change")) {
        r.key = "change";
        r.in_change = true;
        read_changes(r, *changes, out.states);
    }
    if (const toml::node *repeat = root.get("repeat_ms");
        r.refusals == 0 && repeat && out.repeat_ms <= out.states.back().at_ms) {
        refuse(r, line_of(*repeat), "repeat_ms must come after the last change");
    }
}

bool plain(std::string_view line) {
    return std::all_of(line.begin(), line.end(),
                       [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\r'; });
}

/* Refuses what toml++ cannot read safely: bytes that are not printable ASCII, long texts, and long lines. Dotted keys
 * on a long line would nest tables deeply. */
void check_lines(reader &r, std::string_view text) {
    size_t line = 1;
    if (text.size() > TEXT_MAX) {
        return refuse(r, line, "longer than " + std::to_string(TEXT_MAX) + " bytes");
    }
    for (size_t start = 0; start < text.size(); line++) {
        const size_t end = std::min(text.find('\n', start), text.size());
        if (end - start > LINE_MAX_BYTES) {
            return refuse(r, line, "a line longer than " + std::to_string(LINE_MAX_BYTES) + " bytes");
        }
        if (!plain(text.substr(start, end - start))) {
            return refuse(r, line, "a byte that is not a printable ASCII character");
        }
        start = end + 1;
    }
}

void parse(reader &r, std::string_view text, scenario &out) {
    check_lines(r, text);
    if (r.refusals != 0) {
        return;
    }
    try {
        read_scenario(r, toml::parse(text), out);
    } catch (const toml::parse_error &e) {
        refuse(r, e.source().begin.line, std::string(e.description()));
    }
}

} // namespace

bool scenario_read(const char *file, scenario &out, std::string &error) {
    std::string text;
    if (const int failure = zeb_read_file(file, TEXT_MAX, text); failure != 0) {
        error = std::string(file) + ":0: cannot be read: " + std::generic_category().message(failure);
        return false;
    }
    return scenario_parse(text, file, out, error);
}

bool scenario_parse(std::string_view text, const char *file, scenario &out, std::string &error) {
    reader r;
    try {
        parse(r, text, out);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &e) {
        refuse(r, 0, e.what());
    }
    error.clear();
    if (r.refusals != 0) {
        error = std::string(file) + ":" + std::to_string(r.line) + ": " + r.reason;
    }
    return r.refusals == 0;
}
