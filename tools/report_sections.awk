# Prints the parts of a run's report that say what the analysis found: the
# model summary, the last table of rotated loadings (with Promax the report
# shows the Varimax loadings it starts from first) and the factor
# correlations of an oblique rotation. A section is a heading line and the
# lines after it up to the next empty line.
#
#   awk -f tools/report_sections.awk examples/demo/demo.out
function flush() {
  if (kind == "model") model = block
  else if (kind == "loadings") loadings = block
  else if (kind == "correlations") correlations = block
  kind = ""
  block = ""
}
/^ *$/ { flush(); next }
kind == "" && /^Model = / { kind = "model" }
kind == "" && /(Sorted|Rotated) Factor Loadings/ { kind = "loadings" }
kind == "" && /Inter-factor Correlations/ { kind = "correlations" }
kind != "" { block = block $0 "\n" }
END {
  flush()
  if (model == "" && loadings == "") {
    print "no model summary or rotated loadings in this report" > "/dev/stderr"
    exit 1
  }
  printf "%s\n%s\n%s", model, loadings, correlations
}
