#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// The diagnosis records that libraries have uploaded to one run of the server. A page whose acknowledgement was lost comes again:
/// installation id and record id tell which records were there before.
/// Threads: any.
class DiagnosisPages {
 public:
  /// Records remembered; what comes after that many counts as new.
  static constexpr std::size_t kMaxKnown = 1'000'000;

  struct Page {
    std::string installation;
    std::size_t added = 0, known = 0;  ///< records that are new, and that were there before
    std::vector<std::int64_t> ids;     ///< of those that are new
    KLValue::Array records;            ///< those that are new
    std::string text;                  ///< the page with what is new, as JSON
  };

  /// Nothing when `body` is no page of records.
  std::optional<Page> read(std::string_view body);
  /// Once the page is kept: none of its records is new from now on.
  void remember(const Page& page);

 private:
  std::mutex mutex_;
  std::map<std::string, std::set<std::int64_t>> known_;  ///< record ids by installation id; guarded by mutex_
  std::size_t count_ = 0;                                ///< guarded by mutex_
};

}  // namespace kaleo::tools
