#include "synthetic/generator.h"

#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/recordset.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "comparison/soundex.h"
#include "dataaccess/sql_text.h"
#include "setup/schema.h"
#include "synthetic/case_items.h"
#include "synthetic/patient_writer.h"
#include "synthetic/record_line.h"

namespace qm {

namespace {

constexpr const char* kSource = "QMDataObjects.GenerateRegistry";
constexpr std::int64_t kMostPeople = 10000000;
constexpr const char* kLayoutVersion = "18";
// From here on making the indexes anew costs less than keeping them.
constexpr std::int64_t kManyPatients = 50000;
constexpr std::int64_t kProgressStep = 1000;

// Streams of random numbers (see Random), besides those of the people.
constexpr std::uint64_t kRegisteredPurpose = 3;
constexpr std::uint64_t kIncomingPurpose = 4;
constexpr std::uint64_t kPairPurpose = 5;

constexpr int kRelativeShare = 260;  // of a thousand newcomers

void RequireRange(std::int64_t count, const char* what) {
  if (count >= 0 && count <= kMostPeople) return;
  throw Error(kErrBadArgument, kSource,
              std::string("The number of ") + what + " must lie between 0 and " +
                  std::to_string(kMostPeople) + ".");
}

std::int64_t OneNumber(Connection& registry, const std::string& query) {
  const auto row = registry.Execute(query);
  const std::int64_t value = row->Eof() ? -1 : ToInt32(row->Value(0));
  row->Close();
  return value;
}

// Takes as many identifiers of a counter as there are patients; gives the last one in use before.
std::int64_t TakeIdentifiers(Connection& registry, const std::string& counter, std::int64_t count) {
  const std::string where = " WHERE BaseIDName = " + SqlText(counter);
  const std::int64_t last = OneNumber(registry, "SELECT BaseID FROM BaseIDs" + where);
  if (last < 0 || last > std::numeric_limits<std::int32_t>::max() - count) {
    throw Error(kErrNotAllowedHere, kSource,
                "The counter " + counter + " has no such numbers left.");
  }
  registry.Execute("UPDATE BaseIDs SET BaseID = " + std::to_string(last + count) + where);
  return last;
}

class Progress {
 public:
  Progress(const SyntheticProgress& report, std::int64_t total) : report_(report), total_(total) {}
  void Step() {
    if (report_ && (++done_ % kProgressStep == 0 || done_ == total_)) report_(done_, total_);
  }

 private:
  const SyntheticProgress& report_;
  std::int64_t done_ = 0;
  std::int64_t total_;
};

class Generator {
 public:
  Generator(const NAACCRLayout& layout, const SyntheticOptions& options,
            const SyntheticProgress& progress)
      : layout_(layout),
        options_(options),
        people_(options.seed),
        progress_(progress, options.patients + options.incoming) {}

  void Register(const std::shared_ptr<Connection>& registry) {
    const bool many = options_.patients >= kManyPatients;
    last_patient_id_ = TakeIdentifiers(*registry, "PatientID", options_.patients);
    const std::int64_t last_tumor_id = TakeIdentifiers(*registry, "MedRefID", options_.patients);
    if (many) Run(*registry, DropMatchingIndexes());
    PatientWriter writer(registry, layout_);
    for (std::int64_t i = 0; i < options_.patients; ++i) {
      Random random(options_.seed, kRegisteredPurpose, static_cast<std::uint64_t>(i));
      const Person person = people_.Make(i);
      const Identity identity = RegisteredIdentity(person, random);
      const ItemValues patient = PatientItems(person, identity, random);
      writer.Add(last_patient_id_ + 1 + i, last_tumor_id + 1 + i,
                 BuiltInSoundex(identity.last_name), patient, TumorItems(person, random));
      progress_.Step();
    }
    writer.Flush();
    if (many) Run(*registry, MatchingIndexes());
  }

  void Report(std::ostream& incoming, std::ostream& truth) {
    truth << "Line,PatientID\n";
    for (std::int64_t line = 1; line <= options_.incoming; ++line) {
      Random random(options_.seed, kIncomingPurpose, static_cast<std::uint64_t>(line));
      std::optional<std::int64_t> registered;
      const Person person = Reported(line, random, registered);
      const Identity identity = ReportedIdentity(person, people_, random);
      ItemValues items = PatientItems(person, identity, random);
      const ItemValues tumor = TumorItems(person, random);
      const ItemValues hospital = HospitalItems(person, ValueOf(tumor, 400), line, random);
      items.insert(items.end(), tumor.begin(), tumor.end());
      items.insert(items.end(), hospital.begin(), hospital.end());
      incoming << RecordLine(layout_, items);
      truth << line << ',';
      if (registered) truth << last_patient_id_ + 1 + *registered;
      truth << '\n';
      progress_.Step();
    }
  }

 private:
  static void Run(Connection& registry, const std::vector<std::string>& statements) {
    for (const std::string& statement : statements) registry.Execute(statement);
  }

  // Of the lines 1 and 2, 3 and 4, … one each is about a registered person, so that few lines also
  // have their half.
  bool IsRegistered(std::int64_t line) const {
    Random random(options_.seed, kPairPurpose, static_cast<std::uint64_t>((line - 1) / 2));
    return (line % 2 == 0) == random.PerMille(500);
  }

  // Who the record of that line is about; `registered` is set to the number of a registered person.
  Person Reported(std::int64_t line, Random& random,
                  std::optional<std::int64_t>& registered) const {
    const std::int64_t newcomer = options_.patients + line;
    if (options_.patients == 0) return people_.Make(newcomer);
    const std::int64_t number = random.Below(options_.patients);
    if (IsRegistered(line)) {
      registered = number;
      return people_.Make(number);
    }
    if (!random.PerMille(kRelativeShare)) return people_.Make(newcomer);
    return people_.MakeRelative(newcomer, people_.Make(number), random);
  }

  const NAACCRLayout& layout_;
  const SyntheticOptions& options_;
  People people_;
  Progress progress_;
  std::int64_t last_patient_id_ = 0;
};

}  // namespace

void GenerateRegistry(const std::shared_ptr<Connection>& registry, const NAACCRLayout& layout,
                      const SyntheticOptions& options, std::ostream& incoming, std::ostream& truth,
                      const SyntheticProgress& progress) {
  RequireRange(options.patients, "patients");
  RequireRange(options.incoming, "incoming records");
  if (layout.Version() != kLayoutVersion) {
    throw Error(kErrBadArgument, kSource, "Incoming records are of layout version 18.");
  }
  Transaction transaction(registry);
  const auto first = registry->Execute("SELECT PatientID FROM Patients");
  const bool empty = first->Eof();
  first->Close();
  if (!empty) {
    throw Error(kErrNotAllowedHere, kSource, "The registry holds patients already.");
  }
  Generator generator(layout, options, progress);
  generator.Register(registry);
  generator.Report(incoming, truth);
  incoming.flush();
  truth.flush();
  if (!incoming || !truth) {
    throw Error(kErrEngine, kSource, "The incoming records could not be written.");
  }
  if (options.before_commit) options.before_commit();
  transaction.Commit();
}

}  // namespace qm
