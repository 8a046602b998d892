#!/usr/bin/env python3
"""Checks the documents against the tree: documents_test.py lint|options|vocabulary|messages|map ROOT IMLOG"""
import json
import pathlib
import re
import subprocess
import sys

CHECK, ROOT, IMLOG = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]


def lint(root):
    """mandoc and groff have nothing to say. Which other manuals this machine has does not matter."""
    pages = [str(page) for page in root.glob("docs/*.8")]
    faults = []
    for command in (["mandoc", "-T", "lint", *pages], ["groff", "-mdoc", "-ww", "-z", *pages]):
        run = subprocess.run(command, capture_output=True, text=True, check=False)
        lines = (run.stdout + run.stderr).splitlines()
        faults += [line for line in lines if "referenced manual not found" not in line and "mandoc.db" not in line]
    return faults


# The files that list orvlog's options, each with a pattern whose group names one. The parser comes first.
OPTIONS = {
    "orvlog/main.cpp": r'(\w):?(?=[\w:]*"\)\) != -1)',
    "docs/orvlog.8": r"^\.It Fl (\w)",
    "orvlog/usage.cpp": r'"\\t-(\w) ',
    "completions/orvlog": r"(?<![\w-])-([A-Za-z])\b(?=[^\n]*# options)",
}


def options(root):
    """orvlog's manual, usage text and completion know the options that its parser takes."""
    found = {name: set(re.findall(pattern, (root / name).read_text(), re.MULTILINE))
             for name, pattern in OPTIONS.items()}
    parser, known = next(iter(found.items()))
    return [f"{name}: {sorted(names ^ known)} are not both there and in {parser}"
            for name, names in found.items() if names != known or not known]


def vocabulary(root):
    """imlog's manual has an entry for each option, format, severity and exit status that the program names."""
    def ask(*words):
        return subprocess.run([IMLOG, *words], capture_output=True, text=True, check=True).stdout

    page = (root / "docs/imlog.8").read_text().replace("\\-", "-")
    sections = dict(re.findall(r"^\.Sh (.+)\n((?:(?!\.Sh ).*\n)*)", page, re.MULTILINE))
    entries = dict(re.findall(r"^\.It Fl \w , Fl -([\w-]+).*\n((?:(?!\.It |\.El).*\n)*)", page, re.MULTILINE))
    usage = ask("--help")
    statuses = [text.partition("With") for text in (usage.partition("Status: ")[2], sections["EXIT STATUS"])]
    faults = []
    for kind, named, text, pattern in (
            ("option", re.findall(r"^  (?:-(\w), |    )--([\w-]+)", usage, re.MULTILINE),
             sections["OPTIONS"], r"^\.It Fl (?:(\w) , Fl )?-([\w-]+)"),
            ("format", ask("-o", "help").split(), sections["OUTPUT FORMATS"], r"^\.Ss (\w+)"),
            ("field of the journal", {name for path in root.glob("imlog/*.cpp")
                                      for name in re.findall(r'"([A-Z_]+)="', path.read_text())},
             sections["OUTPUT FORMATS"], r"\b(_+[A-Z_]+|[A-Z]+_[A-Z_]+|MESSAGE|PRIORITY)\b"),
            ("severity", ask("-p", "help").split(), entries["priority"], r"^\.Cm (\w+)"),
            *(("status" + of, re.findall(r"(\d) \w", statuses[0][part]), statuses[1][part], r"^\.It (\d)")
              for part, of in ((0, ""), (2, " of a check")))):
        found = re.findall(pattern, text, re.MULTILINE)
        faults += [f"docs/imlog.8: {kind} {word} is not there" for word in named if word not in found]
        faults += [f"docs/imlog.8: the program has no {kind} {word}" for word in found if word not in named]
        if not named:
            faults.append(f"imlog names no {kind}: is the pattern still right?")
    return faults


