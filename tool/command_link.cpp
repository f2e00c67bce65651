// qm link: abstracts become part of patients' cases, one by choice, many by score or by a
// reviewer's decisions.
#include <qm/error.h>
#include <qm/linker.h>
#include <qm/matcher.h>
#include <qm/review.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>

#include "runtime/path_text.h"
#include "tool/databases.h"
#include "tool/link_lists.h"
#include "tool/record_argument.h"
#include "tool/report_error.h"
#include "tool/terminal.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

constexpr const char* kCommand = "qm link";
constexpr const char* kNew = "new";
constexpr const char* kNo = "no";

struct LinkArguments {
  std::optional<std::int32_t> abstract;
  std::string choice;
  std::optional<std::int32_t> tumor;
  ReviewNote note;
  std::optional<std::int16_t> least;
  bool dry_run = false;
  std::string decisions;
};

// A check of the command line, and of what was typed when asked.
std::string IsChoice(const std::string& choice) {
  const bool known = choice == kNew || choice == kNo || ParseIdentifier(choice);
  return known ? "" : "a patient's identifier, new or no is expected";
}

class LinkCommand {
 public:
  LinkCommand(const LinkArguments& arguments, Tool& tool) : arguments_(arguments), tool_(tool) {}

  void Run() {
    Open();
    if (arguments_.least) {
      LinkAll();
    } else if (!arguments_.decisions.empty()) {
      FollowDecisions();
    } else if (arguments_.choice.empty()) {
      Offer();
    } else {
      Choose(arguments_.choice);
    }
  }

 private:
  void Open() {
    OpenDatabase(tool_, Database::kControl);
    if (Changes()) {
      OpenRegistryToChange(tool_, kCommand);
    } else {
      OpenDatabase(tool_, Database::kRegistry);
    }
    if (!tool_.settings.matching.empty()) {
      linker_.SetMatching(OpenDatabase(tool_, Database::kMatching));
    }
    tool_.doing = [] { return "reading the matching rules" + RuleInWork(); };
    Matcher().ReadMatchingParams(ConnectionStringOf(tool_.settings, Database::kMatching));
    DoAbstract(arguments_.abstract.value_or(0));
  }

  bool Changes() const {
    const bool lists = arguments_.abstract && arguments_.choice.empty();
    return lists ? CanAsk() : !arguments_.dry_run;
  }

  void DoAbstract(std::int32_t id) {
    tool_.doing = [id] {
      return (id == 0 ? "linking" : "linking abstract " + std::to_string(id)) + RuleInWork();
    };
  }

  void Offer() {
    const std::int32_t abstract = *arguments_.abstract;
    const std::vector<OfferedMatch> offers = linker_.Offers(abstract);
    OfferList list(tool_.settings.format, false);
    list.Add(abstract, offers);
    list.Finish();
    RequireWritten(std::cout);
    const std::string answer =
        Ask("link to which patient (identifier, new, no for none of them, Enter to leave it)? ");
    if (!answer.empty()) Choose(answer);
  }

  void Choose(const std::string& choice) {
    const std::int32_t abstract = *arguments_.abstract;
    if (choice == kNo) {
      const std::vector<Decision> none = {
          {abstract, Verdict::kNoOffer, 0, arguments_.note.reviewer, arguments_.note.note, 0}};
      const DecisionCounts counts = CarryOut(
          linker_, none, "", [](const Decision&, const Error& reason) { throw Error(reason); });
      std::cout << "abstract " << abstract << ": declined " << counts.declined << '\n';
      return;
    }
    if (!IsChoice(choice).empty()) throw Error(kErrBadArgument, kCommand, IsChoice(choice));
    const std::int32_t id = ParseIdentifier(choice).value_or(0);
    const LinkResult result =
        choice == kNew     ? linker_.LinkToNewPatient(abstract, arguments_.note)
        : arguments_.tumor ? linker_.LinkToTumor(abstract, id, *arguments_.tumor, arguments_.note)
                           : linker_.LinkToPatient(abstract, id, arguments_.note);
    std::cout << "abstract " << abstract << (result.already_linked ? " is linked" : " linked")
              << " to " << (result.new_patient ? "new patient " : "patient ") << result.patient_id
              << ", tumor " << result.tumor_id << (result.already_linked ? ", already\n" : "\n");
  }

  void LinkAll() {
    OfferList list(tool_.settings.format, arguments_.dry_run);
    ProgressBar bar("linking");
    std::int64_t linked = 0;
    std::int64_t review = 0;
    std::int64_t refused = 0;
    LinkByScore(
        linker_, *arguments_.least, arguments_.dry_run,
        [&](std::int32_t id, AutoOutcome outcome, std::span<const OfferedMatch> offers,
            const Error* reason) {
          if (outcome == AutoOutcome::kRefused) {
            ++refused;
            std::cerr << "qm: not linked: " << reason->description() << '\n';
            return;
          }
          const bool certain = outcome == AutoOutcome::kLinked;
          ++(certain ? linked : review);
          if (!certain || arguments_.dry_run) list.Add(id, offers, certain);
        },
        [&](std::int64_t done, std::int64_t total) { bar.Show(done, total); });
    list.Finish();
    RequireWritten(std::cout);
    std::cerr << "qm: " << (arguments_.dry_run ? "would link " : "linked ") << linked
              << " abstracts, left " << review << " for review, refused " << refused << '\n';
    if (refused > 0) tool_.exit_code = kFailed;
  }

