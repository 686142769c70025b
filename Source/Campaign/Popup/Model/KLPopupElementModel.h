#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Campaign/Popup/Model/KLPopupActionModel.h"
#include "Campaign/Popup/Model/KLPopupLayoutModel.h"
#include "Campaign/Popup/Model/KLPopupPropertyModel.h"
#include "kaleo/KLView.h"

namespace kaleo {

struct KLPopupViewSurroundings;

enum class KLPopupElementType { Row = 0, Column = 1, Label = 2, Image = 3, Button = 4, Link = 5 };

/// One element of a popup, and the elements inside it. Parsed and laid out on one thread, then shared and never changed.
class KLPopupElementModel : public std::enable_shared_from_this<KLPopupElementModel> {
 public:
  /// An element without anything, as the mask's.
  KLPopupElementModel() = default;
  /// `dictionary` is an object. Its "subviews" are the factory's.
  KLPopupElementModel(const KLValue& dictionary, const KLPopupReading& reading);
  virtual ~KLPopupElementModel() = default;
  KLPopupElementModel(const KLPopupElementModel&) = delete;
  KLPopupElementModel& operator=(const KLPopupElementModel&) = delete;

  std::optional<KLPopupLayoutModel> layout;
  std::optional<KLPopupPropertyModel> properties;
  KLPopupElementType type = KLPopupElementType::Row;
  std::optional<std::string> typeName;  ///< as written
  KLPopupActionModel::List actions;
  std::vector<std::shared_ptr<KLPopupElementModel>> subviews;

  /// Computes the frames of this element and of what its kind lays out, in a container `width` points wide.
  virtual void layoutWithContainerWidth(double width, const KLTextMeasurer& measurer);
  double originXWithContainerWidth(double width) const;

  /// The layout as it reads: an element without one reads zeros, and laying out leaves it there.
  const KLPopupLayoutModel& layoutOrZero() const;
  /// The properties as they read: an element without any reads none.
  const KLPopupPropertyModel& propertiesOrNone() const;
  KLRect frame() const { return layoutOrZero().frame(); }

  /// A new view of the element, without its children. Main thread. Plain unless the kind says otherwise.
  virtual std::unique_ptr<KLView> view(const KLPopupViewSurroundings& surroundings) const;

 protected:
  /// Moves the frame; an element without a layout stays.
  void moveBy(double dx, double dy);
  static void move(KLPopupElementModel& element, double dx, double dy) { element.moveBy(dx, dy); }

  std::unique_ptr<KLView> makeView(KLView::Kind kind) const;
  /// Ties `view` to this element and its actions.
  void attachTo(KLView& view) const;
};

/// The code for "type" as written; unknown and missing words are rows.
KLPopupElementType KLPopupElementTypeFromName(const std::optional<std::string>& name);

}  // namespace kaleo
