"use strict";
const parameters = new URLSearchParams(location.search);
const server = (parameters.get("prometheus") || location.origin).replace(/\/$/, "");
const registrations = ["", "no service", "power save", "limited service", "limited regional service", "LTE", "LTE with NR 5G",
    "NR 5G"];
const shares = { none: "#7a1f1f", power_save: "#8d6e63", limited: "#c62828", limited_regional: "#ad1457", lte: "#2a6fdb",
    lte_nr5g: "#5e35b1", nr5g: "#d9730d", unknown: "#616161" };
const refresh_ms = 30000;

function fail(error) {
    const banner = document.getElementById("error");
    banner.textContent = `${server}: ${error.message || error}`;
    banner.dataset.error = banner.textContent;
}

async function get(path, query) {
    const answer = await fetch(`${server}/api/v1/${path}?${new URLSearchParams(query || {})}`);
    const body = await answer.json();
    if (body.status !== "success") {
        throw new Error(body.error);
    }
    return body.data;
}

/* Returns the samples of an expression as [labels, number]. */
async function ask(expression) {
    return (await get("query", { query: expression })).result.map(each => [each.metric, Number(each.value[1])]);
}

/* Makes an element. Its children are elements or texts. */
function make(name, attributes, ...children) {
    const svg = ["svg", "path", "line", "text"].includes(name);
    const element = svg ? document.createElementNS("http://www.w3.org/2000/svg", name) : document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        element.setAttribute(key, value);
    }
    element.append(...children);
    return element;
}

function row(attributes, ...cells) {
    return make("tr", attributes, ...cells.map(cell => make("td", {}, cell)));
}

function age(since) {
    const minutes = Math.floor((Date.now() - new Date(since)) / 60000);
    return minutes < 1 ? "less than a minute" : minutes < 120 ? `${minutes} min` : `${Math.floor(minutes / 60)} h`;
}

async function show_totals() {
    const [[[, all] = [{}, 0]], [[, reached] = [{}, 0]], share] = await Promise.all([
        ask('count(up{job="cpe_dm"})'), ask('count(up{job="cpe_dm"} == 1)'), ask("registration:cpe_dm_boxes:share")]);
    document.getElementById("totals").textContent = `${reached} of ${all} boxes can be reached`;
    document.getElementById("shares").replaceChildren(...Object.entries(shares).flatMap(([name, colour]) => {
        const part = (share.find(([labels]) => labels.registration === name) || [{}, 0])[1] * 100;
        const words = `${name.replace("_", " ")} ${part.toFixed(part < 10 ? 1 : 0)} %`;
        return part > 0 ? [make("span", { style: `width: ${part}%; background: ${colour}`, title: words }, words)] : [];
    }));
}

/* Shows the boxes that have an alert. A pending alert counts too: its condition holds, but not yet for as long as `for`
 * in its rule says. */
async function show_out() {
    const [{ alerts }, answered, status] = await Promise.all([
        get("alerts"), ask("cpe_dm_up"), ask("cpe_dm_registration_status")]);
    const up = new Map(answered.map(([labels, value]) => [labels.instance, value]));
    const registration = new Map(status.map(([labels, value]) => [labels.instance, value]));
    const out = alerts.filter(({ labels }) => ["CpeDmBoxGone", "CpeDmOutOfService"].includes(labels.alertname));
    out.sort((a, b) => a.activeAt < b.activeAt ? -1 : 1);
    const what = ({ labels }) => labels.alertname === "CpeDmBoxGone" ? "cannot be reached"
        : up.get(labels.instance) === 0 ? "its modem does not answer" : registrations[registration.get(labels.instance)] || "";
    const rows = out.slice(0, 200).map(alert => row({ "data-out": alert.labels.instance, class: alert.state },
        make("a", { href: `#${encodeURIComponent(alert.labels.instance)}` }, alert.labels.instance), what(alert),
        age(alert.activeAt)));
    if (out.length > rows.length) {
        rows.push(row({}, `and ${out.length - rows.length} more`));
    }
    document.getElementById("out").replaceChildren(...rows.length ? rows : [row({}, "none")]);
}

