// Writes a sample report page for the browser test:
//   html_sample_page OUT.html [demo|large|stopped]
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "html/html_report.h"
#include "sample_model.h"

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: html_sample_page OUT.html [demo|large|stopped]\n";
    return 2;
  }
  const char* kind = argc == 3 ? argv[2] : "demo";
  vq::html::HtmlReportModel model;
  if (std::strcmp(kind, "demo") == 0) {
    model = vq::html::DemoModel();
  } else if (std::strcmp(kind, "large") == 0) {
    model = vq::html::LargeModel(1000);
  } else if (std::strcmp(kind, "stopped") == 0) {
    model = vq::html::StoppedModel();
  } else {
    std::cerr << "html_sample_page: unknown page kind '" << kind << "'\n";
    return 2;
  }
  std::ofstream out(argv[1], std::ios::binary);
  out << vq::html::RenderHtml(model);
  out.close();
  if (!out) {
    std::cerr << "html_sample_page: cannot write " << argv[1] << "\n";
    return 1;
  }
  return 0;
}
