#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "check/Findings.h"

namespace kaleo::tools {

/// Reports the members of `object` that are not among `known`: as misspelt where one of a similar name is missing. What is no
/// object has none. Names that begin with "_" or "$" are taken for remarks.
void checkKeys(const At& object, std::initializer_list<std::string_view> known, Findings& findings);

/// Reports a value that is given and no object, or no array.
bool expectObject(const At& at, Findings& findings);
bool expectArray(const At& at, Findings& findings);
/// Reports an element of an array that is no object; JSON null, too.
bool expectEntry(const At& at, Findings& findings);
/// Whether the value says yes or no in so many words, or nothing.
bool isClearBool(const At& at);
/// Reports a value that does not say yes or no in so many words. Answers what the library reads.
bool checkBool(const At& at, Findings& findings);

/// Reports a text that begins or ends with a blank, where texts are compared letter by letter.
void checkBlanks(const At& at, Findings& findings);
/// Reports a value that does not read as the whole number that it looks like: of a text what follows its first digits is lost, of a
/// number what follows the point. Answers whether it reported one.
bool checkInteger(const At& at, Findings& findings);
/// Whether the whole text is one number.
bool isWholeNumberText(const std::string& text);

bool beginsWithNumber(const std::string& text);

/// "; did you mean …?" where one of `known` is much like `word`, else ".".
std::string didYouMean(std::string_view word, std::initializer_list<std::string_view> known);

/// `text` in double quotes, shortened when it is long.
std::string quoted(std::string_view text);
/// The value as a person would write it: texts in quotes, JSON otherwise, shortened when it is long; "missing" when it is absent.
std::string written(const At& at);

}  // namespace kaleo::tools
