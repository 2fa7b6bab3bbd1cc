# The phases after the correlations: the run's saved files on several roads
# (matrices of nine decimals bit for bit, the others to their printed
# digits), the polychoric options beyond the run, psych's fa on the bfi items.

test_that("factor analyses are the run's saved files", {
  need_source()
  # Principal factors from SMC, unrotated: residuals (rsd) and loadings (fac).
  pfa <- vq_fa(example_scores("principal_factors/items.dat", 10), nfactors = 2,
               rotate = "none")
  expect_identical(as_saved(pfa$residuals), saved_text("principal_factors_smc/expected/pfa.rsd"))
  fac <- fac_rows(pfa$loadings, "principal_factors_smc/expected/pfa.fac")
  expect_identical(fac$ours, fac$file)
  # Direct quartimin of polychorics: pattern and factor correlations.
  obl <- vq_fa(example_scores("rot_oblimin/obl.dat", 9), nfactors = 3, rotate = "oblimin",
               cor = "polychoric", threads = 2)
  expect_identical(as_saved(obl$phi), saved_text("rot_oblimin/expected/oblimin.phi"))
  fac <- fac_rows(obl$pattern, "rot_oblimin/expected/oblimin.fac")
  expect_identical(fac$ours, fac$file)
  # The bundled demo: smoothed polychorics, Promax after Varimax from a
  # random start with seed 1.
  demo <- vq_fa(example_scores("demo/items.dat", 8, 4), nfactors = 2, rotate = "promax",
                power = 3, cor = "polychoric", smooth = TRUE, random_start = TRUE, seed = 1)
  expect_identical(as_saved(demo$phi), saved_text("demo/expected/demo.phi"))
  fac <- fac_rows(demo$loadings, "demo/expected/demo.fac")
  expect_identical(fac$ours, fac$file)
})

test_that("factor scores, smoothing, triplets and parallel analysis are the run's", {
  need_source()
  x <- example_scores("scores/cont.dat", 9)
  s <- vq_scores(x, nfactors = 3, rotate = "promax", power = 3, random_start = TRUE, seed = 1)
  fsc <- matrix(saved_numbers("scores_regression/expected/reg.fsc"), ncol = 4, byrow = TRUE)
  expect_identical(sprintf("%.3f", s$scores), sprintf("%.3f", fsc[, -1]))
  expect_identical(as_saved(s$fa$phi), saved_text("scores_regression/expected/reg.phi"))
  # The same from a vq_fa result, whose settings and seed are taken.
  f <- vq_fa(x, nfactors = 3, rotate = "promax", power = 3, random_start = TRUE, seed = 1)
  expect_identical(vq_scores(x, f)$scores, s$scores)

  ordered <- example_scores("ordered/items.dat", 8, 4)
  expect_identical(as_saved(vq_smooth(vq_polychoric(ordered))),
                   saved_text("corr_ordered/expected/ordered.smo"))

  triplets <- vq_triplet_test(example_scores("triplet/items.dat", 8), threads = 2)
  mvn <- saved_numbers("triplet/expected/trp.mvn")
  expect_equal(c(triplets$triplets$chi_square, triplets$items$percent), mvn, tolerance = 5e-4,
               scale = 1)

  demo <- example_scores("demo/items.dat", 8, 4)
  one <- vq_parallel(demo, cor = "polychoric", n.iter = 20, smooth = TRUE, seed = 1, threads = 1)
  two <- vq_parallel(demo, cor = "polychoric", n.iter = 20, smooth = TRUE, seed = 1, threads = 2)
  expect_identical(one, two)
  aids <- readLines(file.path(source_dir(), "tests/golden/aids_demo/expected/demo.aids"))
  table <- read.table(text = grep("^ +[1-8] +[-0-9.]+ +[-0-9.]+ +[-0-9.]+ +[-0-9.]", aids,
                                  value = TRUE)[1:8])
  expect_identical(sprintf("%.4f", unlist(c(one$components[-1], one$factors[-1]))),
                   sprintf("%.4f", unlist(table[, -1])))
  expect_identical(c(one$ncomp, one$nfact), c(2L, 2L))
})

test_that("loadings print as psych users expect; stops and refusals", {
  x <- data.frame(matrix(c(1, .6, .5, .1, .6, 1, .55, .1, .5, .55, 1, .12, .1, .1, .12, 1), 4))
  f <- vq_fa(as.matrix(x), nfactors = 1, n.obs = 200)
  expect_s3_class(f$loadings, "loadings")
  expect_output(print(f$loadings, cutoff = .3), "Loadings")
  expect_output(print(f), "chi-square")
  expect_error(vq_fa(as.matrix(x), nfactors = 5), "number of factors")
  expect_error(vq_fa(as.matrix(x), rotate = "quartimax"), "should be one of")
  err <- tryCatch(vq_fa(as.matrix(x)[1:3, 1:3]), velquorin_stop = function(e) e)
  expect_s3_class(err, "velquorin_stop")
})

test_that("the polychoric search offers a wider bound and no likelihood floor", {
  set.seed(5)
  strong <- local({
    z <- rnorm(3000)
    w <- 0.97 * z + sqrt(1 - 0.97^2) * rnorm(3000)
    cbind(cut(z, c(-Inf, -0.5, 0.5, Inf), labels = FALSE),
          cut(w, c(-Inf, -0.5, 0.5, Inf), labels = FALSE))
  })
  expect_warning(run <- vq_polychoric(strong), "bound")
  expect_identical(run$r[1, 2], 0.9)
  expect_gt(vq_polychoric(strong, bound = 0.999)$r[1, 2], 0.93)
  # N = 250,000 with ten categories: the run's floor leaves the pair at 0.
  z <- rnorm(250000)
  w <- 0.6 * z + 0.8 * rnorm(250000)
  cuts <- c(-Inf, qnorm(seq(0.1, 0.9, 0.1)), Inf)
  large <- cbind(cut(z, cuts, labels = FALSE), cut(w, cuts, labels = FALSE))
  expect_identical(vq_polychoric(large)$r[1, 2], 0)
  free <- vq_polychoric(large, likelihood_floor = FALSE)
  expect_lt(abs(free$r[1, 2] - 0.6), 0.01)
  expect_lt(free$se[1, 2], 0.005)
  expect_length(free$thresholds[[1]], 9L)
})

test_that("vq_fa agrees with psych::fa (principal axes, varimax) on the bfi items", {
  skip_if_not_installed("psych")
  items <- na.omit(psych::bfi[, 1:25])
  ours <- vq_fa(items, nfactors = 5, rotate = "varimax")
  theirs <- suppressWarnings(psych::fa(items, nfactors = 5, fm = "pa", rotate = "varimax",
                                       max.iter = 200, min.err = 1e-6))
  # Same factors up to order and sign: each of psych's has a congruent one.
  congruence <- abs(psych::factor.congruence(unclass(ours$loadings), unclass(theirs$loadings)))
  expect_gt(min(apply(congruence, 2, max)), 0.999)
  expect_lt(max(abs(ours$communalities - theirs$communality)), 2e-3)
})
