#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "check/Findings.h"

namespace kaleo::tools {

/// Reports the members of `object` that are not among `known`, with the known name that comes nearest. What is no object has none.
/// Names that begin with "_" or "$" are taken for remarks.
void checkKeys(const At& object, std::initializer_list<std::string_view> known, Findings& findings);

/// Reports a value that is given and no object, or no array.
bool expectObject(const At& at, Findings& findings);
bool expectArray(const At& at, Findings& findings);

/// Reports a text that begins or ends with a blank, where texts are compared letter by letter.
void checkBlanks(const At& at, Findings& findings);
/// Reports a value that does not read as the whole number that it looks like: of a text what follows its first digits is lost, of a
/// number what follows the point.
void checkInteger(const At& at, Findings& findings);
/// Whether the whole text is one number.
bool isWholeNumberText(const std::string& text);

bool beginsWithNumber(const std::string& text);

/// Whether the two are equal, or both absent.
bool isSame(const At& left, const At& right);

/// `text` in double quotes, shortened when it is long.
std::string quoted(std::string_view text);
/// The value as a person would write it: texts in quotes, JSON otherwise, shortened when it is long.
std::string written(const At& at);

}  // namespace kaleo::tools
