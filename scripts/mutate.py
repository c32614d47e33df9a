"""Mutation tests: do the tests notice a fault?

A mutation is a small fault of the kind that programmers make. Mutations stand beside the code that they change, in
files named mutations.txt:

    # A comment.
    tests: streaming_test
    seek.cpp: const bool past = {{end > rest ==> end >= rest}};
    seek.cpp: {{cursor.fill = 0; ==> }}
      equivalent: the next line sets it again

Each names a file of that folder or below, and a piece of it that occurs there once; white space and comments
between its words do not count. What is between the braces is replaced: a statement, which ends with ; (or a block
that begins with if, for, while, switch or do), or an expression, whose new form must have a type that goes with the
old one. Where that does not compile, the new text is put as it is if it contains MUTANT, which is true when the
mutation is switched on.

`tests:` names a test program, and optionally suites of it as GoogleTest filters do; it holds for the mutations that
follow, together with other such lines right before or after it. Below a mutation, `equivalent:` says why no test can
tell it from the original, `survives:` why none is worth its cost.

One build, of a copy of the sources in build/mutants, serves all mutations: an environment variable selects one. First
each test runs alone without any, and the code notes which mutations it reaches, also in processes that it starts. Then
each mutation runs against the tests of its programs that reach it, shortest first, up to the first that fails: no other
could. A failure, a crash and a time-out count as caught. The next time, tests of programs that are not built anew do
not run alone again, and what caught a mutation is tried first.
"""

import argparse
import bisect
import concurrent.futures
import dataclasses
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
COPY = WORK / "source"
# The same place below the sources as that of other builds, so that ccache knows what is not changed.
BUILD = COPY / "build" / "dev"
LEFT_OUT = {"build", "node_modules", ".git"}

# Included by each file with mutations. Which are reached is written without the C library, which tests replace.
SWITCH = """#pragma once
// Written by scripts/mutate.py.
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace fmp4::mutants {

inline const unsigned long selected = [] {
  const char* text = std::getenv("FMP4_MUTANT");
  return text ? std::strtoul(text, nullptr, 10) : 0;
}();
inline const char* const reachedFile = std::getenv("FMP4_MUTANTS_REACHED");

template <unsigned long Number>
void noteReached() {
  static bool noted = false;
  if (noted)
    return;
  noted = true;
  char line[24];
  const int length = std::snprintf(line, sizeof line, "%lu\\n", Number);
  const long file = syscall(SYS_openat, AT_FDCWD, reachedFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0)
    return;
  syscall(SYS_write, file, line, length);
  syscall(SYS_close, file);
}

// Whether the mutation of this number is switched on; never in constant expressions.
template <unsigned long Number>
constexpr bool on() {
  if (std::is_constant_evaluated())
    return false;
  if (reachedFile)
    noteReached<Number>();
  return selected == Number;
}

}  // namespace fmp4::mutants

#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wparentheses"
#pragma GCC diagnostic ignored "-Wreturn-type"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wunused"
"""


class ListError(Exception):
    """A list that does not fit the code."""


@dataclasses.dataclass
class Mutation:
    """One fault, and which tests should catch it."""

    folder: str
    file: str
    place: str  # of the list, for messages
    text: str  # as the list states it
    programs: list  # of (program, filter)
    explained: str = ""  # "equivalent" or "survives"
    line: int = 0
    span: tuple = (0, 0)
    old: str = ""
    new: str = ""

    @property
    def number(self):
        """Stays the same when other mutations come and go, so that little is built again."""
        return zlib.crc32(f"{self.folder}/{self.file}: {self.text}".encode()) or 1

    @property
    def name(self):
        return f"{self.folder}/{self.file}:{self.line}: {self.old} ==> {self.new}"


