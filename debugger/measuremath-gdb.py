"""gdb pretty printers for vectors, matrices and what is derived from them.

    $1 = Vector of 3 = {1, 2, 3}
    $2 = MatrixTH of 4 x 4, shared by 2 = {{1, 0, 0, 5}, ...}

gdb loads this file by itself with the shared library of the Debian package. With a static library
or another prefix: (gdb) source measuremath-gdb.py. To describe the classes where the library holds
no debugging information, compile with -g -femit-class-debug-always (g++) or -fstandalone-debug
(clang++).
"""

import gdb
import gdb.printing
import gdb.types


def array_base(value_type):
    """The TArray<T> that the class is or derives from, else its TVector<T>, else None."""
    value_type = gdb.types.get_basic_type(value_type)
    if value_type.code != gdb.TYPE_CODE_STRUCT:
        return None
    if (value_type.tag or "").startswith(("TArray<", "TVector<")):
        return value_type
    for field in value_type.fields():
        found = array_base(field.type) if field.is_base_class else None
        if found:
            return found
    return None


class ArrayPrinter:
    """Size, number of holders of the buffer, and elements of a TVector or TArray.

    Members are read by their place, not by name: a program compiled against a library without
    debugging information does not know them. The binary interface keeps them where they are.
    """

    def __init__(self, value, base):
        self._name = gdb.types.get_basic_type(value.type).tag
        element = gdb.lookup_type(base.tag.partition("<")[2][:-1])
        integer = gdb.lookup_type("int").pointer()
        pointer = gdb.lookup_type("char").pointer().pointer()

        members = value.cast(base).address.cast(pointer)  # virtual table, block, then for a TArray:
        shape = (members + 2).cast(integer)               # rows, columns
        self._shape = (int(shape[0]), int(shape[1])) if base.tag.startswith("TArray<") else None
        block = members[1].cast(pointer)                  # virtual table, two numbers, elements
        numbers = (block + 1).cast(integer)               # holders, bytes
        if block == 0:                                    # an array that never had elements
            self._holders = 1 if members[0] != 0 else 0
            self._size = 0
            return
        try:
            self._holders = int(numbers[0])
            self._size = int(numbers[1]) // element.sizeof
            self._first = block[2].cast(element.pointer())
            self._first.fetch_lazy()
        except gdb.MemoryError:
            self._holders = self._size = 0

    def _is_sound(self):
        """False for what stands in memory before the constructor has run."""
        rows, cols = self._shape or (self._size, 1)
        return self._holders > 0 and rows * cols == self._size

    def to_string(self):
        if not self._is_sound():
            return f"{self._name}, not initialised"
        size = "{} x {}".format(*self._shape) if self._shape else self._size
        shared = f", shared by {self._holders}" if self._holders > 1 else ""
        return f"{self._name} of {size}{shared}"

    def children(self):
        if not self._is_sound() or self._size == 0:
            return
        first, count = self._first, self._size
        if self._shape:
            count, cols = self._shape
            first = first.cast(first.type.target().array(cols - 1).pointer())
        for i in range(count):
            yield f"[{i}]", first[i]

    @staticmethod
    def display_hint():
        return "array"


class ArrayPrinters(gdb.printing.PrettyPrinter):
    """Chooses the printer by the base class, so that users' derived classes print too."""

    def __init__(self):
        super().__init__("measuremath")

    def __call__(self, value):
        base = array_base(value.type)
        return ArrayPrinter(value, base) if base and value.address else None


gdb.printing.register_pretty_printer(gdb.current_objfile(), ArrayPrinters(), replace=True)
