#include "check/ActionRules.h"

#include <fmt/format.h>

#include "Foundation/KLURL.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

bool isLink(const std::string& text) { return text.starts_with("{{base}}/") || KLURL::parse(text).has_value(); }

/// The payload of a known action that is neither close nor another one without any.
void checkValue(const At& action, const std::string& type, Findings& findings) {
  const At value = action["value"];
  const bool isEmpty = !value.isGiven() || (value.isText() && value.text().empty());
  if (type == "customize") {
    if (!isEmpty && !value.isObject()) {
      findings.report(Check::LostValue, value, fmt::format("{} does not reach the application.", written(value)));
    }
  } else if (isEmpty) {
    findings.report(Check::IdleAction, value, fmt::format("This {} action has no value.", type));
  } else if (!value.isText()) {
    findings.report(Check::WrongKind, value, fmt::format("{} should be a text.", written(value)));
  } else if (type == "openlink" && !isLink(value.text())) {
    findings.report(Check::BadURL, value, fmt::format("{} is no absolute URL.", written(value)));
  }
}

/// Whether the action closes the popup.
bool checkAction(const At& action, bool isFirst, Findings& findings) {
  checkKeys(action, {"id", "type", "value", "closeable", "copied_tip"}, findings);
  const std::string& type = action["type"].text();
  const bool closeable = checkBool(action["closeable"], findings);
  if (type != "close" && type != "openlink" && type != "copy" && type != "customize") {
    findings.report(Check::UnknownAction, action["type"],
                    fmt::format("The type of this action is {}: it does nothing{}", written(action["type"]),
                                didYouMean(type, {"close", "openlink", "copy", "customize"})));
    return false;
  }
  if (type == "close") {
    if (!closeable) findings.report(Check::IdleAction, action, "This close action is not closeable and does nothing.");
    return closeable;
  }
  checkValue(action, type, findings);
  if (type == "copy" && closeable) {
    findings.report(Check::CopyStaysOpen, action["closeable"], "The popup stays open after this copy action.");
  }
  if (!isFirst && type != "copy") {
    findings.report(Check::UnreportedAction, action, fmt::format("The application hears nothing of this {} action.", type));
  }
  return closeable && type != "copy";
}

}  // namespace

CheckedActions checkActions(const At& holder, Findings& findings) {
  CheckedActions found;
  if (!holder.isGiven()) return found;
  const At list = holder["IOS"];
  found.isList = expectObject(holder, findings) && (!list.isGiven() || expectArray(list, findings));
  for (const At& action : list.elements()) {
    if (!expectEntry(action, findings)) continue;
    found.closes = checkAction(action, !found.any, findings) || found.closes;
    found.any = true;
  }
  return found;
}

}  // namespace kaleo::tools
