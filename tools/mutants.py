#!/usr/bin/env python3
"""Checks that the test suite finds faults: each mutant under tools/mutants/
is a small patch that breaks the code the way a slip of the hand would (a
flipped comparison, an off-by-one, a dropped check, a wrong constant). The
script applies one mutant at a time with `git apply`, builds incrementally,
runs the suite, restores the source and reports whether the suite killed the
mutant (some test failed) and with which tests.

    tools/mutants.py                      run every mutant, report to stdout
    tools/mutants.py -o report.txt        ... and write the report to a file
    tools/mutants.py NAME ...             run only these (file names without .patch)
    tools/mutants.py new NAME FILE OLD NEW "what it breaks"
                                          write tools/mutants/NAME.patch that
                                          replaces the one occurrence of OLD in FILE
    tools/mutants.py refresh NAME [FILE]  make a stale mutant again from its own
                                          lines, in FILE if the code moved there

Run it from a clean checkout after a normal build of the preset (default:
dev); it refuses to start while tracked files have changes, and puts the
mutated files back to HEAD after each mutant, interrupted or not. Outcomes:
    killed     at least one test failed (or the build broke the suite)
    SURVIVED   every test passed: a fault the suite would miss
    stale      the patch no longer applies: the code moved, refresh the mutant
    stillborn  the mutated code does not compile: not a useful mutant
A mutant that survives wants a test, not a weaker mutant. The reports of the
last full runs are kept beside the patches (report-*.txt).
"""
import argparse
import pathlib
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
MUTANTS = ROOT / "tools" / "mutants"


def git(*args, check=True, **kw):
    return subprocess.run(["git", "-C", str(ROOT), *args], check=check, text=True,
                          capture_output=True, **kw)


def describe(patch):
    """The mutant's description: the lines before the diff."""
    lines = []
    for line in patch.read_text().splitlines():
        if line.startswith("diff --git"):
            break
        if line.strip():
            lines.append(line.strip())
    return " ".join(lines)


def failed_tests(ctest_output):
    """Names under CTest's "The following tests FAILED:" list."""
    names, listing = [], False
    for line in ctest_output.splitlines():
        if line.startswith("The following tests FAILED"):
            listing = True
        elif listing:
            m = re.match(r"\s*\d+ - (\S+)", line)
            if not m:
                break
            names.append(m.group(1))
    return names


def mutated_files(patch):
    return [line[6:] for line in patch.read_text().splitlines() if line.startswith("+++ b/")]


def dirty_source():
    """Tracked files with changes: a mutant left behind by a killed run shows here."""
    out = git("status", "--porcelain", "--untracked-files=no").stdout
    return [line[3:] for line in out.splitlines()]


def run_one(patch, preset, timeout):
    """Applies, builds, tests and restores one mutant: (outcome, detail)."""
    if git("apply", "--check", str(patch), check=False).returncode != 0:
        return "stale", "does not apply to this checkout"
    try:
        git("apply", str(patch))
        build = subprocess.run(["cmake", "--build", "--preset", preset, "-j2"], cwd=ROOT,
                               text=True, capture_output=True)
        if build.returncode != 0:
            return "stillborn", "the mutated code does not build"
        test = subprocess.run(["ctest", "--preset", preset, "--timeout", str(timeout)],
                              cwd=ROOT, text=True, capture_output=True)
        if test.returncode == 0:
            return "SURVIVED", ""
        names = failed_tests(test.stdout)
        if not names:
            return "killed", "ctest failed without a test list"
        shown = ", ".join(names[:3]) + (f" (+{len(names) - 3})" if len(names) > 3 else "")
        return "killed", f"{len(names)} failed: {shown}"
    finally:
        # Back to HEAD's text rather than a reverse apply, which a half-applied
        # or interrupted mutant could defeat.
        git("checkout", "HEAD", "--", *mutated_files(patch))


