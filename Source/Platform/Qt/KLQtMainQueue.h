#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "kaleo/KLQueue.h"

namespace kaleo {

/// The main queue on Qt's event loop: tasks are events of an object that lives on the main thread.
/// Made and destroyed on the main thread. Once it is gone, or the application has ended its event loop for good, tasks are dropped
/// and a waiting `sync` returns without having run.
class KLQtMainQueue final : public KLQueue {
 public:
  KLQtMainQueue();
  ~KLQtMainQueue() override;

  void async(Task task) override;
  void asyncAfter(double seconds, Task task) override;
  bool isCurrent() const override;
  void sync(const Task& task) override;
  const std::string& label() const override { return label_; }

 private:
  class Receiver;
  std::unique_ptr<Receiver> receiver_;
  const std::string label_ = "org.kaleo.KLMainQueue";
};

}  // namespace kaleo
