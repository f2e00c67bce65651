#include "tool/layouts.h"

#include <charconv>

namespace qm::tool {

namespace {

std::string IsVersion(const std::string& version) {
  int number = 0;
  const char* end = version.data() + version.size();
  const auto [rest, failure] = std::from_chars(version.data(), end, number);
  const bool valid = failure == std::errc() && number >= 0 && number < kNewestVersion &&
                     (rest == end || *rest == '.');
  return valid ? "" : "a version such as 18 or 11.3 is expected";
}

}  // namespace

void AddLayoutOption(CLI::App& command, std::string& version) {
  command
      .add_option("--layout", version,
                  "version of the record layout (11.3, 12, ... 18); default: the newest")
      ->type_name("VERSION")
      ->check(IsVersion);
}

std::shared_ptr<NAACCRLayout> LoadLayout(Tool& tool, QMDataSets& data_sets,
                                         const std::string& version, std::string_view order_by) {
  tool.doing = [name = version.empty() ? std::string() : " " + version] {
    return "loading layout" + name + " from the control database";
  };
  const auto number =
      version.empty() ? kNewestVersion : static_cast<std::uint16_t>(std::stoi(version));
  auto layout = data_sets.GetNAACCRLayout(number, order_by);
  tool.doing = nullptr;
  return layout;
}

}  // namespace qm::tool
