#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"
#include "serve/DocumentError.h"
#include "serve/ServedDirectory.h"

namespace kaleo::tools {

/// What takes the place of "{{base}}" and "{{distinct_id}}" inside the strings of the files.
struct Placeholders {
  std::string base;        ///< URL of the server, without a slash at its end
  std::string distinctId;  ///< as the client gave it
};

/// `text`, a JSON document, with its placeholders replaced.
std::string filledIn(std::string text, const Placeholders& placeholders);

/// Makes the server's replies from the files of a directory:
///   user_popup_configs.json   a configuration; a plan's "popup_window_content" may hold "layout": "NAME.json" instead of "content"
///   layouts/NAME.json         a layout; its text becomes "content"
///   popup_windows/ID.json     one popup window, with the same rule for "layout"
///   popup_displays.json       an object from popup display id, or "*" for all, to the time of conversion ("" for none)
/// Every member reads the files anew and throws DocumentError.
/// Threads: any. Lifetime: borrows the directory.
class PopupDocuments {
 public:
  explicit PopupDocuments(const ServedDirectory& directory) : directory_(directory) {}

  std::string userPopupConfigs(const Placeholders& placeholders) const;
  std::string popupWindow(const std::string& id, const Placeholders& placeholders) const;
  /// One record for each of `uuids` of which `known`, which is asked first, or the file tells the time of conversion.
  using Conversion = std::function<std::optional<std::string>(const std::string& uuid)>;
  std::string popupDisplays(const std::vector<std::string>& uuids, const std::string& distinctId, const Conversion& known) const;

 private:
  std::string require(const std::string& name) const;
  KLValue parse(const std::string& name, const Placeholders& placeholders) const;
  KLValue withLayout(const KLValue& content, const std::string& source, const Placeholders& placeholders) const;
  KLValue withLayouts(const KLValue& plan, const Placeholders& placeholders) const;

  const ServedDirectory& directory_;
};

}  // namespace kaleo::tools
