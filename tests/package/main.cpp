// Reaches a plain function, a class and a template of the library.
#include <vlox_common.h>

int main() {
    vloxlib::WindowsMutex mutex;
    vloxlib::WindowsMutexGuard lock(mutex);
    return vloxprint_v2(2, __FILE__, "main", __LINE__, "no logger: %d", 1);
}
