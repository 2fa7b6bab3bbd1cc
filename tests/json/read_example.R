run <- jsonlite::fromJSON(commandArgs(trailingOnly = TRUE)[1])
cat("items:", run$items$labels, "\n")
cat("eigenvalues:", head(run$extraction$initial_eigenvalues, 3), "\n")
pattern <- run$rotations$loadings[[nrow(run$rotations)]]  # a p x m matrix
cat("last rotation:", tail(run$rotations$method, 1), pattern[1, ], "\n")
