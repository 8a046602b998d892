"""The sample play of Ansible on a bare Debian, which installs our packages from a repository.

A second run changes nothing. No systemd runs there, so units are enabled and not started.
"""
import re
import shutil

from package_checks.common import LIBRARIES, ROOT, SERVER, debian, expect, in_root, install, report_in, run

SUITE = "bookworm"
LIVE = {"LD_LIBRARY_PATH": LIBRARIES, "ORVLOG_SIMULATOR": SERVER}
TIMERS = ("imlog-ship.timer", "prometheus-node-exporter-iml.timer")


def check(packages, work):
    root = debian(SUITE, work / "play")
    make_repository(packages, root)
    install(root, "ansible-core", "sudo", "systemd", "orvlog-simulator")
    shutil.copytree(ROOT / "examples/fleet", root / "fleet")
    expect(play(root) > 0, "the first run changes nothing")
    changed = play(root)
    expect(changed == 0, f"a second run changes something: {changed}")

    for timer in TIMERS:
        state = in_root(root, "systemctl", "is-enabled", timer, statuses=(), SYSTEMD_OFFLINE="1").strip()
        expect(state == "enabled", f"{timer} is {state or 'not there'}")
    expect(in_root(root, "imlog", "--cursor-file=/var/lib/imlog/cursor", **LIVE) == "", "the cursor is not seeded")
    # The check as NRPE calls it. sudo passes no variables on, so imlog finds no log.
    command = re.search(r"^command\[check_iml\]=(.*)$", (root / "etc/nagios/nrpe.d/imlog.cfg").read_text(), re.M)[1]
    answer, status = report_in(root, "setpriv", "--reuid=nagios", "--clear-groups", *command.split())
    print(answer, end="")
    expect(status == 3 and "IML UNKNOWN - cannot load the request library" in answer,
           f"the check ends with status {status}")


def make_repository(packages, root):
    """Makes the packages a repository in the system."""
    repository = root / "packages"
    repository.mkdir()
    for deb in packages.debs:
        shutil.copy(deb, repository)
    (repository / "Packages").write_text(run("dpkg-scanpackages", ".", cwd=repository))
    (root / "etc/apt/sources.list.d/ours.list").write_text("deb [trusted=yes] file:/packages ./\n")


def play(root):
    """Runs the play with all that it can do, and returns the number of things that it changed."""
    printed = in_root(root, "ansible-playbook", "--connection=local", "--inventory=localhost,",
                      "--extra-vars", '{"imlog_prometheus": true, "imlog_nrpe": true}', "/fleet/ansible-imlog.yml",
                      HOME="/root", DEBIAN_FRONTEND="noninteractive", **LIVE)
    print(printed.rstrip().splitlines()[-1])
    return int(re.search(r"changed=(\d+)", printed)[1])
