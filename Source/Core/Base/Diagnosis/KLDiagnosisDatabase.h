#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Core/Base/Diagnosis/KLDiagnosisCondition.h"
#include "Core/Base/Diagnosis/KLDiagnosisRecord.h"
#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/KLDatabaseFile.h"

namespace kaleo {

/// The database of decisions. Table "Journeys" holds a row for each, in the order of their making, "Users" the user id of each
/// distinct id, "JourneyIds" the id of a user's journey through a plan, "Installation" an id of this database.
///
/// Ids and contents are encrypted when a cipher is given, which the row's "encryptedStatus" tells; what was written before there
/// was one is encrypted first. A damaged file is set aside and a new one made, as the data store does it. Bounded: beyond
/// `kMaxRecords` or `kMaxBytes` the oldest records go.
/// Threads: one at a time. Lifetime: borrows the cipher and the rest.
class KLDiagnosisDatabase {
 public:
  static constexpr std::int64_t kMaxRecords = 100'000;
  static constexpr std::int64_t kMaxBytes = 32 << 20;
  /// A longer content is replaced by its "message".
  static constexpr std::size_t kMaxContentBytes = 1 << 20;

  KLDiagnosisDatabase(std::filesystem::path file, const KLLog& log, const KLClock& clock, KLRandom& random, std::string vfs = {});

  /// Null: what is written from now on is plain.
  void setEncryptor(const KLAESCrypt* encryptor) { encryptor_ = encryptor; }

  /// Adds them in one transaction, or in several when they are large. Answers how many of the first were added.
  std::size_t append(std::span<const KLDiagnosisRecord> records, const std::string& project);
  /// Deletes what was recorded before `time`, milliseconds since 1970.
  bool deleteBefore(std::int64_t time);

  bool saveUserId(const std::string& userId, const std::string& distinctId);
  /// "" when it was never saved.
  std::string userIdWithDistinctId(const std::string& distinctId);
  bool saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& planId);
  /// The id of this database, made with it; "" when it cannot be had.
  std::string installationId();

  /// The oldest records that `condition` asks for and the server has not acknowledged, `most` at most, or as many as have
  /// `maxBytes` of text between them, but one at least. What was encrypted under another key is passed over.
  std::vector<KLKeptDiagnosisRecord> unacknowledged(const KLDiagnosisCondition& condition, std::int64_t most, std::size_t maxBytes);
  /// Marks them, unless `installation` is the id of another database, whose place this one has taken since.
  bool acknowledge(const std::vector<std::int64_t>& ids, const std::string& installation);

 private:
  bool prepare();
  /// How many of the first were added in one transaction.
  std::size_t appendSome(std::span<const KLDiagnosisRecord> records, const std::string& project);
  bool appendRow(const KLDiagnosisRecord& record, const std::string& content, const std::string& project);
  bool shrink();
  std::optional<std::string> encrypted(const std::string& text) const;
  std::string decrypted(const std::optional<std::string>& text, bool isEncrypted) const;

  const KLClock& clock_;
  KLRandom& random_;
  const KLAESCrypt* encryptor_ = nullptr;
  bool hasTables_ = false;
  KLDatabaseFile file_;
};

}  // namespace kaleo
