#ifndef APP_JOURNAL_H
#define APP_JOURNAL_H

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace app {

/// The application's own record of the results that it has taken: a JSON object per line, for this run and
/// all later ones. Not for several threads at once.
class Journal {
public:
    /// Throws std::runtime_error when the file can't be used.
    explicit Journal(const std::string& path);

    enum Outcome { TAKEN, TWICE, FAILED };
    /// @return TAKEN once the result is in the file
    Outcome take(const std::string& id, const std::string& json);

    /// Each result as it was told, by its id.
    const std::map<std::string, std::string>& results() const { return m_results; }
    std::string path() const { return m_path.u8string(); }

private:
    void read();

    const std::filesystem::path m_path;
    std::map<std::string, std::string> m_results;
    std::ofstream m_file;
};

}  // namespace app

#endif
