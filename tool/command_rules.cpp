// qm rules: the matching rules listed, checked, written to a file and taken from one.
#include <qm/audit_log.h>
#include <qm/conversions.h>
#include <qm/error.h>
#include <qm/match_rules.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>

#include "matching/rule_tables.h"
#include "runtime/path_text.h"
#include "runtime/private_file.h"
#include "tool/databases.h"
#include "tool/read_file.h"
#include "tool/terminal.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

struct RulesArguments {
  std::string file;
};

std::string Comparison(const Variant& exact, const Variant& parameter) {
  if (IsNumeric(exact) && ToDouble(exact) != 0) return "exact";
  return "approximate " + (parameter.IsNull() ? "0" : ToText(parameter));
}

void ListRules(Tool& tool) {
  const MatchRules rules = ReadMatchRules(OpenDatabase(tool, Database::kMatching));
  ResultWriter results(std::cout, tool.settings.format,
                       {{"Table", false},
                        {"Key", true},
                        {"Name", false},
                        {"Weight", true},
                        {"Comparison", false},
                        {"PatientField", false},
                        {"IgnoredValues", false},
                        {"Active", false},
                        {"Rule", false}});
  for (const RuleTableInfo& info : kRuleTables) {
    const RuleTable& table = rules.*info.member;
    const bool comparison = info.member == &MatchRules::matching;
    const bool cutoff = info.member == &MatchRules::cutoff;
    for (const RuleTable::Row& row : table.rows) {
      const auto text = [&](std::string_view column) {
        return ToTextOrEmpty(table.Value(row, column));
      };
      const bool active = comparison ? IsActiveRule(table, row) : !cutoff || &row == &table.rows[0];
      results.Row({std::string(info.file_name), RuleKey(info, table, row), text("AliasName"),
                   cutoff ? text("PotentialPatientMatch") : text("Weight"),
                   comparison ? Comparison(table.Value(row, "ExactMatch"),
                                           table.Value(row, "StringComparatorParam"))
                              : "",
                   text("PatientField"), text(comparison ? "MissingValues" : "ignorevalues"),
                   active ? "yes" : "no", text(comparison ? "FieldName" : "AbstractField")});
    }
  }
  results.Finish();
}

void Export(const RulesArguments& arguments, Tool& tool) {
  const std::string csv = MatchRulesCsv(ReadMatchRules(OpenDatabase(tool, Database::kMatching)));
  if (arguments.file.empty() || arguments.file == "-") {
    std::cout << csv;
    return;
  }
  tool.doing = [&arguments] { return "writing " + arguments.file; };
  PrivateFile file(PathOf(arguments.file));
  file.Stream() << csv;
  file.Commit();
}

MatchRules RulesOf(const RulesArguments& arguments, Tool& tool) {
  tool.doing = [&arguments] { return "reading " + arguments.file; };
  MatchRules rules = ParseMatchRules(ReadFile(arguments.file));
  tool.doing = nullptr;
  return rules;
}

std::string Counts(const MatchRules& rules) {
  const auto& rows = rules.matching.rows;
  const auto active = std::ranges::count_if(
      rows, [&](const RuleTable::Row& row) { return IsActiveRule(rules.matching, row); });
  const auto ignored = static_cast<std::int64_t>(rows.size()) - active;
  const auto counted = [](std::int64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
  };
  return counted(static_cast<std::int64_t>(rules.blocking.rows.size()), "blocking rule") + ", " +
         counted(active, "comparison rule") +
         (ignored > 0 ? " (and " + std::to_string(ignored) + " ignored)" : "");
}

std::string CutoffText(const MatchRules& rules) {
  return rules.cutoff.rows.empty()
             ? "none"
             : ToTextOrEmpty(rules.cutoff.Value(rules.cutoff.rows[0], "PotentialPatientMatch"));
}

void Import(const RulesArguments& arguments, Tool& tool) {
  const MatchRules rules = RulesOf(arguments, tool);
  const auto registry = OpenRegistryToChange(tool, "qm rules import");
  const auto matching =
      tool.settings.matching.empty() ? registry : OpenDatabase(tool, Database::kMatching);
  tool.doing = [&arguments] { return "importing " + arguments.file; };
  const std::string told = Counts(rules) + ", cut-off " + CutoffText(rules);
  ReplaceMatchRules(matching, rules, [&] {
    WriteAudit({"rules", "rules", {}, told, arguments.file});
  });
  tool.doing = nullptr;
  std::cout << "imported " << told << '\n';
}

