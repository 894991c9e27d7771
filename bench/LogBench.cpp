// The log call beside spdlog's own asynchronous logger: the same queue, policy, sink and pattern, and the
// same lines, measured until the last of them is in the file.
#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/sinks/daily_file_sink.h>
#include <vloxlib/log/vloxLog.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kLines = 100000;  // of one iteration, over all threads

fs::path makeDirectory() {
    const fs::path directory =
        fs::temp_directory_path() / ("vlox_log_bench" + std::to_string(std::random_device()()));
    fs::create_directories(directory);
    return directory;
}

// A directory of the program's own, gone at its end.
const fs::path& directory() {
    static const struct Directory {
        fs::path path = makeDirectory();
        ~Directory() {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    } own;
    return own.path;
}

fs::path onlyFile(const fs::path& folder) { return fs::directory_iterator(folder)->path(); }

class Side {
public:
    explicit Side(const char* name) : m_folder(directory() / name) {}
    virtual ~Side() = default;
    virtual void line(int thread, int number) const = 0;
    virtual void marker(const std::string& text) const = 0;  // an error line, which both sides flush at once

    // Writes the lines from some threads and returns when they are in the file.
    void writeToDisk(int threads) {
        std::vector<std::thread> writers;
        for (int thread = 0; thread < threads; ++thread) {
            writers.emplace_back([this, thread, threads] {
                for (int number = 0; number < kLines / threads; ++number) {
                    line(thread, number);
                }
            });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
        awaitMarker();
        fs::resize_file(onlyFile(m_folder), 0);
    }

protected:
    std::string path() const { return (m_folder / "bench.log").string(); }

private:
    void awaitMarker() {
        const std::string text = "end " + std::to_string(++m_markers) + ".\n";
        marker(text.substr(0, text.size() - 1));
        const fs::path file = onlyFile(m_folder);
        std::string tail(text.size(), '\0');
        do {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            std::ifstream stream(file, std::ios::binary);
            stream.seekg(-static_cast<std::streamoff>(text.size()), std::ios::end);
            stream.read(&tail[0], static_cast<std::streamsize>(tail.size()));
        } while (tail != text);
    }

    fs::path m_folder;
    int m_markers = 0;
};

class Vlox : public Side {
public:
    Vlox() : Side("vlox") { create_logger("vlox", path().c_str(), false); }
    void line(int thread, int number) const override {
        VLOX_LOG(2, "thread %d sends task %d of %s, cost=%lld", thread, number, "application", 1234567LL);
    }
    void marker(const std::string& text) const override { VLOX_LOG(4, "%s", text.c_str()); }
    static void suppressed(int number) {
        VLOX_LOG(1, "thread %d sends task %d of %s, cost=%lld", 0, number, "application", 1234567LL);
    }
};

class Bare : public Side {
public:
    Bare() : Side("bare") {
        spdlog::init_thread_pool(2048, 1);
        auto sink = std::make_shared<spdlog::sinks::daily_file_sink_mt>(path(), 0, 0);
        m_logger = std::make_shared<spdlog::async_logger>("bare", sink, spdlog::thread_pool(),
                                                          spdlog::async_overflow_policy::block);
        m_logger->set_pattern("%Y-%m-%d %H:%M:%S.%e [%^%L%$] [%t] [%! %#] %v");
        m_logger->flush_on(spdlog::level::err);
    }
    void line(int thread, int number) const override {
        m_logger->log(spdlog::source_loc{__FILE__, __LINE__, "Bare::line"}, spdlog::level::info,
                      "thread {} sends task {} of {}, cost={}", thread, number, "application", 1234567LL);
    }
    void marker(const std::string& text) const override { m_logger->error(text); }

private:
    std::shared_ptr<spdlog::logger> m_logger;
};

template <class Kind>
Kind& side() {
    static Kind only;
    return only;
}

template <class Kind, int threads>
void enabled(benchmark::State& state) {
    for (auto _ : state) {
        side<Kind>().writeToDisk(threads);
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}

void suppressed(benchmark::State& state) {
    side<Vlox>();
    for (auto _ : state) {
        for (int number = 0; number < kLines; ++number) {
            Vlox::suppressed(number);
        }
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}

}  // namespace

BENCHMARK(enabled<Vlox, 1>)->Name("Log/enabled line, 1 thread/vlox")->UseRealTime();
BENCHMARK(enabled<Bare, 1>)->Name("Log/enabled line, 1 thread/bare")->UseRealTime();
BENCHMARK(enabled<Vlox, 4>)->Name("Log/enabled line, 4 threads/vlox")->UseRealTime();
BENCHMARK(enabled<Bare, 4>)->Name("Log/enabled line, 4 threads/bare")->UseRealTime();
// The other side of this pair is the library's own enabled line.
BENCHMARK(suppressed)->Name("Log/suppressed line/vlox")->UseRealTime();
BENCHMARK(enabled<Vlox, 1>)->Name("Log/suppressed line/bare")->UseRealTime();
