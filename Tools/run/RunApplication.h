#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Platform/Headless/KLHeadlessWindow.h"
#include "kaleo/Kaleo.h"
#include "lines/LineWriter.h"
#include "run/RunActivity.h"
#include "run/RunArguments.h"
#include "run/RunDelegates.h"
#include "run/RunHost.h"

namespace kaleo::tools {

/// An application without a screen, with a whole library of its own in real time, that prints what happens. Threads: one, which is
/// none of the library's; the lines come from any.
class RunApplication {
 public:
  /// Makes everything; `directory` keeps the state. Lifetime: borrows the output.
  RunApplication(const RunArguments& arguments, const std::filesystem::path& directory, LineWriter& output);
  /// Ends the library, if that has not been done.
  ~RunApplication();
  RunApplication(const RunApplication&) = delete;
  RunApplication& operator=(const RunApplication&) = delete;

  void start();

  void track(const KLValue& record) { host_->track(record); }
  void changeUser(const KLValue& user, const char* notification) { host_->changeUser(user, notification); }
  void post(const char* notification) { platform_.notificationCenter->post(notification); }
  /// Taps; answers why that was not possible, or "".
  std::string tap(std::size_t element);
  void open(const std::string& url);
  void fetch();

  /// Whether the start sequence has ended.
  bool isReady() const { return activity_->isReady(); }
  /// Whether nothing is queued, on its way or on screen.
  bool isIdle();
  /// Raised when what these two answer may have changed.
  EventFlag& changed() { return activity_->changed(); }

  /// No more commands come: what is asked for from now on goes on without its user.
  void endOfInput() { host_->endOfInput(); }
  /// Takes down every popup that is on screen, as if the application's window had gone.
  void dismissPopups();
  /// Ends the library and stores everything. False: the host's store cannot be written.
  bool close();

 private:
  KLPlatform makePlatform(const std::filesystem::path& directory);
  RunHost::Options hostOptions(const RunArguments& arguments, const std::filesystem::path& directory);
  void print(KLObject line) { output_.write(KLValue(std::move(line))); }

  LineWriter& output_;
  std::shared_ptr<RunActivity> activity_ = std::make_shared<RunActivity>();
  std::shared_ptr<KLHeadlessWindowFactory> windows_;
  KLPlatform platform_;
  std::unique_ptr<RunHost> host_;
  std::shared_ptr<RunDelegates> delegates_;
  std::shared_ptr<KLConfigOptions> options_;
  std::unique_ptr<KaleoInstance> library_;  ///< ends before what it stands on
};

}  // namespace kaleo::tools
