#' Factor analysis, factor scores, smoothing, triplet test, parallel analysis
#'
#' The phases of a Velquorin run called on data in R. A run with the same
#' settings saves the same numbers (to the digits its files print; its
#' matrices of nine decimals bit for bit). See man/factoring.Rd.
#' @name factoring
NULL

# A square symmetric matrix with a unit diagonal: a correlation matrix, not
# scores.
is_correlation_matrix <- function(x) {
  is.matrix(x) && is.numeric(x) && nrow(x) == ncol(x) && nrow(x) >= 2L && !anyNA(x) &&
    isTRUE(all.equal(unname(x), unname(t(x)))) && all(diag(x) == 1)
}

# A checked thread count handed on to a function that checks it again.
threads_arg <- function(threads) if (identical(threads, 0L)) NULL else threads

item_names <- function(labels, p) if (length(labels)) labels else paste0("V", seq_len(p))

# The correlations `x` stands for: a velquorin_correlations result, a
# correlation matrix, or scores (estimated with `cor`, smoothed with
# `smooth`). A list of r, labels, n (NA when not known) and warnings.
correlations_of <- function(x, cor, smooth, n.obs, threads, call) {
  warnings <- character()
  if (inherits(x, "velquorin_correlations")) {
    r <- x$r
    if (is.null(n.obs)) n.obs <- x$n
  } else if (is.data.frame(x) || !is_correlation_matrix(x)) {
    cor <- match.arg(cor, c("pearson", "polychoric", "tetrachoric"))
    estimate <- suppressWarnings(vq_correlations(cor, x, threads_arg(threads), call))
    r <- estimate$r
    warnings <- estimate$warnings
    n.obs <- nrow(x)
  } else {
    r <- x
    storage.mode(r) <- "double"
  }
  labels <- colnames(r)
  if (is.null(labels)) labels <- character()
  if (isTRUE(smooth)) {
    r <- vq_smooth(r, threads = threads_arg(threads))
    dimnames(r) <- if (length(labels)) list(labels, labels) else NULL
  }
  if (is.null(n.obs)) n.obs <- NA_integer_
  list(r = unclass(r), labels = labels, n = n.obs, warnings = warnings)
}

check_count <- function(value, name, lowest = 1) {
  if (!is.numeric(value) || length(value) != 1L || is.na(value) || value != round(value) ||
      value < lowest) {
    stop("'", name, "' must be one whole number of ", lowest, " or more")
  }
  as.integer(value)
}

check_seed <- function(seed) {
  if (is.null(seed)) return(NULL)
  if (!is.numeric(seed) || length(seed) != 1L || is.na(seed) || seed != round(seed) ||
      abs(seed) > 2^53) {
    stop("'seed' must be one whole number")
  }
  as.double(seed)
}

factor_settings <- function(nfactors, method, start, rotate, power, delta, hk, random_start,
                            control) {
  defaults <- list(communality_epsilon = 1e-4, communality_iterations = 200L,
                   rotation_epsilon = 1e-4, rotation_iterations = 200L,
                   hyperplane_width = 0.2)
  unknown <- setdiff(names(control), names(defaults))
  if (length(unknown)) stop("unknown 'control' entries: ", paste(unknown, collapse = ", "))
  control <- utils::modifyList(defaults, control)
  c(list(method = method, start = start, factors = check_count(nfactors, "nfactors"),
         rotation = rotate, promax_power = check_count(power, "power"),
         oblimin_delta = as.double(delta), harris_kaiser_parameter = as.double(hk),
         random_start = isTRUE(random_start)),
    list(communality_epsilon = as.double(control$communality_epsilon),
         communality_iterations = as.integer(control$communality_iterations),
         rotation_epsilon = as.double(control$rotation_epsilon),
         rotation_iterations = as.integer(control$rotation_iterations),
         hyperplane_width = as.double(control$hyperplane_width)))
}

