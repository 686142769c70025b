#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "check/Findings.h"

namespace kaleo::tools {

/// Looks at documents before they go live: configurations, plans, popup windows and layouts, told apart by their members.
class Checker {
 public:
  /// `now`: seconds since 1970, against which times of expiry are held.
  explicit Checker(double now) : now_(now) {}

  /// Checks one text. `file` is its name in findings; layouts that it names ("layout": "NAME.json", as `kaleo serve` takes them)
  /// are looked for in "layouts" beside it, or beside the folder that it lies in, and checked as well.
  void check(const std::filesystem::path& file, const std::string& text);

  const Findings& findings() const { return findings_; }

 private:
  void document(const At& root, const std::filesystem::path& file);
  void configuration(const At& root, const std::filesystem::path& file);
  void window(const At& content, const std::filesystem::path& file);
  void layoutFile(const At& name, const std::filesystem::path& file);
  /// Runs `inside` on the JSON text; reports `at`, or the text itself when that is null, where it is none.
  void within(const std::string& name, const std::string& text, const At* at, const std::function<void(const At&)>& inside);

  double now_;
  Findings findings_;
};

}  // namespace kaleo::tools
