// Lets a program live with the library so many times, and prints what went wrong: life_soak [rounds] [seed]
// [limit of a round in seconds]
#include <cstdio>
#include <cstdlib>
#include <random>

#include "life/LifeRun.h"
#include "support/TempDir.h"

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 1000;
    unsigned seed =
        argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : std::random_device{}();
    const std::chrono::seconds limit(argc > 3 ? std::atoi(argv[3]) : 10);
    if (argc > 4 || rounds <= 0 || limit.count() <= 0) {
        std::fputs("usage: life_soak [rounds] [seed] [limit]\n", stderr);
        return 2;
    }
    std::printf("seed %u\n", seed);
    int failures = 0;
    for (int round = 1; round <= rounds; ++round) {
        const vlox_test::TempDir dir;
        const std::string failure = vlox_test::liveOnce(dir.path(), seed++, limit);
        if (!failure.empty()) {
            ++failures;
            std::printf("FAILURE: %s\n", failure.c_str());
        }
        if (round % 100 == 0 || round == rounds) {
            std::printf("%d lives, %d failures\n", round, failures);
            std::fflush(stdout);
        }
    }
    return failures == 0 ? 0 : 1;
}
