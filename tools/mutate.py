#!/usr/bin/env python3
"""Measure the power of the tests: change the library in small ways and count what they notice.

    tools/mutate.py --count 60 --seed 1 --files 'math/Rotation.cpp' 'math/Quatern.cpp'
    tools/mutate.py --retry REPORT.jsonl      the survivors of an earlier run again

One mutant is one change at one place: a comparison, an operator of arithmetic or logic, a constant,
a statement left out, or a branch swapped. The sample is random, its seed set by --seed. Mutants that
do not compile are drawn again. Works on a copy of the tree, with uncommitted changes, below
build/mutation or what MUTATION_DIR says, and compiles at -O1 what depends on the mutated file, so
only sources and internal headers are mutated: the tests carry the inline functions of public headers
themselves. A mutant is killed by
a test that fails, crashes or runs longer than --timeout; who survives meets the tests under the
sanitizers as well, as every change does. Writes a line to REPORT.jsonl for each mutant, and
REPORT.md at the end.
"""

import argparse
import collections
import fnmatch
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = pathlib.Path(os.environ.get("MUTATION_DIR", ROOT / "build" / "mutation"))
COPY = WORK / "source"
PROGRAMS = {  # targets and where they are built
    "measuremath-tests": "tests", "measuremath-accuracy": "accuracy",
    "measuremath-fault-tests": "tests"}

ONE_THREAD = os.environ | {"OPENBLAS_NUM_THREADS": "1"}  # those of BLAS wait for each other
SANITIZED = "-O1 -g1 -D_GLIBCXX_ASSERTIONS -fsanitize=address,undefined -fno-sanitize-recover=all"

Mutant = collections.namedtuple("Mutant", "file start end text operator")

SWAPS = {
    "comparison": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=",
                   "*=": "/=", "/=": "*=", "&&": "||", "||": "&&", "|": "&", "&": "|"},
}
NUMBER = re.compile(r"(?<![\w.'])(?:0x[\da-f.]+(?:p[+-]?\d+)?|(?:\d+\.?\d*|\.\d+)(?:e[+-]?\d+)?)"
                    r"(?=[UuLlFf]*\b|\W)", re.I)
DECLARATION = re.compile(r"(?:[\w:]+(?:<[^;=()]*>)?[&*]*\s+)+[&*]*\w+\s*[,;=({\[]")
KEYWORD = re.compile(r"(?:return|using|throw|delete|case|default|public|private|protected|break|"
                     r"continue|else|do|if|for|while|switch|const|static_assert|typedef|namespace|"
                     r"template|friend)\b")


def without_text(source):
    """The source with comments, literals of text, directives and assertions blanked."""
    text = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\''
                      r"|^[ ]*#[^\n]*|\b(?:static_assert|assert)\([^;]*;"
                      r"|\btemplate <[^\n]*>|\boperator[^\w\s(]+|\[\[.*?\]\]", re.S | re.M)
    return text.sub(lambda m: re.sub(r"[^\n]", " ", m[0]), source)


def closing(code, opening):
    """Index behind the bracket that closes the one at `opening`."""
    depth = 0
    for i in range(opening, len(code)):
        depth += (code[i] in "([{") - (code[i] in ")]}")
        if depth == 0:
            return i + 1
    return len(code)


def end_of_operand(code, start):
    """Index of the first `:`, `,`, `;` or closing bracket from `start` on that is not nested."""
    i = start
    while i < len(code):
        if code[i] in "([{":
            i = closing(code, i)
        elif code.startswith("::", i):
            i += 2
        elif code[i] in ":,;)]}":
            return i
        else:
            i += 1
    return i


def changed_number(number):
    if re.fullmatch(r"\d+", number):
        return str(int(number) + 1)
    if re.fullmatch(r"0x[\da-f]+", number, re.I):
        return f"({number} + 1)"
    return "1.0" if number in ("0.0", "0.") else f"(2.0 * {number})"


def bodies(code):
    """For each index, whether the innermost open bracket is the brace of a function or a block."""
    inside, stack, head = [], [False], 0
    for i, c in enumerate(code):
        inside.append(stack[-1])
        if c in "([":
            stack.append(False)
        elif c == "{":
            scope = re.search(r"\b(?:class|struct|enum|union|namespace)\b[^()]*$", code[head:i])
            stack.append(scope is None)
        elif c in ")]}" and len(stack) > 1:
            stack.pop()
        if c in ";{}":
            head = i + 1
    return inside


