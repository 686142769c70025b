#pragma once

namespace kaleo {

/// Key in the host's store of the plan whose popup was shown last.
inline constexpr const char* kKLLastCampaignIDKey = "last_campaign_id";

}  // namespace kaleo
