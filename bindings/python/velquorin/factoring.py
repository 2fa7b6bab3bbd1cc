"""Factor analysis, factor scores, smoothing, the triplet test and parallel
analysis: the phases of a Velquorin run called on data held in Python.

A run with the same settings saves the same numbers (to the digits its files
print; its nine-decimal matrices bit for bit). Matrices are numpy arrays, or
pandas DataFrames labelled by the items where a DataFrame came in.
"""

import logging
from dataclasses import dataclass, field
from typing import List, Optional

import numpy as np

from . import _core

_log = logging.getLogger("velquorin")

_ROTATIONS = ("varimax", "wvarimax", "promax", "oblimin", "hk", "none")


def _stop(outcome, warnings=()):
    from . import _correlation_stop

    stop = dict(outcome["stop"])
    stop["warnings"] = list(warnings)
    return _correlation_stop(stop)


def _is_correlation_matrix(array):
    return (
        array.ndim == 2
        and array.shape[0] == array.shape[1] >= 2
        and np.all(np.isfinite(array))
        and np.allclose(array, array.T)
        and np.all(np.diag(array) == 1.0)
    )


def _frame(matrix, rows, columns):
    if matrix is None or not rows:
        return matrix
    import pandas as pd

    return pd.DataFrame(matrix, index=rows, columns=columns)


def _settings(nfactors, method, start, rotate, power, delta, hk, random_start, control):
    if method not in ("pfa", "pca"):
        raise ValueError('method must be "pfa" or "pca"')
    if start not in ("smc", "one", "hir"):
        raise ValueError('start must be "smc", "one" or "hir"')
    if rotate not in _ROTATIONS:
        raise ValueError("rotate must be one of " + ", ".join(_ROTATIONS))
    if isinstance(nfactors, bool) or not isinstance(nfactors, int) or nfactors < 1:
        raise ValueError("nfactors must be a whole number of 1 or more")
    choices = {
        "method": method,
        "start": start,
        "factors": nfactors,
        "rotation": rotate,
        "promax_power": int(power),
        "oblimin_delta": float(delta),
        "harris_kaiser_parameter": float(hk),
        "random_start": bool(random_start),
        "communality_epsilon": 1e-4,
        "communality_iterations": 200,
        "rotation_epsilon": 1e-4,
        "rotation_iterations": 200,
        "hyperplane_width": 0.2,
    }
    for key, value in (control or {}).items():
        if key not in ("communality_epsilon", "communality_iterations", "rotation_epsilon",
                       "rotation_iterations", "hyperplane_width"):
            raise ValueError("unknown control entry: " + str(key))
        choices[key] = type(choices[key])(value)
    return choices


def _seed(seed):
    if seed is not None and (isinstance(seed, bool) or not isinstance(seed, int)):
        raise ValueError("seed must be a whole number or None")
    return seed


@dataclass
class FactorAnalysis:
    """The result of :func:`fa`.

    Attributes:
        loadings: items by factors, the final solution: the rotated loadings,
            the pattern of an oblique rotation, or the unrotated loadings.
        unrotated: the extraction's loadings.
        pattern, structure, phi: oblique rotations only (None otherwise):
            pattern (= loadings), structure, factor correlations.
        communalities, uniquenesses: per item.
        eigenvalues: of the correlation matrix, by decreasing size.
        factor_eigenvalues: of the last pass of the extraction, one a factor.
        iterations, converged: the communality iteration.
        rotation: the stage that gave ``loadings`` ("none" when none ran).
        fit: dict: "gfi", "rmsr", the residuals' "residual_mean",
            "residual_sd", "residual_smallest", "residual_largest"; with a
            known N the likelihood fit "chi_square", "df", "p_value",
            "rmsea" (with "rmsea_lower", "rmsea_upper"), "tli", "bic",
            "objective".
        residuals: correlations minus reproduced, uniquenesses on the diagonal.
        n_obs: subjects (None when a matrix came without it).
        warnings: the run's non-fatal messages.
    """

    loadings: object
    unrotated: object
    pattern: object
    structure: object
    phi: object
    communalities: object
    uniquenesses: object
    eigenvalues: np.ndarray
    factor_eigenvalues: np.ndarray
    iterations: int
    converged: bool
    rotation: str
    fit: dict
    residuals: object
    n_obs: Optional[int]
    settings: dict
    seed: Optional[int] = None
    warnings: List[str] = field(default_factory=list)


