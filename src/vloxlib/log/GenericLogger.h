#ifndef VLOXLIB_LOG_GENERICLOGGER_H
#define VLOXLIB_LOG_GENERICLOGGER_H

#include <memory>
#include <string>

namespace vloxlib {

class WorkerLogger;

/// @brief A logger with its file: daily files, or rotating ones with the sink mode 1.
class GenericLogger {
public:
    /// Refused, with logger() null and nothing touched, when name or path is null or empty.
    /// @param path UTF-8, with either separator.
    /// @throws spdlog::spdlog_ex when the file can't be opened.
    GenericLogger(const char* name, const char* path, bool debugOutput, int sinkMode, int maxFiles,
                  int maxFileSize);
    virtual ~GenericLogger();
    GenericLogger(const GenericLogger&) = delete;
    GenericLogger& operator=(const GenericLogger&) = delete;

    const std::string& name() const { return m_name; }
    const std::string& path() const { return m_path; }  ///< UTF-8, full, with the system's separators
    WorkerLogger* logger() const { return m_logger.get(); }

private:
    std::string m_name;
    std::string m_path;
    std::shared_ptr<WorkerLogger> m_logger;
};

/// @brief The process-wide logger, null when there is none. It stays for the rest of the process, closed in
/// the end.
GenericLogger* processLogger();

/// @brief Makes a logger the process-wide one; an earlier one writes what is queued and closes its file.
void setProcessLogger(std::unique_ptr<GenericLogger> logger);

/// @brief The path with each separator in the system's form.
std::string withSystemSeparators(std::string path);

}  // namespace vloxlib

#endif
