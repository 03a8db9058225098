// What the pointer and the keys do: they show details, choose a time, and pick a line.

// ---- pointing at things

const tip = byId("tip");
const element = (name, text, className) => {
    const e = document.createElement(name);
    if (text !== undefined) e.textContent = text;
    if (className) e.className = className;
    return e;
};
// What is under the pointer: a line of the recording, with the texts or the sample that the tip shows for it; or null.
const under = (x, y, target) => {
    const us = usOf(x);
    if (target && target.line !== undefined) return { line: target.line, title: target.title_, text: target.text_ };
    const track = tracks.find((t) => y >= t.top && y < t.top + LANE);
    if (track && track.lane.us) {
        const i = nearest(track.lane.us, us);
        if (i >= track.lane.us.length) return null;
        const line = track.lane.indices[i];
        const inside = us >= lines.us[line] && us <= lines.us[line] + lines.took[line];
        return inside || Math.abs(xOf(lines.us[line]) - x) < 8 ? { line } : null;
    }
    if (track || y > navigatorTop - 8) return null;
    const i = nearest(samples.us, us);
    if (i < samples.us.length) return { line: samples.line[i], sample: i };
    return lineCount > 0 ? { line: Math.min(nearest(lines.us, us), lineCount - 1) } : null;
};
const registrationAt = (us) => {
    const found = data.lanes[0].spans.find(([from, to]) => us >= from && us <= to);
    return found ? found[3] : "";
};
const tipFor = (found) => {
    const i = found.line;
    const parts = [element("b", clock(lines.us[i]) + (found.title ? "  " + found.title : ""))];
    if (found.sample !== undefined) {
        const table = element("table");
        for (const signal of data.signals) {
            const value = samples.values[data.signals.indexOf(signal)][found.sample];
            if (value === null) continue;
            const row = table.insertRow();
            row.appendChild(element("td", signal.label, signal.tech));
            row.appendChild(element("td", valueText(signal, value), "number"));
            row.appendChild(element("td", signal.unit));
        }
        parts.push(table);
        const registration = registrationAt(lines.us[i]);
        if (registration) parts.push(element("div", "registration " + registration));
    } else if (found.text) {
        parts.push(element("div", found.text));
    } else {
        const result = textOf(lines.result, i);
        parts.push(element("div", textOf(lines.what, i) + (result ? " \u2192 " + result.slice(0, 300) : "")));
        if (lines.took[i] >= 1000) parts.push(element("div", "took " + length(lines.took[i])));
    }
    parts.push(element("div", "line " + lines.number[i], "quiet"));
    tip.replaceChildren(...parts);
};
const showTip = (event, x, y) => {
    const found = under(x, y, event.target);
    const cross = svg.querySelector(".cross");
    tip.hidden = !found || x < LEFT;
    cross.setAttribute("visibility", x < LEFT || x > width - RIGHT || y > navigatorTop - 8 ? "hidden" : "visible");
    svg.querySelectorAll(".ring").forEach((ring) => ring.remove());
    const at = found && found.sample !== undefined ? xOf(samples.us[found.sample]) : x;
    cross.setAttribute("x1", at);
    cross.setAttribute("x2", at);
    if (tip.hidden) return;
    if (found.sample !== undefined && at >= LEFT && at <= width - RIGHT) {
        for (const quantity of quantities) {
            for (const signal of quantity.scale ? quantity.signals : []) {
                const value = samples.values[signal.index][found.sample];
                if (value !== null) {
                    make("circle", { class: "dot ring " + signal.tech, cx: at, cy: quantity.yOf(value / signal.per), r: 4.5 }, svg);
                }
            }
        }
    }
    tipFor(found);
    const box = tip.getBoundingClientRect();
    const left = event.pageX + 18 + box.width > document.documentElement.clientWidth ? event.pageX - 18 - box.width : event.pageX + 18;
    tip.style.left = Math.max(4, left) + "px";
    tip.style.top = event.pageY + 14 + "px";
};

let drag = null;
const place = (event) => {
    const box = svg.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
};
charts.addEventListener("pointerdown", (event) => {
    const [x, y] = place(event);
    if (event.button !== 0 || x < LEFT - 4) return;
    const navigator = y > navigatorTop - 8;
    if (navigator && (navUs(x) < view.from || navUs(x) > view.to)) {
        const half = (view.to - view.from) / 2;
        setView(navUs(x) - half, navUs(x) + half);
    }
    drag = { x, y, navigator, from: view.from, span: view.to - view.from, target: event.target };
    charts.setPointerCapture(event.pointerId);
});
charts.addEventListener("pointermove", (event) => {
    const [x, y] = place(event);
    if (!drag) {
        showTip(event, x, y);
    } else if (drag.navigator) {
        const from = drag.from + (navUs(x) - navUs(drag.x));
        setView(from, from + drag.span);
    } else {
        tip.hidden = true;
        const band = svg.querySelector(".band");
        band.setAttribute("visibility", Math.abs(x - drag.x) > 4 ? "visible" : "hidden");
        band.setAttribute("x", Math.min(clampX(x), clampX(drag.x)));
        band.setAttribute("width", Math.abs(clampX(x) - clampX(drag.x)));
    }
});
charts.addEventListener("pointerup", (event) => {
    if (!drag) return;
    const [x] = place(event);
    const done = drag;
    drag = null;
    if (done.navigator) return;
    if (Math.abs(x - done.x) > 4) {
        const ends = [usOf(clampX(x)), usOf(clampX(done.x))].sort((a, b) => a - b);
        setView(ends[0], ends[1]);
    } else {
        const found = under(done.x, done.y, done.target);
        if (found) pick(found.line, true);
    }
});
charts.addEventListener("pointerleave", () => {
    tip.hidden = true;
    svg.querySelector(".cross").setAttribute("visibility", "hidden");
    svg.querySelectorAll(".ring").forEach((ring) => ring.remove());
});
charts.addEventListener("dblclick", () => setView(first, last));
charts.addEventListener("wheel", (event) => {
    if (event.ctrlKey || event.metaKey) zoom(Math.exp(event.deltaY / 200), usOf(place(event)[0]));
    else if (Math.abs(event.deltaX) > Math.abs(event.deltaY)) pan(event.deltaX / plotWidth());
    else return;
    event.preventDefault();
}, { passive: false });
const KEYS = {
    "+": () => zoom(0.5), "=": () => zoom(0.5), "-": () => zoom(2), "0": () => setView(first, last),
    ArrowLeft: () => pan(-0.2), ArrowRight: () => pan(0.2), Escape: () => pick(-1),
};
charts.addEventListener("keydown", (event) => {
    if (!KEYS[event.key] || event.ctrlKey || event.metaKey || event.altKey) return;
    KEYS[event.key]();
    event.preventDefault();
});
byId("zoom_in").onclick = () => zoom(0.5);
byId("zoom_out").onclick = () => zoom(2);
byId("zoom_all").onclick = () => setView(first, last);
