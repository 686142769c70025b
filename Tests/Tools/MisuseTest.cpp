#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <string>

#include "Support/TemporaryDirectory.h"
#include "ToolProcess.h"

namespace kaleo::tools {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

constexpr const char* kLayout = R"({"properties": {"maskCloseEnabled": true},
    "template": {"type": "label", "layout": {}, "properties": {"text": "Hello", "font": "16px"}}})";

/// What a command says on the standard error, and its exit status; above 128 when a signal ended it.
struct Outcome {
  int status = -1;
  std::string errors;
};

struct Misuse {
  const char* arguments;
  int status;
  const char* words;  ///< that it says among others; "" when all is well
};

class MisuseTest : public ::testing::Test {
 protected:
  MisuseTest() {
    write("layout.json", kLayout);
    write("config.json", R"({"popup_plans": []})");
    write("events.jsonl", R"({"at": 1, "config": {"user_id": "u", "popup_plans": []}})");
    write("empty.json", "");
    write("utf16.json", std::string("\xFF\xFE{\0}\0", 6));
    write("page.json", "\n<!doctype html><title>502 Bad Gateway</title>");
    write("comma.json", "{\"template\": {},\n}");
    write("comment.json", "{ // the look\n}");
    write("quotes.json", "{'template': {}}");
    write("cut.json", R"({"template": {"type": "row")");
    write("deep.json", std::string(100'000, '['));
    write("marked.json", "\xEF\xBB\xBF" + std::string(kLayout) + "\r\n");
    write("text.sqlite", "not a database, although it is named like one");
    write("empty.sqlite", "");
    database("other.sqlite", "CREATE TABLE Recipes(x)");
    database("journeys.sqlite", "CREATE TABLE Journeys(x)");
    database("state.sqlite", "CREATE TABLE PlanWindows(x)");
    database("later.sqlite", "CREATE TABLE Users(x); CREATE TABLE PlanWindows(x); PRAGMA user_version = 99");
  }

  void write(const std::string& name, const std::string& text) const { std::ofstream(directory_ / name, std::ios::binary) << text; }

  void database(const std::string& name, const char* sql) const {
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open((directory_ / name).c_str(), &connection), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(connection);
  }

  /// Runs `kaleo` with `arguments` as a shell reads them; what it prints goes to `output`.
  Outcome run(const std::string& arguments, const std::string& output = "/dev/null") const {
    const std::string command = "cd '" + directory_.path().string() + "' && '" + testing::toolPath() + "' " + arguments +
                                " 2>&1 >" + output + " </dev/null";
    Outcome outcome;
    FILE* const errors = popen(command.c_str(), "r");
    if (errors == nullptr) return outcome;
    for (int c = std::fgetc(errors); c != EOF; c = std::fgetc(errors)) outcome.errors += static_cast<char>(c);
    const int status = pclose(errors);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
  }

  void expect(std::initializer_list<Misuse> cases) const {
    for (const Misuse& misuse : cases) {
      const Outcome outcome = run(misuse.arguments);
      EXPECT_EQ(outcome.status, misuse.status) << misuse.arguments << "\n" << outcome.errors;
      EXPECT_THAT(outcome.errors, HasSubstr(misuse.words)) << misuse.arguments;
      EXPECT_EQ(outcome.errors.empty(), misuse.status == 0) << misuse.arguments;
      for (const char* const raw : {"terminate", "std::", "what()", "Sanitizer", "CLI::"}) {
        EXPECT_THAT(outcome.errors, Not(HasSubstr(raw))) << misuse.arguments;
      }
    }
  }

  TemporaryDirectory directory_;
};

TEST_F(MisuseTest, EveryCommandSaysWhatIsWrongOfTheCommandLine) {
  expect({
      {"", 64, "Usage: kaleo [OPTIONS] COMMAND"},
      {"help", 0, ""},
      {"help explain", 0, ""},
      {"help explian", 64, "there is no command explian; did you mean explain?"},
      {"explain journeys.sqlite --zone UTC", 64, "there is no option --zone; did you mean --timezone?"},
      {"explain journeys.sqlite --plan-id 1", 64, "there is no option --plan-id; did you mean --plan?"},
      {"explain journeys.sqlite --xyz", 64, "there is no option --xyz\n"},
      {"explain journeys.sqlite --plan", 64, "--plan needs a value: --plan ID"},
      {"explain journeys.sqlite --plan 1 --plan 2", 64, "--plan is given more than once"},
      {"simulte", 64, "there is no command simulte; did you mean simulate?"},
      {"simulate --event events.jsonl", 64, "there is no option --event; did you mean --events?"},
      {"simulate", 64, "--events is required"},
      {"inspect state.sqlite other.sqlite", 64, "one file too many: other.sqlite"},
      {"check", 64, "FILE (a configuration"},
      {"check --codes config.json", 64, "--codes"},
      {"serve . --port 99999", 64, "--port"},
      {"preview layout.json --screen big", 64, "such as 375x812"},
      {"preview layout.json --scale 0", 64, "--scale"},
      {"completion tcsh", 64, "tcsh is none of bash, zsh, fish"},
      {"run", 64, "--server is required"},
  });
}

TEST_F(MisuseTest, EveryCommandSaysWhatIsWrongOfTimesAndPlaces) {
  expect({
      {"check --at yesterday config.json", 3, "--at yesterday: this is no time; give one such as"},
      {"check --at 2026-13-45 config.json", 3, "this is no time"},
      {"explain --since nan journeys.sqlite", 2, "--since nan: this is no time"},
      {"inspect --timezone Mars/Olympus state.sqlite", 2, "unknown time zone: Mars/Olympus"},
      {"simulate --events events.jsonl --timezone Mars", 2, "unknown time zone: Mars"},
      {"simulate --events events.jsonl --on-screen -1", 2, "--on-screen"},
      {"run --server localhost", 2, "no URL such as http://127.0.0.1:8080"},
  });
}

TEST_F(MisuseTest, EveryCommandSaysWhatIsWrongOfFilesThatCannotBeRead) {
  expect({
      {"check gone.json", 3, "gone.json cannot be read: No such file or directory"},
      {"check .", 3, ". is a directory"},
      {"preview gone.json --frames --metrics fixed", 2, "gone.json: cannot be read: No such file or directory"},
      {"simulate --events gone.jsonl", 2, "gone.jsonl cannot be read: No such file or directory"},
      {"inspect layout.json/state.sqlite", 2, "Not a directory"},
      {"inspect .", 2, "is a directory"},
      {"explain gone.sqlite", 2, "cannot be read: No such file or directory"},
      {"inspect --key gone state.sqlite", 2, "gone is not there"},
      {"inspect --key layout.json state.sqlite", 2, "the key file layout.json is none of this library"},
      {"serve gone", 2, "gone is no directory"},
  });
}

TEST_F(MisuseTest, EveryCommandSaysWhatIsWrongOfFilesOfAnotherKind) {
  expect({
      {"preview empty.json --frames --metrics fixed", 2, "empty.json:1:1: expected a value, but the text is empty"},
      {"preview utf16.json --frames --metrics fixed", 2, "save the file as UTF-8"},
      {"preview page.json --frames --metrics fixed", 2, "this is HTML"},
      {"preview comma.json --frames --metrics fixed", 2,
       "comma.json:2:1: expected a member's name in double quotes: the last comma"},
      {"preview comment.json --frames --metrics fixed", 2, "JSON has no comments"},
      {"preview quotes.json --frames --metrics fixed", 2, "texts stand in double quotes"},
      {"preview cut.json --frames --metrics fixed", 2, "but the text ends here"},
      {"preview deep.json --frames --metrics fixed", 2, "nested too deeply"},
      {"preview state.sqlite --frames --metrics fixed", 2, "this is an SQLite database; kaleo inspect"},
      {"preview config.json --frames --metrics fixed", 2, "take one of its \"popup_plans\""},
      {"preview marked.json --frames --metrics fixed", 0, ""},
      {"check marked.json", 0, ""},
      {"simulate --events config.json", 1, "line 1: this is a configuration alone; write it as"},
      {"simulate --events state.sqlite", 1, "line 1: "},
      {"simulate --events events.jsonl --store text.sqlite", 2, "is no store of this library"},
      {"inspect text.sqlite", 2, "is no SQLite database"},
      {"inspect empty.sqlite", 2, "is empty"},
      {"inspect layout.json", 2, "is JSON, no database: kaleo check"},
      {"inspect other.sqlite", 2, "other.sqlite "},
      {"inspect journeys.sqlite", 2, "kaleo explain"},
      {"inspect later.sqlite", 2, "later.sqlite "},
      {"explain other.sqlite", 2, "holds no records of decisions"},
      {"explain state.sqlite", 2, "kaleo inspect shows this one"},
      {"explain journeys.sqlite", 2, "its table Journeys has no column id"},
  });
}

TEST_F(MisuseTest, EveryCommandSaysWhatIsWrongOfPlacesThatCannotBeWritten) {
  expect({
      {"simulate --events events.jsonl --report events.jsonl", 2, "would write over the events themselves"},
      {"simulate --events events.jsonl --report gone/report.html", 2, "gone/report.html cannot be written"},
      {"simulate --events events.jsonl --store layout.json/state", 2, "layout.json/state"},
      {"preview layout.json --out layout.json", 2, "would write over the layout itself"},
      {"run --server http://127.0.0.1:1 --data layout.json", 2, "layout.json"},
  });
}

TEST_F(MisuseTest, AFullDiskIsSaid) {
  for (const char* const arguments : {"--help", "manual", "completion", "check --codes", "check layout.json",
                                      "check config.json --json", "preview layout.json --frames --metrics fixed",
                                      "simulate --events events.jsonl", "simulate --events events.jsonl --summary"}) {
    const Outcome outcome = run(arguments, "/dev/full");
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.errors, HasSubstr("the output cannot be written")) << arguments;
  }
}

}  // namespace
}  // namespace kaleo::tools
