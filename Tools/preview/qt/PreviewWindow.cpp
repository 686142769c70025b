#include "preview/qt/PreviewWindow.h"

#include <fmt/format.h>

#include <algorithm>

#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "kaleo-qt/KLQtPlatform.h"

namespace kaleo::tools {
namespace {

constexpr int kResizeMilliseconds = 120;
constexpr const char* kFaultColor = "#B3261E";
constexpr const char* kNoteColor = "#8A5A00";
constexpr const char* kTapColor = "#22303C";

KLPlatform platformOnQt() {
  KLPlatform platform;
  installQtPresentation(platform);
  return platform;
}

std::string describe(const KLPopupActionModel& action) {
  std::string text = action.typeName.value_or("no type");
  if (action.objectID) text += fmt::format(" \"{}\"", *action.objectID);
  if (const KLValue* payload = action.value ? &*action.value : action.extra ? &*action.extra : nullptr) {
    text += " " + KLJSON::serialize(*payload);
  }
  return text;
}

}  // namespace

/// What the controller of one showing tells; a window that has gone on to another one no longer listens.
class PreviewWindow::Listener final : public KLPopupViewControllerDelegate {
 public:
  explicit Listener(PreviewWindow& window) : window_(window) {}
  void willShowPopupViewController(KLPopupViewController&) override {}
  void didShowPopupViewController(KLPopupViewController&) override {}
  void willDismissViewController(KLPopupViewController&) override {}
  void didDismissViewController(KLPopupViewController&) override { window_.dismissed(); }
  void didClickForElement(KLPopupViewController&, KLView& view) override { window_.tapped(view); }

 private:
  PreviewWindow& window_;
};

PreviewWindow::PreviewWindow(PreviewArguments arguments, const PreviewOutput& output)
    : arguments_(std::move(arguments)),
      output_(output),
      host_([this](const std::string& message) { note(message); }),
      platform_(platformOnQt()),
      pictures_(std::make_unique<PreviewPictures>(platform_.mainQueue, host_.log())),
      watch_([this] { reload(); }),
      strip_(this) {
  setPalette(QPalette(Qt::white));
  setAutoFillBackground(true);
  resize(qRound(arguments_.screen.width), qRound(arguments_.screen.height));
  strip_.setWordWrap(true);
  strip_.setTextFormat(Qt::PlainText);
  strip_.setAttribute(Qt::WA_TransparentForMouseEvents);
  strip_.hide();
  resized_.setSingleShot(true);
  resized_.setInterval(kResizeMilliseconds);
  connect(&resized_, &QTimer::timeout, this, [this] { reload(); });
  watch_.follow({std::filesystem::absolute(arguments_.file)});
}

PreviewWindow::~PreviewWindow() { takeDown(); }

void PreviewWindow::showEvent(QShowEvent*) { resized_.start(0); }

void PreviewWindow::resizeEvent(QResizeEvent*) {
  placeStrip();
  if (isVisible()) resized_.start(kResizeMilliseconds);
}

void PreviewWindow::mousePressEvent(QMouseEvent*) { reload(); }  // reaches the window only while no popup covers it

void PreviewWindow::takeDown() {
  listener_.reset();
  if (const auto controller = controller_.lock()) controller->takeDown();
}

void PreviewWindow::reload() {
  notes_.clear();
  lastTap_.clear();
  const std::string faultBefore = std::exchange(fault_, {});
  setWindowTitle(QString::fromStdString(fmt::format("{} – {} × {}", arguments_.file.filename().string(), width(), height())));
  try {
    const PreviewDocument document = readPreviewDocument(arguments_.file);
    watch_.follow(document.files);
    present(document);
  } catch (const PreviewError& error) {
    fault_ = error.what();
    if (fault_ != faultBefore) output_.err << fault_ << std::endl;
  }
  showStrip();
}

void PreviewWindow::present(const PreviewDocument& document) {
  const KLHeadlessScreen screen({double(width()), double(height())}, devicePixelRatioF());
  const KLFixedTextMeasurer fixed;
  const auto popup = layOut(
      document, screen, arguments_.fixedMetrics ? static_cast<const KLTextMeasurer&>(fixed) : *platform_.presentation.textMeasurer,
      host_.log());
  takeDown();
  listener_ = std::make_shared<Listener>(*this);
  const auto arrived = [this, listener = std::weak_ptr(listener_)](const std::string& name, const std::string& failure) {
    if (!listener.expired() && !failure.empty()) note(name + ": " + failure);
  };
  const auto controller = controllerFor(popup, platform_.presentation, *pictures_, arrived);
  controller->delegate = listener_;
  if (std::exchange(shownBefore_, true)) controller->animationDuration = 0;
  controller_ = controller;
  controller->show();
}

void PreviewWindow::note(const std::string& text) {
  output_.err << text << std::endl;
  notes_.push_back(text);
  showStrip();
}

void PreviewWindow::tapped(const KLView& view) {
  lastTap_ = "Tapped: " + describe(*view.popupActions.front());
  showStrip();
}

void PreviewWindow::dismissed() {
  lastTap_ += lastTap_.empty() ? "" : "\n";
  lastTap_ += "The popup has closed. Click to show it again.";
  showStrip();
}

void PreviewWindow::showStrip() {
  std::string text = fault_;
  for (const auto& line : notes_) text += (text.empty() ? "" : "\n") + line;
  const char* color = !fault_.empty() ? kFaultColor : !notes_.empty() ? kNoteColor : kTapColor;
  if (!lastTap_.empty()) text += (text.empty() ? "" : "\n") + lastTap_;
  strip_.setStyleSheet(QStringLiteral("background: %1; color: white; padding: 10px;").arg(QLatin1String(color)));
  strip_.setText(QString::fromStdString(text));
  strip_.setVisible(!text.empty());
  placeStrip();
}

void PreviewWindow::placeStrip() {
  const int wanted = strip_.heightForWidth(width());
  const int stripHeight = std::min(wanted, height() / 2);
  strip_.setGeometry(0, height() - stripHeight, width(), stripHeight);
  strip_.raise();
}

}  // namespace kaleo::tools
