test_that("every golden case gives the program's report, saved files and console", {
  skip_without_repository()
  names <- golden_case_names()
  expect_gt(length(names), 40L)
  for (name in names) {
    case <- golden_case(name)
    expect_same_as_program(case, run_golden(case, threads = 2L))
  }
})

test_that("one thread gives what two give", {
  skip_without_repository()
  for (name in c("demo", "triplet")) {
    case <- golden_case(name)
    result <- run_golden(case, threads = 1L)
    expect_s3_class(result, "velquorin_run")
    expect_same_as_program(case, result)
  }
})

test_that("a stop is an R error with the program's words, and R goes on", {
  skip_without_repository()
  stops <- list(
    parse_fault = list("stopped", 0L, "FATAL ERROR: Keyword  >MODEL:   missing"),
    corr_no_variance = list("stopped", 0L, "FATAL ERROR: VARIABLE   4 HAS NO VARIANCE"),
    corr_ipsat_fault = list("stopped", 0L,
                            "FATAL ERROR IN SUBROUTINE IPSAT\nNO VARIANCE FOR SUBJECT           3"),
    rotate_phi_missing = list("stopped", 0L, "FATAL ERROR! Factor correlation file not found"),
    given_cor_absent_co = list("severe", 29L,
                               "severe (29): file not found, unit 10, file absent.cor"))
  for (name in names(stops)) {
    case <- golden_case(name)
    old <- setwd(case$scratch)
    error <- tryCatch(vq_run(case$command), error = function(e) e)
    setwd(old)
    expect_s3_class(error, "velquorin_stop")
    expect_identical(conditionMessage(error), stops[[name]][[3]], label = name)
    expect_identical(error$ending, stops[[name]][[1]], label = name)
    expect_identical(error$status, stops[[name]][[2]], label = name)
  }
  case <- golden_case("demo")
  expect_s3_class(run_golden(case), "velquorin_run")
})

test_that("a missing command file is an error of its own", {
  error <- tryCatch(vq_run(file.path(tempdir(), "absent.in")), error = function(e) e)
  expect_s3_class(error, "velquorin_stop")
  expect_identical(error$ending, "cancelled")
  expect_identical(error$status, 1L)
  expect_match(conditionMessage(error), "^Command file not found: .*absent\\.in$")
})

test_that("arguments are checked before the engine runs", {
  expect_error(vq_run(c("a.in", "b.in")), "one command file")
  expect_error(vq_run(NA_character_), "one command file")
  expect_error(vq_run("a.in", threads = 0), "from 1 to 1024")
  expect_error(vq_run("a.in", threads = 1025), "from 1 to 1024")
  expect_error(vq_run("a.in", threads = 1.5), "from 1 to 1024")
  expect_error(vq_run("a.in", seed = 1.5), "whole number")
  expect_error(vq_run("a.in", seed = "1"), "whole number")
})

test_that("the run is silent unless verbose, and the result prints its files", {
  skip_without_repository()
  case <- golden_case("demo")
  old <- setwd(case$scratch)
  on.exit(setwd(old))
  expect_silent(result <- vq_run(case$command, seed = 1))
  expect_message(vq_run(case$command, seed = 1, verbose = TRUE), "Performing factor analysis")
  printed <- capture.output(print(result))
  expect_identical(printed[1], "Velquorin run: finished (status 0)")
  expect_true(any(grepl("demo.fac$", printed)))
})
