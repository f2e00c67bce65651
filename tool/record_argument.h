// A record as the command line names it: its family and its identifier.
#pragma once

#include <qm/error.h>

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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

/// The identifier that a text of digits alone stands for; none below 1.
inline std::optional<std::int32_t> ParseIdentifier(std::string_view text) {
  std::int32_t id = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (fault != std::errc() || end != text.data() + text.size() || id < 1) return std::nullopt;
  return id;
}

/// A check of the command line.
inline std::string IsIdentifier(const std::string& argument) {
  return ParseIdentifier(argument) ? "" : "an identifier, a whole number from 1 on, is expected";
}

/// No record has an identifier below 1; the library's operations give those another meaning.
[[noreturn]] inline void RaiseMissingRecord(const std::string& command, const std::string& family,
                                            std::int32_t id) {
  throw Error(kErrNoCurrentRecord, command, family + " " + std::to_string(id) + " does not exist");
}

}  // namespace qm::tool
