// The one exception type of the product layer: a description or an input that cannot
// be used, said in one line that names the part and the reason. Per-cycle calls never throw.
#ifndef TOLVEX_ROBOT_ERROR_H
#define TOLVEX_ROBOT_ERROR_H

#include <stdexcept>

namespace tk {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tk

#endif
