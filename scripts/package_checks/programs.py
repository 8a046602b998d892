"""The programs on the simulated server, as they are installed: from the .deb (see debs.py) and from the .rpm."""
from package_checks.common import SERVER, debian, expect, in_root, report_in


def check(packages, work, suite):
    root = debian(suite, work / "programs")
    packages.unpack_rpms(root)
    ask(root, "/usr/lib64/orvlog-simulator")


def ask(root, libraries):
    """Runs the programs in a system on the simulated server, whose libraries are in a directory of their own."""
    live = {"LD_LIBRARY_PATH": libraries, "ORVLOG_SIMULATOR": SERVER}
    entries = sum(line.startswith("LOG: ") for line in in_root(root, "orvlog", "-v", **live).splitlines())
    print(f"orvlog -v: {entries} entries")
    expect(entries > 50, "entries are missing")
    expect(len(in_root(root, "imlog", f"{SERVER}/cevt").splitlines()) == entries,
           "imlog FILE lists another number of entries")
    expect(len(in_root(root, "imlog", "-o", "json", **live).splitlines()) == entries,
           "imlog lists another number of entries")

    message, status = report_in(root, "orvlog", "-v", ORVLOG_SIMULATOR=SERVER)
    print(f"{message.strip()} (status {status})")
    expect(status == 127 and "libkelmintrfc64.so.3: cannot open shared object file" in message,
           "orvlog found libraries that it should not")
