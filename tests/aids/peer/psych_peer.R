# Peer check of the aids (src/aids) against psych, run by psych_peer.sh.
#
# What is compared. For each case the correlation matrix is computed once,
# here, by psych (tetrachoric or polychoric), and that same matrix, with
# psych's own principal-axis solution, is handed to our aids_peer_tool: only
# the aids are compared, not the estimators or the extraction.
#   Fit:  fa(r, m, fm = "pa", n.obs = N): objective F, chi-square, df,
#         p-value, RMSEA and its 90% bounds, TLI, BIC, null chi-square and
#         df; the Vaccounted rows "SS loadings" and "Proportion Var". For bfi
#         also the promax solution (pattern and Phi) for the oblique rows.
#   MAP:  the map function inside psych::vss on r, for m = 1..p-1, and the
#         m of its minimum (ours also has m = 0, not compared).
#   Parallel analysis: the observed lines of fa.parallel(r, n.obs = N,
#         SMC = TRUE), pc.values (full matrix) and fa.values (SMC-reduced);
#         psych's random part (resampling) is replaced by ours: psych's own
#         rule which(!(observed > percentile))[1] - 1 applied to our 95th
#         percentile lines must give our suggested counts. Our permuted data
#         sets are correlated by our polychoric estimator (also for the
#         dichotomous LSAT items).
# Tolerance: |ours - psych| <= 1e-3 * max(1, |psych|); counts exactly.
# Data: psych's bfi items A1..O5 (complete cases: 2,436 subjects, 5 factors)
# and psych's lsat7 (the five LSAT items of Bock and Lieberman, 1,000
# subjects, 1 factor).
#
# Usage: Rscript psych_peer.R AIDS_PEER_TOOL WORK_DIR

args <- commandArgs(trailingOnly = TRUE)
tool <- args[1]
work <- args[2]
suppressPackageStartupMessages(library(psych))

psych_map <- function() {
  for (e in as.list(body(psych::vss))) {
    if (is.call(e) && identical(e[[1]], as.name("<-")) && identical(e[[2]], as.name("map"))) {
      return(eval(e[[3]]))
    }
  }
  stop("psych::vss has no map function")
}
map <- psych_map()

write_rows <- function(con, x) {
  x <- as.matrix(x)
  for (i in seq_len(nrow(x))) writeLines(paste(sprintf("%.17g", x[i, ]), collapse = " "), con)
}

run_tool <- function(dir, r, f, n, data = NULL) {
  dir.create(dir, showWarnings = FALSE, recursive = TRUE)
  loadings <- unclass(f$loadings)
  oblique <- !is.null(f$Phi)
  con <- file(file.path(dir, "input.txt"), "w")
  writeLines(paste(n, ncol(r), ncol(loadings), as.integer(oblique)), con)
  write_rows(con, r)
  write_rows(con, loadings)
  if (oblique) write_rows(con, f$Phi)
  close(con)
  unlink(file.path(dir, "data.txt"))
  if (!is.null(data)) {
    con <- file(file.path(dir, "data.txt"), "w")
    writeLines(paste(nrow(data), ncol(data)), con)
    writeLines(apply(data, 1, function(row) paste(as.integer(row), collapse = " ")), con)
    close(con)
  }
  status <- system2(tool, c(dir, 100, 12345, 2))
  if (status != 0) stop("aids_peer_tool failed in ", dir)
  lines <- strsplit(readLines(file.path(dir, "ours.txt")), " ")
  ours <- lapply(lines, function(x) as.numeric(x[-1]))
  names(ours) <- sapply(lines, `[`, 1)
  ours
}

failures <- 0
check <- function(case, name, psych_value, our_value, exact = FALSE) {
  psych_value <- as.numeric(psych_value)
  our_value <- as.numeric(our_value)
  if (length(psych_value) != length(our_value)) {
    ok <- FALSE
    diff <- NA
  } else {
    both_na <- is.na(psych_value) & is.na(our_value)
    diff <- max(c(0, abs(psych_value - our_value)[!both_na]))
    limit <- if (exact) 0 else 1e-3 * max(1, abs(psych_value), na.rm = TRUE)
    ok <- !any(xor(is.na(psych_value), is.na(our_value))) && diff <= limit
  }
  cat(sprintf("%-6s %-26s %s  (largest difference %.2e)\n", case, name,
              if (ok) "agrees" else "DIFFERS", diff))
  if (!ok) {
    cat("   psych:", format(psych_value, digits = 8), "\n")
    cat("   ours: ", format(our_value, digits = 8), "\n")
    failures <<- failures + 1
  }
}

