// Matcher: which registered patients may be the person in this abstract, with scores.
//
// Order of calls: `ReadMatchingParams` once (it fills the calling thread's rule store, which all
// matchers of the thread share), then a search for each abstract. A search blocks the patient
// table with the blocking rules, scores every candidate with the comparison rules and keeps those
// at or above the cut-off, best first.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>
#include <qm/record.h>
#include <qm/recordset.h>
#include <qm/variant.h>

namespace qm {

/// One candidate at or above the cut-off.
struct Match {
  std::int32_t patient_id = 0;
  std::int16_t score = 0;
  friend bool operator==(const Match&, const Match&) = default;
};

/// What one rule compared and added.
struct RuleScore {
  std::string expression;
  std::string abstract_value;
  std::string patient_value;
  bool skipped = false;        ///< a value was empty or listed as missing
  bool exact = false;          ///< plain equality instead of the comparator
  std::int16_t agreement = 0;  ///< 0 to 100
  double weight = 0;
  std::int32_t added = 0;  ///< change of the running total, rounding included
  friend bool operator==(const RuleScore&, const RuleScore&) = default;
};

class QM_API Matcher {
 public:
  Matcher();
  ~Matcher();
  Matcher(Matcher&&) noexcept;
  Matcher& operator=(Matcher&&) noexcept;

  /// ", " + identifier + ":" + score for each match, best first; equal scores in the engine's
  /// order of retrieval. "Closed connection" when the connection is closed. Any other failure is
  /// -2147216504, source "qmDataObjects.Matcher.GetMatchingPatientIDs".
  std::string GetMatchingPatientIDsLocal(const std::shared_ptr<Connection>& conMatchDb,
                                         Abstract& qmAbstract);
  /// The same, with the abstract asked for once the connection is known to be open.
  std::string GetMatchingPatientIDsLocal(const std::shared_ptr<Connection>& conMatchDb,
                                         const std::function<Abstract&()>& qmAbstract);
  /// Over a connection of its own (read uncommitted). `objAbstract` gives the abstract's
  /// key when called with "absrefid".
  std::string GetMatchingPatientIDsRemote(
      std::string_view strCon, const std::function<Variant(std::string_view)>& objAbstract);
  std::string GetMatchingPatientIDsRemote(std::string_view strCon, Record& objAbstract);

  /// The phonetic code of a name.
  std::string Get_Soundex(std::string_view NameIn) const;
  /// A placeholder of the interface: always 0.
  std::int32_t Get_StringMatch_Score(std::string_view str1, std::string_view str2) const;

  /// Score of two rows by the rules loaded. A failure keeps its number and description; its source
  /// gains ", GetMatchScore".
  std::int16_t GetMatchScore(const Recordset& rsAbstract, const Recordset& rsBlock) const;
  std::int16_t CutoffScore() const;
  void SetCutoffScore(std::int16_t score);
  /// Loads rules and cut-off from the matching database that `con` names; gives true. Any failure
  /// is -2147216504, source "qmDataObjects.Matcher.ReadMatchingParams".
  bool ReadMatchingParams(std::string_view con);

  /// The matches of this object's last search.
  std::span<const Match> Matches() const;
  /// What `GetMatchScore` does with two rows, one entry a rule.
  std::vector<RuleScore> Explain(const Recordset& rsAbstract, const Recordset& rsBlock) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Where the external comparison library is loaded from; empty (the default) looks beside the
/// component. It must be set before the process's first comparison. A path that gives no library
/// with both functions is an error that names it; without any library the built-in comparator
/// and Soundex serve.
QM_API void SetComparisonLibrary(std::string_view path);

}  // namespace qm
