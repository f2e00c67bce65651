// Many links at once: a file's decisions, or all that the score alone decides.
#include <qm/review.h>

#include <algorithm>
#include <array>

#include "datasets/import_digest.h"
#include "review/declined_pairs.h"
#include "review/link_rows.h"
#include "session/own_tables.h"
#include "session/session_state.h"

namespace qm {

namespace {

// What stands against one abstract only; the others go on.
bool IsRefusal(const Error& error) {
  constexpr std::array kRefusals = {70, int{kErrKeyInUse}, int{kErrNoCurrentRecord},
                                    int{kErrNotAllowedHere}};
  const bool by_rule =
      error.engine_code() == 0 && std::ranges::find(kRefusals, error.number()) != kRefusals.end();
  return by_rule || error.number() == kErrRowChanged;
}

// A file's decision that was carried out declines nothing more: offers that came later were not
// meant. Nor was the patient that was made from the abstract itself. One that stands in no file is
// made anew each time.
std::int64_t DeclineOffers(Linker& linker, std::int32_t abstract_id, const ReviewNote& note) {
  Digest digest;
  for (const std::string& part : {note.file, note.reviewer, note.note}) digest.Update(part + '\n');
  const std::string decision = digest.Finish();
  Transaction transaction(CurrentSession().gcnRegistry.Get());
  const bool of_file = !note.file.empty();
  if (of_file && LastWholeDecline(abstract_id) == decision) return 0;
  const auto link = ReadLink(abstract_id);
  std::int64_t declined = 0;
  for (const OfferedMatch& offer : linker.Offers(abstract_id)) {
    if (link && link->new_patient && link->patient_id == offer.patient_id) continue;
    declined += linker.Decline(abstract_id, offer.patient_id, note) ? 1 : 0;
  }
  if (of_file) SetLastWholeDecline(abstract_id, decision);
  transaction.Commit();
  return declined;
}

void CarryOutOne(Linker& linker, const Decision& decision, const std::string& file,
                 DecisionCounts& counts) {
  const ReviewNote note{decision.reviewer, decision.note, file};
  const auto count = [&counts](std::int64_t done, std::int64_t DecisionCounts::*kind) {
    if (done == 0) {
      ++counts.skipped;
    } else {
      counts.*kind += done;
    }
  };
  const std::int32_t abstract = decision.abstract_id;
  switch (decision.verdict) {
    case Verdict::kLink: {
      const LinkResult result = linker.LinkToPatient(abstract, decision.patient_id, note);
      count(result.already_linked ? 0 : 1, &DecisionCounts::linked);
      break;
    }
    case Verdict::kNew:
      count(linker.LinkToNewPatient(abstract, note).already_linked ? 0 : 1,
            &DecisionCounts::new_patients);
      break;
    case Verdict::kNoOffer:
      count(DeclineOffers(linker, abstract, note), &DecisionCounts::declined);
      break;
    case Verdict::kNotPatient:
      count(linker.Decline(abstract, decision.patient_id, note) ? 1 : 0, &DecisionCounts::declined);
      break;
  }
}

}  // namespace

DecisionCounts CarryOut(Linker& linker, std::span<const Decision> decisions,
                        const std::string& file, const RefusedDecision& refused,
                        const ReviewProgress& progress) {
  EnsureOwnTables();
  DecisionCounts counts;
  std::int64_t done = 0;
  for (const Decision& decision : decisions) {
    if (progress) progress(done++);
    try {
      CarryOutOne(linker, decision, file, counts);
    } catch (const Error& error) {
      if (!IsRefusal(error)) throw;
      ++counts.failed;
      refused(decision, error);
    }
  }
  if (progress) progress(done);
  return counts;
}

void LinkByScore(Linker& linker, std::int16_t least, bool dry_run, const AutoVisitor& visit,
                 const std::function<void(std::int64_t done, std::int64_t total)>& progress) {
  const auto is_certain = [least](const std::vector<OfferedMatch>& offers) {
    return offers.size() == 1 && offers[0].score >= least;
  };
  if (!dry_run) EnsureOwnTables();
  const std::vector<std::int32_t> abstracts = linker.UnlinkedAbstracts();
  const auto total = static_cast<std::int64_t>(abstracts.size());
  std::int64_t done = 0;
  for (const std::int32_t abstract : abstracts) {
    if (progress) progress(done++, total);
    std::vector<OfferedMatch> offers;
    try {
      offers = linker.Offers(abstract);
      bool certain = is_certain(offers);
      if (certain && !dry_run) {
        // Another user may have declined the pair, or registered a second candidate.
        Transaction transaction(CurrentSession().gcnRegistry.Get());
        offers = linker.Offers(abstract);
        certain = is_certain(offers);
        if (certain) linker.LinkToPatient(abstract, offers[0].patient_id);
        transaction.Commit();
      }
      visit(abstract, certain ? AutoOutcome::kLinked : AutoOutcome::kReview, offers, nullptr);
    } catch (const Error& error) {
      if (!IsRefusal(error)) throw;
      visit(abstract, AutoOutcome::kRefused, offers, &error);
    }
  }
}

}  // namespace qm
