#pragma once

#include <cstddef>
#include <memory>

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// Makes the elements of one document, each of the class that its "type" names. One thread.
class KLPopupElementModelFactory {
 public:
  /// How deep elements may lie in each other, the root being 1, and how many there may be. No honest popup comes near; what goes
  /// beyond is left out and logged once.
  static constexpr std::size_t kMaxDepth = 64;
  static constexpr std::size_t kMaxElements = 2'000;

  /// Lifetime: borrows `reading`.
  explicit KLPopupElementModelFactory(const KLPopupReading& reading) : reading_(reading) {}

  /// The element that `dictionary` (an object) describes, with the elements inside it. Hidden ones and what is no object are left
  /// out. Never null for the first element of a factory.
  std::shared_ptr<KLPopupElementModel> elementModelWithDictionary(const KLValue& dictionary);

 private:
  void addSubviews(KLPopupElementModel& element, const KLValue& dictionary);
  bool hasRoom();

  const KLPopupReading& reading_;
  std::size_t depth_ = 0;
  std::size_t count_ = 0;
  bool reported_ = false;
};

}  // namespace kaleo
