#include "cdicheck/problems.h"

#include <cstddef>
#include <initializer_list>
#include <string>

namespace cdicheck {

Problem Describe(KnownKind known, std::initializer_list<std::string> findings) {
  const ProblemKind& kind = ProblemKinds[known.index];
  Problem problem{kind.id, kind.severity, kind.text};
  std::size_t at = 0;
  for (const std::string& finding : findings) {
    at = problem.text.find("{}", at);
    problem.text.replace(at, 2, finding);
    at += finding.size();
  }
  return problem;
}

}  // namespace cdicheck
