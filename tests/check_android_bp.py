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


class BlueprintError(Exception):
    pass


def tokens(text):
    """Blueprint tokens: strings, integers, booleans, identifiers and punctuation."""
    pattern = re.compile(
        r'\s+|//[^\n]*|/\*.*?\*/|(?P<str>"(?:[^"\\]|\\.)*")|(?P<int>-?\d+)'
        r"|(?P<id>[A-Za-z_][A-Za-z0-9_]*)|(?P<punct>[{}\[\]:,=+])",
        re.S,
    )
    pos = 0
    while pos < len(text):
        m = pattern.match(text, pos)
        if not m:
            raise BlueprintError(f"unexpected text at offset {pos}: {text[pos:pos + 20]!r}")
        pos = m.end()
        if m.group("str"):
            yield ("value", json.loads(m.group("str")))  # Blueprint strings unquote like Go's
        elif m.group("int"):
            yield ("value", int(m.group("int")))
        elif m.group("id"):
            word = m.group("id")
            yield ("value", word == "true") if word in ("true", "false") else ("id", word)
        elif m.group("punct"):
            yield ("punct", m.group("punct"))


def parse(text):
    """Blueprint's modules as (kind, properties) pairs: properties are strings, integers,
    booleans, lists and maps, joined with +."""
    toks = list(tokens(text)) + [(None, None)]
    pos = 0

    def take(kind=None, value=None):
        nonlocal pos
        tok = toks[pos]
        if tok[0] is None or (kind and tok[0] != kind) or (value and tok[1] != value):
            raise BlueprintError(f"expected {value or kind}, found {tok[1]!r}")
        pos += 1
        return tok[1]

    def items(close, item):  # item, item, ... close; a trailing comma is allowed
        out = []
        while toks[pos] != ("punct", close):
            out.append(item())
            if toks[pos] == ("punct", ","):
                take()
        take("punct", close)
        return out

    def prop():
        name = take("id")
        take("punct", ":")
        return name, expression()

    def expression():
        kind, value = toks[pos]
        take()
        if kind == "value":
            result = value
        elif value == "[":
            result = items("]", expression)
        elif value == "{":
            result = dict(items("}", prop))
        else:
            raise BlueprintError(f"unexpected {value!r}")
        if toks[pos] == ("punct", "+"):
            take()
            result = result + expression()
        return result

    modules = []
    while toks[pos][0] is not None:
        kind = take("id")
        take("punct", "{")
        modules.append((kind, dict(items("}", prop))))
    return modules


def effective(module, defaults, arch, key):
    """A list property of a module for one architecture, defaults first."""
    values = []
    for d in module.get("defaults", []):
        values += defaults[d].get(key, [])
    return values + module.get(key, []) + module.get("arch", {}).get(arch, {}).get(key, [])


def enabled(module, arch):
    return module.get("arch", {}).get(arch, {}).get("enabled", module.get("enabled", True))


def run_genrule(rule, root, out):
    """The genrule's command as the build system runs it: $(location x), $(in), $(out), $$."""

    def expand(m):
        if m.group(0) == "$$":
            return "$"
        word = m.group(1)
        if word.startswith("location "):
            return os.path.join(root, word.split(" ", 1)[1])
        if word == "in":
            return " ".join(os.path.join(root, s) for s in rule["srcs"])
        if word == "out":
            return out
        raise BlueprintError(f"unknown $({word}) in the genrule")

    command = re.sub(r"\$\$|\$\(([^)]*)\)", expand, rule["cmd"])
    subprocess.run(["bash", "-c", command], check=True)
    with open(out, encoding="utf-8") as f:
        return f.read()


def check(bp_path, cmake):
    root = os.path.dirname(os.path.abspath(bp_path))
    with open(bp_path, encoding="utf-8") as f:
        modules = parse(f.read())
    by_name = {props["name"]: (kind, props) for kind, props in modules}
    defaults = {n: p for n, (k, p) in by_name.items() if k == "cc_defaults"}
    arch = ARCH[cmake["processor"]]
    problems = []

    library = by_name["liborvix_lut2d"][1]
    default_flags = effective({"defaults": library.get("defaults", [])}, defaults, arch, "cflags")
    # Every source with the module that builds it, static libraries included.
    built = {}
    linked = effective(library, defaults, arch, "whole_static_libs")
    parts = [library] + [by_name[n][1] for n in linked]
    for part in parts:
        if not enabled(part, arch):
            problems.append(f"{part['name']} is linked in but disabled for {arch}")
        for src in effective(part, defaults, arch, "srcs"):
            built[src] = part

    wanted = {s["path"]: s["options"] for s in cmake["sources"]}
    for src in sorted(set(wanted) - set(built)):
        problems.append(f"{src}: built by CMake for {arch}, missing from Android.bp")
    for src in sorted(set(built) - set(wanted)):
        problems.append(f"{src}: in Android.bp for {arch}, not built by CMake")
    for src in sorted(set(wanted) & set(built)):
        flags = effective(built[src], defaults, arch, "cflags")
        extra = [f for f in flags if f not in default_flags]
        if extra != wanted[src]:
            problems.append(f"{src}: own flags {extra} in Android.bp, {wanted[src]} in CMake")
        if not os.path.isfile(os.path.join(root, src)):
            problems.append(f"{src}: no such file")

    definitions = sorted(f[2:] for f in default_flags if f.startswith("-D"))
    if definitions != sorted(cmake["definitions"]):
        cmake_definitions = sorted(cmake["definitions"])
        problems.append(f"definitions {definitions} in Android.bp, {cmake_definitions} in CMake")
    if library.get("version_script") != cmake["version_script"]:
        script = library.get("version_script")
        problems.append(f"version script {script!r}, CMake links {cmake['version_script']!r}")

    rules = [p for k, p in modules if k == "genrule" and p["out"] == ["orvix_lut2d_version.h"]]
    if len(rules) != 1:
        return problems + ["Android.bp needs one genrule making orvix_lut2d_version.h"]
    header_rule = rules[0]
    if header_rule["name"] not in effective(library, defaults, arch, "generated_headers"):
        problems.append(f"the library does not use {header_rule['name']}")
    with tempfile.TemporaryDirectory() as scratch:
        made = run_genrule(header_rule, root, os.path.join(scratch, "orvix_lut2d_version.h"))
    with open(cmake["version_header"], encoding="utf-8") as f:
        if made != f.read():
            problems.append("the genrule's orvix_lut2d_version.h differs from CMake's")
    return problems


def main():
    bp_path, cmake_path = sys.argv[1:3]
    with open(cmake_path, encoding="utf-8") as f:
        cmake = json.load(f)
    problems = check(bp_path, cmake)
    for p in problems:
        print(p)
    if problems:
        return 1
    count, processor = len(cmake["sources"]), cmake["processor"]
    print(f"Android.bp builds the {count} sources CMake builds for {processor}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
