#include <gmock/gmock.h>

#include <atomic>
#include <ostream>

#include "Support/Application.h"
#include "Support/Gate.h"
#include "Support/LoopbackServer.h"
#include "Support/Pictures.h"

namespace kaleo {
namespace {

using testing::Application;
using testing::Gate;
using testing::layout;
using testing::popupPlan;

constexpr int kGoodWidth = 3, kPlaceholderWidth = 1, kOversize = 65535;

KLBytes picture(int width, int height) { return testing::makeGIF(width, height, {{.width = 1, .height = 1, .indices = {1}}}); }

struct BadPicture {
  const char* name;
  int status = 200;
  KLBytes body = {};
  bool answers = true;
};

std::ostream& operator<<(std::ostream& out, const BadPicture& bad) { return out << bad.name; }

void sendPicture(httplib::Response& response, const KLBytes& bytes) {
  response.set_content(reinterpret_cast<const char*>(bytes.data()), bytes.size(), "image/gif");
}

/// The picture shown by the view below `view` that shows pictures; null when it shows none.
const KLImage* pictureIn(const KLView& view) {
  if (view.kind() == KLView::Kind::ImageView) return view.image.get();
  for (const auto& child : view.subviews()) {
    if (const KLImage* const found = pictureIn(*child)) return found;
  }
  return nullptr;
}

class PopupPictureTest : public ::testing::TestWithParam<BadPicture> {
 protected:
  ~PopupPictureTest() override { gate.open(); }

  void answerPicture(httplib::Response& response) {
    if (!GetParam().answers) gate.pass();
    if (good) return sendPicture(response, picture(kGoodWidth, 1));
    response.status = GetParam().status;
    sendPicture(response, GetParam().body);
  }

  std::atomic<bool> good{false};
  Gate gate;
  LoopbackServer server{[this](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [](const httplib::Request& request, httplib::Response& response) {
      const std::string url = "http://" + request.get_header_value("Host") + "/picture";
      response.set_content(KLJSON::serialize(testing::answer({popupPlan(1, "Pay", layout(url))})), "application/json");
    });
    routes.Get("/picture", [this](const auto&, httplib::Response& response) { answerPicture(response); });
  }};
};

TEST_P(PopupPictureTest, DoesNotKeepThePopupAndAGoodOneAppearsLater) {
  const auto showsPicture = [](int width) {
    return [width](KLHeadlessWindow& window) {
      const KLImage* const shown = pictureIn(*window.root());
      return shown && shown->frame(0)->width == width;
    };
  };
  Application application({.server = server.url()});
  application.options->setPlaceholderImage(picture(kPlaceholderWidth, 1));
  application.options->setPreloadImage(false);  // a popup that joins a download under way shows no placeholder
  application.start();
  ASSERT_TRUE(application.shows("Pay", 1));
  EXPECT_TRUE(application.sees(showsPicture(kPlaceholderWidth)));
  application.tapButton();
  ASSERT_TRUE(application.delegates->waitFor("campaignDidEnd 1"));
  EXPECT_EQ(application.windowsOnScreen(), 0u);

  good = true;
  ASSERT_TRUE(application.shows("Pay", 1, 2));
  gate.open();
  EXPECT_TRUE(application.sees(showsPicture(kGoodWidth)));
}

INSTANTIATE_TEST_SUITE_P(Every, PopupPictureTest,
                         ::testing::Values(BadPicture{.name = "Missing", .status = 404},
                                           BadPicture{.name = "Garbage", .body = {'G', 'I', 'F', '8', '9', 'a', 1, 2, 3}},
                                           BadPicture{.name = "Oversized", .body = picture(kOversize, kOversize)},
                                           BadPicture{.name = "NeverAnswered", .answers = false}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace kaleo
