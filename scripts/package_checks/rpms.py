"""The .rpm: what they need and offer, their descriptions and changelogs, and what their binaries need."""
import re

from package_checks.common import expect, run

LIBC = re.compile(r"lib(c|dl)\.so\.[0-9]+|ld-linux-x86-64\.so\.2")
NEWEST_GLIBC = (2, 28)  # that all supported servers have


def check(packages, work):
    for rpm in packages.rpms:
        name = rpm.name
        expect(not re.search(r"lib(kelmintrfc64|orvev64)", query(rpm, "--requires")),
               f"{name} needs a library of no package")
        description = run("rpm", "-qp", "--queryformat", "%{DESCRIPTION}\n[prefix %{PREFIXES}\n]", rpm)
        expect(not re.search(r"^(\.$|prefix)", description, re.M), f"{name}: description or relocation")
        newest = query(rpm, "--changelog").splitlines()[0]
        expect(newest.endswith(f" - {packages.version}-1"), f"{name}: its changelog begins with {newest!r}")

    release = re.escape(f"{packages.version}-1")
    for name in "orvlog", "imlog", "libimltext", "orvlog-simulator":
        expect_line(packages, name, "--requires", r"libc\.so\.6\(GLIBC_2\.[0-9]+\)\(64bit\)$")
    expect_line(packages, "orvlog-simulator", "--requires", r"python3 >= 3\.9$")
    expect_line(packages, "libimltext-devel", "--requires", rf"libimltext = {release}$")
    expect_line(packages, "libimltext", "--provides", r"libimltext\.so\.1\(")
    expect_line(packages, "libimltext", "--scripts", r"postinstall program: /sbin/ldconfig$")
    expect("libkelmintrfc64.so" not in query(packages.rpm("orvlog-simulator"), "--provides"),
           "the simulator offers itself in the place of the maker's libraries")

    root = work / "rpm"
    packages.unpack_rpms(root)
    binaries = [path for path in sorted((root / "usr").rglob("*")) if is_binary(path)]
    expect(len(binaries) >= 5, f"the packages have only {len(binaries)} binaries")
    for path in binaries:
        check_needs(path, path.relative_to(root))


def query(rpm, what):
    return run("rpm", "-qp", what, rpm)


def expect_line(packages, name, what, pattern):
    expect(re.search(f"^{pattern}", query(packages.rpm(name), what), re.M), f"rpm {what} of {name} lacks {pattern}")


def is_binary(path):
    if path.is_symlink() or not path.is_file() or path.suffix == ".debug":
        return False
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def check_needs(path, name):
    """A binary may need the C library, of a version that servers have, and orvlog the maker's libraries."""
    dynamic = run("readelf", "-W", "-d", path)
    others = [library for library in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic) if not LIBC.fullmatch(library)]
    versions = re.findall(r"GLIBC_([0-9.]+)", run("readelf", "-W", "--version-info", path))
    newest = max(tuple(map(int, version.split("."))) for version in versions)
    print(f"  {str(name):<48} GLIBC {'.'.join(map(str, newest)):<6} {' '.join(others)}")
    allowed = ["libkelmintrfc64.so.3", "liborvev64.so.1"] if name.match("usr/sbin/orvlog") else []
    expect(others == allowed, f"{name} needs other libraries: {others}")
    expect(newest <= NEWEST_GLIBC, f"{name} needs version {newest} of the C library")
