"""Writes the reference of the Python package from its docstrings: a page for each subject of docs/python.md.

``python_pages.py PACKAGE FOLDER``: the package as it was built, with the stub of its extension, and where the pages go.
"""

from __future__ import annotations

import ast
import re
import sys
from collections.abc import Iterator
from pathlib import Path

Documented = ast.ClassDef | ast.FunctionDef


def subjects(page: Path) -> dict[str, list[str]]:
    """The names of each subject, from the first columns of the tables."""
    found: dict[str, list[str]] = {}
    for line in page.read_text().splitlines():
        if line.startswith("## "):
            names = found.setdefault(line[3:], [])
        elif line.startswith("| `"):
            names += re.findall(r"`([\w.]+)`", line.split("|")[1])
    return found


def definitions(package: Path) -> dict[str, Documented]:
    """Classes and functions by name, those of public modules behind its name; names of values mean the class that they are of."""
    found: dict[str, Documented] = {}
    for file in [*sorted(package.glob("*.py")), package / "_core.pyi"]:
        module = "" if file.stem.startswith("_") else f"{file.stem}."
        for node in ast.parse(file.read_text()).body:
            if isinstance(node, Documented):
                found.setdefault(module + node.name, node)
            elif isinstance(node, ast.Assign) and isinstance(node.value, ast.Call) and isinstance(node.targets[0], ast.Name):
                made = found.get(ast.unparse(node.value.func))
                if made is not None:
                    found.setdefault(node.targets[0].id, made)
    return found


def members(node: Documented) -> Iterator[ast.FunctionDef]:
    """Public methods and properties, each once; those of overloads that have a docstring."""
    if isinstance(node, ast.ClassDef):
        own = [one for one in node.body if isinstance(one, ast.FunctionDef) and not one.name.startswith("_")]
        for name in sorted({one.name for one in own}):
            named = [one for one in own if one.name == name]
            yield next((one for one in named if ast.get_docstring(one)), named[0])


def is_property(node: ast.FunctionDef) -> bool:
    return any("property" in ast.unparse(one) for one in node.decorator_list)


def signature(node: Documented) -> str:
    """Arguments without self and what they give; of a property only what it is, of a class those of its constructor."""
    if isinstance(node, ast.ClassDef):
        made = [one for one in node.body if isinstance(one, ast.FunctionDef) and one.name == "__init__"]
        fields = [ast.unparse(one) for one in node.body if isinstance(one, ast.AnnAssign)]
        return signature(made[0]).removesuffix(" -> None") if made else f"({', '.join(fields)})" if fields else ""
    returns = f" -> {ast.unparse(node.returns)}" if node.returns else ""
    arguments = re.sub(r"^self(, /)?(, )?", "", ast.unparse(node.args))
    return returns if is_property(node) else f"({arguments}){returns}"


def entry(level: str, name: str, node: Documented) -> str:
    text = ast.get_docstring(node) or ""
    code = re.sub(r"^>>>[\s\S]*", lambda found: f"```python\n{found[0]}\n```", text, count=1, flags=re.M)
    return "\n\n".join(part for part in (f"{level} {name}", f"`{name}{signature(node)}`", code) if part)


def main(package: Path, folder: Path) -> None:
    known = definitions(package)
    folder.mkdir(parents=True, exist_ok=True)
    index = ["# Reference of the Python package", ""]
    for subject, names in subjects(Path(__file__).parents[1] / "python.md").items():
        parts = [f"# {subject}"]
        for name in names:
            if name.startswith("__"):
                continue
            parts.append(entry("##", name, known[name]))
            parts += [entry("###", f"{name}.{one.name}", one) for one in members(known[name])]
        file = subject.lower().replace(",", "").replace(" ", "-") + ".md"
        (folder / file).write_text("\n\n".join(parts) + "\n")
        index.append(f"- [{subject}]({file}): {', '.join(names)}")
    (folder / "index.md").write_text("\n".join(index) + "\n")


if __name__ == "__main__":
    main(Path(sys.argv[1]), Path(sys.argv[2]))
