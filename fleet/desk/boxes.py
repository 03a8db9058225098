"""The boxes of a fleet on one machine: the scenario of each box, its processes, the lines that it sent, and its costs."""
import datetime
import json
import os
import signal
import time

import servers

BLOCK = 20  # boxes in a block; each block has cells of its own
KINDS = ["worse"] * 4 + ["dark"] * 3 + ["fallback", "out", "absent", "die", "leave"]  # kinds of the first boxes of a block
PLAYED = ["default", "steady", "nr5g_standalone", "lte_only", "late_service"]  # scenarios of the other boxes, in turn
ONCE = ["drive", "status_walk"]  # each for one box only: two boxes with the same scenario would change together

# For each kind of box, the change in the scenario of the box. Only every fifth block has these changes.
CHANGES = {
    "worse": "lte = { rsrp = -106, rsrq = -17, snr = -10 }",
    "dark": 'lte = { srv_status = "no_service" }',
    "fallback": "nr5g = { attached = false }",
    "out": 'lte = { srv_status = "limited" }',
    "absent": "present = false",
}

CELL = """tick_ms = 1000
[lte]
srv_status = "service"
plmn = [0x21, 0xF3, 0x54]
tac = 4660
cgi = {cgi}
earfcn = 1300
pci = 301
rsrp = -86
rsrq = -9
snr = 150
swing = {{ rsrp = 2, rsrq = 1, snr = 20, period_ms = {period} }}
tx_power = 105
cqi = [[12, 11], [9]]
"""
CELL_NR5G = """[nr5g]
attached = true
plmn = [0x21, 0xF3, 0x54]
tac = [0x00, 0x12, 0x34]
cgi = {cgi}
arfcn = 640000
pci = 512
rsrp = -88
rsrq = -11
snr = 175
cqi = [[13, 12]]
"""


class Box:
    def __init__(self, number, folder, source):
        block, place = divmod(number, BLOCK)
        self.name = f"box-{number + 1:06}"
        self.source = source
        self.folder = f"{folder}/boxes/{self.name}"
        self.textfile = f"{folder}/www/{self.name}/metrics.txt"
        self.kind = KINDS[place] if place < len(KINDS) else "played"
        self.cgi = (100000 + block * 16 + KINDS.index(self.kind)) * 256 + 1 if self.kind in KINDS else None
        self.troubled = block % 5 == 0 and self.kind in KINDS  # something happens to this box; its kind says what
        self.restarts = self.troubled and self.kind in CHANGES  # the box is killed, and started again
        played = place - len(KINDS) + block * (BLOCK - len(KINDS))
        self.plays = ONCE[played] if 0 <= played < len(ONCE) else PLAYED[played % len(PLAYED)]
        self.process = None
        self.starts = []  # the times of its starts
        self.kills = []
        os.makedirs(self.folder)
        os.makedirs(os.path.dirname(self.textfile))

    def scenario(self, event):
        """The scenario file that the box plays. event: seconds from now until its change; None: no change."""
        if self.kind == "played":
            return f"{self.source}/platform/scenarios/{self.plays}.toml"
        path = f"{self.folder}/scenario.toml"
        with open(path, "w") as file:
            file.write(CELL.format(cgi=self.cgi, period=20000 + self.cgi % 9000))
            if self.kind == "fallback":
                file.write(CELL_NR5G.format(cgi=self.cgi + (1 << 32)))
            if event is not None:
                file.write(f"[[change]]\nat_ms = {max(1, int(event * 1000))}\n{CHANGES[self.kind]}\n")
        return path

    def start(self, interval, event=None, record=True):
        """Starts the box. It writes a text file, which Prometheus pulls, and pushes JSON to the broker. record: whether the lines
        of JSON also go to the file `sent`."""
        watch = [f"{self.source}/build/release/tool/cpe_dm", "watch", "--json", "-i", str(interval), "--textfile", self.textfile,
                 "--label", "site=desk"]
        if record:
            watch = [f"{self.source}/fleet/desk/record", f"{self.folder}/sent", *watch]
        self.starts.append(time.time())
        self.process = servers.start(
            [f"{self.source}/fleet/box/cpe_dm_push", f"cpe_dm/{self.name}", *watch], f"{self.folder}/log",
            env={**os.environ, "ZEB_SCENARIO": self.scenario(event), "XDG_CONFIG_HOME": self.folder, "TMPDIR": self.folder})

    def kill(self):
        """Ends the box as a loss of power would."""
        self.kills.append(time.time())
        servers.kill(self.process)
        self.process = None

    def ask_to_stop(self):
        self.process.send_signal(signal.SIGTERM)

    def sent(self):
        """The lines that cpe_dm has printed, without a last line that is incomplete."""
        try:
            with open(f"{self.folder}/sent") as file:
                return [line[:-1] for line in file if line.endswith("\n")]
        except FileNotFoundError:
            return []

    def complaints(self):
        with open(f"{self.folder}/log") as file:
            return file.read()

    def alive(self):
        return self.process is not None