as_loadings <- function(matrix, names, m) {
  dimnames(matrix) <- list(names, paste0("F", seq_len(m)))
  class(matrix) <- "loadings"
  matrix
}

# The R object of a factor analysis from the engine's list.
fa_result <- function(outcome, labels, settings, n, warnings) {
  p <- nrow(outcome$loadings)
  m <- outcome$factors
  names <- item_names(labels, p)
  factors <- paste0("F", seq_len(m))
  result <- list(
    loadings = as_loadings(outcome$loadings, names, m),
    unrotated = as_loadings(outcome$unrotated, names, m),
    pattern = NULL, structure = NULL, phi = NULL,
    communalities = stats::setNames(outcome$communalities, names),
    uniquenesses = stats::setNames(1 - outcome$communalities, names),
    eigenvalues = outcome$initial_eigenvalues,
    factor_eigenvalues = stats::setNames(outcome$eigenvalues, factors),
    starting_communalities = stats::setNames(outcome$starting_communalities, names),
    iterations = outcome$iterations, converged = outcome$converged,
    rotation = outcome$rotation,
    rotation_sweeps = outcome$rotation_sweeps, rotation_converged = outcome$rotation_converged,
    fit = outcome$fit,
    residuals = structure(outcome$residuals, dimnames = list(names, names)),
    n.obs = n, settings = settings,
    warnings = c(warnings, outcome$warnings))
  if (outcome$oblique) {
    result$pattern <- result$loadings
    result$structure <- as_loadings(outcome$structure, names, m)
    result$phi <- structure(outcome$phi, dimnames = list(factors, factors))
  }
  structure(result, class = "velquorin_fa")
}

stop_if_unfinished <- function(outcome, call, warnings = character()) {
  if (outcome$stop$ending != "finished") {
    stop(velquorin_stop(c(outcome$stop, list(warnings = warnings)), call))
  }
}

#' @rdname factoring
vq_fa <- function(x, nfactors = 1, method = c("pfa", "pca"), start = c("smc", "one", "hir"),
                  rotate = c("varimax", "wvarimax", "promax", "oblimin", "hk", "none"),
                  cor = c("pearson", "polychoric", "tetrachoric"), smooth = FALSE,
                  n.obs = NULL, power = 4, delta = 0, hk = 0, random_start = FALSE,
                  seed = NULL, control = list(), threads = NULL) {
  call <- sys.call()
  method <- match.arg(method)
  start <- match.arg(start)
  rotate <- match.arg(rotate)
  threads <- check_threads(threads)
  seed <- check_seed(seed)
  settings <- factor_settings(nfactors, method, start, rotate, power, delta, hk, random_start,
                              control)
  input <- correlations_of(x, cor, smooth, n.obs, threads, call)
  n <- if (is.na(input$n)) 0L else check_count(input$n, "n.obs", 2)
  outcome <- .Call(velquorin_fa, input$r, input$labels, n, settings, threads, seed)
  stop_if_unfinished(outcome, call, input$warnings)
  result <- fa_result(outcome, input$labels, settings, input$n, input$warnings)
  result$seed <- seed
  for (warning in result$warnings) warning(warning, call. = FALSE)
  result
}

