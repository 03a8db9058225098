#!/usr/bin/env python3
"""Usage: scripts/fleet [--picture FILE] [BOXES] [SECONDS]

Starts a fleet on this machine (20 boxes for 40 s by default), lets things happen to it, checks that nothing is lost and
that the right alerts fire, prints the costs, and stops everything. Each box is `cpe_dm watch` on a virtual modem of its
own. The box writes a text file, which Prometheus gets from a web server, and sends JSON to an MQTT broker.
These things happen when this fraction of SECONDS is over:
  0.2   half of the boxes are killed, and start again at once
  0.3   Prometheus is killed; it starts again at 0.4
  0.5   a cell gets worse, another one goes dark, boxes fall back from NR 5G, go out of service, vanish
  0.55  the broker is killed; it starts again at 0.7
All durations in the rules are divided by 2400 / SECONDS, so that alerts that take many minutes fire within the run.
FILE: the page is saved there as a picture (PNG). Status 0: every check held; 1: a check failed; 2: wrong usage.
"""
import argparse
import os
import shutil
import signal
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

import boxes as box_module  # noqa: E402
import checks  # noqa: E402
import costs  # noqa: E402
import servers  # noqa: E402

source = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def say(text):
    print(f"fleet: {text}", flush=True)


class Run:
    def __init__(self, count, seconds, folder):
        self.seconds = seconds
        self.factor = 2400 / seconds
        self.scrape_interval = 30 / self.factor
        self.interval = max(1, round(2 * self.scrape_interval))
        self.folder = folder
        self.faults = []
        self.start_time = None
        self.lines_before = 0  # lines that arrived before the last start of the broker
        for name in ("www", "boxes", "page"):
            os.mkdir(f"{folder}/{name}")
        self.boxes = box_module.new_fleet(count, folder, source)
        self.reference = box_module.Box(count, folder, source)  # samples every 15 s; shows the costs of a box
        self.reference.kind, self.reference.troubled = "leave", False
        self.reference.cgi = 1
        names = [box.name for box in [*self.boxes, self.reference]]
        self.broker = servers.Broker(f"{folder}/broker", source, names)
        for box in [*self.boxes, self.reference]:
            self.broker.write_client(box.folder, "mosquitto_pub", box.name)
        self.prometheus = servers.Prometheus(f"{folder}/prometheus", source, self.factor)

    def note(self, what, found):
        text, faults = found
        say(f"{what}: {text}" + (f"; {len(faults)} FAULTS" if faults else ""))
        for fault in faults[:10]:
            say(f"  {fault}")
        self.faults += faults

    def wait_until(self, part):
        """Waits until this fraction of the run is over."""
        while time.time() < self.start_time + part * self.seconds:
            self.subscriber.read()
            time.sleep(0.2)

    def all_arrived(self):
        """Whether lines of every box have arrived, and no line is lost. The last three lines of a box may still be on their way."""
        self.subscriber.read()
        for box in self.boxes:
            arrived = self.subscriber.lines.get(box.name)
            if not arrived or checks.missing_lines(box, box.sent()[:-3], arrived)[0]:
                return False
        return True

    def bring_up(self):
        """Starts everything. The broker is away while the boxes start, and no box may wait for the broker. Before that, the
        broker runs for a moment, so that it knows the subscriber and keeps lines for it."""
        began = time.time()
        self.broker.start()
        self.subscriber = servers.Subscriber(f"{self.folder}/subscriber", self.broker)
        servers.until(self.subscriber.is_there, "the reader is there")
        self.broker.kill()
        targets = {}
        for at in range(0, len(self.boxes), 10):  # one server for every 10 boxes: its queue of connections is short
            port = servers.start_httpd(f"{self.folder}/www", f"{self.folder}/httpd.log")
            targets |= {box.name: (f"127.0.0.1:{port}", f"/{box.name}/metrics.txt") for box in self.boxes[at:at + 10]}
        self.httpd_port = port
        self.prometheus.set_targets(targets)
        for box in self.boxes:
            box.start(self.interval)
        self.reference.start(15, record=False)
        servers.until(lambda: all(os.path.exists(box.textfile) and box.sent() for box in self.boxes), "every box has values")
        waited = time.time() - began
        self.broker.start()
        self.prometheus.start()
        servers.until(self.all_arrived, "lines of every box arrive", pause=0.5)
        servers.until(lambda: len(self.prometheus.query("up == 1")) == len(self.boxes), "Prometheus reaches every box")
        say(f"{len(self.boxes)} boxes, a value in {self.interval} s, scraped every {self.scrape_interval:g} s; "
            f"without a broker for {waited:.1f} s; all there after {time.time() - began:.1f} s")
        self.start_time = time.time()

    def let_things_happen(self):
        event = self.start_time + 0.5 * self.seconds
        self.wait_until(0.15)
        self.reference_before = costs.of_box(self.reference)
        self.before = costs.of_boxes(self.boxes)
        self.wait_until(0.2)
        for box in filter(lambda box: box.restarts, self.boxes):
            box.kill()
            box.start(self.interval, event - time.time() if box.troubled else None)
        say(f"{sum(box.restarts for box in self.boxes)} boxes were killed, and have started again")
        self.wait_until(0.3)
        servers.kill(self.prometheus.process)
        down = time.time()
        self.wait_until(0.4)
        up = time.time()
        self.prometheus.start()
        self.outage = down, up
        self.wait_until(0.5)
        self.middle = costs.of_servers(self)
        for box in self.boxes:
            if box.troubled and box.kind == "die":
                box.kill()
            elif box.troubled and box.kind == "leave":
                box.ask_to_stop()
                box.process.wait()
                box.process = None
        self.wait_until(0.55)
        self.broker.kill()
        down = time.time()
        self.wait_until(0.7)
        self.lines_before = self.subscriber.count
        self.broker.start()
        say(f"Prometheus was away for {up - self.outage[0]:.1f} s, the broker for {time.time() - down:.1f} s")
        self.wait_until(1)

    def look(self, picture):
        """Makes the checks that need the running fleet."""
        must, _ = checks.expected_alerts(self.boxes)
        span = time.time() - self.start_time + 120
        try:
            servers.until(lambda: must <= checks.fired(self.prometheus, span), "the alerts fire", max(60, self.seconds))
        except TimeoutError:
            pass  # the alerts that are missing are reported below, one by one
        self.note("alerts", checks.alerts_fired(self.boxes, checks.fired(self.prometheus, span)))
        self.look_at_page(picture)
        self.note("text files", checks.files_in_order([box for box in self.boxes if box.alive()][:40]))
        end = time.time()
        span = end - self.start_time + 1
        ups = checks.samples_of(self.prometheus, "up", span, end)
        scrapes = {box: [at for at, value in values if value == 1] for (box, _, _), values in ups.items()}
        failed = sum(value != 1 for box in self.boxes if box.alive() for _, value in ups[box.name, "up", None])
        self.note("pull", checks.samples_go_on(self.boxes, scrapes, failed, self.outage, end))
        samples = checks.samples_of(self.prometheus, '{__name__=~"cpe_dm_(rsrp_dbm|rsrq_db|sinr_db|registration_status)"}', span, end)
        self.note("values", checks.values_found(self.boxes, samples, scrapes, self.interval))
        self.after = costs.of_servers(self)
        self.note("memory", costs.growth(self.before, costs.of_boxes(self.boxes), self.boxes))
        self.note("a box at one sample in 15 s", costs.box_in_limits(self.reference_before, costs.of_box(self.reference)))
        for line in costs.table(self):
            say(f"cost: {line}")

    def look_at_page(self, picture):
        one = next(box.name for box in self.boxes if box.kind == "worse")
        url = f"{self.prometheus.url}/user/fleet.html?hours={self.seconds / 3600:.5f}#{one}"
        if picture:
            servers.open_page(f"{self.folder}/page", url, f"--screenshot={os.path.abspath(picture)}")
        text = servers.open_page(f"{self.folder}/page", url, "--dump-dom")
        self.note("page", checks.page_shows(text, self.boxes, one))

    def stop(self):
        """Asks every box to stop, a few at a time. Each must leave `null` under its topic."""
        servers.until(self.all_arrived, "what was kept arrives", max(120, self.seconds), 0.5)
        living = [box for box in [*self.boxes, self.reference] if box.alive()]
        faults = []
        for at in range(0, len(living), 20):
            for box in living[at:at + 20]:
                box.ask_to_stop()
            for box in living[at:at + 20]:
                status = box.process.wait(60)
                if status != 0:
                    faults.append(f"{box.name} ended with status {status}: {box.complaints()[-200:]}")
                if os.path.exists(box.textfile):
                    faults.append(f"{box.name} left its text file")
        left = box_module.processes()
        faults += [f"{box.name} left processes" for box in living if box.process.pid in left]
        self.note("stop", (f"{len(living)} boxes stopped", faults))
        time.sleep(1)
        self.subscriber.read()
        self.note("push", checks.lines_arrived(self.boxes, self.subscriber))
        last = self.subscriber.newest(3)
        self.note("retained", (f"{len(last)} topics", [f"{box.name}: {last.get(box.name)} instead of null" for box in self.boxes
                                                      if last.get(box.name) != "null"]))


def main():
    parser = argparse.ArgumentParser(prog="scripts/fleet")
    parser.add_argument("boxes", nargs="?", type=int, default=20, help="how many, at least 20")
    parser.add_argument("seconds", nargs="?", type=int, default=40, help="for so long, at least 40")
    parser.add_argument("--picture", help="a file for a picture of the page")
    options = parser.parse_args()
    if options.boxes < 20 or options.seconds < 40:
        parser.error("it takes 20 boxes and 40 seconds at least")
    for signal_number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(signal_number, lambda number, frame: sys.exit(128 + number))
    folder = tempfile.mkdtemp(prefix="fleet.")
    status = 1
    try:
        run = Run(options.boxes, options.seconds, folder)
        run.bring_up()
        run.let_things_happen()
        run.look(options.picture)
        run.stop()
        say(f"{len(run.faults)} faults" if run.faults else "all held")
        status = 1 if run.faults else 0
    except (TimeoutError, OSError) as error:
        say(f"FAULT: {error}")
    finally:
        servers.kill_all()
        if status != 0 and os.environ.get("FLEET_KEEP"):
            say(f"what is left lies in {folder}")
        else:
            shutil.rmtree(folder, ignore_errors=True)
    sys.exit(status)


main()
