#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "kaleo/KLDelegates.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLHost.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What the application configures. Made by the application, then shared with the library, which keeps it for its whole life.
///
/// Threads: every member may be used from any thread. Nothing here blocks or throws; a refused value leaves the earlier one in
/// place and writes a log line.
class KALEO_API KLConfigOptions {
 public:
  /// `apiBaseURL` is the popup server's base URL; request paths are joined to it. Refused values are logged through the host that
  /// is registered with `Kaleo::host()`.
  explicit KLConfigOptions(std::string apiBaseURL);
  /// The same with a registry of one's own, which must outlive the options.
  KLConfigOptions(std::string apiBaseURL, const KLHostRegistry& host);
  ~KLConfigOptions();
  KLConfigOptions(const KLConfigOptions&) = delete;
  KLConfigOptions& operator=(const KLConfigOptions&) = delete;

  std::string apiBaseURL() const;
  void setApiBaseURL(std::string url);

  /// Credential and organisation. Only a non-empty text is taken. No request of this version carries them.
  std::optional<std::string> accessToken() const;
  void setAccessToken(const KLValue& token);
  std::optional<std::string> orgID() const;
  void setOrgID(const KLValue& orgID);

  /// Encryption of request bodies. Default: off. This version sends every body unencrypted; an encrypted answer is read
  /// whatever is set here.
  bool enableHttpEncrypt() const { return enableHttpEncrypt_; }
  void setEnableHttpEncrypt(bool on) { enableHttpEncrypt_ = on; }

  /// Whether the pictures of all fetched popups are downloaded ahead. Default: on.
  bool preloadImage() const { return preloadImage_; }
  void setPreloadImage(bool on) { preloadImage_ = on; }

  /// Encoded picture (JPEG, PNG, GIF) shown while a popup's picture loads. Null clears it. Not stored while a name is set.
  std::optional<KLBytes> placeholderImage() const;
  void setPlaceholderImage(const KLValue& data);
  /// Name of a picture among the application's own resources; wins over the data, whatever the order. Null clears it.
  std::optional<KLValue> placeholderImageName() const;
  void setPlaceholderImageName(const KLValue& name);

  /// Seconds between two fetches of the configuration. Default: 600. The server's own interval replaces it.
  double fetchPlansInterval() const { return fetchPlansInterval_; }
  void setFetchPlansInterval(double seconds) { fetchPlansInterval_ = seconds; }
  /// Seconds after which diagnosis records are discarded. Default: 2592000 (30 days).
  double diagnosisExpiration() const { return diagnosisExpiration_; }
  void setDiagnosisExpiration(double seconds) { diagnosisExpiration_ = seconds; }

  /// The application's callbacks; the library does not keep them alive.
  std::shared_ptr<KLPopupDelegate> popupDelegate() const;
  void setPopupDelegate(std::weak_ptr<KLPopupDelegate> delegate);
  std::shared_ptr<KLCampaignDelegate> campaignDelegate() const;
  void setCampaignDelegate(std::weak_ptr<KLCampaignDelegate> delegate);

 private:
  void setText(std::optional<std::string>& field, const KLValue& value, const char* notAString, const char* empty);

  const KLHostRegistry& host_;
  mutable std::mutex mutex_;  ///< guards what follows, but the atomics
  std::string apiBaseURL_;
  std::optional<std::string> accessToken_, orgID_;
  std::optional<KLBytes> placeholderImage_;
  std::optional<KLValue> placeholderImageName_;
  std::weak_ptr<KLPopupDelegate> popupDelegate_;
  std::weak_ptr<KLCampaignDelegate> campaignDelegate_;
  std::atomic<bool> enableHttpEncrypt_{false}, preloadImage_{true};
  std::atomic<double> fetchPlansInterval_{600.0}, diagnosisExpiration_{2592000.0};
};

}  // namespace kaleo
