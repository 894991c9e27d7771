#ifndef APP_PROGRESS_H
#define APP_PROGRESS_H

#include <chrono>
#include <string>

namespace app {

/// How far the work is: one line that changes, or a line now and then. From one thread.
class Progress {
public:
    explicit Progress(bool oneLine) : m_oneLine(oneLine) {}

    /// Shows the text, unless it is the one shown or too early for another.
    void show(const std::string& text);
    /// A line that stays.
    void say(const std::string& text);
    /// The last state stays.
    void finish(const std::string& text);

private:
    void print(const std::string& text);

    const bool m_oneLine;
    std::string m_shown;
    std::chrono::steady_clock::time_point m_next{};
};

}  // namespace app

#endif
