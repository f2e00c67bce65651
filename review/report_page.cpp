#include <qm/report_page.h>

#include <qm/conversions.h>
#include <qm/data_sets.h>
#include <qm/error.h>
#include <qm/linker.h>
#include <qm/matcher.h>
#include <qm/qm_connection.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "datasets/import_digest.h"
#include "matching/candidate_search.h"
#include "matching/matching_state.h"
#include "review/declined_pairs.h"
#include "review/report_assets.h"
#include "review/report_fields.h"
#include "review/report_json.h"
#include "runtime/path_text.h"
#include "runtime/private_file.h"

namespace qm {

namespace {

constexpr std::int32_t kFileExists = 58;

std::string Whole(TextPieces pieces) {
  std::string text;
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

std::string Base64OfHex(std::string_view hex) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bits;
  for (const char digit : hex) {
    const int value = digit <= '9' ? digit - '0' : digit - 'a' + 10;
    for (const int bit : {8, 4, 2, 1}) bits += (value & bit) != 0 ? '1' : '0';
  }
  std::string text;
  for (std::size_t i = 0; i < bits.size(); i += 6) {
    std::string group = bits.substr(i, 6);
    group.resize(6, '0');
    text += kDigits[std::stoul(group, nullptr, 2)];
  }
  text.resize((text.size() + 3) / 4 * 4, '=');
  return text;
}

// How a content policy names a text that may stand in the document.
std::string PolicyHash(std::string_view text) {
  Digest digest;
  digest.Update(text);
  return "'sha256-" + Base64OfHex(digest.Finish()) + "'";
}

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
#ifdef _WIN32
  localtime_s(&parts, &now);
#else
  localtime_r(&now, &parts);
#endif
  char text[32];
  return {text, std::strftime(text, sizeof text, "%m/%d/%Y %H:%M", &parts)};
}

void AppendFields(std::string& json, const char* name, const std::vector<ReportField>& fields) {
  json.append("\"").append(name).append("\":[");
  for (const ReportField& field : fields) {
    if (json.back() != '[') json += ',';
    AppendJson(json, {field.group, field.label, field.kind});
  }
  json += "],\n";
}

// What the rules did: [added, agreement or -1 when skipped, value, value] each.
void AppendRules(std::string& json, const std::vector<RuleScore>& rules) {
  json += '[';
  for (const RuleScore& rule : rules) {
    if (json.back() != '[') json += ',';
    json.append("[").append(std::to_string(rule.added)).append(",");
    json.append(std::to_string(rule.skipped ? -1 : rule.agreement)).append(",");
    AppendJson(json, rule.abstract_value);
    json += ',';
    AppendJson(json, rule.patient_value);
    json += ']';
  }
  json += ']';
}

// The data of the page, written as it is found. Their digest names the report, so that a report of
// the same pairs takes up the decisions that a browser keeps.
class ReportData {
 public:
  ReportData(std::ostream& out, const ReportOptions& options)
      : out_(out),
        options_(options),
        registry_(QMConnection().Registry()),
        matching_(options.matching ? options.matching : registry_),
        cutoff_(options.cutoff.value_or(CurrentMatching().cutoff_score)) {
    const auto layout = data_sets_.GetNAACCRLayout();
    person_ = PersonFields(*layout);
    tumor_ = TumorFields(*layout);
    origin_ = OriginFields(*layout);
  }

  ReportSummary Write() {
    WriteHead();
    const std::vector<std::int32_t> ids = Linker().UnlinkedAbstracts();
    std::int64_t done = 0;
    for (const std::int32_t id : ids) {
      if (options_.progress) options_.progress(id, done++, static_cast<std::int64_t>(ids.size()));
      WriteAbstract(id);
    }
    WriteTail();
    return summary_;
  }

 private:
  void Emit(std::string_view text) {
    digest_.Update(text);
    out_ << text;
  }

  void WriteHead() {
    std::string json = "{";
    AppendFields(json, "person", person_);
    AppendFields(json, "tumor", tumor_);
    AppendFields(json, "origin", origin_);
    json += "\"rules\":[";
    for (const MatchRule& rule : CurrentMatching().rules) {
      if (json.back() != '[') json += ',';
      AppendJson(json, rule.alias_name.empty() ? rule.field_expression : rule.alias_name);
    }
    json += "],\n\"cutoff\":" + std::to_string(cutoff_) + ",\n\"abstracts\":[";
    Emit(json);
  }

