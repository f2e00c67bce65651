#include <qm/matcher.h>

#include <utility>

#include <qm/conversions.h>
#include <qm/error.h>

#include "comparison/comparison.h"
#include "dataaccess/connection_choice.h"
#include "matching/candidate_search.h"
#include "matching/match_scorer.h"

namespace qm {

struct Matcher::State {
  std::vector<Match> matches;

  // The steps that both searches share: block, score, sort, and the text of the matches.
  std::string Search(const std::shared_ptr<Connection>& connection, const Recordset& abstract) {
    for (const Candidate& candidate : FindCandidates(connection, abstract, {})) {
      matches.push_back(candidate.match);
    }
    return MatchText(matches);
  }
};

namespace {

// Runs a search; both report their failures under one name.
template <typename Body>
std::string Trapped(Body body) {
  try {
    return body();
  } catch (const Error& error) {
    throw error.As(kObjectErrorBase + 5000, "qmDataObjects.Matcher.GetMatchingPatientIDs");
  }
}

}  // namespace

Matcher::Matcher() : state_(std::make_unique<State>()) {}
Matcher::~Matcher() = default;
Matcher::Matcher(Matcher&&) noexcept = default;
Matcher& Matcher::operator=(Matcher&&) noexcept = default;

std::string Matcher::GetMatchingPatientIDsLocal(const std::shared_ptr<Connection>& conMatchDb,
                                                Abstract& qmAbstract) {
  return GetMatchingPatientIDsLocal(conMatchDb, [&]() -> Abstract& { return qmAbstract; });
}

std::string Matcher::GetMatchingPatientIDsLocal(const std::shared_ptr<Connection>& conMatchDb,
                                                const std::function<Abstract&()>& qmAbstract) {
  state_->matches.clear();
  if (!conMatchDb) RaiseRunTime(kErrObjectNotSet);
  if (conMatchDb->State() == kStateClosed) return "Closed connection";
  return Trapped([&] { return state_->Search(conMatchDb, *qmAbstract().Recordset(1)); });
}

std::string Matcher::GetMatchingPatientIDsRemote(
    std::string_view strCon, const std::function<Variant(std::string_view)>& objAbstract) {
  state_->matches.clear();
  const auto connection = CreateConnectionFor(strCon);
  connection->SetIsolationLevel(kIsolationReadUncommitted);
  connection->Open(strCon);
  return Trapped([&] {
    const std::string key = ToTextOrEmpty(objAbstract("absrefid"));
    const auto abstract = connection->CreateRecordset();
    abstract->Open(
        "SELECT race1, sex, lastname, firstname, middlename, birthdate, socsec from abstracts "
        "where absrefid = " +
            key,
        connection);
    return state_->Search(connection, *abstract);
  });
}

std::string Matcher::GetMatchingPatientIDsRemote(std::string_view strCon, Record& objAbstract) {
  return GetMatchingPatientIDsRemote(
      strCon, [&](std::string_view name) { return objAbstract.Fields(Variant(name)); });
}

std::string Matcher::Get_Soundex(std::string_view NameIn) const {
  return PaddedSoundexCode(NameIn);
}

std::int32_t Matcher::Get_StringMatch_Score(std::string_view /*str1*/,
                                            std::string_view /*str2*/) const {
  return 0;
}

std::int16_t Matcher::GetMatchScore(const Recordset& rsAbstract, const Recordset& rsBlock) const {
  return MatchScorer(rsAbstract).Score(rsBlock);
}

std::vector<RuleScore> Matcher::Explain(const Recordset& rsAbstract,
                                        const Recordset& rsBlock) const {
  std::vector<RuleScore> rules;
  MatchScorer(rsAbstract).Score(rsBlock, &rules);
  return rules;
}

std::span<const Match> Matcher::Matches() const { return state_->matches; }

}  // namespace qm
