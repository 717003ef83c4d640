#!/usr/bin/env python3
"""Builds and runs every block of code of the pages and of README.md, as page_code.py says, and
compares what it prints with the pages.

    docs/site/run_code.py                       all of them, on what build/dev holds
    docs/site/run_code.py docs/start.md ...     some
    docs/site/run_code.py --update ...          writes what is printed into the pages instead
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import page_code
import reference
from page_code import MARK, PageFault

PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = PROJECT / "build" / "dev"
PYTHON = "/usr/bin/python3"

# Commands that install, build or test the project itself: who runs them, and what must stand there.
# A script of ours must be there and know the options it is given, which is checked for all of them.
COVERED = [
    (r"cmake --preset install", "tests/stranger/run.sh", "--preset install"),
    (r"cmake --build --preset install", "tests/stranger/run.sh", "cmake --build"),
    (r"sudo cmake --install build/install && sudo ldconfig", "tests/stranger/run.sh", "cmake --install"),
    (r"python3 -m venv (--system-site-packages )?~/korrin-venv( && ~/korrin-venv/bin/pip install \.)?",
     "scripts/test-pip", "-m venv"),
    (r"~/korrin-venv/bin/pip install --no-build-isolation --no-index \.",
     "scripts/test-pip", "--no-index"),
    (r"scripts/make-packages && sudo apt-get install \./out/packages/\*\.deb",
     "scripts/test-packages", "apt-get install"),
    (r"scripts/install (cpp|mapping|python|program)", "scripts/test-first", "README.md"),
    (r"cmake --preset dev", "scripts/test", 'cmake --preset "$preset"'),
    (r"cmake --build build/dev --target (?P<test>\w+_test)", "scripts/test", "cmake --build"),
    (r"build/dev/tests/(?P<test>\w+_test) --gtest_filter='\S+'", "scripts/test", "ctest"),
]
SCRIPT = re.compile(r"(scripts/[\w-]+|\.ci/run)((?: [^&|;<>]+)?)")


def check_covered(place, command):
    """Whether a command is one of those that other tests run; a fault if these do not."""
    for pattern, file, text in COVERED:
        match = re.fullmatch(pattern, command)
        if not match:
            continue
        if text not in (PROJECT / file).read_text(encoding="utf-8"):
            raise PageFault(f"{place}: nothing tests {command!r}: {file} has no {text!r}")
        test = match.groupdict().get("test")
        if test and not list((PROJECT / "tests").rglob(f"{test}.cpp")):
            raise PageFault(f"{place}: there is no test {test}")
        return True
    match = SCRIPT.fullmatch(command)
    if not match:
        return False
    script = PROJECT / match.group(1)
    if not os.access(script, os.X_OK):
        raise PageFault(f"{place}: {match.group(1)} is no script")
    known = script.read_text(encoding="utf-8")
    for word in match.group(2).split():
        is_group = script.name == "install-packages"
        known_as = rf"^ +{re.escape(word)}\)" if is_group else rf"(?<![\w-]){re.escape(word)}(?![\w-])"
        if (is_group or word.startswith("--")) and not re.search(known_as, known, re.MULTILINE):
            raise PageFault(f"{place}: {match.group(1)} does not know {word}")
    return True


def commands(text):
    """The commands of a block, without remarks, lines that go on joined."""
    joined = re.sub(r"\\\n\s*", "", text)
    lines = [re.sub(r"(^|\s+)#.*$", "", line).strip() for line in joined.split("\n")]
    return [line for line in lines if line]


def as_installed(command):
    """A command with the built program and Debian's Python, for one that a user has elsewhere."""
    command = re.sub(r"(?<!\S)scripts/korrin(?=\s)", "korrin", command)
    return command.replace("~/korrin-venv/bin/python", PYTHON)


