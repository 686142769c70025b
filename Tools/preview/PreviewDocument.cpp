#include "preview/PreviewDocument.h"

#include <fmt/format.h>

#include <string>

#include "Foundation/KLFile.h"
#include "Foundation/KLJSON.h"
#include "files/FileReading.h"
#include "json/JSONFault.h"
#include "preview/PictureReferences.h"
#include "serve/PopupDocuments.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServedFile = "user_popup_configs.json";
constexpr const char* kNoLayout =
    R"(there is no layout in here: neither a "template", nor a plan's "popup_window_content", nor a "content" with the layout as text)";
constexpr const char* kConfiguration = "this is a whole configuration; take one of its \"popup_plans\", or a layout";

const KLValue* objectFor(const KLValue& value, const char* key) {
  const KLValue* found = value.find(key);
  return found && found->isObject() ? found : nullptr;
}

/// The directory that `kaleo serve` would serve `file` from: the nearest one above it with a configuration.
fs::path servedDirectory(const fs::path& file) {
  for (fs::path directory = file.parent_path(); directory.has_relative_path(); directory = directory.parent_path()) {
    if (KLFile::exists(directory / kServedFile)) return directory;
  }
  return file.parent_path();
}

class Reader {
 public:
  /// `file` is the document as its reader named it.
  explicit Reader(const fs::path& file) : base_(servedDirectory(fs::absolute(file))) {}

  PreviewDocument read(const fs::path& file) {
    const KLValue document = parseFile(file);
    const KLValue* content = objectFor(document, "popup_window_content");
    return {layoutOf(content ? *content : document, file), std::move(files_)};
  }

 private:
  [[noreturn]] static void fail(const std::string& name, const std::string& reason) { throw PreviewError(name + ": " + reason); }

  KLValue parseFile(const fs::path& file) {
    files_.push_back(fs::absolute(file));
    std::string error;
    const auto text = readText(file, error);
    if (!text) fail(file.string(), error);
    return parse(*text, file.string());
  }

  KLValue parse(const std::string& text, const std::string& name) const {
    if (const auto fault = findJSONFault(text)) fail(fmt::format("{}:{}:{}", name, fault->line, fault->column), fault->message);
    KLError error;
    const auto value = KLJSON::parse(filledIn(text, {fileURL(base_), "preview"}), &error);
    if (!value) fail(name, error.localizedDescription);
    return *value;
  }

  /// `value` is a layout, or the content of a popup window.
  KLValue layoutOf(const KLValue& value, const fs::path& file) {
    if (value.find("template")) return finished(value, file, file.string());
    if (const KLValue* content = value.find("content"); content && content->isString()) {
      const std::string name = file.string() + ": in \"content\"";
      return finished(parse(content->asString(), name), file, name);
    }
    const KLValue* served = value.find("layout");
    if (!served || !served->isString()) fail(file.string(), value.find("popup_plans") ? kConfiguration : kNoLayout);
    const fs::path layout = base_ / "layouts" / served->asString();
    return finished(parseFile(layout), layout, layout.string());
  }

  KLValue finished(const KLValue& layout, const fs::path& file, const std::string& name) {
    if (!objectFor(layout, "template")) fail(name, "a layout is an object whose \"template\" is an object, too");
    return withPictureURLs(layout, fs::absolute(file).parent_path(), files_);
  }

  const fs::path base_;
  std::vector<fs::path> files_;
};

}  // namespace

PreviewDocument readPreviewDocument(const fs::path& file) { return Reader(file).read(file); }

}  // namespace kaleo::tools
