"""Runs in gdb, with the program loaded: compares what gdb prints for its values with what stands above
them in its source. ZT_SOURCE and ZT_PRINTERS name the source and the printers. Ends with 1 where
something differs, with 77 where the debugger may not run programs.
"""
import os
import re
from xml.etree import ElementTree

import gdb


def finish(code, text):
    print(text)
    gdb.execute("kill" if gdb.selected_inferior().pid else "show version", to_string=True)
    gdb.execute(f"quit {code}")


def fields(kind):
    """The names of the members of a class and of the classes that it derives from or points to."""
    kind = kind.strip_typedefs()
    kind = kind.target().strip_typedefs() if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_PTR) else kind
    if kind.code != gdb.TYPE_CODE_STRUCT or kind.name.startswith("std::"):
        return set()
    names = set()
    for field in kind.fields():
        names.add(field.name)
        if field.is_base_class or field.name in ("record_", "object_"):
            names |= fields(field.type)
    return names


def unknown_members(natvis, members):
    """What the file for Visual Studio, which cannot be run here, names and no class has."""
    texts = [text for node in ElementTree.parse(natvis).iter() if node.tag.endswith("}Type")
             for part in node.iter() for text in (part.text or "", part.get("Condition") or "")]
    return set(re.findall(r"\b[a-zA-Z]+_\b", " ".join(texts))) - members


def main():
    source = os.environ["ZT_SOURCE"]
    with open(source, encoding="utf-8") as file:
        lines = file.read().split("\n")
    for setting in ("pagination off", "confirm off", "print pretty off", "print elements 200", "width 0",
                    "debuginfod enabled off", "disable-randomization off"):
        gdb.execute("set " + setting)
    gdb.execute("source " + os.environ["ZT_PRINTERS"])
    if not gdb.objfiles():
        finish(1, "there is no program")
    stop = next(i for i, line in enumerate(lines) if "the debugger stops here" in line) + 1
    gdb.execute(f"break {os.path.basename(source)}:{stop}", to_string=True)
    try:
        gdb.execute("run", to_string=True)
    except gdb.error as error:
        finish(77, f"the debugger cannot run programs here: {error}")
    failures, values, members = 0, 0, set()
    for line, declaration in zip(lines, lines[1:]):
        expected = re.match(r" *//= (.*)", line)
        if not expected:
            continue
        name = re.search(r"\b(a[A-Z]\w*)(\(| =|;)", declaration).group(1)
        try:
            shown = gdb.execute("output " + name, to_string=True)
        except gdb.error as error:
            shown = f"error: {error}"
        # A text that ends within an open brace is the start of a longer one.
        is_start = expected.group(1).endswith("{")
        values += 1
        members |= fields(gdb.parse_and_eval(name).type)
        if shown != expected.group(1) and not (is_start and shown.startswith(expected.group(1))):
            failures += 1
            print(f"{name}\n  shown    {shown}\n  expected {expected.group(1)}")
    unknown = unknown_members(os.environ["ZT_PRINTERS"].replace("_gdb.py", ".natvis"), members)
    if unknown:
        failures += 1
        print("ztlib.natvis names members that there are not:", *sorted(unknown))
    finish(1 if failures or not values else 0, f"{values} values, {failures} shown otherwise")


main()
