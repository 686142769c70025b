#include "preview/qt/FileWatch.h"

#include <sys/stat.h>

#include <QStringList>
#include <utility>

namespace kaleo::tools {
namespace {

/// An editor's steps of saving come within this.
constexpr int kSettleMilliseconds = 60;

QString textOf(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }

}  // namespace

FileWatch::FileWatch(std::function<void()> changed) : changed_(std::move(changed)) {
  settled_.setSingleShot(true);
  settled_.setInterval(kSettleMilliseconds);
  QObject::connect(&settled_, &QTimer::timeout, &settled_, [this] { check(); });
  const auto settle = [this] { settled_.start(); };
  QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, &settled_, settle);
  QObject::connect(&watcher_, &QFileSystemWatcher::directoryChanged, &settled_, settle);
}

void FileWatch::follow(const std::vector<std::filesystem::path>& files) {
  std::map<std::filesystem::path, Stamp> followed;
  for (const auto& file : files) {
    const auto known = files_.find(file);
    followed.emplace(file, known == files_.end() ? stampOf(file) : known->second);
  }
  files_ = std::move(followed);
  renewPaths();
}

FileWatch::Stamp FileWatch::stampOf(const std::filesystem::path& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return {};
  return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

// A file that is replaced takes its watch along; its directory tells that there is another one.
void FileWatch::renewPaths() {
  QStringList wanted;
  for (const auto& [file, stamp] : files_) {
    if (stampOf(file) != Stamp{}) wanted << textOf(file);
    const auto directory = file.parent_path();
    if (stampOf(directory) != Stamp{}) wanted << textOf(directory);
  }
  wanted.removeDuplicates();
  QStringList unwanted = watcher_.files() + watcher_.directories();
  for (const QString& path : wanted) unwanted.removeAll(path);
  for (const QString& path : watcher_.files() + watcher_.directories()) wanted.removeAll(path);
  if (!unwanted.isEmpty()) watcher_.removePaths(unwanted);
  if (!wanted.isEmpty()) watcher_.addPaths(wanted);
}

void FileWatch::check() {
  bool different = false;
  for (auto& [file, stamp] : files_) {
    const Stamp now = stampOf(file);
    different = different || now != stamp;
    stamp = now;
  }
  renewPaths();
  if (different) changed_();
}

}  // namespace kaleo::tools