void WriteForPeople(const RuleFinding& finding) {
  std::cout << finding.code << "  " << finding.table;
  if (!finding.key.empty()) std::cout << ' ' << finding.key;
  if (finding.line > 0) std::cout << "  line " << finding.line;
  if (!finding.rule.empty()) std::cout << "  " << finding.rule;
  std::cout << "\n    " << finding.what << ".\n    To do: " << finding.advice << ".\n";
}

void Check(const RulesArguments& arguments, Tool& tool) {
  MatchRules rules;
  if (!arguments.file.empty()) rules = RulesOf(arguments, tool);
  const auto matching = OpenDatabase(tool, Database::kMatching);
  if (arguments.file.empty()) rules = ReadMatchRules(matching);
  tool.doing = [] { return "checking the rules"; };
  std::vector<RuleFinding> findings;
  {
    ProgressBar bar("checking");
    findings = CheckMatchRules(
        matching, rules, [&bar](std::int64_t done, std::int64_t total) { bar.Show(done, total); });
  }
  tool.doing = nullptr;
  tool.exit_code = findings.empty() ? kDone : kFailed;
  if (tool.settings.format == Format::kTable) {
    for (const RuleFinding& finding : findings) WriteForPeople(finding);
    std::cout << Counts(rules) << ", cut-off " << CutoffText(rules) << ": "
              << (findings.empty() ? "nothing found" : std::to_string(findings.size()) + " found")
              << '\n';
    return;
  }
  ResultWriter results(std::cout, tool.settings.format,
                       {{"Code", false},
                        {"Table", false},
                        {"Key", false},
                        {"Line", true},
                        {"Rule", false},
                        {"What", false},
                        {"ToDo", false}});
  for (const RuleFinding& finding : findings) {
    results.Row({finding.code, finding.table, finding.key,
                 finding.line > 0 ? std::to_string(finding.line) : "", finding.rule, finding.what,
                 finding.advice});
  }
  results.Finish();
}

using Body = void (*)(const RulesArguments& arguments, Tool& tool);

CLI::App* AddPart(CLI::App& rules, Tool& tool, const std::shared_ptr<RulesArguments>& arguments,
                  const std::string& name, const std::string& description, Body body) {
  CLI::App* command = AddCommand(rules, tool, name, description);
  AddDatabaseOptions(*command, tool, true);
  command->callback([arguments, body, &tool] {
    if (tool.settings.matching.empty()) RequireDatabase(tool.settings, Database::kRegistry);
    tool.run = [arguments, body, &tool] { body(*arguments, tool); };
  });
  return command;
}

}  // namespace

void AddRules(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<RulesArguments>();
  CLI::App* rules = app.add_subcommand(
      "rules", "list, check, export or import the matching rules: blocking, comparison, cut-off");
  rules->require_subcommand(1);
  rules->footer("Exit codes: 0 done, 1 failed, 2 wrong usage.");
  CLI::App* list = AddPart(*rules, tool, arguments, "list", "print the rules",
                           [](const RulesArguments&, Tool& with) { ListRules(with); });
  AddFormatOption(*list, tool);
  CLI::App* check = AddPart(*rules, tool, arguments, "check",
                            "tell what would surprise whoever wrote the rules, and what to do; "
                            "exit code 1 when there is something",
                            Check);
  AddFormatOption(*check, tool);
  check
      ->add_option("FILE", arguments->file,
                   "rules as CSV, before they are imported; default: the "
                   "registry's own")
      ->type_name("FILE.csv");
  AddPart(*rules, tool, arguments, "export", "write the rules as CSV", Export)
      ->add_option("-o,--output", arguments->file, "default: standard output")
      ->type_name("FILE");
  CLI::App* import = AddPart(*rules, tool, arguments, "import",
                             "put the rules of a CSV file in place of the registry's", Import);
  AddUserOption(*import, tool);
  import->add_option("FILE", arguments->file, "rules as 'qm rules export' writes them")
      ->type_name("FILE.csv")
      ->required();
}

}  // namespace qm::tool
