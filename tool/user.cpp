#include "tool/user.h"

#include <qm/error.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "runtime/text.h"

#ifndef _WIN32
#include <pwd.h>
#include <unistd.h>
#endif

namespace qm::tool {

namespace {

// A holder's name is put into the statement that looks for his full name: a name with a quote would
// make a lock that nobody can be told of.
bool IsUserName(std::string_view name) {
  return !name.empty() && Trim(name) == name && IsValidUtf8(name) &&
         std::none_of(name.begin(), name.end(),
                      [](unsigned char c) { return c < 0x20U || c == 0x7fU || c == '\''; });
}

std::string LoginName() {
#ifdef _WIN32
  constexpr std::array kVariables = {"USERNAME"};
#else
  constexpr std::array kVariables = {"USER", "LOGNAME"};
#endif
  for (const char* variable : kVariables) {
    const char* name = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): set by nobody
    if (name != nullptr && IsUserName(name)) return name;
  }
#ifndef _WIN32
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
      IsUserName(found->pw_name)) {
    return found->pw_name;
  }
#endif
  return {};
}

}  // namespace

void AddUserOption(CLI::App& command, Tool& tool) {
  command
      .add_option("--user", tool.settings.user,
                  "the user in whose name this is done; default: the login name")
      ->type_name("NAME")
      ->check([](const std::string& name) {
        return IsUserName(name) ? std::string()
                                : std::string("a name without quotes and outer blanks is expected");
      });
}

std::string UserName(const Settings& settings) {
  return settings.user.empty() ? LoginName() : settings.user;
}

void RequireUser(const Settings& settings, const std::string& command) {
  if (!UserName(settings).empty()) return;
  throw Error(kErrBadArgument, command, "the system tells no login name; --user NAME is needed");
}

}  // namespace qm::tool
