"""The costs of a fleet, for a box and for the servers: processor time, memory, bytes on the wire and on the disk."""
import glob
import json
import os
import re
import socket
import time
import urllib.request

import boxes as box_module

CORE_LIMIT = 0.0005  # share of a core that cpe_dm may take at one sample in 15 s
MEMORY_LIMIT = 4 * 1024 * 1024
GROWTH_LIMIT = 512 * 1024  # not 0: lines that wait for the broker are kept in memory


def of_box(box):
    return time.monotonic(), box_module.cost(box_module.processes()[box.process.pid])


def of_boxes(boxes):
    """{box: (time of its last start, private bytes)}"""
    groups = box_module.processes()
    return {box.name: (box.starts[-1], sum(private for _, private, _ in box_module.cost(groups[box.process.pid]).values()))
            for box in boxes if box.alive()}


def growth(before, after, boxes):
    """Checks that the memory of no box grew by more than GROWTH_LIMIT. Leaves out boxes that were started again."""
    grown = {name: after[name][1] - private for name, (start, private) in before.items()
             if name in after and after[name][0] == start}
    faults = [f"{name} grew by {grown[name]} bytes" for name in grown if grown[name] > GROWTH_LIMIT]
    return f"{len(grown)} boxes, the most by {max(grown.values()) / 1024:.0f} KiB", faults if grown else ["nothing was compared"]


def box_in_limits(before, after):
    seconds = after[0] - before[0]
    faults = []
    words = []
    total = 0
    for name, (cpu, private, resident) in sorted(after[1].items()):
        core = (cpu - before[1].get(name, (0, 0, 0))[0]) / seconds
        total += private
        words.append(f"{name} {core * 100:.3f} % of a core, {private / 1e6:.2f} MB its own, {resident / 1e6:.2f} MB resident")
        if name == "cpe_dm" and (core >= CORE_LIMIT or resident >= MEMORY_LIMIT):
            faults.append("cpe_dm takes more than 0.05 % of a core or 4 MB")
    if "cpe_dm" not in after[1]:
        faults.append("there is no cpe_dm")
    return f"{'; '.join(words)}; {total / 1e6:.2f} MB its own in all", faults


def metric(prometheus, name):
    """A metric of Prometheus itself: the sum over all its labels."""
    with urllib.request.urlopen(f"{prometheus.url}/metrics", timeout=60) as answer:
        found = re.findall(rf"^{name}(?:{{.*}})? (\S+)$", answer.read().decode(), re.MULTILINE)
    if not found:
        raise OSError(f"Prometheus does not tell {name}")
    return sum(map(float, found))


def of_servers(run):
    """The processor time of each server, and the numbers of samples, lines and bytes that it took, since its start."""
    run.subscriber.read()
    return {
        "time": time.monotonic(),
        "prometheus": box_module.cpu_seconds(run.prometheus.process.pid),
        "samples": metric(run.prometheus, "prometheus_tsdb_head_samples_appended_total"),
        "broker": box_module.cpu_seconds(run.broker.process.pid),
        "lines": run.subscriber.count - run.lines_before,
        "bytes": float(run.subscriber.sys["$SYS/broker/bytes/received"]),
    }


def request(run, box):
    """Sends a request as Prometheus does. Returns the sizes of the request and of its answer in bytes."""
    address = f"127.0.0.1:{run.httpd_port}"
    asked = (f"GET /{box.name}/metrics.txt HTTP/1.1\r\nHost: {address}\r\nUser-Agent: Prometheus/2.42.0\r\nAccept: application/"
             "openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,text/plain;version=0.0.4;q=0.5,"
             "*/*;q=0.1\r\nAccept-Encoding: gzip\r\nX-Prometheus-Scrape-Timeout-Seconds: 10\r\n\r\n").encode()
    with socket.create_connection(("127.0.0.1", run.httpd_port), 30) as connection:
        connection.sendall(asked)
        answer = b"".join(iter(lambda: connection.recv(65536), b""))
    return len(asked), len(answer)


def on_disk(folder):
    """The sizes of the blocks in a folder: (bytes of chunks, bytes of indices, samples, series)."""
    chunks = sum(map(os.path.getsize, glob.glob(f"{folder}/*/chunks/*")))
    index = sum(map(os.path.getsize, glob.glob(f"{folder}/*/index")))
    stats = []
    for name in glob.glob(f"{folder}/*/meta.json"):
        with open(name) as file:
            stats.append(json.load(file)["stats"])
    return chunks, index, sum(each["numSamples"] for each in stats), max(each["numSeries"] for each in stats)


def table(run):
    """The measured costs, one text for each line of the table."""
    after = run.after
    before = run.middle
    seconds = after["time"] - before["time"]
    samples = after["samples"] - before["samples"]
    cpu = after["prometheus"] - before["prometheus"]
    series = metric(run.prometheus, "prometheus_tsdb_head_series")
    yield (f"Prometheus: {samples / seconds:.0f} samples a second, {cpu / samples * 1e6:.1f} us of processor a sample (rules and "
           f"queries included), {series / len(run.boxes):.0f} series a box, "
           f"{metric(run.prometheus, 'process_resident_memory_bytes') / series / 1024:.1f} KiB of memory a series")
    _, resident = box_module.memory(run.broker.process.pid)
    yield (f"mosquitto: {after['broker'] / after['lines'] * 1e6:.0f} us of processor a line (TLS, one reader), "
           f"{resident / len(run.boxes) / 1024:.0f} KiB of memory a connection")
    box = next(box for box in run.boxes if box.alive() and box.kind == "played" and box.plays == "steady")
    asked, answered = request(run, box)
    yield (f"wire, pull: {asked} bytes to the box and {answered} back; {(asked + answered) * 120 / 1e6:.2f} MB a box and hour "
           "at one in 30 s, without TCP/IP")
    line = after["bytes"] / after["lines"]
    yield f"wire, push: {line:.0f} bytes a line to the broker; {line * 240 / 1e6:.2f} MB a box and hour at one in 15 s, without TLS and TCP/IP"
    chunks, index, stored, stored_series = on_disk(run.prometheus.snapshot())
    yield (f"disk: {chunks / stored:.2f} bytes a sample ({stored} samples), and {index / stored_series:.0f} bytes a series and block; "
           f"{chunks / stored + index / stored_series / 240:.2f} bytes a sample in a block of 2 hours at one in 30 s")
    span = f"{int(run.seconds * 2)}s"
    average = run.prometheus.query(f"avg(avg_over_time(scrape_duration_seconds[{span}]))")[0]["value"][1]
    slow = run.prometheus.query(f"quantile(0.99, quantile_over_time(0.99, scrape_duration_seconds[{span}]))")[0]["value"][1]
    yield f"scrape: {float(average) * 1000:.1f} ms on average, 99 % within {float(slow) * 1000:.0f} ms"
    cpu = sum(each[0] for name, each in box_module.cost(box_module.processes()[box.process.pid]).items() if name == "cpe_dm")
    yield f"cpe_dm: {cpu / (time.time() - box.starts[-1]) * run.interval * 1000:.2f} ms of processor a row, its start included"
