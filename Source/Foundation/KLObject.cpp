#include <algorithm>
#include <numeric>

#include "kaleo/KLValue.h"

namespace kaleo {
namespace {

// Up to this size comparing every key is faster than a binary search, and the index is not worth its memory.
constexpr std::size_t kIndexedFrom = 12;

bool hasKeyTwice(const std::vector<KLObject::Entry>& entries) {
  for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
    if (std::any_of(entries.begin(), entry, [&](const auto& earlier) { return earlier.first == entry->first; })) return true;
  }
  return false;
}

}  // namespace

KLObject::KLObject(std::initializer_list<Entry> entries) : KLObject(fromEntries(std::vector<Entry>(entries))) {}

KLObject KLObject::fromEntries(std::vector<Entry> entries) {
  KLObject object;
  if (entries.size() < kIndexedFrom && !hasKeyTwice(entries)) {
    object.entries_ = std::move(entries);
    return object;
  }
  std::vector<std::uint32_t> order(entries.size());
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
    const int keys = entries[left].first.compare(entries[right].first);
    return keys != 0 ? keys < 0 : left < right;
  });
  const auto isSameKey = [&](std::uint32_t left, std::uint32_t right) { return entries[left].first == entries[right].first; };
  if (entries.size() >= kIndexedFrom && std::adjacent_find(order.begin(), order.end(), isSameKey) == order.end()) {
    object.entries_ = std::move(entries);
    object.index_ = std::move(order);
    return object;
  }
  // The last of equal keys gives its value to the first, which keeps its place; the others go.
  std::vector<bool> superseded(entries.size());
  for (std::size_t first = 0, next = 1; next < order.size(); ++next) {
    if (entries[order[next]].first != entries[order[first]].first) {
      first = next;
    } else {
      entries[order[first]].second = std::move(entries[order[next]].second);
      superseded[order[next]] = true;
    }
  }
  object.entries_.reserve(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (!superseded[i]) object.entries_.push_back(std::move(entries[i]));
  }
  object.rebuildIndex();
  return object;
}

void KLObject::rebuildIndex() {
  index_.clear();
  if (entries_.size() < kIndexedFrom) return;
  index_.resize(entries_.size());
  std::iota(index_.begin(), index_.end(), 0u);
  std::sort(index_.begin(), index_.end(),
            [this](std::uint32_t left, std::uint32_t right) { return entries_[left].first < entries_[right].first; });
}

std::size_t KLObject::positionOf(std::string_view key) const noexcept {
  if (index_.empty()) {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [key](const Entry& entry) { return entry.first == key; });
    return static_cast<std::size_t>(found - entries_.begin());
  }
  const auto found = std::lower_bound(index_.begin(), index_.end(), key,
                                      [this](std::uint32_t position, std::string_view k) { return entries_[position].first < k; });
  return found != index_.end() && entries_[*found].first == key ? *found : entries_.size();
}

const KLValue* KLObject::find(std::string_view key) const noexcept {
  const std::size_t position = positionOf(key);
  return position < entries_.size() ? &entries_[position].second : nullptr;
}

void KLObject::set(std::string key, KLValue value) {
  const std::size_t position = positionOf(key);
  if (position < entries_.size()) {
    entries_[position].second = std::move(value);
    return;
  }
  entries_.emplace_back(std::move(key), std::move(value));
  if (index_.empty()) return rebuildIndex();
  const auto place = std::lower_bound(index_.begin(), index_.end(), std::string_view(entries_.back().first),
                                      [this](std::uint32_t at, std::string_view k) { return entries_[at].first < k; });
  index_.insert(place, static_cast<std::uint32_t>(position));
}

void KLObject::setIfPresent(std::string key, const KLValue* value) {
  if (value) set(std::move(key), *value);
}

bool KLObject::erase(std::string_view key) {
  const std::size_t position = positionOf(key);
  if (position == entries_.size()) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(position));
  rebuildIndex();
  return true;
}

void KLObject::reserve(std::size_t count) {
  entries_.reserve(count);
  if (count >= kIndexedFrom) index_.reserve(count);
}

bool operator==(const KLObject& left, const KLObject& right) noexcept {
  if (left.size() != right.size()) return false;
  return std::all_of(left.begin(), left.end(), [&right](const KLObject::Entry& entry) {
    const KLValue* other = right.find(entry.first);
    return other && *other == entry.second;
  });
}

}  // namespace kaleo
