#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo {

// Coercion of loosely typed values. All JSON from the server and every event record is read through these. A null pointer is an
// absent value; JSON null is a value. A value of the wrong kind gives the neutral result, never an error. Threads: any.

/// A number's integer, the leading number of a text, else 0.
std::int64_t quillon_integerValue(const KLValue* value);
float quillon_floatValue(const KLValue* value);
double quillon_doubleValue(const KLValue* value);
/// A number other than 0; a text that begins (after blanks, a sign and zeros) with one of "YyTt1" to "9"; else false.
bool quillon_boolValue(const KLValue* value);
/// Nothing for an absent value; a text as it is; a number's text; else "".
std::optional<std::string> quillon_stringValue(const KLValue* value);
/// The elements of an array of texts; an empty list for anything else.
std::vector<std::string> quillon_stringValues(const KLValue* value);

/// The description of a value, as "%@" writes it: a text as it is, a whole double without a fraction, a boolean as 1 or 0, null as
/// "<null>", everything else as compact JSON.
std::string quillon_description(const KLValue& value);

/// The double at the beginning of `text` after white space, however long; 0 when there is none. Locale independent.
double quillon_doublePrefix(std::string_view text);
/// The integer at the beginning of `text` after white space, clamped to 64 bits; 0 when there is none.
std::int64_t quillon_integerPrefix(std::string_view text);

/// The value of the first query item `name` of the URL `text`; nothing when `text` is no URL or has no such item or value.
std::optional<std::string> quillon_queryValueForParameter(std::string_view text, std::string_view name);
/// -1, 0 or 1 as dotted version `left` is lower than, equal to or higher than `right`; a missing or non-numeric part counts 0.
int quillon_compareVersion(std::string_view left, std::string_view right);

}  // namespace kaleo
