#include <cstdio>
#include <cstdlib>

#include "fuzz/Targets.h"

namespace vlox_fuzz {

void promise(bool kept, const char* what) {
    if (!kept) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

}  // namespace vlox_fuzz
