"""The scripts of the package imlog on a system with systemd, as .deb and as .rpm.

It is installed, upgraded, removed and installed again. No systemd runs there: the file systemctl stands in for its
command, and notes what it is asked.
"""
import os
import pathlib
import re
import shutil

from package_checks.common import debian, expect, files, in_root, install, report_in, run

SHIP, COLLECT = "imlog-ship.timer", "prometheus-node-exporter-iml.timer"
METRICS = "var/lib/prometheus/node-exporter"
MESSAGE_ID = "8c87242ae2964fe8ae541ffa16b208f2"  # of every entry in the journal
WRITTEN_BY_THE_CHECK = re.compile(r"systemctl\.log|run(/|$)|root/\.rpmdb(/|$)")


def check(packages, work, suite):
    root = debian(suite, work / "scripts")
    install(root, "systemd")
    (root / "usr/bin/systemctl").rename(root / "usr/bin/systemctl.real")
    shutil.copy(pathlib.Path(__file__).with_name("systemctl"), root / "usr/bin/systemctl")
    (root / "run/systemd/system").mkdir(parents=True, exist_ok=True)
    (root / METRICS).mkdir(parents=True)
    for kind in Deb, Rpm:
        check_kind(kind(packages, root), root, suite)


class Deb:
    name, keeps_enabled = ".deb", True

    def __init__(self, packages, root):
        self.root = root
        shutil.copy(packages.deb("imlog"), root / "imlog.deb")

    def install(self):
        in_root(self.root, "dpkg", "-i", "/imlog.deb")

    def remove(self):
        return in_root(self.root, "dpkg", "-r", "imlog")

    def purge(self):
        in_root(self.root, "dpkg", "--purge", "imlog")


class Rpm:
    name, keeps_enabled = ".rpm", False

    def __init__(self, packages, root):
        self.root, self.rpm = root, packages.rpm("imlog")

    def install(self):
        run("rpm", "--root", self.root, "-U", "--force", "--nodeps", self.rpm)

    def remove(self):
        return run("rpm", "--root", self.root, "-e", "imlog")

    def purge(self):
        shutil.rmtree(self.root / "var/lib/imlog")


def check_kind(package, root, suite):
    state, metrics = root / "var/lib/imlog", root / METRICS
    log, name = root / "systemctl.log", package.name
    link = root / "etc/systemd/system/timers.target.wants" / SHIP

    def asked():
        """The commands of systemctl since the last call."""
        text = log.read_text() if log.exists() else ""
        log.unlink(missing_ok=True)
        return text

    def catalog():
        return in_root(root, "journalctl", "--list-catalog", MESSAGE_ID, statuses=()).strip()

    before = files(root)
    package.install()
    print(catalog())
    expect("Integrated Management Log" in catalog(), f"the {name} brings nothing to the journal's catalog")
    expect(state.stat().st_mode & 0o777 == 0o700, f"/var/lib/imlog of the {name}")
    faults, status = report_in(root, "sh", "-c", "mount -t sysfs sysfs /sys && "
                               "mount -t cgroup2 cgroup2 /sys/fs/cgroup && "
                               "exec systemd-analyze verify --man=no imlog-ship.service "
                               "prometheus-node-exporter-iml.service")
    expect(status == 0 and not faults, f"systemd of {suite}: {faults} (status {status})")
    expect(not os.path.lexists(link), f"the {name} enables the units")
    expect(not re.search(r"\bstart\b", asked()), f"the {name} starts a unit that is not enabled")

    in_root(root, "systemctl", "-q", "enable", SHIP)
    asked()
    package.install()
    said = asked()
    expect("daemon-reload" in said, f"an upgrade of the {name} does not reload systemd")
    expect(os.path.lexists(link), f"an upgrade of the {name} disables a unit")
    expect("stop" not in said, f"an upgrade of the {name} stops a unit")

    for file in state / "cursor", metrics / "iml.prom", metrics / "iml.prom.new":
        file.touch()
    printed, said = package.remove(), asked()
    expect("/var/lib/imlog" in printed, f"the {name} does not say what it leaves")
    expect(re.search(f"stop.* {SHIP} {COLLECT}", said), f"the {name} leaves timers running")
    expect("daemon-reload" in said, f"removing the {name} does not reload systemd")
    expect(not list(metrics.iterdir()), f"the {name} leaves metrics")
    expect(not catalog(), f"the {name} leaves its text in the journal's catalog")

    # Debian's way: a timer stays enabled. A package of the other kind has disabled it.
    package.install()
    started = re.findall(r"\bstart\b.*", asked())
    expect(started == [f"start {SHIP}"] if os.path.lexists(link) else not started,
           f"the {name} installed again starts other than what is enabled: {started}")
    expect(os.path.lexists(link) == package.keeps_enabled, f"the {name} installed again")
    package.remove()

    package.purge()
    left = {file for file in before ^ files(root) if not WRITTEN_BY_THE_CHECK.match(file)}
    expect(not left, f"the {name} leaves files: {sorted(left)}")
    print(f"{name}: installed, upgraded, removed, installed again")
