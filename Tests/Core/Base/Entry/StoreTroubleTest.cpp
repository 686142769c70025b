#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/mount.h>

#include <fstream>

#include "Support/Application.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using testing::Application;
using testing::Installation;
using testing::layout;
using testing::popupPlan;

class StoreTroubleTest : public ::testing::Test {
 protected:
  /// Shows the popup twice, although `said` at level 1 tells that nothing can be stored.
  void expectPopupsAndError(const std::string& said) {
    Application application({.server = server.url(), .installation = installation});
    application.start();
    EXPECT_TRUE(application.showsAndCloses("Pay", 1, 1));
    EXPECT_TRUE(application.shows("Pay", 1, 2));
    application.library.reset();
    EXPECT_THAT(application.log().messages(1), ::testing::Contains(::testing::HasSubstr(said)));
  }
  static void write(const std::filesystem::path& file, const std::string& text) { std::ofstream(file) << text; }

  std::shared_ptr<Installation> installation = std::make_shared<Installation>();
  const std::filesystem::path documents = installation->files / "documents";
  const std::filesystem::path database = documents / "Kaleo_Popup.sqlite";
  LoopbackServer server{[](httplib::Server& routes) {
    routes.Get("/klo/user_popup_configs", [](const auto&, httplib::Response& response) {
      response.set_content(KLJSON::serialize(testing::answer({popupPlan(1, "Pay", layout())})), "application/json");
    });
  }};
};

TEST_F(StoreTroubleTest, DirectoryThatCannotBeMade) {
  write(documents, "a file in its place");
  expectPopupsAndError("Failed to open database");
}

TEST_F(StoreTroubleTest, GarbageInTheFile) {
  std::filesystem::create_directories(documents);
  write(database, std::string(10'000, 'x'));
  expectPopupsAndError("Database file is damaged, it was moved to");
}

TEST_F(StoreTroubleTest, DirectoryInPlaceOfTheFile) {
  std::filesystem::create_directories(database / "inside");
  expectPopupsAndError("Failed to open database");
}

/// A file system of its own, without room, for as long as it lives.
class FullDisk {
 public:
  explicit FullDisk(std::filesystem::path place) : place_(std::move(place)) {
    std::filesystem::create_directories(place_);
    mounted_ = mount("none", place_.c_str(), "tmpfs", 0, "size=64k") == 0;
    if (mounted_) std::ofstream(place_ / "filler") << std::string(1 << 20, 'x');
  }
  ~FullDisk() {
    if (mounted_) umount2(place_.c_str(), MNT_DETACH);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

  bool isMounted() const { return mounted_; }

 private:
  const std::filesystem::path place_;
  bool mounted_ = false;
};

TEST_F(StoreTroubleTest, FullDisk) {
  const FullDisk disk(documents);
  if (!disk.isMounted()) GTEST_SKIP() << "no right to mount a small file system here";
  expectPopupsAndError("atabase");
}

TEST_F(StoreTroubleTest, HostThatForgetsItsValuesKeepsThePlans) {
  {
    Application application({.server = server.url(), .installation = installation});
    application.start();
    ASSERT_TRUE(application.installs(1));
  }
  installation->store = std::make_shared<testing::MemoryStore>();
  Application application({.server = server.url("/nothing"), .installation = installation});
  application.start();
  EXPECT_TRUE(application.shows("Pay", 1));
}

}  // namespace
}  // namespace kaleo
