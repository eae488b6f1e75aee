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
    """Names of tracks, ended slices as (track, row, name) in order of their ends, and open ones."""

    def __init__(self):
        with open(trace) as file:
            events = json.load(file)
        self.tracks, self.rows, self.counters = {}, {}, {}
        self.ended, self.open, last = collections.Counter(), collections.defaultdict(list), 0
        self.arguments = collections.defaultdict(list)
        for event in events:
            row = event["pid"], event["tid"]
            if event["ph"] == "M":
                names = {"process_name": self.tracks, "thread_name": self.rows}[event["name"]]
                names[row[0] if names is self.tracks else row] = event["args"]["name"]
                continue
            assert event["ts"] >= last, "time runs backwards"
            last = event["ts"]
            slice = event["name"], event["args"]
            if event["ph"] == "B":
                # Only what a thread does is nested.
                assert row in self.rows and (not self.open[row] or row[0] == 1), event
                self.open[row].append(slice)
                self.arguments[event["name"]].append(event["args"])
            elif event["ph"] == "E":
                # A viewer closes a slice by the name and the arguments of the event.
                assert self.open[row].pop() == slice, event
                self.ended[self.tracks[event["pid"]], self.rows[row], event["name"]] += 1
            else:
                self.counters[event["name"]] = event["args"][event["name"]]
                assert self.counters[event["name"]] >= 0, event

    def count(self, name, track=""):
        return sum(n for (t, _, s), n in self.ended.items() if s == name and t.startswith(track))

    def still_open(self):
        return [name for slices in self.open.values() for name, _ in slices]


MIREL_NV12_CMPX = "2141391878"
code, summary, errors = run(trace, decoder, "--set", "raw.pixel-format.value=" + MIREL_NV12_CMPX,
                            "--out", os.path.join(work.name, "out"), stream)
assert code == 0, errors
said = {line.rsplit(None, 1)[0].strip(): line.rsplit(None, 1)[1]
        for line in summary.splitlines() if line.startswith("  ")}
frames = int(said["frames"])
seen = Trace()
assert seen.still_open() == [], seen.open
assert seen.counters == {"bytes": 0}, seen.counters
slots = [t for t in seen.tracks.values() if t.startswith("surface ")]
assert len(slots) > 1, seen.tracks
allocated = [s for (t, r, s) in seen.ended if t in slots and r == "memory"]
assert len(allocated) == len(slots) and all(s.endswith(" MIREL_NV12_CMPX 320x192") for s in allocated), allocated
assert seen.count("out", "surface") >= frames, summary
assert seen.count("import", "surface") >= frames
assert seen.count("held", "surface") == frames
assert seen.count("recyclable", "surface") <= seen.count("parked", "surface")
# Each frame is written in a linear format.
blits = {side: sum(n for (t, r, s), n in seen.ended.items() if r == "blit" and s.startswith(side))
         for side in ("blit to", "blit from")}
assert blits == {"blit to": frames, "blit from": frames}, blits
assert seen.count("read", "linear pool 0") == seen.count("linear", "linear pool 0") > 0
processed = seen.arguments["process"]
assert {a["component"] for a in processed} == {"lx2.decoder"}, processed
# The work after the frames ends the stream.
assert sorted(int(a["frame"]) for a in processed) == list(range(frames + 1)), processed
assert len({a["time"] for a in processed}) == frames, processed
assert len({a["thread"] for a in seen.arguments["linear"]}.union(a["thread"] for a in processed)) == 2

# An access that nobody ends, from a program that has threads and a child.
code, _, errors = run(trace, program)
assert code == 0, errors
seen = Trace()
assert seen.still_open() == ["write"], seen.open
assert seen.count("read", "other memory") == 4000, seen.ended

for file in (work.name, "/dev/full"):
    code, _, errors = run(file, program)
    assert code == 0 and errors.count("\n") == 1 and f"LX2_TRACE={file}: " in errors, errors
print("ok")
