// The lines of the recording as a table. Only the rows on the screen exist as elements.

// ---- the lines

const ROW = 26, TALLEST = 8e6; // pixels; browsers have a limit for how tall an element can be
const table = byId("lines"), rows = byId("rows"), search = byId("search"), inView = byId("in_view");
const FILTERS = {
    all: () => true,
    failed: (i) => (lines.marks[i] & (FAILED | UNRETURNED)) !== 0,
    slow: (i) => (lines.marks[i] & SLOW) !== 0,
    requests: kindIs("send"),
    indications: kindIs("ind"),
    events: kindIs("event"),
    others: (i) => !kindIs("send", "ind", "event")(i),
};
let chosen = "all", shown = [];
const filter = () => {
    const wanted = search.value.trim().toLowerCase();
    const hits = wanted ? data.texts.map((text) => text.toLowerCase().includes(wanted)) : null;
    const test = FILTERS[chosen];
    const begin = inView.checked ? lowerBound(lines.us, view.from) : 0;
    const end = inView.checked ? lowerBound(lines.us, view.to + 1) : lineCount;
    shown = [];
    for (let i = begin; i < end; i++) {
        if (test(i) && (!hits || hits[lines.what[i]] || hits[lines.result[i]] || hits[lines.kind[i]])) shown.push(i);
    }
    rows.style.height = Math.min(shown.length * ROW, TALLEST) + "px";
    byId("count").textContent = shown.length.toLocaleString("en") + " of " + lineCount.toLocaleString("en") + " lines";
    drawRows();
};
// When all rows together would be taller than an element can be, the scroll position stands for a fraction of the rows
// instead of a number of pixels.
const scaled = () => shown.length * ROW > TALLEST;
const fits = () => Math.max(1, Math.floor(table.clientHeight / ROW));
const farthest = () => Math.max(1, Math.min(shown.length * ROW, TALLEST) - table.clientHeight);
const drawRows = () => {
    const start = scaled() ? Math.round(table.scrollTop / farthest() * (shown.length - fits())) : Math.floor(table.scrollTop / ROW);
    const end = Math.min(shown.length, start + fits() + 2);
    const top = scaled() ? table.scrollTop : start * ROW;
    const drawn = [];
    for (let k = start; k < end; k++) {
        const i = shown[k];
        const row = element("div", undefined, "row" + (lines.marks[i] & (FAILED | UNRETURNED) ? " failed" : "") + (lines.marks[i] & SLOW ? " slow" : ""));
        row.style.top = top + (k - start) * ROW + "px";
        row.setAttribute("role", "row");
        row.setAttribute("aria-selected", String(i === picked));
        row.append(element("span", clock(lines.us[i])), element("span", String(lines.number[i]), "quiet wide"),
            element("span", textOf(lines.kind, i), "quiet wide"), element("span", textOf(lines.what, i)),
            element("span", textOf(lines.result, i)), element("span", lines.took[i] >= 1000 ? length(lines.took[i]) : "", "took wide"));
        row.onclick = () => pick(i, false);
        drawn.push(row);
    }
    rows.replaceChildren(...drawn);
    document.documentElement.dataset.rows = String(shown.length);
};
const scrollTo = (i) => {
    const k = lowerBound(shown, i);
    if (shown[k] !== i) return;
    const wanted = Math.max(0, k - Math.floor(fits() / 2));
    table.scrollTop = scaled() ? wanted / (shown.length - fits()) * farthest() : wanted * ROW;
};
table.addEventListener("scroll", () => requestAnimationFrame(drawRows));
table.addEventListener("keydown", (event) => {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (!step || picked < 0) return;
    const k = lowerBound(shown, picked) + step;
    if (k >= 0 && k < shown.length) pick(shown[k], true);
    event.preventDefault();
});
search.addEventListener("input", filter);
inView.addEventListener("change", filter);
for (const name of Object.keys(FILTERS)) {
    const button = element("button", name);
    button.type = "button";
    button.setAttribute("aria-pressed", String(name === chosen));
    button.onclick = () => {
        chosen = name;
        byId("filters").querySelectorAll("button").forEach((b) => b.setAttribute("aria-pressed", String(b.textContent === name)));
        filter();
    };
    byId("filters").appendChild(button);
}

// Shows line `i` in full, with its time and number, and marks its time in the charts. -1: shows no line. `scroll`:
// whether the table scrolls to the line.
const pick = (i, scroll) => {
    const box = byId("picked");
    picked = i;
    box.hidden = i < 0;
    if (i >= 0) {
        const marks = lines.marks[i];
        box.className = marks & (FAILED | UNRETURNED) ? "failed" : marks & SLOW ? "slow" : "";
        const where = (data.dated ? dayOf(lines.us[i]) + " " : "") + clock(lines.us[i]) + ", line " + lines.number[i] + ", " +
            textOf(lines.kind, i) + ", took " + length(lines.took[i]) + (marks & KEPT ? ", kept from before this part" : "");
        const list = element("ul");
        // Commas separate fields; a group in braces counts as one field.
        for (const part of textOf(lines.result, i).split(/, (?![^{]*\})/)) list.appendChild(element("li", part));
        box.replaceChildren(element("div", where, "where"), element("b", textOf(lines.what, i)), list);
        if (scroll) scrollTo(i);
    }
    drawPicked();
    drawRows();
};

// ---- light or dark, and the address of the page

const theme = (dark) => { document.documentElement.dataset.theme = dark ? "dark" : "light"; };
const system = window.matchMedia("(prefers-color-scheme: dark)");
theme(system.matches);
system.addEventListener("change", () => theme(system.matches));
byId("theme").onclick = () => theme(document.documentElement.dataset.theme !== "dark");

// page.html#line=12 shows line 12. page.html#view=10,20 shows the time from 10 to 20 s after the recording's start.
const follow = () => {
    const wanted = new URLSearchParams(location.hash.slice(1));
    const [from, to] = (wanted.get("view") || "").split(",").map((s) => parseFloat(s) * 1e6);
    if (to > from) setView(from, to);
    const i = lines.number.indexOf(Number(wanted.get("line") || -1));
    if (i >= 0) pick(i, true);
};
draw();
filter();
follow();
window.addEventListener("hashchange", follow);
new ResizeObserver(() => { if (charts.clientWidth !== width) { draw(); drawRows(); } }).observe(charts);
