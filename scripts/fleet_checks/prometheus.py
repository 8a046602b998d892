"""The shipped alerts in Prometheus and Alertmanager: raised, ended by a note, raised again, held without metrics."""
import contextlib
import http.client
import http.server
import json
import os
import re
import shutil
import subprocess
import sys
import threading
import time
import zoneinfo

from fleet_checks.common import (BUILD, EXAMPLES, ORVLOG, ROOT, free_port, imlog, is_listening, service, tool, wait_for)

sys.path.insert(0, str(ROOT / "simulator"))
import fleet as made_fleet  # noqa: E402

TEXTFILE = "/var/lib/prometheus/node-exporter/iml.prom"


def ask(fleet, table, work):
    prometheus, manager = tool("prometheus", "prometheus"), tool("prometheus-alertmanager", "prometheus-alertmanager")
    exporters = Exporters(fleet)
    port, manager_port = free_port(), free_port()
    write_configurations(fleet, exporters.port, port, manager_port, work)

    def compare(question):
        want, found = set(exporters.alerts()), set()

        def is_right():
            found.clear()
            found.update(alerts_of(manager_port))
            return found == want

        table.start()
        with contextlib.suppress(TimeoutError):
            wait_for(is_right, 180, question)
        table.row(question, found, want, sum(map(len, exporters.pages.values())))

    alertmanager = service([manager, f"--config.file={work}/alertmanager.yml", f"--storage.path={work}/alerts",
                            f"--web.listen-address=127.0.0.1:{manager_port}", "--cluster.listen-address="],
                           work / "alertmanager.log")
    server = service([prometheus, f"--config.file={work}/prometheus.yml", f"--storage.tsdb.path={work}/series",
                      f"--web.listen-address=127.0.0.1:{port}"], work / "prometheus.log")
    with contextlib.closing(exporters), alertmanager:
        wait_for(lambda: is_listening(manager_port), 30, "Alertmanager")
        with server:
            compare("alerts of Prometheus in Alertmanager")
            host = next(host for name, host in exporters.alerts() if name == "IMLCritical"
                        and fleet.truth[host]["state"] == "whole" and host != exporters.old)
            write_note(fleet, host, work)
            exporters.refresh(host)
            compare(f"after a note has closed those of {host}")
            repeat_critical(fleet, host)
            exporters.refresh(host)
            compare(f"after a critical entry of {host} was repeated")
            exporters.unread = host
            compare(f"after the log of {host} has become unreadable")
    for program in "prometheus", "prometheus-alertmanager":
        table.costs.add(program, len(fleet.truth), 0, sum(map(len, exporters.pages.values())))


class Exporters:
    """One web server that answers as the node_exporters of all servers would."""

    def __init__(self, fleet):
        self.pages, self.fleet = {}, fleet
        self.old, self.slow = fleet.hosts("whole")[5:7]  # one's timer has stopped, the other's clock is two hours slow
        self.unread = None
        for host in fleet.truth:
            self.refresh(host)
        exporters = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                body = exporters.page(self.path.strip("/"))
                self.send_response(200)
                self.send_header("Content-Type", "text/plain; version=0.0.4")
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                with contextlib.suppress(BrokenPipeError, ConnectionResetError):  # Prometheus may give up
                    self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.port = self.server.server_port
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def refresh(self, host):
        server, page = self.fleet.truth[host], b""
        if server["state"] != "silent":
            page = imlog("-o", "prometheus", str(self.fleet.path(host)), zone=server["zone"], statuses=(0, 2))
        self.pages[host] = page

    def page(self, host):
        text = self.pages[host] if host != self.unread else b"iml_read_success 0\n"
        now = time.time() - (7200 if host == self.slow else 0)
        if text:
            written = now - (3600 if host == self.old else 0)
            text += f'node_textfile_mtime_seconds{{file="{TEXTFILE}"}} {written}\n'.encode()
        return text + f"node_textfile_scrape_error 0\nnode_time_seconds {now}\n".encode()

    def close(self):
        self.server.shutdown()
        self.server.server_close()

    def alerts(self):
        """The alerts that the rules have to raise."""
        for host, server in self.fleet.truth.items():
            is_readable = server["state"] in ("whole", "cut")
            for severities, name in (("critical",), "IMLCritical"), (("caution", "unknown"), "IMLCaution"):
                if is_readable and any(entry["unserviced"] and entry["severity"] in severities
                                       for entry in server["entries"]):
                    yield name, host
            if server["state"] in ("cut", "compressed") or host == self.unread:
                yield "IMLNotRead", host
            if server["state"] == "silent" or host == self.old:
                yield "IMLMissing", host


def write_configurations(fleet, exporters_port, port, manager_port, work):
    rules = (EXAMPLES / "iml.rules.yml").read_text()
    (work / "iml.rules.yml").write_text(re.sub(r"for: 15m", "for: 3s", rules))  # in place of fifteen minutes
    (work / "targets.json").write_text(json.dumps([
        {"targets": [f"127.0.0.1:{exporters_port}"], "labels": {"instance": host, "__metrics_path__": f"/{host}"}}
        for host in fleet.truth]))
    (work / "prometheus.yml").write_text(json.dumps({
        # A busy machine needs seconds for the pages of all servers.
        "global": {"scrape_interval": "10s", "scrape_timeout": "10s", "evaluation_interval": "1s"},
        "rule_files": [f"{work}/iml.rules.yml"],
        "alerting": {"alertmanagers": [{"static_configs": [{"targets": [f"127.0.0.1:{manager_port}"]}]}]},
        "scrape_configs": [
            {"job_name": "prometheus", "static_configs": [{"targets": [f"127.0.0.1:{port}"]}]},
            {"job_name": "node", "file_sd_configs": [{"files": [f"{work}/targets.json"]}]}]}))
    (work / "alertmanager.yml").write_text(json.dumps({
        "route": {"receiver": "nobody"}, "receivers": [{"name": "nobody"}]}))


def alerts_of(port):
    with contextlib.closing(http.client.HTTPConnection("127.0.0.1", port, timeout=20)) as connection:
        connection.request("GET", "/api/v2/alerts")
        return {(alert["labels"]["alertname"], alert["labels"]["instance"])
                for alert in json.loads(connection.getresponse().read())}


def write_note(fleet, host, work):
    """orvlog closes the alarms of a server, served by the simulator."""
    server, zone = work / "server", fleet.truth[host]["zone"]
    shutil.copytree(BUILD / "samples/server", server)
    shutil.copy(fleet.path(host), server / "cevt")
    subprocess.run([ORVLOG, "-s", "REPAIRED", "-l", "PSU 2 replaced"], check=True, stdout=subprocess.DEVNULL,
                   timeout=30, env={**os.environ, "TZ": zone, "ORVLOG_SIMULATOR": str(server)})
    shutil.copy(server / "cevt", fleet.path(host))
    for entry in fleet.truth[host]["entries"]:
        entry["unserviced"] = False


def repeat_critical(fleet, host):
    """The last critical entry occurs once more, two minutes after the note."""
    entry = [entry for entry in fleet.truth[host]["entries"] if entry["severity"] == "critical" and entry["first"]][-1]
    _, stamp = made_fleet.stamp(int(time.time()) + 120, zoneinfo.ZoneInfo(fleet.truth[host]["zone"]))
    log = bytearray(fleet.path(host).read_bytes())
    at = entry["number"] * made_fleet.imltext.RECORD_SIZE
    log[at + 18:at + 24] = stamp
    fleet.path(host).write_bytes(log)
    entry["unserviced"] = True
