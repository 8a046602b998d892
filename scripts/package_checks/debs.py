"""The .deb: installed, kept by an upgrade of the distribution, used and purged without a trace."""
import gzip
import re

from package_checks import programs
from package_checks.common import LIBRARIES, debian, expect, files, in_root, install_debs, run


def check(packages, work, suite):
    root = debian(suite, work / "debs")
    before = files(root)
    install_debs(root, packages.debs)
    names = [run("dpkg-deb", "-f", deb, "Package").strip() for deb in packages.debs]
    print(in_root(root, "dpkg-query", "-W", "-f", "${Package} ${Version} ${db:Status-Status} depends: ${Depends}\\n",
                  *names), end="")

    # A package of the distribution must not take the place of one of ours.
    in_root(root, "apt-get", "-qq", "update")
    simulation = in_root(root, "apt-get", "-s", "dist-upgrade")
    print(f"apt-get -s dist-upgrade: {simulation.splitlines()[-1]}")
    ours = re.search(rf"^(Inst|Remv|Conf) ({'|'.join(names)})( .*)?$", simulation, re.M)
    expect(not ours, f"dist-upgrade changes our packages: {ours and ours[0]}")

    expect("libimltext.so.1" in in_root(root, "ldconfig", "-p"), "the loader does not find libimltext.so.1")
    programs.ask(root, LIBRARIES)
    for page in "orvlog", "imlog":
        text = gzip.decompress((root / f"usr/share/man/man8/{page}.8.gz").read_bytes()).decode()
        expect(re.search(rf"^\.Dt {page} 8", text, re.M | re.I), f"no manual page of {page}")
        in_root(root, "bash", "-n", f"/usr/share/bash-completion/completions/{page}")

    in_root(root, "dpkg", "--purge", *names)
    left = before ^ files(root)
    expect(not left, f"purging leaves other files: {sorted(left)}")
