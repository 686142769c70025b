#include "Workload.h"

#include <array>
#include <random>

#include "Foundation/KLJSON.h"

namespace kaleo::bench {
namespace {

constexpr unsigned kRuleSeed = 20240506;
constexpr unsigned kEventSeed = 20240507;
constexpr std::array kCities{"Shanghai", "Beijing", "Shenzhen", "Hangzhou"};
constexpr std::array kWords{"summer", "winter", "dress", "shoes", "coffee", "laptop", "garden", "travel"};
constexpr int kTitleWords = 4;
constexpr int kAmounts = 1000;
constexpr int kBoundsApart = 500;
constexpr int kPriorities = 10;
constexpr std::size_t kLayoutBytes = 1850;  // brings 1,000 plans to 3 MB

// Not the distributions of the standard library, which differ from one to the next.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  int below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }
  template <class Choices>
  const char* oneOf(const Choices& choices) {
    return choices[static_cast<std::size_t>(below(static_cast<int>(choices.size())))];
  }

 private:
  std::mt19937 engine_;
};

std::string title(Dice& dice) {
  std::string text = dice.oneOf(kWords);
  for (int i = 1; i < kTitleWords; ++i) text.append(" ").append(dice.oneOf(kWords));
  return text;
}

KLValue eventRecord(Dice& dice, const std::string& name) {
  KLObject properties{{"$os", "Linux"},
                      {"$model", "Desk 3000"},
                      {kCity, dice.oneOf(kCities)},
                      {"$screen_width", 1080 + dice.below(1000)},
                      {"$app_version", "4.2.0"},
                      {kAmount, dice.below(kAmounts * 100) / 100.0},
                      {"$is_login", dice.below(2) == 1},
                      {kTitle, title(dice)},
                      {"channel", "search"},
                      {"event_duration", dice.below(10'000) / 1000.0}};
  return KLObject{{"event", name}, {"properties", std::move(properties)}, {"track_id", dice.below(1'000'000'000)}};
}

KLObject condition(const std::string& property, const char* function, KLValue::Array params) {
  return {{"field", "event." + property}, {"function", function}, {"params", std::move(params)}};
}

KLObject conditions(const Rule& rule) {
  return {{"relation", "AND"},
          {"conditions", KLValue::Array{condition(kCity, "equal", {rule.city}),
                                        condition(kAmount, "between", {std::to_string(rule.low), std::to_string(rule.high)}),
                                        condition(kTitle, "contain", {rule.word})}}};
}

KLObject answerObject(KLValue::Array plans) {
  return {{"user_id", "server-user"}, {"min_sdk_version_required", "0.1.0"}, {"popup_plans", std::move(plans)}};
}

// A text that looks like a popup's layout: nested JSON with colours, sizes and sentences.
std::string layout(const Rule& rule) {
  KLValue::Array children;
  std::string text;
  while (text.size() < kLayoutBytes) {
    children.push_back(KLObject{{"type", "label"},
                                {"properties", KLObject{{"text", "Save 20 % on your " + rule.word + " order today"},
                                                        {"color", "rgba(51,51,51,1)"},
                                                        {"fontSize", "16px"},
                                                        {"maxLines", 2}}}});
    text = KLJSON::serialize(KLObject{{"template", "modal"}, {"subviews", children}});
  }
  return text;
}

}  // namespace

std::string eventName(std::size_t index) { return "Event" + std::to_string(index); }

std::vector<Rule> makeRules(std::size_t count) {
  Dice dice(kRuleSeed);
  std::vector<Rule> rules;
  for (std::size_t i = 0; i < count; ++i) {
    Rule rule{static_cast<int>(i), dice.below(kPriorities), dice.oneOf(kCities), dice.below(kAmounts - kBoundsApart + 1)};
    rule.high = rule.low + kBoundsApart;
    rule.word = dice.oneOf(kWords);
    rules.push_back(std::move(rule));
  }
  return rules;
}

const std::vector<KLValue>& events() {
  static const std::vector<KLValue> all = [] {
    Dice dice(kEventSeed);
    std::vector<KLValue> records;
    for (std::size_t i = 0; i < kEvents; ++i)
      records.push_back(eventRecord(dice, eventName(static_cast<std::size_t>(dice.below(kEventNames)))));
    return records;
  }();
  return all;
}

std::vector<KLValue> eventsNamed(const std::string& name, std::size_t count) {
  Dice dice(kEventSeed);
  std::vector<KLValue> records;
  for (std::size_t i = 0; i < count; ++i) records.push_back(eventRecord(dice, name));
  return records;
}

KLObject planObject(const Rule& rule, const std::string& event) {
  const KLObject matcher{{"event_name", event},
                         {"params", KLValue::Array{1}},
                         {"window", KLObject{{"unit", "DAY"}, {"value", 1}}},
                         {"multi_filter", conditions(rule)}};
  return {{"plan_id", rule.planID},
          {"absolute_priority", rule.priority},
          {"cname", "Plan " + std::to_string(rule.planID)},
          {"is_audience", true},
          {"is_trigger", true},
          {"status", "ACTIVE"},
          {"expire_at", "99999999999999"},
          {"global_msg_limit_enabled", true},
          {"re_enter", KLObject{{"unit", "DAY"}, {"value", 1}, {"limit", 1}}},
          {"pattern_popup", KLObject{{"relation", "OR"}, {"matcher_list", KLValue::Array{matcher}}}},
          {"popup_window_content", KLObject{{"content", "{}"}}}};
}

KLValue answer(std::size_t plans, bool usesGlobalLimit) {
  KLValue::Array list;
  for (const Rule& rule : makeRules(plans)) list.push_back(planObject(rule, eventName(list.size() % kEventNames)));
  KLObject object = answerObject(std::move(list));
  const KLValue::Array limits{KLObject{{"unit", "DAY"}, {"value", 1}, {"limit", 3}}};
  object.set("msg_limit_global", KLObject{{"is_in_use", usesGlobalLimit}, {"limits", limits}});
  return object;
}

KLValue answerWithTenListening(std::size_t plans) {
  constexpr std::size_t kListening = 10;
  KLValue::Array list;
  for (const Rule& rule : makeRules(plans)) {
    const std::size_t index = list.size();
    list.push_back(planObject(rule, index < kListening ? eventName(0) : "Untracked" + std::to_string(index % kEventNames)));
  }
  return answerObject(std::move(list));
}

KLValue answerWithLayouts(std::size_t plans) {
  KLValue::Array list;
  for (const Rule& rule : makeRules(plans)) {
    KLObject plan = planObject(rule, eventName(list.size() % kEventNames));
    plan.set("popup_window_content", KLObject{{"content", layout(rule)}});
    list.push_back(std::move(plan));
  }
  return answerObject(std::move(list));
}

std::string largeAnswer() {
  constexpr std::size_t kPlans = 1000;
  return KLJSON::serialize(answerWithLayouts(kPlans));
}

}  // namespace kaleo::bench
