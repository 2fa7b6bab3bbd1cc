"""Velquorin from Python: exploratory factor analysis of test items.

The functions run the same C++ engine as the command-line program
``velquorin``, with the same numbers bit for bit. Nothing is printed while
the engine runs and it never waits for input; a run that does not finish
raises :class:`VelquorinError` with the program's own message.

    import velquorin
    result = velquorin.run("examples/demo/demo.in", seed=1)
    print(result.report)        # absolute path of the report
    print(result.saved_files)   # the saved matrices beside the command file
"""

import logging
import os
from dataclasses import dataclass, field
from typing import List, Optional

from . import _core

__all__ = ["run", "RunResult", "VelquorinError"]

_log = logging.getLogger("velquorin")


@dataclass
class RunResult:
    """What a finished run left: its report and saved files, its console text.

    Attributes:
        report: absolute path of the report (None when the run wrote none).
        saved_files: absolute paths of the saved files, in the order written.
        console: what the program would have written to standard output.
        errors: what it would have written to standard error.
        ending: "finished".
        status: the program's exit status (0).
    """

    report: Optional[str]
    saved_files: List[str] = field(default_factory=list)
    console: str = ""
    errors: str = ""
    ending: str = "finished"
    status: int = 0


class VelquorinError(RuntimeError):
    """A run that stopped before its end.

    ``str(error)`` is the program's own message ("FATAL ERROR: ..."; for a
    severe read error "severe (N): ..."). The attributes are those of
    :class:`RunResult` (the report and saved files the run wrote before it
    stopped, the console text), with ``ending`` one of "stopped", "severe",
    "cancelled" and ``status`` the program's exit status.
    """

    def __init__(self, outcome):
        message = outcome["message"] or "the run ended: " + outcome["ending"]
        super().__init__(message)
        self.message = message
        self.ending = outcome["ending"]
        self.status = outcome["status"]
        self.report = outcome["report"]
        self.saved_files = list(outcome["saved_files"])
        self.console = outcome["console"]
        self.errors = outcome["errors"]


def _threads(threads):
    if threads is None:
        return 0
    if isinstance(threads, bool) or not isinstance(threads, int) or not 1 <= threads <= 1024:
        raise ValueError("threads must be a whole number from 1 to 1024, or None for every core")
    return threads


def run(command_file, threads=None, seed=None, verbose=False):
    """Runs a Velquorin command file as the command-line program does.

    Equivalent to ``velquorin --threads N --seed S command_file`` in the
    current working directory: the report named on the ``>OUTFILE:`` line is
    relative to the working directory, the saved files go beside the command
    file, and all of them are the program's byte for byte, for any thread
    count. The interpreter's lock is released while the engine runs.

    Args:
        command_file: path of the command file (``*.in``), str or path-like.
        threads: threads for the correlation estimators and the triplet test,
            1 to 1024; None for every core. Results never depend on it.
        seed: int that fixes the random start of a rotation; None for a seed
            from the clock.
        verbose: log the console text of the run (logger "velquorin", level
            INFO) after it ends.

    Returns:
        RunResult.

    Raises:
        VelquorinError: the run stopped (a fatal message, a severe read error,
            a command file that cannot be opened); its message is the
            program's own words.
        ValueError: bad arguments.
    """
    path = os.fspath(command_file)
    if not isinstance(path, str) or not path:
        raise ValueError("command_file must be the path of one command file")
    if seed is not None and (isinstance(seed, bool) or not isinstance(seed, int)):
        raise ValueError("seed must be a whole number or None")
    if seed is not None and not -(2**63) <= seed < 2**63:
        raise ValueError("seed must be a whole number of at most 63 bits")
    outcome = _core.run_file(path, _threads(threads), seed)
    if verbose and outcome["console"]:
        _log.info("%s", outcome["console"].rstrip("\n"))
    if outcome["ending"] != "finished":
        raise VelquorinError(outcome)
    return RunResult(
        report=outcome["report"],
        saved_files=list(outcome["saved_files"]),
        console=outcome["console"],
        errors=outcome["errors"],
        ending=outcome["ending"],
        status=outcome["status"],
    )
