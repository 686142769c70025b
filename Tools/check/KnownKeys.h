#pragma once

#include <initializer_list>
#include <string_view>

#include "check/Findings.h"

namespace kaleo::tools {

/// Reports the members of `object` that are not among `known`, with the known name that comes nearest. What is no object has none.
/// Names that begin with "_" or "$" are taken for remarks.
void checkKeys(const At& object, std::initializer_list<std::string_view> known, Findings& findings);

/// Reports a value that is given and no object, or no array.
bool expectObject(const At& at, Findings& findings);
bool expectArray(const At& at, Findings& findings);

/// `text` in double quotes, shortened when it is long.
std::string quoted(std::string_view text);
/// The value as a person would write it: texts in quotes, JSON otherwise, shortened when it is long.
std::string written(const At& at);

}  // namespace kaleo::tools
