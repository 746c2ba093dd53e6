"""Shows the values of ztlib's classes in gdb.

gdb finds this file by itself where the library is installed as a package; elsewhere write
`source .../ztlib_gdb.py` into ~/.gdbinit. It works with the debugging information of the program alone,
and needs none of the library. Long contents end at gdb's `print elements`.
"""

import itertools
import re

import gdb
import gdb.printing
import gdb.types

# By the code of ZtPrimType: its name, and the C++ type of an element.
PRIM_TYPES = [("byte", "unsigned char"), ("short", "short"), ("int", "int"), ("float", "float"),
              ("double", "double"), ("complex", "float"), ("string", "char"), ("ushort", "unsigned short"),
              ("uint", "unsigned int"), ("sbyte", "signed char")]
STRING = 6
COMPLEX = 5


def limit():
    """How many elements to show; None for all."""
    return gdb.parameter("print elements") or None


def some(count):
    """The indices to show of `count` elements, none of a count that cannot be one."""
    count = max(0, int(count))
    return range(count if limit() is None else min(count, limit()))


def joined(count, text_of):
    """The elements in parentheses, with an ellipsis for those left out."""
    shown = some(count)
    parts = [text_of(i) for i in shown]
    if len(shown) < count:
        parts.append("...")
    return "(" + ", ".join(parts) + ")"


def number(value):
    """A number as gdb prints it; one of a byte as a number, not as a character."""
    if value.type.strip_typedefs().sizeof == 1:
        value = value.cast(gdb.lookup_type("int"))
    return str(value)


def quoted(address):
    """A zero-terminated text in quotes, null as null."""
    return address.format_string(address=False, format="s") if int(address) else "null"


class Array:
    """ZtDArray: the size, then the elements."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"ZtDArray of {int(self.value['size_'])}, room for {int(self.value['max_'])}"

    def children(self):
        # gdb itself stops at its limit.
        count = max(0, int(self.value["size_"]))
        return ((f"[{i}]", (self.value["data_"] + i).dereference()) for i in range(count))

    @staticmethod
    def display_hint():
        return "array"


class String:
    """ZtString: the text, with any zero bytes in it."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        size = int(self.value["size_"])
        return self.value["data_"].lazy_string(length=size - 1) if size > 1 else ""

    @staticmethod
    def display_hint():
        return "string"


class Handle:
    """ZtHandle: the class of the object and its number of references, then the object."""

    def __init__(self, value):
        self.object = value["object_"]

    def to_string(self):
        if not int(self.object):
            return "ZtHandle to nothing"
        try:
            value = self.object.dereference()
            return f"ZtHandle to {value.dynamic_type.name}, {int(value['count_'])} references"
        except gdb.error:  # a class of which the program knows the name only
            return f"ZtHandle to {self.object.type.target().name}"

    def children(self):
        if int(self.object):
            value = self.object.dereference()
            yield "object", value.cast(value.dynamic_type)


class Bitfield:
    """ZtBitfield: how many bits there are and are set, and the bits, from bit 0 on."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        count = int(self.value["nBits_"])
        if not count:
            return "ZtBitfield of 0 bits"
        words = self.value["words_"]
        data = gdb.selected_inferior().read_memory(int(words), int(self.value["nWords_"]) * 4)
        # As one integer, whose bit i is that of the field.
        bits = int.from_bytes(data.tobytes(), "little") & ((1 << count) - 1)
        shown = some(count)
        text = "".join(str(bits >> i & 1) for i in shown) + ("..." if len(shown) < count else "")
        return f"ZtBitfield of {count} bits, {bin(bits).count('1')} set: {text}"


class Vector:
    """ZtVec2, ZtVec3, ZtVec4: the components."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        names = [name for name in "xyzw" if name in {f.name for f in self.value.type.fields()}]
        return joined(len(names), lambda i: number(self.value[names[i]]))


class Rotation:
    """ZtRotation: the quaternion x, y, z, w."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return joined(4, lambda i: number(self.value["q_"][i]))


class Matrix:
    """ZtMat3f, ZtMat4f: the rows."""

    def __init__(self, value):
        self.rows = value["m_"]
        self.size = value["m_"].type.range()[1] + 1

    def to_string(self):
        return f"{self.size} x {self.size}"

    def row(self, i):
        return joined(self.size, lambda j: number(self.rows[i][j]))

    def children(self):
        return ((f"[{i}]", self.row(i)) for i in range(self.size))


class DenseMatrix:
    """ZtDMatrix: the numbers of rows and columns, then the rows."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"ZtDMatrix {int(self.value['rows_'])} x {int(self.value['columns_'])}"

    def children(self):
        columns = int(self.value["columns_"])
        for i in range(max(0, int(self.value["rows_"]))):
            row = self.value["data_"] + i * columns
            yield f"[{i}]", joined(columns, lambda j, row=row: number(row[j]))