#' @export
print.velquorin_fa <- function(x, digits = 3, cutoff = 0.1, sort = FALSE, ...) {
  p <- nrow(x$loadings)
  m <- ncol(x$loadings)
  cat("Velquorin factor analysis: ", toupper(x$settings$method), ", ", m,
      if (m == 1) " factor" else " factors", " of ", p, " items",
      if (!is.na(x$n.obs)) paste0(", ", x$n.obs, " subjects"), "\n", sep = "")
  cat("start ", toupper(x$settings$start), ", ", x$iterations, " passes",
      if (!x$converged) " (not converged)", "; rotation ", x$rotation, "\n\n", sep = "")
  print(x$loadings, digits = digits, cutoff = cutoff, sort = sort, ...)
  if (!is.null(x$phi)) {
    cat("\nFactor correlations:\n")
    print(round(x$phi, digits))
  }
  cat("\nGFI ", format(round(x$fit$gfi, 4)), ", RMSR ", format(round(x$fit$rmsr, 4)), sep = "")
  if (!is.null(x$fit$chi_square)) {
    cat("; chi-square ", format(round(x$fit$chi_square, 2)), " on ", x$fit$df, " df (p ",
        format(signif(x$fit$p_value, 3)), "), RMSEA ", format(round(x$fit$rmsea, 4)),
        ", TLI ", format(round(x$fit$tli, 3)), sep = "")
  }
  cat("\n")
  if (length(x$warnings)) {
    cat("warnings:\n")
    cat(paste0("  ", x$warnings, "\n"), sep = "")
  }
  invisible(x)
}

#' @rdname factoring
vq_scores <- function(x, f = NULL, method = c("regression", "bartlett"), threads = NULL,
                      seed = NULL, ...) {
  call <- sys.call()
  method <- match.arg(method)
  threads <- check_threads(threads)
  x <- score_matrix(x)
  if (is.null(f)) {
    settings <- do.call(factor_settings_from_dots, list(...))
  } else {
    if (!inherits(f, "velquorin_fa")) stop("'f' must be a result of vq_fa")
    settings <- f$settings
    if (is.null(seed) && !is.null(f$seed)) seed <- f$seed
  }
  seed <- check_seed(seed)
  labels <- colnames(x)
  if (is.null(labels)) labels <- character()
  outcome <- .Call(velquorin_scores, x, labels, settings, method, threads, seed)
  stop_if_unfinished(outcome, call)
  fa <- fa_result(outcome$fa, labels, settings, nrow(x), character())
  m <- ncol(fa$loadings)
  factors <- paste0("F", seq_len(m))
  scores <- outcome$scores
  dimnames(scores) <- list(rownames(x), factors)
  weights <- outcome$weights
  dimnames(weights) <- list(item_names(labels, ncol(x)), factors)
  result <- list(scores = scores, weights = weights,
                 validity = stats::setNames(outcome$validity, factors), method = method,
                 fa = fa, notes = outcome$notes)
  for (warning in c(fa$warnings, outcome$notes)) warning(warning, call. = FALSE)
  structure(result, class = "velquorin_scores")
}

factor_settings_from_dots <- function(nfactors = 1, method = c("pfa", "pca"),
                                      start = c("smc", "one", "hir"),
                                      rotate = c("varimax", "wvarimax", "promax", "oblimin",
                                                 "hk", "none"),
                                      power = 4, delta = 0, hk = 0, random_start = FALSE,
                                      control = list()) {
  factor_settings(nfactors, match.arg(method), match.arg(start), match.arg(rotate), power, delta,
                  hk, random_start, control)
}

#' @export
print.velquorin_scores <- function(x, digits = 3, ...) {
  cat("Velquorin ", x$method, " factor scores: ", nrow(x$scores), " subjects, ",
      ncol(x$scores), " factors (rotation ", x$fa$rotation, ")\n", sep = "")
  cat("validity: ", paste(format(round(x$validity, digits)), collapse = " "), "\n", sep = "")
  print(utils::head(round(x$scores, digits)), ...)
  if (nrow(x$scores) > 6) cat("... (", nrow(x$scores) - 6, " more rows)\n", sep = "")
  invisible(x)
}

#' @rdname factoring
vq_smooth <- function(r, threads = NULL) {
  if (inherits(r, "velquorin_correlations")) r <- r$r
  if (!is.matrix(r) || !is.numeric(r) || nrow(r) != ncol(r)) {
    stop("'r' must be a square correlation matrix")
  }
  storage.mode(r) <- "double"
  labels <- colnames(r)
  if (is.null(labels)) labels <- character()
  outcome <- .Call(velquorin_smooth, r, labels, check_threads(threads))
  stop_if_unfinished(outcome, sys.call())
  smoothed <- outcome$r
  dimnames(smoothed) <- dimnames(r)
  smoothed
}