def new_fleet(count, folder, source):
    """The boxes of a new fleet. Exactly half of them will be killed and started again during the run."""
    boxes = [Box(number, folder, source) for number in range(count)]
    wanted = count // 2 - sum(box.restarts for box in boxes)
    for box in [box for box in boxes if not box.troubled][:wanted]:
        box.restarts = True
    return boxes


def rows_of(lines):
    """The values in lines of JSON: [(time, {(metric, technology): value})]."""
    names = {"none": 1, "power_save": 2, "limited": 3, "limited_regional": 4, "lte": 5, "lte_nr5g": 6, "nr5g": 7}
    rows = []
    for line in lines:
        row = json.loads(line)
        values = {("cpe_dm_registration_status", None): names.get(row.get("reg"))}
        for technology in ("lte", "nr5g"):
            for key, metric in (("rsrp", "cpe_dm_rsrp_dbm"), ("rsrq", "cpe_dm_rsrq_db"), ("sinr", "cpe_dm_sinr_db")):
                values[metric, technology] = (row.get(technology) or {}).get(key)
        rows.append((datetime.datetime.fromisoformat(row["time"].replace("Z", "+00:00")).timestamp(), values))
    return rows


def first_line(path):
    with open(path) as file:
        return file.readline()


def processes():
    """The processes of this machine that have not ended: {process group: [process ID, ...]}."""
    groups = {}
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            state, _, group = first_line(f"/proc/{pid}/stat").rpartition(")")[2].split()[:3]
            if state != "Z":
                groups.setdefault(int(group), []).append(int(pid))
        except (OSError, IndexError):
            pass
    return groups


def cpu_seconds(pid):
    """The processor time of all threads of a process, exact to the nanosecond."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        try:
            total += int(first_line(f"/proc/{pid}/task/{thread}/schedstat").split()[0])
        except OSError:
            pass
    return total / 1e9


def memory(pid):
    """The memory of a process: (private bytes, resident bytes)."""
    sizes = {}
    with open(f"/proc/{pid}/smaps_rollup") as file:
        for line in file:
            name, _, size = line.partition(":")
            if size.endswith("kB\n"):
                sizes[name] = int(size.split()[0]) * 1024
    return sizes["Private_Clean"] + sizes["Private_Dirty"], sizes["Rss"]


def name_of(pid):
    return first_line(f"/proc/{pid}/comm").strip()


def cost(group):
    """The costs of a box so far: {program: (CPU seconds, private bytes, resident bytes)}. The script `record` does not
    count."""
    costs = {}
    for pid in group:
        try:
            name = name_of(pid)
            if name in ("record", "tee"):
                continue
            before = costs.get(name, (0, 0, 0))
            costs[name] = tuple(map(sum, zip(before, (cpu_seconds(pid), *memory(pid)))))
        except OSError:
            pass
    return costs
