// The comparators and the phonetic code once more, as plainly as they can be written.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace qm::test {

inline bool Similar(char32_t x, char32_t y) {
  static const std::string pairs =
      "AE AI AO AU BV EI EO EU IO IU OU IY EY CG EF WU WV XK SZ XS QC UV MN LI QO PR IJ 2Z 5S 8B "
      "1I 1L 0O 0Q CK GJ";
  if (x > 127 || y > 127 || x == U' ' || y == U' ') return false;
  const char one[] = {static_cast<char>(x), static_cast<char>(y), 0};
  const char two[] = {static_cast<char>(y), static_cast<char>(x), 0};
  return pairs.find(one) != std::string::npos || pairs.find(two) != std::string::npos;
}

/// Parameters 0, 1 and 2.
inline double ReferenceJaro(const std::u32string& a, const std::u32string& b, int parameter) {
  const int la = static_cast<int>(a.size());
  const int lb = static_cast<int>(b.size());
  if (la == 0 || lb == 0) return 0;
  const int window = std::max(std::max(la, lb) / 2 - 1, 0);
  std::vector<int> partner_a(a.size(), -1);
  std::vector<int> partner_b(b.size(), -1);
  int m = 0;
  for (int i = 0; i < la; ++i) {
    for (int j = 0; j < lb && partner_a[i] < 0; ++j) {
      if (std::abs(i - j) <= window && partner_b[j] < 0 && a[i] == b[j]) {
        partner_a[i] = j;
        partner_b[j] = i;
        ++m;
      }
    }
  }
  if (m == 0) return 0;
  std::u32string from_a;
  std::u32string from_b;
  for (int i = 0; i < la; ++i) {
    if (partner_a[i] >= 0) from_a += a[i];
  }
  for (int j = 0; j < lb; ++j) {
    if (partner_b[j] >= 0) from_b += b[j];
  }
  int t = 0;
  for (int i = 0; i < m; ++i) t += from_a[i] != from_b[i];
  t /= 2;
  int similar = 0;
  for (int i = 0; parameter == 2 && i < la; ++i) {
    for (int j = 0; j < lb && partner_a[i] < 0; ++j) {
      if (partner_b[j] >= 0 || !Similar(a[i], b[j])) continue;
      partner_a[i] = j;
      partner_b[j] = i;
      ++similar;
    }
  }
  const double credited = m + 3.0 * similar / 10;
  double w = (credited / la + credited / lb + static_cast<double>(m - t) / m) / 3;
  if (parameter == 1 || w <= 0.7) return w;
  const auto digit = [](char32_t c) { return c >= U'0' && c <= U'9'; };
  int p = 0;
  while (p < 4 && p < la && p < lb && a[p] == b[p] && !(parameter == 2 && digit(a[p]))) ++p;
  w += 0.1 * p * (1 - w);
  const int shorter = std::min(la, lb);
  if (parameter == 2 && shorter > 4 && m > p + 1 && 2 * m >= shorter + p && !digit(a[0])) {
    w += (1 - w) * (m - p - 1) / (la + lb - 2 * p + 2);
  }
  return w;
}

/// Parameter 3, by the whole matrix.
inline double ReferenceAlignment(const std::u32string& a, const std::u32string& b) {
  if (a.empty() || b.empty()) return 0;
  std::vector<std::vector<int>> d(a.size() + 1, std::vector<int>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = static_cast<int>(i + j);
        continue;
      }
      d[i][j] = d[i - 1][j - 1] + (a[i - 1] != b[j - 1]);
      d[i][j] = std::min(d[i][j], d[i - 1][j] + 1);
      d[i][j] = std::min(d[i][j], d[i][j - 1] + 1);
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return 1 - static_cast<double>(d[a.size()][b.size()]) /
                 static_cast<double>(std::max(a.size(), b.size()));
}

inline double ReferenceCompare(const std::u32string& a, const std::u32string& b, int parameter) {
  return parameter == 3 ? ReferenceAlignment(a, b) : ReferenceJaro(a, b, parameter);
}

/// Names in ASCII: all codes side by side, H and W struck out, runs joined, vowels struck out.
inline std::string ReferenceSoundex(const std::string& name) {
  static const std::map<char, std::string> letters = {{'1', "BFPV"}, {'2', "CGJKQSXZ"}, {'3', "DT"},
                                                      {'4', "L"},    {'5', "MN"},       {'6', "R"}};
  char first = 0;
  std::string codes;
  for (char c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (c < 'A' || c > 'Z') continue;
    char code = 'V';
    for (const auto& [digit, of] : letters) {
      if (of.find(c) != std::string::npos) code = digit;
    }
    if (first == 0) {
      first = c;
      codes += c == 'H' || c == 'W' ? '-' : code;
    } else if (c != 'H' && c != 'W') {
      codes += code;
    }
  }
  if (first == 0) return "";
  codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
  codes.erase(0, 1);
  std::erase(codes, 'V');
  return first + (codes + "000").substr(0, 3);
}

}  // namespace qm::test
