// The charts, the lanes under them (each a row of marks, such as failed lines or outages), and the small picture of the
// whole recording. All of them are drawn anew whenever the time in view changes. Details that could not be told apart
// on the screen are not drawn.

// ---- what is shown

const view = { from: first, to: last };
const LEFT = 116, RIGHT = 14, CHART = 132, LANE = 22, GAP = 24;
let width = 900;
let picked = -1;
const charts = byId("charts");
const SVG = "http://www.w3.org/2000/svg";
const make = (name, attributes, parent, text) => {
    const element = document.createElementNS(SVG, name);
    for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
    if (text !== undefined) element.textContent = text;
    if (parent) parent.appendChild(element);
    return element;
};
const plotWidth = () => width - LEFT - RIGHT;
const xOf = (us) => LEFT + (us - view.from) / (view.to - view.from) * plotWidth();
const usOf = (x) => view.from + (x - LEFT) / plotWidth() * (view.to - view.from);
const clampX = (x) => Math.min(Math.max(x, LEFT), width - RIGHT);

const setView = (from, to) => {
    const least = Math.min(1000, last - first);
    const span = Math.min(Math.max(to - from, least), last - first);
    view.from = Math.min(Math.max(from, first), last - span);
    view.to = view.from + span;
    draw();
    filter();
};
const zoom = (factor, at = (view.from + view.to) / 2) =>
    setView(at - (at - view.from) * factor, at + (view.to - at) * factor);
const pan = (part) => setView(view.from + part * (view.to - view.from), view.to + part * (view.to - view.from));

// ---- axes

const TIME_STEPS = [1e3, 2e3, 5e3, 1e4, 2e4, 5e4, 1e5, 2e5, 5e5, 1e6, 2e6, 5e6, 1e7, 15e6, 3e7, 6e7, 12e7, 3e8, 6e8, 9e8, 18e8,
    36e8, 72e8, 108e8, 216e8, 432e8, 864e8, 1728e8, 6048e8];
const timeTicks = () => {
    const wanted = (view.to - view.from) / Math.max(2, plotWidth() / 110);
    const step = TIME_STEPS.find((s) => s >= wanted) || Math.ceil(wanted / 6048e8) * 6048e8;
    const ticks = [];
    // Ticks stand at round times of the day.
    for (let us = Math.ceil((data.start_us + view.from) / step) * step - data.start_us; us <= view.to; us += step) {
        ticks.push([us, step >= 864e8 ? dayOf(us) : clock(us, step < 1e6 ? 3 : 0)]);
    }
    return ticks;
};
const niceScale = (low, high) => {
    const span = Math.max(high - low, 1);
    const raw = span / 4;
    const power = 10 ** Math.floor(Math.log10(raw));
    const step = [1, 2, 5, 10].map((n) => n * power).find((s) => s >= raw);
    return { low: Math.floor(low / step) * step, high: Math.ceil(high / step) * step, step };
};

// The range of a chart covers all values of the recording, so that the range stays the same during a zoom.
for (const quantity of quantities) {
    let low = Infinity, high = -Infinity;
    for (const signal of quantity.signals) {
        for (const value of samples.values[signal.index]) {
            if (value === null) continue;
            low = Math.min(low, value / signal.per);
            high = Math.max(high, value / signal.per);
        }
    }
    quantity.scale = low > high ? null : niceScale(low, high);
}

// ---- charts

