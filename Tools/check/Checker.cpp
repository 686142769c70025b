#include "check/Checker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "Core/Model/KLFieldTable.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"
#include "check/KnownKeys.h"
#include "check/LayoutRules.h"
#include "check/PlanRules.h"
#include "check/TimeRules.h"
#include "files/FileReading.h"
#include "json/JSONFault.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kShortPull = 10'000, kLongPull = 7 * 86'400'000;  // milliseconds

void checkDuplicates(const CheckedDocument& document, Findings& findings) {
  for (const auto& [pointer, name, count] : document.duplicates()) {
    findings.report(Check::DuplicateKey, document, pointer,
                    fmt::format("{} stands {} in this object: this last one counts.", quoted(std::string_view(name)),
                                count == 2 ? "twice" : fmt::format("{} times", count)));
  }
}

void checkPull(const At& interval, Findings& findings) {
  if (checkInteger(interval, findings)) return;
  const auto milliseconds = quillon_integerValue(interval.value());
  if (milliseconds <= 0) {
    findings.report(Check::PullInterval, interval,
                    fmt::format("The pull interval is {}: the library keeps its own.", written(interval)));
  } else if (milliseconds < kShortPull) {
    findings.report(Check::ShortPull, interval,
                    fmt::format("The pull interval is {} ms: the library asks the server every {}.", milliseconds,
                                TimeText::length(static_cast<double>(std::max<std::int64_t>(milliseconds / 1000, 1)))));
  } else if (milliseconds > kLongPull) {
    findings.report(Check::PullInterval, interval,
                    fmt::format("The library asks for a new configuration every {} only.",
                                TimeText::length(static_cast<double>(milliseconds) / 1000)));
  }
}

void checkVersion(const At& version, Findings& findings) {
  const auto minimum = quillon_stringValue(version.value()).value_or("");
  if (version.isGiven() && !version.isText()) {
    findings.report(Check::WrongKind, version, fmt::format("{} should be a text.", written(version)));
  } else if (minimum.find_first_not_of("0123456789.") != std::string::npos) {
    findings.report(Check::NotANumber, version,
                    fmt::format("{} is no version such as \"0.7.3\": of each part only the digits before anything else count.",
                                written(version)));
  }
  if (quillon_compareVersion(minimum, kKLSDKVersion) > 0) {
    findings.report(Check::MinimumVersion, version,
                    fmt::format("This is version {}, and the minimum is {}.", kKLSDKVersion, minimum));
  }
}

/// What the library sends of its records, see docs/diagnosis.md.
void checkDiagnosis(const At& condition, Findings& findings) {
  if (!condition.isGiven() || !expectObject(condition, findings)) return;
  checkKeys(condition, {"requests", "user_ids", "distinct_ids", "plan_ids", "start_time", "end_time", "limit"}, findings);
  for (const char* list : {"requests", "user_ids", "distinct_ids", "plan_ids"}) expectArray(condition[list], findings);
  for (const At& request : condition["requests"].elements()) {
    const std::string& kind = request.text();
    if (kind == "report_user_diagnose_logs" || kind == "fetch_popup_configs" || kind == "test_popup_window") continue;
    findings.report(Check::UnknownKey, request, fmt::format("{} is no kind of request.", written(request)));
  }
  for (const char* number : {"start_time", "end_time", "limit"}) checkInteger(condition[number], findings);
}

const std::initializer_list<std::string_view> kAnswerKeys{"min_sdk_version_required",
                                                          "server_current_time",
                                                          "config_pull_interval_ms",
                                                          "popup_plans",
                                                          "msg_limit_global",
                                                          "popup_interval_global",
                                                          "user_id",
                                                          "diagnose_config"};

void checkAnswer(const At& root, Findings& findings) {
  checkKeys(root, kAnswerKeys, findings);
  checkPull(root["config_pull_interval_ms"], findings);
  checkVersion(root["min_sdk_version_required"], findings);
  checkGlobalLimits(root["msg_limit_global"], findings);
  checkQuietPeriod(root["popup_interval_global"], "no popup waits after another.", findings);
  checkDiagnosis(root["diagnose_config"], findings);
}

/// What a person took for the whole document: the configuration in it, of an array or under another name. "" when there is none.
std::string configurationInside(const At& root) {
  if (!root.value()->isArray() && !root.isObject()) return "";
  std::vector<At> candidates = root.elements();
  for (const auto& [key, value] : root.value()->asObject()) candidates.push_back(root[key]);
  const auto found = std::ranges::find_if(candidates, [](const At& each) { return each["popup_plans"].isPresent(); });
  return found == candidates.end() ? "" : found->pointer();
}

}  // namespace

