// The program `qm`: reads the command line, runs the command, tells what failed.
#include <qm/error.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "tool/platform.h"
#include "tool/report_error.h"
#include "tool/tool.h"

namespace {

using namespace qm::tool;

constexpr AddFunction kCommands[] = {
    AddInit,    AddGenerate, AddImport,  AddMatch,   AddLink,  AddUnlink,   AddReport, AddExport,
    AddFind,    AddLog,      AddShow,    AddSet,     AddLock,  AddUnlock,   AddLocks,  AddLayout,
    AddDisplay, AddEval,     AddCompare, AddSoundex, AddRules, AddEvaluate, AddCheck,  AddCopy};

int Run(std::vector<std::string> arguments) {
  Tool tool;
  CLI::App app(
      "Cancer registry on a relational database: takes NAACCR records in and finds the\n"
      "registered patients that may be the same person.");
  app.name("qm");
  app.require_subcommand(1);
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", QM_VERSION);
  app.footer("qm COMMAND --help tells more. Exit codes: 0 done, 1 failed, 2 wrong usage.");
  for (const AddFunction add : kCommands) add(app, tool);

  const std::string first = arguments.empty() ? "" : arguments.front();
  const auto named = [&first](const CLI::App* command) { return command->check_name(first); };
  if (!first.empty() && first[0] != '-' && app.get_subcommands(named).empty()) {
    std::cerr << "qm: unknown command '" << first << "'\nRun with --help for more information.\n";
    return kUsage;
  }
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error, std::cout, std::cerr);
    if (code == 0) RequireWritten(std::cout);
    return code == 0 ? kDone : kUsage;
  }

  try {
    tool.run();
    RequireWritten(std::cout);
    return tool.exit_code;
  } catch (const qm::Error& error) {
    std::cout.flush();
    std::cerr << "qm: " << DescribeError(error, tool) << '\n';
  } catch (const std::exception& error) {
    std::cout.flush();
    std::cerr << "qm: " << (tool.doing ? tool.doing() + ": " : "") << error.what() << '\n';
  }
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
  // A reader that went away is then an error of writing like any other.
  std::signal(SIGPIPE, SIG_IGN);
#endif
  std::ios::sync_with_stdio(false);
  try {
    PrepareProcess();
    return Run(Arguments(argc, argv));
  } catch (const std::exception& error) {
    std::cerr << "qm: " << error.what() << '\n';
    return kFailed;
  }
}