// Groups the values of a signal in the time in view: a group has the values within `columnWidth` pixels. A null between
// two groups says that the line is interrupted there.
const columnsOf = (signal, columnWidth) => {
    const values = samples.values[signal.index];
    const begin = Math.max(0, lowerBound(samples.us, view.from) - 1);
    const end = Math.min(samples.us.length, lowerBound(samples.us, view.to) + 1);
    const columns = [];
    let column = null, count = 0, broken = false;
    for (let i = begin; i < end; i++) {
        broken = broken || values[i] === null || breaks.has(i);
        if (values[i] === null) continue;
        const value = values[i] / signal.per;
        const x = xOf(samples.us[i]);
        if (broken && column && x - column.x > 2 * columnWidth) { // a narrower break could not be seen
            columns.push(null);
            column = null;
        }
        broken = false;
        count++;
        if (column && x - column.x < columnWidth) {
            column.low = Math.min(column.low, value);
            column.high = Math.max(column.high, value);
            column.sum += value;
            column.count++;
        } else {
            column = { x, low: value, high: value, sum: value, count: 1 };
            columns.push(column);
        }
    }
    return { columns, count };
};
const polyline = (points) => {
    let path = "", pen = false;
    for (const point of points) {
        if (point) path += (pen ? "L" : "M") + point[0].toFixed(1) + " " + point[1].toFixed(1);
        pen = point !== null;
    }
    return path;
};
// Few values are drawn as a line with a dot for each value, more values as a line alone. Values too many for the screen
// are drawn as a band and a line on it: in each column of the screen the band goes from the lowest to the highest
// value, and the line goes through the mean.
const drawSignal = (group, signal, yOf) => {
    const few = columnsOf(signal, 0);
    const dense = few.count > 2 * plotWidth();
    const { columns } = dense ? columnsOf(signal, 2) : few;
    const clip = { "clip-path": "url(#plot)" };
    if (dense) {
        let band = "", run = [];
        for (const column of [...columns, null]) {
            if (column) run.push(column);
            if (column || run.length === 0) continue;
            const lower = run.map((c) => [c.x, yOf(c.low) + 0.5]), upper = run.map((c) => [c.x, yOf(c.high) - 0.5]);
            band += polyline([...upper, [run[run.length - 1].x + 2, upper[upper.length - 1][1]],
                [run[run.length - 1].x + 2, lower[lower.length - 1][1]], ...lower.reverse()]) + "z";
            run = [];
        }
        make("path", { class: "spread " + signal.tech, d: band, ...clip }, group);
    }
    const points = columns.map((c) => c && [c.x, yOf(c.sum / c.count)]);
    make("path", { class: "line " + signal.tech, d: polyline(points), "data-key": signal.key, ...clip }, group);
    if (few.count < plotWidth() / 8) {
        for (const point of points) {
            if (point && point[0] >= LEFT && point[0] <= width - RIGHT) {
                make("circle", { class: "dot " + signal.tech, cx: point[0], cy: point[1], r: 2.2 }, group);
            }
        }
    }
};

const drawChart = (svg, quantity, top, ticks) => {
    const { scale } = quantity;
    const group = make("g", { class: "chart", "data-name": quantity.name }, svg);
    make("text", { class: "name", x: 0, y: top + 12 }, group, quantity.name);
    make("text", { x: 0, y: top + 28 }, group, quantity.signals[0].unit);
    for (const [us] of ticks) make("line", { class: "grid", x1: xOf(us), x2: xOf(us), y1: top, y2: top + CHART }, group);
    if (!scale) {
        make("text", { x: LEFT + 8, y: top + CHART / 2 }, group, "no values");
        return;
    }
    const yOf = (value) => top + CHART - (value - scale.low) / (scale.high - scale.low) * CHART;
    quantity.yOf = yOf;
    for (let value = scale.low; value <= scale.high + scale.step / 2; value += scale.step) {
        make("line", { class: "grid", x1: LEFT, x2: width - RIGHT, y1: yOf(value), y2: yOf(value) }, group);
        make("text", { x: LEFT - 8, y: yOf(value) + 4, "text-anchor": "end" }, group, String(Math.round(value * 10) / 10));
    }
    for (const signal of quantity.signals) drawSignal(group, signal, yOf);
};

// ---- lanes

