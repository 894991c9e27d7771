// Kills the worker for so many minutes and prints what came of it: crash_soak [minutes]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "crash/CacheCrash.h"
#include "crash/LogCrash.h"
#include "crash/StoreCrash.h"
#include "crash/StoreDuel.h"
#include "crash/TransferCrash.h"
#include "support/TempDir.h"

using vlox_test::CacheCrash;
using vlox_test::CrashRun;
using vlox_test::LogCrash;
using vlox_test::StoreCrash;
using vlox_test::StoreDuel;
using vlox_test::TempDir;
using vlox_test::TransferCrash;

namespace {

constexpr int kKillsPerRound = 10;
constexpr int kRoundsPerFile = 10;

struct Sum {
    explicit Sum(const char* what) : name(what) {}

    void add(const CrashRun& run) {
        for (const std::string& loss : run.losses()) {
            std::printf("LOSS: %s\n", loss.c_str());
        }
        kills += run.kills();
        operations += run.operations();
        losses += run.losses().size();
    }
    void print() const {
        std::printf("%s: %ld kills, %ld acknowledged operations, %zu losses\n", name, kills, operations,
                    losses);
    }

    const char* name;
    long kills = 0;
    long operations = 0;
    std::size_t losses = 0;
};

void killOften(CrashRun& run) {
    for (int kill = 0; kill < kKillsPerRound; ++kill) {
        run.killOnce();
    }
}

}  // namespace

int main(int argc, char** argv) {
    const double minutes = argc > 1 ? std::atof(argv[1]) : 10;
    if (argc > 2 || minutes <= 0) {
        std::fputs("usage: crash_soak [minutes]\n", stderr);
        return 2;
    }
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double, std::ratio<60>>(minutes);
    unsigned seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    Sum ofStore("store");
    Sum ofDuel("two programs for one store");
    Sum ofLog("log");
    Sum ofCache("resolver cache");
    Sum ofTransfer("file transfers");
    while (std::chrono::steady_clock::now() < end) {
        const TempDir storeDir;
        const TempDir duelDir;
        const TempDir logDir;
        const TempDir cacheDir;
        const TempDir transferDir;
        StoreCrash store(storeDir.path(), seed++);
        StoreDuel duel(duelDir.path(), seed++);
        LogCrash log(logDir.path(), seed++);
        CacheCrash cache(cacheDir.path(), seed++);
        TransferCrash transfer(transferDir.path(), seed++);
        for (int round = 0; round < kRoundsPerFile && std::chrono::steady_clock::now() < end; ++round) {
            killOften(store);
            const TempDir old;
            store.killMigration(old.path());
            killOften(duel);
            killOften(log);
            killOften(cache);
            killOften(transfer);
        }
        ofStore.add(store);
        ofDuel.add(duel);
        ofLog.add(log);
        ofCache.add(cache);
        ofTransfer.add(transfer);
        for (const Sum* sum : {&ofStore, &ofDuel, &ofLog, &ofCache, &ofTransfer}) {
            sum->print();
        }
        std::fflush(stdout);
    }
    return ofStore.losses + ofDuel.losses + ofLog.losses + ofCache.losses + ofTransfer.losses == 0 ? 0 : 1;
}
