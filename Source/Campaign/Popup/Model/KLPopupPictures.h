#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "Campaign/Popup/Model/KLPlaceholderImage.h"
#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo {

/// The pictures that a popup's views need at once, read from files before the main thread builds the views.
struct KLPopupPictures {
  std::shared_ptr<const KLPlaceholderImage> placeholder;
  std::map<std::string, std::shared_ptr<const KLImage>> local;  ///< by path

  /// Reads files: not for the main thread. `root` and `options` may be null.
  static KLPopupPictures load(const KLPopupElementModel* root, const KLConfigOptions* options,
                              const std::filesystem::path& resources);
  /// The picture in that file; null when it is none.
  std::shared_ptr<const KLImage> localImage(const std::string& path) const;
};

}  // namespace kaleo