const indicesOf = (test) => {
    const found = [];
    for (let i = 0; i < lineCount; i++) if (test(i)) found.push(i);
    return found;
};
const kindIs = (...names) => (i) => names.includes(textOf(lines.kind, i));
const tickLanes = [
    { name: "Failed", kind: "failed", indices: indicesOf((i) => lines.marks[i] & (FAILED | UNRETURNED)) },
    { name: "Slow, from 0.1 s", kind: "slow", indices: indicesOf((i) => lines.marks[i] & SLOW) },
    { name: "Service events", kind: "event", indices: indicesOf(kindIs("event")) },
    { name: "Indications", kind: "indication", indices: indicesOf(kindIs("ind")) },
    { name: "Requests", kind: "request", indices: indicesOf(kindIs("send")) },
];
for (const lane of tickLanes) lane.us = Float64Array.from(lane.indices, (i) => lines.us[i]);
const spanLanes = data.lanes.filter((lane) => lane.spans.length > 0 || lane.kind === "registration" || lane.kind === "outage");

const drawSpans = (svg, lane, top) => {
    const group = make("g", { class: "lane", "data-name": lane.name }, svg);
    make("text", { class: "name", x: 0, y: top + 15 }, group, lane.name);
    let used = -1;
    for (const span of lane.spans) {
        const [from, to, line, text, more] = span;
        if (to < view.from || from > view.to) continue;
        const x = clampX(xOf(from)), end = Math.max(clampX(xOf(to)), x + 1.5);
        if (end - x <= 1.5 && x < used + 1) continue; // could not be told apart from the span before it
        used = end;
        const kind = lane.kind === "registration" ? text : lane.kind;
        const rect = make("rect", { class: "span " + kind, x, y: top + 3, width: end - x, height: LANE - 6, rx: 3 }, group);
        Object.assign(rect, { line, title_: text, text_: (more ? more + ", " : "") + length(to - from) });
        if (end - x > text.length * 6.6 + 10) make("text", { class: "inside", x: x + 6, y: top + 15 }, group, text);
    }
};
// A mark is as long as its call took. When there are more marks than can be told apart, bars show their number, except
// in the lanes of failed and slow calls.
const BAR = 4;
const drawTicks = (svg, lane, top) => {
    const group = make("g", { class: "lane", "data-name": lane.name, "data-count": lane.indices.length }, svg);
    make("text", { class: "name", x: 0, y: top + 15 }, group, lane.name);
    make("line", { class: "grid", x1: LEFT, x2: width - RIGHT, y1: top + LANE / 2, y2: top + LANE / 2 }, group);
    const begin = Math.max(0, lowerBound(lane.us, view.from) - 50); // earlier calls may last into the view
    const end = lowerBound(lane.us, view.to + 1);
    const box = (x, y, w, h) => `M${x.toFixed(1)} ${y.toFixed(1)}h${w.toFixed(1)}v${h.toFixed(1)}h${(-w).toFixed(1)}z`;
    let path = "";
    if (end - begin > plotWidth() / 2 && lane.kind !== "failed" && lane.kind !== "slow") {
        const counts = new Float64Array(Math.ceil(plotWidth() / BAR));
        for (let i = begin; i < end; i++) counts[Math.floor((xOf(lane.us[i]) - LEFT) / BAR)]++;
        const most = counts.reduce((a, b) => Math.max(a, b), 1);
        counts.forEach((count, k) => {
            const height = (LANE - 4) * count / most;
            if (count > 0) path += box(LEFT + k * BAR, top + LANE - 2 - height, BAR - 0.8, height);
        });
    } else {
        let used = -1;
        for (let i = begin; i < end; i++) {
            const x = xOf(lane.us[i]);
            const after = Math.max(xOf(lane.us[i] + lines.took[lane.indices[i]]), x + 1.6);
            if (after < LEFT || (x < used - 0.8 && after <= used + 0.1)) continue;
            path += box(clampX(x), top + 5, Math.max(clampX(after) - clampX(x), 1), 12);
            used = Math.max(used, after);
        }
    }
    make("path", { class: "tick " + lane.kind, d: path }, group);
};

// ---- the picture