def _fa_result(outcome, labels, settings, n, warnings, seed):
    m = outcome["factors"]
    factors = ["F%d" % (k + 1) for k in range(m)]

    def matrix(name):
        return _frame(outcome[name], labels, factors)

    def vector(values):
        if not labels:
            return values
        import pandas as pd

        return pd.Series(values, index=labels)

    oblique = outcome["oblique"]
    return FactorAnalysis(
        loadings=matrix("loadings"),
        unrotated=matrix("unrotated"),
        pattern=matrix("loadings") if oblique else None,
        structure=matrix("structure") if oblique else None,
        phi=_frame(outcome["phi"], factors if labels else [], factors) if oblique else None,
        communalities=vector(outcome["communalities"]),
        uniquenesses=vector(1.0 - outcome["communalities"]),
        eigenvalues=outcome["initial_eigenvalues"],
        factor_eigenvalues=outcome["eigenvalues"],
        iterations=outcome["iterations"],
        converged=outcome["converged"],
        rotation=outcome["rotation"],
        fit=dict(outcome["fit"]),
        residuals=_frame(outcome["residuals"], labels, labels),
        n_obs=n,
        settings=settings,
        seed=seed,
        warnings=list(warnings) + list(outcome["warnings"]),
    )


def fa(
    x,
    nfactors=1,
    method="pfa",
    start="smc",
    rotate="varimax",
    cor="pearson",
    smooth=False,
    n_obs=None,
    power=4,
    delta=0.0,
    hk=0.0,
    random_start=False,
    seed=None,
    control=None,
    threads=None,
):
    """Exploratory factor analysis as a Velquorin run makes it.

    Args:
        x: scores (subjects by items; numpy array or DataFrame), whose
            correlations are estimated by ``cor``; or a correlation matrix
            (square, symmetric, unit diagonal), with ``n_obs`` for the
            likelihood fit.
        nfactors: factors to extract.
        method: "pfa" (principal factors, iterated communalities) or "pca".
        start: the diagonal "pfa" starts from: "smc", "one" or "hir".
        rotate: "varimax", "wvarimax" (weighted), "promax" (after Varimax,
            of power ``power``), "oblimin" (direct, ``delta`` 0 or less),
            "hk" (Harris-Kaiser, parameter ``hk``) or "none".
        cor: "pearson", "polychoric" or "tetrachoric", for scores.
        smooth: smooth the matrix first as a run does ("SM").
        n_obs: subjects behind a correlation matrix (scores: their rows).
        random_start: start the rotation from one random orthogonal turn of
            the unrotated loadings (a run's "T"); ``seed`` fixes it.
        control: dict of "communality_epsilon", "communality_iterations",
            "rotation_epsilon", "rotation_iterations", "hyperplane_width"
            (defaults 1e-4, 200, 1e-4, 200, 0.2).
        threads: 1 to 1024, None for every core; never changes a number.

    Returns:
        :class:`FactorAnalysis`. The run's warnings are also logged (logger
        "velquorin").

    Raises:
        VelquorinError: the engine stopped (e.g. "ERROR 100", 3 items or
            fewer); the message is the program's.
        ValueError: arguments the engine cannot take.
    """
    from . import _correlations, _scores, _threads

    settings = _settings(nfactors, method, start, rotate, power, delta, hk, random_start, control)
    seed = _seed(seed)
    threads = _threads(threads)
    warnings = []
    labels = []
    if hasattr(x, "columns") and hasattr(x, "to_numpy"):
        labels = [str(c) for c in x.columns]
    array = np.asarray(x.to_numpy(dtype=float) if labels else x, dtype=float)
    if not _is_correlation_matrix(array):
        if cor not in ("pearson", "polychoric", "tetrachoric"):
            raise ValueError('cor must be "pearson", "polychoric" or "tetrachoric"')
        outcome, labels = _correlations(cor, x, threads or None)
        warnings = list(outcome["warnings"])
        array = outcome["r"]
        n_obs = _scores(x)[0].shape[0]
    if smooth:
        array = np.asarray(_smooth_matrix(array, threads=threads or None))
    n = 0 if n_obs is None else int(n_obs)
    outcome = _core.factor_analysis(
        np.asfortranarray(array, dtype=float), labels, n, settings, threads, seed
    )
    if outcome["stop"]["ending"] != "finished":
        raise _stop(outcome, warnings)
    result = _fa_result(outcome, labels, settings, n_obs, warnings, seed)
    for message in outcome["warnings"]:
        _log.warning("%s", message)
    return result


