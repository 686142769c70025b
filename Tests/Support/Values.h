#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "Foundation/KLJSON.h"
#include "kaleo/KLValue.h"

namespace kaleo::testing {

/// The value of a JSON text, in which ' may stand for ".
inline KLValue fromJSON(std::string_view text) {
  std::string json(text);
  for (char& character : json) {
    if (character == '\'') character = '"';
  }
  const auto value = KLJSON::parse(json);
  EXPECT_TRUE(value) << "no JSON: " << json;
  return value.value_or(KLValue());
}

/// An event record; `properties` as JSON.
inline KLValue anEvent(std::string_view name, std::string_view properties = "{}") {
  return KLValue(KLObject{{"event", name}, {"properties", fromJSON(properties)}});
}

}  // namespace kaleo::testing
