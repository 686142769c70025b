#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Core/Base/Network/KLNetwork.h"
#include "Core/Nimbra/NBBridge.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// A deep link that asks for a test popup: host "popupwindow", query "kl_popup_test" and "popup_window_id".
class KLCampaignTest {
 public:
  /// The server's reply, or null when there is none. Runs on the network's thread, or inside `fetch` when nothing can be asked.
  using Completion = std::function<void(const KLValue* reply)>;

  /// Nothing unless the URL's host is "popupwindow".
  static std::optional<KLCampaignTest> withURL(const std::string& url);

  /// Whether the link's test flag is true and its id is not empty.
  bool asksForPopup() const { return test_ && !windowId_.empty(); }
  /// Asks the server for the popup window. Asks the host who its user is.
  void fetch(const std::string& apiBaseURL, KLNetwork& network, const NBBridge& bridge, Completion completion) const;

 private:
  bool test_ = false;
  std::string windowId_;
};

}  // namespace kaleo