class Result:
    """ZtResult and its record: the code, what it means, the message, and where it was made."""

    def __init__(self, value):
        is_handle = any(field.name == "record_" for field in value.type.fields())
        self.record = value["record_"].dereference() if is_handle else value

    @staticmethod
    def text(value):
        size = int(value["size_"])
        return value["data_"].string(length=size - 1, errors="replace") if size > 1 else ""

    def to_string(self):
        code = int(self.record["code_"])
        parts = [f"{code}"]
        for name in ("text_", "data_"):
            text = self.text(self.record[name])
            if text:
                parts.append(text)
        file = self.text(self.record["file_"])
        place = f" ({file}:{int(self.record['line_'])})" if file else ""
        return ": ".join(parts) + place


class PrimType:
    """ZtPrimType: its name."""

    def __init__(self, value):
        self.code = int(value["code_"])

    def to_string(self):
        return PRIM_TYPES[self.code][0] if 0 <= self.code < len(PRIM_TYPES) else f"unknown ({self.code})"


class Identifier:
    """ZtID and the classes on it: the number, or that it is empty."""

    def __init__(self, value):
        self.value = value
        self.type = next(t for t in itertools.chain([value.type], bases(value.type))
                         if (t.name or "").startswith("ZtID<"))

    def to_string(self):
        number_in_it = int(self.value.cast(self.type)["value_"])
        return "empty" if number_in_it == int(self.type.template_argument(1)) else str(number_in_it)


class Parameter:
    """NwParameter: name, type and values."""

    def __init__(self, value):
        self.value = value

    def values(self):
        code = int(self.value["type_"]["code_"])
        count = int(self.value["dimension_"])
        data = self.value["values_"]
        if not 0 <= code < len(PRIM_TYPES):
            return "?"
        element = gdb.lookup_type(PRIM_TYPES[code][1])
        if code == STRING:
            return quoted(data.cast(element.pointer())) if int(data) else '""'
        if not int(data):
            return "none"
        array = data.cast(element.pointer())
        if code == COMPLEX:
            def text_of(i):
                return f"{array[2 * i]} + {array[2 * i + 1]}i"
        else:
            def text_of(i):
                return number(array[i])
        return text_of(0) if count == 1 else joined(count, text_of)

    def to_string(self):
        return f"{quoted(self.value['name_'])}, {PrimType(self.value['type_']).to_string()}: {self.values()}"


class Bundle:
    """NwParamBundle: its name, then what it holds."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"{quoted(self.value['name_'])}, bundle of {int(self.value['children_']['size_'])}"

    def children(self):
        array = self.value["children_"]
        for i in range(max(0, int(array["size_"]))):
            child = array["data_"][i].dereference()
            yield f"[{i}]", child.cast(child.dynamic_type)


def bases(kind):
    """All classes that a class derives from."""
    for field in kind.fields():
        if field.is_base_class:
            yield field.type
            yield from bases(field.type)


PRINTERS = [(re.compile(pattern), printer) for pattern, printer in (
    (r"ZtString", String),
    (r"ZtDArray<.*>", Array),
    (r"ZtHandle<.*>", Handle),
    (r"ZtBitfield", Bitfield),
    (r"ZtVec[234]<.*>", Vector),
    (r"ZtRotation", Rotation),
    (r"ZtMat[34]f", Matrix),
    (r"ZtDMatrix<.*>", DenseMatrix),
    (r"ZtResult(Base)?", Result),
    (r"ZtPrimType", PrimType),
    (r"ZtID<.*>|Zt(Frame|Unique|Transfer|Remotification)ID", Identifier),
    (r"NwParameter", Parameter),
    (r"NwParamBundle", Bundle),
)]


class Lookup(gdb.printing.PrettyPrinter):
    """Finds the printer of a value by the name of its class."""

    def __init__(self):
        super().__init__("ztlib")

    def __call__(self, value):
        name = gdb.types.get_basic_type(value.type).name or ""
        for pattern, printer in PRINTERS:
            if pattern.fullmatch(name):
                return printer(value)
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Lookup(), replace=True)
