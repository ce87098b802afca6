"""The installed package: its docstrings' examples hold, and its type stub
declares exactly what the compiled module offers."""

import ast
import doctest
import inspect
import os
import re

import pytest

import krel

PUBLIC_FUNCTIONS = ["get_merged_hosts", "get_merged_ints", "expand_ranges", "word_wrap",
                    "column_wrap", "space_wrap", "is_newer", "gather"]


def documented_objects():
    yield "krel", krel
    yield "krel._krel", krel._krel
    for name in PUBLIC_FUNCTIONS:
        yield name, getattr(krel, name)
    yield "HostSet", krel.HostSet
    for name, member in vars(krel.HostSet).items():
        if getattr(member, "__doc__", None) and ">>>" in member.__doc__:
            yield f"HostSet.{name}", member
    yield "Gatherer", krel.Gatherer


@pytest.mark.parametrize("name, obj", list(documented_objects()),
                         ids=[name for name, _ in documented_objects()])
def test_docstring_examples_hold(name, obj):
    doc = inspect.getdoc(obj) or ""
    test = doctest.DocTestParser().get_doctest(doc, vars(krel).copy(), name, None, 0)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    output = []
    runner.run(test, out=output.append)
    assert runner.failures == 0, "".join(output)


@pytest.mark.parametrize("name", PUBLIC_FUNCTIONS)
def test_every_function_has_a_contract_with_examples(name):
    assert ">>>" in getattr(krel, name).__doc__


def readme_python_blocks():
    path = os.path.join(os.path.dirname(__file__), os.pardir, os.pardir, "README.md")
    with open(path, encoding="utf-8") as readme:
        text = readme.read()
    return re.findall(r"```python\n(.*?)```", text, re.S)


def test_readme_examples_hold():
    blocks = readme_python_blocks()
    assert blocks, "the README has a Python example"
    for number, block in enumerate(blocks):
        test = doctest.DocTestParser().get_doctest(block, {}, f"README block {number}", None, 0)
        runner = doctest.DocTestRunner()
        output = []
        runner.run(test, out=output.append)
        assert runner.failures == 0, "".join(output)


def stub_tree():
    path = os.path.join(os.path.dirname(krel.__file__), "__init__.pyi")
    with open(path, encoding="utf-8") as stub:
        return ast.parse(stub.read())


def test_stub_declares_every_public_name():
    declared = {node.name for node in stub_tree().body
                if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    offered = {name for name in dir(krel._krel) if not name.startswith("_")}
    assert declared == offered


def test_stub_declares_every_hostset_member():
    classes = [node for node in stub_tree().body if isinstance(node, ast.ClassDef)]
    declared = {node.name for node in classes[0].body if isinstance(node, ast.FunctionDef)}
    offered = {name for name in vars(krel.HostSet) if name not in
               {"__module__", "__doc__", "__hash__", "__new__", "__dict__", "__weakref__",
                "__getstate__", "__setstate__", "__ne__"}}
    assert offered - declared == set()


def test_package_is_marked_typed():
    assert os.path.isfile(os.path.join(os.path.dirname(krel.__file__), "py.typed"))


def test_version_is_the_library_version():
    assert krel.__version__ == os.environ["KREL_EXPECTED_VERSION"]
