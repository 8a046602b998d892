"""A machine of QEMU, and what its file systems are made from. All that stays is in build/machine."""
import difflib
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
HERE = pathlib.Path(__file__).resolve().parent
KEPT = ROOT / "build/machine"
TIMEOUT = 1800  # seconds, of which an idle machine needs a tenth
BUILD, KERNEL, DEBIAN = KEPT / "build", KEPT / "vmlinuz", KEPT / "debian"


def run(*command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **more).stdout


def prepare():
    """Downloads a kernel and a bare Debian with systemd, once, and builds the programs."""
    KEPT.mkdir(parents=True, exist_ok=True)
    if not KERNEL.exists():
        unpack_kernel()
    if not DEBIAN.exists():
        make_debian()
    run("cmake", "--preset", "release", "-DBUILD_TESTING=OFF", "-B", BUILD, cwd=ROOT)
    run("cmake", "--build", BUILD)


def unpack_kernel():
    """The kernel is unpacked and not installed: installing it would change how this machine boots."""
    depends = run("apt-cache", "depends", "linux-image-cloud-amd64")
    package = re.search(r"^ *Depends: (\S+)", depends, re.M)[1] + "-unsigned"
    print(f"Downloading {package}", flush=True)
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        run("apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", package, cwd=work)
        run("dpkg-deb", "-x", next(work.glob("*.deb")), work)
        shutil.copy(next(work.glob("boot/vmlinuz-*")), KERNEL.with_suffix(".part"))
    KERNEL.with_suffix(".part").rename(KERNEL)


def make_debian():
    print("Making a bare Debian with systemd", flush=True)
    targets = run("apt-get", "indextargets", "--format", "$(CODENAME) $(REPO_URI)")
    mirror = re.search(r"^bookworm (\S+)", targets, re.M)[1]
    part = DEBIAN.with_suffix(".part")
    shutil.rmtree(part, ignore_errors=True)
    run("debootstrap", "--variant=minbase", "--include=systemd", "bookworm", part, mirror)
    part.rename(DEBIAN)


def write_initrd(root, path):
    """Packs a directory as the file system that a kernel boots with."""
    names = "\n".join(str(name.relative_to(root)) for name in [root, *sorted(root.rglob("*"))])
    with open(path, "wb") as output:
        subprocess.run(["busybox", "cpio", "-o", "-H", "newc"], input=names.encode(), stdout=output,
                       stderr=subprocess.DEVNULL, cwd=root, check=True)


class Table:
    """Boots machines and compares what they report."""

    def __init__(self):
        self.failures = 0

    def boot(self, scenario, initrd, want, parameters="", *options):
        """Boots initrd with parameters of the kernel and options of QEMU. It has to report these lines."""
        start = time.monotonic()
        print(f"\n== {scenario}", flush=True)
        with tempfile.TemporaryDirectory() as name:
            console, report = pathlib.Path(name) / "console", pathlib.Path(name) / "report"
            machine = ["qemu-system-x86_64", "-accel", "tcg", "-m", "2048", "-nodefaults", "-no-user-config",
                       "-no-reboot", "-display", "none", "-vga", "none", "-kernel", KERNEL, "-initrd", initrd,
                       "-append", f"console=ttyS0 quiet panic=-1 {parameters}",
                       "-serial", f"file:{console}", "-serial", f"file:{report}", *options]
            status = subprocess.run(["timeout", str(TIMEOUT), *machine], stdin=subprocess.DEVNULL,
                                    check=False).returncode
            got = report.read_text(errors="replace").splitlines()
            print("\n".join(got))
            print(f"({time.monotonic() - start:.0f} s)", flush=True)
            if status != 0 or got != want:
                self.failures += 1
                print(f"FAILED: {scenario} (status of QEMU: {status})")
                print("\n".join(difflib.unified_diff(want, got, "expected", "printed", lineterm="")))
                last = console.read_text(errors="replace").splitlines()[-20:]
                print("The console's last lines:", *last, sep="\n", flush=True)
