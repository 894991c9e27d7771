#ifndef TESTS_SUPPORT_FILEDEMOFIXTURE_H
#define TESTS_SUPPORT_FILEDEMOFIXTURE_H

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "support/DemoFixture.h"

namespace vlox_test {

/// The example application at work on one file; the platform keeps its files over restarts.
class FileDemoTest : public DemoTest {
protected:
    static constexpr int kChunk = 65536;
    inline static const std::string kSource = u8"源文件 ø 🙂";
    static constexpr std::size_t kSize = 3'000'001;  // 46 slices, the last of them short

    FileDemoTest() {
        servePlatform();
        m_dir.write(kSource, m_content);
    }

    void servePlatform(const std::string& rule = "delay=0", const std::string& every = "1") {
        serve({"--tls", "--files", m_dir.path("store"), "--keys", m_dir.path("keys"), "--misbehave", rule,
               "--every", every});
    }
    std::vector<std::string> options(const std::string& file = kSource, int chunk = kChunk) const {
        return {"--file", m_dir.path(file), "--chunk", std::to_string(chunk)};
    }
    int runFile() const { return Run(*this, options()).wait(); }
    bool copyIsRight() const { return m_dir.read("data/fetched/" + kSource) == m_content; }
    std::filesystem::path copy() const { return fetched(""); }
    std::filesystem::path partial() const { return fetched(".part"); }

    /// How many times a service was asked, since the platform's start.
    long long asked(const char* path) {
        const rapidjson::Document counted = server().stats();
        return counted["paths"].HasMember(path) ? counted["paths"][path].GetInt64() : 0;
    }
    /// Waits for something that a run has to bring about; a test fails where it doesn't within a minute.
    template <typename Condition>
    static void await(const Condition& condition) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), giveUp);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    std::filesystem::path fetched(const std::string& ending) const {
        return std::filesystem::u8path(m_dir.path("data/fetched/" + kSource + ending));
    }

    std::string m_content = [] {
        std::string bytes;
        std::mt19937 random(7);
        while (bytes.size() < kSize) {
            bytes.push_back(static_cast<char>(random()));
        }
        return bytes;
    }();
};

}  // namespace vlox_test

#endif
