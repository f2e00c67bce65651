#include "matching/derived_values.h"

#include <algorithm>
#include <exception>
#include <string>
#include <thread>
#include <utility>

#include <qm/error.h>

#include "matching/match_scorer.h"
#include "runtime/text.h"

namespace qm {

namespace {

constexpr std::size_t kAtOnce = 65536;
constexpr std::size_t kWorthAThread = 2048;

// Whether the text is its own compared form.
bool IsCompared(std::string_view text) {
  return text.size() <= kComparedCharacters && (text.empty() || text.back() != ' ') &&
         std::ranges::none_of(text, [](char c) {
           return c == '\'' || (c >= 'a' && c <= 'z') ||
                  (static_cast<unsigned char>(c) & 0x80U) != 0;
         });
}

struct Result {
  std::string text;
  bool failed = false;
};

void Evaluate(RuleExpression expression, const PatientRows::Column& column,
              std::span<const PatientRows::Code> values, std::span<Result> results) {
  std::vector<std::string> fields(expression.fields().size());
  std::string value;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!fields.empty()) fields[0] = column.Text(values[i]);
    try {
      if (!expression.Evaluate(fields, ValueText::kEscaped, MatchScriptEngine(), value)) {
        std::string rewritten = expression.text();
        value = EvaluateExpression(
            rewritten, [&](std::string_view) { return fields[0]; }, ValueText::kEscaped);
        value = value.substr(1, value.size() - 2);
      }
      MakeCompared(value, results[i].text);
    } catch (const Error&) {
      results[i].failed = true;
    }
  }
}

}  // namespace

void DerivedValues::NoteIndented(std::string_view text, Code code) {
  if (!text.empty() && text.front() == ' ') indented_.push_back(code);
}

void DerivedValues::Extend(const PatientRows::Column& column, std::span<const Code> values,
                           int threads) {
  std::vector<Code> fresh;
  seen_.resize(column.Limit());
  for (const Code code : values) {
    if (seen_[code]) continue;
    seen_[code] = true;
    fresh.push_back(code);
  }
  if (fresh.empty()) return;
  ++version_;
  if (same_) {
    const auto is_compared = [&](Code code) { return IsCompared(column.Text(code)); };
    if (std::ranges::all_of(fresh, is_compared)) {
      for (const Code code : fresh) NoteIndented(column.Text(code), code);
      return;
    }
    same_ = false;
    indented_.clear();
    fresh.clear();
    for (Code code = 0; code < seen_.size(); ++code) {
      if (seen_[code]) fresh.push_back(code);
    }
  }
  of_value_.resize(column.Limit(), 0);
  Derive(column, std::move(fresh), threads);
}

void DerivedValues::Derive(const PatientRows::Column& column, std::vector<Code> values,
                           int threads) {
  std::vector<Result> results;
  for (std::size_t from = 0; from < values.size(); from += kAtOnce) {
    const auto some = std::span(values).subspan(from, std::min(kAtOnce, values.size() - from));
    results.assign(some.size(), {});
    std::exception_ptr error;
    const std::size_t half = threads > 1 && some.size() > kWorthAThread ? some.size() / 2 : 0;
    {
      std::jthread other;
      if (half != 0) {
        other = std::jthread([&, half] {
          try {
            Evaluate(expression_, column, some.first(half), std::span(results).first(half));
          } catch (...) {
            error = std::current_exception();
          }
        });
      }
      Evaluate(expression_, column, some.subspan(half), std::span(results).subspan(half));
    }
    if (error) std::rethrow_exception(error);
    for (std::size_t i = 0; i < some.size(); ++i) {
      const Result& result = results[i];
      Code code = result.failed ? kFailed : 0;
      if (result.failed) any_failed_ = true;
      if (!result.text.empty() && !result.failed) {
        const std::size_t known = texts_.size();
        code = texts_.Add(result.text) + 1;
        if (texts_.size() != known) NoteIndented(result.text, code);
      }
      of_value_[some[i]] = code;
    }
  }
}

}  // namespace qm