async function show_cells() {
    const worst = "bottomk(20, cell:cpe_dm_rsrp_dbm:median)";
    const by_cell = async name => {
        const found = await ask(`${name} and on (technology, plmn, cgi) ${worst}`);
        return new Map(found.map(([labels, value]) => [`${labels.technology} ${labels.plmn} ${labels.cgi}`, value]));
    };
    const [median, usual, least, count, changes] = await Promise.all(["cell:cpe_dm_rsrp_dbm:median",
        "cell:cpe_dm_rsrp_dbm:median1d", "cell:cpe_dm_rsrp_dbm:min", "cell:cpe_dm_boxes:count",
        "cell:cpe_dm_cell_changes:increase1h"].map(by_cell));
    const text = (values, cell, digits, unit) => values.has(cell) ? `${values.get(cell).toFixed(digits)}${unit}` : "";
    const cells = [...median.keys()].sort((a, b) => median.get(a) - median.get(b));
    document.getElementById("cells").replaceChildren(...cells.map(cell => row({ "data-cell": cell,
        class: median.get(cell) < usual.get(cell) - 6 ? "firing" : "" }, cell.replace("nr5g", "NR 5G").replace("lte", "LTE"),
        text(median, cell, 0, " dBm"), text(usual, cell, 0, " dBm"), text(least, cell, 0, " dBm"), text(count, cell, 0, ""),
        text(changes, cell, 1, ""))));
}

/* Returns an SVG path through samples, with a gap where samples are missing. */
function path(values, step, x, y) {
    let last = -Infinity;
    return values.map(([time, value]) => {
        const move = time - last > 1.5 * step;
        last = time;
        return `${move ? "M" : "L"}${x(time).toFixed(1)} ${y(Number(value)).toFixed(1)}`;
    }).join("");
}

/* One chart: a metric of a box, with a series for each technology. Horizontal lines stand `every` apart, from `low` to
 * `high`; `words` makes the text of a line from its value. */
function chart(series, from, to, step, top, low, high, every, words) {
    const height = 170;
    const x = time => 70 + (time - from) / (to - from) * 900;
    const y = value => top + height - (Math.min(Math.max(value, low), high) - low) / (high - low) * height;
    const parts = [];
    for (let value = low; value <= high; value += every) {
        parts.push(make("line", { class: "grid", x1: 70, x2: 970, y1: y(value), y2: y(value) }),
            make("text", { x: 64, y: y(value) + 4, "text-anchor": "end" }, words(value)));
    }
    for (const { metric, values } of series) {
        parts.push(make("path", { class: metric.technology || "status", d: path(values, step, x, y), stroke: "currentColor" }));
    }
    return parts;
}

async function show_box() {
    const name = decodeURIComponent(location.hash.slice(1));
    const hours = Number(parameters.get("hours")) || 6;
    const target = document.getElementById("chart");
    document.getElementById("box").value = name;
    document.getElementById("hours").value = hours;
    if (!name) {
        target.replaceChildren("Name a box, or click one that is out.");
        return;
    }
    const to = Date.now() / 1000;
    const from = to - hours * 3600;
    const step = hours * 3600 / 180;
    const range = metric => get("query_range", { query: `${metric}{instance=${JSON.stringify(name)}}`, start: from, end: to, step });
    const [rsrp, sinr, status] = (await Promise.all(["cpe_dm_rsrp_dbm", "cpe_dm_sinr_db", "cpe_dm_registration_status"].map(range)))
        .map(data => data.result);
    const points = [...rsrp, ...sinr, ...status].reduce((sum, each) => sum + each.values.length, 0);
    if (points === 0) {
        target.replaceChildren(`Nothing is known of ${name} in this time.`);
        return;
    }
    const time = seconds => new Date(seconds * 1000).toLocaleString([], hours < 1 ? { timeStyle: "medium" }
        : { dateStyle: "short", timeStyle: "short" });
    const short = ["", "none", "power save", "limited", "regional", "LTE", "LTE+NR", "NR 5G"];
    target.replaceChildren(make("svg", { viewBox: "0 0 1000 660", role: "img", "aria-label": `${name} over time`,
        "data-box": name, "data-points": points },
    make("text", { x: 70, y: 14 }, "RSRP, dBm"), make("text", { x: 170, y: 14, class: "lte" }, "LTE"),
    make("text", { x: 210, y: 14, class: "nr5g" }, "NR 5G"),
    ...chart(rsrp, from, to, step, 22, -140, -60, 20, String),
    make("text", { x: 70, y: 226 }, "SINR, dB"), ...chart(sinr, from, to, step, 234, -20, 40, 10, String),
    make("text", { x: 70, y: 438 }, "Registration"), ...chart(status, from, to, step, 446, 1, 7, 1, value => short[value]),
    make("text", { x: 70, y: 645 }, time(from)), make("text", { x: 970, y: 645, "text-anchor": "end" }, time(to))));
}

function show(...parts) {
    Promise.all(parts.map(part => part())).catch(fail);
}

window.onerror = fail;
window.onhashchange = () => show(show_box);
document.getElementById("choose").onsubmit = event => {
    event.preventDefault();
    parameters.set("hours", document.getElementById("hours").value);
    const hash = `#${encodeURIComponent(document.getElementById("box").value.trim())}`;
    if (location.hash === hash) {
        show(show_box);
    } else {
        location.hash = hash;
    }
};
const show_all = () => show(show_totals, show_out, show_cells, show_box);
show_all();
setInterval(show_all, refresh_ms);
