"""What is found as code on a page, and when a text is what was printed."""

import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "docs" / "site"))

import page_code  # noqa: E402
import run_code  # noqa: E402
from page_code import PageFault  # noqa: E402

PAGE = """# A page

**C++**

```cpp
int x = 1;
```

**Python**

```python
print(1)
```

<!-- set-up: not shown
```cpp
#include <cmath>
int twice(int x) { return 2 * x; }
```
-->

- a list

  ```sh
  korrin --version  # its version
  ```

See [examples/plan.cpp](../examples/plan.cpp):

```cpp
finder.setObstacleThreshold(0.2f);
```

```text
1
```
"""


def test_blocks_are_found_in_order():
    found = page_code.blocks("page.md", PAGE)
    assert [block.kind for block in found] == ["cpp", "python", "cpp", "sh", "cpp", "text"]
    assert [block.is_hidden for block in found] == [False, False, True, False, False, False]
    assert [block.has_label for block in found] == [True, True, False, False, False, False]
    assert [block.example for block in found] == ["", "", "", "", "plan.cpp", ""]
    assert found[0].line == 6
    assert found[3].text == "korrin --version  # its version\n"


@pytest.mark.parametrize(("page", "fault"), [
    ("```rust\nx\n```\n", "page.md:1: a block of rust"),
    ("```\nx\n```\n", "page.md:1: a block of no language"),
    ("Words.\n\n```cpp\nx\n", "page.md:3: a block without an end"),
    ("Words.\n\n    code();\n", "page.md:3: code by indentation"),
])
def test_what_could_not_be_run_is_a_fault(page, fault):
    with pytest.raises(PageFault, match=fault):
        page_code.blocks("page.md", page)


@pytest.mark.parametrize(("expected", "printed", "does"), [
    ("1\n2\n", "1\n2\n", True),
    ("1\n2\n", "1\n2", True),
    ("1\n...\n4\n", "1\n2\n3\n4\n", True),
    ("1\n...\n4\n", "1\n4\n", True),
    ("1\n...\n4\n", "1\n2\n5\n", False),
    ("1\n", "1\n2\n", False),
    ("1.\n", "12\n", False),
    ("", "1\n", False),
])
def test_agrees(expected, printed, does):
    assert page_code.agrees(expected, printed) == does


def test_a_part_is_found_whatever_its_indentation():
    assert page_code.contains("{\n  a();\n  b();\n}\n", "a();\nb();\n")
    assert not page_code.contains("{\n  a();\n  c();\n  b();\n}\n", "a();\nb();\n")


def test_parts_become_one_program():
    parts = [block for block in page_code.blocks("page.md", PAGE)
             if block.kind == "cpp" and not block.example]
    program = page_code.joined_program("page.md", parts)
    assert program.index("#include <cmath>") < program.index("int twice") < program.index("int main")
    assert program.index("int main") < program.index("int x = 1;")
    assert '#line 6 "page.md"' in program


@pytest.mark.parametrize(("command", "is_covered"), [
    ("scripts/test sanitize", True),
    ("scripts/install cpp", True),
    ("cmake --preset dev", True),
    ("cmake --build build/dev --target occmap_path_finder_test", True),
    ("korrin --version", False),
    ("echo scripts/test", False),
])
def test_commands_that_other_tests_run(command, is_covered):
    assert run_code.check_covered("page.md:1", command) == is_covered


@pytest.mark.parametrize("command", [
    "scripts/nothing",
    "scripts/docs --nothing",
    "scripts/install-packages nothing",
    "cmake --build build/dev --target no_such_test",
])
def test_commands_that_could_not_run_are_faults(command):
    with pytest.raises(PageFault):
        run_code.check_covered("page.md:1", command)


def test_the_program_of_the_source_is_run_as_the_built_one():
    assert run_code.as_installed("scripts/korrin plan map.yaml") == "korrin plan map.yaml"
    assert not run_code.check_covered("page.md:1", run_code.as_installed("scripts/korrin --help"))
    assert run_code.as_installed("scripts/korrin-other x") == "scripts/korrin-other x"


def test_lines_that_go_on_are_one_command():
    assert run_code.commands("a \\\n  --b  # why\n# only words\nc\n") == ["a --b", "c"]
