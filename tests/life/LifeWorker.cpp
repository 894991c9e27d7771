// One life of a program that uses the library: life_worker <directory> <seed>. The library and what works it
// are loaded at run time, and unloaded where nothing of it runs any more.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#ifdef __SANITIZE_THREAD__
// The child of a fork starts threads again, and a program may end before its threads are waited for.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "die_after_fork=0:report_thread_leaks=0";
}
#endif
#ifdef __SANITIZE_ADDRESS__
// What a thread that still runs at the end of the program has in its hands counts as lost.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}
#endif

int main(int argc, char** argv) {
    void* const work = argc == 3 ? dlopen(VLOX_LIFE_WORK_PATH, RTLD_NOW) : nullptr;
    if (work == nullptr) {
        std::fprintf(stderr, "usage: life_worker <directory> <seed>\n");
        return 2;
    }
    using Live = bool(const char*, unsigned);
    const auto live = reinterpret_cast<Live*>(dlsym(work, "live"));
    const bool over = live(argv[1], static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)));
    if (over) {
        dlclose(work);
    }
}