class Source:
    """A file's text, to be searched for pieces whatever the white space and comments between their words."""

    def __init__(self, text):
        self.text = text
        # Comments become spaces; texts and characters are passed over, as they may look like some.
        plain = re.sub(r'"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)\'|//[^\n]*',
                       lambda found: " " * len(found[0]) if found[0].startswith("//") else found[0], text)
        self.words = list(re.finditer(r"\w+|[^\w\s]", plain))
        self.joined = " " + "".join(word[0] + " " for word in self.words)
        self.places = list(itertools.accumulate((len(word[0]) + 1 for word in self.words), initial=0))

    def find(self, words):
        """The numbers of the words at which these begin."""
        wanted = " " + "".join(word + " " for word in words)
        found, at = [], self.joined.find(wanted)
        while at >= 0:
            found.append(bisect.bisect_left(self.places, at))
            at = self.joined.find(wanted, at + 1)
        return found


def words_of(text):
    return re.findall(r"\w+|[^\w\s]", text)


def locate(mutation, source):
    """Finds the mutation's piece in the file's text."""
    parts = re.fullmatch(r"(.*?)\{\{(.*) ==>(.*?)\}\}(.*)", mutation.text)
    if not parts:
        raise ListError(f"{mutation.place}: no {{{{old ==> new}}}}")
    before, mutation.old, mutation.new, after = (part.strip() for part in parts.groups())
    if any(text.count("(") != text.count(")") for text in (mutation.old, mutation.new)):
        raise ListError(f"{mutation.place}: a bracket without its other: {mutation.text}")
    found = source.find(words_of(before) + words_of(mutation.old) + words_of(after))
    if len(found) != 1:
        raise ListError(f"{mutation.place}: found {len(found)} times in {mutation.folder}/{mutation.file}: {mutation.text}")
    first = found[0] + len(words_of(before))
    last = first + len(words_of(mutation.old)) - 1
    mutation.span = (source.words[first].start(), source.words[last].end())
    mutation.line = source.text.count("\n", 0, mutation.span[0]) + 1


def read_list(path, sources, errors):
    """The mutations of one list, located. Those that do not fit the code become errors."""
    folder = str(path.parent.relative_to(ROOT))
    mutations, programs, ended = [], [], True
    for count, line in enumerate(path.read_text().splitlines(), 1):
        place = f"{folder}/mutations.txt:{count}"
        if not line.strip() or line.startswith("#"):
            continue
        explanation = re.fullmatch(r"\s+(equivalent|survives): .+", line)
        if explanation and mutations:
            mutations[-1].explained = explanation[1]
            continue
        key, _, text = line.partition(": ")
        if key == "tests":
            programs = [] if ended else programs
            ended = False
            program, _, suites = text.strip().partition(" ")
            programs = programs + [(program, suites or "*")]
            continue
        ended = True
        if not text or not programs:
            raise ListError(f"{place}: not a mutation: {line}")
        source = path.parent / key
        if source not in sources:
            if not source.is_file():
                raise ListError(f"{place}: there is no {folder}/{key}")
            sources[source] = Source(source.read_text())
        mutation = Mutation(folder, key, place, text.strip(), programs)
        try:
            locate(mutation, sources[source])
            mutations.append(mutation)
        except ListError as error:
            errors.append(str(error))
    return mutations


def read_lists():
    """All mutations, and the texts of their files."""
    sources, mutations, errors = {}, [], []
    for top, folders, files in os.walk(ROOT):
        folders[:] = sorted(name for name in folders if name not in LEFT_OUT)
        if "mutations.txt" in files:
            try:
                mutations += read_list(pathlib.Path(top) / "mutations.txt", sources, errors)
            except ListError as error:
                errors.append(str(error))
    numbers = {}
    for mutation in mutations:
        if mutation.number in numbers:
            errors.append(f"{mutation.place}: the same as {numbers[mutation.number]}")
        numbers[mutation.number] = mutation.place
    by_file = {}
    for mutation in mutations:
        by_file.setdefault(ROOT / mutation.folder / mutation.file, []).append(mutation)
    changed = {}
    for source, its in by_file.items():
        try:
            changed[source] = switched(sources[source].text, its)
        except ListError as error:
            errors.append(str(error))
    if errors:
        raise ListError("\n".join(errors))
    return mutations, changed


