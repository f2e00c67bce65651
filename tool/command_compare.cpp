// qm compare: the agreement of two strings.
#include <cstdio>
#include <iostream>
#include <memory>

#include "comparison/comparison.h"
#include "tool/tool.h"

namespace qm::tool {

void AddCompare(CLI::App& app, Tool& tool) {
  struct CompareArguments {
    std::string a;
    std::string b;
    std::int32_t parameter = 0;
  };
  const auto arguments = std::make_shared<CompareArguments>();
  CLI::App* command = AddCommand(app, tool, "compare", "print how far two strings agree, 0 to 1");
  command->add_option("A", arguments->a, "a string")->required();
  command->add_option("B", arguments->b, "another")->required();
  command->add_option("--parameter", arguments->parameter,
                      "0 Jaro-Winkler (default), 1 Jaro, 2 Winkler's full comparator, "
                      "3 edit distance for digits");
  command->callback([arguments, &tool] {
    tool.run = [arguments] {
      char text[32];
      std::snprintf(text, sizeof text, "%.6f",
                    CompareStrings(arguments->a, arguments->b, arguments->parameter));
      std::cout << text << '\n';
    };
  });
}

}  // namespace qm::tool
