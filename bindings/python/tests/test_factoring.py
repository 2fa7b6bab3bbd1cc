"""The phases after the correlations: the run's saved files on several roads
(matrices of nine decimals bit for bit, the others to their printed digits),
the polychoric options beyond the run, numpy's eigen solution."""

import os

import numpy as np
import pytest

import velquorin
from conftest import SOURCE_DIR
from test_functions import as_saved, example, saved


def numbers(path):
    with open(os.path.join(SOURCE_DIR, "tests", "golden", path)) as f:
        return np.array(f.read().split(), dtype=float)


def fac_rows(loadings, path):
    """Ours (item order) and the fac file's rows (printed order, numbered),
    four decimals, each set sorted."""
    loadings = np.asarray(loadings)
    fac = numbers(path).reshape(-1, loadings.shape[1] + 1)[:, 1:]

    def rows(x):
        return sorted(" ".join("%.4f" % v for v in row) for row in x)

    return rows(loadings), rows(fac)


def test_factor_analyses_are_the_runs_saved_files():
    unrotated = velquorin.fa(example("principal_factors/items.dat", 10), nfactors=2, rotate="none")
    assert as_saved(unrotated.residuals) == saved("principal_factors_smc/expected/pfa.rsd")
    ours, theirs = fac_rows(unrotated.loadings, "principal_factors_smc/expected/pfa.fac")
    assert ours == theirs
    demo = velquorin.fa(example("demo/items.dat", 8, 4), nfactors=2, rotate="promax", power=3,
                        cor="polychoric", smooth=True, random_start=True, seed=1, threads=2)
    assert as_saved(demo.phi) == saved("demo/expected/demo.phi")
    ours, theirs = fac_rows(demo.loadings, "demo/expected/demo.fac")
    assert ours == theirs


def test_scores_smoothing_triplets_and_parallel_analysis_are_the_runs():
    x = example("scores/cont.dat", 9)
    s = velquorin.scores(x, nfactors=3, rotate="promax", power=3, random_start=True, seed=1)
    fsc = numbers("scores_regression/expected/reg.fsc").reshape(-1, 4)[:, 1:]
    assert [["%.3f" % v for v in row] for row in s.scores] == [
        ["%.3f" % v for v in row] for row in fsc]
    f = velquorin.fa(x, nfactors=3, rotate="promax", power=3, random_start=True, seed=1)
    assert np.array_equal(velquorin.scores(x, f).scores, s.scores)

    smoothed = velquorin.smooth(velquorin.polychoric(example("ordered/items.dat", 8, 4)))
    assert as_saved(smoothed) == saved("corr_ordered/expected/ordered.smo")

    t = velquorin.triplet_test(example("triplet/items.dat", 8))
    mvn = numbers("triplet/expected/trp.mvn")
    assert np.allclose(np.concatenate([t["chi_squares"], t["percentages"]]), mvn, atol=5e-4)

    demo = example("demo/items.dat", 8, 4)
    one = velquorin.parallel(demo, cor="polychoric", n_iter=20, smooth=True, seed=1, threads=1)
    two = velquorin.parallel(demo, cor="polychoric", n_iter=20, smooth=True, seed=1, threads=2)
    for kind in ("components", "factors"):
        for line in ("observed", "mean", "percentile"):
            assert np.array_equal(one[kind][line], two[kind][line])
    with open(os.path.join(SOURCE_DIR, "tests/golden/aids_demo/expected/demo.aids")) as f:
        table = np.array([line.split() for line in f.read().splitlines()[5:13]], dtype=float)
    ours = np.column_stack([one["components"]["observed"], one["components"]["mean"],
                            one["components"]["percentile"], one["factors"]["observed"],
                            one["factors"]["mean"], one["factors"]["percentile"]])
    assert [["%.4f" % v for v in row] for row in ours] == [
        ["%.4f" % v for v in row] for row in table[:, 1:]]
    assert (one["ncomp"], one["nfact"]) == (2, 2)


def test_components_are_numpys_eigen_solution():
    x = example("continuous/cont.dat", 10)
    pca = velquorin.fa(x, nfactors=2, method="pca", rotate="none")
    values, vectors = np.linalg.eigh(np.corrcoef(x, rowvar=False))
    top = np.argsort(values)[::-1][:2]
    expected = vectors[:, top] * np.sqrt(values[top])
    assert np.allclose(np.abs(pca.loadings), np.abs(expected), atol=1e-6)
    assert np.allclose(pca.eigenvalues, np.sort(values)[::-1], atol=1e-10)


def test_labels_stops_and_refusals():
    pd = pytest.importorskip("pandas")
    x = pd.DataFrame(example("scores/cont.dat", 9), columns=list("abcdefghi"))
    f = velquorin.fa(x, nfactors=3, rotate="oblimin")
    assert list(f.loadings.index) == list("abcdefghi")
    assert list(f.phi.columns) == ["F1", "F2", "F3"]
    assert "chi_square" in f.fit
    with pytest.raises(ValueError, match="rotate"):
        velquorin.fa(x, rotate="quartimax")
    with pytest.raises(ValueError, match="number of factors"):
        velquorin.fa(x, nfactors=10)
    with pytest.raises(velquorin.VelquorinError):
        velquorin.fa(np.corrcoef(example("scores/cont.dat", 9)[:, :3], rowvar=False))


def test_polychoric_offers_a_wider_bound_and_no_likelihood_floor():
    rng = np.random.default_rng(5)
    z = rng.standard_normal(3000)
    w = 0.97 * z + np.sqrt(1 - 0.97**2) * rng.standard_normal(3000)
    strong = np.column_stack([np.digitize(z, [-0.5, 0.5]), np.digitize(w, [-0.5, 0.5])])
    assert velquorin.polychoric(strong)[0, 1] == 0.9
    assert velquorin.polychoric(strong, bound=0.999)[0, 1] > 0.93
    # N = 250,000 with ten categories: the run's floor leaves the pair at 0.
    z = rng.standard_normal(250000)
    w = 0.6 * z + 0.8 * rng.standard_normal(250000)
    cuts = [-1.2816, -0.8416, -0.5244, -0.2533, 0.0, 0.2533, 0.5244, 0.8416, 1.2816]
    large = np.column_stack([np.digitize(z, cuts), np.digitize(w, cuts)])
    assert velquorin.polychoric(large)[0, 1] == 0.0
    free = velquorin.polychoric(large, likelihood_floor=False, full=True)
    assert abs(free["r"][0, 1] - 0.6) < 0.01
    assert 0 < free["se"][0, 1] < 0.005
    assert len(free["thresholds"][0]) == 9