def switched(source, mutations):
    """The file's text with all its mutations, each behind its switch."""
    spans = {}
    for mutation in mutations:
        spans.setdefault(mutation.span, []).append(mutation)
    end = len(source)
    for span in sorted(spans, reverse=True):
        if span[1] > end:
            raise ListError(f"{spans[span][0].place}: overlaps another mutation; state the same piece in both")
        end = span[0]
        source = source[: span[0]] + replacement(source[span[0] : span[1]], spans[span]) + source[span[1] :]
    return '#include "mutant.h"\n#line 1\n' + source


def replacement(old, mutations):
    """One piece with its switches."""
    text = old
    for mutation in mutations:
        switch = f"(fmp4::mutants::on<{mutation.number}>())"
        new = mutation.new
        statement = old.endswith(";") or (old.endswith("}") and bool(re.match(r"(if|for|while|switch|do)\b", old)))
        if "MUTANT" in new:
            if len(mutations) > 1:
                raise ListError(f"{mutation.place}: overlaps another mutation")
            text = new.replace("MUTANT", switch)
        elif statement:
            text = f"{{ if {switch} {{ {new} }} else {{ {text} }} }}"
        elif new in ("true", "false"):
            text = f"({switch} ? {new} : static_cast<bool>({text}))"  # pointers are conditions too
        elif new:
            text = f"({switch} ? ({new}) : ({text}))"
        else:
            raise ListError(f"{mutation.place}: an expression needs a new form")
    return text


def write_if_changed(path, content):
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def share(folder):
    """Puts a link to a folder into the copy."""
    link = COPY / folder.relative_to(ROOT)
    if not link.exists():
        link.parent.mkdir(parents=True, exist_ok=True)
        link.symlink_to(folder.resolve())


def copy_sources(changed):
    """Brings the copy up to date; what did not change keeps its time, and so is not built again."""
    kept = {COPY / "mutant.h"}
    write_if_changed(COPY / "mutant.h", SWITCH.encode())
    for top, folders, files in os.walk(ROOT):
        if "node_modules" in folders:
            share(pathlib.Path(top) / "node_modules")
        folders[:] = [name for name in folders if name not in LEFT_OUT]
        for name in files:
            source = pathlib.Path(top) / name
            target = COPY / source.relative_to(ROOT)
            if name == "mutations.txt" or not source.is_file():
                continue
            kept.add(target)
            content = changed[source].encode() if source in changed else source.read_bytes()
            write_if_changed(target, content)
            shutil.copymode(source, target)
    for top, folders, files in os.walk(COPY):
        folders[:] = [name for name in folders if name not in LEFT_OUT]
        for name in files:
            if pathlib.Path(top) / name not in kept:
                (pathlib.Path(top) / name).unlink()
    (ROOT / "build" / "media").mkdir(parents=True, exist_ok=True)
    share(ROOT / "build" / "media")


def build(programs, jobs):
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    subprocess.run(["cmake", "--preset", "dev", *launcher], cwd=COPY, check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", BUILD, "-j", str(jobs), "--target", *sorted(programs)], cwd=COPY, check=True)


def run_tests(program, names, limit, **variables):
    """Whether they passed, how long they took, and the first that failed."""
    environment = {name: value for name, value in os.environ.items() if not name.startswith("FMP4_MUTANT")}
    command = [BUILD / "bin" / program, f"--gtest_filter={':'.join(names)}", "--gtest_fail_fast"]
    start = time.monotonic()
    with tempfile.TemporaryDirectory(dir=WORK, ignore_cleanup_errors=True) as folder, \
            open(f"{folder}/output", "w+b") as output:
        process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                   env=environment | variables, start_new_session=True)
        try:
            status = process.wait(limit)
        except subprocess.TimeoutExpired:
            status = "time-out"
        try:
            os.killpg(process.pid, 9)  # what it started as well
        except ProcessLookupError:
            pass
        process.wait()
        output.seek(0)
        text = output.read().decode(errors="replace")
    failed = re.findall(r"^\[  FAILED  \] ([^\s,]+)", text, re.M)
    failed = failed or re.findall(r"^\[ RUN      \] (\S+)", text, re.M)[-1:]
    return status == 0, time.monotonic() - start, failed[0] if failed else names[0]