let svg, tracks = [];
const draw = () => {
    width = Math.max(360, charts.clientWidth);
    const ticks = timeTicks();
    const drawnTicks = tickLanes.filter((lane) => lane.indices.length > 0 || lane.kind === "failed" || lane.kind === "slow");
    const height = 18 + quantities.length * (CHART + GAP) + (spanLanes.length + drawnTicks.length) * LANE + 70;
    const next = make("svg", { width, height, viewBox: `0 0 ${width} ${height}`, role: "img" });
    const clip = make("clipPath", { id: "plot" }, make("defs", {}, next));
    make("rect", { x: LEFT, y: 0, width: plotWidth(), height }, clip);
    let top = 18;
    tracks = [];
    const chartsEnd = top + quantities.length * (CHART + GAP);
    for (const [from, to] of data.lanes.find((lane) => lane.kind === "outage").spans) {
        if (to < view.from || from > view.to) continue;
        const x = clampX(xOf(from));
        make("rect", { class: "shade", x, y: top - 4, width: Math.max(clampX(xOf(to)) - x, 0.1), height: chartsEnd - top }, next);
    }
    for (const [us, text] of ticks) make("text", { x: xOf(us), y: 10, "text-anchor": "middle" }, next, text);
    for (const quantity of quantities) {
        drawChart(next, quantity, top, ticks);
        top += CHART + GAP;
    }
    for (const lane of spanLanes) {
        drawSpans(next, lane, top);
        tracks.push({ top, lane });
        top += LANE;
    }
    for (const lane of drawnTicks) {
        drawTicks(next, lane, top);
        tracks.push({ top, lane });
        top += LANE;
    }
    drawNavigator(next, top + 22);
    make("line", { class: "picked", y1: 14, y2: top, visibility: "hidden" }, next);
    make("line", { class: "cross", y1: 14, y2: top, visibility: "hidden" }, next);
    make("rect", { class: "band", y: 14, height: top - 14, visibility: "hidden" }, next);
    if (svg) svg.replaceWith(next); else charts.appendChild(next);
    svg = next;
    drawPicked();
    document.documentElement.dataset.drawn = String(samples.us.length);
};

// The small picture of the whole recording, with the time in view marked.
const NAVIGATOR = 34;
let navigatorTop = 0;
const navX = (us) => LEFT + (us - first) / (last - first) * plotWidth();
const navUs = (x) => first + (x - LEFT) / plotWidth() * (last - first);
const drawNavigator = (parent, top) => {
    navigatorTop = top;
    const group = make("g", { class: "navigator" }, parent);
    make("text", { x: 0, y: top + 14 }, group, data.dated ? dayOf(view.from) : "since the start");
    make("text", { x: 0, y: top + 29 }, group, length(Math.round(view.to - view.from)));
    make("line", { class: "axis", x1: LEFT, x2: width - RIGHT, y1: top + NAVIGATOR, y2: top + NAVIGATOR }, group);
    const { signals, scale } = quantities[0];
    const step = Math.max(1, Math.floor(samples.us.length / (2 * plotWidth())));
    for (const signal of scale ? signals : []) {
        let path = "", pen = false;
        for (let i = 0; i < samples.us.length; i += step) {
            const value = samples.values[signal.index][i];
            if (value === null || (step === 1 && breaks.has(i))) pen = false;
            if (value === null) continue;
            const y = top + NAVIGATOR - (value / signal.per - scale.low) / (scale.high - scale.low) * NAVIGATOR;
            path += (pen ? "L" : "M") + navX(samples.us[i]).toFixed(1) + " " + y.toFixed(1);
            pen = true;
        }
        make("path", { class: "line " + signal.tech, d: path, style: "stroke-width:1" }, group);
    }
    const x = navX(view.from);
    make("rect", { class: "window", x, y: top - 2, width: Math.max(navX(view.to) - x, 3), height: NAVIGATOR + 4, rx: 3 }, group);
};

const drawPicked = () => {
    const line = svg.querySelector(".picked");
    const seen = picked >= 0 && lines.us[picked] >= view.from && lines.us[picked] <= view.to;
    line.setAttribute("visibility", seen ? "visible" : "hidden");
    if (seen) {
        line.setAttribute("x1", xOf(lines.us[picked]));
        line.setAttribute("x2", xOf(lines.us[picked]));
    }
};
