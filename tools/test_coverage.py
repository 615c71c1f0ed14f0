#!/usr/bin/env python3
"""Per-test line coverage: which lines of the code (outside tests/) each test
runs, and which tests run no line that no other test runs.

    cmake --preset coverage && cmake --build --preset coverage -j2
    tools/test_coverage.py -o build/coverage/report        # every test of the dev set
    tools/test_coverage.py -R 'Pool|Trace' -o /tmp/r      # only these

Each test runs alone (two at a time) with its coverage data written under a
directory of its own (GCOV_PREFIX), child processes included, then gcov reads
that data. The report (report.txt) lists, per test program, each test with
the number of code lines it runs, how many of them no other test runs
("own"), and, for a test with no line of its own, the smallest other test
that runs every line it runs. data.json has the same per test, and the own
lines themselves.

A test with no line of its own is a candidate for removal, not a verdict: it
may be the only test that checks a value those lines compute. The mutants
(tools/mutants.py) decide.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent


def list_tests(preset, pattern):
    cmd = ["ctest", "--preset", preset, "--show-only=json-v1"]
    if pattern:
        cmd += ["-R", pattern]
    out = subprocess.run(cmd, cwd=ROOT, check=True, text=True, capture_output=True).stdout
    tests = []
    for t in json.loads(out)["tests"]:
        props = {p["name"]: p["value"] for p in t.get("properties", [])}
        env = dict(e.split("=", 1) for e in props.get("ENVIRONMENT", []))
        tests.append({
            "name": t["name"],
            "command": t["command"],
            "cwd": props.get("WORKING_DIRECTORY", str(ROOT)),
            "env": env,
            "timeout": float(props.get("TIMEOUT", 600)),
        })
    return tests


def is_code(source):
    """Lines that count: the project's code, not its tests nor generated files."""
    path = pathlib.Path(source)
    if not path.is_absolute() or ROOT not in path.parents:
        return False
    top = path.relative_to(ROOT).parts[0]
    return top not in ("tests", "build", "bench")


def covered_lines(prefix):
    """(file, line) pairs run at least once, from the .gcda files under prefix."""
    gcdas = [g for g in prefix.rglob("*.gcda")
             if "/tests/" not in str(g.relative_to(prefix))]
    if not gcdas:
        return set()
    for gcda in gcdas:
        original = pathlib.Path("/") / gcda.relative_to(prefix)
        gcno = original.with_suffix(".gcno")
        link = gcda.with_suffix(".gcno")
        if gcno.exists() and not link.exists():
            link.symlink_to(gcno)
    out = subprocess.run(["gcov", "--json-format", "--stdout", *map(str, gcdas)],
                         cwd=prefix, text=True, capture_output=True).stdout
    lines = set()
    for doc in out.splitlines():
        doc = doc.strip()
        if not doc.startswith("{"):
            continue
        data = json.loads(doc)
        cwd = data.get("current_working_directory", "")
        for f in data.get("files", []):
            source = os.path.normpath(os.path.join(cwd, f["file"]))
            if not is_code(source):
                continue
            rel = os.path.relpath(source, ROOT)
            for ln in f["lines"]:
                if ln["count"] > 0:
                    lines.add((rel, ln["line_number"]))
    return lines


def run_test(test, work):
    prefix = work / test["name"].replace("/", "_")
    prefix.mkdir(parents=True)
    env = dict(os.environ, **test["env"], GCOV_PREFIX=str(prefix), GCOV_PREFIX_STRIP="0")
    try:
        rc = subprocess.run(test["command"], cwd=test["cwd"], env=env,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                            timeout=test["timeout"]).returncode
    except subprocess.TimeoutExpired:
        rc = "timeout"
    lines = covered_lines(prefix)
    shutil.rmtree(prefix, ignore_errors=True)
    return test["name"], rc, lines


def program_of(test):
    return pathlib.Path(test["command"][0]).name


def write_report(tests, results, out_dir):
    by_line = collections.defaultdict(set)
    for name, (_, lines) in results.items():
        for ln in lines:
            by_line[ln].add(name)
    own = {name: sorted(ln for ln in lines if len(by_line[ln]) == 1)
           for name, (_, lines) in results.items()}

    def cover_of(name):
        """The smallest other test whose lines hold all of this one's."""
        lines = results[name][1]
        best = None
        for other, (_, other_lines) in results.items():
            if other != name and len(other_lines) >= len(lines) and lines <= other_lines:
                if best is None or len(other_lines) < len(results[best][1]):
                    best = other
        return best

    groups = collections.defaultdict(list)
    for t in tests:
        groups[program_of(t)].append(t["name"])
    data = {}
    report = []
    no_own = 0
    for program in sorted(groups):
        report.append(f"== {program}")
        for name in groups[program]:
            rc, lines = results[name]
            cover = cover_of(name) if not own[name] else None
            no_own += not own[name]
            data[name] = {"program": program, "exit": rc, "lines": len(lines),
                          "own": len(own[name]),
                          "own_lines": [f"{f}:{n}" for f, n in own[name]],
                          "covered_by": cover}
            mark = "" if rc == 0 else f"  (exit {rc})"
            tail = f"  within {cover}" if cover else ""
            report.append(f"  {len(own[name]):5d} own {len(lines):6d} lines  {name}{mark}{tail}")
    summary = [f"{len(results)} tests; {len(by_line)} code lines run by some test, "
               f"{sum(1 for s in by_line.values() if len(s) == 1)} by one test only; "
               f"{no_own} tests run no line of their own",
               "columns: lines no other test runs, lines run, test name "
               "(and the smallest test that runs all its lines, when it has none of its own)", ""]
    out_dir.mkdir(parents=True, exist_ok=True)
    (out_dir / "report.txt").write_text("\n".join(summary + report) + "\n")
    (out_dir / "data.json").write_text(json.dumps(data, indent=1) + "\n")
    return summary[0]


def main():
    ap = argparse.ArgumentParser(description=__doc__,
                                 formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--preset", default="coverage")
    ap.add_argument("-R", dest="pattern", help="only the tests whose names match")
    ap.add_argument("-j", type=int, default=2, help="tests at once (default 2)")
    ap.add_argument("-o", dest="out", default=str(ROOT / "build" / "coverage" / "report"))
    args = ap.parse_args()
    tests = list_tests(args.preset, args.pattern)
    if not tests:
        sys.exit("test_coverage: no tests (build the coverage preset first?)")
    results = {}
    with tempfile.TemporaryDirectory(prefix="bu-cov-") as tmp:
        with concurrent.futures.ThreadPoolExecutor(args.j) as pool:
            jobs = [pool.submit(run_test, t, pathlib.Path(tmp)) for t in tests]
            for done, job in enumerate(concurrent.futures.as_completed(jobs), 1):
                name, rc, lines = job.result()
                results[name] = (rc, lines)
                print(f"[{done}/{len(tests)}] {name}: {len(lines)} lines"
                      + ("" if rc == 0 else f" (exit {rc})"), file=sys.stderr, flush=True)
    print(write_report(tests, results, pathlib.Path(args.out)))


if __name__ == "__main__":
    main()
