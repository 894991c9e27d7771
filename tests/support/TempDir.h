#ifndef TESTS_SUPPORT_TEMPDIR_H
#define TESTS_SUPPORT_TEMPDIR_H

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace vlox_test {

/// A directory of the test's own, removed with everything in it at the end. Names are UTF-8.
class TempDir {
public:
    TempDir() {
        std::random_device random;
        const std::string name = "vlox_test_" + std::to_string(random()) + std::to_string(random());
        m_path = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(m_path);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string path() const { return m_path.u8string(); }
    std::string path(const std::string& name) const { return pathOf(name).u8string(); }

    void write(const std::string& name, const std::string& content) const {
        std::ofstream(pathOf(name), std::ios::binary) << content;
    }
    std::string read(const std::string& name) const {
        std::ostringstream content;
        content << std::ifstream(pathOf(name), std::ios::binary).rdbuf();
        return content.str();
    }

private:
    std::filesystem::path pathOf(const std::string& name) const {
        return m_path / std::filesystem::u8path(name);
    }

    std::filesystem::path m_path;
};

}  // namespace vlox_test

#endif
