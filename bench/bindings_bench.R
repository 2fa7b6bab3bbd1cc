# Polychoric correlations from inside R: the package's vq_polychoric against
# psych::polychoric and lavaan::lavCor on the same scores in the same session,
# with the same number of cores. Only the estimator's call is timed
# (elapsed, fastest of REPEATS); the largest absolute difference of each
# matrix from velquorin's is shown beside its time.
#
#   Rscript bench/bindings_bench.R [LIB] [CORES] [REPEATS]
#
# LIB: the library the package was installed into (R CMD INSTALL -l LIB
# bindings/R); empty for the default libraries. CORES (default 2): the
# threads of vq_polychoric and options(mc.cores) for psych, which spreads its
# pairs over parallel::mcmapply; lavaan estimates the pairs one after the
# other whatever the cores. Cases: psych's bfi items A1..O5, complete cases
# (2,436 subjects, scores 1 to 6), and 60 five-category items of 20,000
# subjects simulated here (three factors, loadings 0.6, seed 2026).
# psych runs with correct = 0 (no continuity correction of empty cells, as
# velquorin and lavaan); lavaan with ordered = all items, output "cor".
# Prints a Markdown table and the load average before and after.

args <- commandArgs(trailingOnly = TRUE)
lib <- if (length(args) >= 1 && nzchar(args[1])) args[1] else NULL
cores <- if (length(args) >= 2) as.integer(args[2]) else 2L
repeats <- if (length(args) >= 3) as.integer(args[3]) else 1L

suppressPackageStartupMessages({
  library(velquorin, lib.loc = lib)
  library(psych)
  library(lavaan)
})
options(mc.cores = cores)

load_average <- function() paste(scan("/proc/loadavg", what = "", n = 3, quiet = TRUE),
                                 collapse = " ")

fastest <- function(expr_function) {
  best <- Inf
  value <- NULL
  for (k in seq_len(repeats)) {
    seconds <- system.time(value <- expr_function())[["elapsed"]]
    best <- min(best, seconds)
  }
  list(seconds = best, r = value)
}

simulated_items <- function(subjects, items, factors, loading, seed) {
  set.seed(seed)
  f <- matrix(rnorm(subjects * factors), subjects)
  owner <- rep(seq_len(factors), length.out = items)
  latent <- sapply(seq_len(items), function(i) {
    loading * f[, owner[i]] + sqrt(1 - loading^2) * rnorm(subjects)
  })
  cuts <- c(-Inf, -1.5, -0.5, 0.5, 1.5, Inf) + 0.1 * rnorm(1)
  x <- apply(latent, 2, function(column) as.integer(cut(column, cuts)) - 1L)
  colnames(x) <- sprintf("I%02d", seq_len(items))
  x
}

bench_case <- function(name, x) {
  x <- as.data.frame(x)
  ours <- fastest(function() unclass(vq_polychoric(x, threads = cores)$r))
  theirs <- fastest(function() {
    suppressWarnings(psych::polychoric(x, correct = 0, progress = FALSE)$rho)
  })
  lav <- fastest(function() {
    unclass(lavaan::lavCor(x, ordered = names(x), output = "cor"))
  })
  row <- function(tool, timing) {
    difference <- if (identical(tool, "velquorin")) "" else
      formatC(max(abs(unname(timing$r) - unname(ours$r))), format = "e", digits = 2)
    sprintf("| %s | %d | %d | %s | %.3f | %.1f | %s |", name, ncol(x), nrow(x), tool,
            timing$seconds, timing$seconds / ours$seconds, difference)
  }
  c(row("velquorin", ours), row("psych", theirs), row("lavaan", lav))
}

cat("load average before: ", load_average(), "\n", sep = "")
rows <- c(bench_case("bfi", na.omit(psych::bfi[, 1:25])),
          bench_case("simulated", simulated_items(20000, 60, 3, 0.6, 2026)))
cat("load average after: ", load_average(), "\n\n", sep = "")
cat("| Case | Items | Subjects | Estimator | Seconds | x velquorin | max \\|diff\\| |\n",
    "|---|---|---|---|---|---|---|\n", sep = "")
cat(rows, sep = "\n")
cat("\n")
cat("versions: velquorin ", format(packageVersion("velquorin", lib.loc = lib)), ", psych ",
    format(packageVersion("psych")), ", lavaan ", format(packageVersion("lavaan")), ", cores ",
    cores, ", repeats ", repeats, "\n", sep = "")
