#pragma once

#include <string>

namespace kaleo::bench {

/// A layout of 200 elements as campaigns have them: cards in columns, each with a picture, two labels and a row of two buttons.
std::string popupOf200Elements();

/// A text of 200 characters, different for each number.
std::string textOf200Characters(int number);

}  // namespace kaleo::bench
