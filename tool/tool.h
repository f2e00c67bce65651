// What the commands of the program share: the settings that the user gave, the table of commands,
// and how a command is added to the command line.
//
// A command stands in a file of its own. Its `Add…` function declares name, arguments and help, and
// leaves the work in `Tool::run` when it was chosen; `main` runs that, and alone catches errors.
// Results go to standard output, everything else to standard error.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tool/result_writer.h"

namespace qm::tool {

/// Exit codes, as every help text lists them.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

// The numbers of run-time errors over files.
constexpr std::int32_t kFileNotFound = 53;
constexpr std::int32_t kDeviceError = 57;

struct Settings {
  std::string folder;    ///< holds registry.db and control.db
  std::string registry;  ///< connection strings instead of the folder
  std::string control;
  std::string matching;
  std::string user;  ///< empty: the login name
  int timeout = 15;  ///< seconds that a busy database is waited for
  Format format = Format::kTable;
  bool verbose = false;
};

struct Tool {
  Settings settings;
  std::function<void()> run;
  /// Tells what is in work ("importing a.txt, line 7"); an error message begins with it. It is
  /// asked after the command was left, so it holds what it refers to.
  std::function<std::string()> doing;
  /// What the program ends with when the command came to its end: a refusal is no error.
  ExitCode exit_code = kDone;
};

/// A command with the options that all have.
inline CLI::App* AddCommand(CLI::App& app, Tool& tool, const std::string& name,
                            const std::string& description) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_flag("-v,--verbose", tool.settings.verbose,
                    "with an error, also the database engine's text and the statement, which may "
                    "hold patients' data");
  command->footer("Exit codes: 0 done, 1 failed, 2 wrong usage.");
  return command;
}

/// `xml` is for a command that prints a record.
inline void AddFormatOption(CLI::App& command, Tool& tool, bool xml = false) {
  std::vector<std::string> names = {"table", "csv", "json"};
  if (xml) names.emplace_back("xml");
  command
      .add_option_function<std::string>(
          "--format",
          [&tool](const std::string& name) {
            tool.settings.format = name == "csv"    ? Format::kCsv
                                   : name == "json" ? Format::kJson
                                   : name == "xml"  ? Format::kXml
                                                    : Format::kTable;
          },
          std::string("how results are printed: table (default), csv") +
              (xml ? ", json or xml" : " or json"))
      ->check(CLI::IsMember(names))
      ->type_name("FORMAT");
}

/// The table of commands.
using AddFunction = void (*)(CLI::App& app, Tool& tool);
void AddCheck(CLI::App& app, Tool& tool);
void AddCompare(CLI::App& app, Tool& tool);
void AddCopy(CLI::App& app, Tool& tool);
void AddDisplay(CLI::App& app, Tool& tool);
void AddEval(CLI::App& app, Tool& tool);
void AddExport(CLI::App& app, Tool& tool);
void AddEvaluate(CLI::App& app, Tool& tool);
void AddFind(CLI::App& app, Tool& tool);
void AddGenerate(CLI::App& app, Tool& tool);
void AddImport(CLI::App& app, Tool& tool);
void AddInit(CLI::App& app, Tool& tool);
void AddLayout(CLI::App& app, Tool& tool);
void AddLink(CLI::App& app, Tool& tool);
void AddLock(CLI::App& app, Tool& tool);
void AddLocks(CLI::App& app, Tool& tool);
void AddLog(CLI::App& app, Tool& tool);
void AddMatch(CLI::App& app, Tool& tool);
void AddReport(CLI::App& app, Tool& tool);
void AddRules(CLI::App& app, Tool& tool);
void AddSet(CLI::App& app, Tool& tool);
void AddShow(CLI::App& app, Tool& tool);
void AddSoundex(CLI::App& app, Tool& tool);
void AddUnlink(CLI::App& app, Tool& tool);
void AddUnlock(CLI::App& app, Tool& tool);

}  // namespace qm::tool
