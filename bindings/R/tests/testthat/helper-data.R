# The examples' scores and the run's saved matrices, for the tests of the
# functions on matrices.

example_scores <- function(path, items, id_width = 0) {
  full <- file.path(source_dir(), "examples", path)
  if (id_width == 0) return(unname(as.matrix(utils::read.table(full))[, -1]))
  lines <- readLines(full)
  lines <- lines[nzchar(trimws(lines))]
  t(vapply(lines, function(line) {
    as.double(strsplit(substr(line, id_width + 1, id_width + items), "")[[1]])
  }, double(items), USE.NAMES = FALSE))
}

# A saved matrix without its blanks: the field width depends on the number
# of items, and with nine decimals a value the digits and signs alone tell
# the values apart.
saved_text <- function(path) {
  gsub(" ", "", readLines(file.path(source_dir(), "tests", "golden", path)), fixed = TRUE)
}

as_saved <- function(r) {
  unname(apply(unclass(r), 1, function(row) paste(sprintf("%.9f", row), collapse = "")))
}


need_source <- function() {
  if (!nzchar(source_dir())) skip("the repository is not at hand (set VELQUORIN_SOURCE_DIR)")
}

# The numbers of a saved file of the golden case `path`, whatever its layout.
saved_numbers <- function(path) {
  scan(file.path(source_dir(), "tests", "golden", path), quiet = TRUE)
}

# The rows of `loadings` (item order) and those of the fac file of `path`,
# four decimals, each set sorted: the file holds the rows as the report
# prints them (sorted under "SORT"), numbered in that order.
fac_rows <- function(loadings, path) {
  m <- ncol(loadings)
  fac <- matrix(saved_numbers(path), ncol = m + 1L, byrow = TRUE)
  rows <- function(x) sort(apply(x, 1, function(row) paste(sprintf("%.4f", row), collapse = " ")))
  list(ours = rows(unname(unclass(loadings))), file = rows(fac[, -1, drop = FALSE]))
}