class Installation:
    """The libraries as users have them, from build/dev, and a header compiled once for all pages."""

    def __init__(self, directory):
        self.directory = directory
        self.prefix = directory / "prefix"
        for component in ("runtime", "development", "io-runtime", "io-development", "mapping-runtime",
                          "mapping-development"):
            run(["cmake", "--install", str(BUILD), "--prefix", str(self.prefix), "--component", component])
        package = next(self.prefix.rglob("korrin-io.pc")).parent
        self.environment = {
            **os.environ,
            "PATH": f"{BUILD / 'tools'}:/usr/bin:/bin",
            "PKG_CONFIG_PATH": str(package),
            "LD_LIBRARY_PATH": str(package.parent),
            "PYTHONPATH": str(BUILD / "python"),
            "OMP_NUM_THREADS": "1",
            "PYTHONDONTWRITEBYTECODE": "1",
            "MPLBACKEND": "Agg",
            "CMAKE_PREFIX_PATH": str(self.prefix),
        }
        self.flags = run(["pkg-config", "--cflags", "--libs", "korrin-mapping"], env=self.environment).split()
        self.common = directory / "common.hpp"
        self.common.write_text("#include <iostream>\n#include <string>\n#include <vector>\n"
                               "#include <korrin/io/io.hpp>\n#include <korrin/korrin.hpp>\n"
                               "#include <korrin/mapping/mapping.hpp>\n")
        include_flags = [flag for flag in self.flags if not flag.startswith("-l")]
        run(["c++", "-std=c++17", "-O0", *include_flags, "-x", "c++-header", str(self.common)])

    def build(self, text, program, *flags):
        """Builds a program; what OpenCV's images need is linked, as the examples do."""
        source = program.with_suffix(".cpp")
        source.write_text(text, encoding="utf-8")
        run(["c++", "-std=c++17", "-O0", "-Wall", "-Wextra", *flags, "-include", str(self.common), str(source),
             "-o", str(program), *self.flags, "-lopencv_core"])


def run(command, **options):
    done = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if done.returncode:
        raise PageFault(f"{' '.join(map(str, command))[:200]} failed:\n{done.stdout}{done.stderr}")
    return done.stdout


PYTHON_DRIVER = """
import doctest, sys
names = {"__name__": "__main__"}
for page, line, text in BLOCKS:
    if text.startswith(">>>"):
        test = doctest.DocTestParser().get_doctest(text, names, page, page, line - 1)
        report = []
        doctest.DocTestRunner().run(test, out=report.append, clear_globs=False)
        names.update(test.globs)
        if report:
            sys.exit("".join(report))
    else:
        exec(compile("\\n" * (line - 1) + text, page, "exec"), names)
    print(MARK, end="", flush=True)
"""


class Page:
    """A page of which every block is run."""

    def __init__(self, path, installation):
        self.path = path
        self.name = str(path.relative_to(PROJECT))
        self.text = path.read_text(encoding="utf-8")
        self.blocks = page_code.blocks(self.name, self.text)
        self.installation = installation
        self.scratch = installation.directory / re.sub(r"\W", "_", self.name)
        shutil.copytree(PROJECT / "examples", self.scratch / "examples")
        self.waiting = {"cpp": "", "python": "", "sh": ""}
        self.example = ""
        self.before = None
        self.new_texts = {}
        self.parts = {}

    def place(self, block):
        return f"{self.name}:{block.line}"

    def own(self, kind):
        return [block for block in self.blocks if block.kind == kind and not block.example
                and not page_code.is_program(block)]

    def build(self):
        """Builds the programs of the page."""
        for at, block in enumerate(self.blocks):
            if page_code.is_program(block) and not block.example:
                self.installation.build(f'#line {block.line} "{self.name}"\n{block.text}',
                                        self.scratch / f"program{at}")
        if self.own("cpp"):
            self.installation.build(page_code.joined_program(self.name, self.own("cpp")),
                                    self.scratch / "parts")

    def run(self):
        for at, block in enumerate(self.blocks):
            getattr(self, f"run_{block.kind}")(at, block)
            self.before = block
        left = self.waiting["cpp"] or self.waiting["python"]
        if left:
            raise PageFault(f"{self.name}: this is printed, and no text says so:\n{left}")

    def output(self, command):
        return run(command, cwd=self.scratch, env=self.installation.environment)

    def part_of_example(self, block):
        file = PROJECT / "examples" / block.example
        if not file.is_file() or not page_code.contains(file.read_text(encoding="utf-8"), block.text):
            raise PageFault(f"{self.place(block)}: this is no part of examples/{block.example}")
        self.example = block.example

    def run_cpp(self, at, block):
        if block.example:
            return self.part_of_example(block)
        self.example = ""
        if page_code.is_program(block):
            self.waiting["cpp"] += self.output([str(self.scratch / f"program{at}")])
            (self.scratch / "plan.cpp").write_text(block.text, encoding="utf-8")
            return None
        if block.is_hidden:
            return None
        if "cpp" not in self.parts:
            self.parts["cpp"] = iter(self.output([str(self.scratch / "parts")]).split(MARK))
        self.waiting["cpp"] += next(self.parts["cpp"], "")
        return None

    def run_python(self, at, block):
        if block.example:
            return self.part_of_example(block)
        self.example = ""
        if "python" not in self.parts:
            listed = [(self.name, part.line, part.text) for part in self.own("python")]
            script = f"BLOCKS = {listed!r}\nMARK = {MARK!r}\n{PYTHON_DRIVER}"
            self.parts["python"] = iter(self.output([PYTHON, "-c", script]).split(MARK))
        self.waiting["python"] += next(self.parts["python"])
        (self.scratch / "plan.py").write_text(block.text, encoding="utf-8")
        return None

    def run_sh(self, at, block):
        self.example = ""
        self.waiting["sh"] = ""
        for command in commands(block.text):
            command = as_installed(command)
            if check_covered(self.place(block), command):
                continue
            self.waiting["sh"] += self.output(["sh", "-euc", command])

    def run_cmake(self, at, block):
        project = self.scratch / f"cmake{at}"
        project.mkdir()
        (project / "main.cpp").write_text("#include <korrin/korrin.hpp>\n"
                                          "int main() { return Brin::Pose2D().x != 0; }\n")
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.22)\nproject(my_robot CXX)\nset(CMAKE_CXX_STANDARD 17)\n"
            f"add_executable(my_robot main.cpp)\n{block.text}", encoding="utf-8")
        self.output(["cmake", "-G", "Ninja", "-S", str(project), "-B", str(project / "build")])
        self.output(["cmake", "--build", str(project / "build")])
        self.output([str(project / "build" / "my_robot")])

    def run_text(self, at, block):
        if self.example:
            printed = self.example_output()
            if not page_code.contains(printed, block.text):
                raise PageFault(f"{self.place(block)}: examples/{self.example} prints no such lines:\n"
                                + printed)
            return
        is_of_commands = self.before is not None and self.before.kind == "sh" and not self.before.has_label
        kinds = ("sh",) if is_of_commands else ("cpp", "python")
        printed = {kind: self.waiting[kind] for kind in kinds if self.waiting[kind]}
        if not printed:
            raise PageFault(f"{self.place(block)}: nothing has been printed for this text")
        for kind, output in printed.items():
            if not page_code.agrees(block.text, output):
                self.new_texts[block.line] = (block.text, output)
                self.complain(block, kind, output)
            self.waiting[kind] = ""

    def complain(self, block, kind, output):
        if not UPDATE:
            raise PageFault(f"{self.place(block)}: {kind} prints something else:\n{output}")

    def example_output(self):
        if self.example.endswith(".py"):
            return self.output([PYTHON, str(PROJECT / "examples" / self.example)])
        return self.output([str(BUILD / "examples" / f"example_{self.example[:-4]}")])

    def update(self):
        """Puts what was printed where the page says something else."""
        lines = self.text.split("\n")
        for line in sorted(self.new_texts, reverse=True):
            old, new = self.new_texts[line]
            lines[line - 1:line - 1 + old.count("\n")] = new.rstrip("\n").split("\n")
        if self.new_texts:
            self.path.write_text("\n".join(lines), encoding="utf-8")
            print(f"{self.name}: {len(self.new_texts)} texts written anew")


