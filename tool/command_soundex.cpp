// qm soundex: the phonetic code of a name.
#include <iostream>
#include <memory>

#include "comparison/comparison.h"
#include "tool/tool.h"

namespace qm::tool {

void AddSoundex(CLI::App& app, Tool& tool) {
  const auto name = std::make_shared<std::string>();
  CLI::App* command = AddCommand(app, tool, "soundex", "print the phonetic code of a name");
  command->add_option("NAME", *name, "a name")->required();
  command->callback(
      [name, &tool] { tool.run = [name] { std::cout << SoundexCode(*name) << '\n'; }; });
}

}  // namespace qm::tool
