"""The type stubs say what the module has, in names that a type checker finds."""
import ast
import builtins
import inspect
import pathlib

import moriak_sensors as ms


def names_in(annotation):
    return {node.id for node in ast.walk(annotation) if isinstance(node, ast.Name)}


def test_stubs_are_those_of_the_module():
    tree = ast.parse(pathlib.Path(ms.__file__).with_name("moriak_sensors.pyi").read_text())
    stubs = {node.name: node for node in tree.body if hasattr(node, "name")}
    public = {name for name in vars(ms) if not name.startswith("_")}
    assert set(stubs) == public
    known = public | {"numpy"} | set(vars(builtins)) | {
        alias.name for node in tree.body if isinstance(node, ast.ImportFrom)
        for alias in node.names}
    for node in ast.walk(tree):
        if isinstance(node, ast.FunctionDef):
            # What the module has no class for would have its C++ name here.
            for annotation in [node.returns, *(argument.annotation for argument in node.args.args)]:
                assert annotation is None or names_in(annotation) <= known, ast.unparse(node)
    for name, node in stubs.items():
        if isinstance(node, ast.ClassDef) and hasattr(getattr(ms, name), "__mro__"):
            members = {member.name for member in node.body if hasattr(member, "name")}
            own = {member for member, value in vars(getattr(ms, name)).items()
                   if isinstance(value, property)
                   or inspect.isroutine(value) and not member.startswith("_")}
            if not issubclass(getattr(ms, name), int):
                assert own <= members, name


def test_every_function_has_a_docstring_with_its_parameters():
    functions = [getattr(owner, name) for owner in [ms, *filter(inspect.isclass, vars(ms).values())]
                 for name in vars(owner) if not name.startswith("_")
                 and inspect.isroutine(getattr(owner, name))
                 and getattr(owner, "__module__", ms.__name__) == ms.__name__
                 and not (inspect.isclass(owner) and issubclass(owner, int))]
    assert len(functions) > 100
    for function in functions:
        assert "(" in function.__doc__ and "arg0" not in function.__doc__, function.__doc__
