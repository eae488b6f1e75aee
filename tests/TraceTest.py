#!/usr/bin/env python3
"""What LX2_TRACE leaves of a decoder's run, and of a program that ends badly.

TraceTest.py <a stream> <trace_program> <lx2_client>
"""
import collections
import json
import os
import subprocess
import sys
import tempfile

stream, program, decoder = sys.argv[1:]
work = tempfile.TemporaryDirectory()
trace = os.path.join(work.name, "trace.json")


def run(file, *command):
    done = subprocess.run(command, env={**os.environ, "LX2_TRACE": file}, capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


class Trace:
    """Names of tracks, ended slices as (track, name) in order of their ends, and open ones."""

    def __init__(self):
        with open(trace) as file:
            events = json.load(file)
        self.tracks, self.rows, self.counters = {}, {}, {}
        self.ended, self.open, last = collections.Counter(), {}, 0
        for event in events:
            row = event["pid"], event.get("tid")
            if event["ph"] == "M":
                if event["name"] == "process_name":
                    self.tracks[event["pid"]] = event["args"]["name"]
                elif event["name"] == "thread_name":
                    self.rows[row] = event["args"]["name"]
                continue
            assert event["ts"] >= last, "time runs backwards"
            last = event["ts"]
            if event["ph"] == "B":
                assert row in self.rows and row not in self.open, f"a row holds one slice: {event}"
                self.open[row] = event["name"]
            elif event["ph"] == "E":
                self.ended[self.tracks[event["pid"]], self.open.pop(row)] += 1
            else:
                self.counters[event["name"]] = event["args"][event["name"]]
                assert self.counters[event["name"]] >= 0, event

    def count(self, name, track=""):
        return sum(n for (t, s), n in self.ended.items() if s == name and track in t)


MIREL_NV12_CMPX = "2141391878"
code, summary, errors = run(trace, decoder, "--set", "raw.pixel-format.value=" + MIREL_NV12_CMPX,
                            "--out", os.path.join(work.name, "out"), stream)
assert code == 0, errors
said = {line.rsplit(None, 1)[0].strip(): line.rsplit(None, 1)[1]
        for line in summary.splitlines() if line.startswith("  ")}
seen = Trace()
assert seen.open == {}, seen.open
assert seen.counters == {"buffers out": 0, "imports": 0, "bytes": 0}, seen.counters
memories = [t for t in seen.tracks.values() if t.startswith("memory 0x")]
for memory in memories:
    assert seen.count("allocated", memory) == 1, memory
    assert " 320x192, " in memory, memory
assert seen.count("allocated") == len(memories) > 1
assert seen.count("out of the pool", "MIREL_NV12_CMPX") >= int(said["frames"]), summary
assert seen.count("import", "MIREL_NV12_CMPX") >= int(said["frames"])
blits = int(said["frames"])  # each is written in a linear format
assert blits > 0 and seen.count("MIREL_NV12_CMPX to MIREL_NV12") == 2 * blits, seen.ended
assert seen.count("read") > 0 and seen.count("write") + seen.count("read and write") > 0
assert seen.count("linear") > 0

# An access that nobody ends, from a program that has threads and a child.
code, _, errors = run(trace, program)
assert code == 0, errors
seen = Trace()
assert sorted(seen.open.values()) == ["write"], seen.open
assert seen.count("read") == 4000, seen.ended

for file in (work.name, "/dev/full"):
    code, _, errors = run(file, program)
    assert code == 0 and errors.count("\n") == 1 and f"LX2_TRACE={file}: " in errors, errors
print("ok")
