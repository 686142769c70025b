#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo {

/// One item of a query string.
struct KLQueryStringPair {
  std::string field;
  std::optional<KLValue> value;

  /// "field=value", both escaped; the field alone when the value is absent or null.
  std::string URLEncodedStringValue() const;
};

/// Percent-encodes all but ASCII letters, digits and "-._~/?" (RFC 3986: what a query may hold without its delimiters).
std::string KLPercentEscapedStringFromString(std::string_view text);

/// The pairs of an object, joined with "&".
std::string KLQueryStringFromParameters(const KLValue& parameters);
std::vector<KLQueryStringPair> KLQueryStringPairsFromDictionary(const KLValue& dictionary);

/// The pairs that `value` makes under `key`: an object those of its members in the order of their keys, named "key[member]" (or
/// "member" without a key); an array those of its elements as they come, named "key[]"; anything else one pair.
std::vector<KLQueryStringPair> KLQueryStringPairsFromKeyAndValue(const std::optional<std::string>& key, const KLValue& value);

}  // namespace kaleo
