#include "cdicheck/problems.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>

namespace cdicheck {

void Add(Report& report, const Sentence& sentence, std::initializer_list<std::string> findings) {
  std::string text = sentence.text;
  std::size_t at = 0;
  for (const std::string& finding : findings) {
    at = text.find("{}", at);
    text.replace(at, 2, finding);
    at += finding.size();
  }
  if (std::ranges::find(report.problems, text, &Problem::text) != report.problems.end()) return;
  report.problems.push_back({sentence.severity, text});
}

}  // namespace cdicheck
