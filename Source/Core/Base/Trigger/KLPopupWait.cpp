#include "Core/Base/Trigger/KLPopupWait.h"

#include <utility>

namespace kaleo {

void KLPopupWait::begin() {
  hasEnded_ = false;
  wakeUp_->reset();
}

void KLPopupWait::end() {
  hasEnded_ = true;
  wakeUp_->raise();
}

void KLPopupWait::add(KLPopupOutcome outcome) {
  {
    const std::lock_guard lock(mutex_);
    outcomes_.push_back(std::move(outcome));
  }
  wakeUp_->raise();
}

void KLPopupWait::handOut(const Tell& tell) {
  std::vector<KLPopupOutcome> outcomes;
  {
    const std::lock_guard lock(mutex_);
    outcomes.swap(outcomes_);
  }
  for (const KLPopupOutcome& outcome : outcomes) tell(outcome);
}

void KLPopupWait::wait(const Tell& tell) {
  for (;;) {
    const bool isLast = hasEnded_;  // read first: what came before the end is then in the list
    handOut(tell);
    if (isLast || !wakeUp_->wait(-1)) return;
    wakeUp_->reset();  // before the next look: what comes after it raises the flag again
  }
}

}  // namespace kaleo
