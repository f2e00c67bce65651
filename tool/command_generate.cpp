// qm generate: fills a registry with synthetic patients, and writes incoming records about some of
// them with the truth beside.
#include <qm/audit_log.h>
#include <qm/data_sets.h>

#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

#include "runtime/path_text.h"
#include "runtime/private_file.h"
#include "synthetic/generator.h"
#include "tool/databases.h"
#include "tool/terminal.h"
#include "tool/tool.h"
#include "tool/user.h"

namespace qm::tool {

namespace {

// The incoming records are written in this version.
constexpr std::uint16_t kRecordVersion = 18;

void Generate(SyntheticOptions options, Tool& tool) {
  OpenDatabase(tool, Database::kControl);
  const auto registry = OpenRegistryToChange(tool, "qm generate");
  tool.doing = [] { return "loading the layout from the control database"; };
  QMDataSets data_sets;
  const auto layout = data_sets.GetNAACCRLayout(kRecordVersion);

  tool.doing = [] { return "generating"; };
  const std::filesystem::path folder = PathOf(tool.settings.folder);
  PrivateFile incoming(folder / "incoming.txt");
  PrivateFile truth(folder / "truth.csv");
  const std::string counts = std::to_string(options.patients) + " patients and " +
                             std::to_string(options.incoming) + " incoming records";
  const std::string file = PathText(folder / "incoming.txt");
  // An interruption before the registry is filled leaves files that the next run replaces; filled
  // without its files it could not be generated again.
  options.before_commit = [&, seed = options.seed] {
    WriteAudit({"generate", "registry", {}, counts + ", seed " + std::to_string(seed), file});
    truth.Commit();
    incoming.Commit();
  };
  {
    ProgressBar bar("generating");
    GenerateRegistry(registry, *layout, options, incoming.Stream(), truth.Stream(),
                     [&bar](std::int64_t done, std::int64_t total) { bar.Show(done, total); });
  }
  std::cout << "generated " << counts << " in " << file << '\n';
}

}  // namespace

void AddGenerate(CLI::App& app, Tool& tool) {
  const auto options = std::make_shared<SyntheticOptions>();
  CLI::App* command = AddCommand(app, tool, "generate",
                                 "fill a registry without patients with synthetic ones, and write "
                                 "DIR/incoming.txt with DIR/truth.csv");
  AddDatabaseOptions(*command, tool);
  AddUserOption(*command, tool);
  const auto count = CLI::Range(std::int64_t{0}, std::int64_t{10000000});
  command->add_option("--patients", options->patients, "how many patients are registered")
      ->required()
      ->type_name("N")
      ->check(count);
  command->add_option("--incoming", options->incoming, "how many records come in")
      ->required()
      ->type_name("M")
      ->check(count);
  command->add_option("--seed", options->seed, "the same seed gives the same registry; default 1")
      ->type_name("S");
  command->callback([options, &tool] {
    if (tool.settings.folder.empty()) throw CLI::RequiredError("-d DIR");
    tool.run = [options, &tool] { Generate(*options, tool); };
  });
}

}  // namespace qm::tool
