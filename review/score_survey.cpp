#include "review/score_survey.h"

#include <limits>

#include <qm/conversions.h>
#include <qm/matcher.h>

namespace qm {

void SurveyScores(const std::shared_ptr<Connection>& registry,
                  const std::shared_ptr<Connection>& matching, const EvaluationOptions& options,
                  const std::function<bool(std::int32_t id)>& wanted, const SurveyVisitor& visit) {
  CandidateOptions search;
  search.escape_quotes = true;
  search.ties = TieOrder::kPatientId;
  search.cutoff = std::numeric_limits<std::int16_t>::min();
  const std::int64_t total = ToInt32(registry->Execute("SELECT count(*) FROM Abstracts")->Value(0));
  std::int64_t done = 0;
  const auto abstracts = registry->CreateRecordset();
  abstracts->Open("SELECT * FROM Abstracts ORDER BY AbsRefID", registry);
  for (const Recordset& abstract : abstracts->Rows()) {
    const std::int32_t id = ToInt32(abstract.Value("AbsRefID"));
    if (options.progress) options.progress(id, done, total);
    ++done;
    if (wanted && !wanted(id)) continue;
    visit(id, abstract, FindCandidates(matching, abstract, search));
  }
}

std::int32_t KeptCutoff(const EvaluationOptions& options) {
  return options.cutoff.value_or(Matcher().CutoffScore());
}

std::int32_t FloorTo(std::int32_t value, std::int32_t width) {
  const std::int32_t rest = value % width;
  return value - (rest < 0 ? rest + width : rest);
}

std::set<std::int32_t> TabledCutoffs(std::int32_t least, std::int32_t most, std::int32_t step,
                                     std::initializer_list<std::int32_t> besides) {
  std::set<std::int32_t> cutoffs(besides);
  for (std::int32_t cutoff = FloorTo(least, step); cutoff < most + step; cutoff += step) {
    cutoffs.insert(cutoff);
  }
  return cutoffs;
}

}  // namespace qm
