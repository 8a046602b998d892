"""The shipped check in Icinga 2, over the saved logs of three servers in place of their own logs."""
import re
import subprocess
import time

from fleet_checks.common import EXAMPLES, IMLOG, service, tool, wait_for

FRAME = """object CheckerComponent "checker" { }
object CheckCommand "alive" { command = [ "/bin/true" ] }
object Endpoint NodeName { }
object Zone "local" { endpoints = [ NodeName ] }
object Host "without-agent" { check_command = "alive"; vars.iml = true; vars.file = "/none" }
"""
# The words that send a check to an agent. There are none here: after the whole is found valid, Icinga itself runs the
# checks.
DISTRIBUTION = ("command_endpoint = host.vars.agent_endpoint", 'zone = "local"; ')


def ask(fleet, table, work):
    icinga, directory = tool("icinga2", "icinga2-bin"), work / "icinga"
    directory.mkdir()
    want = {next(host for host in fleet.hosts("whole") if status_of(fleet, host) == status): status
            for status in (0, 2)}
    want[fleet.hosts("cut")[0]] = 2 if status_of(fleet, fleet.hosts("cut")[0]) == 2 else 3
    paths = {str(fleet.path(host)) for host in want}

    plugin, ran = directory / "plugin", directory / "ran"
    plugin.write_text(f'#!/bin/sh\n"{IMLOG}" "$@"\nstatus=$?\necho "$4" >>{ran}\nexit $status\n')
    plugin.chmod(0o755)
    shipped = (EXAMPLES / "icinga2-iml.conf").read_text().replace(
        '"/usr/bin/sudo", "-n", "/usr/bin/imlog", "-o", "check", "-u"', f'"{plugin}", "-o", "check", "-u", "$file$"', 1)
    hosts = (f'object Host "{host}" {{ check_command = "alive"; zone = "local"; vars.iml = true; '
             f'vars.agent_endpoint = NodeName; vars.file = "{fleet.path(host)}" }}' for host in want)
    configuration = "\n".join([FRAME, shipped.replace("= 5m", "= 2s", 1), *hosts])
    (directory / "icinga2.conf").write_text(configuration)
    command = [icinga, "daemon", "-c", directory / "icinga2.conf", "-DRunAsUser=root", "-DRunAsGroup=root",
               *(f"-D{name}={directory}" for name in ("DataDir", "LogDir", "CacheDir", "SpoolDir", "InitRunDir"))]
    table.start()
    subprocess.run([*command, "-C"], check=True, stdout=subprocess.DEVNULL, timeout=60)
    for words in DISTRIBUTION:
        configuration = configuration.replace(words, "")
    (directory / "icinga2.conf").write_text(configuration)
    with service(command, directory / "log"):
        wait_for(lambda: ran.exists() and set(ran.read_text().split()) == paths, 90, "Icinga")
        time.sleep(1)
    # The state that it saves when it ends: netstrings of JSON.
    state = (directory / "icinga2.state").read_bytes()
    found = {match[1].decode(): int(match[2])
             for match in re.finditer(rb'"name":"([^"!]*)!iml".{0,20000}?"exit_status":(\d+)', state, re.S)}
    table.row("Icinga: the check on three servers", found, want, len(state))
    table.costs.add("icinga2", len(want), 0, len(state))


def status_of(fleet, host):
    """The status that the check of a server has to end with."""
    severities = {entry["severity"] for entry in fleet.truth[host]["entries"] if entry["unserviced"]}
    return 2 if "critical" in severities else 1 if "caution" in severities else 0
