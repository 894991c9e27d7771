#ifndef FILES_OUTCOME_H
#define FILES_OUTCOME_H

#include <string>

namespace files {

/// What one attempt at a task has come to.
struct Outcome {
    enum What {
        GOOD,    ///< nothing stands in the way of the next step
        DONE,    ///< the result is there, for good or for bad
        AGAIN,   ///< it may succeed later
        STOPPED  ///< the module is being unloaded
    };
    What what = GOOD;
    int code = 0;
    std::string data;  ///< of the result
};

}  // namespace files

#endif
