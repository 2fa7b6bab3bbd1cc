# The R side of bench/compare_psych.sh: brings the items into R, times the
# peers' estimators on them (psych, and lavaan where it is installed) and
# writes their matrices beside the data, so that the shell script can time
# velquorin on exactly the same scores and compare the matrices. Only the
# call of each estimator is timed; reading, exporting and writing are not.
#
# Usage (called by compare_psych.sh, not meant to be typed):
#   Rscript compare_psych.R bfi  CASEDIR CORES REPEATS PEERS
#       exports the complete cases of psych's bfi items A1..O5 to
#       CASEDIR/items.dat (subject number in columns 1-6, then one 3-column
#       field per item: record format (F6.0,25F3.0)), writes the number of
#       subjects to CASEDIR/subjects.txt, then times the peers on them.
#   Rscript compare_psych.R file CASEDIR DATAFILE ITEMS poly|tet CORES REPEATS PEERS
#       reads a file of tools/generate_items (same layout, ITEMS fields) and
#       times the peers' polychorics or tetrachorics on it.
# PEERS is a comma-separated list of "psych" and "lavaan". For each peer P
# the script writes CASEDIR/P.txt (the matrix, one row per line),
# CASEDIR/P_seconds.txt (the fastest of REPEATS elapsed times) and
# CASEDIR/P_notes.txt (the peer's warnings, if it gave any).
#
# psych::polychoric / tetrachoric run with correct = 0 (no continuity
# correction of empty cells) and spread their pairs over
# parallel::mcmapply with options(mc.cores = CORES). lavaan::lavCor treats
# every item as ordered (two-step estimates: thresholds, then one
# correlation per pair; dichotomous items give tetrachorics) and has no
# option of its own for cores: it runs on one.

args <- commandArgs(trailingOnly = TRUE)
if (length(args) < 5) stop("compare_psych.R: too few arguments")

mode <- args[1]
case_dir <- args[2]

# Scores in fixed columns: a 6-column subject number, then 3 columns per item.
write_items <- function(x, path) {
  ids <- sprintf("%6d", seq_len(nrow(x)))
  fields <- matrix(sprintf("%3d", as.integer(x)), nrow = nrow(x))
  writeLines(paste0(ids, apply(fields, 1, paste0, collapse = "")), path)
}

read_items <- function(path, items) {
  lines <- readLines(path)
  starts <- 7 + 3 * (seq_len(items) - 1)
  values <- substring(rep(lines, each = items), starts, starts + 2)
  matrix(as.numeric(values), ncol = items, byrow = TRUE)
}

if (mode == "bfi") {
  cores <- as.integer(args[3])
  repeats <- as.integer(args[4])
  peers <- args[5]
  suppressPackageStartupMessages(library(psych))
  data(bfi, package = "psych", envir = environment())
  items <- c(paste0("A", 1:5), paste0("C", 1:5), paste0("E", 1:5),
             paste0("N", 1:5), paste0("O", 1:5))
  x <- as.matrix(bfi[complete.cases(bfi[, items]), items])
  write_items(x, file.path(case_dir, "items.dat"))
  writeLines(as.character(nrow(x)), file.path(case_dir, "subjects.txt"))
  estimator <- "poly"
} else if (mode == "file") {
  if (length(args) < 8) stop("compare_psych.R file: too few arguments")
  x <- read_items(args[3], as.integer(args[4]))
  estimator <- args[5]
  cores <- as.integer(args[6])
  repeats <- as.integer(args[7])
  peers <- args[8]
} else {
  stop("compare_psych.R: unknown mode ", mode)
}
peers <- strsplit(peers, ",", fixed = TRUE)[[1]]
colnames(x) <- sprintf("V%d", seq_len(ncol(x)))

# The call of each peer that is timed; each returns the correlation matrix.
estimators <- list(
  psych = function() {
    # psych spreads its pairs over parallel::mcmapply, which takes its
    # number of workers from this option.
    options(mc.cores = cores)
    if (estimator == "poly") {
      psych::polychoric(x, correct = 0)$rho
    } else {
      psych::tetrachoric(x, correct = 0)$rho
    }
  },
  lavaan = function() {
    unclass(lavaan::lavCor(as.data.frame(x), ordered = colnames(x), output = "cor"))
  }
)

for (peer in peers) {
  if (is.null(estimators[[peer]])) stop("compare_psych.R: unknown peer ", peer)
  suppressPackageStartupMessages(requireNamespace(peer, quietly = TRUE))
  notes <- character(0)
  best <- Inf
  for (attempt in seq_len(repeats)) {
    elapsed <- withCallingHandlers(
      system.time(result <- estimators[[peer]]())["elapsed"],
      warning = function(w) {
        notes <<- unique(c(notes, conditionMessage(w)))
        invokeRestart("muffleWarning")
      })
    best <- min(best, elapsed)
  }
  write.table(formatC(as.matrix(result), format = "f", digits = 10),
              file.path(case_dir, paste0(peer, ".txt")),
              quote = FALSE, row.names = FALSE, col.names = FALSE)
  writeLines(sprintf("%.3f", best), file.path(case_dir, paste0(peer, "_seconds.txt")))
  writeLines(notes, file.path(case_dir, paste0(peer, "_notes.txt")))
}
