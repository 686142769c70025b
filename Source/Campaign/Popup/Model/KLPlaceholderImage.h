#pragma once

#include <filesystem>
#include <memory>

#include "kaleo/KLConfigOptions.h"
#include "kaleo/KLImage.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// What stands where a picture is still loading: the application's own picture, or one drawn by the library.
class KLPlaceholderImage {
 public:
  /// Reads the picture that `options` (may be null) name, or else decodes the one they hold; with neither, the drawn one's icon.
  /// `resources` holds the application's pictures and "Kaleo.bundle". Reads files: not for the main thread.
  static std::shared_ptr<const KLPlaceholderImage> load(const KLConfigOptions* options, const std::filesystem::path& resources);

  /// Shows the placeholder in `view`, an image view, under its subviews: as its picture, or drawn as a subtree, of which a
  /// reference is answered so that it can be taken out when the picture comes. Main thread.
  std::weak_ptr<KLView*> showIn(KLView& view) const;

 private:
  bool drawn_ = false;
  std::shared_ptr<const KLImage> picture_;  ///< the whole placeholder, or the drawn one's icon; null when there is none
};

/// The colour of what has not loaded yet.
inline constexpr KLColor kKLPlaceholderColor{0, 41.0 / 255, 0.4, 0.06};

/// The picture in the file `name` below `directory` (".png" where the name has no extension); null when there is none.
std::shared_ptr<const KLImage> KLResourceImage(const std::filesystem::path& directory, const std::string& name);

}  // namespace kaleo
