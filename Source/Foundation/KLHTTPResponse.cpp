#include <algorithm>

#include "kaleo/KLHTTPSession.h"

namespace kaleo {
namespace {

/// Header names are ASCII (RFC 9110), whatever the locale.
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalNames(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char l, char r) { return lower(l) == lower(r); });
}

}  // namespace

const std::string* KLHTTPResponse::header(std::string_view name) const {
  const auto found =
      std::find_if(headers.rbegin(), headers.rend(), [&](const auto& header) { return equalNames(header.first, name); });
  return found == headers.rend() ? nullptr : &found->second;
}

}  // namespace kaleo
