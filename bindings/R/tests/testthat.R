library(testthat)
library(velquorin)

test_check("velquorin")