@dataclasses.dataclass
class Test:
    """How a test runs without a mutation."""

    program: str
    name: str
    seconds: float = 0
    passed: bool = False
    reached: frozenset = frozenset()  # the numbers of mutations


def names_of(program, filters):
    """The tests of a program that the filter selects."""
    listed = subprocess.run([BUILD / "bin" / program, "--gtest_list_tests", f"--gtest_filter={filters}"], check=True,
                            capture_output=True, text=True).stdout
    suite, names = "", []
    for line in listed.splitlines():
        if re.match(r"[\w/]+\.", line):
            suite = line.split()[0]
        elif line.startswith("  "):
            names.append(suite + line.split()[0])
    return names


def run_unmutated(test, longest):
    """Notes what the test reaches, unless that is known. longest: seconds."""
    if test.passed or test.seconds >= longest:
        return
    with tempfile.TemporaryDirectory(dir=WORK) as folder:
        reached = pathlib.Path(folder) / "reached"
        test.passed, test.seconds, _ = run_tests(test.program, [test.name], longest, FMP4_MUTANTS_REACHED=str(reached))
        if reached.exists():
            test.reached = frozenset(map(int, reached.read_text().split()))


def batches(tests):
    """Shortest first, and each batch about as long as all before it: few starts, and little is run after a failure."""
    batch, seconds, before = [], 0, 0.2
    for test in sorted(tests, key=lambda test: test.seconds):
        batch.append(test)
        seconds += test.seconds
        if seconds >= before or len(batch) == 500:
            yield batch
            batch, seconds, before = [], 0, before + seconds
    if batch:
        yield batch


def try_mutation(mutation, reaching, caught_by):
    """The test that catches it, or nothing. caught_by: the one to be tried first."""
    last = [test for test in reaching if f"{test.program}: {test.name}" == caught_by]
    for batch in itertools.chain([last], batches(reaching)):
        for program in {test.program: None for test in batch}:
            its = [test for test in batch if test.program == program]
            limit = 20 + 5 * sum(test.seconds for test in its)
            passed, _, failed = run_tests(program, [test.name for test in its], limit, FMP4_MUTANT=str(mutation.number))
            if not passed:
                return f"{program}: {failed}"
    return ""


class Memory:
    """What earlier runs found, in a file of values by keys."""

    def __init__(self, name):
        self.path = WORK / name
        self.values = json.loads(self.path.read_text()) if self.path.exists() else {}

    def save(self):
        unfinished = self.path.with_suffix(f".{os.getpid()}")
        unfinished.write_text(json.dumps(self.values, indent=0))
        unfinished.replace(self.path)


def stamp_of(program):
    """When the program was built, or what it loads and starts."""
    built = [path for path in (BUILD / "bin").iterdir() if path.is_file() and not path.name.endswith("_test")]
    return max(path.stat().st_mtime for path in [BUILD / "bin" / program, *built])


def recall(memory, test):
    """Takes over how the test ran, if its program is still the same."""
    stamp, its = memory.values.get(test.program, (0, {}))
    if stamp == stamp_of(test.program) and test.name in its:
        test.seconds, test.passed, reached = its[test.name]
        test.reached = frozenset(reached)


def remember(memory, tests):
    for program in {test.program for test in tests}:
        stamp, its = memory.values.get(program, (0, {}))
        its = its if stamp == stamp_of(program) else {}
        for test in tests:
            if test.program == program:
                its[test.name] = test.seconds, test.passed, sorted(test.reached)
        memory.values[program] = stamp_of(program), its
    memory.save()