  // All candidates are counted, those at the cut-off that nobody declined are shown, in the order
  // of their identifiers, which tells nothing of their scores.
  std::vector<Candidate> Candidates(std::int32_t id, const Recordset& abstract) {
    CandidateOptions search;
    search.escape_quotes = true;
    search.cutoff = std::numeric_limits<std::int16_t>::min();
    search.explain = true;
    std::vector<Candidate> candidates = FindCandidates(matching_, abstract, search);
    for (const Candidate& candidate : candidates) ++histogram_[candidate.match.score];
    const std::set<std::int32_t> declined = DeclinedPatients(id);
    std::erase_if(candidates, [&](const Candidate& candidate) {
      return candidate.match.score < cutoff_ || declined.contains(candidate.match.patient_id);
    });
    std::ranges::sort(candidates, {}, [](const Candidate& c) { return c.match.patient_id; });
    return candidates;
  }

  void WriteAbstract(std::int32_t id) {
    Abstract abstract = data_sets_.GetAbstract(id);
    const std::vector<Candidate> candidates = Candidates(id, *abstract.Recordset(1));
    if (candidates.empty()) {
      ++summary_.unmatched;
      return;
    }
    std::string json = summary_.abstracts == 0 ? "\n" : ",\n";
    json.append("{\"id\":").append(std::to_string(id)).append(",\"person\":");
    AppendJson(json, ReportValues(abstract, person_));
    json += ",\"tumor\":";
    AppendJson(json, ReportValues(abstract, tumor_));
    json += ",\"origin\":";
    AppendJson(json, ReportValues(abstract, origin_));
    json += ",\"pairs\":[";
    for (const Candidate& candidate : candidates) {
      if (json.back() != '[') json += ',';
      AppendPair(json, candidate);
      ++summary_.pairs;
    }
    ++summary_.abstracts;
    Emit(json + "]}");
  }

  void AppendPair(std::string& json, const Candidate& candidate) {
    const std::int32_t id = candidate.match.patient_id;
    json.append("\n {\"patient\":").append(std::to_string(id)).append(",\"score\":");
    json.append(std::to_string(candidate.match.score)).append(",\"person\":");
    Patient patient = data_sets_.GetPatient(id);
    // Candidates of another database may be unknown to the registry.
    AppendJson(json, patient.Eof() ? std::vector<std::string>(person_.size())
                                   : ReportValues(patient, person_));
    json += ",\"tumors\":[";
    for (Tumor tumor = data_sets_.GetTumor(kNoId, id); !tumor.Eof(); tumor.MoveNext()) {
      if (json.back() != '[') json += ',';
      AppendJson(json, ReportValues(tumor, tumor_));
    }
    json += "],\"rules\":";
    AppendRules(json, candidate.rules);
    json += '}';
  }

  void WriteTail() {
    std::string json = "],\n\"unmatched\":" + std::to_string(summary_.unmatched);
    json += ",\"histogram\":[";
    for (const auto& [score, count] : histogram_) {
      if (json.back() != '[') json += ',';
      json += "[" + std::to_string(score) + "," + std::to_string(count) + "]";
    }
    Emit(json + "]");
    out_ << ",\n\"id\":\"" << digest_.Finish() << "\",\"made\":\"" << Now() << "\"}";
  }

  std::ostream& out_;
  const ReportOptions& options_;
  QMDataSets data_sets_;
  std::shared_ptr<Connection> registry_;
  std::shared_ptr<Connection> matching_;
  std::int16_t cutoff_;
  std::vector<ReportField> person_;
  std::vector<ReportField> tumor_;
  std::vector<ReportField> origin_;
  std::map<std::int16_t, std::int64_t> histogram_;
  Digest digest_;
  ReportSummary summary_;
};

}  // namespace

ReportSummary WriteReportPage(const std::filesystem::path& file, const ReportOptions& options) {
  if (!options.replace && std::filesystem::exists(file)) {
    throw Error(kFileExists, "QMDataObjects2", "File already exists: " + PathText(file));
  }
  const std::string style = Whole(ReportStyle());
  const std::string script = Whole(ReportScript());
  PrivateFile page(file);
  std::ostream& out = page.Stream();
  ReportSummary summary;
  const std::string document = Whole(ReportDocument());
  std::string_view rest = document;
  for (std::size_t mark = rest.find("{{"); mark != std::string_view::npos; mark = rest.find("{{")) {
    out << rest.substr(0, mark);
    const std::size_t end = rest.find("}}", mark);
    const std::string_view name = rest.substr(mark + 2, end - mark - 2);
    if (name == "policy") {
      out << "default-src 'none'; style-src " << PolicyHash(style) << "; script-src "
          << PolicyHash(script) << "; base-uri 'none'; form-action 'none'";
    } else if (name == "style") {
      out << style;
    } else if (name == "script") {
      out << script;
    } else {
      summary = ReportData(out, options).Write();
    }
    rest.remove_prefix(end + 2);
  }
  out << rest;
  page.Commit();
  return summary;
}

}  // namespace qm
