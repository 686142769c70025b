#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kaleo/KLHost.h"

namespace kaleo::testing {

/// A host logger that keeps what it is told.
class RecordingLog : public NBLog {
 public:
  struct Line {
    int level;
    std::string message;
  };

  void log(bool, const std::string& message, int level, const char*, const char*, int, int) override {
    std::lock_guard lock(mutex_);
    lines_.push_back({level, message});
    changed_.notify_all();
  }

  std::vector<Line> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  bool contains(const std::string& message) const { return count(message) > 0; }
  int count(const std::string& message) const {
    int found = 0;
    for (const Line& line : lines()) found += line.message == message;
    return found;
  }
  /// Waits until `times` lines contain `text`; false after 20 seconds.
  bool waitFor(const std::string& text, int times = 1) const {
    std::unique_lock lock(mutex_);
    std::size_t seen = 0;  // lines looked at
    int found = 0;
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] {
      for (; seen < lines_.size(); ++seen) found += lines_[seen].message.find(text) != std::string::npos;
      return found >= times;
    });
  }
  std::vector<std::string> messages(int level) const {
    std::vector<std::string> found;
    for (const Line& line : lines()) {
      if (line.level == level) found.push_back(line.message);
    }
    return found;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Line> lines_;  ///< guarded by mutex_
};

/// A host key-value store in memory.
class MemoryStore : public NBStoreManager {
 public:
  explicit MemoryStore(bool plugin = false) : plugin_(plugin) {}

  std::optional<KLValue> objectForKey(const std::string& key) const override {
    std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  void setObject(const KLValue& value, const std::string& key) override {
    std::lock_guard lock(mutex_);
    values_[key] = value;
  }
  void removeObjectForKey(const std::string& key) override {
    std::lock_guard lock(mutex_);
    values_.erase(key);
  }
  bool isRegisteredCustomStorePlugin() const override { return plugin_; }

 private:
  bool plugin_;
  mutable std::mutex mutex_;
  std::map<std::string, KLValue> values_;  ///< guarded by mutex_
};

struct FakeProject : NBProjectSource {
  explicit FakeProject(std::optional<std::string> name, bool knows = true) : name_(std::move(name)), knows_(knows) {}
  bool respondsToProject() const override { return knows_; }
  std::optional<std::string> project() const override { return name_; }

 private:
  std::optional<std::string> name_;
  bool knows_;
};

/// A host main object with an identity that tests set, and the events it was asked to track.
class FakeNimbra : public NimbraSDK {
 public:
  struct Tracked {
    std::string event;
    KLValue properties;
  };

  std::optional<std::string> distinctId() const override { return get(distinctId_); }
  std::optional<std::string> loginId() const override { return get(loginId_); }
  std::optional<std::string> anonymousId() const override { return get(anonymousId_); }
  std::optional<std::string> libVersion() const override { return get(version_); }
  std::shared_ptr<NBProjectSource> network() const override { return network_; }
  std::shared_ptr<NBProjectSource> serverURL() const override { return serverURL_; }
  void track(const std::string& event, const KLValue& properties) override {
    std::lock_guard lock(mutex_);
    tracked_.push_back({event, properties});
  }

  void setIdentity(std::optional<std::string> distinct, std::optional<std::string> login = {},
                   std::optional<std::string> anonymous = {}) {
    std::lock_guard lock(mutex_);
    distinctId_ = std::move(distinct);
    loginId_ = std::move(login);
    anonymousId_ = std::move(anonymous);
  }
  void setVersion(std::optional<std::string> version) {
    std::lock_guard lock(mutex_);
    version_ = std::move(version);
  }
  std::vector<Tracked> tracked() const {
    std::lock_guard lock(mutex_);
    return tracked_;
  }

  std::shared_ptr<NBProjectSource> network_ = std::make_shared<FakeProject>("default");
  std::shared_ptr<NBProjectSource> serverURL_;

 private:
  std::optional<std::string> get(const std::optional<std::string>& field) const {
    std::lock_guard lock(mutex_);
    return field;
  }

  mutable std::mutex mutex_;
  std::optional<std::string> distinctId_ = "user-1", loginId_, anonymousId_, version_;  ///< guarded by mutex_
  std::vector<Tracked> tracked_;                                                        ///< guarded by mutex_
};

/// A whole fake host in a registry.
struct FakeHost {
  explicit FakeHost(bool storePlugin = false) : store(std::make_shared<MemoryStore>(storePlugin)) {
    registry.registerNimbraSDK(nimbra);
    registry.registerNBLog(log);
    registry.registerNBStoreManager(store);
  }

  KLHostRegistry registry;
  std::shared_ptr<FakeNimbra> nimbra = std::make_shared<FakeNimbra>();
  std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::shared_ptr<MemoryStore> store;
};

}  // namespace kaleo::testing
