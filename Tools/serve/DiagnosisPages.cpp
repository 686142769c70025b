#include "serve/DiagnosisPages.h"

#include "Foundation/KLJSON.h"

namespace kaleo::tools {

std::optional<DiagnosisPages::Page> DiagnosisPages::read(std::string_view body) {
  const auto document = KLJSON::parse(body);
  const KLValue* const installation = document ? document->find("installation_id") : nullptr;
  const KLValue* const records = document ? document->find("records") : nullptr;
  if (!installation || !installation->isString() || !records || !records->isArray()) return std::nullopt;
  Page page{installation->asString()};
  const std::lock_guard lock(mutex_);
  const auto known = known_.find(page.installation);
  for (const KLValue& record : records->asArray()) {
    const KLValue* const id = record.find("record_id");
    if (id && known != known_.end() && known->second.contains(id->asInteger())) {
      ++page.known;
      continue;
    }
    if (id) page.ids.push_back(id->asInteger());
    page.records.push_back(record);
  }
  page.added = page.records.size();
  KLObject kept = document->asObject();
  kept.set("records", page.records);
  page.text = KLJSON::serialize(std::move(kept));
  return page;
}

void DiagnosisPages::remember(const Page& page) {
  const std::lock_guard lock(mutex_);
  for (const std::int64_t id : page.ids) {
    if (count_ < kMaxKnown && known_[page.installation].insert(id).second) ++count_;
  }
}

}  // namespace kaleo::tools
