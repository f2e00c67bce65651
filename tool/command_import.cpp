// qm import: files of NAACCR records become abstracts of the registry.
#include <qm/error.h>
#include <qm/importer.h>
#include <qm/registry_setup.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

#include "runtime/path_text.h"
#include "tool/databases.h"
#include "tool/terminal.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace fs = std::filesystem;

namespace {

struct ImportArguments {
  std::vector<std::string> files;
  std::string rejects;
  ImportOptions options;
};

fs::path RejectsOf(const ImportArguments& arguments, const Settings& settings,
                   const fs::path& file) {
  if (!arguments.rejects.empty()) return PathOf(arguments.rejects);
  fs::path path = settings.folder.empty() ? file : PathOf(settings.folder) / file.filename();
  return path += ".rejects";
}

std::string Sentence(const std::string& file, const ImportSummary& summary) {
  std::string text = file + ": ";
  if (summary.already_imported) text += "already imported: ";
  text += "imported " + std::to_string(summary.imported) + ", rejected " +
          std::to_string(summary.rejected);
  if (summary.resumed_at > 0) text += ", gone on behind line " + std::to_string(summary.resumed_at);
  if (!summary.rejects.empty()) text += "; rejected lines are in " + PathText(summary.rejects);
  if (summary.already_imported) text += "; --again imports it again";
  return text;
}

void Import(const ImportArguments& arguments, Tool& tool) {
  for (const std::string& file : arguments.files) {
    if (!fs::exists(PathOf(file))) throw Error(kFileNotFound, "qm import", file + ": no such file");
  }
  OpenDatabase(tool, Database::kControl);
  OpenRegistryToChange(tool, "qm import");

  const Format format = tool.settings.format;
  ResultWriter results(std::cout, format,
                       {{"File", false},
                        {"Imported", true},
                        {"Rejected", true},
                        {"AlreadyImported", false},
                        {"RejectsFile", false}});
  for (const std::string& file : arguments.files) {
    ImportOptions options = arguments.options;
    options.rejects = RejectsOf(arguments, tool.settings, PathOf(file));
    const auto bar = std::make_shared<ProgressBar>("importing " + file);
    options.progress = [bar](const ImportProgress& progress) {
      bar->Show(progress.bytes_done, progress.bytes_total);
    };
    const auto importer = std::make_shared<Importer>(options);
    tool.doing = [importer, file] {
      const std::int64_t line = importer->Line();
      return "importing " + file + (line > 0 ? ", line " + std::to_string(line) : "");
    };
    const ImportSummary summary = importer->ImportFile(PathOf(file));
    if (format == Format::kTable) {
      std::cout << Sentence(file, summary) << '\n';
      RequireWritten(std::cout);
    } else {
      results.Row({file, std::to_string(summary.imported), std::to_string(summary.rejected),
                   summary.already_imported ? "yes" : "no", PathText(summary.rejects)});
    }
  }
  if (format != Format::kTable) results.Finish();
}

}  // namespace

void AddImport(CLI::App& app, Tool& tool) {
  const auto arguments = std::make_shared<ImportArguments>();
  CLI::App* command = AddCommand(
      app, tool, "import",
      "take files of NAACCR records into the registry, every record as an abstract; a line that is "
      "no record goes into a rejects file, and a file is not imported twice");
  command->add_option("FILE", arguments->files, "text or gzip files")->required();
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  AddFormatOption(*command, tool);
  command
      ->add_option("--layout", arguments->options.version,
                   "layout of all records (11.3, 12, ... 18); default: by each record's version")
      ->type_name("VERSION")
      ->check(CLI::IsMember(ShippedLayouts()));
  command
      ->add_option("--rejects", arguments->rejects,
                   "file for rejected lines; default: "
                   "DIR/FILE.rejects")
      ->type_name("FILE");
  command->add_flag("--again", arguments->options.again, "also files that were imported before");
  command->add_option("--batch", arguments->options.batch, "lines a transaction; default 500")
      ->check(CLI::Range(1, 1000000))
      ->type_name("N");
  command->callback([arguments, &tool] {
    RequireDatabase(tool.settings, Database::kRegistry);
    RequireDatabase(tool.settings, Database::kControl);
    if (!arguments->rejects.empty() && arguments->files.size() > 1) {
      throw CLI::ValidationError("--rejects", "goes with one FILE only");
    }
    tool.run = [arguments, &tool] { Import(*arguments, tool); };
  });
}

}  // namespace qm::tool
