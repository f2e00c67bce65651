#include "tool/summary_tables.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qm::tool {

namespace {

constexpr std::int64_t kBarLength = 40;

using Rows = std::vector<std::vector<std::string>>;

std::string Text(std::int64_t value) { return std::to_string(value); }

struct Part {
  std::string name;
  std::string heading;
  std::vector<Column> columns;
  Rows rows;
};

Part ScorePart(const MatchSummary& summary, bool bars) {
  Part part{"scores",
            "Scores of all candidates, and of the best candidate of each abstract",
            {{"From", true}, {"To", true}, {"Candidates", true}, {"Best", true}},
            {}};
  if (bars) part.columns.push_back({"Best of abstracts", false});
  std::int64_t most = 1;
  for (const ScoreBin& bin : summary.scores) most = std::max(most, bin.best);
  for (const ScoreBin& bin : summary.scores) {
    auto& row = part.rows.emplace_back(
        std::vector{Text(bin.from), Text(bin.to), Text(bin.candidates), Text(bin.best)});
    if (!bars) continue;
    const auto length = (bin.best * kBarLength + most - 1) / most;
    row.push_back(std::string(static_cast<std::size_t>(length), '#'));
  }
  return part;
}

Part BlockingPart(const MatchSummary& summary) {
  Part part{"blocking",
            "Blocking rules: candidates that each brings, pairs among them at cut-off " +
                Text(summary.cutoff) + ", and those that no other rule brings",
            {{"Abstracts", true},
             {"Candidates", true},
             {"OnlyCandidates", true},
             {"Pairs", true},
             {"OnlyPairs", true},
             {"PatientField", false},
             {"AbstractField", false}},
            {}};
  for (const BlockingCount& count : summary.blocking) {
    part.rows.push_back({Text(count.abstracts), Text(count.candidates), Text(count.only_candidates),
                         Text(count.pairs), Text(count.only_pairs), count.patient_field,
                         count.abstract_field});
  }
  return part;
}

Part CutoffPart(const MatchSummary& summary) {
  Part part{"cutoffs",
            "Cut-offs: pairs at or above, abstracts with such a pair, and ties among these for "
            "the best",
            {{"CutOff", true}, {"Pairs", true}, {"Links", true}, {"Ties", true}, {"Note", false}},
            {}};
  for (const CutoffCount& count : summary.cutoffs) {
    part.rows.push_back({Text(count.cutoff), Text(count.pairs), Text(count.links), Text(count.ties),
                         count.cutoff == summary.cutoff ? "kept" : ""});
  }
  return part;
}

std::optional<std::size_t> ColumnOf(const std::vector<Column>& columns, const std::string& name) {
  const auto at = std::ranges::find(columns, name, &Column::name);
  if (at == columns.end()) return std::nullopt;
  return static_cast<std::size_t>(at - columns.begin());
}

void WriteAsOne(std::ostream& out, Format format, const std::vector<Part>& parts) {
  std::vector<Column> columns = {{"Part", false}};
  for (const Part& part : parts) {
    for (const Column& column : part.columns) {
      if (!ColumnOf(columns, column.name)) columns.push_back(column);
    }
  }
  ResultWriter results(out, format, columns);
  for (const Part& part : parts) {
    for (const auto& row : part.rows) {
      std::vector<std::string> cells(columns.size());
      cells[0] = part.name;
      for (std::size_t i = 0; i < row.size(); ++i) {
        cells[*ColumnOf(columns, part.columns[i].name)] = row[i];
      }
      results.Row(std::move(cells));
    }
  }
  results.Finish();
}

}  // namespace

void WriteSummary(std::ostream& out, Format format, const MatchSummary& summary) {
  const bool table = format == Format::kTable;
  std::vector<Part> parts = {ScorePart(summary, table), BlockingPart(summary), CutoffPart(summary)};
  if (!table) {
    WriteAsOne(out, format, parts);
    return;
  }
  out << summary.abstracts << " abstracts, " << summary.candidates << " candidates.\n";
  for (const Part& part : parts) {
    out << '\n' << part.heading << ":\n\n";
    ResultWriter results(out, format, part.columns);
    for (const auto& row : part.rows) results.Row(row);
    results.Finish();
  }
}

}  // namespace qm::tool
