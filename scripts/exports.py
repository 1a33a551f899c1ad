#!/usr/bin/env python3
"""The public header is the one list of exports.

Every line of include/vekj.h that starts with `VEKAPI` declares an export.
From those declarations this script writes, into a build folder:
  vekj_impl.h        the private implementation prototypes (namespace vek::impl)
  export_table.cc    the constant table, one slot per image function, sorted
                     byte-wise by export name, plus the names for the tests
  exports.cc         the exported forwarders, each calling through its slot
  vekj.map           the linker version script: the exports and nothing else
  exports.txt        the sorted list of every exported symbol

`exports.py check-so LIB HEADER` compares the dynamic symbols that LIB defines
with the header's list and fails on any difference.
"""
import re
import subprocess
import sys
from pathlib import Path

DECL = re.compile(r"^VEKAPI\s+(?P<ret>[^;(]*?)\s*\b(?P<name>vek\w+)\s*\((?P<params>[^;]*)\)\s*;",
                  re.M | re.S)


def parse_header(path):
    text = re.sub(r"/\*.*?\*/", "", Path(path).read_text(), flags=re.S)
    exports = []
    for m in DECL.finditer(text):
        params = " ".join(m.group("params").split())
        exports.append((m.group("name"), " ".join(m.group("ret").split()), params))
    names = [e[0] for e in exports]
    dups = {n for n in names if names.count(n) > 1}
    if dups:
        sys.exit(f"exports.py: declared twice: {sorted(dups)}")
    return exports


def arg_names(params):
    if params in ("", "void"):
        return []
    names = []
    for p in params.split(","):
        m = re.search(r"(\w+)\s*(\[[^\]]*\]\s*)*$", p.strip())
        if not m:
            sys.exit(f"exports.py: cannot find the parameter name in '{p}'")
        names.append(m.group(1))
    return names


def table_functions(exports):
    """Image functions go through the table, in byte-wise order of name."""
    fns = [e for e in exports if e[0].startswith("veki")]
    return sorted(fns, key=lambda e: e[0].encode())


def generate(header, out):
    out = Path(out)
    out.mkdir(parents=True, exist_ok=True)
    exports = parse_header(header)
    fns = table_functions(exports)

    impl = ["// Generated from vekj.h by scripts/exports.py. Do not edit.",
            "#pragma once", '#include "vekj.h"', "namespace vek::impl {"]
    impl += [f"{ret} {name}({params});" for name, ret, params in fns]
    impl += ["}  // namespace vek::impl", ""]

    table = ["// Generated from vekj.h by scripts/exports.py. Do not edit.",
             '#include "core/export_table.h"', '#include "vekj_impl.h"', "namespace vek {",
             f"const ExportSlot kExportTable[kExportCount] = {{"]
    table += [f"    reinterpret_cast<ExportSlot>(&impl::{name})," for name, _, _ in fns]
    table += ["};", "const char* const kExportNames[kExportCount] = {"]
    table += [f'    "{name}",' for name, _, _ in fns]
    table += ["};", "}  // namespace vek", ""]

    fwd = ["// Generated from vekj.h by scripts/exports.py. Do not edit.",
           "// Each export forwards its arguments untouched through its slot of the table,",
           "// which lives in another translation unit so that the jump stays indirect.",
           '#include "core/export_table.h"', '#include "vekj_impl.h"']
    for slot, (name, ret, params) in enumerate(fns):
        args = ", ".join(arg_names(params))
        fwd.append(f'extern "C" {ret} {name}({params}) {{')
        fwd.append(f"  return reinterpret_cast<decltype(&vek::impl::{name})>("
                   f"vek::kExportTable[{slot}])({args});")
        fwd.append("}")
    fwd.append("")

    header_count = ["// Generated from vekj.h by scripts/exports.py. Do not edit.", "#pragma once",
                    f"#define VEK_EXPORT_COUNT {len(fns)}", ""]
    all_names = sorted((e[0] for e in exports), key=str.encode)
    version_script = ["{", "  global:"] + [f"    {n};" for n in all_names] + ["  local:", "    *;", "};", ""]

    files = {
        "vekj_impl.h": impl, "export_table.cc": table, "exports.cc": fwd,
        "export_count.h": header_count, "vekj.map": version_script, "exports.txt": all_names + [""],
    }
    for fname, lines in files.items():
        text = "\n".join(lines)
        path = out / fname
        if not path.exists() or path.read_text() != text:  # keep timestamps for unchanged files
            path.write_text(text)


def check_so(lib, header):
    expected = {e[0] for e in parse_header(header)}
    nm = subprocess.run(["nm", "-D", "--defined-only", lib], capture_output=True, text=True, check=True)
    found = {line.split()[-1].split("@")[0] for line in nm.stdout.splitlines() if line.strip()}
    missing, extra = sorted(expected - found), sorted(found - expected)
    for n in missing:
        print(f"missing from {lib}: {n}")
    for n in extra:
        print(f"exported but not in the header: {n}")
    if missing or extra:
        sys.exit(1)
    print(f"{len(found)} exported symbols match the header")


if __name__ == "__main__":
    if len(sys.argv) == 4 and sys.argv[1] == "generate":
        generate(sys.argv[2], sys.argv[3])
    elif len(sys.argv) == 4 and sys.argv[1] == "check-so":
        check_so(sys.argv[2], sys.argv[3])
    else:
        sys.exit("usage: exports.py generate HEADER OUTDIR | check-so LIB HEADER")
