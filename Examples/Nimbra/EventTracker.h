#pragma once

#include <kaleo/KLHost.h>
#include <kaleo/KLNotificationCenter.h>

#include <functional>
#include <memory>
#include <mutex>

#include "Nimbra/Files.h"

namespace nimbra {

/// Records events, one JSON object a line, and tells observers of each. The hook may rewrite an event before it is recorded.
/// Threads: any; hook and observers run on the thread that tracks, with no lock held.
class EventTracker final : public kaleo::NBEventTracker {
 public:
  using Observer = std::function<void(const kaleo::KLValue& record)>;
  using Token = kaleo::KLNotificationCenter::Token;

  explicit EventTracker(std::filesystem::path file) : file_(std::move(file)) {}

  void setTrackEventHook(Hook hook) override;

  /// Records `record` as the hook leaves it, and answers it.
  kaleo::KLValue trackEvent(const kaleo::KLValue& record, bool isSignUp);

  Token addObserver(Observer observer);
  /// When it returns, the observer will not run again.
  void removeObserver(Token token) { observers_.removeObserver(token); }

 private:
  LineFile file_;
  kaleo::KLNotificationCenter observers_;
  mutable std::mutex mutex_;
  std::shared_ptr<const Hook> hook_;  ///< guarded by mutex_; null: none
};

}  // namespace nimbra
