#include "Shop/ShopApplication.h"

#include <kaleo-diagnosis/KLCampaignDiagnosis.h>
#include <kaleo-qt/KLQtPlatform.h>
#include <kaleo/Kaleo.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>

#include "Nimbra/JSON.h"

namespace shop {
namespace {

using kaleo::Kaleo;
using kaleo::KLObject;
using kaleo::KLPlatform;
using kaleo::KLValue;

KLPlatform makePlatform(const ShopOptions& options) {
  KLPlatform platform = KLPlatform::standard("kaleo-shop");
  if (!options.data.empty()) {
    platform.directories.documents = options.data / "documents";
    platform.directories.library = options.data / "library";
    platform.directories.caches = options.data / "caches";
  }
  platform.application.name = "Sill & Shelf";
  kaleo::installQtPresentation(platform);
  kaleo::installCampaignDiagnosis(platform);
  return platform;
}

KLObject propertiesOf(const Product& product) {
  return {{"product_id", product.id.toStdString()},
          {"product_name", product.name.toStdString()},
          {"price", product.price},
          {"category", product.category.toStdString()}};
}

RecordKind kindOf(int level, bool decision) {
  constexpr int kError = 1, kInfo = 4;
  if (level <= kError) return RecordKind::Error;
  if (level > kInfo) return RecordKind::Detail;
  return decision ? RecordKind::Decision : RecordKind::Progress;
}

/// Properties for people: "name value", separated by dots.
QString describe(const KLValue& properties) {
  QStringList parts;
  for (const auto& [name, value] : properties.asObject()) {
    const std::string text = value.isString() ? value.asString() : nimbra::toJSON(value);
    parts << QString::fromStdString(name + " " + text);
  }
  return parts.join(QString::fromUtf8("  ·  "));
}

QDateTime timeOf(double seconds) { return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(seconds * 1000)); }

}  // namespace

ShopApplication::ShopApplication(const ShopOptions& options) {
  const KLPlatform platform = makePlatform(options);
  analytics_ = startAnalytics(platform);
  const QString customer = QString::fromStdString(analytics_->loginId().value_or(""));
  window_ = std::make_unique<ShopWindow>(makeActions(), customer);
  pane_ = std::make_unique<BackPane>();
  delegates_ = makeDelegates();

  auto configuration = std::make_shared<kaleo::KLConfigOptions>(options.server);
  configuration->setPopupDelegate(delegates_);
  configuration->setCampaignDelegate(delegates_);
  Kaleo::setPlatform(platform);
  Kaleo::startWithConfigOptions(configuration);
  connect(qApp, &QCoreApplication::aboutToQuit, this, [] { Kaleo::shutdown(); });
}

ShopApplication::~ShopApplication() = default;

std::shared_ptr<nimbra::Nimbra> ShopApplication::startAnalytics(const KLPlatform& platform) {
  auto analytics = nimbra::Nimbra::start(
      *platform.host, {.directory = platform.directories.documents / "nimbra",
                       .notificationCenter = platform.notificationCenter,
                       .clock = platform.clock,
                       .random = platform.random,
                       .logToFile = true,
                       .logSink = [this](const nimbra::LogLine& line) { onMain([this, line] { readLog(line); }); }});
  analytics->tracker().addObserver([this](const KLValue& record) { onMain([this, record] { readEvent(record); }); });
  return analytics;
}

std::shared_ptr<ShopDelegates> ShopApplication::makeDelegates() {
  return std::make_shared<ShopDelegates>(ShopDelegates::Handlers{
      .showCustomized = [this](const std::string& content) { window_->banner().present(QByteArray::fromStdString(content)); },
      .openLink =
          [this](const std::string& url) {
            window_->setStatus({PopupStatus::Mood::Shown, "The shop would open " + url});
          },
      .note = [this](const std::string& what) { note(what); },
  });
}

ShopActions ShopApplication::makeActions() {
  return {
      .view = [this](const Product& product) { analytics_->track("ViewProduct", propertiesOf(product)); },
      .addToCart =
          [this](const Product& product) {
            KLObject properties = propertiesOf(product);
            properties.set("quantity", 1);
            analytics_->track("AddToCart", properties);
          },
      .pay =
          [this](const Cart& cart) {
            analytics_->track("Pay", KLObject{{"amount", cart.amount()}, {"items", cart.items()}});
          },
      .logIn =
          [this](const QString& customer) {
            analytics_->login(customer.toStdString());
            // Campaigns of the new user must be there before they can answer the event.
            Kaleo::fetchCampaignsWithCompletion([analytics = analytics_](const auto&) {
              analytics->track("Login", KLObject{{"method", "button"}});
            });
          },
      .logOut = [this] { analytics_->logout(); },
      .useOffer =
          [this](const QString& code) {
            analytics_->track("UseOffer", KLObject{{"code", code.toStdString()}});
          },
  };
}

void ShopApplication::onMain(std::function<void()> work) { QMetaObject::invokeMethod(this, std::move(work), Qt::QueuedConnection); }

void ShopApplication::readLog(const nimbra::LogLine& line) {
  if (const auto report = status_.read(line.message)) window_->setStatus(*report);
  const bool decision = status_.isDecision(line.message);
  pane_->append({kindOf(line.level, decision), timeOf(line.time), {}, QString::fromStdString(line.message)});
  emit logged(line, decision);
}

void ShopApplication::readEvent(const KLValue& record) {
  constexpr double kMilliseconds = 1000;
  pane_->append({RecordKind::Event, timeOf(record.find("time")->asDouble() / kMilliseconds),
                 QString::fromStdString(record.find("event")->asString()), describe(*record.find("properties"))});
  emit tracked(record);
}

void ShopApplication::note(const std::string& what) { emit noted(QString::fromStdString(what)); }

}  // namespace shop
