#include "simulate/SimulatedServer.h"

#include <utility>

#include "Core/Base/Network/KLNetwork.h"
#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

constexpr int kOK = 200;
constexpr int kUnavailable = 503;

class Task final : public KLHTTPTask {
 public:
  void cancel() override {}
};

}  // namespace

SimulatedServer::SimulatedServer(KLThreading& threading) : queue_(threading.makeSerialQueue("org.kaleo.SimulatedServer")) {}

void SimulatedServer::setAnswer(const KLValue& answer) {
  const std::string text = KLJSON::serialize(answer);
  answer_.emplace(text.begin(), text.end());
}

std::shared_ptr<KLHTTPTask> SimulatedServer::dataTask(KLHTTPRequest request, Completion completion) {
  if (request.url.find(kUserPopupConfigs) != std::string::npos) {
    queue_->async([this, completion = std::move(completion)] { completion(takeResult()); });
  }
  return std::make_shared<Task>();
}

KLHTTPResult SimulatedServer::takeResult() {
  auto answer = std::exchange(answer_, std::nullopt);
  KLHTTPResponse response;
  response.status = answer ? kOK : kUnavailable;
  if (answer) response.body = std::move(*answer);
  return {std::move(response), std::nullopt};
}

}  // namespace kaleo::tools
