#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// The object that a line of JSON Lines holds. Where it holds none, nothing, and `fault` says why, for the person who wrote it.
std::optional<KLValue> parseObjectLine(std::string_view text, std::string& fault);

/// Whether there is a number; booleans are none here.
bool isNumber(const KLValue* value);

/// An event record as a line of JSON carries it: in its properties every object of the single key "$date" with a number becomes a
/// date (seconds since 1970), at any depth.
KLValue recordWithDates(const KLValue& record);

/// What is wrong with a "user" of a line; "" when nothing is: it is an object with a text "distinct_id".
std::string faultOfUser(const KLValue& user);

}  // namespace kaleo::tools