@dataclass
class FactorScores:
    """The result of :func:`scores`: ``scores`` (subjects by factors,
    standardised), ``weights`` (items by factors), ``validity`` (one a
    factor), ``method``, the factor analysis ``fa`` behind them and the
    run's ``notes``."""

    scores: object
    weights: object
    validity: np.ndarray
    method: str
    fa: FactorAnalysis
    notes: List[str] = field(default_factory=list)


def scores(x, f=None, method="regression", threads=None, seed=None, **fa_arguments):
    """Factor scores of continuous scores as a run with the coding "CO" makes them.

    The Pearson correlations of ``x``, the factor analysis of ``f`` (a
    :func:`fa` result, whose settings and seed are taken) or of
    ``fa_arguments`` (those of :func:`fa`: nfactors, method, start, rotate,
    power, delta, hk, random_start, control), and the estimates of
    ``method``: "regression" or "bartlett". After an oblique rotation the
    regression scores use the structure, Bartlett's the pattern, as the run.

    Returns:
        :class:`FactorScores`; DataFrames where a DataFrame came in.
    """
    from . import _scores, _threads

    if method not in ("regression", "bartlett"):
        raise ValueError('method must be "regression" or "bartlett"')
    if f is None:
        arguments = dict(
            nfactors=1, method="pfa", start="smc", rotate="varimax", power=4, delta=0.0,
            hk=0.0, random_start=False, control=None,
        )
        unknown = set(fa_arguments) - set(arguments)
        if unknown:
            raise ValueError("unknown arguments: " + ", ".join(sorted(unknown)))
        arguments.update(fa_arguments)
        settings = _settings(**arguments)
    else:
        if not isinstance(f, FactorAnalysis):
            raise ValueError("f must be a result of fa()")
        settings = f.settings
        if seed is None:
            seed = f.seed
    seed = _seed(seed)
    array, labels = _scores(x)
    outcome = _core.factor_scores(array, labels, settings, method, _threads(threads), seed)
    if outcome["stop"]["ending"] != "finished":
        raise _stop(outcome)
    analysis = _fa_result(outcome["fa"], labels, settings, array.shape[0], [], seed)
    m = outcome["fa"]["factors"]
    factors = ["F%d" % (k + 1) for k in range(m)]
    subjects = list(x.index) if labels else []
    result_scores = outcome["scores"]
    if labels:
        import pandas as pd

        result_scores = pd.DataFrame(result_scores, index=subjects, columns=factors)
    for message in list(analysis.warnings) + list(outcome["notes"]):
        _log.warning("%s", message)
    return FactorScores(
        scores=result_scores,
        weights=_frame(outcome["weights"], labels, factors),
        validity=outcome["validity"],
        method=method,
        fa=analysis,
        notes=list(outcome["notes"]),
    )


