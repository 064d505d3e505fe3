#pragma once

#include <locale>
#include <string>

namespace test {

// What a host may have made part of the global locale: writes 1234567 as 1,2,3,4,5,6,7.
class GroupedDigits : public std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\1"; }
};

} // namespace test
