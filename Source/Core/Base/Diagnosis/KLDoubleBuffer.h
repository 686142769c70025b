#pragma once

#include <array>
#include <atomic>
#include <thread>

namespace kaleo {

/// Two lists that change places: one thread fills the one, another reads the other. The filling one never waits, whatever happens
/// to the other, and pays one locked instruction; the reading one lets it finish.
/// Threads: `fill` and `take` on two threads or one; neither by two at once.
template <class List>
class KLDoubleBuffer {
 public:
  KLDoubleBuffer() = default;
  KLDoubleBuffer(const KLDoubleBuffer&) = delete;
  KLDoubleBuffer& operator=(const KLDoubleBuffer&) = delete;

  /// Calls `work` with the list that is filled, and answers what it answers. `work` does not take.
  template <class Work>
  auto fill(Work&& work) {
    const Loan loan(filled_);
    return work(*loan.list);
  }

  /// Makes the list that is filled the one that is read, and the other way round. Valid until the next call.
  List& take() {
    List* list = nullptr;
    while (!(list = filled_.load(std::memory_order_relaxed)) ||
           !filled_.compare_exchange_weak(list, read_, std::memory_order_acq_rel, std::memory_order_relaxed)) {
      std::this_thread::yield();  // it is being filled
    }
    read_ = list;
    return *list;
  }

 private:
  /// A cache line of its own, as each is the other thread's to write.
  struct alignas(64) Place {
    List list;
  };
  /// Gives the list back, even when the work throws.
  struct Loan {
    explicit Loan(std::atomic<List*>& from) : place(from), list(from.exchange(nullptr, std::memory_order_acquire)) {}
    ~Loan() { place.store(list, std::memory_order_release); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    std::atomic<List*>& place;
    List* const list;
  };

  std::array<Place, 2> places_;
  List* read_ = &places_[1].list;
  alignas(64) std::atomic<List*> filled_{&places_[0].list};
};

}  // namespace kaleo
