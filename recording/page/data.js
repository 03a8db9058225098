// The script of a recording's page, in four files: the data; the charts with the lanes under them; what the pointer and
// the keys do; and the lines.
"use strict";

window.addEventListener("error", (event) => {
    document.documentElement.dataset.error = event.message;
    const trouble = document.getElementById("trouble");
    trouble.textContent = "The page's script failed: " + event.message;
    trouble.hidden = false;
});

const data = JSON.parse(document.getElementById("data").textContent);
const FAILED = 1, SLOW = 2, UNRETURNED = 4, KEPT = 8;
const byId = (id) => document.getElementById(id);

// ---- the data

// A column of the data holds the difference of each number from the one before. Returns the numbers.
const summed = (column) => {
    const out = new Float64Array(column.length);
    let last = 0;
    column.forEach((difference, i) => { out[i] = last += difference; });
    return out;
};
const lines = {};
for (const [name, column] of Object.entries(data.lines)) lines[name] = summed(column);
const lineCount = lines.us.length;
const textOf = (column, i) => data.texts[column[i]];
const samples = { us: summed(data.samples.us), line: summed(data.samples.line), values: data.samples.values };
const first = data.from_us, last = Math.max(data.to_us, data.from_us + 1000);

// The first index of a sorted array whose value is x or more; the array's length if there is none.
const lowerBound = (array, x) => {
    let low = 0, high = array.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (array[middle] < x) low = middle + 1; else high = middle;
    }
    return low;
};
const nearest = (array, x) => {
    const i = lowerBound(array, x);
    return i > 0 && (i === array.length || x - array[i - 1] <= array[i] - x) ? i - 1 : i;
};

const quantities = ["RSRP", "RSRQ", "SINR"].map((name) => ({
    name,
    signals: data.signals.map((signal, index) => ({ ...signal, index })).filter((s) => s.label.endsWith(name)),
}));

// Indices of samples. A chart's line is interrupted before these samples, because for a time before them no report came
// or there was no service.
const breaks = new Set();
{
    const pauses = Array.from(samples.us.slice(1), (us, i) => us - samples.us[i]).sort((a, b) => a - b);
    const longest = Math.max(10e6, 8 * (pauses[pauses.length >> 1] || 0));
    for (let i = 1; i < samples.us.length; i++) if (samples.us[i] - samples.us[i - 1] > longest) breaks.add(i);
    for (const [from, to] of data.lanes.find((lane) => lane.kind === "outage").spans) {
        const i = lowerBound(samples.us, from);
        if (i > 0 && i < samples.us.length && (samples.us[i] >= to || from < to)) breaks.add(i);
    }
}

// ---- times and numbers as text

const two = (n, width = 2) => String(n).padStart(width, "0");
const dateOf = (us) => new Date(Math.floor((data.start_us + us) / 1000));
const clock = (us, digits = 3) => {
    const d = dateOf(us);
    const day = data.dated ? "" : "+";
    const text = day + two(d.getUTCHours()) + ":" + two(d.getUTCMinutes()) + ":" + two(d.getUTCSeconds());
    return digits === 0 ? text : text + "." + two(d.getUTCMilliseconds(), 3);
};
const dayOf = (us) => dateOf(us).toISOString().slice(0, 10);
const length = (us) => {
    if (us < 1000) return us + " us";
    if (us < 1e6) return (us / 1e3).toPrecision(3) + " ms";
    if (us < 60e6) return (us / 1e6).toPrecision(3) + " s";
    const s = Math.round(us / 1e6);
    return s < 3600 ? Math.floor(s / 60) + " min " + (s % 60) + " s" : Math.floor(s / 3600) + " h " + Math.floor(s / 60) % 60 + " min";
};
const valueText = (signal, value) => (value / signal.per).toFixed(signal.per > 1 ? 1 : 0);