  std::string ReadFile(const std::string& name) const {
    if (arguments_.decisions == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    std::ifstream in(PathOf(name), std::ios::binary);
    // A folder opens, and fails once it is read.
    if (!in || std::filesystem::is_directory(PathOf(name))) {
      throw Error(kFileNotFound, kCommand, name + ": cannot be opened");
    }
    std::string text{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) throw Error(kDeviceError, kCommand, name + ": cannot be read");
    return text;
  }

  void FollowDecisions() {
    const std::string name = arguments_.decisions == "-" ? "standard input" : arguments_.decisions;
    tool_.doing = nullptr;
    const std::vector<Decision> decisions = ReadDecisions(ReadFile(name), name);
    ProgressBar bar("linking");
    const auto done = std::make_shared<std::int64_t>(0);
    const auto lines = std::make_shared<std::vector<std::int64_t>>();
    for (const Decision& decision : decisions) lines->push_back(decision.line);
    tool_.doing = [name, done, lines] {
      const auto at = static_cast<std::size_t>(*done);
      return name + (at < lines->size() ? ", line " + std::to_string((*lines)[at]) : "") +
             RuleInWork();
    };
    const auto total = static_cast<std::int64_t>(decisions.size());
    const DecisionCounts counts = CarryOut(
        linker_, decisions, name,
        [&name](const Decision& decision, const Error& reason) {
          std::cerr << "qm: " << name << ", line " << decision.line << ": " << reason.description()
                    << '\n';
        },
        [&](std::int64_t count) {
          *done = count;
          bar.Show(count, total);
        });
    WriteCounts(name, counts);
    if (counts.failed > 0) tool_.exit_code = kFailed;
  }

  void WriteCounts(const std::string& name, const DecisionCounts& counts) {
    if (tool_.settings.format == Format::kTable) {
      std::cout << name << ": linked " << counts.linked << ", new " << counts.new_patients
                << ", declined " << counts.declined << ", skipped " << counts.skipped << ", failed "
                << counts.failed << '\n';
    } else {
      ResultWriter results(std::cout, tool_.settings.format,
                           {{"File", false},
                            {"Linked", true},
                            {"New", true},
                            {"Declined", true},
                            {"Skipped", true},
                            {"Failed", true}});
      results.Row({name, std::to_string(counts.linked), std::to_string(counts.new_patients),
                   std::to_string(counts.declined), std::to_string(counts.skipped),
                   std::to_string(counts.failed)});
      results.Finish();
    }
    RequireWritten(std::cout);
  }

  const LinkArguments& arguments_;
  Tool& tool_;
  Linker linker_;
};

// What each way of linking takes.
void RequireWay(const LinkArguments& arguments) {
  const auto need = [](bool holds, const char* text) {
    if (!holds) throw CLI::ValidationError("link", text);
  };
  const int ways = (arguments.abstract ? 1 : 0) + (arguments.least ? 1 : 0) +
                   (arguments.decisions.empty() ? 0 : 1);
  need(ways == 1, "one of ABSTRACT, --auto N and --decisions FILE is required");
  need(!arguments.dry_run || arguments.least, "--dry-run goes with --auto");
  const bool notes = !arguments.note.reviewer.empty() || !arguments.note.note.empty();
  need(!notes || arguments.abstract, "--reviewer and --note go with ABSTRACT");
  const bool patient =
      !arguments.choice.empty() && arguments.choice != kNew && arguments.choice != kNo;
  need(!arguments.tumor || patient, "--tumor goes with a PATIENT");
}

}  // namespace

void AddLink(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<LinkArguments>();
  CLI::App* command = AddCommand(
      app, tool, "link",
      "make abstracts part of patients' cases, each with its tumor: one abstract (without a choice "
      "its offers are listed), all whose only offer scores enough, or a reviewer's decisions");
  command->add_option("ABSTRACT", arguments->abstract, "identifier of the abstract")
      ->check(IsIdentifier)
      ->type_name("");
  command
      ->add_option("PATIENT", arguments->choice,
                   "identifier of its patient, new for a new one, or no: none of those offered")
      ->check(IsChoice)
      ->type_name("");
  command
      ->add_option("--tumor", arguments->tumor,
                   "tumor of that patient which the abstract reports; default: a new one")
      ->check(IsIdentifier)
      ->type_name("MEDREFID");
  command->add_option("--reviewer", arguments->note.reviewer, "who decided, for the audit log")
      ->type_name("NAME");
  command->add_option("--note", arguments->note.note, "why, for the audit log")->type_name("TEXT");
  command
      ->add_option("--auto", arguments->least,
                   "link every abstract whose only offer scores N or more; the rest is listed")
      ->type_name("N");
  command->add_flag("--dry-run", arguments->dry_run,
                    "with --auto: change nothing, list also what would be linked");
  command
      ->add_option("--decisions", arguments->decisions,
                   "CSV file, - for standard input, of abstract, patient (or new, no, no ID), "
                   "reviewer, note; rows that were carried out before are skipped")
      ->type_name("FILE");
  AddDatabaseOptions(*command, tool, true);
  AddUserOption(*command, tool);
  AddFormatOption(*command, tool);
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    RequireWay(*arguments);
    tool.run = [arguments, &tool] { LinkCommand(*arguments, tool).Run(); };
  });
}

}  // namespace qm::tool
