// Scoring and search once more, straight from their definition, over rows as plain maps.
#pragma once

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "comparison/reference.h"

namespace qm::test {

/// Column to value; a column that is not there is Null.
using PlainRow = std::map<std::string, std::string>;

struct PlainRule {
  std::string column;
  bool soundex;
  double weight;
  std::string missing;
  bool exact;
  int parameter;
};

struct PlainBlock {
  std::string column;
  bool soundex;
  std::string patient_column;
  std::string ignored;
};

inline std::string PlainValue(const PlainRow& row, const std::string& column, bool soundex) {
  const auto it = row.find(column);
  const std::string value = it == row.end() ? "" : it->second;
  return "'" + (soundex ? ReferenceSoundex(value) : value) + "'";
}

inline std::string Buffer(std::string value) {
  for (char& c : value) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  value.resize(25, ' ');
  std::erase(value, '\'');
  value.resize(25, ' ');
  return value;
}

inline std::string BothTrimmed(std::string value) {
  while (!value.empty() && value.back() == ' ') value.pop_back();
  while (!value.empty() && value.front() == ' ') value.erase(0, 1);
  return value;
}

inline int ReferenceScore(const std::vector<PlainRule>& rules, const PlainRow& abstract,
                          const PlainRow& patient) {
  long total = 0;
  for (const PlainRule& rule : rules) {
    const std::string buffer_a = Buffer(PlainValue(abstract, rule.column, rule.soundex));
    const std::string buffer_b = Buffer(PlainValue(patient, rule.column, rule.soundex));
    const std::string a = BothTrimmed(buffer_a);
    const std::string b = BothTrimmed(buffer_b);
    if (a.empty() || b.empty() || rule.missing.find(a) != std::string::npos ||
        rule.missing.find(b) != std::string::npos) {
      continue;
    }
    if (rule.exact) {
      if (buffer_a == buffer_b) total = std::lrint(static_cast<double>(total) + rule.weight);
      continue;
    }
    const double agreement =
        ReferenceCompare({a.begin(), a.end()}, {b.begin(), b.end()}, rule.parameter);
    const auto percent = static_cast<double>(std::lrint(agreement * 100));
    total = std::lrint(static_cast<double>(total) + percent * rule.weight / 100);
  }
  return static_cast<int>(total);
}

/// (key, score), best first, equal scores by key. The rows of `patients` by their key.
inline std::vector<std::pair<int, int>> ReferenceSearch(const std::vector<PlainBlock>& blocks,
                                                        const std::vector<PlainRule>& rules,
                                                        const PlainRow& abstract,
                                                        const std::map<int, PlainRow>& patients,
                                                        int cutoff) {
  std::vector<std::pair<int, int>> found;
  for (const auto& [key, patient] : patients) {
    bool any_condition = false;
    bool candidate = false;
    for (const PlainBlock& block : blocks) {
      const std::string value = PlainValue(abstract, block.column, block.soundex);
      if (block.ignored.find(value) != std::string::npos) continue;
      any_condition = true;
      const auto it = patient.find(block.patient_column);
      if (it != patient.end() && "'" + it->second + "'" == value) candidate = true;
    }
    if (any_condition && !candidate) continue;
    const int score = ReferenceScore(rules, abstract, patient);
    if (score >= cutoff) found.emplace_back(key, score);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& x, const auto& y) { return x.second > y.second; });
  return found;
}

}  // namespace qm::test
