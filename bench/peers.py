"""Measures the terminal program beside its peers, over nginx on loopback."""

import os
import pathlib
import shlex
import shutil
import signal
import statistics
import subprocess
import sys
import time
import urllib.parse
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAMS = ROOT / "build/release"
DATA = ROOT / "build/bench-data"
MIB = 1 << 20


class Cost(NamedTuple):
    wall: float
    processor: float
    memory: int


def run_measured(command, folder, environment=None):
    """Runs the command quietly to its end; its failure ends the benchmark."""
    start = time.monotonic()
    with open(DATA / "output", "w") as output:
        child = subprocess.Popen(command, stdout=output, stderr=output, env=environment, cwd=folder)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{command[0]} failed:\n{(DATA / 'output').read_text()[-2000:]}")
    return Cost(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)


class Server:
    """A process that runs beside the measured ones and ends with them."""

    def __init__(self, command, ready):
        self.process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        deadline = time.monotonic() + 20
        while not ready():
            if self.process.poll() is not None or time.monotonic() > deadline:
                self.stop()
                sys.exit(f"{command[0]} did not start.")
            time.sleep(0.05)

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait()


class Certificate:
    """What this machine shows to those who ask for it by its address, and what they need to believe it."""

    def __init__(self):
        self.key, self.file = DATA / "key.pem", DATA / "certificate.pem"
        make = ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                "-days", "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1",
                "-keyout", str(self.key), "-out", str(self.file)]
        subprocess.run(make, check=True, stderr=subprocess.DEVNULL)


def start_nginx(root, certificate, rate):
    """Serves the folder, over TLS with a certificate, and so many bytes a second over each connection; returns the
    server and its port."""
    port = 18400 + os.getpid() % 1000
    nginx = DATA / "nginx"
    nginx.mkdir(parents=True, exist_ok=True)
    tls = f"ssl_certificate {certificate.file}; ssl_certificate_key {certificate.key};" if certificate else ""
    (nginx / "nginx.conf").write_text(f"""
daemon off;
worker_processes 1;
pid {nginx}/pid;
error_log {nginx}/error.log;
{'user root;' if os.geteuid() == 0 else ''}
events {{ worker_connections 512; }}
http {{
    access_log off;
    sendfile on;
    tcp_nodelay on;
    keepalive_requests 100000;
    {f"limit_rate {rate};" if rate else ""}
    client_body_temp_path {nginx}/body;
    proxy_temp_path {nginx}/proxy;
    fastcgi_temp_path {nginx}/fastcgi;
    uwsgi_temp_path {nginx}/uwsgi;
    scgi_temp_path {nginx}/scgi;
    server {{ listen 127.0.0.1:{port}{" ssl" if certificate else ""}; {tls} root {root}; }}
}}
""")

    def ready():
        probe = ["curl", "--silent", "--insecure", "--output", "/dev/null",
                 f"{'https' if certificate else 'http'}://127.0.0.1:{port}/"]
        return subprocess.run(probe, check=False).returncode == 0

    command = [shutil.which("nginx") or "/usr/sbin/nginx", "-p", str(nginx), "-c", str(nginx / "nginx.conf"),
               "-e", str(nginx / "error.log")]
    return Server(command, ready), port


def start_relay(seconds, port):
    """Puts so much time between a question to the port and its answer; returns the server and its own port."""
    port_file = DATA / f"relay-{port}"
    relay = Server([sys.executable, str(ROOT / "bench/relay"), str(seconds), str(port), str(port_file)],
                   port_file.exists)
    return relay, int(port_file.read_text())


