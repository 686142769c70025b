#pragma once

#include <optional>
#include <string>

#include "Core/DataStore/KLAESCrypt.h"
#include "kaleo/KLValue.h"

namespace kaleo {

inline void KLEncrypt(std::optional<std::string>& text, const KLAESCrypt& encryptor) {
  if (text) text = encryptor.encryptString(*text);
}

inline void KLEncrypt(std::optional<KLBytes>& bytes, const KLAESCrypt& encryptor) {
  if (bytes) bytes = encryptor.encryptData(*bytes);
}

// Rows as they are kept, for work on whole tables. `encryptObject` replaces every text and every blob by its encrypted form.

struct KLDatabaseUserObject {
  std::optional<std::string> distinctId;
  std::optional<std::string> userId;
  double updateTime = 0;  ///< seconds since 1970, here and below

  void encryptObject(const KLAESCrypt& encryptor) {
    KLEncrypt(distinctId, encryptor);
    KLEncrypt(userId, encryptor);
  }
};

struct KLDatabasePopupConfigObject {
  std::optional<std::string> userId;
  std::optional<KLBytes> popupConfig;
  std::optional<KLBytes> globalLimit;
  std::optional<KLBytes> globalInterval;
  double updateTime = 0;

  void encryptObject(const KLAESCrypt& encryptor) {
    KLEncrypt(userId, encryptor);
    for (auto* blob : {&popupConfig, &globalLimit, &globalInterval}) KLEncrypt(*blob, encryptor);
  }
};

struct KLDatabasePlanWindowObject {
  std::optional<std::string> userId;
  std::optional<std::string> planId;
  std::optional<KLBytes> triggerWindow;
  std::optional<KLBytes> convertWindow;
  std::optional<KLBytes> reEnterWindow;
  std::optional<KLBytes> intervalWindow;
  double updateTime = 0;

  void encryptObject(const KLAESCrypt& encryptor) {
    KLEncrypt(userId, encryptor);
    KLEncrypt(planId, encryptor);
    for (auto* blob : {&triggerWindow, &convertWindow, &reEnterWindow, &intervalWindow}) KLEncrypt(*blob, encryptor);
  }
};

}  // namespace kaleo
