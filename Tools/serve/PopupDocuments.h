#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"
#include "serve/ServedDirectory.h"

namespace kaleo::tools {

/// Why a document cannot be given; the text is for the person who writes the files.
class DocumentError : public std::runtime_error {
 public:
  DocumentError(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  /// The HTTP status that says so: 404 for what is not there, 500 for a faulty file.
  int status() const { return status_; }

 private:
  int status_;
};

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
  /// One record for each of `uuids` that the file knows.
  std::string popupDisplays(const std::vector<std::string>& uuids, const std::string& distinctId) const;

 private:
  std::string require(const std::string& name) const;
  KLValue parse(const std::string& name, const Placeholders& placeholders) const;
  KLValue withLayout(const KLValue& content, const std::string& source, const Placeholders& placeholders) const;
  KLValue withLayouts(const KLValue& plan, const Placeholders& placeholders) const;

  const ServedDirectory& directory_;
};

}  // namespace kaleo::tools
