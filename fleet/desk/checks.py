"""Checks after the run of a fleet: nothing is lost, and the right alerts fire. Each check returns (text, [fault])."""
import re
import subprocess

import boxes as box_module


def missing_lines(box, lines, arrived):
    """Looks at the lines that did not arrive. Lines of the last 5 s before a loss of power may be missing; others are lost.
    Returns ([lost line], number of lines that may be missing)."""
    missing = [line for line in lines if line not in arrived]
    lost = [line for (time, _), line in zip(box_module.rows_of(missing), missing)
            if not any(kill - 5 < time <= kill + 1 for kill in box.kills)]
    return lost, len(missing) - len(lost)


def lines_arrived(boxes, subscriber):
    """Checks that every line that a box has sent arrived, and no other line."""
    sent = taken = 0
    faults = []
    for box in boxes:
        lines = box.sent()
        arrived = subscriber.lines.get(box.name, set())
        lost, with_power = missing_lines(box, lines, arrived)
        sent += len(lines)
        taken += with_power
        faults += [f"{box.name}: a line did not arrive: {line[:60]}" for line in lost]
        more = arrived - set(lines) - {"null"}
        if more:
            faults.append(f"{box.name}: {len(more)} lines arrived that it has not sent")
    return f"{sent} lines sent, {taken} of them went with the power of a box, {subscriber.again} arrived twice", faults


def samples_of(prometheus, selector, seconds, at):
    """The samples as stored: {(box, metric, technology): [(time, value)]}."""
    found = {}
    for series in prometheus.query(f"{selector}[{int(seconds)}s]", at):
        labels = series["metric"]
        key = labels["instance"], labels["__name__"], labels.get("technology")
        found[key] = [(float(time), float(value)) for time, value in series["values"]]
    return found


def runs(rows, key):
    """The periods in which the value of `key` stayed the same: [(value, from, until)]. The last period is left out, since its
    end is not known."""
    result = []
    for time, values in rows:
        value = values[key]
        if not result or result[-1][0] != value:
            result.append([value, time, None])
            if len(result) > 1:
                result[-2][2] = time
    return [run for run in result[:-1] if run[0] is not None]


def values_found(boxes, samples, scrapes, interval):
    """Checks that Prometheus has every value that stayed the same during two scrapes or more, and no value that the box never
    had. scrapes: {box: [time of a successful scrape]}. A scrape counts for a value from half an interval after the value's
    first row on, as the text file has the value by then."""
    stood = 0
    faults = []
    for box in boxes:
        rows = box_module.rows_of(box.sent())
        times = scrapes.get(box.name, [])
        for key in rows[0][1] if rows else ():
            got = samples.get((box.name, *key), [])
            for value, start, end in runs(rows, key):
                if any(start - interval <= moment <= end + interval for moment in box.kills):
                    continue
                if sum(start + interval / 2 <= time < end for time in times) >= 2:
                    stood += 1
                    if not any(start <= time <= end + interval and sample == value for time, sample in got):
                        faults.append(f"{box.name}: {key} was {value} for {end - start:.1f} s, and was not found")
            known = {values[key] for _, values in rows}
            faults += [f"{box.name}: {key} is {sample}, which the box never had" for _, sample in got if sample not in known]
    return f"{stood} values stood for two scrapes or more, all of them looked for", faults if stood else ["nothing was compared"]


def samples_go_on(boxes, scrapes, failed, outage, end):
    """Checks that each box has samples before the outage of Prometheus, none during it, and, if it is alive, some at the end."""
    faults = []
    total = sum(map(len, scrapes.values()))
    for box in boxes:
        times = scrapes.get(box.name, [])
        during = [time for time in times if outage[0] + 0.1 < time < outage[1]]
        if during:
            faults.append(f"{box.name}: {len(during)} samples while Prometheus was away")
        if sum(time <= outage[0] for time in times) < 3:
            faults.append(f"{box.name}: no samples before Prometheus was away")
        if box.alive() and not any(time > end - (end - outage[1]) / 5 for time in times):
            faults.append(f"{box.name}: no samples at the end")
    if failed > total * 0.02:
        faults.append(f"{failed} scrapes of boxes that were there failed")
    return f"{total} scrapes, {failed} of boxes that were there failed, none for {outage[1] - outage[0]:.1f} s", faults


def expected_alerts(boxes):
    """({alert that must fire}, {alert that may fire}); an alert is (name, box or cell)."""
    must = set()
    may = set()
    for box in boxes:
        if box.kind == "played" and box.plays == "drive":  # the alerts depend on how long its hole in coverage lasts
            may |= {("CpeDmOutOfService", box.name), ("CpeDmFellBackFromNr5g", box.name)}
        if not box.troubled:
            continue
        if box.kind in ("dark", "out", "absent"):
            must.add(("CpeDmOutOfService", box.name))
        if box.kind == "dark":
            must.add(("CpeDmCellDark", str(box.cgi)))
        if box.kind == "worse":
            must.add(("CpeDmCellGotWorse", str(box.cgi)))
        if box.kind == "fallback":
            must.add(("CpeDmFellBackFromNr5g", box.name))
        if box.kind in ("die", "leave"):
            must.add(("CpeDmBoxGone", box.name))
    return must, may


def fired(prometheus, seconds, at=None):
    found = prometheus.query(f'count_over_time(ALERTS{{alertstate="firing"}}[{int(seconds)}s])', at)
    return {(each["metric"]["alertname"], each["metric"].get("instance") or each["metric"]["cgi"]) for each in found}


def alerts_fired(boxes, found):
    must, may = expected_alerts(boxes)
    faults = [f"{name} did not fire for {of}" for name, of in sorted(must - found)]
    faults += [f"{name} fired for {of}" for name, of in sorted(found - must - may)]
    return f"{len(must & found)} alerts fired, {len(must)} expected", faults


def files_in_order(boxes):
    """Checks that promtool finds no fault in the text files."""
    faults = []
    for box in boxes:
        with open(box.textfile) as file:
            done = subprocess.run(["promtool", "check", "metrics"], stdin=file, capture_output=True, text=True)
        if done.returncode or done.stdout or done.stderr:
            faults.append(f"{box.name}: {done.stdout}{done.stderr}")
    return f"promtool says nothing of {len(boxes)} files", faults


def page_shows(text, boxes, one):
    """Checks that the page in a browser shows all boxes that are out and no others, the cells that got worse, and the chart
    of the box `one`, which the page's address names. text: the page's elements after its scripts have run."""
    faults = []
    must = {box.name for box in boxes if box.troubled and box.kind in ("dark", "out", "absent", "die", "leave")}
    may = {box.name for box in boxes if box.kind == "played" and box.plays in ("drive", "status_walk")}
    out = set(re.findall(r'data-out="([^"]*)"', text))
    faults += [f"the page does not show {name} as out" for name in sorted(must - out)]
    faults += [f"the page shows {name} as out" for name in sorted(out - must - may)]
    cells = set(re.findall(r'data-cell="lte [^ "]* ([^"]*)"', text))
    faults += [f"the page does not show the cell {box.cgi}" for box in boxes
               if box.troubled and box.kind == "worse" and str(box.cgi) not in cells]
    if not re.search(f'data-box="{one}" data-points="[1-9][0-9]+"', text):
        faults.append(f"the page does not show {one} over time")
    faults += [f"the page says: {error}" for error in re.findall(r'data-error="([^"]*)"', text)]
    return f"{len(out)} boxes out, {len(cells)} cells, {one} over time", faults