def header_uses_program():
    """A program of the short uses at the tops of all headers, each a function of its own."""
    out = [f'#include "{PROJECT / "tests" / "docs" / "header_uses.hpp"}"']
    headers = reference.headers()
    for at, header in enumerate(headers):
        out += [f"void use{at}() {{", f'#line 1 "use of {header}"', reference.use_of(header), "}"]
    calls = "".join(f"use{at}();" for at in range(len(headers)))
    return "\n".join([*out, f"int main() {{ writeFiles(); {calls} }}", ""]), len(headers)


def run_header_uses(installation):
    """Builds and runs them; returns how many there are."""
    scratch = installation.directory / "uses"
    scratch.mkdir()
    text, count = header_uses_program()
    installation.build(text, scratch / "uses", "-Wno-unused")
    run([str(scratch / "uses")], cwd=scratch, env=installation.environment)
    return count


def all_pages():
    outside = [PROJECT / "README.md", PROJECT / "CONTRIBUTING.md"]
    return outside + [path for path in sorted((PROJECT / "docs").rglob("*.md"))]


def try_page(page):
    try:
        page.build()
        page.run()
        page.update()
        return None
    except PageFault as fault:
        return str(fault)


def main(paths):
    with tempfile.TemporaryDirectory() as directory:
        installation = Installation(pathlib.Path(directory))
        try:
            pages = [Page(path, installation) for path in paths]
        except PageFault as fault:
            sys.exit(str(fault))
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            uses = pool.submit(run_header_uses, installation)
            faults = [fault for fault in pool.map(try_page, pages) if fault]
            try:
                uses = uses.result()
            except PageFault as fault:
                faults.append(str(fault))
    print("\n".join(faults) or f"{sum(len(page.blocks) for page in pages)} blocks of code of "
          f"{len(pages)} pages, {uses} uses of headers")
    return 1 if faults else 0


if __name__ == "__main__":
    UPDATE = "--update" in sys.argv
    sys.exit(main([pathlib.Path(name).resolve() for name in sys.argv[1:] if not name.startswith("--")]
                  or all_pages()))
