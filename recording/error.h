// The exception for files that cannot be read or written.
#pragma once

#include <stdexcept>

namespace Recording {

/// `what()` begins with the file and, where there is one, the line: "mav0/imu0/data.csv:17: ...".
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace Recording
