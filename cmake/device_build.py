#!/usr/bin/env python3
"""Checks what the device's build system is told, on a machine that hasn't got it.

device_build.py PLATFORM_INCLUDE...

Android.bp parses, and each source of its modules is clean as a vendor tree compiles it for its 32-bit
side, as C++17 and as the tree's default gnu++20, with the module's own include folders and flags: with
clang and libc++, without RTTI and, but for a module that asks for them, without exceptions. clang-tidy
sees the same sources as 64-bit code.
"""
import concurrent.futures
import glob
import itertools
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


def compilations(libraries, platform):
    """The command for each source of each module."""
    # The 32-bit C library has no kernel headers of its own.
    fixed = ["clang++", "-m32", "-idirafter", "/usr/include/x86_64-linux-gnu"]
    fixed += ["-stdlib=libc++", "-fsyntax-only", "-fno-rtti", "-fno-exceptions"]
    for module in libraries.values():
        folders = module.get("local_include_dirs", []) + module.get("export_include_dirs", [])
        for other in module.get("shared_libs", []):
            folders += libraries.get(other, {}).get("export_include_dirs", [])
        flags = module["cflags"] + module["cppflags"] + ["-I" + folder for folder in folders]
        flags += ["-I" + folder for folder in platform]
        sources = sum((glob.glob(pattern) for pattern in module["srcs"]), [])
        if not sources:
            sys.exit(f"Android.bp: {module['name']} has no sources")
        for standard, source in itertools.product(["c++17", "gnu++20"], sorted(sources)):
            yield fixed + flags + ["-std=" + standard, source]


def compile_one(command):
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return [] if run.returncode == 0 else [run.stdout]


def main():
    with open("Android.bp", encoding="utf-8") as file:
        modules = {module["name"]: module for _, module in Blueprint(file.read()).modules}
    libraries = {name: with_defaults(module, modules) for name, module in modules.items() if "srcs" in module}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        faults = sum(pool.map(compile_one, compilations(libraries, sys.argv[1:])), [])
    print("\n".join(faults) or f"device build: {len(libraries)} modules, clean")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
