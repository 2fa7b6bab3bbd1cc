# The R side of bench/compare_psych.sh: brings the items into R, times
# psych's estimator on them and writes its matrix beside the data, so that the
# shell script can time velquorin on exactly the same scores and compare the
# two matrices. Only the call of the estimator is timed; reading, exporting
# and writing are not.
#
# Usage (called by compare_psych.sh, not meant to be typed):
#   Rscript compare_psych.R bfi  CASEDIR CORES REPEATS
#       exports the complete cases of psych's bfi items A1..O5 to
#       CASEDIR/items.dat (subject number in columns 1-6, then one 3-column
#       field per item: record format (F6.0,25F3.0)), writes the number of
#       subjects to CASEDIR/subjects.txt, then times polychoric() on them.
#   Rscript compare_psych.R file CASEDIR DATAFILE ITEMS poly|tet CORES REPEATS
#       reads a file of tools/generate_items (same layout, ITEMS fields) and
#       times polychoric() or tetrachoric() on it.
# Both write CASEDIR/psych.txt (the matrix, one row per line),
# CASEDIR/psych_seconds.txt (the fastest of REPEATS elapsed times) and
# CASEDIR/psych_notes.txt (psych's warnings, if it gave any).

args <- commandArgs(trailingOnly = TRUE)
if (length(args) < 4) stop("compare_psych.R: too few arguments")

suppressPackageStartupMessages(library(psych))

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
  data(bfi, package = "psych", envir = environment())
  items <- c(paste0("A", 1:5), paste0("C", 1:5), paste0("E", 1:5),
             paste0("N", 1:5), paste0("O", 1:5))
  x <- as.matrix(bfi[complete.cases(bfi[, items]), items])
  write_items(x, file.path(case_dir, "items.dat"))
  writeLines(as.character(nrow(x)), file.path(case_dir, "subjects.txt"))
  estimator <- "poly"
} else if (mode == "file") {
  if (length(args) < 7) stop("compare_psych.R file: too few arguments")
  x <- read_items(args[3], as.integer(args[4]))
  estimator <- args[5]
  cores <- as.integer(args[6])
  repeats <- as.integer(args[7])
} else {
  stop("compare_psych.R: unknown mode ", mode)
}

# psych spreads its pairs over parallel::mcmapply, which takes its number of
# workers from this option.
options(mc.cores = cores)

notes <- character(0)
best <- Inf
for (attempt in seq_len(repeats)) {
  elapsed <- withCallingHandlers(
    if (estimator == "poly") {
      system.time(result <- psych::polychoric(x, correct = 0))["elapsed"]
    } else {
      system.time(result <- psych::tetrachoric(x, correct = 0))["elapsed"]
    },
    warning = function(w) {
      notes <<- unique(c(notes, conditionMessage(w)))
      invokeRestart("muffleWarning")
    })
  best <- min(best, elapsed)
}

write.table(formatC(result$rho, format = "f", digits = 10),
            file.path(case_dir, "psych.txt"),
            quote = FALSE, row.names = FALSE, col.names = FALSE)
writeLines(sprintf("%.3f", best), file.path(case_dir, "psych_seconds.txt"))
writeLines(notes, file.path(case_dir, "psych_notes.txt"))
