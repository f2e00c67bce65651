#include "benchmarks/summary.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>

namespace qm::bench {

namespace {

std::string Formatted(const char* format, double value) {
  char text[48];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Line(const Figure& figure) {
  const bool holds =
      figure.at_least ? figure.value >= figure.target : figure.value <= figure.target;
  const std::string target =
      (figure.at_least ? "at least " : "at most ") + Formatted("%g", figure.target);
  char text[256];
  std::snprintf(text, sizeof text, "%-66s %12s %12s %9.3f  %-14s %s", figure.name.c_str(),
                figure.ours.c_str(), figure.peer.c_str(), figure.value, target.c_str(),
                holds ? "holds" : "misses");
  return text;
}

}  // namespace

std::string Milliseconds(double milliseconds) {
  if (milliseconds >= 1000) return Formatted("%.2f s", milliseconds / 1000);
  if (milliseconds >= 1) return Formatted("%.2f ms", milliseconds);
  if (milliseconds >= 1e-3) return Formatted("%.2f us", milliseconds * 1e3);
  return Formatted("%.2f ns", milliseconds * 1e6);
}

std::string PerSecond(double count) { return Formatted("%.0f /s", count); }

void PrintFigure(const Figure& figure) {
  const std::string line = Line(figure);
  std::cout << line << std::endl;
  const char* const file = std::getenv("QM_BENCH_SUMMARY");
  if (file != nullptr) std::ofstream(file, std::ios::app) << line << '\n';
}

}  // namespace qm::bench
