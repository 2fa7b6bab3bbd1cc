"""The golden cases of the repository (tests/golden/<case>/), run through
velquorin.run as tests/golden/run_case.sh runs the program: the case's inputs
copied into a scratch folder, the command file named "./<name>.in", the
case's --seed, and every file of expected/ compared byte for byte."""

import os
import shutil
from dataclasses import dataclass
from typing import Optional

import pytest

SOURCE_DIR = os.environ.get("VELQUORIN_SOURCE_DIR") or os.path.abspath(
    os.path.join(os.path.dirname(__file__), "..", "..", "..")
)
GOLDEN_DIR = os.path.join(SOURCE_DIR, "tests", "golden")
NOT_OUTPUTS = {"console.txt", "stderr.txt", "status"}
# Files a run leaves that it opened to read, not to write: the missing data
# file that the read creates empty. A result names only the files written.
CREATED_BY_READING = {"data_file_missing": {"nodata.dat"}}


def plays_as_a_run(case_dir):
    """A case that velquorin.run can play: no setup script, no standard
    input, and no command-line word but --seed N and --threads N (a check
    or --strict case, a cut command file, are the program's alone)."""
    if any(os.path.exists(os.path.join(case_dir, f)) for f in ("setup", "stdin", "command")):
        return False
    args_file = os.path.join(case_dir, "args")
    if not os.path.isfile(args_file):
        return True
    with open(args_file) as f:
        words = f.read().split()
    while len(words) >= 2 and words[0] in ("--seed", "--threads") and words[1].lstrip("-").isdigit() and len(words[1]) <= 18:
        words = words[2:]
    return not words


def golden_case_names():
    if not os.path.isdir(GOLDEN_DIR):
        return []
    return sorted(
        name
        for name in os.listdir(GOLDEN_DIR)
        if os.path.isdir(os.path.join(GOLDEN_DIR, name, "expected"))
        and plays_as_a_run(os.path.join(GOLDEN_DIR, name))
    )


@dataclass
class GoldenCase:
    name: str
    expected: str
    scratch: str
    command: str
    seed: Optional[int]


def read_bytes(path):
    with open(path, "rb") as f:
        return f.read()


@pytest.fixture
def golden_case(tmp_path):
    """Returns a function that copies a golden case into a scratch folder."""

    def make(name):
        case_dir = os.path.join(GOLDEN_DIR, name)
        if not os.path.isdir(case_dir):
            pytest.skip("the repository's golden cases are not at hand (set VELQUORIN_SOURCE_DIR)")
        input_dir, command = case_dir, None
        example = os.path.join(case_dir, "example")
        if os.path.isfile(example):
            with open(example) as f:
                target = os.path.join(SOURCE_DIR, f.readline().strip())
            if os.path.isdir(target):
                input_dir = target
            else:
                input_dir, command = os.path.dirname(target), os.path.basename(target)
        expected = os.path.join(case_dir, "expected")
        skipped = {"example", "args", "stdin", ".gitignore"} | set(os.listdir(expected))
        scratch = tmp_path / name
        scratch.mkdir()
        files = sorted(
            f
            for f in os.listdir(input_dir)
            if f not in skipped and os.path.isfile(os.path.join(input_dir, f))
        )
        for f in files:
            shutil.copyfile(os.path.join(input_dir, f), scratch / f)
        if command is None:
            command = [f for f in files if f.endswith(".in")][0]
        seed = None
        args_file = os.path.join(case_dir, "args")
        if os.path.isfile(args_file):
            with open(args_file) as f:
                words = f.read().split()
            if "--seed" in words:
                seed = int(words[words.index("--seed") + 1])
        return GoldenCase(name, expected, str(scratch), "./" + command, seed)

    return make


def expect_same_as_program(case, outcome):
    """Every file of expected/ against what the run left and returned."""
    expected = case.expected
    assert outcome.console.encode() == read_bytes(os.path.join(expected, "console.txt"))
    assert outcome.errors.encode() == read_bytes(os.path.join(expected, "stderr.txt"))
    assert "%d\n" % outcome.status == read_bytes(os.path.join(expected, "status")).decode()
    outputs = sorted(set(os.listdir(expected)) - NOT_OUTPUTS)
    for f in outputs:
        assert read_bytes(os.path.join(case.scratch, f)) == read_bytes(
            os.path.join(expected, f)
        ), "%s: %s differs" % (case.name, f)
    returned = set(outcome.saved_files) | ({outcome.report} if outcome.report else set())
    written = set(outputs) - CREATED_BY_READING.get(case.name, set())
    assert returned == {os.path.join(case.scratch, f) for f in written}
