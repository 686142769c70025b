#include "Platform/Linux/KLXDGDirectories.h"

#include <gtest/gtest.h>

#include <map>

#include "Support/SourceDirectory.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;

KLEnvironment environment(std::map<std::string, std::string> variables) {
  return [variables = std::move(variables)](const char* name) {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  };
}

TEST(KLXDGDirectories, TheVariablesDecide) {
  const auto directories =
      KLXDGDirectories("app", environment({{"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c/"}, {"XDG_CACHE_HOME", "/x/y"}}));
  EXPECT_EQ(directories.documents, "/d/app");
  EXPECT_EQ(directories.library, "/c/app");
  EXPECT_EQ(directories.caches, "/x/y/app");
}

TEST(KLXDGDirectories, UnsetEmptyAndRelativeVariablesGiveWayToHome) {
  for (const auto& variables :
       {std::map<std::string, std::string>{{"HOME", "/home/user"}},
        {{"HOME", "/home/user"}, {"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", "c"}, {"XDG_CACHE_HOME", "./x"}}}) {
    const auto directories = KLXDGDirectories("app", environment(variables));
    EXPECT_EQ(directories.documents, "/home/user/.local/share/app");
    EXPECT_EQ(directories.library, "/home/user/.config/app");
    EXPECT_EQ(directories.caches, "/home/user/.cache/app");
  }
}

TEST(KLXDGDirectories, WithoutAnythingThePathsAreStillAbsolute) {
  const auto directories = KLXDGDirectories("app", environment({}));
  for (const auto& path : {directories.documents, directories.library, directories.caches}) EXPECT_TRUE(path.is_absolute()) << path;
  EXPECT_NE(directories.documents, directories.caches);
}

TEST(KLXDGDirectories, AnApplicationsNameStaysOneSegment) {
  const auto documents = [](const std::string& name) {
    return KLXDGDirectories(name, environment({{"XDG_DATA_HOME", "/d"}})).documents;
  };
  EXPECT_EQ(documents("My App"), "/d/My App");
  EXPECT_EQ(documents("../../etc"), "/d/.._.._etc");
  EXPECT_EQ(documents("a/b\nc"), "/d/a_b_c");
  for (const char* name : {"", ".", ".."}) EXPECT_EQ(documents(name), "/d/kaleo");
  EXPECT_LE(documents(std::string(1000, 'n')).filename().string().size(), 255u);
}

TEST(KLXDGDirectories, ResourcesLieBesideTheProgramAsInAnInstallation) {
  const fs::path program = fs::canonical("/proc/self/exe");
  EXPECT_EQ(KLResourceDirectory(), program.parent_path().parent_path() / "share" / "kaleo");
  EXPECT_EQ(KLXDGDirectories("app", environment({})).resources, KLResourceDirectory());
  EXPECT_EQ(fs::read_symlink(KLResourceDirectory()), testing::sourceDirectory() / "Resources");
}

TEST(KLProcessEnvironment, TellsUnsetFromEmpty) {
  setenv("KALEO_TEST_VARIABLE", "", 1);
  EXPECT_EQ(KLProcessEnvironment("KALEO_TEST_VARIABLE"), "");
  unsetenv("KALEO_TEST_VARIABLE");
  EXPECT_FALSE(KLProcessEnvironment("KALEO_TEST_VARIABLE").has_value());
}

}  // namespace
}  // namespace kaleo
