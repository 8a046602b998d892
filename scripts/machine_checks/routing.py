"""orvlog -i with real physical memory, real I/O ports and the kernel's own slots."""
import pathlib
import re
import shutil

from machine_checks.common import BUILD, HERE, run, write_initrd

BIOS = pathlib.Path("/usr/share/seabios/bios-256k.bin")
MARK_AT = 0x40000 - 0x16  # of the maker's name, in a BIOS of 256 KiB
HEADER = "\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\tIRQBitMapIntA\tSlotNumber"
NO_TABLE = "orvlog: No PCI IRQ routing table is available."


def check(table, work):
    initrd = work / "initrd"
    make_root(work / "root")
    write_initrd(work / "root", initrd)
    # SeaBIOS as another maker's, and with our maker's mark.
    ours = bytearray(BIOS.read_bytes())
    ours[MARK_AT:MARK_AT + 6] = b"VELDRA"
    (work / "ours.bin").write_bytes(ours)
    tables = ["-bios", work / "ours.bin", "-option-rom", option_rom(work / "table")]
    reset = ["-bios", work / "ours.bin", "-option-rom", option_rom(work / "reset", "--defsym", "ASK_FOR_RESET=1")]

    # The bitmaps are the host bridge's vendor, its device and what the ROM wrote to its command register; the last link
    # is its class. The last row is the device on the other bus, which the kernel knows and the ROM does not.
    rows = [row(0, 1, 0x60, 0x8086, 0), row(0, 2, 0x61, 0x1237, 1), row(0, 3, 6, 0x406, 2), row(1, 0x1d, 6, 0x406, 2)]
    table.boot("The table from the ROM", initrd, report(*rows), "acpi=off", *tables,
               "-device", "pci-bridge,id=bridge,chassis_nr=1,addr=3", "-device", "virtio-rng-pci,bus=bridge,addr=0x1d")
    table.boot("Another maker's ROM", initrd, report("Not a Orv Stratum Server!", NO_TABLE), "acpi=off",
               "-bios", BIOS, *tables[2:])
    table.boot("A ROM that asks for the reset port", initrd, report(
        "orvlog: The system ROM asked for I/O port 0xCF9, which is not allowed.", NO_TABLE), "acpi=off", *reset)
    table.boot("A locked-down kernel", initrd, report("opening /dev/mem: Operation not permitted", NO_TABLE),
               "acpi=off lockdown=confidentiality", *tables)
    # Each place of the bus that is free can take a card, and is a slot of its own number. Names are in the order of
    # texts.
    slots = sorted(range(2, 32), key=str)
    table.boot("The slots that ACPI gives", initrd, report(*(row(0, slot, 0, 0, slot) for slot in slots)), "", *tables)


def report(*lines):
    return [*HEADER.splitlines(), *lines, "", "status 0"]


def row(bus, device, link, bitmap, slot):
    return f"{bus:2x}\t\t{device:2x}\t\t 0\t\t{link:2x}\t\t{bitmap:4x}\t\t{slot:2}"


def option_rom(path, *options):
    """Assembles our option ROM. Its bytes have to sum to 0, which its last byte is for."""
    run("as", "--32", "--fatal-warnings", *options, "-o", f"{path}.o", HERE / "option_rom.s")
    run("ld", "-m", "elf_i386", "-Ttext=0xC0000", "-e", "0", "--oformat=binary", "-o", path, f"{path}.o")
    rom = bytearray(path.read_bytes())
    rom[-1] = -sum(rom[:-1]) & 0xFF
    path.write_bytes(rom)
    return path


def make_root(root):
    """The initial file system: the program with what it needs, and an init that runs it."""
    for directory in "bin", "dev", "proc", "sys", "lib64":
        (root / directory).mkdir(parents=True)
    orvlog = BUILD / "orvlog/orvlog"
    libraries = [path for path in re.findall(r"=> (/lib\S+)", run("ldd", orvlog))]
    for file in (shutil.which("busybox"), orvlog, *BUILD.glob("simulator/lib*.so.*"), *libraries):
        shutil.copy(file, root / "bin")
    shutil.copy("/lib64/ld-linux-x86-64.so.2", root / "lib64")
    shutil.copytree(BUILD / "samples/server", root / "server")
    (root / "server/proc/pci").unlink()  # the first source of the table; the scenarios are about the others
    shutil.copy(HERE / "init", root / "init")
