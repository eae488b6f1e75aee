#!/usr/bin/env python3
"""Checks what the device's build system is told, on a machine that hasn't got it.

device_build.py COMPILE_COMMANDS PLATFORM_INCLUDE...

Android.bp parses, its modules compile the sources that CMake compiles, and each of them is clean as a
vendor tree compiles it for its 32-bit side, with the module's own include folders and flags: with clang
and libc++, without RTTI and, but for a module that asks for them, without exceptions. clang-tidy sees
the same sources as 64-bit code.
"""
import concurrent.futures
import glob
import json
import os
import re
import subprocess
import sys

TOKEN = re.compile(r'\s+|//[^\n]*|/\*.*?\*/|("(?:[^"\\\n]|\\.)*"|[A-Za-z_]\w*|-?\d+|\+=|[][{}:,=+])', re.S)


class Blueprint:
    """The modules of a build file: pairs of a type and its properties."""

    def __init__(self, text):
        self.tokens = []
        self.variables = {}
        position = 0
        while position < len(text):
            match = TOKEN.match(text, position)
            if match is None:
                self.fail(text.count("\n", 0, position) + 1, text[position])
            if match.group(1):
                self.tokens.append((match.group(1), text.count("\n", 0, position) + 1))
            position = match.end()
        self.tokens.append(("the end", text.count("\n") + 1))
        self.tokens.reverse()
        self.modules = []
        while len(self.tokens) > 1:
            name = self.take()
            if self.peek() == "{":
                self.modules.append((name, self.value()))
            elif self.take() == "=":
                self.variables[name] = self.value()
            else:
                self.fail(self.tokens[-1][1], name)

    @staticmethod
    def fail(line, what):
        sys.exit(f"Android.bp:{line}: unexpected {what}")

    def peek(self):
        return self.tokens[-1][0]

    def take(self, wanted=None):
        token, line = self.tokens.pop()
        if wanted is not None and token != wanted:
            self.fail(line, token)
        return token

    def value(self):
        value = self.operand()
        while self.peek() == "+":
            self.take()
            value = value + self.operand()
        return value

    def operand(self):
        line = self.tokens[-1][1]
        token = self.take()
        if token == "{":
            return dict(self.items("}", self.named))
        if token == "[":
            return list(self.items("]", self.value))
        if token in ("true", "false"):
            return token == "true"
        if token[0] == '"':
            return json.loads(token)
        if re.fullmatch(r"-?\d+", token):
            return int(token)
        if token not in self.variables:
            self.fail(line, token)
        return self.variables[token]

    def items(self, end, item):
        while self.peek() != end:
            yield item()
            if self.peek() != end:
                self.take(",")
        self.take()

    def named(self):
        name = self.take()
        self.take(":")
        return name, self.value()


def with_defaults(properties, modules):
    """A module's properties, those of the defaults that this file defines added."""
    merged = dict(properties)
    for name in properties.get("defaults", []):
        for key, value in with_defaults(modules.get(name, {}), modules).items():
            if isinstance(value, list):
                merged[key] = value + merged.get(key, [])
    return merged


def compare_sources(libraries, commands):
    """The faults of the source lists against CMake's, and against what lies in the folders."""
    built = {name: set() for name in libraries}
    for command in commands:
        target = re.search(r"CMakeFiles/lx2_(base|platform|utils)\w*\.dir/", command["command"])
        if target:
            source = os.path.relpath(command["file"])
            built["liblxcodec2_" + target.group(1)].add(source)
    faults = []
    for name, module in libraries.items():
        for source in sorted(built[name] ^ set(module["srcs"])):
            where = "Android.bp" if source in built[name] else "CMakeLists.txt"
            faults.append(f"{where}: {name} lacks {source}")
    everything = set().union(*built.values())
    for folder in sorted({os.path.dirname(source) for source in everything}):
        for source in sorted(set(glob.glob(f"{folder}/*.cpp")) - everything):
            faults.append(f"CMakeLists.txt: no library has {source}")
    return faults


def compilations(libraries, platform):
    """The command for each source of each module."""
    # The 32-bit C library has no kernel headers of its own.
    fixed = ["clang++", "-m32", "-idirafter", "/usr/include/x86_64-linux-gnu"]
    fixed += ["-std=gnu++17", "-stdlib=libc++", "-fsyntax-only", "-fno-rtti", "-fno-exceptions"]
    for module in libraries.values():
        folders = module.get("local_include_dirs", []) + module.get("export_include_dirs", [])
        for other in module.get("shared_libs", []):
            folders += libraries.get(other, {}).get("export_include_dirs", [])
        flags = module["cflags"] + module["cppflags"] + ["-I" + folder for folder in folders]
        flags += [word for folder in platform for word in ("-isystem", folder)]
        for source in module["srcs"]:
            yield fixed + flags + [source]


def compile_one(command):
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return [] if run.returncode == 0 else [run.stdout]


def main():
    with open("Android.bp", encoding="utf-8") as file:
        modules = {module["name"]: module for _, module in Blueprint(file.read()).modules}
    libraries = {name: with_defaults(module, modules) for name, module in modules.items() if "srcs" in module}
    with open(sys.argv[1], encoding="utf-8") as file:
        faults = compare_sources(libraries, json.load(file))
    if not faults:
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            faults = sum(pool.map(compile_one, compilations(libraries, sys.argv[2:])), [])
    print("\n".join(faults) or f"device build: {len(libraries)} modules, clean")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
