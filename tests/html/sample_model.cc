#include "sample_model.h"

#include <cmath>
#include <cstdint>
#include <string>

namespace vq::html {
namespace {

// A small deterministic generator of normal deviates for the score clouds.
class Normals {
 public:
  explicit Normals(std::uint64_t seed) : state_(seed) {}
  double Next() {
    const double u1 = Uniform(), u2 = Uniform();
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(6.283185307179586 * u2);
  }

 private:
  double Uniform() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return (static_cast<double>(state_ >> 11) + 0.5) / 9007199254740992.0;
  }
  std::uint64_t state_;
};

ScatterPlot CorrelatedCloud(int subjects, double rho, std::uint64_t seed, int fx, int fy) {
  Normals normals(seed);
  ScatterPlot plot;
  plot.factor_x = fx;
  plot.factor_y = fy;
  for (int subject = 0; subject < subjects; ++subject) {
    const double a = normals.Next(), b = normals.Next();
    plot.x.push_back(a);
    plot.y.push_back(rho * a + std::sqrt(1 - rho * rho) * b);
  }
  return plot;
}

LoadingRow Row(std::string label, double f1, double f2, double width) {
  return {std::move(label), {f1, f2}, {std::fabs(f1) < width, std::fabs(f2) < width}};
}

// The residual classes of the text report: midpoints -1.00, -0.95, ..., 1.00.
ResidualData DemoResiduals() {
  ResidualData residuals;
  for (int k = 0; k <= 41; ++k) residuals.class_edges.push_back(-1.025 + 0.05 * k);
  residuals.class_counts.assign(41, 0);
  residuals.class_counts[19] = 3;
  residuals.class_counts[20] = 23;
  residuals.class_counts[21] = 2;
  residuals.fit = {{"GFI", 0.9984, 4},
                   {"Root mean squared residual (RMSR)", 0.0209, 4},
                   {"Mean residual", 0.0000, 4},
                   {"Standard deviation of residuals", 0.0213, 4},
                   {"Coefficient of skewness", -0.8169, 4},
                   {"Coefficient of kurtosis", 0.5272, 4}};
  return residuals;
}

// The triplet example's result: 56 triplets of 8 items, those at or above
// the 1% point of their chi-square listed.
TripletData ExampleTriplets() {
  const int suspicious[][3] = {{1, 2, 6}, {1, 2, 8}, {1, 3, 8}, {1, 4, 8}, {1, 5, 6}, {1, 5, 7},
                               {1, 5, 8}, {2, 3, 6}, {2, 3, 8}, {2, 4, 6}, {2, 4, 8}, {2, 5, 6},
                               {2, 6, 8}, {2, 7, 8}, {3, 4, 8}, {3, 6, 8}, {3, 7, 8}, {4, 7, 8},
                               {5, 6, 7}, {5, 6, 8}, {5, 7, 8}};
  TripletData triplets;
  triplets.pair_counts = Matrix(8, 8, 0.0);
  triplets.item_counts.assign(8, 0);
  for (const auto& t : suspicious) {
    for (int a = 0; a < 3; ++a) {
      ++triplets.item_counts[t[a] - 1];
      for (int b = 0; b < 3; ++b) {
        if (a != b) triplets.pair_counts(t[a] - 1, t[b] - 1) += 1.0;
      }
    }
  }
  for (int item = 0; item < 8; ++item) {
    triplets.item_labels.push_back(std::to_string(item + 1));
    triplets.item_percent.push_back(100.0 * triplets.item_counts[item] / 21.0);
  }
  triplets.triplets_tested = 56;
  triplets.triplets_suspicious = 21;
  triplets.criterion =
      "likelihood-ratio chi-square at or above its 1% point, marked ** in the report";
  return triplets;
}

}  // namespace

