// A record as the command line names it: its family and its identifier.
#pragma once

#include <qm/error.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tool/tool.h"

namespace qm::tool {

inline constexpr const char* kAbstractName = "abstract";
inline constexpr const char* kPatientName = "patient";
inline constexpr const char* kTumorName = "tumor";

/// The argument that names the family, one of those that the command knows.
inline void AddFamilyArgument(CLI::App& command, std::string& family,
                              const std::vector<std::string>& families) {
  std::string name;
  for (const std::string& each : families) name += (name.empty() ? "" : "|") + each;
  command.add_option(name, family, "the kind of record")
      ->required()
      ->check(CLI::IsMember(families))
      ->type_name("");
}

inline void AddRecordArguments(CLI::App& command, std::string& family, std::int32_t& id,
                               const std::vector<std::string>& families) {
  AddFamilyArgument(command, family, families);
  command.add_option("ID", id, "its identifier")->required()->type_name("");
}

/// No record has an identifier below 1; the library's operations give those another meaning.
[[noreturn]] inline void RaiseMissingRecord(const std::string& command, const std::string& family,
                                            std::int32_t id) {
  throw Error(kErrNoCurrentRecord, command, family + " " + std::to_string(id) + " does not exist");
}

}  // namespace qm::tool
