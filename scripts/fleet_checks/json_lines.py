"""The JSON of all logs, queried by Python, SQLite, jq and lnav."""
import json
import os
import sqlite3
import subprocess
import time

from fleet_checks.common import EXAMPLES, ZONES, Missing, imlog, tool

LEVELS = {"critical": "critical", "caution": "warning", "repaired": "notice", "information": "info"}


def ask(fleet, table, work):
    path = work / "fleet.json"
    with open(path, "wb") as file:
        for zone in ZONES:
            file.write(imlog("-o", "json", *fleet.files("whole", "cut", zone=zone), zone=zone, statuses=(0, 2)))
    rows = [json.loads(line) for line in path.read_text().splitlines()]
    keys = ("number", "severity", "class", "code", "count")
    got = {(row["host"], *(row[key] for key in keys), row["first_unix"], row["last_unix"]) for row in rows}
    want = {(host, *(entry[key] for key in keys), entry["first"], entry["last"]) for host, entry in fleet.entries()}
    table.row("imlog -o json: each entry's host, numbers, severity and times", got, want, path.stat().st_size)
    table.row("imlog -o json: lines", len(rows), len(want))

    since = time.time() - 2 * 86400
    want = sorted((host, entry["number"]) for host, entry in fleet.entries()
                  if entry["severity"] == "critical" and entry["last"] is not None and entry["last"] >= since)
    for name, query in (("Python", query_python), ("SQLite", query_sqlite), ("jq", query_jq), ("lnav", query_lnav)):
        question = "critical entries of two days, from the JSON by " + name
        table.start()
        try:
            table.row(question, query(rows, since, path), want)
        except Missing as missing:
            table.skip(question, missing)
    try:
        wanted = {(host, entry["number"], LEVELS[entry["severity"]])
                  for host, entry in fleet.entries() if entry["last"] is not None}
        found = set(run_lnav("select host, number, log_level from iml_log", path))
        table.row("severities as levels of lnav", found, wanted)
    except Missing as missing:
        table.skip("severities as levels of lnav", missing)


# Each returns host and number of the critical entries since an instant, sorted.


def query_python(rows, since, _path):
    return sorted((row["host"], row["number"]) for row in rows
                  if row["severity"] == "critical" and (row["last_unix"] or 0) >= since)


def query_sqlite(rows, since, _path):
    with sqlite3.connect(":memory:") as base:
        base.execute("create table iml (host, number, severity, last_unix)")
        base.executemany("insert into iml values (:host, :number, :severity, :last_unix)", rows)
        return base.execute("select host, number from iml where severity = 'critical' and last_unix >= ? order by 1, 2",
                            (since,)).fetchall()


def query_jq(_rows, since, path):
    wanted = f'select(.severity == "critical" and .last_unix >= {since}) | [.host, .number]'
    run = subprocess.run([tool("jq", "jq"), "-c", wanted, path], capture_output=True, check=True, timeout=120)
    return sorted(tuple(json.loads(line)) for line in run.stdout.splitlines())


def query_lnav(_rows, since, path):
    return run_lnav("select host, number from iml_log "
                    f"where log_level = 'critical' and last_unix >= {since} order by 1, 2", path)


def run_lnav(query, path):
    """The rows of a query in SQL over the lines that have a time; lnav reads no others."""
    lnav = tool("lnav", "lnav")
    home = {**os.environ, "HOME": str(path.parent), "TZ": "UTC"}
    subprocess.run([lnav, "-i", EXAMPLES / "lnav-iml.json"], env=home, capture_output=True, check=True, timeout=60)
    timed = path.with_name("timed.json")
    timed.write_text("".join(line + "\n" for line in path.read_text().splitlines() if json.loads(line)["last"]))
    run = subprocess.run([lnav, "-n", "-c", f";{query}", "-c", ":write-json-to -", timed], env=home,
                         capture_output=True, check=True, timeout=120)
    return [tuple(row.values()) for row in json.loads(run.stdout or b"[]")]
