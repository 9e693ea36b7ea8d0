"""Writes the type stubs of moriak_sensors from what pybind11 says in the module's docstrings.

usage: make_stubs.py FILE   (with the module on PYTHONPATH)

mypy's stubgen takes the texts of attributes for types, and leaves the documentation out.
"""
import enum
import inspect
import re
import sys

import moriak_sensors

HEADER = '''"""Made by python/make_stubs.py."""
import enum
from typing import Any, Callable, Dict, List, Optional, Tuple, overload

import numpy

'''

SIGNATURE = re.compile(r"^(?:\d+\. )?(\w+)\((.*)\) -> (.+)$", re.MULTILINE)


def typed(text):
    """pybind11's names of types, as type checkers have them."""
    text = text.replace("moriak_sensors.", "").replace("std::", "")
    text = re.sub(r"numpy\.ndarray\[[^\]]*\]", "numpy.ndarray[Any, Any]", text)
    text = re.sub(r"\[(\w+)\[\d+\]\]", r"[\1]", text)
    text = re.sub(r"\blist\b", "List[Any]", text)
    text = re.sub(r"\*args$", "*args: Any", text)
    text = re.sub(r"\bfunction\b", "Callable[..., Any]", text)
    return re.sub(r"\bobject\b", "Any", text)


def documented(doc, indent):
    text = inspect.cleandoc(doc or "").replace("\\", "\\\\").replace('"""', "'''")
    if not text:
        return ""
    return f'{indent}"""' + text.replace("\n", "\n" + indent).replace(f"\n{indent}\n", "\n\n") + \
        ('\n' + indent if "\n" in text else "") + '"""\n'


def functions(doc, indent):
    """One `def` for each signature in a docstring, with the text that belongs to it."""
    found = list(SIGNATURE.finditer(doc))
    found = [one for one in found if "*args" not in one[2] or len(found) == 1]
    for number, one in enumerate(found):
        end = found[number + 1].start() if number + 1 < len(found) else len(doc)
        parameters = re.sub(r"^self: [\w.]+", "self", typed(one[2]))
        if len(found) > 1:
            yield f"{indent}@overload\n"
        yield f"{indent}def {one[1]}({parameters}) -> {typed(one[3])}:\n"
        yield documented(doc[one.end():end], indent + "    ")
        yield f"{indent}    ...\n"


def enumeration(name, value):
    base = "IntFlag" if issubclass(value, enum.IntFlag) else "IntEnum"
    yield f"class {name}(enum.{base}):\n" + documented(value.__doc__, "    ")
    for member in value.__members__.values():
        yield f"    {member.name} = {int(member)}\n"


def class_of(name, value):
    yield f"class {name}:\n" + documented(value.__doc__, "    ")
    attributes = {}
    for attribute, content in vars(value).items():
        if isinstance(content, property):
            attributes[attribute] = typed(SIGNATURE.search("f" + content.fget.__doc__)[3])
            yield f"    @property\n    def {attribute}(self) -> {attributes[attribute]}:\n"
            yield documented(content.__doc__, "        ") + "        ...\n"
            if content.fset is not None:
                yield f"    @{attribute}.setter\n"
                yield f"    def {attribute}(self, value: {attributes[attribute]}) -> None: ...\n"
    for attribute, content in vars(value).items():
        doc = getattr(content, "__doc__", None) or ""
        if attribute == "__init__" and "**kwargs) -> None" in doc and attributes:
            fields = ", ".join(f"{field}: {kind} = ..." for field, kind in attributes.items())
            yield f"    def __init__(self, *, {fields}) -> None: ...\n"
        elif callable(content) and SIGNATURE.search(doc):
            yield from functions(doc, "    ")


def stubs():
    yield HEADER
    for name, value in vars(moriak_sensors).items():
        if name.startswith("_"):
            continue
        if not inspect.isclass(value):
            yield from functions(value.__doc__, "")
        elif issubclass(value, enum.Enum):
            yield from enumeration(name, value)
        elif issubclass(value, Exception):
            yield f"class {name}({value.__base__.__name__}): ...\n"
        else:
            yield from class_of(name, value)
        yield "\n"


with open(sys.argv[1], "w", encoding="utf-8") as file:
    file.writelines(stubs())
