// What the words of a rule tell without any record.
#include <algorithm>
#include <cctype>

#include <qm/conversions.h>
#include <qm/error.h>

#include "matching/match_field.h"
#include "matching/rule_check.h"
#include "runtime/text.h"

namespace qm {

namespace {

// Words of the language itself, which stand for no value that could be asked for.
constexpr std::string_view kKeywords[] = {"And",  "Or",   "Not",   "Xor",      "Eqv",
                                          "Imp",  "Mod",  "Is",    "Nothing",  "Empty",
                                          "Null", "True", "False", "Functions"};

bool IsWordCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return std::isalnum(byte) != 0 || c == '_' || byte >= 0x80U;
}

// An undeclared name is Empty; a function asked for without its arguments is an error.
bool IsUnknown(const std::string& name) {
  const bool keyword = std::ranges::any_of(
      kKeywords, [&](std::string_view word) { return EqualsIgnoreCase(word, name); });
  if (keyword) return false;
  try {
    return ToBool(MatchScriptEngine().Eval("IsEmpty(" + name + ")"));
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

std::vector<std::string> FieldsOf(std::string_view expression) {
  std::vector<std::string> fields;
  std::string_view rest = expression;
  for (std::size_t close; (close = rest.find(">>")) != std::string_view::npos;
       rest.remove_prefix(close + 2)) {
    const std::size_t open = rest.substr(0, close).rfind("<<");
    if (open == std::string_view::npos) continue;
    std::string name(rest.substr(open + 2, close - open - 2));
    if (!ContainsName(fields, name)) fields.push_back(std::move(name));
  }
  if (fields.empty() && expression.find('(') == std::string_view::npos) {
    fields.emplace_back(expression);
  }
  return fields;
}

ScriptWords WordsOf(std::string_view expression) {
  ScriptWords words;
  std::size_t i = 0;
  const auto skip_past = [&](std::string_view end) {
    i = std::min(expression.find(end, i + 1), expression.size() - end.size()) + end.size();
  };
  while (i < expression.size()) {
    const char c = expression[i];
    if (c == '"') {
      skip_past("\"");
    } else if (c == '#' && expression.find('#', i + 1) != std::string_view::npos) {
      skip_past("#");
    } else if (expression.substr(i).starts_with("<<") &&
               expression.find(">>", i) != std::string_view::npos) {
      skip_past(">>");
    } else if (c == '[' && expression.find(']', i) != std::string_view::npos) {
      skip_past("]");
    } else if (c == '\'') {
      words.remark = true;
      break;
    } else if (IsWordCharacter(c)) {
      const std::size_t begin = i;
      while (i < expression.size() && IsWordCharacter(expression[i])) ++i;
      std::string name(expression.substr(begin, i - begin));
      const bool member =
          begin > 0 && (expression[begin - 1] == '.' || expression[begin - 1] == '&');
      const bool number = std::isdigit(static_cast<unsigned char>(c)) != 0;
      // A call of what is unknown fails, which trying it on records tells.
      const std::size_t next = expression.find_first_not_of(" \t", i);
      const bool called = next != std::string_view::npos && expression[next] == '(';
      if (!member && !number && !called && !ContainsName(words.unknown, name) && IsUnknown(name)) {
        words.unknown.push_back(std::move(name));
      }
    } else {
      ++i;
    }
  }
  return words;
}

bool StandsAlone(std::string_view list, std::string_view value) {
  for (std::size_t at = list.find(value); at != std::string_view::npos;
       at = list.find(value, at + 1)) {
    const std::size_t end = at + value.size();
    const bool begins = at == 0 || !IsWordCharacter(list[at - 1]);
    const bool ends = end == list.size() || !IsWordCharacter(list[end]);
    if (begins && ends) return true;
  }
  return false;
}

const std::vector<std::string>& CandidateColumns() {
  static const std::vector<std::string> columns = {"PatientID",  "soundex",   "race1",
                                                   "sex",        "lastname",  "firstname",
                                                   "middlename", "birthdate", "socsec"};
  return columns;
}

const std::vector<std::string>& RemoteColumns() {
  static const std::vector<std::string> columns = {
      "race1", "sex", "lastname", "firstname", "middlename", "birthdate", "socsec"};
  return columns;
}

}  // namespace qm
