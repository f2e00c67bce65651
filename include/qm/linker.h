// Linker: an incoming abstract becomes part of a patient's case, and can be taken out again.
//
// Order of calls: a session with registry and control database and its `User`; for searches also
// `Matcher::ReadMatchingParams`; one linker. Each `Link…`, `Decline` and `Unlink` is one
// transaction with its audit rows (or part of the caller's, when one is open): all of it happens or
// nothing. A case that another user has locked is not touched: 70.
//
// Linking sets the abstract's patient and adds the abstract's tumor to that patient; with a new
// patient, that too is made from the abstract. The table QMLinks keeps what a link made, so that
// `Unlink` undoes it wholly; QMDecisions keeps the pairs that a reviewer declined.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qm/api.h>

namespace qm {

/// Who decided and why; both may be empty.
struct ReviewNote {
  std::string reviewer;
  std::string note;
  std::string file;  ///< the file of decisions that it stands in
};

struct LinkResult {
  std::int32_t patient_id = 0;
  std::int32_t tumor_id = 0;
  bool new_patient = false;
  bool already_linked = false;  ///< it was linked to that patient before; nothing was done
};

/// A candidate that may be offered: not declined before.
struct OfferedMatch {
  std::int32_t patient_id = 0;
  std::int16_t score = 0;
  std::string lastname;
  std::string firstname;
  std::string middlename;
};

class QM_API Linker {
 public:
  Linker();
  ~Linker();
  Linker(Linker&&) noexcept;
  Linker& operator=(Linker&&) noexcept;

  /// The abstracts that are part of no case, by ascending identifier.
  std::vector<std::int32_t> UnlinkedAbstracts();
  /// The candidates of an abstract at or above the cut-off, best first, without those declined.
  std::vector<OfferedMatch> Offers(std::int32_t abstract_id,
                                   std::optional<std::int16_t> cutoff = std::nullopt);

  /// Links to a patient that is there. 3021 when abstract or patient is not there; 457 when the
  /// abstract is linked to another patient; a pair that was declined is linked, and no longer
  /// declined.
  LinkResult LinkToPatient(std::int32_t abstract_id, std::int32_t patient_id,
                           const ReviewNote& note = {});
  /// Links to a new patient made from the abstract. 457 when the abstract is linked, unless this
  /// linker's registry made a new patient for it before (`already_linked`).
  LinkResult LinkToNewPatient(std::int32_t abstract_id, const ReviewNote& note = {});
  /// Remembers that the abstract is not of that patient. 3219 while it is linked to it.
  void Decline(std::int32_t abstract_id, std::int32_t patient_id, const ReviewNote& note = {});
  bool IsDeclined(std::int32_t abstract_id, std::int32_t patient_id);

  /// Takes the abstract out of its case: the tumor that the link added is gone, a patient that it
  /// made too, the abstract has the identifiers it had before. 3021 when it was not linked here.
  /// 3219 when that would lose something: other abstracts are linked to the patient or the tumor
  /// that would go, or either was changed since; `discard_changes` gives up such changes.
  void Unlink(std::int32_t abstract_id, bool discard_changes = false);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
