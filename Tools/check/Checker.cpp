#include "check/Checker.h"

#include <fmt/format.h>

#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"
#include "check/KnownKeys.h"
#include "check/LayoutRules.h"
#include "check/PlanRules.h"
#include "check/TimeRules.h"
#include "files/FileReading.h"
#include "json/JSONFault.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr double kShortPull = 10000;  // milliseconds

void checkDuplicates(const CheckedDocument& document, Findings& findings) {
  for (const std::string& pointer : document.duplicates()) {
    const auto name = pointer.substr(pointer.rfind('/') + 1);
    findings.add({Check::DuplicateKey, document.name(), document.placeOf(pointer), pointer,
                  fmt::format("\"{}\" stands here more than once.", name)});
  }
}

void checkAnswer(const At& root, Findings& findings) {
  checkKeys(root,
            {"min_sdk_version_required", "server_current_time", "config_pull_interval_ms", "popup_plans", "msg_limit_global",
             "popup_interval_global", "user_id", "diagnose_config"},
            findings);
  const At interval = root["config_pull_interval_ms"], version = root["min_sdk_version_required"];
  checkInteger(interval, findings);
  const auto milliseconds = quillon_integerValue(interval.value());
  if (milliseconds < static_cast<std::int64_t>(kShortPull)) {
    findings.report(Check::PullInterval, interval.isPresent() ? interval : root,
                    milliseconds <= 0 ? fmt::format("The pull interval is {}: the library keeps its own.", written(interval))
                                      : fmt::format("The pull interval is {} ms.", milliseconds));
  }
  const auto minimum = quillon_stringValue(version.value()).value_or("");
  if (quillon_compareVersion(minimum, kKLSDKVersion) > 0) {
    findings.report(Check::MinimumVersion, version,
                    fmt::format("This is version {}, and the minimum is {}.", kKLSDKVersion, minimum));
  }
  checkGlobalLimits(root["msg_limit_global"], findings);
  checkKeys(root["popup_interval_global"], {"unit", "natural", "value"}, findings);
  checkLength(root["popup_interval_global"], findings);
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
  } else {
    findings_.report(Check::NotAConfiguration, root, "This is no configuration, plan, popup window or layout.");
  }
}

void Checker::configuration(const At& root, const fs::path& file) {
  checkAnswer(root, findings_);
  if (!expectArray(root["popup_plans"], findings_)) return;
  const auto plans = root["popup_plans"].elements();
  for (const At& plan : plans) {
    checkPlan(plan, now_, findings_);
    if (plan.isObject()) window(plan["popup_window_content"], file);
  }
  checkLimitsAgainst(plans, root["msg_limit_global"], findings_);
  checkPlansTogether(plans, now_, findings_);
}

void Checker::window(const At& content, const fs::path& file) {
  const At type = content["popup_type"], text = content["content"], name = content["layout"];
  if (content.isGiven() && !expectObject(content, findings_)) return;
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
    findings_.report(Check::NoContent, content, fmt::format("The content is {}.", written(text)));
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
  if (const auto fault = findJSONFault(text)) {
    const auto sentence =
        fmt::format("{}{}.", fault->message,
                    at == nullptr ? "" : fmt::format(", in line {} of this text, column {}", fault->line, fault->column));
    if (at != nullptr) {
      findings_.report(Check::NotJSON, *at, sentence);
    } else {
      findings_.add({Check::NotJSON, name, {fault->line, fault->column}, "", sentence});
    }
    return;
  }
  const CheckedDocument document(name, text);
  findings_.setHolder(at);
  if (at == nullptr) checkDuplicates(document, findings_);
  inside(At(document));
  findings_.setHolder(nullptr);
}

}  // namespace kaleo::tools
