#pragma once

#include <string>
#include <string_view>

#include "kaleo/KLValue.h"

namespace kaleo {

/// The name of an event record: the text under "event". A name that is a text is not copied.
/// Lifetime: borrows the record.
class KLEventName {
 public:
  explicit KLEventName(const KLValue& event);
  KLEventName(const KLEventName&) = delete;
  KLEventName& operator=(const KLEventName&) = delete;

  /// False when the record has no "event".
  bool isPresent() const { return isPresent_; }
  /// "(null)" when it is not present.
  std::string_view text() const { return text_; }

 private:
  bool isPresent_;
  std::string coerced_;  ///< the text of a name that is none itself
  std::string_view text_;
};

}  // namespace kaleo
