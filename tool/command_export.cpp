// qm export: abstracts, or tumors with their patients, become a file of NAACCR records.
#include <qm/error.h>
#include <qm/exporter.h>
#include <qm/registry_setup.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

#include "runtime/path_text.h"
#include "tool/databases.h"
#include "tool/record_argument.h"
#include "tool/terminal.h"
#include "tool/tool.h"

namespace qm::tool {

namespace fs = std::filesystem;

namespace {

constexpr const char* kStandardOutput = "-";
constexpr std::int32_t kPathAccess = 75;

struct ExportArguments {
  bool abstracts = false;
  bool tumors = false;
  std::vector<std::int32_t> ids;
  std::string file;
  ExportOptions options;
};

// `--replace` would put the records in the place of the databases that they come from.
void RequireNoDatabase(const ExportArguments& arguments, const Settings& settings) {
  if (settings.folder.empty()) return;
  const auto same = [target = PathOf(arguments.file)](fs::path file, const char* ending) {
    file += ending;
    std::error_code missing;
    return fs::equivalent(target, file, missing) ||
           fs::weakly_canonical(target, missing) == fs::weakly_canonical(file, missing);
  };
  for (const char* name : {"registry.db", "control.db"}) {
    const fs::path database = PathOf(settings.folder) / name;
    // Beside a database lie the files of its engine, some only while it is open.
    if (same(database, "") || same(database, "-wal") || same(database, "-shm") ||
        same(database, "-journal")) {
      throw Error(kPathAccess, "qm export", arguments.file + ": is a database of the registry");
    }
  }
}

void Export(const ExportArguments& arguments, Tool& tool) {
  const bool to_file = arguments.file != kStandardOutput;
  if (to_file) RequireNoDatabase(arguments, tool.settings);
  OpenDatabase(tool, Database::kControl);
  OpenDatabase(tool, Database::kRegistry);

  ExportOptions options = arguments.options;
  const auto bar = std::make_shared<ProgressBar>("exporting " + arguments.file);
  options.progress = [bar](std::int64_t done, std::int64_t total) { bar->Show(done, total); };
  const auto exporter = std::make_shared<Exporter>(options);
  tool.doing = [exporter, family = arguments.tumors ? kTumorName : kAbstractName] {
    const std::int32_t id = exporter->RecordInWork();
    return std::string("exporting ") +
           (id == 0 ? std::string("records") : family + (" " + std::to_string(id)));
  };
  const auto run = [&](auto&& target) {
    return arguments.tumors ? exporter->ExportTumors(arguments.ids, target)
                            : exporter->ExportAbstracts(arguments.ids, target);
  };
  if (!to_file) {
    run(std::cout);
    return;
  }
  const ExportSummary summary = run(PathOf(arguments.file));
  if (tool.settings.format == Format::kTable) {
    std::cout << arguments.file << ": exported " << summary.records << " records\n";
    return;
  }
  ResultWriter results(std::cout, tool.settings.format, {{"File", false}, {"Records", true}});
  results.Row({arguments.file, std::to_string(summary.records)});
  results.Finish();
}

}  // namespace

void AddExport(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<ExportArguments>();
  CLI::App* command =
      AddCommand(app, tool, "export",
                 "write abstracts, or tumors with their patients, as a file of NAACCR records that "
                 "can be imported");
  command->add_option("ID", arguments->ids, "the records, in this order; default: all")
      ->type_name("");
  CLI::Option* abstracts =
      command->add_flag("--abstracts", arguments->abstracts, "the facilities' reports");
  CLI::Option* tumors =
      command->add_flag("--tumors", arguments->tumors, "consolidated: tumors with their patients");
  abstracts->excludes(tumors);
  command
      ->add_option("-o", arguments->file,
                   "the file, compressed when it ends in .gz; - is standard output")
      ->required()
      ->type_name("FILE");
  AddDatabaseOptions(*command, tool);
  AddFormatOption(*command, tool);
  command
      ->add_option("--layout", arguments->options.version,
                   "layout of the records (11.3, 12, ... 18); default: the newest")
      ->type_name("VERSION")
      ->check(CLI::IsMember(ShippedLayouts()));
  command->add_flag("--crlf", arguments->options.crlf, "end records by CR LF instead of LF");
  command->add_flag("--replace", arguments->options.replace, "replace FILE if it is there already");
  command->callback([arguments, &tool] {
    if (!arguments->abstracts && !arguments->tumors) {
      throw CLI::RequiredError("--abstracts or --tumors");
    }
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    tool.run = [arguments, &tool] { Export(*arguments, tool); };
  });
}

}  // namespace qm::tool
