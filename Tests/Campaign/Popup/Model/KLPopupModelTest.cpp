#include "Campaign/Popup/Model/KLPopupModel.h"

#include <gtest/gtest.h>

#include "Campaign/Popup/Model/KLPopupElementModelFactory.h"
#include "Foundation/KLJSON.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Support/FakeHost.h"

namespace kaleo {
namespace {

using Type = KLPopupActionType;

KLPopupActionModel action(const char* json) { return KLPopupActionModel(KLJSON::parse(json).value()); }

TEST(KLPopupActionModelTest, TypesAndPayloadsAreRead) {
  const auto link =
      action(R"({"id": "a1", "type": "openlink", "value": "https://e.com", "closeable": true, "$kl_close_type": "C"})");
  EXPECT_EQ(link.objectID, "a1");
  EXPECT_EQ(link.type, Type::OpenLink);
  EXPECT_EQ(link.typeName, "openlink");
  EXPECT_EQ(link.value, KLValue("https://e.com"));
  EXPECT_TRUE(link.closeable);
  EXPECT_EQ(link.closeType, "C");
  EXPECT_EQ(link.extra, std::nullopt);
  EXPECT_EQ(action(R"({"type": "close"})").type, Type::Close);
  EXPECT_FALSE(action(R"({"type": "close"})").closeable);
  EXPECT_EQ(action(R"({"type": "Close"})").type, Type::Other);
  EXPECT_EQ(action("{}").type, Type::Other);
}

TEST(KLPopupActionModelTest, CopyCarriesItsTipAndCustomizeMovesItsValue) {
  EXPECT_EQ(action(R"({"type": "copy", "value": "t", "copied_tip": "ok", "x": 1})").extra, KLValue(KLObject{{"copied_tip", "ok"}}));
  EXPECT_EQ(action(R"({"type": "copy", "value": "t"})").extra, KLValue(KLObject{}));
  const auto custom = action(R"({"type": "customize", "value": {"k": 1}, "copied_tip": "ok"})");
  EXPECT_EQ(custom.extra, KLValue(KLObject{{"k", 1}}));
  EXPECT_EQ(custom.value, std::nullopt);
  const auto text = action(R"({"type": "customize", "value": "text"})");
  EXPECT_EQ(text.extra, std::nullopt);
  EXPECT_EQ(text.value, std::nullopt);
}

TEST(KLPopupActionModelTest, TheDictionaryHasTheTypeAsWritten) {
  EXPECT_EQ(action(R"({"id": 7, "type": "dance", "value": [1], "closeable": "yes", "$kl_close_type": "C"})").toDictionary(),
            KLValue(KLObject{
                {"id", "7"}, {"value", KLValue::Array{1}}, {"type", "dance"}, {"closeable", true}, {"$kl_close_type", "C"}}));
  EXPECT_EQ(action("{}").toDictionary(), KLValue(KLObject{{"closeable", false}}));
}

class KLPopupModelTest : public ::testing::Test {
 protected:
  KLPopupModel model(const std::string& json) { return {KLJSON::parse(json).value(), reading}; }

  testing::FakeHost host;
  KLLog log{host.registry};
  KLHeadlessScreen screen;
  KLPopupReading reading{screen, log, {}};
};

TEST_F(KLPopupModelTest, TheDocumentIsRead) {
  const auto read =
      model(R"({"cname": "spring", "id": "p1", "properties": {"maskColor": {"a": 0.5}}, "template": {"type": "label"}})");
  EXPECT_EQ(read.cname, "spring");
  EXPECT_EQ(read.objectID, "p1");
  EXPECT_EQ(read.properties->maskColor, (KLColor{0, 0, 0, 0.5}));
  EXPECT_EQ(read.element->type, KLPopupElementType::Label);
  for (const char* broken : {"{}", "5", "null", "[]", R"({"properties": "x", "template": "y"})"}) {
    const auto empty = model(broken);
    EXPECT_EQ(empty.element, nullptr) << broken;
    EXPECT_FALSE(empty.properties.has_value()) << broken;
    EXPECT_EQ(empty.maskActions.size(), 1u) << broken;
  }
}

TEST_F(KLPopupModelTest, WithoutMaskActionsThereIsTheDefaultOne) {
  const auto closing =
      model(R"({"properties": {"maskCloseEnabled": true, "maskActionId": "m1", "maskAction": {"IOS": []}}})").maskActions;
  ASSERT_EQ(closing.size(), 1u);
  EXPECT_EQ(closing[0]->type, Type::Close);
  EXPECT_EQ(closing[0]->typeName, "close");
  EXPECT_EQ(closing[0]->closeType, "POPUP_CLOSE_MASK");
  EXPECT_EQ(closing[0]->objectID, "m1");
  EXPECT_TRUE(closing[0]->closeable);
  EXPECT_FALSE(model(R"({"properties": {"maskAction": {"ANDROID": [{}]}}})").maskActions[0]->closeable);
}

TEST_F(KLPopupModelTest, ListedMaskActionsReplaceIt) {
  const auto listed = model(R"({"properties": {"maskCloseEnabled": true,
      "maskAction": {"IOS": [{"id": "1", "type": "copy"}, "text", {"id": "2", "type": "close"}]}}})")
                          .maskActions;
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(listed[0]->objectID, "1");
  EXPECT_EQ(listed[1]->objectID, "2");
  EXPECT_FALSE(listed[1]->closeable);
}

TEST_F(KLPopupModelTest, ElementsHaveTheActionsOfTheirPlatformInOrder) {
  const auto read =
      model(R"({"template": {"type": "button", "action": {"IOS": [{"id": "1"}, {"id": "2"}], "ANDROID": [{"id": "3"}]}}})");
  ASSERT_EQ(read.element->actions.size(), 2u);
  EXPECT_EQ(read.element->actions[1]->objectID, "2");
  EXPECT_TRUE(model(R"({"template": {"type": "button", "action": [{"id": "1"}]}})").element->actions.empty());
}

TEST_F(KLPopupModelTest, DepthIsLimited) {
  std::string nested = R"({"type": "column"})";
  for (int level = 1; level < 200; ++level) nested = R"({"type": "column", "subviews": [)" + nested + ", {}]}";
  const auto read = model(R"({"template": )" + nested + "}");
  std::size_t depth = 0;
  for (auto element = read.element; element; element = element->subviews.empty() ? nullptr : element->subviews[0]) ++depth;
  EXPECT_EQ(depth, KLPopupElementModelFactory::kMaxDepth);
  EXPECT_EQ(host.log->messages(1).size(), 1u);
}

TEST_F(KLPopupModelTest, TheNumberOfElementsIsLimited) {
  std::string many = "{}";
  for (std::size_t i = 0; i < KLPopupElementModelFactory::kMaxElements; ++i) many += ",{}";
  const auto read = model(R"({"template": {"subviews": [)" + many + "]}}");
  EXPECT_EQ(read.element->subviews.size(), KLPopupElementModelFactory::kMaxElements - 1);
  EXPECT_EQ(host.log->messages(1).size(), 1u);
}

}  // namespace
}  // namespace kaleo
