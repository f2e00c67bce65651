#include <qm/linker.h>

#include <utility>

#include <qm/audit_log.h>
#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/error.h>

#include "datasets/new_record.h"
#include "matching/candidate_search.h"
#include "matching/match_scorer.h"
#include "matching/matching_state.h"
#include "records/record_family.h"
#include "review/declined_pairs.h"
#include "review/link_rows.h"
#include "runtime/text.h"
#include "session/lock_holder.h"
#include "session/own_tables.h"
#include "session/session_state.h"

namespace qm {

namespace {

constexpr const char* kLinkerSource = "QMObjects.Linker";

const std::shared_ptr<Connection>& Registry() { return CurrentSession().gcnRegistry.Get(); }

std::string Named(const RecordFamily& family, std::int32_t id) {
  return LowerCase(family.record_class) + " " + std::to_string(id);
}

[[noreturn]] void Refuse(std::int32_t number, const std::string& text) {
  throw Error(number, kLinkerSource, text);
}

// A transaction of its own, or a part of the one that the caller has open.
class OwnTransaction {
 public:
  OwnTransaction() {
    try {
      own_.emplace(Registry());
    } catch (const Error& error) {
      if (error.number() != kErrNestedTransaction) throw;
    }
  }
  void Commit() {
    if (own_) own_->Commit();
  }

 private:
  std::optional<Transaction> own_;
};

// An identifier column; 0 where no identifier stands.
std::int32_t IdOf(const Variant& value) { return IsNumeric(value) ? ToInt32(value) : 0; }

std::int32_t Count(const std::string& table_and_condition) {
  return ToInt32(Registry()->Execute("SELECT count(*) FROM " + table_and_condition)->Value(0));
}

std::shared_ptr<Recordset> OpenRow(const char* columns, const RecordFamily& family,
                                   std::int32_t id) {
  auto row = Registry()->CreateRecordset();
  row->Open("SELECT " + std::string(columns) + " FROM " + std::string(family.table) + " WHERE " +
                std::string(family.key) + " = " + std::to_string(id),
            Registry(), kOpenKeyset, kLockOptimistic);
  if (row->Eof()) Refuse(kErrNoCurrentRecord, Named(family, id) + " does not exist");
  return row;
}

// The abstract's two identifiers and its key.
std::shared_ptr<Recordset> OpenAbstract(std::int32_t id) {
  return OpenRow("AbsRefID, PatientID, MedRefID", kAbstractFamily, id);
}

void RequirePatient(std::int32_t id) { OpenRow("PatientID", kPatientFamily, id)->Close(); }

void RequireTumor(std::int32_t tumor_id, std::int32_t patient_id) {
  const auto tumor = OpenRow("MedRefID, PatientID", kTumorFamily, tumor_id);
  if (IdOf(tumor->Value("PatientID")) != patient_id) {
    Refuse(kErrNoCurrentRecord,
           Named(kTumorFamily, tumor_id) + " is not of " + Named(kPatientFamily, patient_id));
  }
}

// By the rules loaded; nothing without rules.
std::optional<std::int16_t> PairScore(std::int32_t abstract_id, std::int32_t patient_id) {
  if (CurrentMatching().rules.empty()) return std::nullopt;
  const auto abstract = OpenRow("*", kAbstractFamily, abstract_id);
  const auto patient = OpenRow("*", kPatientFamily, patient_id);
  return MatchScorer(*abstract, ValueText::kEscaped).Score(*patient);
}

// ": reviewer JD: the same address" behind what an entry tells.
std::string NoteText(const ReviewNote& note) {
  std::string text;
  if (!note.reviewer.empty()) text += ", reviewer " + note.reviewer;
  if (!note.note.empty()) text += ": " + note.note;
  return text;
}

std::string ScoreText(const std::optional<std::int16_t>& score) {
  return score ? ", score " + std::to_string(*score) : "";
}

void WriteAbstractAudit(const char* action, std::int32_t abstract_id, std::string detail,
                        const ReviewNote& note) {
  WriteAudit({action, "abstract", abstract_id, std::move(detail) + NoteText(note), note.file});
}

}  // namespace

struct Linker::State {
  struct Target {
    std::optional<std::int32_t> patient_id;  ///< none: a new one
    std::optional<std::int32_t> tumor_id;    ///< none: a new one
  };

