#include "vloxlib/log/vloxLog.h"

int vloxprint_v2(int /*level*/, const char* /*sourceFile*/, const char* /*function*/, int /*line*/,
                 const char* /*format*/, ...) {
    return 0;
}

void create_logger(const char* /*name*/, const char* /*path*/, bool /*debugOutput*/) {}

void close_logger() {}

void set_logger_level(int /*level*/) {}
