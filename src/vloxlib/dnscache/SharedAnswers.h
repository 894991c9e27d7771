#ifndef VLOXLIB_DNSCACHE_SHAREDANSWERS_H
#define VLOXLIB_DNSCACHE_SHAREDANSWERS_H

#include <Poco/Process.h>

#include <exception>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace vloxlib {

/// @brief One question per name at a time: who asks while it is under way gets the same answer.
///
/// Questions for different names don't wait for each other. Lives longer than any task it has handed out.
/// Threads: any. Errors: what the question throws reaches each of those who wait for it.
template <class Answer>
class SharedAnswers {
public:
    using Task = std::function<void()>;

    /// @param ask gives the answer
    /// @param run gets a task to be run, at once or on another thread; must not throw
    template <class Ask, class Run>
    std::shared_future<Answer> of(const std::string& name, Ask ask, const Run& run) {
        const auto promise = std::make_shared<std::promise<Answer>>();
        const UnderWay mine{promise->get_future().share(), Poco::Process::id()};
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto [known, isNew] = m_underWay.emplace(name, mine);
            // In a copy of the process nobody is left to answer what was asked before.
            if (!isNew && known->second.process == mine.process) {
                return known->second.answer;
            }
            known->second = mine;
        }
        run([this, name, promise, ask = std::move(ask)] {
            try {
                Answer answer = ask();
                end(name);
                promise->set_value(std::move(answer));
            } catch (...) {
                end(name);
                promise->set_exception(std::current_exception());
            }
        });
        return mine.answer;
    }

private:
    // Before anybody has the answer: who asks again after it has turned out wrong gets another.
    void end(const std::string& name) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_underWay.erase(name);
    }

    struct UnderWay {
        std::shared_future<Answer> answer;
        Poco::Process::PID process;
    };

    std::mutex m_mutex;
    std::map<std::string, UnderWay> m_underWay;  // guarded by m_mutex
};

}  // namespace vloxlib

#endif
