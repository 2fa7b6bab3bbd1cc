// The HTML report page: which sections a model gives, escaping of user text,
// self-containment, well-formedness, the numbers as the text report prints
// them, and the limits that keep large pages usable.
#include "html/html_report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
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

// A small checker of XML well-formedness, enough for the page: every tag is
// closed in order, attribute values are quoted, '&' only starts one of the
// five XML entities or a numeric one, no '<' in text. Returns "" when the
// page passes, else what it found first.
std::string WellFormedError(const std::string& page) {
  std::vector<std::string> open;
  std::size_t at = 0;
  auto entity_ok = [&](std::size_t amp) {
    for (const char* name : {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"}) {
      if (page.compare(amp, std::strlen(name), name) == 0) return true;
    }
    if (page.compare(amp, 2, "&#") != 0) return false;
    std::size_t end = amp + 2;
    while (end < page.size() && std::isdigit(static_cast<unsigned char>(page[end]))) ++end;
    return end > amp + 2 && end < page.size() && page[end] == ';';
  };
  // The style sheet is raw text: skip it (it holds '>' of selectors, no tags).
  while (at < page.size()) {
    const std::size_t lt = page.find('<', at);
    const std::size_t text_end = lt == std::string::npos ? page.size() : lt;
    const bool in_style = !open.empty() && open.back() == "style";
    if (!in_style) {
      for (std::size_t k = at; k < text_end; ++k) {
        if (page[k] == '&' && !entity_ok(k)) return "bad '&' at " + std::to_string(k);
        if (page[k] == '>') return "'>' in text at " + std::to_string(k);
      }
    }
    if (lt == std::string::npos) break;
    if (page.compare(lt, 9, "<!DOCTYPE") == 0) {
      at = page.find('>', lt) + 1;
      continue;
    }
    const std::size_t gt = page.find('>', lt);
    if (gt == std::string::npos) return "unclosed tag at " + std::to_string(lt);
    std::string tag = page.substr(lt + 1, gt - lt - 1);
    if (tag.find('<') != std::string::npos) return "'<' inside a tag at " + std::to_string(lt);
    if (!tag.empty() && tag[0] == '/') {
      const std::string name = tag.substr(1);
      if (open.empty() || open.back() != name) {
        return "</" + name + "> closes <" + (open.empty() ? "" : open.back()) + ">";
      }
      open.pop_back();
    } else {
      const bool self_closing = !tag.empty() && tag.back() == '/';
      if (self_closing) tag.pop_back();
      const std::size_t space = tag.find_first_of(" \n");
      const std::string name = tag.substr(0, space);
      // Attributes: name="value" pairs only.
      std::size_t k = space == std::string::npos ? tag.size() : space;
      while (k < tag.size()) {
        while (k < tag.size() && (tag[k] == ' ' || tag[k] == '\n')) ++k;
        if (k >= tag.size()) break;
        const std::size_t eq = tag.find('=', k);
        if (eq == std::string::npos || eq + 1 >= tag.size() || tag[eq + 1] != '"') {
          return "unquoted attribute in <" + name + "> at " + std::to_string(lt);
        }
        const std::size_t close = tag.find('"', eq + 2);
        if (close == std::string::npos) return "unterminated attribute at " + std::to_string(lt);
        for (std::size_t c = eq + 2; c < close; ++c) {
          if (tag[c] == '&' && !entity_ok(lt + 1 + c)) return "bad '&' in attribute";
        }
        k = close + 1;
      }
      if (!self_closing) open.push_back(name);
    }
    at = gt + 1;
  }
  if (!open.empty()) return "<" + open.back() + "> never closed";
  return "";
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
  EXPECT_EQ(WellFormedError(page), "");
}

TEST(HtmlReportTest, PagesAreSelfContainedAndWellFormed) {
  const std::pair<const char*, HtmlReportModel> pages[] = {{"demo", DemoModel()},
                                                           {"large", LargeModel(1000)},
                                                           {"stopped", StoppedModel()},
                                                           {"empty", HtmlReportModel{}}};
  for (const auto& [name, model] : pages) {
    const std::string page = RenderHtml(model);
    EXPECT_EQ(page.rfind("<!DOCTYPE html>\n", 0), 0u) << name;
    for (const char* banned : {"<script",
                               "http",
                               "url(",
                               "@import",
                               "@font-face",
                               " src=",
                               "xlink:href",
                               "<link",
                               "<iframe",
                               "<img",
                               " on"}) {
      // " on" would start an event handler attribute (onclick=...).
      if (std::string(banned) == " on") {
        EXPECT_EQ(page.find(" onload="), std::string::npos) << name;
        EXPECT_EQ(page.find(" onclick="), std::string::npos) << name;
        continue;
      }
      EXPECT_EQ(page.find(banned), std::string::npos) << name << ": " << banned;
    }
    for (std::size_t at = page.find("href=\""); at != std::string::npos;
         at = page.find("href=\"", at + 1)) {
      EXPECT_EQ(page[at + 6], '#') << name << ": link outside the page";
    }
    EXPECT_EQ(WellFormedError(page), "") << name;
    EXPECT_NE(page.find("@media print"), std::string::npos) << name;
  }
}

TEST(HtmlReportTest, CheckerCatchesBrokenMarkup) {
  // The checker the tests above rely on must itself fail on broken pages.
  const std::pair<const char*, const char*> broken[] = {
      {"<p><b>x</p></b>", "</p> closes <b>"},
      {"<p>a & b</p>", "bad '&' at 5"},
      {"<p class=x>a</p>", "unquoted attribute in <p> at 0"},
      {"<div><p>a</p>", "<div> never closed"},
  };
  for (const auto& [page, error] : broken) EXPECT_EQ(WellFormedError(page), error) << page;
  EXPECT_EQ(WellFormedError("<p class=\"a\">x &amp; y<br/></p>"), "");
}

// ---------------------------------------------------------------------------
// Numbers as the text report prints them.

TEST(HtmlReportTest, DemoNumbersAsInTheTextReport) {
  const std::string page = RenderHtml(DemoModel());
  const std::string scree = Section(page, "scree");
  for (const char* value : {">2.907<", ">0.341<", ">1.352<"}) {
    EXPECT_NE(scree.find(value), std::string::npos) << value;
  }
  const std::string loadings = Section(page, "loadings");
  for (const char* value : {">0.796<", ">-0.072<", ">-0.001<", ">0.651<", ">2.341<"}) {
    EXPECT_NE(loadings.find(value), std::string::npos) << value;
  }
  // Hyperplane counts with their share as the report writes it: 4 (.50).
  EXPECT_EQ(Occurrences(loadings, ">4 (.50)<"), 2u);
  // Eight entries lie in the hyperplane, plus the key's sample.
  EXPECT_EQ(Occurrences(loadings, "class=\"cell faded\""), 9u);
  EXPECT_EQ(Occurrences(loadings, "class=\"value faded\""), 8u);
  EXPECT_EQ(Occurrences(Section(page, "structure"), "faded"), 0u);
  EXPECT_NE(Section(page, "factor-correlations").find(">0.125<"), std::string::npos);
  const std::string residuals = Section(page, "residuals");
  EXPECT_NE(residuals.find(">0.9984<"), std::string::npos);
  EXPECT_NE(residuals.find(">-0.8169<"), std::string::npos);
  EXPECT_NE(residuals.find(">0.0000<"), std::string::npos);
  EXPECT_NE(residuals.find("of 28 item pairs"), std::string::npos);
  EXPECT_EQ(Occurrences(residuals, "class=\"bar\""), 3u);  // the three classes with residuals
  const std::string triplets = Section(page, "triplets");
  EXPECT_NE(triplets.find("56 triplets tested, 21 suspicious"), std::string::npos);
  EXPECT_NE(triplets.find(">66.67<"), std::string::npos);              // item 8: 14 of 21
  EXPECT_EQ(Occurrences(triplets, "class=\"count-cell\""), 64u + 7u);  // grid and key
  EXPECT_NE(page.find("0 errors, 2 warnings, 2 notes"), std::string::npos);
  const std::string notes = Section(page, "notes");
  EXPECT_EQ(Occurrences(notes, "<li class=\"warning\">"), 2u);
  EXPECT_NE(notes.find("<span class=\"where\">[console]</span>"), std::string::npos);
  EXPECT_NE(notes.find("fallback inverse"), std::string::npos);
}

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

TEST(HtmlReportTest, PlotsHaveAxisTitlesWithUnits) {
  const std::string page = RenderHtml(DemoModel());
  const std::pair<const char*, std::vector<const char*>> expected[] = {
      {"scree", {"Eigenvalue number (rank)", "Eigenvalue (variance; one item = 1)"}},
      {"residuals", {"Residual (correlation units)", "Number of item pairs"}},
      {"scores", {"Factor 1 score (score units)", "Factor 2 score (score units)"}},
  };
  for (const auto& [id, titles] : expected) {
    const std::string section = Section(page, id);
    for (const char* title : titles) {
      EXPECT_NE(section.find(std::string("class=\"axis-title\"")), std::string::npos) << id;
      EXPECT_NE(section.find(title), std::string::npos) << id << ": " << title;
    }
  }
  // Both reference lines and the unit line are in the scree legend.
  const std::string scree = Section(page, "scree");
  EXPECT_NE(scree.find(">Random data, mean<"), std::string::npos);
  EXPECT_NE(scree.find(">Eigenvalue 1<"), std::string::npos);
  EXPECT_EQ(Occurrences(scree, "stroke-dasharray=\"7 4\""), 2u);  // line and its legend entry
}

// ---------------------------------------------------------------------------
// Large inputs stay usable.

TEST(HtmlReportTest, LargeModelIsThinnedAndBlocked) {
  const std::string page = RenderHtml(LargeModel(1000));
  const std::string scores = Section(page, "scores");
  // 20,000 subjects a plot, every 10th drawn.
  EXPECT_EQ(Occurrences(scores, "<circle "), 2u * 2000u);
  EXPECT_EQ(Occurrences(scores, "Every 10th subject shown (2000 points)."), 2u);
  const std::string triplets = Section(page, "triplets");
  EXPECT_NE(triplets.find("a block of 7 x 7 items"), std::string::npos);
  // 143 x 143 blocks plus the key (white and five steps).
  EXPECT_EQ(Occurrences(triplets, "class=\"count-cell\""), 143u * 143u + 6u);
  // Every item keeps its row in the heat map; the scree has markers only
  // where they can be told apart.
  EXPECT_EQ(Occurrences(Section(page, "loadings"), "class=\"row-head\""), 1000u);
  const std::string scree = Section(page, "scree");
  EXPECT_EQ(Occurrences(scree, "<circle "), 30u);  // the plot of the first 30 has markers
  EXPECT_EQ(Occurrences(scree, "<svg "), 2u);
  EXPECT_NE(scree.find("<details><summary>Table of all 1000 eigenvalues</summary>"),
            std::string::npos);
  EXPECT_NE(scree.find(">1000<"), std::string::npos);
  EXPECT_LT(page.size(), 6u << 20);
}

// ---------------------------------------------------------------------------
// The pieces: text, ticks, colours, blocks.

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

TEST(HtmlTextTest, FixedAsTheReportRoundsIt) {
  const std::tuple<double, int, std::string> cases[] = {
      {0.79551, 3, "0.796"},
      {-0.0261, 3, "-0.026"},
      {-0.0004, 3, "0.000"},
      {2.0, 3, "2.000"},
      {0.99846, 4, "0.9985"},
      {-0.8169, 4, "-0.8169"},
      {1234.5, 1, "1234.5"},
      {0.125, 2, "0.13"},
  };
  for (const auto& [value, decimals, text] : cases) {
    EXPECT_EQ(FormatFixed(value, decimals), text) << value;
  }
}

TEST(HtmlTextTest, NiceTicks) {
  struct Case {
    double low, high;
    int target;
    std::vector<double> values;
    int decimals;
  };
  const Case cases[] = {
      {0.0, 2.9, 6, {0, 0.5, 1, 1.5, 2, 2.5, 3}, 1},
      {1.0, 8.0, 8, {1, 2, 3, 4, 5, 6, 7, 8}, 0},
      {0.0, 23.0, 6, {0, 5, 10, 15, 20, 25}, 0},
      {-1.025, 1.025, 8, {-1.5, -1, -0.5, 0, 0.5, 1, 1.5}, 1},
      {-0.125, 0.025, 8, {-0.14, -0.12, -0.1, -0.08, -0.06, -0.04, -0.02, 0, 0.02, 0.04}, 2},
      {3.0, 3.0, 4, {2.5, 3, 3.5}, 1},  // widened around the value
  };
  for (const Case& c : cases) {
    const Ticks ticks = NiceTicks(c.low, c.high, c.target);
    ASSERT_EQ(ticks.values.size(), c.values.size()) << c.low << " " << c.high;
    for (std::size_t k = 0; k < c.values.size(); ++k) {
      EXPECT_NEAR(ticks.values[k], c.values[k], 1e-12) << c.low << " " << c.high;
    }
    EXPECT_EQ(ticks.decimals, c.decimals) << c.low << " " << c.high;
  }
}

TEST(HtmlTextTest, ShortenKeepsWholeCharacters) {
  EXPECT_EQ(Shorten("short", 8), "short");
  EXPECT_EQ(Shorten("a long item label", 8), "a lon...");
  EXPECT_EQ(Shorten("\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9", 4), "\xc3\xa9...");
  EXPECT_EQ(CharCount("\xc3\xa9t\xc3\xa9"), 3);
}

TEST(SvgChartsTest, PaletteEndsAndMiddle) {
  const std::pair<double, const char*> diverging[] = {{-1.0, "#b35806"},
                                                      {-0.5, "#fdb863"},
                                                      {0.0, "#f7f7f7"},
                                                      {0.5, "#92c5de"},
                                                      {1.0, "#2166ac"},
                                                      {1.7, "#2166ac"},
                                                      {-3.0, "#b35806"},
                                                      {NAN, "#bdbdbd"}};
  for (const auto& [value, colour] : diverging) EXPECT_EQ(DivergingColour(value), colour) << value;
  EXPECT_EQ(SequentialColour(0.0), "#ffffd4");
  EXPECT_EQ(SequentialColour(1.0), "#993404");
  // Half-way between two anchors mixes their channels.
  EXPECT_EQ(DivergingColour(0.125), "#e4eef4");
}

TEST(SvgChartsTest, BlockMaximaAndStride) {
  Matrix counts(5, 5, 0.0);
  counts(0, 1) = counts(1, 0) = 3;
  counts(3, 4) = counts(4, 3) = 7;
  counts(0, 4) = counts(4, 0) = 1;
  counts(2, 2) = 99;  // the diagonal never counts
  const Matrix blocks = BlockMaxima(counts, 2);
  ASSERT_EQ(blocks.rows, 3);
  const double expected[3][3] = {{3, 0, 1}, {0, 0, 7}, {1, 7, 0}};
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) EXPECT_EQ(blocks(row, col), expected[row][col]);
  }
  EXPECT_EQ(ThinningStride(0, 2000), 1);
  EXPECT_EQ(ThinningStride(2000, 2000), 1);
  EXPECT_EQ(ThinningStride(2001, 2000), 2);
  EXPECT_EQ(ThinningStride(20000, 2000), 10);
}

TEST(SvgChartsTest, EmptyInputsGiveNoPlot) {
  EXPECT_EQ(ScreePlotSvg({}, {}), "");
  EXPECT_EQ(HistogramSvg({0.0, 1.0}, {}, "x", "y"), "");
  EXPECT_EQ(HistogramSvg({0.0}, {3}, "x", "y"), "");  // edges do not fit the counts
  EXPECT_EQ(HeatMapSvg({}, {}, Matrix(), {}, 3, "", "", ""), "");
  EXPECT_EQ(CountMatrixSvg({}, Matrix(), false, ""), "");
  // Non-finite points are left out rather than drawn at the origin.
  const std::string svg = ScatterSvg({0.5, NAN, 1.0}, {0.5, 0.2, INFINITY}, 1, "x", "y");
  EXPECT_EQ(Occurrences(svg, "<circle "), 1u);
}

}  // namespace
}  // namespace vq::html
