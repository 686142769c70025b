#include "PopupText.h"

#include <fmt/format.h>

namespace kaleo::bench {
namespace {

constexpr int kCards = 33;  ///< of six elements each, below a root and beside one more button

std::string card(int number) {
  return fmt::format(
      R"({{"type": "column", "layout": {{"width": "311px", "align": "center", "padding": {{"bottom": "28px", "top": "12px"}}}},
    "properties": {{"backgroundColor": {{"r": 255, "g": 255, "b": 255, "a": 1}}, "cornerRadius": "20px"}}, "subviews": [
    {{"type": "image", "layout": {{"width": "0.9", "height": "120px", "align": "center"}}, "properties": {{"image":"https://shop.example/{0}.png"}}}},
    {{"type": "label", "layout": {{"width": "263px", "align": "center", "margin": {{"top": "24px"}}}},
      "properties": {{"text": "Card number {0}", "font": "21px", "textAlign": "center", "color": {{"r": 34, "g": 48, "b": 60, "a": 1}}}}}},
    {{"type": "label", "layout": {{"width": "263px", "align": "center", "margin": {{"top": "8px"}}}},
      "properties": {{"text": "Order {0} ships free, and this code takes 10 % off everything in it.", "font": "14px"}}}},
    {{"type": "row", "layout": {{"width": "263px", "align": "center", "margin": {{"top": "22px"}}}}, "subviews": [
      {{"type": "button", "layout": {{"width": "263px", "height": "48px"}}, "properties": {{"text": "Start browsing", "font": "16px"}},
        "action": {{"IOS": [{{"id": "open-{0}", "type": "openlink", "value": "https://shop.example/{0}", "closeable": true}}]}}}}]}}]}})",
      number);
}

}  // namespace

std::string popupOf200Elements() {
  std::string text = R"({"template": {"type": "column", "layout": {"width": "1"}, "subviews": [)";
  for (int number = 0; number < kCards; ++number) text += card(number) + ",";
  return text + R"({"type": "button", "layout": {"height": "48px"}}]}})";
}

std::string textOf200Characters(int number) {
  std::string text = fmt::format("{:08} ", number);
  while (text.size() < 200) text += "Your first order ships free, and this code takes off everything. ";
  text.resize(200);
  return text;
}

}  // namespace kaleo::bench