class Account:
    """The sandbox with a generated account, whose bytes nginx serves: over TLS, so many bytes a second over each
    connection, or so many seconds away."""

    def __init__(self, name, files, size, is_secured=False, rate=None, distance=0):
        self.tree = DATA / name
        self.servers = []
        generate = [str(PROGRAMS / "putio-sandbox"), "--files", str(files), "--folders", "0",
                    "--min-size", size, "--max-size", size]
        subprocess.run(generate + ["--write-tree", str(self.tree)], check=True, stdout=subprocess.DEVNULL)
        self.paths = sorted(path.relative_to(self.tree) for path in self.tree.rglob("*") if path.is_file())
        if len(self.paths) != files:
            sys.exit(f"The sandbox wrote {len(self.paths)} files instead of {files}.")
        self.certificate = Certificate() if is_secured else None
        storage = self.away(self.add(start_nginx(self.tree, self.certificate, rate)), distance)
        self.address = f"{'https' if is_secured else 'http'}://127.0.0.1:{storage}"
        env_file = DATA / "sandbox.env"
        env_file.unlink(missing_ok=True)
        self.servers.append(Server(generate + ["--storage-url", self.address, "--env-file", str(env_file)],
                                   env_file.exists))
        self.variables = dict(line.split("=", 1) for line in env_file.read_text().splitlines() if "=" in line)
        service = urllib.parse.urlsplit(self.variables["TOVRI_API_URL"])
        relayed = f"http://127.0.0.1:{self.away(service.port, distance)}"
        self.variables |= {name: relayed for name in ("TOVRI_API_URL", "TOVRI_UPLOAD_URL", "TOVRI_WEB_URL")}
        if is_secured:
            self.variables |= {name: str(self.certificate.file) for name in ("CURL_CA_BUNDLE", "SSL_CERT_FILE")}

    def add(self, started):
        server, port = started
        self.servers.append(server)
        return port

    def away(self, port, distance):
        return self.add(start_relay(distance, port)) if distance else port

    def urls(self):
        return [f"{self.address}/{urllib.parse.quote(path.as_posix())}" for path in self.paths]

    def stop(self):
        for server in reversed(self.servers):
            server.stop()
        shutil.rmtree(self.tree)


def tovri_environment(account):
    state = DATA / "state"
    shutil.rmtree(state, ignore_errors=True)
    folders = {"XDG_DATA_HOME": "data", "XDG_CONFIG_HOME": "config", "XDG_STATE_HOME": "state"}
    return {**os.environ, **account.variables, "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere",
            **{name: str(state / folder) for name, folder in folders.items()}}


def check_arrived(account, target):
    """Each file is there with its size; a benchmark of a program that loses files would say nothing."""
    sizes = {path.name: (account.tree / path).stat().st_size for path in account.paths}
    arrived = {path.name: path.stat().st_size for path in target.rglob("*") if path.is_file()}
    if any(arrived.get(name) != size for name, size in sizes.items()):
        sys.exit(f"{len(sizes)} files were asked for, and not all of them arrived in {target}.")


def compare(account, commands, rounds, home=DATA):
    """Each program fetches into the folder `target` of `home`."""
    costs = {name: [] for name in commands}
    target = home / "target"
    for round_number in range(rounds + 1):
        begin = round_number % len(commands)
        order = [*commands.items()][begin:] + [*commands.items()][:begin]  # nobody always follows the same one
        for name, command in order:
            target.mkdir()
            os.sync()  # what the one before left to be written is not this one's work
            cost = run_measured(command, target, tovri_environment(account))
            check_arrived(account, target)
            if round_number > 0:  # the first warms the page cache
                costs[name].append(cost)
            # Not removed yet: a file system that was just told to forget a thousand files is slow to make new ones.
            target.rename(home / f"done-{round_number}-{len(list(home.glob('done-*')))}")
            if len(account.paths) == 1:
                remove_done(home)
    remove_done(home)
    return {name: Cost(*(statistics.median(column) for column in zip(*list_of_costs)))
            for name, list_of_costs in costs.items()}


def remove_done(home):
    for done in home.glob("done-*"):
        shutil.rmtree(done)


def report(title, medians, rounds):
    print(f"\n{title} (medians of {rounds} rounds)")
    print(f"  {'':18}{'wall s':>9}{'ratio':>8}{'processor s':>13}{'ratio':>8}{'memory MiB':>12}")
    ours = medians["tovri-cli"]
    for name, cost in medians.items():
        print(f"  {name:18}{cost.wall:9.3f}{ours.wall / cost.wall:8.2f}{cost.processor:13.3f}"
              f"{ours.processor / cost.processor:8.2f}{cost.memory / MIB:12.1f}")
    print("  ratio: tovri-cli's figure divided by the peer's")


def tovri(*arguments):
    return [str(PROGRAMS / "tovri-cli"), *arguments, "--to", "."]


def durable(command, *names):
    """The command, and then a wait until the disk has what it brought: what "arrived" means for tovri-cli."""
    return ["sh", "-c", f"{shlex.join(command)} && sync {shlex.join(names)}"]


def bench_one(title, account, commands, rounds, home=DATA):
    """`commands` are made of the file's address and name."""
    try:
        own = tovri("get", "/" + account.paths[0].as_posix())
        peers = commands(account.urls()[0], account.paths[0].name)
        medians = compare(account, {"tovri-cli": own, **peers}, rounds, home)
        report(title, medians, rounds)
    finally:
        account.stop()


