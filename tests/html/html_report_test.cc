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

// ---------------------------------------------------------------------------
// Large inputs stay usable.

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

}  // namespace
}  // namespace vq::html
