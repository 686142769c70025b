#pragma once

#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/KLDatabaseFile.h"

namespace kaleo {

/// Makes a file the database of decisions, whatever version of it wrote there last.
///
/// The file's "user_version": 1, its events have no names; 2, rows may be plain; 3, none is.
/// Threads: one at a time. Lifetime: borrows everything.
class KLDiagnosisSchema {
 public:
  /// `encryptor` null: rows are to be plain.
  KLDiagnosisSchema(KLDatabaseFile& file, const KLAESCrypt* encryptor, KLRandom& random)
      : file_(file), encryptor_(encryptor), random_(random) {}

  /// Makes what is missing, and encrypts what was written before there was a cipher, all in one transaction.
  bool prepare();

 private:
  bool build();
  bool addEventColumn();
  bool makeInstallation();
  bool encryptPlainRows();
  bool setVersion(int version);

  KLDatabaseFile& file_;
  const KLAESCrypt* const encryptor_;
  KLRandom& random_;
  bool hasEncrypted_ = false;  ///< rows that were plain
};

}  // namespace kaleo
