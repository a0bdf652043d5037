"""Run by gdb: stops the program at its breakpoint and compares what it prints."""

import gdb

EXPECTED = {
    "argument": "Vector of 3 = {1, 2.5, -3}",
    "empty": "Vector of 0",
    "v": "Vector of 3 = {1, 2.5, -3}",
    "large": "Vector of 1000 = {" + "0, " * 199 + "0...}",
    "m": "Matrix of 2 x 3, shared by 2 = {{1, 2, 3}, {4, 5, 6}}",
    "noRows": "Matrix of 0 x 3",
    "transform": "MatrixTH of 4 x 4 = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}",
    "rotation": "VectorR of 3 = {0.5, 0, 0}",
    "reading": "(anonymous namespace)::Reading of 1 = {7}",
    "station": "{position = Vector of 2 = {8, 9}, id = 12}",
    "counts": "TVector<int> of 2 = {0, 0}",
    "*pointer": "TVector<int> of 2 = {0, 0}",
    "*unborn": "Vector, not initialised",
}


def printed(expression):
    try:
        return gdb.execute(f"output {expression}", to_string=True)
    except gdb.error as error:
        return f"error: {error}"


gdb.execute("break show")
gdb.execute("run")
failures = 0
for name, expected in EXPECTED.items():
    if name != "argument":
        gdb.execute("frame function main", to_string=True)
    actual = printed(name)
    if actual != expected:
        failures += 1
        print(f"{name}: {actual}, expected: {expected}")
gdb.execute("kill")
gdb.execute(f"quit {failures}")