HtmlReportModel DemoModel() {
  HtmlReportModel model;
  model.title = "Reasoning items";
  model.program_version = "Velquorin 2.0";
  model.files = {{"Command file", "demo.in"}, {"Data", "items.dat"}, {"Text report", "demo.out"}};
  model.settings = {{"Model", "Principal Factor Analysis"},
                    {"Number of subjects", "250"},
                    {"Number of factors", "2"},
                    {"Number of variables", "8"},
                    {"Variables are coded", "Ordered"},
                    {"Correlations", "Polychorics, smoothed"},
                    {"Rotation", "Promax (power 3)"},
                    {"Communality estimates", "SMC"},
                    {"Epsilon for communality estimation", ".000100000"},
                    {"Maximum iterations for communality estimation", "200"},
                    {"Hyperplane width", "0.200"}};
  model.eigenvalues = ScreeData{};
  model.eigenvalues->observed = {2.907, 2.320, 0.587, 0.573, 0.441, 0.419, 0.412, 0.341};
  model.eigenvalues->reference = {
      {"Random data, 95th percentile", {1.352, 1.215, 1.121, 1.043, 0.968, 0.897, 0.823, 0.741}},
      {"Random data, mean", {1.266, 1.157, 1.074, 1.001, 0.934, 0.866, 0.793, 0.700}}};

  const double w = 0.2;
  model.loadings = LoadingTable{};
  model.loadings->title = "PROMAX Sorted Factor Loadings";
  model.loadings->factor_names = {"1", "2"};
  model.loadings->rows = {Row("I3", 0.796, 0.008, w),
                          Row("I2", 0.777, 0.056, w),
                          Row("I4", 0.743, -0.072, w),
                          Row("I1", 0.740, -0.001, w),
                          Row("I5", 0.066, 0.744, w),
                          Row("I7", -0.037, 0.720, w),
                          Row("I8", -0.005, 0.682, w),
                          Row("I6", -0.031, 0.651, w)};
  model.loadings->hyperplane_width = w;
  model.loadings->variance_explained = {2.341, 1.970};

  model.factor_correlations = FactorCorrelations{};
  model.factor_correlations->title = "PROMAX: Inter-factor Correlations";
  model.factor_correlations->factor_names = {"1", "2"};
  model.factor_correlations->values = Matrix(2, 2, 1.0);
  model.factor_correlations->values(0, 1) = model.factor_correlations->values(1, 0) = 0.125;

  model.structure = LoadingTable{};
  model.structure->title = "Promax Factor Structure Matrix";
  model.structure->factor_names = {"1", "2"};
  model.structure->rows = {{"I3", {0.797, 0.107}, {}},
                           {"I2", {0.784, 0.153}, {}},
                           {"I4", {0.734, 0.021}, {}},
                           {"I1", {0.739, 0.092}, {}},
                           {"I5", {0.158, 0.752}, {}},
                           {"I7", {0.053, 0.715}, {}},
                           {"I8", {0.080, 0.681}, {}},
                           {"I6", {0.050, 0.647}, {}}};

  model.residuals = DemoResiduals();
  model.scores = ScoreData{};
  model.scores->method = "Regression Method";
  model.scores->factor_names = {"1", "2"};
  model.scores->plots = {CorrelatedCloud(250, 0.125, 7, 0, 1)};
  model.triplets = ExampleTriplets();
  model.notes = {
      {Severity::kNote, "Polychoric correlations computed for 28 pairs of items.", "console"},
      {Severity::kNote, "Communalities converged after 9 iterations.", "report"},
      {Severity::kWarning,
       "Communality of item I6 is above 1: Bartlett scores used a fallback inverse and are"
       " unreliable.",
       "console"},
      {Severity::kWarning,
       "The correlation matrix was not positive definite and was smoothed.",
       "report"}};
  return model;
}

HtmlReportModel LargeModel(int items) {
  HtmlReportModel model;
  model.title = "Large item bank";
  model.program_version = "Velquorin 2.0";
  model.settings = {{"Number of variables", std::to_string(items)}, {"Number of factors", "4"}};
  model.eigenvalues = ScreeData{};
  for (int k = 0; k < items; ++k) {
    model.eigenvalues->observed.push_back(k < 4 ? 60.0 - 12.0 * k : 2.2 * std::exp(-k / 300.0));
  }
  model.loadings = LoadingTable{};
  model.loadings->title = "VARIMAX: Sorted Factor Loadings";
  model.loadings->factor_names = {"1", "2", "3", "4"};
  model.loadings->hyperplane_width = 0.2;
  for (int item = 0; item < items; ++item) {
    LoadingRow row;
    row.label = "Item " + std::to_string(item + 1) + " of the bank";
    for (int f = 0; f < 4; ++f) {
      const double value = (item * 4 / items == f) ? 0.75 - 0.3 * ((item % 50) / 50.0)
                                                   : 0.15 * std::sin(item * 0.7 + f);
      row.values.push_back(value);
      row.in_hyperplane.push_back(std::fabs(value) < 0.2);
    }
    model.loadings->rows.push_back(row);
  }
  model.scores = ScoreData{};
  model.scores->factor_names = {"1", "2", "3", "4"};
  model.scores->plots = {CorrelatedCloud(20000, 0.3, 11, 0, 1),
                         CorrelatedCloud(20000, -0.2, 12, 0, 2)};
  model.triplets = TripletData{};
  model.triplets->pair_counts = Matrix(items, items, 0.0);
  for (int col = 0; col < items; ++col) {
    for (int row = 0; row < items; ++row) {
      if (row != col) model.triplets->pair_counts(row, col) = (row * 7 + col * 7) % 23 == 0 ? 5 : 0;
    }
    model.triplets->item_labels.push_back("Item " + std::to_string(col + 1));
    model.triplets->item_counts.push_back(col % 9);
    model.triplets->item_percent.push_back((col % 9) * 100.0 / 9.0);
  }
  return model;
}

HtmlReportModel StoppedModel() {
  HtmlReportModel model;
  model.title = "Reasoning items";
  model.program_version = "Velquorin 2.0";
  model.settings = {{"Model", "Principal Factor Analysis"}, {"Number of factors", "2"}};
  model.eigenvalues = ScreeData{};
  model.eigenvalues->observed = {2.907, 2.320, 0.587, 0.573, 0.441, 0.419, 0.412, 0.341};
  model.notes = {
      {Severity::kError, "Communality estimation did not converge in 200 iterations.", "report"}};
  model.stop = StopData{"Fatal error",
                        "FATAL ERROR: Communality estimation did not converge.\n"
                        "Increase the iteration limit on the TECHNICAL line.",
                        3};
  return model;
}

}  // namespace vq::html