#' @rdname factoring
vq_triplet_test <- function(x, r = NULL, threads = NULL) {
  call <- sys.call()
  threads <- check_threads(threads)
  x <- score_matrix(x)
  if (is.null(r)) r <- vq_tetrachoric(x, threads = threads_arg(threads))
  if (inherits(r, "velquorin_correlations")) r <- r$r
  if (!is.matrix(r) || nrow(r) != ncol(x) || ncol(r) != ncol(x)) {
    stop("'r' must be the items-by-items correlation matrix of the scores")
  }
  storage.mode(r) <- "double"
  outcome <- .Call(velquorin_triplets, unname(x), unname(r), threads)
  stop_if_unfinished(outcome, call)
  names <- item_names(colnames(x), ncol(x))
  triplets <- matrix(outcome$triplets, ncol = 3L, byrow = TRUE,
                     dimnames = list(NULL, c("a", "b", "c")))
  table <- data.frame(triplets, chi_square = outcome$chi_squares,
                      suspicious = outcome$chi_squares >= 6.635)
  per_item <- data.frame(item = names, suspicious = outcome$suspicious,
                         percent = outcome$percentages)
  structure(list(triplets = table, items = per_item), class = "velquorin_triplets")
}

#' @export
print.velquorin_triplets <- function(x, ...) {
  cat("Velquorin triplet test: ", nrow(x$triplets), " triplets, ",
      sum(x$triplets$suspicious), " suspicious (chi-square >= 6.635, 1 df)\n", sep = "")
  print(x$items, row.names = FALSE, ...)
  invisible(x)
}

#' @rdname factoring
vq_parallel <- function(x, cor = c("pearson", "polychoric", "tetrachoric"), n.iter = 100,
                        percentile = 0.95, smooth = FALSE, seed = NULL, threads = NULL) {
  call <- sys.call()
  cor <- match.arg(cor)
  threads <- check_threads(threads)
  seed <- check_seed(seed)
  x <- score_matrix(x)
  if (!is.numeric(percentile) || length(percentile) != 1L || is.na(percentile)) {
    stop("'percentile' must be one number between 0 and 1")
  }
  outcome <- .Call(velquorin_parallel, unname(x), cor, isTRUE(smooth),
                   check_count(n.iter, "n.iter"), as.double(percentile), threads, seed)
  stop_if_unfinished(outcome, call)
  lines <- function(kind) {
    data.frame(position = seq_along(outcome[[paste0("observed_", kind)]]),
               observed = outcome[[paste0("observed_", kind)]],
               mean = outcome[[paste0("mean_", kind)]],
               percentile = outcome[[paste0("percentile_", kind)]])
  }
  structure(list(components = lines("components"), factors = lines("factors"),
                 ncomp = outcome$suggested_components, nfact = outcome$suggested_factors,
                 n.iter = as.integer(n.iter), percentile = percentile, seed = outcome$seed,
                 cor = cor),
            class = "velquorin_parallel")
}

#' @export
print.velquorin_parallel <- function(x, digits = 3, ...) {
  cat("Velquorin parallel analysis (", x$cor, " correlations, ", x$n.iter,
      " permuted data sets, seed ", x$seed, "):\n", sep = "")
  cat("suggested: ", x$nfact, " factors, ", x$ncomp, " components\n", sep = "")
  shown <- data.frame(position = x$factors$position,
                      factors = round(x$factors$observed, digits),
                      factors_pct = round(x$factors$percentile, digits),
                      components = round(x$components$observed, digits),
                      components_pct = round(x$components$percentile, digits))
  print(utils::head(shown, 10), row.names = FALSE, ...)
  invisible(x)
}
