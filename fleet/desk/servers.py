"""The servers of a fleet on one machine, each on loopback: mosquitto, Prometheus, busybox httpd; and Chromium."""
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import time
import urllib.parse
import urllib.request

groups = []  # all processes that were started; each is the first of its process group


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def start(command, log, **more):
    """Starts a process in a process group of its own. Its standard error goes into the file `log`."""
    with open(log, "ab") as said:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stderr=said,
                                   stdout=more.pop("stdout", said), start_new_session=True, **more)
    groups.append(process)
    return process


def kill(process):
    """Kills a group, and waits for its first process."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def kill_all():
    for process in groups:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    for process in groups:
        process.wait()


def until(condition, what, seconds=120, pause=0.1):
    """Waits until the condition holds. Tries it again after each pause."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"in vain for {seconds} s: {what}")
        time.sleep(pause)


def answers(port):
    try:
        socket.create_connection(("127.0.0.1", port), 1).close()
        return True
    except OSError:
        return False


def scale(text, factor):
    """Returns a configuration or rules of Prometheus with every duration divided by the factor."""
    unit = {"s": 1000, "m": 60000, "h": 3600000, "d": 86400000}
    return re.sub(r"\b(\d+)([smhd])\b", lambda found: f"{max(1, round(int(found[1]) * unit[found[2]] / factor))}ms", text)


class Broker:
    """mosquitto with TLS and a user for each box. The user `fleet` may read all topics, the broker's own too."""

    def __init__(self, folder, source, users):
        self.folder = folder
        self.port = free_port()
        self.process = None
        os.mkdir(folder)
        openssl = ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "1",
                   "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                   "-keyout", f"{folder}/key.pem", "-out", f"{folder}/ca.pem"]
        subprocess.run(openssl, check=True, capture_output=True)
        with open(f"{folder}/passwords", "w") as passwords:
            passwords.writelines(f"{user}:{self.password(user)}\n" for user in [*users, "fleet"])
        subprocess.run(["mosquitto_passwd", "-U", f"{folder}/passwords"], check=True)
        shutil.copy(f"{source}/fleet/mqtt/acl", f"{folder}/acl")
        with open(f"{folder}/acl", "a") as acl:
            acl.write("topic read $SYS/#\n")
        with open(f"{folder}/broker.conf", "w") as conf:
            conf.write(f"listener {self.port} 127.0.0.1\ncertfile {folder}/ca.pem\nkeyfile {folder}/key.pem\nuser root\n"
                       f"allow_anonymous false\npassword_file {folder}/passwords\nacl_file {folder}/acl\n"
                       f"persistence true\npersistence_location {folder}/\nmax_queued_messages 0\nsys_interval 1\n")

    @staticmethod
    def password(user):
        return f"secret-of-{user}"

    def write_client(self, folder, program, user):
        """Writes the options file of mosquitto_pub or mosquitto_sub into a folder that will be XDG_CONFIG_HOME."""
        with open(f"{folder}/{program}", "w", opener=lambda path, flags: os.open(path, flags, 0o600)) as options:
            options.write(f"-h 127.0.0.1\n-p {self.port}\n-V mqttv5\n--cafile {self.folder}/ca.pem\n"
                          f"-u {user}\n-P {self.password(user)}\n")

    def start(self):
        self.process = start(["mosquitto", "-c", f"{self.folder}/broker.conf"], f"{self.folder}/log")
        until(lambda: answers(self.port), "the broker starts")

    def kill(self):
        self.process.send_signal(signal.SIGUSR1)  # makes the broker save that the subscriber exists
        time.sleep(0.5)
        kill(self.process)


