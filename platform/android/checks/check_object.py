"""Checks one property of libskylevel.so for Android: check_object.py PROPERTY OBJECT [OPTION...]

Prints what it saw and ends with 0, or with 1 and a line that starts with "refused:". The properties are
the functions below; their first lines say what each demands.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile

PAGE = 16384
ANDROID_API = 23


class Refused(Exception):
    pass


def demand(condition, reason):
    if not condition:
        raise Refused(reason)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Object:
    def __init__(self, options):
        self.path = options.object
        self.options = options

    def readelf(self, *flags):
        return run(self.options.readelf, "-W", *flags, self.path)

    def segments(self, kind):
        """(offset, address, memory size, flags, alignment) of every segment of a kind."""
        rows = re.findall(
            rf"^ +{kind} +(0x\w+) +(0x\w+) +0x\w+ +0x\w+ +(0x\w+) ([R ][W ][E ]) +(\w+)$",
            self.readelf("--program-headers"), re.MULTILINE)
        return [(int(offset, 16), int(address, 16), int(size, 16), flags, int(alignment, 0))
                for offset, address, size, flags, alignment in rows]

    def dynamic(self, tag):
        return re.findall(rf"\({tag}\) +(.*)$", self.readelf("--dynamic"), re.MULTILINE)

    def names(self, tag):
        return re.findall(r"\[(.*)\]", "\n".join(self.dynamic(tag)))

    def symbols(self):
        """(defined, name) of every dynamic symbol."""
        rows = re.findall(r"^ +[1-9]\d*: \w+ +\w+ \w+ +\w+ +\w+ +(\w+) (\w+)", self.readelf("--dyn-syms"), re.MULTILINE)
        return [(section != "UND", name) for section, name in rows]


def machine(subject):
    """A shared object for AArch64."""
    header = subject.readelf("--file-header")
    demand(re.search(r"Machine: +AArch64", header), "not for AArch64")
    demand(re.search(r"Type: +DYN", header), "not a shared object")
    return "AArch64 shared object"


def soname(subject):
    """The plain name, without a version, and no search path."""
    names = subject.names("SONAME")
    demand(names == ["libskylevel.so"], f"its name is {names}")
    for path in ("RPATH", "RUNPATH"):
        demand(not subject.dynamic(path), f"it has a search path of its own, {path}")
    return names[0]


def pages(subject):
    """Each segment can be mapped with pages of 16 KB, and none shares a page with another."""
    end = 0
    segments = subject.segments("LOAD")
    demand(segments, "no segments")
    for offset, address, size, _, alignment in segments:
        where = f"the segment at {address:#x}"
        demand(alignment >= PAGE and alignment % PAGE == 0, f"{where} states an alignment of {alignment}")
        demand((address - offset) % PAGE == 0, f"{where} is not aligned as it states")
        demand(address // PAGE * PAGE >= end, f"{where} shares a page with the one before it")
        end = -(-(address + size) // PAGE) * PAGE
    return f"{len(segments)} segments on pages of {PAGE}"


def relocations(subject):
    """Code needs no relocation."""
    demand(subject.dynamic("STRTAB"), "no dynamic section")
    demand(not subject.dynamic("TEXTREL") and not re.search("TEXTREL", " ".join(subject.dynamic("FLAGS"))),
           "its code has to be relocated")
    return "no text relocations"


def permissions(subject):
    """No memory is both writable and executable, the stack not executable."""
    segments = subject.segments("LOAD")
    demand(segments, "no segments")
    for _, address, _, flags, _ in segments:
        demand(not ("W" in flags and "E" in flags), f"the segment at {address:#x} is writable and executable")
    stack = subject.segments("GNU_STACK")
    demand(stack and all("E" not in flags for _, _, _, flags, _ in stack), "the stack is executable")
    return "no segment writable and executable"


def listed(script):
    """The names that a version script makes global."""
    with open(script, encoding="ascii") as file:
        return set(re.findall(r"^ +(\w+);$", file.read(), re.MULTILINE))


def needed(subject):
    """Nothing but system libraries is needed, and of them nothing but what is listed, if there are lists."""
    libraries = subject.names("NEEDED")
    demand(libraries, "it names no library")
    strangers = set(libraries) - {"libc.so", "libm.so", "liblog.so", "libstdc++.so"}
    demand(not strangers, f"it needs {sorted(strangers)}")
    imports = [name for defined, name in subject.symbols() if not defined]
    demand(imports, "it imports nothing")
    if subject.options.imports:
        # The linker lets a weak name through that no library has.
        unlisted = set(imports).difference(*map(listed, subject.options.imports))
        demand(not unlisted, f"it imports {sorted(unlisted)}")
    return " ".join(libraries) + "; imports " + " ".join(imports)


def ident(subject):
    """The note names the API level."""
    note = re.search(r"^ +Android .*\s+description data: ((?:\w\w ?){4})", subject.readelf("--notes"), re.MULTILINE)
    demand(note, "no Android note")
    level = int.from_bytes(bytes.fromhex(note[1]), "little")
    demand(level == ANDROID_API, f"built for API level {level}")
    return f"API level {level}"


def exports(subject):
    """The list of exports and nothing else."""
    wanted = listed(subject.options.exports)
    found = {name for defined, name in subject.symbols() if defined}
    demand(wanted and found == wanted, f"missing {sorted(wanted - found)}, too many {sorted(found - wanted)}")
    return f"{len(found)} names"


def fused(subject):
    """No fused multiply-add anywhere."""
    code = run(subject.options.objdump, "--disassemble", "--no-show-raw-insn", subject.path)
    instructions = re.findall(r"^ +\w+:\s+([a-z]\w+)", code, re.MULTILINE)
    demand(len(instructions) > 1000, "no code to look at")
    found = {name for name in instructions if re.fullmatch(r"fn?m(add|sub)|fml[as]l?2?|fcmla|bfml\w+", name)}
    demand(not found, f"it has {sorted(found)}")
    return f"none in {len(instructions)} instructions"


def size(subject):
    """Stripped, it stays below a bar."""
    with tempfile.TemporaryDirectory() as folder:
        stripped = os.path.join(folder, "stripped.so")
        run(subject.options.strip, "-o", stripped, subject.path)
        count = os.path.getsize(stripped)
    demand(count <= subject.options.most, f"{count} bytes, more than {subject.options.most}")
    return f"{count} bytes stripped, at most {subject.options.most}"


PROPERTIES = {function.__name__: function for function in
              (machine, soname, pages, relocations, permissions, needed, ident, exports, fused, size)}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("property", choices=PROPERTIES)
    parser.add_argument("object")
    parser.add_argument("--exports", help="version script with the exported names")
    parser.add_argument("--imports", nargs="+", help="version scripts with the names that may be imported")
    parser.add_argument("--most", type=int, help="bytes that the stripped object may have")
    for tool in ("readelf", "objdump", "strip"):
        parser.add_argument(f"--{tool}", default=tool)
    options = parser.parse_args()
    try:
        print(f"{options.property}: {PROPERTIES[options.property](Object(options))}")
    except Refused as reason:
        sys.exit(f"refused: {reason}")


if __name__ == "__main__":
    main()
