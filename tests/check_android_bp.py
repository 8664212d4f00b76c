#!/usr/bin/env python3
"""Checks that Android.bp builds liborvix_lut2d as the CMake build does for one processor.

Compares, for the architecture of a CMake configuration: the library's sources; the flags of
the sources that CMake builds with options of their own (and that no other source gets extra
flags); the compile definitions; the version script; and the version header, by running the
genrule's command the way the platform's build system would and comparing its output with the
header CMake configured.

Usage: check_android_bp.py ANDROID_BP CMAKE_LIBRARY_JSON
"""

import json
import os
import re
import subprocess
import sys
import tempfile

ARCH = {"aarch64": "arm64", "arm64": "arm64", "x86_64": "x86_64", "AMD64": "x86_64"}
TOKEN = re.compile(
    r'\s+|//[^\n]*|/\*.*?\*/|(?P<str>"(?:[^"\\]|\\.)*")|(?P<int>-?\d+)'
    r"|(?P<id>[A-Za-z_]\w*)(?=\s*(?P<next>[:{]?))|(?P<punct>[{}\[\],:+])",
    re.S,
)


def parse(text):
    """Blueprint's modules as (kind, properties) pairs: properties are strings, integers,
    booleans, lists and maps, joined with +. The text is rewritten token by token as a Python
    expression of literals, which is then evaluated without any names."""
    out, depth, pos = [], 0, 0
    while pos < len(text):
        m = TOKEN.match(text, pos)
        if not m:
            raise SyntaxError(f"unexpected text at offset {pos}: {text[pos:pos + 20]!r}")
        pos, word, punct = m.end(), m.group("id"), m.group("punct")
        if m.group("str"):
            out.append(repr(json.loads(m.group("str"))))  # Blueprint strings unquote like Go's
        elif m.group("int"):
            out.append(m.group("int"))
        elif word in ("true", "false"):
            out.append(str(word == "true"))
        elif word and depth == 0 and m.group("next") == "{":
            out.append(f"({word!r},")  # a module: (kind, {properties})
        elif word and m.group("next") == ":":
            out.append(repr(word))
        elif word:
            raise SyntaxError(f"unexpected {word!r}")
        elif punct:
            depth += {"{": 1, "[": 1, "}": -1, "]": -1}.get(punct, 0)
            out.append(punct + ")," if punct == "}" and depth == 0 else punct)
    return eval("[" + " ".join(out) + "]", {"__builtins__": {}})


def effective(module, defaults, arch, key):
    """A list property of a module for one architecture, defaults first."""
    values = [v for d in module.get("defaults", []) for v in defaults[d].get(key, [])]
    return values + module.get(key, []) + module.get("arch", {}).get(arch, {}).get(key, [])


def run_genrule(rule, root, out):
    """The genrule's command as the build system runs it: $(location x), $(in), $(out), $$."""

    def expand(m):
        word = m.group(1)
        if word is None or word == "out":
            return "$" if word is None else out
        if word.startswith("location "):
            return os.path.join(root, word.split(" ", 1)[1])
        if word == "in":
            return " ".join(os.path.join(root, s) for s in rule["srcs"])
        raise SyntaxError(f"unknown $({word}) in the genrule")

    subprocess.run(["bash", "-c", re.sub(r"\$\$|\$\(([^)]*)\)", expand, rule["cmd"])], check=True)
    with open(out, encoding="utf-8") as f:
        return f.read()


def check(bp_path, cmake):
    root = os.path.dirname(os.path.abspath(bp_path))
    with open(bp_path, encoding="utf-8") as f:
        modules = parse(f.read())
    by_name = {props["name"]: props for kind, props in modules}
    defaults = {p["name"]: p for k, p in modules if k == "cc_defaults"}
    arch = ARCH[cmake["processor"]]
    problems = []

    library = by_name["liborvix_lut2d"]
    default_flags = effective({"defaults": library.get("defaults", [])}, defaults, arch, "cflags")
    built = {}  # every source with the module that builds it, static libraries included
    linked = effective(library, defaults, arch, "whole_static_libs")
    for part in [library] + [by_name[n] for n in linked]:
        if not part.get("arch", {}).get(arch, {}).get("enabled", part.get("enabled", True)):
            problems.append(f"{part['name']} is linked in but disabled for {arch}")
        built.update((src, part) for src in effective(part, defaults, arch, "srcs"))

    wanted = {s["path"]: s["options"] for s in cmake["sources"]}
    for src in sorted(set(wanted) | set(built)):
        if src not in built or src not in wanted:
            where = "CMake" if src in wanted else "Android.bp"
            problems.append(f"{src}: built for {arch} by {where} only")
            continue
        flags = effective(built[src], defaults, arch, "cflags")
        extra = [f for f in flags if f not in default_flags]
        if extra != wanted[src]:
            problems.append(f"{src}: own flags {extra} in Android.bp, {wanted[src]} in CMake")
        if not os.path.isfile(os.path.join(root, src)):
            problems.append(f"{src}: no such file")

    definitions = sorted(f[2:] for f in default_flags if f.startswith("-D"))
    if definitions != sorted(cmake["definitions"]):
        problems.append(f"definitions {definitions} in Android.bp, {cmake['definitions']} in CMake")
    if library.get("version_script") != cmake["version_script"]:
        script = library.get("version_script")
        problems.append(f"version script {script!r}, CMake links {cmake['version_script']!r}")

    rules = [p for k, p in modules if k == "genrule" and p["out"] == ["orvix_lut2d_version.h"]]
    if len(rules) != 1:
        return problems + ["Android.bp needs one genrule making orvix_lut2d_version.h"]
    if rules[0]["name"] not in effective(library, defaults, arch, "generated_headers"):
        problems.append(f"the library does not use {rules[0]['name']}")
    with tempfile.TemporaryDirectory() as scratch:
        made = run_genrule(rules[0], root, os.path.join(scratch, "orvix_lut2d_version.h"))
    with open(cmake["version_header"], encoding="utf-8") as f:
        if made != f.read():
            problems.append("the genrule's orvix_lut2d_version.h differs from CMake's")
    return problems


def main():
    with open(sys.argv[2], encoding="utf-8") as f:
        cmake = json.load(f)
    problems = check(sys.argv[1], cmake)
    count, processor = len(cmake["sources"]), cmake["processor"]
    print("\n".join(problems)
          or f"Android.bp builds the {count} sources CMake builds for {processor}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
