# The functions on matrices: the run's saved correlation files (bit for bit
# at their nine decimals), thread counts, stops in the program's words,
# refusals, labels, and psych on its bfi items.

test_that("the correlations are the run's saved files, for one and two threads", {
  need_source()
  cases <- list(
    list(vq_polychoric, example_scores("ordered/items.dat", 8, 4), "corr_ordered/expected/ordered.cor"),
    list(vq_tetrachoric, example_scores("dichotomous/dich.dat", 8),
         "corr_dichotomous/expected/dichotomous.cor"),
    list(vq_pearson, example_scores("continuous/cont.dat", 10),
         "corr_continuous/expected/continuous.cor"))
  for (case in cases) {
    one <- case[[1]](case[[2]], threads = 1)
    two <- case[[1]](case[[2]], threads = 2)
    expect_identical(as_saved(one$r), saved_text(case[[3]]))
    expect_identical(one$r, two$r)
  }
  split <- vq_tetrachoric(example_scores("median_split/scores.dat", 8), median_split = TRUE)
  expect_identical(as_saved(split$r), saved_text("corr_median_split/expected/split.cor"))
  guessed <- vq_tetrachoric(example_scores("guessing/guess.dat", 8),
                            guessing = rep(c(0.2, 0.25), each = 4))
  expect_identical(as_saved(guessed$r), saved_text("corr_guessing/expected/guessing.cor"))
})

test_that("a stop is an R error with the program's words, and the engine goes on", {
  x <- cbind(rep(1:3, 10), rep(1:15, 2))
  err <- tryCatch(vq_polychoric(x, threads = 1), velquorin_stop = function(e) e)
  expect_s3_class(err, "velquorin_stop")
  expect_match(conditionMessage(err), "FATAL ERROR: VARIABLE   2", fixed = TRUE)
  expect_equal(dim(vq_polychoric(cbind(x[, 1], rev(x[, 1])))$r), c(2L, 2L))
})

test_that("missing scores and what is not scores are refused", {
  expect_error(vq_pearson(data.frame(a = c(1, 2, 3), b = c(2, 1, NA))),
               "subject 3 on item 'b'", fixed = TRUE)
  expect_error(vq_pearson(data.frame(a = 1:3, b = letters[1:3])), "numeric")
  expect_error(vq_pearson(1:3), "matrix")
  expect_error(vq_tetrachoric(cbind(c(0, 1, 1), c(1, 0, 1)), guessing = 0.2), "chance")
  expect_error(vq_pearson(cbind(1:3, 3:1), threads = 0), "threads")
})

test_that("labels come from the column names; print shows the matrix", {
  x <- data.frame(first = c(1, 2, 3, 4), second = c(2, 1, 4, 3), third = c(1, 1, 2, 5))
  r <- vq_pearson(x)
  expect_identical(dimnames(r$r), list(names(x), names(x)))
  expect_equal(unname(r$r), unname(cor(x)), tolerance = 1e-12)
  expect_output(print(r), "pearson correlations of 3 items, 4 subjects")
})

test_that("polychoric agrees with psych::polychoric on the bfi items", {
  skip_if_not_installed("psych")
  items <- na.omit(psych::bfi[, 1:10])
  ours <- suppressWarnings(vq_polychoric(items))$r
  theirs <- suppressWarnings(psych::polychoric(items))$rho
  expect_lt(max(abs(ours - theirs)), 1e-4)
})
