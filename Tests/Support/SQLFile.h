#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace kaleo::testing {

/// A database file as another program sees it: any SQL, rows as texts.
class SQLFile {
 public:
  using Rows = std::vector<std::string>;

  explicit SQLFile(const std::filesystem::path& path) {
    if (sqlite3_open(path.c_str(), &handle_) != SQLITE_OK) throw std::runtime_error("cannot open " + path.string());
  }
  ~SQLFile() { sqlite3_close(handle_); }
  SQLFile(const SQLFile&) = delete;
  SQLFile& operator=(const SQLFile&) = delete;

  /// One text a row, columns parted by '|', NULL as "NULL", blobs as hexadecimal after "x".
  Rows rows(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sql + ": " + sqlite3_errmsg(handle_));
    }
    Rows found;
    while (sqlite3_step(statement) == SQLITE_ROW) found.push_back(rowText(statement));
    sqlite3_finalize(statement);
    return found;
  }

  void run(const std::string& script) {
    char* message = nullptr;
    if (sqlite3_exec(handle_, script.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
    const std::string text = script + ": " + message;
    sqlite3_free(message);
    throw std::runtime_error(text);
  }

  /// The single value of the single row of `sql`; "" when there is no row.
  std::string value(const std::string& sql) {
    const Rows found = rows(sql);
    return found.empty() ? "" : found.front();
  }

 private:
  static std::string columnText(sqlite3_stmt* statement, int column) {
    const int type = sqlite3_column_type(statement, column);
    if (type == SQLITE_NULL) return "NULL";
    const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement, column));
    const int length = sqlite3_column_bytes(statement, column);
    if (type != SQLITE_BLOB) return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    std::string hex = "x";
    for (int i = 0; i < length; ++i) {
      hex += "0123456789ABCDEF"[bytes[i] >> 4];
      hex += "0123456789ABCDEF"[bytes[i] & 15];
    }
    return hex;
  }

  static std::string rowText(sqlite3_stmt* statement) {
    std::string text;
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
      if (column) text += '|';
      text += columnText(statement, column);
    }
    return text;
  }

  sqlite3* handle_ = nullptr;
};

}  // namespace kaleo::testing
