#!/usr/bin/env python3
"""known_lines.py SOURCES COMMAND...: every text that the module logs and the client prints, with values in it, goes through
`COMMAND redact`, which must leave none out. What it leaves out needs a row in recording/known_lines_table.cpp."""
import pathlib
import re
import subprocess
import sys
import tempfile

sources = pathlib.Path(sys.argv[1])
literal = r'"((?:[^"\\]|\\.)*)"'
calls = {"dm": r"CPE_DM_LOG_(?:ERROR|INFO)\(|CPE_DM_SUCCEEDS\([^;]*?,", "client": r"cpe_dm_client_print\(|print_usage_heading\("}
# Formats that are not checked: they print a name, a line of a table that is found below, or a line that was read.
passed_over = {"%s", "%-53s", "CPE DEMO APP : %s", r"%s\n%s\n%s"}
samples = {"d": "7", "u": "7", "x": "0", "p": "0x7", "s": "LTE Serving Cell RSRP"}


def texts():
    for folder, call in calls.items():
        for path in sorted((sources / folder).glob("*.cpp")):
            source = path.read_text()
            for found in re.finditer(rf"(?:{call})\s*((?:{literal}\s*|PRI(\w)\w*\s*)+)", source):
                parts = re.findall(rf"{literal}|PRI(\w)", found[1])
                yield "".join(text or conversion for text, conversion in parts)
            if folder == "client": # the tables of the module are names
                for table in re.findall(r"static const char \*const \w+\[\] = \{(.*?)\};", source, re.S):
                    yield from re.findall(literal, table)


lines = set()
for text in texts():
    text = re.sub(r"^(\\n)+|(\\n)+$", "", text)
    if text not in passed_over and text.strip():
        text = text.replace("%hi", "%d").replace("[%s] - %lld, ", "[LTE Serving Cell PLMN] - %lld, ")
        lines.add(re.sub(r"%[a-z]*?([duxps])", lambda conversion: samples[conversion[1]], text))
# recording/known_lines_table.cpp has a row for each metric whose result is one number or three.
names = re.search(r"metric_names\[\] = \{(.*?)\};", (sources / "dm/cpe_dm_names.cpp").read_text(), re.S)[1]
results = [f"[{name}] - 7" for name in re.findall(literal, names) if not re.search("Invalid|Neighb|CQI|Lock", name)]
if len(lines) < 200 or not results:
    sys.exit(f"only {len(lines)} texts were found")
with tempfile.TemporaryDirectory() as folder:
    recording, log, redacted = (pathlib.Path(folder) / name for name in ("rec", "log", "redacted"))
    recording.write_text("zeb-recording 1\n")
    log.write_text("".join(line + "\n" for line in [*sorted(lines), *results, *(one + ", 7, 7" for one in results)]))
    subprocess.run([*sys.argv[2:], "redact", recording, "-o", folder + "/out", "--also", log, "-o", redacted], check=True)
    # redact has changed the identities, so lines are compared without their numbers.
    bare = [re.sub(r"\d+", "7", line) for line in redacted.read_text().splitlines()]
    missing = [line for line in sorted(lines) if re.sub(r"\d+", "7", line) not in bare]
    missing += [one for one in results if not {re.sub(r"\d+", "7", one + more) for more in ("", ", 7, 7")} & set(bare)]
    sys.exit("left out:\n" + "\n".join(missing) if missing else 0)
