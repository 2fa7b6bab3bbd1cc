"""Velquorin from Python: exploratory factor analysis of test items.

The functions run the same C++ engine as the command-line program
``velquorin``, with the same numbers bit for bit. Nothing is printed while
the engine runs and it never waits for input; a run that does not finish
raises :class:`VelquorinError` with the program's own message.

    import velquorin
    result = velquorin.run("examples/demo/demo.in", seed=1)
    print(result.report)        # absolute path of the report
    print(result.saved_files)   # the saved matrices beside the command file

The phases are functions on data too: ``pearson``, ``polychoric``,
``tetrachoric``, ``smooth``, ``triplet_test``, ``fa``, ``scores`` and
``parallel`` take numpy arrays or pandas DataFrames and give the numbers a
run with the same settings saves:

    f = velquorin.fa(frame, nfactors=3, rotate="promax")
    print(f.loadings, f.phi, f.fit["rmsea"])
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


def _correlation_stop(outcome):
    error = VelquorinError.__new__(VelquorinError)
    RuntimeError.__init__(error, outcome["message"] or "the estimator ended: " + outcome["ending"])
    error.message = str(error)
    error.ending = outcome["ending"]
    error.status = outcome["status"]
    error.report = None
    error.saved_files = []
    error.console = ""
    error.errors = ""
    error.warnings = list(outcome["warnings"])
    return error


def _scores(x):
    """The scores as a float array and the labels of a DataFrame's columns."""
    labels = []
    if hasattr(x, "columns") and hasattr(x, "to_numpy"):
        labels = [str(c) for c in x.columns]
        x = x.to_numpy(dtype=float)
    import numpy as np

    array = np.asarray(x)
    if array.dtype.kind not in "biuf":
        raise ValueError("the scores must be numeric")
    if array.ndim != 2:
        raise ValueError("the scores must be a 2-d array, subjects by items")
    return np.asfortranarray(array, dtype=float), labels


def _labelled(matrix, labels):
    if not labels or matrix is None:
        return matrix
    import pandas as pd

    return pd.DataFrame(matrix, index=labels, columns=labels)


def _correlations(
    kind, x, threads, guessing=(), median_split=False, bound=0.9, likelihood_floor=True
):
    array, labels = _scores(x)
    outcome = _core.correlations(
        kind,
        array,
        labels,
        [float(g) for g in guessing],
        bool(median_split),
        float(bound),
        bool(likelihood_floor),
        _threads(threads),
    )
    if outcome["ending"] != "finished":
        raise _correlation_stop(outcome)
    for message in outcome["warnings"]:
        _log.warning("%s", message)
    return outcome, labels


_SCORES_DOC = """
    Args:
        x: scores, subjects by items: a 2-d numpy array (any layout) or a
            pandas DataFrame, whose column names become the labels. Missing
            scores (NaN) are refused with ValueError: the engine's only
            missing code is a score of 99 in an ordered item's highest place
            (polychoric), which counts in no category.
        threads: 1 to 1024, None for every core; never changes a number. The
            interpreter's lock is released while the engine runs.

    Raises:
        VelquorinError: the engine stopped; the message is the program's.
        ValueError: scores or arguments the engine cannot take.
"""


def pearson(x, threads=None):
    """Pearson product-moment correlations of the columns of ``x``.

    The numbers the program saves in its ``cor`` file for the coding "CO",
    bit for bit. A column without variance has a row and column of 0.

    Returns:
        an items-by-items numpy array, or a DataFrame labelled by the
        columns where a DataFrame came in.
    """
    outcome, labels = _correlations("pearson", x, threads)
    return _labelled(outcome["r"], labels)


def polychoric(x, bound=0.9, likelihood_floor=True, threads=None, full=False):
    """Polychoric correlations of ordered item scores (at most 14 categories).

    Two-step maximum likelihood, each pair's r searched in [-bound, bound];
    a pair on a bound is logged as a warning (logger "velquorin"). With the
    defaults, the numbers the program saves for the coding "OR", bit for bit.

    Args (besides x and threads):
        bound: the search's bound, 0.05 to 0.9999. The run's is 0.9; 0.999
            lets strong associations through.
        likelihood_floor: True (the run): each search starts from a best log
            likelihood of -999999, so a pair whose likelihood is below it
            everywhere stays at 0 (large samples with many categories: at
            N = 250,000 with ten categories every pair). False: the best
            point of the search always wins.
        full: return a dict with "r", "se" (standard errors from the
            curvature of each pair's log likelihood), "thresholds" (each
            item's thresholds on the normal scale) and "warnings".

    Returns:
        an items-by-items numpy array, or a labelled DataFrame; with
        ``full`` the dict above.
    """
    outcome, labels = _correlations(
        "polychoric", x, threads, bound=bound, likelihood_floor=likelihood_floor
    )
    if not full:
        return _labelled(outcome["r"], labels)
    return _full(outcome, labels)


def _full(outcome, labels):
    import numpy as np

    thresholds = [np.asarray(t, dtype=float) for t in outcome["thresholds"]]
    if labels:
        thresholds = dict(zip(labels, thresholds))
    return {
        "r": _labelled(outcome["r"], labels),
        "se": _labelled(outcome["se"], labels),
        "thresholds": thresholds,
        "warnings": list(outcome["warnings"]),
    }


def tetrachoric(x, guessing=None, median_split=False, threads=None, full=False):
    """Tetrachoric correlations of dichotomous item scores.

    The keyed score is the highest score of the first item. The numbers the
    program saves for the codings "DI", "DC" (``guessing``) and "CD"
    (``median_split``), bit for bit.

    Args (besides x and threads):
        guessing: None, or one chance of a correct guess an item, in [0, 1):
            the tables are corrected for guessing.
        median_split: split each item at its median first.
        full: return a dict with "r", "se" (standard errors), "thresholds",
            "proportions" (each item's proportion of keyed subjects) and
            "warnings".

    Returns:
        an items-by-items numpy array (a labelled DataFrame where a DataFrame
        came in), or with ``full`` the dict above.
    """
    if guessing is None:
        guessing = ()
    outcome, labels = _correlations("tetrachoric", x, threads, guessing, median_split)
    if not full:
        return _labelled(outcome["r"], labels)
    proportions = outcome["proportions"]
    if labels:
        import pandas as pd

        proportions = pd.Series(proportions, index=labels)
    result = _full(outcome, labels)
    result["proportions"] = proportions
    return result


for _function in (pearson, polychoric, tetrachoric):
    _function.__doc__ = _function.__doc__.rstrip() + "\n" + _SCORES_DOC
__all__ += ["pearson", "polychoric", "tetrachoric"]

# The phases after the correlations (they use the helpers above).
from .factoring import FactorAnalysis, FactorScores, fa, parallel, scores, smooth, triplet_test  # noqa: E402

__all__ += ["fa", "scores", "smooth", "triplet_test", "parallel", "FactorAnalysis", "FactorScores"]
