"""zeft_repo check, of source trees, sites and live servers, each sound but for one thing."""

import concurrent.futures
import datetime
import json
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

from support import CORE, FILE_LIST, REPO, SECONDS, Source

DEMO = os.path.abspath(sys.argv[2])
TOP = pathlib.Path(__file__).absolute().parents[2]
CORE_FILE = "zeft/" + CORE + "zeft core é.zip"


def edit(name, old, new):
    """A spoiler that puts other bytes into a file, and keeps its date."""
    def spoil(site):
        path = site / name
        date = path.stat().st_mtime
        path.write_bytes(path.read_bytes().replace(old, new))
        os.utime(path, (date, date))
    return spoil


def set_next_day(site):
    edit(FILE_LIST, b"latest#2024-05-01", b"latest#2024-05-02")(site)
    os.utime(site / CORE_FILE, (SECONDS + 86400, SECONDS + 86400))


# What was done to the files of a site; the rules when it is checked on the disk, and as a server.
SITES = [
    ("sound", lambda site: None, [], []),
    ("damaged line", edit(FILE_LIST, b".info\r\n", b".info\r\n8#x\r\n"), ["ZR006"], ["ZR006"]),
    ("time stamp without milliseconds", edit(FILE_LIST, b"latest#2024-05-01T12:30:45.000Z",
     b"latest#2024-05-01T12:30:45Z"), ["ZR017"], ["ZR017"]),
    ("name that a URL can't hold", edit(FILE_LIST, b"zeft core", b"zeft%core"),
     ["ZR010", "ZR029", "ZR043"], ["ZR010", "ZR043"]),
    ("older build inside", set_next_day, ["ZR023"], ["ZR023"]),
    ("byte more", edit(CORE_FILE, b"sample", b"samples"), ["ZR020", "ZR026", "ZR027"], ["ZR026"]),
    ("other byte", edit(CORE_FILE, b"product", b"produkt"), ["ZR020", "ZR027"],
     ["ZR020", "ZR027"]),
    ("other date", lambda site: os.utime(site / CORE_FILE, (SECONDS, SECONDS + 1)), ["ZR028"],
     ["ZR028"]),
    ("missing file", lambda site: (site / CORE_FILE).unlink(), ["ZR025"], ["ZR060"]),
    ("file that no list names", lambda site: (site / "zeft/a.zip").touch(), ["ZR029"], []),
    ("descriptions that are no archive", lambda site: (site / "zeft/bsp/hwd_doc.zip").write_bytes(b"x"),
     ["ZR020"], ["ZR020"]),
]

# Where nginx is told what; the sound site lies there.
SERVERS = [
    ("lists compressed", "zeft/zeft_upt", "add_header Content-Encoding gzip;", ["ZR065"]),
    ("redirect", "zeft/core", "return 301 https://localhost/;", ["ZR066"]),
    ("no package list", "zeft/bsp/zeft_bsps", "return 404;", ["ZR060"]),
    ("list beyond all bounds", "zeft/zeft_upt", "rewrite ^ /endless break;", ["ZR060"]),
    ("no length", "zeft/core", "ssi on; ssi_types *; ssi_last_modified on;", ["ZR061"]),
    ("year of two digits", "zeft/core",
     'add_header Last-Modified "Wednesday, 01-May-24 12:30:45 GMT";', ["ZR062"]),
    ("no ranges", "zeft", "max_ranges 0;", ["ZR063", "ZR064"]),
    ("range of another file", "zeft", "if ($http_range) { rewrite ^ "
     "/sites/0/zeft/bsp/x86/zeft_bsp_zeta.hlib.tar.xz break; }", ["ZR063", "ZR064"]),
    ("range without its bounds", "zeft",
     "proxy_hide_header Content-Range; proxy_pass https://127.0.0.1:PORT/sites/0/zeft;",
     ["ZR063", "ZR064"]),
    ("page in place of a 416", "zeft", "error_page 416 =416 /page;", ["ZR064"]),
    ("ten requests on a connection", "zeft", "keepalive_requests 10;", ["ZR067"]),
]

# For how many days a certificate that nobody signed is good, who is asked, and what else is found.
CERTIFICATES = [
    ("sound", 30, "localhost", []),
    ("of another host", 30, "127.0.0.1",
     ["The host name did not match any of the valid hosts for this certificate"]),
    ("expired", -1, "localhost", ["The certificate has expired"]),
    ("expires soon", 3, "localhost",
     [f"it expires on {datetime.datetime.utcnow() + datetime.timedelta(3):%Y-%m-%d}"]),
]


def read_rules():
    """The id of each rule, with its name and level, as the program's source has them."""
    numbers = re.findall(r"(\w+) = (\d+),", TOP.joinpath("Publisher/rules.h").read_text())
    levels = dict(re.findall(r"Rule::(\w+), Level::(\w+),",
                             TOP.joinpath("Publisher/rules.cpp").read_text()))
    return {f"ZR{int(number):03}": (name, levels[name].lower()) for name, number in numbers}


RULES = read_rules()


def check(*arguments):
    run = subprocess.run([REPO, "check", "--json", *arguments], capture_output=True, text=True)
    findings = json.loads(run.stdout)["findings"] if run.stdout else []
    return run.returncode, run.stderr, sorted({finding["rule"] for finding in findings})