def statements(code):
    """Calls and assignments that are statements of their own, with what ends them."""
    inside = bodies(code)
    for m in re.finditer(r"(?<=[;{})])\s+(?=[A-Za-z_]|\+\+|--|\*\w)", code):
        start = i = m.end()
        while i < len(code) and code[i] not in ";}":
            i = closing(code, i) if code[i] in "([{" else i + 1
        statement = code[start:i + 1]
        if (inside[start] and statement.endswith(";") and not KEYWORD.match(statement)
                and not DECLARATION.match(statement)):
            yield start, i + 1


def mutants_of(path):
    name = str(path.relative_to(COPY / "library"))
    source = path.read_text()
    code = without_text(source)
    found = []

    def add(start, end, text, operator):
        found.append(Mutant(name, start, end, text, operator))

    for m in re.finditer(r"(?<= )(<=|>=|==|!=|<|>|\+=|-=|\*=|/=|&&|\|\||[-+*/%&|])(?=\s)", code):
        for operator, swaps in SWAPS.items():
            if m[0] in swaps:
                add(m.start(), m.end(), swaps[m[0]], operator)
    for m in NUMBER.finditer(code):
        add(m.start(), m.end(), changed_number(m[0]), "constant")
    for start, end in statements(code):
        add(start, end, "{}", "statement")
    for m in re.finditer(r"\b(?:if|while) (\()", code):
        end = closing(code, m.start(1))
        add(m.start(1), end, "(!" + source[m.start(1):end] + ")", "branch")
    for m in re.finditer(r" \? ", code):
        colon = end_of_operand(code, m.end())
        end = end_of_operand(code, colon + 1)
        if code[colon] == ":":
            swapped = source[colon + 1:end].strip() + " : " + source[m.end():colon].strip()
            add(m.end(), end, swapped, "branch")
    return found


def all_mutants(patterns):
    library = COPY / "library"
    files = sorted(p for p in library.rglob("*") if p.suffix == ".cpp" or
                   p.suffix == ".h" and p.parent.name == "internal")
    names = [(str(p.relative_to(library)), p) for p in files]
    return [mutant for name, path in names if any(fnmatch.fnmatch(name, pat) for pat in patterns)
            for mutant in mutants_of(path)]


