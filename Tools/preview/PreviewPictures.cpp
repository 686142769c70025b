#include "preview/PreviewPictures.h"

#include <set>

#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"
#include "Foundation/KLCurlHTTPSession.h"
#include "Foundation/KLURL.h"
#include "Image/KLUserAgent.h"
#include "Platform/Linux/KLXDGDirectories.h"

namespace kaleo::tools {
namespace {

/// Takes no files, so that nothing is left behind however the command ends.
constexpr const char* kNowhere = "/dev/null";

void addIfSet(const std::optional<std::string>& url, std::set<std::string>& urls) {
  if (url && !url->empty()) urls.insert(*url);
}

/// The URLs of the pictures that the views of an element, and of those inside it, show.
void addPictures(const KLPopupElementModel& element, std::set<std::string>& urls) {
  const KLPopupPropertyModel& style = element.propertiesOrNone();
  switch (element.type) {
    case KLPopupElementType::Image:
      addIfSet(style.image, urls);
      break;
    case KLPopupElementType::Button:
      if (!style.localImage) addIfSet(style.image, urls);
      break;
    case KLPopupElementType::Row:
    case KLPopupElementType::Column:
      addIfSet(style.backgroundImage, urls);
      break;
    case KLPopupElementType::Label:
    case KLPopupElementType::Link:
      break;
  }
  for (const auto& child : element.subviews) addPictures(*child, urls);
}

/// A picture as people name it: a file by its path, the version in the URL's fragment left out.
std::string nameOf(const std::string& url) {
  const auto parsed = KLURL::parse(url);
  return parsed && parsed->scheme() == "file" ? KLPercentDecode(parsed->path()) : url;
}

}  // namespace

PreviewPictures::PreviewPictures(std::shared_ptr<KLQueue> mainQueue, const KLLog& log)
    : mainQueue_(std::move(mainQueue)),
      session_(std::make_unique<KLCurlHTTPSession>(KLHTTPSettings{}), threading_),
      cache_(clock_, threading_, *mainQueue_, kNowhere, center_),
      downloader_({session_, cache_, threading_, *mainQueue_, log, KLUserAgent({.name = "kaleo-preview"}, 1)}) {}

std::unique_ptr<KLView> PreviewPictures::viewOf(const KLPopupModel& popup, const Arrived& arrived) {
  const auto pictures = KLPopupPictures::load(popup.element.get(), nullptr, KLResourceDirectory());
  auto view = popupViewWithElementModel(*popup.element, {downloader_, pictures});
  std::set<std::string> urls;
  addPictures(*popup.element, urls);
  for (const std::string& url : urls) await(url, arrived);
  return view;
}

// The views have asked first: their pictures come first, and from the same exchange.
void PreviewPictures::await(const std::string& url, const Arrived& arrived) {
  ++*awaited_;
  downloader_.downloadImageWithURL(url, nullptr,
                                   [url, arrived, awaited = awaited_](const auto&, const std::optional<KLError>& error) {
                                     --*awaited;
                                     arrived(nameOf(url), error ? error->localizedDescription : "");
                                   });
}

}  // namespace kaleo::tools
