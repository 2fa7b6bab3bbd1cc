#' Correlations of item scores
#'
#' The estimators of a Velquorin run, called on scores in R: Pearson
#' product-moment, polychoric (ordered items) and tetrachoric (dichotomous
#' items) correlations. The numbers are those the command-line program saves
#' in its `cor` file, bit for bit, for any thread count.
#'
#' @param x a numeric matrix or data frame, subjects by items; the column
#'   names become the labels. Missing scores (`NA`) are refused with an
#'   error: the engine's only missing code is a score of 99 in an ordered
#'   item's highest place (polychoric), which counts in no category.
#' @param threads the number of threads (1 to 1024), `NULL` for every core.
#'   It never changes a number.
#' @return a list of class `velquorin_correlations`: `r` (the matrix, with
#'   the labels as dimnames), `method`, `n` (subjects), `warnings` (the
#'   run's non-fatal messages); polychoric and tetrachoric add `se` (standard
#'   errors of the estimates, from the curvature of each pair's log
#'   likelihood for polychoric) and `thresholds` (a list: each item's
#'   thresholds on the normal scale); tetrachoric adds `proportions` (each
#'   item's proportion of keyed subjects). A stop of the
#'   engine (e.g. an item with more than 14 categories) is an error of class
#'   `velquorin_stop` carrying the program's words.
#' @name correlations
NULL

#' @rdname correlations
vq_pearson <- function(x, threads = NULL) {
  vq_correlations("pearson", x, threads, sys.call())
}

#' @rdname correlations
#' @param bound the polychoric search runs over \[-bound, bound\]. The
#'   default 0.9 is the run's (a pair on it is warned of); 0.999 lets strong
#'   associations through. From 0.05 to 0.9999.
#' @param likelihood_floor `TRUE` (the run): each pair's search starts from a
#'   best log likelihood of -999999, so a pair whose likelihood is below it
#'   everywhere stays at 0 (it happens with large samples and many
#'   categories: at N = 250,000 with ten categories every pair). `FALSE`:
#'   the best point of the search always wins.
vq_polychoric <- function(x, bound = 0.9, likelihood_floor = TRUE, threads = NULL) {
  if (!is.numeric(bound) || length(bound) != 1L || is.na(bound)) {
    stop("'bound' must be one number from 0.05 to 0.9999")
  }
  if (!is.logical(likelihood_floor) || length(likelihood_floor) != 1L || is.na(likelihood_floor)) {
    stop("'likelihood_floor' must be TRUE or FALSE")
  }
  vq_correlations("polychoric", x, threads, sys.call(), bound = bound,
                  likelihood_floor = likelihood_floor)
}

#' @rdname correlations
#' @param guessing `NULL`, or one chance of a correct guess an item (in
#'   \[0, 1)): the tables are corrected for guessing.
#' @param median_split `TRUE`: each item is first split at its median.
#'   Otherwise the keyed score is the highest score of the first item.
vq_tetrachoric <- function(x, guessing = NULL, median_split = FALSE, threads = NULL) {
  if (!is.null(guessing) && (!is.numeric(guessing) || anyNA(guessing))) {
    stop("'guessing' must be NULL or one chance an item")
  }
  if (!is.logical(median_split) || length(median_split) != 1L || is.na(median_split)) {
    stop("'median_split' must be TRUE or FALSE")
  }
  vq_correlations("tetrachoric", x, threads, sys.call(),
                  guessing = as.double(guessing), median_split = median_split)
}

# The scores as a double matrix with its labels.
score_matrix <- function(x) {
  if (is.data.frame(x)) {
    numeric <- vapply(x, function(column) is.numeric(column) || is.logical(column), TRUE)
    if (!all(numeric)) {
      stop("every column of 'x' must be numeric; not: ",
           paste(names(x)[!numeric], collapse = ", "))
    }
    x <- as.matrix(x)
  }
  if (!is.matrix(x) || !(is.numeric(x) || is.logical(x))) {
    stop("'x' must be a numeric matrix or data frame, subjects by items")
  }
  storage.mode(x) <- "double"
  x
}

vq_correlations <- function(kind, x, threads, call, guessing = double(),
                            median_split = FALSE, bound = 0.9, likelihood_floor = TRUE) {
  x <- score_matrix(x)
  threads <- check_threads(threads)
  labels <- colnames(x)
  if (is.null(labels)) labels <- character()
  outcome <- .Call(velquorin_correlations, kind, x, labels, guessing, median_split,
                   as.double(bound), likelihood_floor, threads)
  if (outcome$ending != "finished") {
    stop(velquorin_stop(outcome[c("ending", "status", "message", "warnings")], call))
  }
  r <- outcome$r
  names <- if (length(labels)) labels else paste0("V", seq_len(ncol(x)))
  dimnames(r) <- list(names, names)
  result <- list(r = r, method = kind, n = nrow(x), warnings = outcome$warnings)
  if (kind != "pearson") {
    dimnames(outcome$se) <- list(names, names)
    result$se <- outcome$se
    result$thresholds <- stats::setNames(outcome$thresholds, names)
  }
  if (kind == "tetrachoric") {
    result$proportions <- stats::setNames(outcome$proportions, names)
  }
  for (warning in outcome$warnings) warning(warning, call. = FALSE)
  structure(result, class = "velquorin_correlations")
}

#' @export
print.velquorin_correlations <- function(x, digits = 3, ...) {
  cat("Velquorin ", x$method, " correlations of ", ncol(x$r), " items, ", x$n,
      " subjects\n", sep = "")
  print(round(x$r, digits), ...)
  if (length(x$warnings)) {
    cat("warnings:\n")
    cat(paste0("  ", x$warnings, "\n"), sep = "")
  }
  invisible(x)
}

#' @export
as.matrix.velquorin_correlations <- function(x, ...) x$r
