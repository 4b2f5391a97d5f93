// Input that the tool cannot work with: exit code 3.
#pragma once

#include <stdexcept>

namespace hosting {

// what() names the file, its line or place, what was expected and what stood there.
class UnusableInput : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace hosting
