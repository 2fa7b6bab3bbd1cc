// The HTML report page: which sections a model gives, where the stop stands,
// and the escaping of user text. That a page is well-formed and refers to
// nothing outside is checked on the rendered pages (check_page.py page).
#include "html/html_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "html/html_text.h"
#include "html/run_html.h"
#include "html/svg_charts.h"
#include "sample_model.h"

namespace vq::html {
namespace {

const std::vector<std::string> kSectionIds = {"stop",
                                              "settings",
                                              "scree",
                                              "loadings",
                                              "factor-correlations",
                                              "structure",
                                              "residuals",
                                              "aids",
                                              "scores",
                                              "triplets",
                                              "notes"};

bool HasSection(const std::string& page, const std::string& id) {
  return page.find("<section id=\"" + id + "\"") != std::string::npos;
}

// The text of section `id` (from its opening tag to the next </section>).
std::string Section(const std::string& page, const std::string& id) {
  const std::size_t start = page.find("<section id=\"" + id + "\"");
  if (start == std::string::npos) return {};
  return page.substr(start, page.find("</section>", start) - start);
}

std::size_t Occurrences(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

// ---------------------------------------------------------------------------
// Sections: present exactly when the model has their data.

struct SectionCase {
  const char* name;
  HtmlReportModel (*make)();
  std::vector<std::string> present;
};

HtmlReportModel EmptyModel() { return {}; }

// A run that only computes correlations: settings and notes.
HtmlReportModel CorrelationOnlyModel() {
  HtmlReportModel model;
  model.title = "Correlations only";
  model.settings = {{"Model", "COR"}};
  model.notes = {{Severity::kNote, "Correlation matrix written to demo.cor", "console"}};
  return model;
}

// A rotation of a given matrix: loadings and factor correlations, no
// eigenvalues, no residuals.
HtmlReportModel RotateGivenModel() {
  HtmlReportModel model = DemoModel();
  model.eigenvalues.reset();
  model.residuals.reset();
  model.scores.reset();
  model.triplets.reset();
  model.structure.reset();
  return model;
}

// A triplet test run: eigenvalues are not computed, only the triplets.
HtmlReportModel TripletOnlyModel() {
  HtmlReportModel model;
  model.triplets = DemoModel().triplets;
  return model;
}

// The demo with the aids: their section comes after the residuals.
HtmlReportModel AidsModel() {
  HtmlReportModel model = DemoModel();
  model.aids = AidsData{{"Velicer's MAP test: 2 components."}, std::nullopt, {}};
  return model;
}

// Parts present but empty count as absent.
HtmlReportModel EmptyPartsModel() {
  HtmlReportModel model;
  model.eigenvalues = ScreeData{};
  model.loadings = LoadingTable{};
  model.factor_correlations = FactorCorrelations{};
  model.structure = LoadingTable{};
  model.residuals = ResidualData{};
  model.scores = ScoreData{};
  model.triplets = TripletData{};
  model.aids = AidsData{};
  return model;
}

TEST(HtmlReportTest, SectionsFollowTheModel) {
  const SectionCase cases[] = {
      {"demo",
       DemoModel,
       {"settings",
        "scree",
        "loadings",
        "factor-correlations",
        "structure",
        "residuals",
        "scores",
        "triplets",
        "notes"}},
      {"aids",
       AidsModel,
       {"settings",
        "scree",
        "loadings",
        "factor-correlations",
        "structure",
        "residuals",
        "aids",
        "scores",
        "triplets",
        "notes"}},
      {"empty", EmptyModel, {"settings", "notes"}},
      {"empty parts", EmptyPartsModel, {"settings", "notes"}},
      {"correlations only", CorrelationOnlyModel, {"settings", "notes"}},
      {"rotate given", RotateGivenModel, {"settings", "loadings", "factor-correlations", "notes"}},
      {"triplets only", TripletOnlyModel, {"settings", "triplets", "notes"}},
      {"stopped", StoppedModel, {"stop", "settings", "scree", "notes"}},
  };
  for (const SectionCase& c : cases) {
    const std::string page = RenderHtml(c.make());
    for (const std::string& id : kSectionIds) {
      const bool expected = std::find(c.present.begin(), c.present.end(), id) != c.present.end();
      EXPECT_EQ(HasSection(page, id), expected) << c.name << ": section " << id;
      // The navigation links exactly the sections that are there.
      EXPECT_EQ(page.find("<a href=\"#" + id + "\">") != std::string::npos, expected)
          << c.name << ": link to " << id;
    }
    EXPECT_EQ(Occurrences(page, "<section "), c.present.size()) << c.name;
    EXPECT_EQ(Occurrences(page, "<h2>"), c.present.size()) << c.name << ": one heading each";
  }
}

TEST(HtmlReportTest, StopComesFirstWithStatusAndMessage) {
  const std::string page = RenderHtml(StoppedModel());
  EXPECT_LT(page.find("id=\"stop\""), page.find("id=\"settings\""));
  const std::string stop = Section(page, "stop");
  EXPECT_NE(stop.find("<strong>Fatal error</strong> (exit status 3)"), std::string::npos);
  EXPECT_NE(stop.find("did not converge.\nIncrease the iteration limit"), std::string::npos);
  EXPECT_NE(page.find("1 error, 0 warnings, 0 notes"), std::string::npos);
}

// ---------------------------------------------------------------------------
// User text is escaped everywhere it appears; the page loads nothing.

TEST(HtmlReportTest, UserTextIsEscapedEverywhere) {
  const std::string nasty = "<b>&\"x'</b>";
  const std::string escaped = "&lt;b&gt;&amp;&quot;x&#39;&lt;/b&gt;";
  HtmlReportModel model = DemoModel();
  model.title = nasty;
  model.program_version = nasty;
  model.files = {{nasty, nasty}};
  model.settings = {{nasty, nasty}};
  model.eigenvalues->reference[0].label = nasty;
  model.loadings->title = nasty;
  model.loadings->factor_names[0] = nasty;
  model.loadings->rows[0].label = nasty;
  model.factor_correlations->title = nasty;
  model.scores->method = nasty;
  model.triplets->item_labels[0] = nasty;
  model.triplets->criterion = nasty;
  model.notes = {{Severity::kWarning, nasty, nasty}};
  model.stop = StopData{nasty, nasty, 1};
  const std::string page = RenderHtml(model);
  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_EQ(page.find("x'"), std::string::npos);
  // Title twice (title element, h1), version twice (subtitle, footer), and
  // the others at least once; labels cut to their field come out shortened.
  EXPECT_GE(Occurrences(page, escaped), 14u);
}

// ---------------------------------------------------------------------------
// A page made from a run record.

// The page of a run record: the fit figures with the report's decimals
// (GFI = F6.4, the moments F8.4), and under --aids the parallel-analysis
// lines on the scree with a legend, the scree of the reduced matrix and the
// tables with the decimals of the aids file ("--" where not defined).
TEST(HtmlReportTest, RunPageWithFitFiguresAndAids) {
  RunRecord record;
  record.has_extraction = true;
  ExtractionResult& extraction = record.extraction;
  extraction.InitialEigenvalues = {2.907, 2.320, 0.587};
  ModelFit& fit = extraction.Fit;
  fit.Residuals = Matrix(3, 3);
  fit.Gfi = 0.99836;
  fit.MeanSquaredResidual = 0.00043;
  fit.Rmsr = 0.020949;
  fit.Skewness = -0.81686;
  fit.Smallest = -0.05564;
  const std::string plain = RenderRunHtml(record);
  EXPECT_FALSE(HasSection(plain, "aids"));
  EXPECT_EQ(Section(plain, "scree").find("permuted"), std::string::npos);
  const std::string residuals = Section(plain, "residuals");
  for (const char* value : {">0.9984<", ">0.0004<", ">0.0209<", ">-0.8169<", ">-0.0556<"}) {
    EXPECT_NE(residuals.find(value), std::string::npos) << value;
  }

  AidsFigures aids;
  ParallelAnalysisResult parallel;
  parallel.variables = 3;
  parallel.observations = 250;
  parallel.data_sets = 20;
  parallel.seed = 1;
  parallel.components = {{2.907, 2.320, 0.587}, {1.288, 1.171, 1.103}, {1.336, 1.213, 1.141}, 2};
  parallel.factors = {{2.37, 1.72, -0.01}, {0.33, 0.20, 0.13}, {0.39, 0.27, 0.18}, 2};
  aids.parallel = parallel;
  MapResult map;
  map.squared = {0.127878, NAN};
  map.fourth = {0.0373664, NAN};
  map.suggested_squared = map.suggested_fourth = 0;
  aids.map = map;
  LikelihoodFit likelihood;
  likelihood.factors = 2;
  likelihood.objective = 0.0555575;
  likelihood.chi_square = 13.6679;
  likelihood.df = 13;
  likelihood.p_value = 1e-7;
  likelihood.rmsea_upper = NAN;
  likelihood.variance = {{2.3416}, {0.2927}, {0.2927}, {1.0}, {1.0}};
  aids.fit = likelihood;
  record.aids = aids;
  const std::string page = RenderRunHtml(record);
  const std::string scree = Section(page, "scree");
  EXPECT_NE(scree.find(">Mean of 20 permuted data sets<"), std::string::npos);
  EXPECT_NE(scree.find(">95th percentile of the permuted data sets<"), std::string::npos);
  EXPECT_NE(scree.find(">1.336<"), std::string::npos);
  const std::string section = Section(page, "aids");
  EXPECT_EQ(Occurrences(section, "<svg "), 1u);
  EXPECT_EQ(section.find("unit-line"), std::string::npos);  // no eigenvalue 1 on a reduced scree
  EXPECT_NE(section.find("Suggested: 2 components, 2 factors."), std::string::npos);
  for (const char* cell : {">2.9070<",
                           ">-0.0100<",
                           ">0.1800<",
                           ">0.127878<",
                           ">0.037366<",
                           ">0.05556<",
                           ">13.668<",
                           ">&lt; 0.0001<",
                           ">2.3416<"}) {
    EXPECT_NE(section.find(cell), std::string::npos) << cell;
  }
  EXPECT_EQ(Occurrences(section, ">--<"), 2u + 1u);  // MAP at m = 1, the RMSEA bound
}

// ---------------------------------------------------------------------------
// The escaping of text.

TEST(HtmlTextTest, Escaping) {
  const std::pair<std::string, std::string> cases[] = {
      {"plain", "plain"},
      {"a<b & 'c'", "a&lt;b &amp; &#39;c&#39;"},
      {"\"q\" > p", "&quot;q&quot; &gt; p"},
      {"tab\tline\nbell\x07", "tab\tline\nbell"},
      {"r\xcc\x82", "r\xcc\x82"},  // UTF-8 passes through
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(EscapeHtml(in), out) << in;
}

}  // namespace
}  // namespace vq::html
