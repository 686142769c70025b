// For scripts/check_lint alone: clang before 15 does not know what libstdc++ builds std::source_location on and so has none.
#include <version>

#if defined(__clang__) && __clang_major__ < 15
namespace std {
struct source_location {
  static constexpr source_location current(const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
                                           unsigned line = __builtin_LINE()) noexcept {
    source_location place;
    place.file_ = file;
    place.function_ = function;
    place.line_ = line;
    return place;
  }
  constexpr const char* file_name() const noexcept { return file_; }
  constexpr const char* function_name() const noexcept { return function_; }
  constexpr unsigned line() const noexcept { return line_; }

 private:
  const char* file_ = "";
  const char* function_ = "";
  unsigned line_ = 0;
};
}  // namespace std
#endif
