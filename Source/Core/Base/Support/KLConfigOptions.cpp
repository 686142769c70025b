#include "kaleo/KLConfigOptions.h"

#include "Core/Base/Log/KLLog.h"

namespace kaleo {

KLConfigOptions::KLConfigOptions(std::string apiBaseURL, const KLHostRegistry& host)
    : host_(host), apiBaseURL_(std::move(apiBaseURL)) {}

KLConfigOptions::~KLConfigOptions() = default;

std::string KLConfigOptions::apiBaseURL() const {
  std::lock_guard lock(mutex_);
  return apiBaseURL_;
}

void KLConfigOptions::setApiBaseURL(std::string url) {
  std::lock_guard lock(mutex_);
  apiBaseURL_ = std::move(url);
}

std::optional<std::string> KLConfigOptions::accessToken() const {
  std::lock_guard lock(mutex_);
  return accessToken_;
}

void KLConfigOptions::setAccessToken(const KLValue& token) {
  setText(accessToken_, token, "accessToken should be a string", "accessToken should not be empty");
}

std::optional<std::string> KLConfigOptions::orgID() const {
  std::lock_guard lock(mutex_);
  return orgID_;
}

void KLConfigOptions::setOrgID(const KLValue& orgID) {
  setText(orgID_, orgID, "orgID should be a string", "orgID should not be empty");
}

void KLConfigOptions::setText(std::optional<std::string>& field, const KLValue& value, const char* notAString, const char* empty) {
  const KLLog log(host_);
  if (!value.isString()) return log.error("{}", notAString);
  if (value.asString().empty()) return log.error("{}", empty);
  std::lock_guard lock(mutex_);
  field = value.asString();
}

std::optional<KLBytes> KLConfigOptions::placeholderImage() const {
  std::lock_guard lock(mutex_);
  return placeholderImage_;
}

void KLConfigOptions::setPlaceholderImage(const KLValue& data) {
  const KLLog log(host_);
  if (!data.isNull() && !data.isBytes()) {
    return log.error("placeholder image should not be other types rather than NSData");
  }
  {
    std::lock_guard lock(mutex_);
    if (!placeholderImageName_) {
      placeholderImage_ = data.isBytes() ? std::optional(data.asBytes()) : std::nullopt;
      return;
    }
  }
  log.info("placeholderImageName option had been set, would use placeholderImageName instead");
}

std::optional<KLValue> KLConfigOptions::placeholderImageName() const {
  std::lock_guard lock(mutex_);
  return placeholderImageName_;
}

void KLConfigOptions::setPlaceholderImageName(const KLValue& name) {
  if (!name.isNull() && !name.isString()) {
    KLLog(host_).error("placeholder image name should not be other types rather than NSString");
  }
  std::lock_guard lock(mutex_);
  placeholderImageName_ = name.isNull() ? std::nullopt : std::optional(name);
  placeholderImage_.reset();
}

std::shared_ptr<KLPopupDelegate> KLConfigOptions::popupDelegate() const {
  std::lock_guard lock(mutex_);
  return popupDelegate_.lock();
}

void KLConfigOptions::setPopupDelegate(std::weak_ptr<KLPopupDelegate> delegate) {
  std::lock_guard lock(mutex_);
  popupDelegate_ = std::move(delegate);
}

std::shared_ptr<KLCampaignDelegate> KLConfigOptions::campaignDelegate() const {
  std::lock_guard lock(mutex_);
  return campaignDelegate_.lock();
}

void KLConfigOptions::setCampaignDelegate(std::weak_ptr<KLCampaignDelegate> delegate) {
  std::lock_guard lock(mutex_);
  campaignDelegate_ = std::move(delegate);
}

}  // namespace kaleo