LITERAL = r'"(?:[^"\\]|\\.)*"'
# A call that writes to standard error, up to its end; usage texts are the options' check.
TO_STDERR = rf'\b(?:fprintf\(\s*stderr|Problem\(|print_err\(|perror\(|fputs\((?=[^;]*stderr))(?:{LITERAL}|[^";])*;'
# The look of a message, wherever it goes.
MESSAGE = r"(?:orvlog|imlog): |ERROR"


def messages_of(source):
    """The lines of the messages in a source, with printf's directives in place."""
    calls = [range(*call.span()) for call in re.finditer(TO_STDERR, source)]
    for group in re.finditer(rf"{LITERAL}(?:\s*{LITERAL})*", source):
        text = "".join(part[1:-1] for part in re.findall(LITERAL, group.group(0))).replace('\\"', '"')
        if any(group.start() in call for call in calls) or re.search(MESSAGE, text):
            yield from filter(None, (line.strip() for line in text.split("\\n")))


def messages(root):
    """Every message that the sources can write is in the manual of their program."""
    faults, count = [], 0
    for program, directories in {"orvlog": ("orvlog", "pci"), "imlog": ("imlog",)}.items():
        page = subprocess.run(["mandoc", "-T", "ascii", "-O", "width=1000", str(root / f"docs/{program}.8")],
                              capture_output=True, text=True, check=True).stdout
        page = " ".join(re.sub(".\b", "", page).split())
        for path in sorted(path for directory in directories for path in root.glob(f"{directory}/*.cpp")):
            for message in messages_of(path.read_text()) if path.name != "usage.cpp" else ():
                count += 1
                parts = [re.escape(" ".join(part.split())) for part in re.split(r" ?%z?\w ?", message)]
                # In the manual a directive is replaced by one word, or part of one; perror appends a reason.
                if not re.search(r" ?\S+? ?".join(parts), page):
                    faults.append(f"{path.relative_to(root)}: not in the manual: {message}")
    if count < 80:
        faults.append(f"only {count} messages found in the sources: is the pattern still right?")
    return faults


def map_of(root):
    """The pages name only what exists. The contributing guide names all presets and scripts, the map all files."""
    faults = [f"README.md:{number}: longer than 120 characters"
              for number, line in enumerate((root / "README.md").read_text().splitlines(), 1) if len(line) > 120]
    pages = [*root.glob("*.md"), *root.glob("docs/*.md")]
    directories = "|".join(sorted(path.name for path in root.iterdir() if path.is_dir() and path.name != "build"))
    for page in pages:
        text = page.read_text()
        links = [(page.parent, link) for link in re.findall(r"\]\((?!https?:|#)([^)#]+)\)", text)]
        paths = [(root, path) for path in re.findall(rf"`((?:{directories})/[\w./*-]*)", text)]
        for base, name in links + paths:
            if "XX" not in name and not any(base.glob(name)) and not (base / name).exists():
                faults.append(f"{page.relative_to(root)}: there is no {name}")

    presets = json.loads((root / "CMakePresets.json").read_text())["configurePresets"]
    named = {
        "CONTRIBUTING.md": [f"`{preset['name']}`" for preset in presets if not preset.get("hidden")]
                     + [f"`scripts/{path.name}`" for path in root.glob("scripts/*")
                        if path.name not in ("setup", "demo", "test")],
        "docs/architecture.md": [f"`{path.stem}" for directory, pattern in (
            ("cmake", "*.cmake"), ("orvlog", "*.cpp"), ("imlog", "*.cpp"), ("iml", "[!c]*.cpp"), ("pci", "*.cpp"),
            ("fuzz", "*.cpp"), ("platform", "*.h")) for path in root.glob(f"{directory}/{pattern}")],
    }
    for page, names in named.items():
        text = re.sub(r"`(?:platform|iml|pci|orvlog)/", "`", (root / page).read_text())
        faults += [f"{page} does not name {name.strip('`')}" for name in names if name not in text]
    return faults


checks = {"lint": lint, "options": options, "vocabulary": vocabulary, "messages": messages, "map": map_of}
sys.exit("\n".join(checks[CHECK](ROOT)) or 0)
