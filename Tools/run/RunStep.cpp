#include "run/RunStep.h"

#include <array>
#include <cmath>
#include <utility>

#include "kaleo/KLNotificationCenter.h"
#include "lines/EventLine.h"

namespace kaleo::tools {
namespace {

/// How long "ready" and "idle" wait at most, in seconds.
constexpr double kLongestWait = 60;

using Parsed = std::optional<RunStep>;

Parsed refuse(std::string& fault, const char* why) {
  fault = why;
  return std::nullopt;
}

struct Word {
  const char* word;
  const char* notification;
};
constexpr Word kHows[] = {{"login", kNimbraTrackLoginNotification},
                          {"logout", kNimbraTrackLogoutNotification},
                          {"identify", kNimbraTrackIdentifyNotification},
                          {"reset", kNimbraTrackResetAnonymousIdNotification},
                          {"server_url", kNimbraSetServerUrlNotification}};
constexpr Word kApps[] = {{"background", kKLApplicationDidEnterBackgroundNotification},
                          {"active", kKLApplicationDidBecomeActiveNotification}};

template <std::size_t count>
const char* notificationOf(const KLValue* word, const Word (&words)[count]) {
  if (!word || !word->isString()) return nullptr;
  for (const Word& known : words) {
    if (word->asString() == known.word) return known.notification;
  }
  return nullptr;
}

Parsed track(const KLValue& record, const KLValue&, std::string& fault) {
  if (!record.isObject()) return refuse(fault, "\"track\" is no object");
  return TrackStep{recordWithDates(record)};
}

Parsed user(const KLValue& user, const KLValue& line, std::string& fault) {
  fault = faultOfUser(user);
  if (!fault.empty()) return std::nullopt;
  const char* const notification = notificationOf(line.find("how"), kHows);
  if (!notification) return refuse(fault, R"("how" is none of "login", "logout", "identify", "reset" and "server_url")");
  return UserStep{user, notification};
}

Parsed tap(const KLValue& number, const KLValue&, std::string& fault) {
  if (!number.isInteger() || number.asInteger() < 0) return refuse(fault, "\"tap\" is no whole number from 0 on");
  return TapStep{static_cast<std::size_t>(number.asInteger())};
}

Parsed app(const KLValue& word, const KLValue&, std::string& fault) {
  const char* const notification = notificationOf(&word, kApps);
  if (!notification) return refuse(fault, R"("app" is none of "background" and "active")");
  return AppStep{notification};
}

Parsed open(const KLValue& url, const KLValue&, std::string& fault) {
  if (!url.isString()) return refuse(fault, "\"open\" is no text");
  return OpenStep{url.asString()};
}

Parsed fetch(const KLValue& flag, const KLValue&, std::string& fault) {
  if (!flag.isBool() || !flag.asBool()) return refuse(fault, "\"fetch\" is not true");
  return FetchStep{};
}

Parsed wait(const KLValue& what, const KLValue&, std::string& fault) {
  using For = WaitStep::For;
  if (what.isString() && what.asString() == "ready") return WaitStep{For::Ready, kLongestWait};
  if (what.isString() && what.asString() == "idle") return WaitStep{For::Idle, kLongestWait};
  const double seconds = what.asDouble();
  if (!isNumber(&what) || !std::isfinite(seconds) || seconds < 0) {
    return refuse(fault, R"("wait" is none of "ready", "idle" and a number of seconds from 0 on)");
  }
  return WaitStep{For::Time, seconds};
}

struct Command {
  const char* name;
  Parsed (*parse)(const KLValue& argument, const KLValue& line, std::string& fault);
};
constexpr std::array kCommands = {Command{"track", track}, Command{"user", user},   Command{"tap", tap},  Command{"app", app},
                                  Command{"open", open},   Command{"fetch", fetch}, Command{"wait", wait}};
constexpr const char* kNames = R"("track", "user", "tap", "app", "open", "fetch" and "wait")";

}  // namespace

std::optional<RunStep> parseRunStep(std::string_view text, std::string& fault) {
  const auto line = parseObjectLine(text, fault);
  if (!line) return std::nullopt;
  const Command* found = nullptr;
  for (const Command& command : kCommands) {
    if (!line->find(command.name)) continue;
    if (found) return refuse(fault, (std::string("more than one of ") + kNames + " is there").c_str());
    found = &command;
  }
  if (!found) return refuse(fault, (std::string("none of ") + kNames + " is there").c_str());
  return found->parse(*line->find(found->name), *line, fault);
}

}  // namespace kaleo::tools
