// Kills the store's worker for so many minutes and prints what came of it: crash_soak [minutes]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "crash/CrashRun.h"
#include "support/TempDir.h"

namespace {

constexpr long kKillsPerFile = 100;
constexpr long kMigrationEvery = 10;

}  // namespace

int main(int argc, char** argv) {
    const double minutes = argc > 1 ? std::atof(argv[1]) : 10;
    if (argc > 2 || minutes <= 0) {
        std::fputs("usage: crash_soak [minutes]\n", stderr);
        return 2;
    }
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double, std::ratio<60>>(minutes);
    const unsigned seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    long kills = 0;
    long operations = 0;
    std::size_t losses = 0;
    for (unsigned file = 0; std::chrono::steady_clock::now() < end; ++file) {
        const vlox_test::TempDir dir;
        vlox_test::CrashRun run(dir.path(), seed + file);
        while (run.kills() < kKillsPerFile && std::chrono::steady_clock::now() < end) {
            run.killOnce();
            if (run.kills() % kMigrationEvery == 0) {
                const vlox_test::TempDir old;
                run.killMigration(old.path());
            }
        }
        for (const std::string& loss : run.losses()) {
            std::printf("LOSS (file %u): %s\n", file, loss.c_str());
        }
        kills += run.kills();
        operations += run.operations();
        losses += run.losses().size();
        std::printf("%ld kills, %ld acknowledged operations, %zu losses\n", kills, operations, losses);
        std::fflush(stdout);
    }
    return losses == 0 ? 0 : 1;
}
