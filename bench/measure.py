#!/usr/bin/env python3
"""Runs everything that RESULTS.md reports on: measure.py BUILD REPETITIONS RESULT.json"""

import json
import os
import re
import resource
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent

# The rows whose instructions are counted, for every contender but memcpy.
COUNTED = [
    "horizon request/1024x768 sea, 0", "4:1 reduction/1024x768 sea, 0", "4:1 reduction/1024x768 sea, 90",
    "edge detector/256x192 sea", "smoothing and derivatives/256x192", "magnitude and thresholds/256x192",
    "suppression and growth/256x192", "Hough segments/256x192 sea", "RGB to gray/640x480",
    "RGB to gray with 8:1/4000x3000", "8:1 filter/4000x3000", "every third pixel/4000x3000", "turn/640x480, 10",
    "turn/640x480, 45", "mean/49152 bytes",
]


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def machine(build):
    """The machine and what was measured on it. No host name."""
    model = re.search(r"^model name\s*:\s*(.*)$", Path("/proc/cpuinfo").read_text(), re.M)
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.M)
    system = re.search(r'^PRETTY_NAME="(.*)"$', Path("/etc/os-release").read_text(), re.M)
    facts = {
        "processor": f"{model[1] if model else os.uname().machine}, {os.cpu_count()} cores",
        "compiler": output_of(compiler[1], "--version").splitlines()[0],
        "system": system[1] if system else "unknown",
        "load before the run": f"{os.getloadavg()[0]:.2f}",
    }
    for name in ("opencv-imgproc", "yuv", "swscale"):
        query = subprocess.run(["dpkg-query", "-W", "-f=${Version}", f"lib{name}-dev"], capture_output=True, text=True)
        if query.returncode == 0:
            facts[f"lib{name}"] = query.stdout
    return facts


def time_rows(program, repetitions):
    """One entry a row: CPU times of its repetitions in microseconds, and the points of its edge map."""
    with tempfile.NamedTemporaryFile() as report:
        subprocess.run([
            program, f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
            "--benchmark_min_time=0.02", "--benchmark_out_format=json", f"--benchmark_out={report.name}"
        ], check=True, stdout=subprocess.DEVNULL)
        runs = json.load(report)["benchmarks"]
    rows = {}
    for name in output_of(program, "--benchmark_list_tests").splitlines():
        operation, size, contender = name.split("/")
        rows[name] = {"operation": operation, "input": size, "contender": contender, "us": []}
    for run in runs:
        if run["run_type"] == "iteration":
            assert run["time_unit"] == "ns"
            rows[run["run_name"]]["us"].append(run["cpu_time"] / 1000)
            rows[run["run_name"]]["points"] = int(run.get("points", 0))
    return list(rows.values())


def count_instructions(program, rows):
    counts = []
    for row in rows:
        name = f"{row['operation']}/{row['input']}"
        if name not in COUNTED or row["contender"] == "memcpy":
            continue
        with tempfile.NamedTemporaryFile() as profile:
            subprocess.run(["valgrind", "--tool=callgrind", "--toggle-collect=skylevelMeasuredOnce",
                            f"--callgrind-out-file={profile.name}", program, f"--once={name}/{row['contender']}"],
                           check=True, capture_output=True)
            total = re.search(r"^(?:summary|totals): (\d+)$", Path(profile.name).read_text(), re.M)
        counts.append({**{key: row[key] for key in ("operation", "input", "contender")}, "count": int(total[1])})
    return counts


def weigh_requests(program):
    fields = [line.split(",") for line in output_of(program).splitlines()]
    return [{"input": f"{size} {scene}", "pixels": int(pixels), "peak": int(peak)}
            for size, scene, pixels, peak in fields]


def time_tool(build):
    """CPU milliseconds for a 12-megapixel JPEG: the tool's whole process, and decoding and deciding by themselves."""
    def spent():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return (usage.ru_utime + usage.ru_stime) * 1000

    with tempfile.TemporaryDirectory() as folder:
        photo = Path(folder) / "photo.jpg"
        lines = output_of(build / "bench/skylevel_bench_photo", SOURCE / "tests/photos/sea-breaker.jpg", photo)
        decode, decide = zip(*(map(float, line.split(",")) for line in lines.splitlines()))
        whole = []
        for _ in decode:
            start = spent()
            status = subprocess.run([build / "tools/skylevel", "detect", photo], capture_output=True).returncode
            assert status in (0, 1), status
            whole.append(spent() - start)
        return {"bytes": photo.stat().st_size, "whole process": whole, "decode": decode, "decide": decide}


def main(build, repetitions, result):
    bench = build / "bench/skylevel_bench"
    measured = {"machine": machine(build), "repetitions": repetitions}
    print("Timing; this takes some minutes", flush=True)
    measured["rows"] = time_rows(bench, repetitions)
    measured["memory"] = weigh_requests(build / "bench/skylevel_bench_memory")
    measured["tool"] = time_tool(build)
    print("Counting instructions", flush=True)
    measured["instructions"] = count_instructions(bench, measured["rows"])
    result.write_text(json.dumps(measured, indent=1))


if __name__ == "__main__":
    main(Path(sys.argv[1]), int(sys.argv[2]), Path(sys.argv[3]))
