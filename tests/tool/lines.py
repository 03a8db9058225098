#!/usr/bin/env python3
"""lines.py SCENARIOS TOOL...: runs the tool against every scenario of the folder SCENARIOS. Every line of JSON must be
valid and hold no key twice, every row of CSV must have as many fields as the first row, and promtool, where it is
installed, must accept the text file without a remark."""
import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

failures = []


def one_of_each(pairs):
    if len({key for key, _ in pairs}) != len(pairs):
        raise ValueError("a key stands twice")
    return dict(pairs)


def lines(scenario, *arguments):
    done = subprocess.run([*sys.argv[2:], *arguments], env=os.environ | {"ZEB_SCENARIO": str(scenario)}, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=120)
    if not 0 <= done.returncode <= 4 or (done.stdout and not done.stdout.endswith("\n")):
        failures.append(f"{scenario.name}: {arguments}: status {done.returncode}: {done.stdout}")
    return done.stdout.splitlines()


def text_file(scenario, path):
    """The text file as it is once the modem has answered."""
    tool = subprocess.Popen([*sys.argv[2:], "watch", "--textfile", path, "--label", "site=a \"b\"\\c"],
                            env=os.environ | {"ZEB_SCENARIO": str(scenario)}, stderr=subprocess.DEVNULL)
    try:
        text = ""
        end = time.monotonic() + 120
        while "\ncpe_dm_last_answer" not in text and time.monotonic() < end:
            time.sleep(0.02)
            text = path.read_text() if path.exists() else ""
        return text
    finally:
        tool.terminate()
        tool.wait()


def check(scenario):
    count = 0
    for arguments in (["status"], ["get", "all"], ["scan", "--timeout", "5"], ["selftest"], ["metrics"],
                      ["check", "lte.rsrp>-200", "reg=lte"], ["watch", "-n", "4", "-i", "0.2", "all"]):
        for line in lines(scenario, *arguments, "--json"):
            try:
                json.loads(line, object_pairs_hook=one_of_each)
                count += 1
            except ValueError as error:
                failures.append(f"{scenario.name}: {arguments}: {error}: {line}")
    rows = lines(scenario, "watch", "-n", "4", "-i", "0.2", "all")
    if len(rows) != 5 or len({row.count(",") for row in rows}) != 1:
        failures.append(f"{scenario.name}: rows of other lengths: {rows}")
    if shutil.which("promtool"):
        with tempfile.TemporaryDirectory() as folder:
            text = text_file(scenario, pathlib.Path(folder) / "values.prom")
        done = subprocess.run(["promtool", "check", "metrics"], input=text, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0 or done.stdout or "\ncpe_dm_up" not in text:
            failures.append(f"{scenario.name}: promtool: {done.stdout}\n{text}")
    return count


scenarios = sorted(pathlib.Path(sys.argv[1]).glob("*.toml"))
with concurrent.futures.ThreadPoolExecutor(4) as pool:
    count = sum(pool.map(check, scenarios))
print("\n".join(failures), f"{len(scenarios)} scenarios, {count} lines of JSON", sep="\n")
sys.exit(bool(failures) or count < 100)
