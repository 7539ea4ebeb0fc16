// UnusableInput: why nothing can be judged.
//
// A fault of what the judge was given, such as a missing file, and never a verdict on what was heard.
#pragma once

#include <stdexcept>

namespace velto::judge {

class UnusableInput final : public std::runtime_error {
  public:
    /// One sentence for the user.
    using std::runtime_error::runtime_error;
};

} // namespace velto::judge
