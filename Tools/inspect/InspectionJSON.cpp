#include <utility>

#include "Foundation/KLJSON.h"
#include "inspect/HoldingBack.h"
#include "inspect/Inspection.h"
#include "inspect/WindowList.h"

namespace kaleo::tools {
namespace {

KLValue arrayOf(const std::vector<std::string>& texts) { return KLValue::Array(texts.begin(), texts.end()); }

KLValue orNull(const std::optional<double>& number) { return number ? KLValue(*number) : KLValue(); }

/// What a program sees of a value that is not there, cannot be decrypted, or is damaged.
template <class Value, class Document>
KLValue documentOf(const Stored<Value>& stored, Document&& document) {
  if (const Value* const value = stored.get()) return document(*value);
  if (!stored.isUnreadable()) return {};
  return KLObject{{"unreadable", stored.state == Stored<Value>::State::Locked ? "encrypted" : "damaged"}};
}

class Writer {
 public:
  explicit Writer(const Inspection& inspection) : inspection_(inspection), now_(inspection.time.clock.now()) {}

  std::string write() const {
    const StoredState& state = inspection_.state;
    KLValue::Array users;
    for (const StoredUser& user : state.users) users.push_back(documentOf(user));
    return KLJSON::serialize(KLObject{{"file", inspection_.file.string()},
                                      {"read_at", now_},
                                      {"schema_version", state.schemaVersion},
                                      {"encrypted_rows", static_cast<std::int64_t>(state.encryptedRows)},
                                      {"encrypted_values_not_read", static_cast<std::int64_t>(state.faults.lockedValues)},
                                      {"damaged_values", static_cast<std::int64_t>(state.faults.damagedValues)},
                                      {"damage", state.faults.damage.empty() ? KLValue() : KLValue(state.faults.damage)},
                                      {"remarks", arrayOf(inspection_.remarks)},
                                      {"users", std::move(users)}},
                             KLJSON::Style::Pretty) +
           "\n";
  }

 private:
  static KLValue documentOf(const StoredId& id) { return id.isLocked ? KLObject{{"encrypted", id.text}} : KLValue(id.text); }

  KLValue documentOf(const StoredUser& user) const {
    KLValue::Array names, plans, windows;
    for (const StoredName& name : user.names) {
      names.emplace_back(KLObject{{"distinct_id", documentOf(name.distinctId)}, {"saved_at", name.savedAt}});
    }
    if (user.config.get()) {
      for (const auto& plan : (*user.config.get())->popupPlanModels) plans.push_back(documentOf(*plan, user));
    }
    for (const StoredPlan& plan : user.plans) {
      for (const ListedWindow& window : windowsOf(plan, user.modelOf(plan))) windows.push_back(documentOf(plan, window));
    }
    return KLObject{
        {"project", user.project},
        {"user_id", documentOf(user.id)},
        {"known_as", std::move(names)},
        {"last_change", user.changedAt == 0 ? KLValue() : KLValue(user.changedAt)},
        {"configuration", tools::documentOf(user.config,
                                            [](const auto& config) {
                                              return KLObject{{"plans", static_cast<std::int64_t>(config->popupPlanModels.size())}};
                                            })},
        {"global_interval", tools::documentOf(user.globalInterval, [&](const auto& window) { return spanOf(window); })},
        {"popups_shown_at",
         tools::documentOf(user.displays, [](const auto& times) { return KLValue::Array(times.begin(), times.end()); })},
        {"plans", std::move(plans)},
        {"windows", std::move(windows)}};
  }

  KLObject spanOf(const KLPlanAbstractWindow& window) const {
    return {{"start", window.startTime}, {"end", window.endTime}, {"running", !window.isFinished(now_)}};
  }

  KLValue documentOf(const KLPopupPlanModel& plan, const StoredUser& user) const {
    KLValue::Array holds;
    for (const Hold& hold : holdsOf(plan, user, user.windowsOf(plan), inspection_.time)) {
      KLObject held{{"reason", nameOf(hold.reason)}, {"until", orNull(hold.until)}};
      if (hold.reason == HoldReason::GlobalLimit || hold.reason == HoldReason::ReEntry) {
        held.set("count", hold.count);
        held.set("limit", hold.limit);
      }
      holds.emplace_back(std::move(held));
    }
    return KLObject{{"plan_id", plan.planKey()},
                    {"name", plan.cname.value_or("")},
                    {"priority", plan.absolutePriority},
                    {"status", plan.status.value_or("")},
                    {"held_back_by", std::move(holds)}};
  }

  KLValue documentOf(const StoredPlan& plan, const ListedWindow& window) const {
    KLObject document{{"plan_id", documentOf(plan.id)}, {"kind", nameOf(window.kind)}};
    if (!window.isReadable) {
      document.set("unreadable", window.isLocked ? "encrypted" : "damaged");
      return document;
    }
    for (const auto& [key, value] : spanOf(window.span)) document.set(key, value);
    if (window.matcher) document.set("matcher", static_cast<std::int64_t>(*window.matcher));
    if (window.event) document.set("event", *window.event);
    if (window.count) document.set("count", *window.count);
    if (window.limit) document.set(window.kind == ListedWindow::Kind::Trigger ? "needed" : "limit", *window.limit);
    if (window.kind == ListedWindow::Kind::Convert) document.set("popup_display_uuid", window.uuid);
    return document;
  }

  const Inspection& inspection_;
  const double now_;
};

}  // namespace

std::string inspectionJSON(const Inspection& inspection) { return Writer(inspection).write(); }

}  // namespace kaleo::tools
