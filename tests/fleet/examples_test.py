#!/usr/bin/env python3
"""Runs the commands of imlog's manual and of the guide as they stand, in one shell over the sample server."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT, BUILD = pathlib.Path(os.environ["ROOT"]), pathlib.Path(os.environ["BUILD"])

# What needs more than a shell, with what checks it.
ELSEWHERE = {
    r"systemctl|journalctl -t|journalctl IML|\[Unit\]": "systemd: scripts/check-machine",
    r"^\*/5 ": "cron: the test of write-metrics",
    r"command\[|nagios ALL": "NRPE and sudo: scripts/check-fleet",
    r"install |cp |promtool|visudo|lnav|icinga2|curl": "the program and its folders: fleet_test.py, scripts/check-fleet",
}
# What the other commands print, in one line, by how they begin. Each must match one row, and each row a command.
EXPECTED = {
    r"imlog -S yesterday -p repaired": r"^-{16} Caution ",
    r"imlog -o json --cursor-file=\S+ \|": r"Server Critical Fault",
    r"new=\$\(imlog -p critical": r"^$",
    r"\[ -n \"\$new\" \] && printf": r"mail -s IML of \S+ root .* Server Critical Fault",
    r"imlog -r -u -p critical -S yesterday fleet": r"^\d{4}-\d\d-\d\dT\d\d:\d\d r\d+u\d+ Critical ",
    r"orvlog -s REPAIRED": r"",
    r"imlog -o check -u$": r"^IML OK - 0 critical, 0 caution ",
    r"imlog -o check -S -30d": r"^IML \w+ - ",
    r"imlog -p caution -x": r"(?!.*Network Adapter Link)",
    r"imlog -n 0 .*--cursor-file": r"^$",
    r"imlog -o raw >": r"^$",
    r"TZ=Europe/Berlin imlog": r"Server Critical Fault",
    r"imlog -o export": r"",
    r"journalctl --file=r17u04": r"Power",
    r"journalctl --file=fleet": r" r\d+u\d+ imlog: ",
    r"imlog -o json fleet": r"^$",
    r"imlog -o check -u fleet": r"^IML CRITICAL - \d+ critical, \d+ caution; r\d+u\d+ \d+ ",
}


def manual():
    page = (ROOT / "docs/imlog.8").read_text()
    page = page[page.index(".Sh EXAMPLES") : page.index(".Sh DIAGNOSTICS")]
    for line in page.splitlines():
        line = re.sub(r"^\.Dl ", "", line).replace(r"\(aq", "'").replace(r"\-", "-").replace(r"\e", "\\")
        if re.match(r"[#$] |    \S|command\[|nagios|\*/", line):
            yield re.sub(r"^[#$] ", "", line)


def guide():
    for line in (ROOT / "docs/shipping.md").read_text().splitlines():
        if re.match(r"    (?:[#$] )?(?:imlog|orvlog|journalctl|systemctl|TZ=|cp|install|promtool|lnav|curl)\b", line):
            yield re.sub(r"^    (?:[#$] )?", "", line)


def commands(lines):
    """Lines joined where the first one goes on."""
    command = ""
    for line in lines:
        command += line.strip() if command.endswith("| ") else line
        if not command.rstrip().endswith(("|", "\\")):
            yield command
            command = ""
        else:
            command = command.rstrip("\\").rstrip() + " "


def main():
    with tempfile.TemporaryDirectory(prefix="imlog-examples-") as name:
        folder = pathlib.Path(name)
        shutil.copytree(BUILD / "samples/server", folder / "server")
        subprocess.run(
            [ROOT / "scripts/make-fleet", "--servers", "12", "--zone", "Europe/Berlin", folder / "fleet"], check=True
        )
        for host in "r01u01", "r01u02":  # the broken ones
            (folder / f"fleet/{host}.iml").unlink()
        (folder / "bin").mkdir()
        (folder / "bin/mail").write_text('#!/bin/sh\necho "mail $* $(cat)"\n')
        (folder / "bin/mail").chmod(0o755)
        chosen = [
            command
            for command in commands([*manual(), *guide()])
            if not any(re.search(pattern, command) for pattern in ELSEWHERE)
        ]
        script = ["set -u", "mount -t tmpfs none /var/lib", "mkdir -p /var/lib/imlog"]
        for number, command in enumerate(chosen):
            script += [f"echo '@@{number}'", command.replace("/lib/systemd/systemd-journal-remote", "$JOURNAL_REMOTE")]
        remote = shutil.which("systemd-journal-remote", path="/lib/systemd:/usr/lib/systemd")
        if remote is None or shutil.which("jq") is None:
            sys.exit("jq or systemd-journal-remote not found (packages jq and systemd-journal-remote)")
        if subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            sys.exit("mount namespace not found (package util-linux, and the privilege for it)")
        run = subprocess.run(
            ["unshare", "--mount", "bash", "-c", "\n".join(script)],
            cwd=folder,
            capture_output=True,
            text=True,
            timeout=120,
            check=False,
            env={
                **os.environ,
                "ORVLOG_SIMULATOR": str(folder / "server"),
                "TZ": "Europe/Berlin",
                "JOURNAL_REMOTE": remote,
                "PATH": os.pathsep.join(
                    [str(folder / "bin"), str(BUILD / "imlog"), str(BUILD / "orvlog"), os.environ["PATH"]]
                ),
            },
        )
    outputs = dict(re.findall(r"@@(\d+)\n(.*?)(?=@@|\Z)", run.stdout, re.S))
    faults, used = [], set()
    for number, command in enumerate(chosen):
        output = " ".join(outputs.get(str(number), "not run").split())
        rows = [row for row in EXPECTED if re.match(row, command)]
        used |= set(rows)
        if not rows:
            faults.append(f"no expectation for: {command}")
        elif not re.search(EXPECTED[rows[0]], output):
            faults.append(f"{command}\n  printed {output[:300]!r}, not {EXPECTED[rows[0]]!r}")
    faults += [f"no command begins as {row!r}" for row in EXPECTED if row not in used]
    if "imlog: " in run.stderr or "not found" in run.stderr:
        faults.append(f"standard error: {run.stderr}")
    sys.exit("\n".join(faults) or 0)


main()
