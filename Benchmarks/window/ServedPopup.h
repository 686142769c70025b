#pragma once

#include <memory>
#include <string>

#include "Support/TemporaryDirectory.h"
#include "cost/MeasuredHost.h"
#include "serve/PopupServer.h"

namespace kaleo::bench {

/// A whole library on real threads, HTTP and disk with the Qt back end, beside a server that has one popup for the event
/// `kPopupEvent`: a sample layout with its pictures, which any tap on the mask closes. Main thread.
class ServedPopup {
 public:
  /// `layout`: the name of a sample's file.
  explicit ServedPopup(const std::string& layout);

  /// Starts, and gives the configuration time to come into force and the pictures to be downloaded ahead.
  void start();
  void track() { host_->trackName(kPopupEvent); }
  CountingDelegate& delegate() { return host_->delegate(); }

 private:
  const TemporaryDirectory files_;
  std::unique_ptr<tools::PopupServer> server_;
  std::unique_ptr<MeasuredHost> host_;
};

}  // namespace kaleo::bench
