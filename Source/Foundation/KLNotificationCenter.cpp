#include "kaleo/KLNotificationCenter.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace kaleo {
namespace {

struct Entry {
  KLNotificationCenter::Token token = 0;
  KLNotificationCenter::Observer observer;
  bool removed = false;
  std::vector<std::thread::id> running;  ///< one element for each call under way; a thread may be in it more than once

  bool runsHere() const { return std::count(running.begin(), running.end(), std::this_thread::get_id()) > 0; }
};

using Entries = std::vector<std::shared_ptr<Entry>>;

}  // namespace

struct KLNotificationCenter::State {
  std::mutex mutex;  ///< guards what follows and every entry
  std::condition_variable idle;
  Token lastToken = 0;
  /// The lists are never changed once they are in here, so that a post reads one without a lock.
  std::map<std::string, std::shared_ptr<const Entries>, std::less<>> byName;

  std::shared_ptr<const Entries> entries(std::string_view name) {
    std::lock_guard lock(mutex);
    const auto found = byName.find(name);
    return found == byName.end() ? nullptr : found->second;
  }

  bool begin(Entry& entry) {
    std::lock_guard lock(mutex);
    if (entry.removed) return false;
    entry.running.push_back(std::this_thread::get_id());
    return true;
  }

  void end(Entry& entry) {
    Observer dead;  // destroyed after the lock is gone: what it holds may call back in here
    std::lock_guard lock(mutex);
    entry.running.erase(std::find(entry.running.begin(), entry.running.end(), std::this_thread::get_id()));
    if (!entry.running.empty()) return;
    if (entry.removed) dead.swap(entry.observer);
    idle.notify_all();
  }

  std::shared_ptr<Entry> takeOutLocked(Token token) {
    for (auto list = byName.begin(); list != byName.end(); ++list) {
      const auto& entries = *list->second;
      const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry->token == token; });
      if (found == entries.end()) continue;
      const auto entry = *found;
      auto rest = std::make_shared<Entries>(entries);
      rest->erase(rest->begin() + (found - entries.begin()));
      if (rest->empty()) {
        byName.erase(list);
      } else {
        list->second = std::move(rest);
      }
      return entry;
    }
    return nullptr;
  }
};

KLNotificationCenter::KLNotificationCenter() : state_(std::make_unique<State>()) {}
KLNotificationCenter::~KLNotificationCenter() = default;

KLNotificationCenter::Token KLNotificationCenter::addObserver(std::string name, Observer observer) {
  auto entry = std::make_shared<Entry>();
  entry->observer = std::move(observer);
  std::lock_guard lock(state_->mutex);
  entry->token = ++state_->lastToken;
  auto& list = state_->byName[std::move(name)];
  auto longer = list ? std::make_shared<Entries>(*list) : std::make_shared<Entries>();
  longer->push_back(entry);
  list = std::move(longer);
  return entry->token;
}

void KLNotificationCenter::removeObserver(Token token) {
  Observer dead;  // destroyed after the lock is gone, and not by a post that still holds the entry
  std::unique_lock lock(state_->mutex);
  const auto entry = state_->takeOutLocked(token);
  if (!entry) return;
  entry->removed = true;
  if (entry->runsHere()) return;
  state_->idle.wait(lock, [&] { return entry->running.empty(); });
  dead.swap(entry->observer);
}

void KLNotificationCenter::post(std::string_view name, const std::optional<KLValue>& userInfo) {
  const auto entries = state_->entries(name);
  if (!entries) return;
  for (const auto& entry : *entries) {
    if (!state_->begin(*entry)) continue;
    try {
      entry->observer(userInfo);
    } catch (...) {  // one observer's fault must not keep the notification from the others
    }
    state_->end(*entry);
  }
}

}  // namespace kaleo
