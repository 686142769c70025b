#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "serve/ServedDirectory.h"

namespace kaleo::tools {

/// What is to go wrong with one answer.
struct Fault {
  /// The longest delay, seconds.
  static constexpr double kMaxDelay = 3600;

  double delay = 0;                ///< seconds before the answer
  std::optional<int> status;       ///< 200 to 599, with the body as it would be
  std::optional<std::size_t> cut;  ///< bytes of the body, all of which is announced, until the connection is closed
  bool garbage = false;            ///< a body that is no JSON and no picture
  bool encrypted = false;          ///< a body encrypted as the library expects it
  std::optional<std::string>
      material;  ///< for `encrypted`: salt and vector in 64 hexadecimal digits; none: made anew, unknown to all

  /// Such as "delay 2 s, status 503"; empty when nothing is to go wrong.
  std::string description() const;
};

/// The body {"payload": P} that carries `body` encrypted: AES-128-CBC under the vector and the key that PBKDF2 (HMAC-SHA1, 100
/// rounds, no password) derives from the salt.
std::string encryptedBody(const std::string& body, const std::optional<std::string>& material);

/// The query's items, percent-decoded.
using Query = std::multimap<std::string, std::string>;

/// The fault for a request of `path`, from "faults.json" in the directory and from the query's items "fault_delay" and so on, which
/// come first. The file holds an object from path to an object of the members above; a path that ends in "*" stands for all that
/// begin so, and the longest that fits counts. Throws DocumentError for what it does not understand. Threads: any.
Fault faultFor(const ServedDirectory& directory, const std::string& path, const Query& query);

}  // namespace kaleo::tools
