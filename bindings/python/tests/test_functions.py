"""The functions on matrices: the run's saved correlation files, thread
counts, stops in the program's words, refusals, labels, and numpy."""

import os

import numpy as np
import pytest

import velquorin
from conftest import SOURCE_DIR


def example(path, items, id_width=0):
    """Scores of an example's data file: fields of one column after the
    subject number where id_width is given, else fields separated by blanks."""
    full = os.path.join(SOURCE_DIR, "examples", path)
    if not id_width:
        return np.loadtxt(full)[:, 1:]
    with open(full) as f:
        lines = [line.rstrip("\n") for line in f if line.strip()]
    return np.array([[float(line[id_width + k]) for k in range(items)] for line in lines])


def saved(path):
    """A saved matrix without its blanks: the field width depends on the
    number of items, and with nine decimals a value the digits and signs
    alone tell the values apart."""
    with open(os.path.join(SOURCE_DIR, "tests", "golden", path)) as f:
        return f.read().replace(" ", "")


def as_saved(r):
    return "".join("".join("%.9f" % v for v in row) + "\n" for row in np.asarray(r))


CASES = [
    ("polychoric", lambda: example("ordered/items.dat", 8, 4), velquorin.polychoric,
     "corr_ordered/expected/ordered.cor"),
    ("tetrachoric", lambda: example("dichotomous/dich.dat", 8), velquorin.tetrachoric,
     "corr_dichotomous/expected/dichotomous.cor"),
    ("pearson", lambda: example("continuous/cont.dat", 10), velquorin.pearson,
     "corr_continuous/expected/continuous.cor"),
]


@pytest.mark.parametrize("name,scores,function,expected", CASES, ids=[c[0] for c in CASES])
def test_correlations_equal_the_runs_saved_file(name, scores, function, expected):
    x = scores()
    one = function(x, threads=1)
    two = function(np.ascontiguousarray(x), threads=2)
    assert as_saved(one) == saved(expected)
    assert np.array_equal(one, two)


def test_guessing_and_median_split_equal_the_runs_saved_files():
    split = velquorin.tetrachoric(example("median_split/scores.dat", 8), median_split=True)
    assert as_saved(split) == saved("corr_median_split/expected/split.cor")
    chances = [0.2] * 4 + [0.25] * 4  # examples/guessing/chance.txt
    guessed = velquorin.tetrachoric(example("guessing/guess.dat", 8), guessing=chances)
    assert as_saved(guessed) == saved("corr_guessing/expected/guessing.cor")


def test_a_stop_is_an_exception_with_the_programs_words():
    x = np.column_stack([np.arange(30) % 3 + 1, np.arange(30) % 15 + 1])
    with pytest.raises(velquorin.VelquorinError, match="FATAL ERROR: VARIABLE   2") as stop:
        velquorin.polychoric(x, threads=1)
    assert stop.value.ending == "stopped"
    # The engine goes on after a stop.
    assert velquorin.polychoric(x[:, [0, 0]] + np.array([0, 1]), threads=1).shape == (2, 2)


def test_missing_scores_and_bad_shapes_are_refused():
    x = np.array([[1.0, 2.0], [2.0, 1.0], [3.0, np.nan]])
    with pytest.raises(ValueError, match="subject 3 on item 2"):
        velquorin.pearson(x)
    with pytest.raises(ValueError):
        velquorin.pearson(np.arange(4.0))
    with pytest.raises(ValueError):
        velquorin.tetrachoric(x[:2], guessing=[0.2])
    with pytest.raises(ValueError):
        velquorin.pearson(x[:2], threads=0)


def test_a_data_frame_keeps_its_labels_and_pearson_agrees_with_numpy():
    pd = pytest.importorskip("pandas")
    x = example("continuous/cont.dat", 10)
    frame = pd.DataFrame(x, columns=["c%d" % k for k in range(10)])
    r = velquorin.pearson(frame)
    assert list(r.columns) == list(frame.columns) and list(r.index) == list(frame.columns)
    np.testing.assert_allclose(r.to_numpy(), np.corrcoef(x, rowvar=False), rtol=0, atol=1e-12)
    full = velquorin.tetrachoric(
        pd.DataFrame(example("dichotomous/dich.dat", 8), columns=list("abcdefgh")), full=True
    )
    assert list(full["proportions"].index) == list("abcdefgh")
    assert np.all(np.diag(full["se"].to_numpy()) == 0)


def test_the_functions_have_docstrings():
    for function in (velquorin.pearson, velquorin.polychoric, velquorin.tetrachoric):
        assert "Missing" in function.__doc__ and "Returns" in function.__doc__
