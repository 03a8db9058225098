#!/usr/bin/env python3
"""scenario_keys.py SOURCES RECORDER TOOL: every field of the scenario's cells has a key, and every key of a cell
changes what the virtual modem answers: the tool asks for everything, and the recorder writes the answers down."""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sources = pathlib.Path(sys.argv[1]) / "platform/zebservices"
recorder, tool = sys.argv[2:]
base = {"lte": {"srv_status": "'service'"}, "nr5g": {"srv_status": "'limited'", "attached": "true"}}
# Values for the keys whose values are not single numbers.
values = {
    "srv_status": "'power_save'",
    "attached": "false",
    "rsrq_reported": "false",
    "swing": "{ rsrp = 50, period_ms = 900 }",
    "cqi": "[[1]]",
    "lock": "[{ pci = 1 }]",
    "intra": "[{ pci = 1 }]",
    "lock_cell": "{ pci = 1 }",
    "lock_arfcns": "[1]",
    "neighbour": "[{ pci = 1 }]",
}


def value_of(name, reader):
    if number := re.search(r"(?:number|measured)<&T::\w+, (-?\d+), ", reader):
        return str(int(number[1]) + 1)
    return "[1, 2, 3]" if reader.startswith("bytes") else values.get(name, "1")


def answers(cells):
    """The set of all recorded messages, without their times."""
    with tempfile.TemporaryDirectory() as folder:
        scenario, recording = pathlib.Path(folder) / "scenario.toml", pathlib.Path(folder) / "recording"
        lines = ["tick_ms = 10", "appear_ms = 50", "scan_delay_ms = 1"]
        for cell, keys in cells.items():
            lines += [f"[{cell}]", *(f"{key} = {value}" for key, value in keys.items())]
        scenario.write_text("\n".join(lines))
        text = ""
        for command in (["get", "all"], ["scan", "all"]):
            environment = os.environ | {"ZEB_SCENARIO": scenario, "LD_PRELOAD": recorder, "ZEB_RECORD": recording}
            subprocess.run([tool, *command, "--timeout", "60"], env=environment, stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL, timeout=120)
            text += recording.read_text()
            recording.unlink()
        if "id=0x0085" not in text:
            sys.exit(f"the modem was not asked for everything:\n{scenario.read_text()}{text}")
        return {message for line in text.splitlines() for message in re.findall(r"id=\w+|(?:resp|dst)=\S+", line)}


parser = (sources / "scenario_parse.cpp").read_text()
header = (sources / "scenario.h").read_text()
keys = []
for cell in base:
    rows = re.search(rf"^void read_{cell}\(.*?KEYS\[\] = \{{(.*?)\n    \}};", parser, re.S | re.M)[1]
    record = re.search(rf"^struct scenario_{cell} \{{(.*?)^\}}", header, re.S | re.M)[1]
    fields = re.findall(r"(\w+)(?:\[\w+\])?(?: = .*)?;", record)
    if without := [field for field in fields if f"&T::{field}" not in rows]:
        sys.exit(f"fields of scenario_{cell} without a key: {without}")
    keys += [(cell, name, value_of(name, reader)) for name, reader in re.findall(r'\{"(\w+)", (.*)\},', rows)]
with concurrent.futures.ThreadPoolExecutor(4) as pool:
    others = [base | {cell: base[cell] | {name: value}} for cell, name, value in keys]
    plain, *changed = pool.map(answers, [base, *others])
same = [f"{cell}.{name} = {value}" for (cell, name, value), one in zip(keys, changed) if one == plain]
print(f"{len(keys)} keys, changing nothing: {same}")
sys.exit(bool(same) or len(keys) < 30)