def score(mutations, caught):
    """Prints a line a module and then what survived; returns how many of these nobody explained."""
    print(f"\n{'module':24} caught  of  explained")
    for folder in sorted({mutation.folder for mutation in mutations}) + ["all"]:
        its = [mutation for mutation in mutations if folder in (mutation.folder, "all")]
        alive = [mutation for mutation in its if not caught[mutation.number]]
        explained = sum(1 for mutation in alive if mutation.explained)
        print(f"{folder:24} {len(its) - len(alive):6} {len(its):3} {explained:10}")
    unexplained = 0
    for mutation in mutations:
        if not caught[mutation.number]:
            print(f"{mutation.explained or 'SURVIVOR'}: {mutation.name}")
            unexplained += not mutation.explained
        elif mutation.explained:
            print(f"explained, but caught by {caught[mutation.number]}: {mutation.name}")
    return unexplained


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="only check that the lists fit the code")
    parser.add_argument("--no-build", action="store_true", help="use the programs in build/mutants as they are")
    parser.add_argument("--program", action="append", help="run this test program, and no other that is not named so")
    parser.add_argument("--open", action="store_true", help="leave out mutations that are explained")
    parser.add_argument("--longest", type=float, default=60, metavar="SECONDS",
                        help="leave out tests that take longer than this (default: 60)")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count(), help="how many run at a time")
    parser.add_argument("module", nargs="*", help="folders or files whose mutations to try (default: all)")
    options = parser.parse_args()
    try:
        mutations, changed = read_lists()
    except ListError as error:
        sys.exit(f"mutate: {error}")
    if options.check:
        print(f"mutate: {len(mutations)} mutations fit the code")
        return
    wanted = tuple(module.rstrip("/") for module in options.module)
    mutations = [mutation for mutation in mutations
                 if not wanted or f"{mutation.folder}/{mutation.file}/".startswith(tuple(m + "/" for m in wanted))]
    for mutation in mutations:
        mutation.programs = [each for each in mutation.programs if not options.program or each[0] in options.program]
    mutations = [mutation for mutation in mutations
                 if mutation.programs and not (options.open and mutation.explained)]
    if not mutations:
        sys.exit("mutate: no such mutations")
    programs = {program for mutation in mutations for program in mutation.programs}
    WORK.mkdir(parents=True, exist_ok=True)
    if not options.no_build:
        copy_sources(changed)
        build({program for program, _ in programs}, options.jobs)

    selected = {each: names_of(*each) for each in programs}
    tests = {(each[0], name): Test(each[0], name) for each in programs for name in selected[each]}
    known, runs = Memory("caught.json"), Memory("tests.json")
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for test in tests.values():
            recall(runs, test)
        list(pool.map(lambda test: run_unmutated(test, options.longest), tests.values()))
        remember(runs, list(tests.values()))
        for test in tests.values():
            if not test.passed or test.seconds >= options.longest:
                why = "takes too long" if test.seconds >= options.longest else "fails without a mutation"
                print(f"left out, as it {why}: {test.program}: {test.name}", flush=True)
                test.reached = frozenset()
        caught, running = {}, {}
        for mutation in mutations:
            its = {(program, name) for program, filters in mutation.programs for name in selected[program, filters]}
            reaching = [tests[each] for each in sorted(its) if mutation.number in tests[each].reached]
            caught_by = known.values.get(str(mutation.number), "")
            running[pool.submit(try_mutation, mutation, reaching, caught_by)] = mutation, len(reaching)
        for done in concurrent.futures.as_completed(running):
            mutation, count = running[done]
            test = caught[mutation.number] = done.result()
            print(f"caught   {mutation.name}   {test}" if test else
                  f"SURVIVED {mutation.name}   {count} tests reach it", flush=True)
            if test:
                known.values[str(mutation.number)] = test
                known.save()
    sys.exit(1 if score(mutations, caught) else 0)


if __name__ == "__main__":
    main()