def make_certificate(number, days):
    subprocess.run(f"""openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes \
            -subj /CN=localhost -addext subjectAltName=DNS:localhost -keyout {number}.key \
            -out {number}.csr &&
        openssl x509 -req -in {number}.csr -signkey {number}.key -days {days} \
            -copy_extensions copy -out {number}.pem""", shell=True, check=True)


def serve(ports, sockets):
    """Starts nginx in the working directory, with the settings of the demo beside those above."""
    locations = "".join(f"location /servers/{i}/{place} {{ {settings} }}\n"
                        for i, (_, place, settings, _) in enumerate(SERVERS))
    servers = "".join(f"""server {{
        listen 127.0.0.1:{port} ssl;
        ssl_certificate {i}.pem;
        ssl_certificate_key {i}.key;
        root www;
        include {DEMO}/repository.conf;
        {locations.replace("PORT", str(port))} }}""" for i, port in enumerate(ports))
    pathlib.Path("nginx.conf").write_text(f"""daemon off; user root; pid nginx.pid;
        error_log error.log; events {{ }}
        http {{ access_log off; client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;
                uwsgi_temp_path t; scgi_temp_path t; {servers} }}""")
    return subprocess.Popen(["setpriv", "--pdeathsig", "TERM", "nginx", "-p", os.getcwd() + "/",
                             "-e", "error.log", "-c", "nginx.conf"], pass_fds=sockets,
                            env={**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin",
                                 "NGINX": "".join(f"{socket};" for socket in sockets)})


class TestCheck(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        work = tempfile.TemporaryDirectory()
        cls.addClassCleanup(work.cleanup)
        os.chdir(work.name)
        cls.addClassCleanup(os.chdir, "/")
        cls.source = Source("source")
        cls.source.describe()
        subprocess.run([REPO, "build", "-q", "source", "sound"], check=True)
        for i, (_, spoil, _, _) in enumerate(SITES):
            shutil.copytree("sound", f"www/sites/{i}")
            spoil(pathlib.Path(f"www/sites/{i}"))
        os.mkdir("www/servers")
        for i in range(len(SERVERS)):
            os.symlink("../sites/0", f"www/servers/{i}")
        with open("www/endless", "wb") as endless:
            endless.truncate(64_000_001)

        for i, (_, days, _, _) in enumerate(CERTIFICATES):
            make_certificate(i, days)
        # nginx takes over sockets that listen already, so that nobody waits for it.
        sockets = [socket.create_server(("127.0.0.1", 0)) for _ in CERTIFICATES]
        cls.ports = [s.getsockname()[1] for s in sockets]
        nginx = serve(cls.ports, [s.fileno() for s in sockets])
        for s in sockets:
            s.close()
        cls.url = f"https://localhost:{cls.ports[0]}"
        cls.addClassCleanup(nginx.wait)
        cls.addClassCleanup(nginx.terminate)

    def compare(self, rows):
        """Checks as the arguments of each row say, and expects its rules."""
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            runs = [pool.submit(check, *arguments) for _, arguments, _ in rows]
        for (name, _, rules), run in zip(rows, runs):
            with self.subTest(name):
                failed = any(RULES[rule][1] == "error" for rule in rules)
                self.assertEqual(run.result(), (int(failed), "", rules))

    def test_source_trees(self):
        self.source.add(CORE + "a.zip", ("a/version.info", b"build: 2099.01.01"))
        self.compare([("build in the future", ["source"], ["ZR024"])])

    def test_sites_on_the_disk(self):
        self.compare([(name, [f"www/sites/{i}"], rules)
                      for i, (name, _, rules, _) in enumerate(SITES)])

    def test_sites_on_a_server(self):
        self.compare([(name, ["--sums", f"{self.url}/sites/{i}"], [*rules, "ZR068"])
                      for i, (name, _, _, rules) in enumerate(SITES)])

    def test_servers(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:  # which never accepts
            self.compare([(name, [f"{self.url}/servers/{i}"], [*rules, "ZR068"])
                          for i, (name, _, _, rules) in enumerate(SERVERS)]
                         + [("server that says nothing",
                             [f"https://localhost:{silent.getsockname()[1]}"], ["ZR060"]),
                            ("no server", ["https://localhost:1/"], ["ZR060"])])

    def test_certificates(self):
        for (name, _, host, faults), port in zip(CERTIFICATES, self.ports):
            with self.subTest(name):
                url = f"https://{host}:{port}/sites/0"
                run = subprocess.run([REPO, "check", "-q", url], capture_output=True, text=True)
                self.assertEqual(set(run.stdout.splitlines()), {
                    f"{url}: warning ZR068: {fault}; get a certificate for this host"
                    for fault in ["The certificate is self-signed, and untrusted", *faults]})

    def test_each_rule_has_its_entry(self):
        page = TOP.joinpath("docs/rules.md").read_text()
        entries = re.findall(r"^### (ZR\d+) (\w+), (\w+)$", page, re.MULTILINE)
        self.assertEqual(entries, [(rule, *rest) for rule, rest in RULES.items()])


unittest.main(argv=sys.argv[:1])