class Subscriber:
    """mosquitto_sub as the user `fleet`. The broker keeps the session of mosquitto_sub while mosquitto_sub is away."""

    def __init__(self, folder, broker):
        self.folder = folder
        self.lines = {}  # {box: set of its lines that arrived}
        self.count = 0   # arrived lines; a line that arrived twice counts twice
        self.again = 0
        self.sys = {}    # the newest payload of each $SYS topic, the broker's statistics
        self.rest = b""
        os.mkdir(folder)
        broker.write_client(folder, "mosquitto_sub", "fleet")
        with open(f"{folder}/received", "wb") as received:
            # mosquitto_sub ends when its TLS connection breaks off, so it is started again.
            again = "while :; do mosquitto_sub -c -i reader -q 1 -t 'cpe_dm/#' -t '$SYS/broker/#' -F '%t %p'; sleep 0.2; done"
            self.process = start(["sh", "-c", again], f"{folder}/log", stdout=received,
                                 env={**os.environ, "XDG_CONFIG_HOME": folder})
        self.received = open(f"{folder}/received", "rb")

    def read(self):
        """Takes the lines that have arrived by now."""
        *lines, self.rest = (self.rest + self.received.read()).split(b"\n")
        for line in lines:
            topic, _, payload = line.decode().partition(" ")
            if topic.startswith("$SYS/"):
                self.sys[topic] = payload
                continue
            box = topic.removeprefix("cpe_dm/")
            known = self.lines.setdefault(box, set())
            if payload in known and payload != "null":
                self.again += 1
            known.add(payload)
            self.count += 1

    def is_there(self):
        self.read()
        return self.sys

    def newest(self, seconds):
        """The retained payload of every box: {box: payload}. Reads for the given number of seconds."""
        done = subprocess.run(["mosquitto_sub", "-t", "cpe_dm/#", "-W", str(seconds), "-F", "%t %p"], capture_output=True,
                              text=True, env={**os.environ, "XDG_CONFIG_HOME": self.folder})
        return dict(line.removeprefix("cpe_dm/").split(" ", 1) for line in done.stdout.splitlines())


class Prometheus:
    """Prometheus with the fleet's configuration. Every duration in it is divided by the factor."""

    def __init__(self, folder, source, factor):
        self.folder = folder
        self.factor = factor
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        self.process = None
        self.cpu_before = 0
        os.makedirs(f"{folder}/boxes")
        for name in ("prometheus.yml", "rules.yml", "alerts.yml"):
            with open(f"{source}/fleet/prometheus/{name}") as file:
                text = file.read()
            # On a busy machine a box may answer late. So the timeout is as long as the interval.
            text = text.replace("scrape_timeout: 10s", "scrape_timeout: 30s")
            with open(f"{folder}/{name}", "w") as file:
                file.write(scale(text, factor))
        self.command = ["prometheus", f"--config.file={folder}/prometheus.yml", f"--storage.tsdb.path={folder}/data",
                        f"--web.listen-address=127.0.0.1:{self.port}", f"--web.user-assets={source}/fleet/page",
                        f"--query.lookback-delta={scale('5m', factor)}", "--web.enable-admin-api", "--log.level=warn"]

    def set_targets(self, targets):
        """targets: {box: (address, path)}"""
        with open(f"{self.folder}/boxes/new", "w") as file:
            json.dump([{"targets": [address], "labels": {"instance": box, "__metrics_path__": path}}
                       for box, (address, path) in targets.items()], file)
        os.rename(f"{self.folder}/boxes/new", f"{self.folder}/boxes/all.json")

    def start(self):
        self.process = start(self.command, f"{self.folder}/log")
        until(lambda: self.ready(), "Prometheus starts")

    def ready(self):
        try:
            with urllib.request.urlopen(f"{self.url}/-/ready", timeout=5) as answer:
                return answer.status == 200
        except OSError:
            return False

    def get(self, path, **parameters):
        url = f"{self.url}/api/v1/{path}?{urllib.parse.urlencode(parameters)}"
        with urllib.request.urlopen(url, timeout=120) as answer:
            return json.load(answer)["data"]

    def query(self, expression, at=None):
        return self.get("query", query=expression, **({"time": at} if at else {}))["result"]

    def snapshot(self):
        """Writes all samples to the disk as blocks. Returns their folder."""
        request = urllib.request.Request(f"{self.url}/api/v1/admin/tsdb/snapshot", method="POST")
        with urllib.request.urlopen(request, timeout=300) as answer:
            return f"{self.folder}/data/snapshots/{json.load(answer)['data']['name']}"


def start_httpd(folder, log):
    """Starts busybox httpd, which serves the folder. Returns its port."""
    port = free_port()
    start(["busybox", "httpd", "-f", "-p", f"127.0.0.1:{port}", "-h", folder], log)
    until(lambda: answers(port), "the web server starts")
    return port


def open_page(folder, url, *options):
    """Opens a page in Chromium, for 5 s of the page's virtual time. Returns what Chromium prints."""
    command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
               "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
               "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", f"--user-data-dir={folder}/profile",
               "--window-size=1200,1500", "--virtual-time-budget=5000", *options, url]
    process = start(command, f"{folder}/chromium.log", stdout=subprocess.PIPE)
    try:
        return process.communicate(timeout=120)[0].decode()
    finally:
        kill(process)