def make_patch(name, file, old, new, what):
    path = ROOT / file
    text = path.read_text()
    if text.count(old) != 1:
        sys.exit(f"{file}: the text to replace occurs {text.count(old)} times, not once")
    if git("diff", "--quiet", "--", file, check=False).returncode != 0:
        sys.exit(f"{file} has changes of its own: commit or stash them first")
    path.write_text(text.replace(old, new, 1))
    try:
        diff = git("diff", "--", file).stdout
    finally:
        git("checkout", "--", file)
    out = MUTANTS / f"{name}.patch"
    out.write_text(what.strip() + "\n\n" + diff)
    print(f"wrote {out.relative_to(ROOT)}")


def refresh_patch(name, file=None):
    """Makes a stale mutant again: the lines it removes, found anew (in FILE
    when the code moved), replaced by the lines it adds."""
    patch = MUTANTS / f"{name}.patch"
    text = patch.read_text()
    removed, added, target = [], [], None
    for line in text.splitlines():
        if line.startswith("+++ b/"):
            target = line[6:]
        elif line.startswith("-") and not line.startswith("---"):
            removed.append(line[1:])
        elif line.startswith("+") and not line.startswith("+++"):
            added.append(line[1:])
    make_patch(name, file or target, "\n".join(removed), "\n".join(added), describe(patch))


def main():
    if len(sys.argv) > 1 and sys.argv[1] == "refresh":
        if len(sys.argv) not in (3, 4):
            sys.exit("usage: mutants.py refresh NAME [FILE]")
        refresh_patch(*sys.argv[2:])
        return 0
    if len(sys.argv) > 1 and sys.argv[1] == "new":
        if len(sys.argv) != 7:
            sys.exit("usage: mutants.py new NAME FILE OLD NEW DESCRIPTION")
        make_patch(*sys.argv[2:])
        return 0
    parser = argparse.ArgumentParser(description="Runs the suite against each mutant.")
    parser.add_argument("names", nargs="*", help="mutants to run (default: all)")
    parser.add_argument("-o", "--output", help="write the report to this file too")
    parser.add_argument("--preset", default="dev", help="CMake build and test preset")
    parser.add_argument("--timeout", type=int, default=120, help="seconds per test")
    args = parser.parse_args()

    patches = sorted(MUTANTS.glob("*.patch"))
    if args.names:
        wanted = {n.removesuffix(".patch") for n in args.names}
        patches = [p for p in patches if p.stem in wanted]
        missing = wanted - {p.stem for p in patches}
        if missing:
            sys.exit("no such mutant: " + ", ".join(sorted(missing)))
    if not patches:
        sys.exit("no mutants under " + str(MUTANTS))

    dirty = dirty_source()
    if dirty:
        sys.exit("the checkout has changes (a mutant left over?): " + ", ".join(dirty) +
                 "\ncommit, stash or `git checkout` them first")
    # Ctrl-C, SIGTERM and SIGHUP unwind through run_one's finally, which
    # restores the source; only SIGKILL leaves a mutant behind, and the check
    # above finds it on the next run.
    for sig in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(sig, lambda *_: sys.exit(130))
    head = git("rev-parse", "--short", "HEAD").stdout.strip()
    rows, counts = [], {}
    started = time.monotonic()
    for patch in patches:
        outcome, detail = run_one(patch, args.preset, args.timeout)
        counts[outcome] = counts.get(outcome, 0) + 1
        rows.append((patch.stem, outcome, detail, describe(patch)))
        print(f"{patch.stem:32} {outcome:9} {detail}", flush=True)
    # Leave the build as the source is.
    subprocess.run(["cmake", "--build", "--preset", args.preset, "-j2"], cwd=ROOT,
                   capture_output=True)

    width = max(len(r[0]) for r in rows)
    report = [f"Mutants at {head}, preset {args.preset}: " +
              ", ".join(f"{n} {o}" for o, n in sorted(counts.items())) +
              f" ({time.monotonic() - started:.0f} s)", ""]
    for name, outcome, detail, what in rows:
        report.append(f"{name:{width}}  {outcome:9}  {what}")
        if detail:
            report.append(f"{'':{width}}  {'':9}  -> {detail}")
    text = "\n".join(report) + "\n"
    print()
    print(text, end="")
    if args.output:
        pathlib.Path(args.output).write_text(text)
    return 1 if counts.get("SURVIVED") else 0


if __name__ == "__main__":
    sys.exit(main())
