#pragma once

#include <optional>
#include <string>

#include "Campaign/Popup/Model/KLPopupJSON.h"
#include "kaleo/KLAttributedText.h"

namespace kaleo {

/// How an element, or the whole popup, looks: its "properties". Lengths are in points.
class KLPopupPropertyModel {
 public:
  KLPopupPropertyModel() = default;
  /// `dictionary` is an object.
  KLPopupPropertyModel(const KLValue& dictionary, const KLPopupReading& reading);

  std::optional<KLColor> backgroundColor;
  double borderWidth = 0;
  std::optional<KLColor> borderColor;
  std::optional<KLColor> color;  ///< of the text
  double cornerRadius = 0;
  double font = 0;                             ///< size of the system font
  std::optional<std::string> image;            ///< URL
  std::optional<std::string> backgroundImage;  ///< URL
  std::optional<std::string> localImage;       ///< path of a picture in the library's bundle
  std::optional<std::string> msgType;          ///< "title" or "content": which part of the message the text is
  std::optional<KLColor> maskColor;            ///< of the document alone
  std::optional<std::string> text;
  bool scrollableY = false;
  KLTextAlignment textAlign = KLTextAlignment::Left;
  bool closeEnabled = false;          ///< never read from JSON
  std::optional<KLValue> closeStyle;  ///< never read from JSON

  /// The text in its style; nothing while there is no text. Made at the first call and kept: what changes later changes nothing.
  /// Threads: the first call and others must not come at the same time.
  const std::optional<KLAttributedText>& attributedText() const;

 private:
  mutable std::optional<KLAttributedText> attributedText_;
};

}  // namespace kaleo
