// Linker: an incoming abstract becomes part of a patient's case, and can be taken out again.
//
// Order of calls: a session with registry and control database and its `User`; for offers also
// `Matcher::ReadMatchingParams`; one linker. Each `Link…`, `Decline` and `Unlink` is one
// transaction with its audit row: all of it happens or nothing. When the caller has a transaction
// open it is part of that one; what is refused then has changed nothing, after any other failure
// the caller rolls back. A case or an abstract that another user has locked is not touched: 70.
//
// Linking sets the abstract's patient and adds the abstract's tumor to that patient; with a new
// patient, that too is made from the abstract, both by the newest layout. The table QMLinks keeps
// what a link made, so that `Unlink` undoes it wholly; QMDecisions keeps the pairs that a reviewer
// declined. An abstract that another application gave a patient counts as linked, but not by this
// class. Several users may link at once: no abstract is linked twice.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <qm/api.h>
#include <qm/connection.h>

namespace qm {

/// Who decided and why; all may be empty.
struct ReviewNote {
  std::string reviewer;
  std::string note;
  std::string file;  ///< the file of decisions that it stands in
};

struct LinkResult {
  std::int32_t patient_id = 0;
  std::int32_t tumor_id = 0;
  bool new_patient = false;
  bool already_linked = false;  ///< it was linked so before; nothing was done
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

  /// Where offers are searched: blocking rules and patients; the session's registry by default.
  void SetMatching(std::shared_ptr<Connection> connection);

  /// The abstracts that are part of no case, by ascending identifier.
  std::vector<std::int32_t> UnlinkedAbstracts() const;
  /// The candidates of an abstract at or above the cut-off, best first and equal ones by
  /// identifier, without those declined. 3021 when the abstract is not there.
  std::vector<OfferedMatch> Offers(std::int32_t abstract_id,
                                   std::optional<std::int16_t> cutoff = std::nullopt) const;

  /// Links to a patient that is there. 3021 when abstract or patient is not there; 457 when the
  /// abstract is linked otherwise; 3219 when its link was changed by others and is to be undone
  /// first. A pair that was declined is linked, and no longer declined.
  LinkResult LinkToPatient(std::int32_t abstract_id, std::int32_t patient_id,
                           const ReviewNote& note = {});
  /// The same for an abstract that reports a tumor which the patient has already: none is added.
  /// 3021 also when the patient has no such tumor.
  LinkResult LinkToTumor(std::int32_t abstract_id, std::int32_t patient_id, std::int32_t tumor_id,
                         const ReviewNote& note = {});
  /// Links to a new patient made from the abstract. 457 when the abstract is linked, unless a new
  /// patient was made for it before (`already_linked`).
  LinkResult LinkToNewPatient(std::int32_t abstract_id, const ReviewNote& note = {});

  /// Remembers that the abstract is not of that patient, and tells whether that was new. 3021 when
  /// either is not there, 3219 while they are linked.
  bool Decline(std::int32_t abstract_id, std::int32_t patient_id, const ReviewNote& note = {});
  bool IsDeclined(std::int32_t abstract_id, std::int32_t patient_id) const;

  /// Takes the abstract out of its case: the tumor that the link added is gone, a patient that it
  /// made too, the abstract has the identifiers it had before; counters are not set back. 3021 when
  /// it was not linked here. 3219 when that would lose something: other abstracts or tumors hang on
  /// the patient or the tumor that would go, or one of the records was changed since (locks are no
  /// change); `discard_changes` gives up changes, but no other abstract and no other tumor.
  void Unlink(std::int32_t abstract_id, bool discard_changes = false);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qm
