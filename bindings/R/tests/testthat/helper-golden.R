# The golden cases of the repository (tests/golden/<case>/), run through
# vq_run as tests/golden/run_case.sh runs the program: the case's inputs
# copied into a scratch folder, the command file named "./<name>.in", the
# case's --seed, and every file of expected/ compared byte for byte.

source_dir <- function() Sys.getenv("VELQUORIN_SOURCE_DIR")

skip_without_repository <- function() {
  if (!nzchar(source_dir()) || !dir.exists(file.path(source_dir(), "tests", "golden"))) {
    skip("the repository's golden cases are not at hand (set VELQUORIN_SOURCE_DIR)")
  }
}

# A case that vq_run can play: no setup script, no standard input, and no
# command-line word but --seed N and --threads N (a check or --strict case,
# a cut command file, are the program's alone).
plays_as_a_run <- function(case_dir) {
  if (any(file.exists(file.path(case_dir, c("setup", "stdin", "command"))))) return(FALSE)
  if (!file.exists(file.path(case_dir, "args"))) return(TRUE)
  words <- scan(file.path(case_dir, "args"), what = "", quiet = TRUE)
  while (length(words) >= 2L && words[1L] %in% c("--seed", "--threads") &&
         grepl("^-?[0-9]{1,18}$", words[2L])) {
    words <- words[-(1:2)]
  }
  length(words) == 0L
}

golden_case_names <- function() {
  cases <- list.dirs(file.path(source_dir(), "tests", "golden"), recursive = FALSE)
  cases <- cases[dir.exists(file.path(cases, "expected"))]
  basename(cases[vapply(cases, plays_as_a_run, TRUE)])
}

golden_case <- function(name) {
  case_dir <- file.path(source_dir(), "tests", "golden", name)
  input_dir <- case_dir
  command <- NULL
  if (file.exists(file.path(case_dir, "example"))) {
    target <- file.path(source_dir(), readLines(file.path(case_dir, "example"), n = 1L))
    if (dir.exists(target)) {
      input_dir <- target
    } else {
      command <- basename(target)
      input_dir <- dirname(target)
    }
  }
  expected <- file.path(case_dir, "expected")
  skipped <- c("example", "args", "stdin", ".gitignore", list.files(expected))
  files <- setdiff(list.files(input_dir, all.files = TRUE, no.. = TRUE), skipped)
  files <- files[!dir.exists(file.path(input_dir, files))]
  scratch <- tempfile(paste0("golden_", name, "_"))
  dir.create(scratch)
  file.copy(file.path(input_dir, files), scratch)
  if (is.null(command)) command <- sort(files[grepl("\\.in$", files)])[1L]
  args <- character()
  if (file.exists(file.path(case_dir, "args"))) {
    args <- scan(file.path(case_dir, "args"), what = "", quiet = TRUE)
  }
  seed <- NULL
  if ("--seed" %in% args) seed <- as.numeric(args[match("--seed", args) + 1L])
  list(name = name, expected = expected, scratch = normalizePath(scratch),
       command = paste0("./", command), seed = seed)
}

# The run's result, or the velquorin_stop condition of a run that stopped.
run_golden <- function(case, threads = 2L) {
  old <- setwd(case$scratch)
  on.exit(setwd(old))
  tryCatch(vq_run(case$command, threads = threads, seed = case$seed),
           velquorin_stop = function(e) e)
}

# Files a run leaves that it opened to read, not to write: the missing data
# file that the read creates empty. A result names only the files written.
created_by_reading <- list(data_file_missing = "nodata.dat")

read_bytes <- function(path) readBin(path, "raw", n = file.size(path))

expect_same_as_program <- function(case, outcome) {
  expected <- case$expected
  label <- case$name
  expect_identical(charToRaw(outcome$console), read_bytes(file.path(expected, "console.txt")),
                   label = paste(label, "console"))
  expect_identical(charToRaw(outcome$errors), read_bytes(file.path(expected, "stderr.txt")),
                   label = paste(label, "errors"))
  expect_identical(paste0(outcome$status, "\n"),
                   rawToChar(read_bytes(file.path(expected, "status"))),
                   label = paste(label, "status"))
  outputs <- setdiff(list.files(expected), c("console.txt", "stderr.txt", "status"))
  for (file in outputs) {
    expect_identical(read_bytes(file.path(case$scratch, file)),
                     read_bytes(file.path(expected, file)),
                     label = paste(label, file))
  }
  written <- setdiff(outputs, created_by_reading[[case$name]])
  expect_setequal(c(outcome$report, outcome$files), file.path(case$scratch, written))
}