def curl_one(url, name):
    curl = ["curl", "--silent", "--fail", "-o", name, url]
    return {"curl, sync": durable(curl, name), "curl": curl}


def bench_large(rounds):
    def commands(url, name):
        return {**curl_one(url, name),
                "wget": ["wget", "--quiet", "-O", name, url],
                "aria2c": ["aria2c", "--quiet", "--file-allocation=none", "-o", name, url]}

    bench_one("One file of 2 GiB, with its link look-up", Account("large", 1, "2GiB"), commands, rounds)


class Volume:
    """A file system of its own in a file. The file is written past the page cache, as a disk is: a second copy of
    each byte in memory would be charged to whoever writes."""

    def __init__(self, folder):
        self.image, self.folder = DATA / "other.image", folder
        folder.mkdir()
        with open(self.image, "w") as image:
            os.posix_fallocate(image.fileno(), 0, 6 << 30)
        attach = ["losetup", "--find", "--show", "--direct-io=on", str(self.image)]
        self.device = subprocess.run(attach, check=True, capture_output=True, text=True).stdout.strip()
        subprocess.run(["mkfs.ext4", "-q", self.device], check=True)
        subprocess.run(["mount", self.device, str(folder)], check=True)

    def unmount(self):
        subprocess.run(["umount", str(self.folder)], check=True)
        subprocess.run(["losetup", "--detach", self.device], check=True)
        self.image.unlink()


def bench_volume(rounds):
    """Needs root and a loop device."""
    if os.geteuid() != 0:
        print("\nTo another volume: not measured, since mounting one needs root")
        return
    volume = Volume(DATA / "other")
    try:
        bench_one("One file of 2 GiB to another volume than the program's own", Account("volume", 1, "2GiB"),
                  curl_one, rounds, volume.folder)
    finally:
        volume.unmount()


def bench_secured(rounds):
    bench_one("One file of 2 GiB over TLS, with its link look-up", Account("secured", 1, "2GiB", is_secured=True),
              curl_one, rounds)


def bench_throttled(rounds):
    def commands(url, name):
        return {"aria2c -x6 -s6": ["aria2c", "--quiet", "-x6", "-s6", "--file-allocation=falloc", "-o", name, url]}

    bench_one("One file of 2 GiB, 8 MiB a second over each connection, with its link look-up",
              Account("throttled", 1, "2GiB", rate="8m"), commands, min(rounds, 3))


def peers_of_many(account):
    """The programs that fetch all files of the account, over six connections where they can."""
    urls = account.urls()
    named = list(zip(urls, (path.name for path in account.paths)))
    (DATA / "urls").write_text("".join(f"{url}\n" for url in urls))
    (DATA / "aria2-input").write_text("".join(f"{url}\n  out={name}\n" for url, name in named))
    (DATA / "curl-config").write_text("".join(f'url = "{url}"\noutput = "{name}"\n' for url, name in named))
    curl = ["curl", "--silent", "--fail", "--parallel", "--parallel-max", "6", "--config", str(DATA / "curl-config")]
    return {
        "curl -Z, sync": durable(curl, "-f", "."),
        "curl -Z": curl,
        "wget": ["wget", "--quiet", "-i", str(DATA / "urls")],
        "aria2c -j6": ["aria2c", "--quiet", "-j6", "-i", str(DATA / "aria2-input")],
    }


def tovri_of_many(account, jobs):
    return tovri("get", "/" + account.paths[0].parts[0], "--jobs", str(jobs))


def bench_small(rounds):
    account = Account("small", 1000, "64KiB")
    try:
        # Of twelve items at work six have a connection for their bytes, as many as its peers have.
        medians = compare(account, {"tovri-cli": tovri_of_many(account, 12), **peers_of_many(account)}, rounds)
        report("1,000 files of 64 KiB; tovri-cli with its 1,000 link look-ups and a listing", medians, rounds)
    finally:
        account.stop()


def bench_distant(rounds):
    account = Account("distant", 200, "64KiB", distance=0.040)
    try:
        peers = peers_of_many(account)
        parallel = {name: peers[name] for name in ("curl -Z", "aria2c -j6")}
        medians = compare(account, {"tovri-cli": tovri_of_many(account, 6), **parallel}, rounds)
        report("200 files of 64 KiB, 40 ms away; tovri-cli with its 200 link look-ups and a listing", medians, rounds)
    finally:
        account.stop()
