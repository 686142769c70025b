#include "serve/UploadedDecisions.h"

#include <string>
#include <string_view>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLUTF8.h"
#include "explain/RecordSentence.h"

namespace kaleo::tools {
namespace {

constexpr double kMillisecondsPerSecond = 1000;
/// Bytes of a text that are shown. Ours are shorter; the page comes from whoever has the address.
constexpr std::size_t kMostBytes = 400;

std::string shown(const std::string& text) {
  return text.size() <= kMostBytes ? text : text.substr(0, KLUTF8ErrorOffset(std::string_view(text).substr(0, kMostBytes))) + "…";
}

std::string textAt(const KLValue& record, std::string_view key) {
  return shown(quillon_stringValue(record.find(key)).value_or(""));
}

JourneyRecord recordIn(const KLValue& uploaded) {
  JourneyRecord record;
  record.time = quillon_doubleValue(uploaded.find("time")) / kMillisecondsPerSecond;
  record.state = static_cast<KLDiagnosisState>(quillon_integerValue(uploaded.find("state")));
  const KLValue* const content = uploaded.find("content");
  const bool isWhole = content && content->isObject();
  record.content =
      isWhole ? Stored<KLValue>{Stored<KLValue>::State::Present, *content} : Stored<KLValue>{Stored<KLValue>::State::Damaged};
  return record;
}

}  // namespace

void UploadedDecisions::add(const KLValue::Array& records) {
  for (const KLValue& uploaded : records) {
    const JourneyRecord record = recordIn(uploaded);
    KLValue decision = KLObject{{"time", record.time},
                                {"plan_id", textAt(uploaded, "plan_id")},
                                {"user_id", textAt(uploaded, "user_id")},
                                {"distinct_id", textAt(uploaded, "distinct_id")},
                                {"state", static_cast<int>(record.state)},
                                {"event", textAt(uploaded, "event")},
                                {"sentence", shown(sentenceOf(record, TimeText(calendar_, record.time)))}};
    const std::lock_guard lock(mutex_);
    ++next_;
    decisions_.push_back(std::move(decision));
    if (decisions_.size() > kMaxKept) decisions_.pop_front();
  }
}

KLValue UploadedDecisions::state(std::int64_t after) const {
  KLValue::Array list;
  const std::lock_guard lock(mutex_);
  std::int64_t number = next_ - static_cast<std::int64_t>(decisions_.size());
  for (const KLValue& decision : decisions_) {
    if (number++ >= after) list.push_back(decision);
  }
  return KLObject{{"next", next_}, {"decisions", std::move(list)}};
}

}  // namespace kaleo::tools
