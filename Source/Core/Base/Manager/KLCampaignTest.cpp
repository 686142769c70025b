#include "Core/Base/Manager/KLCampaignTest.h"

#include "Core/Utils/KLJSONSerialization.h"
#include "Core/Utils/KLVersion.h"
#include "Foundation/KLURL.h"

namespace kaleo {

std::optional<KLCampaignTest> KLCampaignTest::withURL(const std::string& url) {
  const auto parsed = KLURL::parse(url);
  if (!parsed || parsed->host() != "popupwindow") return std::nullopt;
  KLCampaignTest test;
  const KLValue flag = quillon_queryValueForParameter(url, "kl_popup_test").value_or("");
  test.test_ = quillon_boolValue(&flag);
  test.windowId_ = quillon_queryValueForParameter(url, "popup_window_id").value_or("");
  return test;
}

void KLCampaignTest::fetch(const std::string& apiBaseURL, KLNetwork& network, const NBBridge& bridge, Completion completion) const {
  const auto base = KLURL::parse(apiBaseURL);
  if (!base) return completion(nullptr);
  KLObject parameters{{"project", bridge.project()}, {"sdk_version", kKLSDKVersion}, {"platform", "IOS"}};
  if (const auto distinctId = bridge.distinctId()) parameters.set("distinct_id", *distinctId);
  const KLValue query = std::move(parameters);
  network.GET(
      base->appendingPath(kPopupWindows).appendingPathComponent(windowId_).absoluteString(), &query,
      [completion](std::optional<KLValue> reply) { completion(reply ? &*reply : nullptr); },
      [completion](const auto&) { completion(nullptr); });
}

}  // namespace kaleo