  LinkResult Link(std::int32_t abstract_id, const Target& target, const ReviewNote& note);
  void MakeRecords(LinkRow& link, const Target& target);
  void RequireNothingLost(const LinkRow& link, bool discard_changes);
  void Prepare();

  const NAACCRLayout& Layout() {
    if (!layout) layout = data_sets.GetNAACCRLayout();
    return *layout;
  }

  QMDataSets data_sets;
  std::shared_ptr<NAACCRLayout> layout;
  std::shared_ptr<Connection> matching;
  bool prepared = false;
};

namespace {

// What a repeated request finds. A link that is not the one asked for is refused.
std::optional<LinkResult> ExistingLink(std::int32_t abstract_id, std::int32_t patient_id,
                                       std::int32_t tumor_id, const std::optional<LinkRow>& link,
                                       const std::optional<std::int32_t>& wanted_patient,
                                       const std::optional<std::int32_t>& wanted_tumor) {
  const std::string name = Named(kAbstractFamily, abstract_id);
  const bool as_recorded = link && link->patient_id == patient_id && link->tumor_id == tumor_id;
  if (patient_id <= 0 && !link) return std::nullopt;
  if (link && !as_recorded) {
    Refuse(kErrNotAllowedHere, name + " was linked to " + Named(kPatientFamily, link->patient_id) +
                                   " and then changed by another application; undo the link first");
  }
  const bool same =
      wanted_patient ? patient_id == *wanted_patient && tumor_id == wanted_tumor.value_or(tumor_id)
                     : link && link->new_patient;
  if (!same) {
    Refuse(kErrKeyInUse, name + " is linked to " + Named(kPatientFamily, patient_id) + ", " +
                             Named(kTumorFamily, tumor_id));
  }
  return LinkResult{patient_id, tumor_id, link && link->new_patient, true};
}

}  // namespace

// Made once, and before the transaction: some engines end it when a table is made.
void Linker::State::Prepare() {
  if (prepared) return;
  for (const char* table : {"QMAudit", "QMLinks", "QMDecisions"}) EnsureOwnTable(table);
  Layout();
  prepared = true;
}

LinkResult Linker::State::Link(std::int32_t abstract_id, const Target& target,
                               const ReviewNote& note) {
  Prepare();
  OwnTransaction transaction;
  const auto abstract = OpenAbstract(abstract_id);
  LinkRow link;
  link.abstract_id = abstract_id;
  link.former_patient = abstract->Value("PatientID");
  link.former_tumor = abstract->Value("MedRefID");
  if (const auto existing =
          ExistingLink(abstract_id, IdOf(link.former_patient), IdOf(link.former_tumor),
                       ReadLink(abstract_id), target.patient_id, target.tumor_id)) {
    return *existing;
  }
  RequireUnlocked(LockedRecord::kAbstract, abstract_id, kLinkerSource);
  if (target.patient_id) {
    RequirePatient(*target.patient_id);
    if (target.tumor_id) RequireTumor(*target.tumor_id, *target.patient_id);
    RequireUnlocked(LockedRecord::kCase, *target.patient_id, kLinkerSource);
  }
  const std::optional<std::int16_t> score =
      target.patient_id ? PairScore(abstract_id, *target.patient_id) : std::nullopt;

  // First of all, so that of two users one waits here and is refused.
  WriteLink(link, true);
  MakeRecords(link, target);
  WriteLink(link, false);
  if (target.patient_id) RemoveDeclinedPair(abstract_id, *target.patient_id);
  WriteAbstractAudit(
      "link", abstract_id,
      Named(kPatientFamily, link.patient_id) + (link.new_patient ? " (new), " : ", ") +
          Named(kTumorFamily, link.tumor_id) + (link.new_tumor ? " (new)" : "") + ScoreText(score),
      note);
  transaction.Commit();
  return {link.patient_id, link.tumor_id, link.new_patient, false};
}

void Linker::State::MakeRecords(LinkRow& link, const Target& target) {
  Abstract abstract = data_sets.GetAbstract(link.abstract_id);
  link.new_patient = !target.patient_id;
  if (link.new_patient) {
    Patient patient = data_sets.AddPatient(abstract);
    link.patient_id = ToInt32(patient.Recordset(1)->Value("PatientID"));
  } else {
    link.patient_id = *target.patient_id;
    SetLink(abstract, "PatientID", link.patient_id);
  }
  link.new_tumor = !target.tumor_id;
  if (link.new_tumor) {
    Tumor tumor = data_sets.AddTumor(abstract);
    link.tumor_id = ToInt32(tumor.Recordset(1)->Value("MedRefID"));
  } else {
    link.tumor_id = *target.tumor_id;
    SetLink(abstract, "MedRefID", link.tumor_id);
  }
  if (link.new_patient) link.patient_digest = RowsDigest(kPatientFamily, Layout(), link.patient_id);
  if (link.new_tumor) link.tumor_digest = RowsDigest(kTumorFamily, Layout(), link.tumor_id);
}

void Linker::State::RequireNothingLost(const LinkRow& link, bool discard_changes) {
  const std::string patient = std::to_string(link.patient_id);
  const std::string tumor = std::to_string(link.tumor_id);
  const std::string others = " AND AbsRefID <> " + std::to_string(link.abstract_id);
  const auto refuse_if = [](bool hangs_on, const std::string& text) {
    if (hangs_on) Refuse(kErrNotAllowedHere, text);
  };
  const std::string of_patient = " of " + Named(kPatientFamily, link.patient_id);
  const std::string of_tumor = " of " + Named(kTumorFamily, link.tumor_id);
  if (link.new_patient) {
    refuse_if(Count("Abstracts WHERE PatientID = " + patient + others) > 0,
              "other abstracts" + of_patient + " would lose it");
    const std::string kept = link.new_tumor ? " AND MedRefID <> " + tumor : "";
    refuse_if(Count("MedicalSum WHERE PatientID = " + patient + kept) > 0,
              "other tumors" + of_patient + " would lose it");
  }
  if (link.new_tumor) {
    refuse_if(Count("Abstracts WHERE MedRefID = " + tumor + others) > 0,
              "other abstracts" + of_tumor + " would lose it");
  }
  if (discard_changes) return;
  const auto changed = [&](bool made, const RecordFamily& family, std::int32_t id,
                           const std::string& digest) {
    refuse_if(made && RowsDigest(family, Layout(), id) != digest,
              Named(family, id) + " was changed since it was made by the link");
  };
  changed(link.new_patient, kPatientFamily, link.patient_id, link.patient_digest);
  changed(link.new_tumor, kTumorFamily, link.tumor_id, link.tumor_digest);
}

Linker::Linker() : state_(std::make_unique<State>()) {}
Linker::~Linker() = default;
Linker::Linker(Linker&&) noexcept = default;
Linker& Linker::operator=(Linker&&) noexcept = default;

void Linker::SetMatching(std::shared_ptr<Connection> connection) {
  state_->matching = std::move(connection);
}

std::vector<std::int32_t> Linker::UnlinkedAbstracts() const {
  const auto rows = Registry()->Execute(
      "SELECT AbsRefID FROM Abstracts WHERE PatientID IS NULL OR PatientID <= 0 ORDER BY AbsRefID");
  std::vector<std::int32_t> ids;
  for (const Recordset& row : rows->Rows()) ids.push_back(ToInt32(row.Value(0)));
  return ids;
}

std::vector<OfferedMatch> Linker::Offers(std::int32_t abstract_id,
                                         std::optional<std::int16_t> cutoff) const {
  const auto abstract = OpenRow("*", kAbstractFamily, abstract_id);
  const auto declined = DeclinedPatients(abstract_id);
  CandidateOptions options;
  options.escape_quotes = true;
  options.ties = TieOrder::kPatientId;
  options.cutoff = cutoff;
  std::vector<OfferedMatch> offers;
  for (Candidate& found :
       FindCandidates(state_->matching ? state_->matching : Registry(), *abstract, options)) {
    if (declined.contains(found.match.patient_id)) continue;
    offers.push_back({found.match.patient_id, found.match.score, std::move(found.lastname),
                      std::move(found.firstname), std::move(found.middlename)});
  }
  return offers;
}

LinkResult Linker::LinkToPatient(std::int32_t abstract_id, std::int32_t patient_id,
                                 const ReviewNote& note) {
  return state_->Link(abstract_id, {patient_id, std::nullopt}, note);
}

LinkResult Linker::LinkToTumor(std::int32_t abstract_id, std::int32_t patient_id,
                               std::int32_t tumor_id, const ReviewNote& note) {
  return state_->Link(abstract_id, {patient_id, tumor_id}, note);
}

LinkResult Linker::LinkToNewPatient(std::int32_t abstract_id, const ReviewNote& note) {
  return state_->Link(abstract_id, {}, note);
}

bool Linker::Decline(std::int32_t abstract_id, std::int32_t patient_id, const ReviewNote& note) {
  state_->Prepare();
  OwnTransaction transaction;
  const auto abstract = OpenAbstract(abstract_id);
  if (IdOf(abstract->Value("PatientID")) == patient_id) {
    Refuse(kErrNotAllowedHere, Named(kAbstractFamily, abstract_id) + " is linked to " +
                                   Named(kPatientFamily, patient_id));
  }
  if (IsDeclined(abstract_id, patient_id)) return false;
  RequirePatient(patient_id);
  AddDeclinedPair(abstract_id, patient_id);
  WriteAbstractAudit(
      "decline", abstract_id,
      Named(kPatientFamily, patient_id) + ScoreText(PairScore(abstract_id, patient_id)), note);
  transaction.Commit();
  return true;
}

bool Linker::IsDeclined(std::int32_t abstract_id, std::int32_t patient_id) const {
  return DeclinedPatients(abstract_id).contains(patient_id);
}

void Linker::Unlink(std::int32_t abstract_id, bool discard_changes) {
  state_->Prepare();
  OwnTransaction transaction;
  const std::string name = Named(kAbstractFamily, abstract_id);
  const auto abstract = OpenAbstract(abstract_id);
  const auto link = ReadLink(abstract_id);
  if (!link) {
    const bool elsewhere = IdOf(abstract->Value("PatientID")) > 0;
    Refuse(kErrNoCurrentRecord,
           name + (elsewhere ? " was linked by another application" : " is not linked"));
  }
  RequireUnlocked(LockedRecord::kAbstract, abstract_id, kLinkerSource);
  RequireUnlocked(LockedRecord::kCase, link->patient_id, kLinkerSource);

  // An identifier that another application set stays.
  const auto restore = [&](const char* column, std::int32_t linked, const Variant& former) {
    if (IdOf(abstract->Value(column)) == linked) {
      abstract->SetValue(column, former);
    } else if (!discard_changes) {
      Refuse(kErrNotAllowedHere, name + " was changed since it was linked");
    }
  };
  state_->RequireNothingLost(*link, discard_changes);
  restore("PatientID", link->patient_id, link->former_patient);
  restore("MedRefID", link->tumor_id, link->former_tumor);
  abstract->Update();
  if (link->new_tumor) DeleteRows(kTumorFamily, state_->Layout(), link->tumor_id);
  if (link->new_patient) DeleteRows(kPatientFamily, state_->Layout(), link->patient_id);
  DeleteLink(abstract_id);
  WriteAbstractAudit(
      "unlink", abstract_id,
      Named(kPatientFamily, link->patient_id) + (link->new_patient ? " (deleted), " : ", ") +
          Named(kTumorFamily, link->tumor_id) + (link->new_tumor ? " (deleted)" : ""),
      {});
  transaction.Commit();
}

}  // namespace qm
