#include "Campaign/Popup/Model/KLPopupPictures.h"

#include "Foundation/KLFile.h"
#include "Foundation/KLImageDecoder.h"

namespace kaleo {
namespace {

void loadLocal(const KLPopupElementModel& element, std::map<std::string, std::shared_ptr<const KLImage>>& local) {
  const auto& path = element.propertiesOrNone().localImage;
  if (path && element.type == KLPopupElementType::Button && !local.contains(*path)) {
    const auto data = KLFile::read(*path);
    local[*path] = data ? KLImageDecoder::decode(*data) : nullptr;
  }
  for (const auto& child : element.subviews) loadLocal(*child, local);
}

}  // namespace

KLPopupPictures KLPopupPictures::load(const KLPopupElementModel* root, const KLConfigOptions* options,
                                      const std::filesystem::path& resources) {
  KLPopupPictures pictures{KLPlaceholderImage::load(options, resources), {}};
  if (root) loadLocal(*root, pictures.local);
  return pictures;
}

std::shared_ptr<const KLImage> KLPopupPictures::localImage(const std::string& path) const {
  const auto found = local.find(path);
  return found == local.end() ? nullptr : found->second;
}

}  // namespace kaleo