def synchronise():
    """Brings the copy up to the tree as it is now."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\n")
    for name in filter(None, listed):
        old, new = ROOT / name, COPY / name
        if old.is_file() and (not new.exists() or old.read_bytes() != new.read_bytes()):
            new.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(old, new)


class Build:
    """A build of the copy with its test programs."""

    def __init__(self, name, flags, arguments):
        self.directory, self.timeout = WORK / name, arguments.timeout
        self.jobs = f"-j{arguments.jobs}"
        subprocess.run(["cmake", "-S", COPY, "-B", self.directory, "-G", "Ninja",
                        "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={flags}",
                        "-DBUILD_SHARED_LIBS=ON", "-DMEASUREMATH_BUILD_EXAMPLES=OFF"],
                       check=True, stdout=subprocess.DEVNULL)
        if not self.compiles(*PROGRAMS):
            sys.exit("the unchanged library does not build")
        started = time.time()
        if self.fails():
            sys.exit("the tests of the unchanged library fail")
        self.timeout = max(self.timeout, 5 * (time.time() - started))

    def compiles(self, *targets):
        command = ["cmake", "--build", self.directory, self.jobs, "--target", *targets]
        return subprocess.run(command, capture_output=True).returncode == 0

    def fails(self, first="*"):
        """Whether a test fails; those that match the filter `first` run before the others."""
        runs = [("measuremath-tests", first)] if first != "*" else []
        return any(self.program_fails(*run) for run in runs + [(p, "*") for p in PROGRAMS])

    def program_fails(self, program, test_filter):
        directory = self.directory / PROGRAMS[program]
        command = [directory / program, "--gtest_fail_fast", "--gtest_brief=1",
                   "--gtest_filter=" + test_filter]
        try:
            return subprocess.run(command, capture_output=True, cwd=directory, env=ONE_THREAD,
                                  timeout=self.timeout).returncode != 0
        except subprocess.TimeoutExpired:
            return True


def related_tests(file):
    """A filter for the suites of test files that include the header of a source."""
    header = f'"math/{pathlib.Path(file).stem}.h"'
    suites = set()
    for path in (COPY / "tests").glob("*.cpp"):
        text = path.read_text()
        if header in text:
            suites.update(re.findall(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\((\w+)", text, re.M))
    return ":".join(f"*{suite}*" for suite in sorted(suites)) or "*"


def verdict_on(mutant, builds):
    path = COPY / "library" / mutant.file
    original = path.read_text()
    try:
        path.write_text(original[:mutant.start] + mutant.text + original[mutant.end:])
        for build in builds:
            if not build.compiles("measuremath"):
                return "does not compile"
            if build.fails(related_tests(mutant.file)):
                return "killed"
        return "survived"
    finally:
        path.write_text(original)


def described(mutant):
    source = (COPY / "library" / mutant.file).read_text()
    start, end = source.rfind("\n", 0, mutant.start) + 1, source.find("\n", mutant.end)
    after = source[start:mutant.start] + mutant.text + source[mutant.end:end]
    return {"file": mutant.file, "line": source.count("\n", 0, mutant.start) + 1,
            "operator": mutant.operator, "before": " ".join(source[start:end].split()),
            "after": " ".join(after.split())}


def write_report(results, path, count, seed):
    """Counts by operator and by file, and the survivors."""
    def table(key):
        lines = [f"| {key} | mutants | killed |", "|---|--:|--:|"]
        for value in sorted({r[key] for r in results}):
            verdicts = [r["verdict"] for r in results if r[key] == value]
            lines.append(f"| {value} | {len(verdicts)} | {verdicts.count('killed')} |")
        return lines

    killed = sum(r["verdict"] == "killed" for r in results)
    lines = [f"{killed} of {len(results)} mutants killed "
             f"({100 * killed / max(1, len(results)):.1f} %), {count} asked for, seed {seed}.", "",
             *table("operator"), "", *table("file"), "", "Survivors:", ""]
    lines += [f"- `{r['file']}:{r['line']}` {r['operator']}: `{r['before']}` → `{r['after']}`"
              for r in results if r["verdict"] == "survived"]
    path.write_text("\n".join(lines) + "\n")


def survivors_of(report, patterns):
    """The mutants that survived, found again by their description, so lines may have moved."""
    lines = [json.loads(line) for line in report.read_text().splitlines()]
    wanted = {(r["file"], r["operator"], r["before"], r["after"])
              for r in lines if r["verdict"] == "survived"}
    return [m for m in all_mutants(patterns)
            if (m.file, m.operator, (d := described(m))["before"], d["after"]) in wanted]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--files", nargs="+", default=["*"], metavar="PATTERN")
    parser.add_argument("--report", type=pathlib.Path, default=WORK / "report")
    parser.add_argument("--retry", type=pathlib.Path, metavar="REPORT.jsonl")
    parser.add_argument("--list", action="store_true", help="show the mutants, try none")
    parser.add_argument("--timeout", type=float, default=30.0, help="seconds for a test program")
    parser.add_argument("--fast", action="store_true", help="without the sanitizers")
    parser.add_argument("--jobs", type=int, default=2)
    arguments = parser.parse_args()

    synchronise()
    mutants = survivors_of(arguments.retry, arguments.files) if arguments.retry else \
        all_mutants(arguments.files)
    random.Random(arguments.seed).shuffle(mutants)
    if arguments.list:
        for mutant in mutants[:arguments.count]:
            print(json.dumps(described(mutant)))
        sys.exit(print(len(mutants), "possible mutants"))

    builds = [Build("build", "-O1", arguments)]
    if not arguments.fast:
        builds.append(Build("sanitized", SANITIZED, arguments))
    results = []
    with open(arguments.report.with_suffix(".jsonl"), "w") as log:
        for mutant in mutants:
            if len(results) == arguments.count:
                break
            result = described(mutant) | {"verdict": verdict_on(mutant, builds)}
            if result["verdict"] != "does not compile":
                results.append(result)
            print(json.dumps(result), file=log, flush=True)
            print(f"{len(results):4} {result['verdict']}: {result['file']}:{result['line']} "
                  f"{result['after']}", flush=True)
    write_report(results, arguments.report.with_suffix(".md"), arguments.count, arguments.seed)


if __name__ == "__main__":
    main()
