#' Run a Velquorin command file
#'
#' Runs the command file `file` as the command-line program does
#' (`velquorin --threads N --seed S file`), in R's working directory: the
#' report named on its `>OUTFILE:` line is relative to the working directory,
#' the saved files go beside the command file. The report and the saved files
#' are the program's byte for byte, for any thread count.
#'
#' Nothing is printed while the engine runs and it never waits for input: the
#' pause prompt after a fatal message is answered by an empty line. With
#' `verbose = TRUE` the console text of the run is shown afterwards through
#' `message()`.
#'
#' @param file path of the command file (`*.in`).
#' @param threads threads for the correlation estimators and the triplet
#'   test, 1 to 1024; `NULL` for every core. Results never depend on it.
#' @param seed a whole number that fixes the random start of a rotation, or
#'   `NULL` for a seed from the clock.
#' @param verbose show the console text of the run.
#' @return An object of class `velquorin_run`: a list with `report` (the
#'   report's absolute path), `files` (the saved files' absolute paths),
#'   `console` and `errors` (what the program would have written to stdout
#'   and stderr), `ending` ("finished") and `status` (the exit status).
#'   A run that ends otherwise signals an error of class `velquorin_stop`
#'   whose message is the program's own words ("FATAL ERROR: ..."), with the
#'   same fields and `message`; `ending` is then "stopped", "severe" or
#'   "cancelled".
vq_run <- function(file, threads = NULL, seed = NULL, verbose = FALSE) {
  if (!is.character(file) || length(file) != 1L || is.na(file) || !nzchar(file)) {
    stop("'file' must be the path of one command file")
  }
  threads <- check_threads(threads)
  if (!is.null(seed)) {
    if (!is.numeric(seed) || length(seed) != 1L || is.na(seed) || seed != round(seed) ||
        abs(seed) > 2^53) {
      stop("'seed' must be one whole number")
    }
    seed <- as.double(seed)
  }
  outcome <- .Call(velquorin_run_file, path.expand(file), threads, seed)
  if (isTRUE(verbose) && nzchar(outcome$console)) {
    message(sub("\n$", "", outcome$console))
  }
  if (outcome$ending != "finished") {
    stop(velquorin_stop(outcome, sys.call()))
  }
  outcome$message <- NULL
  structure(outcome, class = "velquorin_run")
}

check_threads <- function(threads) {
  if (is.null(threads)) return(0L)
  if (!is.numeric(threads) || length(threads) != 1L || is.na(threads) ||
      threads != round(threads) || threads < 1 || threads > 1024) {
    stop("'threads' must be a whole number from 1 to 1024, or NULL for every core")
  }
  as.integer(threads)
}

# The R error for a run that did not finish: the program's words as the
# message, the rest of the outcome as fields.
velquorin_stop <- function(outcome, call) {
  structure(c(list(call = call), outcome), class = c("velquorin_stop", "error", "condition"))
}

conditionMessage.velquorin_stop <- function(c) {
  if (nzchar(c$message)) c$message else paste("the run ended:", c$ending)
}

print.velquorin_run <- function(x, ...) {
  cat("Velquorin run: ", x$ending, " (status ", x$status, ")\n", sep = "")
  if (length(x$report)) cat("report: ", x$report, "\n", sep = "")
  if (length(x$files)) {
    cat("saved files:\n")
    cat(paste0("  ", x$files, "\n"), sep = "")
  }
  if (nzchar(x$errors)) cat("errors:\n", x$errors, sep = "")
  invisible(x)
}