def smooth(r, threads=None):
    """The run's smoothing ("SM") of a correlation matrix estimated pair by pair.

    The matrix is rebuilt from its eigenvalues at or above 0.005, scaled so
    that the kept ones sum to their number, and brought back to a unit
    diagonal: the numbers of the program's ``smo`` file, bit for bit.

    Returns:
        the smoothed matrix: a numpy array, or a DataFrame with the labels of
        a DataFrame that came in.
    """
    from . import _threads

    labels = [str(c) for c in r.columns] if hasattr(r, "columns") else []
    array = np.asfortranarray(np.asarray(r, dtype=float))
    outcome = _core.smooth(array, _threads(threads))
    if outcome["stop"]["ending"] != "finished":
        raise _stop(outcome)
    return _frame(outcome["r"], labels, labels)


_smooth_matrix = smooth


def triplet_test(x, r=None, threads=None):
    """The triplet test of multivariate normality of dichotomous (0/1) scores.

    Every triplet of items gets a one-factor normal-ogive model fitted to its
    eight response patterns; its likelihood-ratio chi-square (1 df) at or
    above 6.635 marks it suspicious.

    Args:
        x: 0/1 scores, subjects by items (at least 3 items).
        r: their correlations; None for their tetrachorics (the run's).

    Returns:
        dict: "triplets" (an array of rows a, b, c, 1-based), "chi_squares",
        "suspicious" (per item, the suspicious triplets holding it),
        "percentages" (the same in percent of its triplets).
    """
    from . import _scores, _threads, tetrachoric

    array, labels = _scores(x)
    if r is None:
        r = tetrachoric(array, threads=threads)
    matrix = np.asfortranarray(np.asarray(r, dtype=float))
    outcome = _core.triplets(array, matrix, _threads(threads))
    if outcome["stop"]["ending"] != "finished":
        raise _stop(outcome)
    return {
        "triplets": np.asarray(outcome["triplets"], dtype=int).reshape(-1, 3),
        "chi_squares": outcome["chi_squares"],
        "suspicious": np.asarray(outcome["suspicious"], dtype=int),
        "percentages": outcome["percentages"],
    }


def parallel(x, cor="pearson", n_iter=100, percentile=0.95, smooth=False, seed=None,
             threads=None):
    """Parallel analysis by permutation, with the run's own estimator.

    Each of ``n_iter`` data sets shuffles every item's scores on its own and
    is correlated by ``cor`` ("pearson", "polychoric", "tetrachoric"); per
    position the observed eigenvalue is set against the data sets' mean and
    ``percentile``, for the full matrix (components) and the matrix with
    squared multiple correlations on its diagonal (factors). The same numbers
    for any thread count; ``seed`` None is the run's default seed 1.

    Returns:
        dict: "components" and "factors" (each a dict of "observed", "mean",
        "percentile" arrays), "ncomp" and "nfact" (the suggested counts),
        "seed".
    """
    from . import _scores, _threads

    if cor not in ("pearson", "polychoric", "tetrachoric"):
        raise ValueError('cor must be "pearson", "polychoric" or "tetrachoric"')
    if isinstance(n_iter, bool) or not isinstance(n_iter, int) or n_iter < 1:
        raise ValueError("n_iter must be a whole number of 1 or more")
    array, _ = _scores(x)
    outcome = _core.parallel(
        array, cor, bool(smooth), n_iter, float(percentile), _threads(threads), _seed(seed)
    )
    if outcome["stop"]["ending"] != "finished":
        raise _stop(outcome)

    def lines(kind):
        return {name: outcome[name + "_" + kind] for name in ("observed", "mean", "percentile")}

    return {
        "components": lines("components"),
        "factors": lines("factors"),
        "ncomp": outcome["suggested_components"],
        "nfact": outcome["suggested_factors"],
        "seed": outcome["seed"],
    }