void Checker::check(const fs::path& file, const std::string& text) {
  within(file.string(), text, nullptr, [this, &file](const At& root) { document(root, file); });
}

void Checker::document(const At& root, const fs::path& file) {
  if (root["popup_plans"].isPresent()) {
    configuration(root, file);
  } else if (root["template"].isPresent()) {
    checkLayout(root, findings_);
  } else if (root["pattern_popup"].isPresent() || root["plan_id"].isPresent()) {
    checkPlan(root, now_, findings_);
    window(root["popup_window_content"], file);
  } else if (root["content"].isPresent() || root["layout"].isPresent()) {
    window(root, file);
  } else if (std::ranges::any_of(kAnswerKeys, [&root](std::string_view key) { return root[key].isPresent(); })) {
    checkAnswer(root, findings_);
    findings_.report(Check::NotAConfiguration, root, "There is no \"popup_plans\": the library reads no plan.");
  } else if (const std::string inside = configurationInside(root); !inside.empty()) {
    findings_.report(Check::NotAConfiguration, root,
                     fmt::format("The configuration is inside, at {}, where the library does not look.", inside));
  } else {
    findings_.report(Check::NotAConfiguration, root, "This is no configuration, plan, popup window or layout.");
  }
}

void Checker::configuration(const At& root, const fs::path& file) {
  checkAnswer(root, findings_);
  const At list = root["popup_plans"];
  if (!list.value()->isArray()) {
    findings_.report(Check::NotAConfiguration, list,
                     fmt::format("{} should be an array: the library reads no plan.", written(list)));
  }
  const auto plans = list.elements();
  if (plans.size() > KLParseContext::kMaxPlans) {
    findings_.report(Check::BeyondBounds, list,
                     fmt::format("Of these {} plans the first {} are read.", plans.size(), KLParseContext::kMaxPlans));
  }
  for (const At& plan : plans) {
    checkPlan(plan, now_, findings_);
    if (plan.isObject()) window(plan["popup_window_content"], file);
  }
  checkLimitsAgainst(plans, root["msg_limit_global"], findings_);
  checkPlansTogether(plans, now_, findings_);
}

void Checker::window(const At& content, const fs::path& file) {
  const At type = content["popup_type"], text = content["content"], name = content["layout"];
  if (content.isGiven() && !content.isObject()) {
    findings_.report(Check::NoContent, content, fmt::format("{} should be an object with a \"content\".", written(content)));
    return;
  }
  if (type.isGiven() && type.text() != "PRESET" && type.text() != "CUSTOMIZED") {
    findings_.report(Check::UnknownPopupType, type, fmt::format("{} is shown by the library.", written(type)));
  }
  if (type.text() == "CUSTOMIZED") {  // the application reads its content
    if (!text.isGiven() && !name.isText())
      findings_.report(Check::NoContent, content, "There is no \"content\" for the application.");
    return;
  }
  if (name.isText()) return layoutFile(name, file);
  if (!text.isText()) {
    findings_.report(Check::NoContent, text,
                     text.isObject() ? "The content is an object; the library reads the text of one."
                                     : fmt::format("The content is {}.", written(text)));
    return;
  }
  within(file.string(), text.text(), &text, [this](const At& layout) { checkLayout(layout, findings_); });
}

void Checker::layoutFile(const At& name, const fs::path& file) {
  std::string error;
  for (const fs::path& folder : {file.parent_path(), file.parent_path().parent_path()}) {
    const fs::path layout = folder / "layouts" / name.text();
    if (const auto text = readText(layout, error)) {
      within(layout.string(), *text, nullptr, [this](const At& root) { checkLayout(root, findings_); });
      return;
    }
  }
  findings_.report(Check::NoContent, name, fmt::format("There is no layouts/{} beside this file.", name.text()));
}

void Checker::within(const std::string& name, const std::string& text, const At* at, const std::function<void(const At&)>& inside) {
  if (auto fault = findJSONFault(text)) {
    fault->message[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(fault->message[0])));
    if (at != nullptr) {
      findings_.reportWithin(Check::NotJSON, *at, fault->offset,
                             fmt::format("{}, in line {} of this text, column {}.", fault->message, fault->line, fault->column));
    } else {
      findings_.add({Check::NotJSON, name, {fault->line, fault->column}, "", fault->message + "."});
    }
    return;
  }
  const CheckedDocument document(name, text);
  findings_.setHolder(at);
  checkDuplicates(document, findings_);
  inside(At(document));
  findings_.setHolder(at);
  findings_.close(document);
  findings_.setHolder(nullptr);
}

}  // namespace kaleo::tools
