#!/usr/bin/env python3
"""Checks that no include runs against the direction of the architecture.

A family is a folder of src/ with its public headers. It includes headers of its own and of the families
that it may know; the stand-ins know base and device, their test kit every public header.
"""
import pathlib
import re
import sys

PUBLIC = {
    "device": "LXDColorMetaData",
    "gralloc": "LX2GrallocBuffer LX2VendorParams",
    "buffer": "LX2Buffer",
    "pool": "LX2BufferPool LX2GraphicBufferPoolImpl",
    "color": "LX2ColorConverter",
    "dump": "LX2FileDump",
    "bitstream": "LX2StreamParser IVFHeaders",
    "params": "ReflectedParamUpdater",
}
KNOWS = {
    "base": "device",
    "device": "",
    "gralloc": "base device",
    "buffer": "gralloc base device",
    "pool": "buffer gralloc base device",
    "color": "buffer gralloc base device",
    "dump": "pool color buffer gralloc bitstream base device",
    "bitstream": "base",
    "params": "base",
    "host": "base device",
    "testkit": " ".join(["host", "base", *PUBLIC]),
}
FAMILY_OF = {header: family for family, headers in PUBLIC.items() for header in headers.split()}


def family_of_file(path):
    if path.parts[0] == "src":
        return path.parts[1]
    if path.parts[0] == "include":
        return FAMILY_OF.get(path.stem, "base")
    return "testkit" if path.parts[1] == "testkit" else "host"


def family_of_include(name):
    folder, _, header = name.partition("/")
    if folder == "lx2":
        return FAMILY_OF.get(header.removesuffix(".h"), "base")
    return {"lx2device": "device", "lx2host": "host"}.get(folder, folder if folder in KNOWS else None)


faults = []
sources = [path for root in ("src", "include", "host") for path in pathlib.Path(root).rglob("*")]
for file in sorted(path for path in sources if path.suffix in (".h", ".cpp")):
    family = family_of_file(file)
    for include in re.findall(r'^#include [<"](.*)[>"]', file.read_text(encoding="utf-8"), re.M):
        known = family_of_include(include)
        if known not in (None, family, *KNOWS[family].split()):
            faults.append(f"{file}: {family} may not include {include}")
print("\n".join(faults) or "includes: one way")
sys.exit(bool(faults))
