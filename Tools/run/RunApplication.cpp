#include "run/RunApplication.h"

#include "Foundation/KLCurlHTTPSession.h"
#include "Foundation/KLThreads.h"
#include "host/DecisionRecorder.h"
#include "run/RunPopup.h"

namespace kaleo::tools {
namespace {

KLValue orNull(const KLValue* value) { return value ? *value : KLValue(); }

}  // namespace

RunApplication::RunApplication(const RunArguments& arguments, const std::filesystem::path& directory, LineWriter& output)
    : output_(output),
      platform_(makePlatform(directory)),
      host_(std::make_unique<RunHost>(platform_, hostOptions(arguments, directory))),
      delegates_(std::make_shared<RunDelegates>(
          arguments.delegate, [this](KLObject line) { print(std::move(line)); },
          [this](const KLCampaign& campaign) {
            return elementsOf(campaign, platform_.presentation, platform_.directories.resources);
          })),
      options_(std::make_shared<KLConfigOptions>(arguments.server, *platform_.host)) {
  options_->setPopupDelegate(delegates_);
  options_->setCampaignDelegate(delegates_);
  library_ = std::make_unique<KaleoInstance>(platform_);
}

RunApplication::~RunApplication() { close(); }

KLPlatform RunApplication::makePlatform(const std::filesystem::path& directory) {
  KLPlatform platform = KLPlatform::standard("kaleo-run");
  platform.host = std::make_shared<KLHostRegistry>();
  platform.notificationCenter = std::make_shared<KLNotificationCenter>();
  platform.threading = std::make_shared<CountedThreading>(std::make_shared<KLThreadThreading>(), activity_);
  platform.mainQueue = platform.threading->makeSerialQueue("org.kaleo.KLMainQueue");
  platform.session = std::make_shared<CountedHTTPSession>(std::make_shared<KLCurlHTTPSession>(platform.http), activity_);
  platform.presentation = KLHeadlessPresentation(platform.mainQueue);
  windows_ = std::make_shared<KLHeadlessWindowFactory>(platform.mainQueue, platform.presentation.screen);
  platform.presentation.windows = windows_;
  platform.console = {};  // the standard error is for lines that are refused
  platform.directories.documents = directory / "documents";
  platform.directories.library = directory / "library";
  platform.directories.caches = directory / "caches";
  platform.diagnosis = std::make_shared<DecisionRecorder>([this](const DecisionRecord& record) {
    print({{"record", record.value()}});
  });
  return platform;
}

RunHost::Options RunApplication::hostOptions(const RunArguments& arguments, const std::filesystem::path& directory) {
  RunHost::Options options{.storeFile = directory / "host",
                           .distinctId = arguments.user,
                           .project = arguments.project,
                           .isEncrypted = arguments.encrypt,
                           .recorded = {},
                           .logged = {}};
  options.recorded = [this](const KLValue& record) {
    print({{"tracked",
            KLObject{
                {"event", orNull(record.find("event"))}, {"properties", orNull(record.find("properties"))}, {"record", record}}}});
  };
  if (arguments.log) {
    options.logged = [this](int level, const std::string& message) {
      print({{"log", KLObject{{"level", level}, {"message", message}}}});
    };
  }
  return options;
}

void RunApplication::start() {
  library_->startWithConfigOptions(options_);
  post(kKLApplicationDidFinishLaunchingNotification);
}

std::string RunApplication::tap(std::size_t element) {
  std::string fault;
  platform_.mainQueue->sync([&] { fault = tapElement(windows_->windowOnScreen(), element); });
  return fault;
}

void RunApplication::open(const std::string& url) {
  const bool result = library_->handleOpenURL(url);
  print({{"answer", "open"}, {"result", result}});
}

void RunApplication::fetch() {
  library_->fetchCampaignsWithCompletion([this](const KLCampaignResponse& response) {
    const auto& error = response.error;
    print({{"answer", "fetch"},
           {"success", response.success},
           {"code", error ? KLValue(error->code) : KLValue()},
           {"message", error ? KLValue(error->localizedDescription) : KLValue()}});
  });
}

// What comes on screen is work that begins: when none has begun since, nothing has come.
bool RunApplication::isIdle() {
  const std::uint64_t begun = activity_->begun();
  if (!activity_->isQuiet()) return false;
  std::size_t windows = 0;
  platform_.mainQueue->sync([&] { windows = windows_->windowsOnScreen(); });
  return windows == 0 && activity_->begun() == begun;
}

void RunApplication::dismissPopups() {
  platform_.mainQueue->sync([this] {
    while (KLHeadlessWindow* const window = windows_->windowOnScreen()) window->lose();
  });
}

bool RunApplication::close() {
  library_.reset();
  return host_->close();
}

}  // namespace kaleo::tools