psych_count <- function(observed, percentile) {
  count <- which(!(observed > percentile))[1] - 1
  if (is.na(count)) length(observed) else count
}

compare_case <- function(case, x, r, m, promax = FALSE) {
  n <- nrow(x)
  p <- ncol(r)
  f <- fa(r, m, fm = "pa", n.obs = n, rotate = "none", warnings = FALSE)
  ours <- run_tool(file.path(work, case), r, f, n, x)
  check(case, "F", f$objective, ours$fit[1])
  check(case, "chi-square", f$STATISTIC, ours$fit[2])
  check(case, "df", f$dof, ours$fit[3], exact = TRUE)
  check(case, "p-value", f$PVAL, ours$fit[4])
  check(case, "RMSEA, lower, upper", f$RMSEA[1:3], ours$fit[5:7])
  check(case, "TLI", f$TLI, ours$fit[8])
  check(case, "BIC", f$BIC, ours$fit[9])
  check(case, "null chi-square, df", c(f$null.chisq, f$null.dof), ours$fit[10:11])
  check(case, "SS loadings", f$Vaccounted["SS loadings", ], ours$ss_loadings)
  check(case, "Proportion Var", f$Vaccounted["Proportion Var", ], ours$proportion)

  psych_map_values <- map(r, p - 1)
  check(case, "MAP, m = 1..p-1", psych_map_values, ours$map_squared[-1])
  check(case, "MAP minimum", which.min(psych_map_values), ours$map_suggested[1], exact = TRUE)

  invisible(capture.output(
      pa <- fa.parallel(r, n.obs = n, fa = "both", SMC = TRUE, plot = FALSE, n.iter = 2)))
  check(case, "observed components", pa$pc.values, ours$pc_observed)
  check(case, "observed factors (SMC)", pa$fa.values, ours$fa_observed)
  check(case, "suggested components",
        psych_count(pa$pc.values, ours$pc_percentile), ours$suggested[1], exact = TRUE)
  check(case, "suggested factors",
        psych_count(pa$fa.values, ours$fa_percentile), ours$suggested[2], exact = TRUE)
  cat(sprintf("%-6s RMSEA %.4f TLI %.4f; parallel analysis suggests %d components, %d factors",
              case, f$RMSEA[1], f$TLI, ours$suggested[1], ours$suggested[2]),
      sprintf("(100 permuted data sets, %.2f s)\n", ours$seconds))

  if (promax) {
    g <- fa(r, m, fm = "pa", n.obs = n, rotate = "promax", warnings = FALSE)
    oblique <- run_tool(file.path(work, paste0(case, "_promax")), r, g, n)
    check(case, "promax: F, TLI", c(g$objective, g$TLI), oblique$fit[c(1, 8)])
    check(case, "promax: SS loadings", g$Vaccounted["SS loadings", ], oblique$ss_loadings)
    check(case, "promax: Proportion Var", g$Vaccounted["Proportion Var", ], oblique$proportion)
  }
}

lsat <- as.matrix(psych::lsat7)
compare_case("lsat7", lsat, tetrachoric(lsat)$rho, 1)

items <- c(paste0("A", 1:5), paste0("C", 1:5), paste0("E", 1:5),
           paste0("N", 1:5), paste0("O", 1:5))
bfi_items <- as.matrix(na.omit(psych::bfi[, items]))
stopifnot(nrow(bfi_items) == 2436)
compare_case("bfi", bfi_items, polychoric(bfi_items)$rho, 5, promax = TRUE)

if (failures > 0) {
  cat(failures, "comparison(s) differ from psych\n")
  quit(status = 1)
}
cat("all figures agree with psych", as.character(packageVersion("psych")), "\n")
