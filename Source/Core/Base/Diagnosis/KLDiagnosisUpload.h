#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"
#include "Core/Base/Log/KLLog.h"
#include "kaleo/KLQueue.h"

namespace kaleo {

/// Sends the records that the server asks for, page by page, each page after the one before it was acknowledged.
///
/// A page is an object: "installation_id", "platform", "sdk_version", and "records", an array of objects with "record_id", "time"
/// (milliseconds since 1970), "project", "user_id", "distinct_id", "plan_id" (all texts, "" for none), "state", "type",
/// "event" and "content". An acknowledged record is never sent again. One whose acknowledgement was lost, on its way or with the
/// process before it was written down, is: installation id and record id together tell the server that it is the same.
///
/// When a page is not taken, it is tried again after 30 seconds, then after twice as long each time; after `kMaxFailures` in a row
/// sending rests until the server asks again, which it then tries once.
/// Threads: the queue. Lifetime: borrows database and log; shared, so that what comes late finds it gone.
class KLDiagnosisUpload : public std::enable_shared_from_this<KLDiagnosisUpload> {
 public:
  static constexpr std::int64_t kPageRecords = 200;
  static constexpr std::size_t kPageBytes = 512 << 10;
  static constexpr double kFirstDelay = 30, kLongestDelay = 3600;  ///< seconds
  static constexpr int kMaxFailures = 8;

  using Post = std::function<void(const KLValue& page, std::function<void(bool accepted)> done)>;

  KLDiagnosisUpload(KLDiagnosisDatabase& database, std::shared_ptr<KLQueue> queue, const KLLog& log, Post post)
      : database_(database), queue_(std::move(queue)), log_(log), post_(std::move(post)) {}

  /// From now on this is what is asked for. A pause after failures is kept to.
  void flush(const KLDiagnosisCondition& condition);

  /// Seconds to wait after that many failures in a row, from 1.
  static double delayAfter(int failures);

 private:
  void sendNext();
  void send(const std::vector<KLKeptDiagnosisRecord>& records);
  void takeAnswer(bool accepted);
  /// Writes down what was acknowledged; false when the disk does not take it, and sending has to rest.
  bool keepAcknowledged();
  void pause();

  KLDiagnosisDatabase& database_;
  const std::shared_ptr<KLQueue> queue_;
  const KLLog& log_;
  const Post post_;
  KLDiagnosisCondition condition_;
  std::int64_t left_ = 0;                   ///< records that may still be sent under the condition
  std::vector<std::int64_t> sent_;          ///< the page under way
  std::vector<std::int64_t> acknowledged_;  ///< not yet written down
  std::string installation_;                ///< whose ids both are
  bool isSending_ = false, isPaused_ = false;
  bool isOfCondition_ = false;  ///< the page under way was sent under the present condition
  int failures_ = 0;            ///< in a row
};

}  // namespace kaleo
